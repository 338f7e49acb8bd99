// The rows of a record set in the order in which they were first seen.
//
// Several record sets may share one, each with a current row of its own. What is kept of the rows is up to the two
// kinds of lists: `PlaceList` keeps where they are, so that they can be changed, `KeptRows` what they hold.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <vector>

#include "core/value.h"
#include "core/work.h"
#include "dao/row_source.h"

namespace qmtrain::dao {

class PlaceList;

class RowList {
public:
    enum class Keep : std::uint8_t {
        Places,  // where the rows can be changed, else rows
        Rows,
        Window,  // the rows last fetched: there is no way back
    };

    // With `empty` it has none but those that are added. Needs no scope.
    static std::shared_ptr<RowList> Open(RowSource source, Keep keep, bool empty = false);

    RowList(const RowList&) = delete;
    RowList& operator=(const RowList&) = delete;
    virtual ~RowList() = default;

    // Identifies the list in bookmarks.
    std::uint32_t Number() const { return number_; }

    const sql::Query& GetQuery() const { return *query_; }
    const RowSource& Source() const { return source_; }

    // Itself, where its rows can be changed.
    virtual PlaceList* Places() { return nullptr; }

    // Rows that belong to the record set so far.
    std::int64_t Count() const { return seen_; }

    // Makes sure that row `index` has been looked for; false when there are fewer rows.
    bool Reach(std::int64_t index);
    void ReachAll();

    // A value of a row that has been reached, as it was when the row was loaded: by the first call, or the first one
    // since another row was, or since Unload(). Raises RecordDeleted.
    virtual const Value& Get(std::int64_t index, std::size_t column) = 0;
    void Unload() { loaded_ = -1; }

    // All values of a row that has been reached, as they are now. Raises RecordDeleted.
    virtual void ReadRow(std::int64_t index, std::vector<Value>& values) = 0;

    // The same for reading many rows: those of a server come in blocks, and are as fresh as these.
    virtual void LookAt(std::int64_t index, std::vector<Value>& values) { ReadRow(index, values); }

protected:
    // The query that finds the rows, and what opening it took.
    struct Search {
        RowSource source;
        QueryPtr query;
        std::shared_ptr<WorkTaken> taken;
        bool empty = false;
    };
    explicit RowList(Search search);

    // Rows that have been fetched: those of the record set, and a few ahead.
    virtual std::int64_t Fetched() const = 0;

    // Whether the row's values are at hand.
    virtual bool InBlock(std::int64_t index) const = 0;

    // Fetches a block that begins with the row, a longer one each time the last one was read through.
    virtual void FillBlock(std::int64_t index) = 0;

    // Finds one more row and keeps it.
    virtual bool FindRow() = 0;

    // Rows that were fetched ahead, and have been deleted since, never belonged to the record set.
    virtual void DropDeletedAhead() {}

    // The same; a search that was cancelled stays ended, with the same error.
    bool NextRow();

    void StartBlock(bool goes_on);

    // Where the next rows are found at once, more of them come with the first one.
    void WidenBlock(bool goes_on, std::int64_t end);

    jet::Database& Storage() const { return source_.Storage(); }

    RowSource source_;
    std::shared_ptr<WorkTaken> taken_;  // in all calls
    HeldMemory held_;                   // by what follows
    QueryPtr query_;
    bool complete_;  // all rows have been fetched
    std::int64_t seen_ = 0;
    std::int64_t block_size_ = 1;        // how many rows were wanted
    std::exception_ptr search_failure_;  // why no row after those fetched could be found

    std::int64_t loaded_ = -1;  // current_ holds this row
    std::vector<Value> current_;

private:
    std::uint32_t number_;
    std::exception_ptr cancelled_;  // why the search for rows has ended
};

// A block has about no more bytes of texts.
inline constexpr std::size_t kMaxBlockBytes = std::size_t{256} << 10;

}  // namespace qmtrain::dao
