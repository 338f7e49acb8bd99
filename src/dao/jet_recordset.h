// Record sets of our own engine.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "dao/jet_database.h"
#include "dao/recordset.h"
#include "dao/row_buffer.h"
#include "sql/sql.h"

namespace qmtrain::dao {

class JetRecordset;

class JetField : public Field {
public:
    JetField(JetRecordset& recordset, int position) : recordset_(recordset), position_(position) {}

    const std::u16string& Name() const override;
    FieldType Type() const override;
    int Size() const override;
    const qmtrain::Value& Value() const override;
    void Value(const qmtrain::Value& value) override;
    std::int32_t FieldSize() const override;
    qmtrain::Value GetChunk(std::int32_t offset, std::int32_t count) const override;
    void AppendChunk(const qmtrain::Value& chunk) override;

private:
    JetRecordset& recordset_;
    int position_;
};

class JetRecordset : public Recordset {
public:
    JetRecordset(std::shared_ptr<JetDatabase> database, sql::Statement statement);
    ~JetRecordset() override;

    bool Eof() override;
    bool Bof() override;
    void MoveFirst() override;
    void MoveLast() override;
    void MoveNext() override;
    void MovePrevious() override;
    void Move(std::int32_t rows) override;
    std::int32_t RecordCount() override;
    std::int32_t TrueRecordCount() override;
    bool Updatable() override;
    const std::vector<std::unique_ptr<Field>>& Fields() override;
    Field& Fields(std::u16string_view name) override;
    Field& Fields(int position) override;
    void AddNew() override;
    void Edit() override;
    void Update() override;
    void CancelUpdate() override;
    void Delete() override;
    Bytes Bookmark() override;
    void Bookmark(const Bytes& bookmark) override;
    Bytes LastModified() override;
    void FindFirst(std::u16string_view criteria) override;
    void FindNext(std::u16string_view criteria) override;
    bool NoMatch() const override { return no_match_; }
    void Close() override;
    bool IsOpen() const override { return query_ != nullptr; }

private:
    friend class JetField;
    friend class RecordsetTable;
    enum class Editing : std::uint8_t { Nothing, Adding, Changing };

    void RequireOpen() const;
    jet::Database& Storage() const;
    std::uint64_t ChangeStamp() const;
    bool IsRemote() const;  // requires that it is updatable

    // Rows that have been fetched: those of the record set, and a few ahead.
    std::int64_t Fetched() const { return static_cast<std::int64_t>(updatable_ ? keys_.size() : kept_.Size()); }

    // Rows that belong to the record set so far.
    std::int64_t Count() const { return seen_; }

    // Makes sure that row `index` has been looked for; false when there are fewer rows.
    bool Reach(std::int64_t index);
    void GoTo(std::int64_t index);
    void ReachAll();
    void DropDeletedAhead();

    // ---- the block: consecutive rows whose values are at hand ----

    bool InBlock(std::int64_t index) const;

    // Fetches a block that begins with the row, a longer one each time the last one was read through.
    void FillBlock(std::int64_t index);
    bool FillRow(std::int64_t index);
    bool NextKey();
    bool FindKey();
    void Pack(sql::Query& query, RowBuffer& rows) const;
    std::int64_t BlockRows() const { return static_cast<std::int64_t>(block_.Size()); }
    sql::Query& Reader();

    // All values of a row that has been reached. Raises RecordDeleted.
    void ReadRow(std::int64_t index, std::vector<Value>& values);
    void LoadCurrent();
    void LoadLong(std::size_t position, Value& value);
    bool HasLong() const { return std::ranges::find(is_long_, true) != is_long_.end(); }
    const Value& Get(int position);
    void Set(int position, const Value& value);
    void Find(std::u16string_view criteria, std::int64_t from);

    std::shared_ptr<JetDatabase> database_;
    std::unique_ptr<sql::Statement> statement_;

    // A query refers to pages that other threads may be using.
    struct EndQuery {
        std::shared_ptr<jet::Session> session;
        void operator()(sql::Query* query) const;
    };
    std::unique_ptr<sql::Query, EndQuery> OpenQuery() const;

    std::unique_ptr<sql::Query, EndQuery> query_;  // finds the rows
    std::unique_ptr<sql::Query, EndQuery>
        reader_;  // goes back to a row of an updatable record set; made when it is needed
    std::vector<std::unique_ptr<Field>> fields_;
    bool updatable_ = false;
    bool complete_ = false;  // all rows have been fetched
    std::int64_t seen_ = 0;
    std::vector<sql::RowId> keys_;             // of an updatable record set
    std::unordered_set<std::uint32_t> added_;  // by AddNew: they are in keys_ already
    RowBuffer kept_;                           // the rows of any other
    std::int64_t found_ = -1;                  // the row that the query stands on
    std::uint64_t found_change_ = 0;           // when that was so

    // Long values that nobody asks for are left out from the second block on: they are Empty there.
    std::vector<bool> is_long_;
    std::vector<bool> asked_for_;
    std::vector<bool> left_out_;
    std::vector<int> packed_;  // the columns of which a row in the buffer has the values; an image has the others
    bool has_images_ = false;
    RowBuffer block_;  // of an updatable record set
    std::int64_t block_first_ = 0;
    std::int64_t block_size_ = 1;     // how many rows were wanted
    std::uint64_t block_change_ = 0;  // what has been changed here since makes it old

    std::chrono::steady_clock::duration spent_{};  // in all calls

    std::exception_ptr failure_;         // why the block's first row could not be read
    std::exception_ptr called_off_;      // why the search for rows has ended
    std::exception_ptr search_failure_;  // why no row behind those fetched could be found

    std::int64_t position_ = 0;  // -1 before the first row, Count() behind the last
    bool loaded_ = false;        // current_ holds the current row, or the query shows its image
    std::vector<Value> current_;
    std::uint64_t image_number_ = 0;
    std::vector<std::uint64_t> read_from_;  // by column: the image that the value in current_ was read from

    Editing editing_ = Editing::Nothing;
    std::vector<Value> edited_;
    std::vector<bool> changed_;
    std::int64_t last_modified_ = -1;
    bool no_match_ = false;
};

}  // namespace qmtrain::dao
