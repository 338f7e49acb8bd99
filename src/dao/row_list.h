// The rows of a record set in the order in which they were first seen: their places in a table, or the rows themselves.
//
// Several record sets may share one, each with a current row of its own.
#pragma once

#include <algorithm>
#include <cstdint>
#include <exception>
#include <unordered_map>
#include <vector>

#include "dao/row_buffer.h"
#include "dao/row_source.h"
#include "dao/row_store.h"

namespace qmtrain::dao {

class RowList {
public:
    enum class Keep : std::uint8_t {
        Places,  // where the rows can be changed, else rows
        Rows,
        Window,  // the rows last fetched: there is no way back
    };

    // With `empty` it has none but those that are added. Needs no scope.
    RowList(RowSource source, Keep keep, bool empty = false);
    RowList(const RowList&) = delete;
    RowList& operator=(const RowList&) = delete;

    // By which bookmarks tell the list.
    std::uint32_t Number() const { return number_; }

    const sql::Query& GetQuery() const { return *query_; }
    const RowSource& Source() const { return source_; }

    // Whether it keeps places, so that its rows can be changed.
    bool HasPlaces() const { return has_places_; }

    // Whether these are on a server.
    bool IsRemote() const { return is_remote_; }

    // Rows that belong to the record set so far.
    std::int64_t Count() const { return seen_; }

    // Makes sure that row `index` has been looked for; false when there are fewer rows.
    bool Reach(std::int64_t index);
    void ReachAll();

    // A value of a row that has been reached, as it was when the row was loaded: by the first call, or the first one
    // since another row was, or since Unload(). Raises RecordDeleted.
    const Value& Get(std::int64_t index, int column);
    void Unload() { loaded_ = -1; }

    // All values of a row that has been reached, as they are now. Raises RecordDeleted.
    void ReadRow(std::int64_t index, std::vector<Value>& values);

    // The same for whoever looks at many rows: those of a server come in blocks, and are as fresh as these.
    void LookAt(std::int64_t index, std::vector<Value>& values);

    // ---- changes of a list of places; they need a scope ----

    // The row, if it is still the one that was fetched; one of a server without asking that. Raises RecordDeleted;
    // RecordChanged when nothing but its content tells it, and that has changed.
    sql::RowId Recognise(std::int64_t index);

    // By which a row is known again.
    std::uint64_t IdentityOf(sql::RowId row);

    // After the row was changed.
    void Changed(std::int64_t index, std::uint64_t identity);

    // A new row belongs to the record set at once, at its end as far as that has been seen. Returns its index.
    std::int64_t Added(sql::RowId row, std::uint64_t identity);

    void Deleted(std::int64_t index);

private:
    struct Place {
        sql::RowId row;  // none when it was deleted
        std::uint64_t identity = 0;
    };

    std::uint64_t ChangeStamp() const { return source_.ChangeStamp(); }
    jet::Database& Storage() const { return source_.Storage(); }

    // Rows that have been fetched: those of the record set, and a few ahead.
    std::int64_t Fetched() const {
        return has_places_ ? static_cast<std::int64_t>(places_.size())
                           : kept_first_ + static_cast<std::int64_t>(kept_.Size());
    }
    void DropDeletedAhead();

    // ---- the block: consecutive rows whose values are at hand ----

    bool InBlock(std::int64_t index) const;

    // Fetches a block that begins with the row, a longer one each time the last one was read through.
    void FillBlock(std::int64_t index);
    void DropWindow();
    void Cover();
    bool FillRow(std::int64_t index);
    bool NextKey();
    bool FindKey();
    void Pack(sql::Query& query);
    void KeepRow();
    std::int64_t BlockRows() const { return static_cast<std::int64_t>(block_.Size()); }
    sql::Query& Reader();

    // Goes to the place of a row with the reader; false when the row is gone.
    bool MoveTo(const Place& place);

    // Asks a server for some of the rows from this one on, which MoveTo() is asked for next.
    void Prefetch(std::int64_t from, std::int64_t rows);

    bool TakeFresh(std::int64_t index, std::vector<Value>& values);
    void Load(std::int64_t index);
    void LoadLong(std::int64_t index, std::size_t column, Value& value);
    bool HasLong() const { return std::ranges::find(is_long_, true) != is_long_.end(); }

    RowSource source_;
    WorkTaken taken_;  // in all calls
    HeldMemory held_;  // by what follows
    std::uint32_t number_;
    QueryPtr query_;   // finds the rows
    QueryPtr reader_;  // goes back to a row; made when it is needed
    bool has_places_ = false;
    bool is_remote_ = false;
    bool is_window_ = false;
    bool complete_ = false;  // all rows have been fetched
    std::int64_t seen_ = 0;
    std::vector<Place> places_;
    std::unordered_map<std::uint32_t, std::uint64_t> added_;  // with their identities: they are in places_ already
    RowStore kept_;                                           // without places
    std::int64_t kept_first_ = 0;                             // the row that it begins with
    std::int64_t found_ = -1;                                 // the row that the query stands on
    std::uint64_t found_change_ = 0;                          // when that was so

    // Long values that nobody asks for are left out from the second block on: they are Empty there.
    std::vector<bool> is_long_;
    std::vector<bool> asked_for_;
    std::vector<bool> left_out_;
    std::vector<int> packed_;  // the columns of which a row in the buffer has the values; an image has the others
    bool has_images_ = false;
    RowBuffer block_;  // with places
    std::int64_t block_first_ = 0;
    std::int64_t block_size_ = 1;                        // how many rows were wanted
    std::uint64_t block_change_ = 0;                     // what has been changed here since makes it old
    std::chrono::steady_clock::time_point fresh_until_;  // of a server

    std::exception_ptr failure_;         // why the block's first row could not be read
    std::exception_ptr called_off_;      // why the search for rows has ended
    std::exception_ptr search_failure_;  // why no row behind those fetched could be found

    std::int64_t loaded_ = -1;  // current_ holds this row, or the query shows its image
    std::vector<Value> current_;
    std::uint64_t image_number_ = 0;
    std::vector<std::uint64_t> read_from_;  // by column: the image that the value in current_ was read from
};

}  // namespace qmtrain::dao
