// The rows of a select, one of them current.
//
// Rows are looked for as the record set is moved. Which rows belong to it, and in what order, is fixed as each is first
// seen; what a row holds is read when it becomes current, so changes by others show. A row that is gone raises
// RecordDeleted. A select over one table can be edited; any other record set keeps the rows it has seen and is
// read-only.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "core/value.h"
#include "dao/database.h"
#include "sql/sql.h"

namespace qmtrain::dao {

class Recordset;

// A column of the current row. It lives as long as its record set.
class Field {
public:
    Field(Recordset& recordset, int position) : recordset_(recordset), position_(position) {}

    const std::u16string& Name() const;
    FieldType Type() const;
    int Size() const;

    // Raises NoCurrentRecord, RecordDeleted.
    const qmtrain::Value& Value() const;

    // Raises UpdateWithoutEdit outside AddNew and Edit, ReadOnly for a column that cannot be changed, and
    // DataTypeConversion, Overflow or FieldTooLarge for a value that does not fit the column.
    void Value(const qmtrain::Value& value);

    // Parts of a memo (in characters) or of binary data (in bytes).
    std::int32_t FieldSize() const;
    qmtrain::Value GetChunk(std::int32_t offset, std::int32_t count) const;
    void AppendChunk(const qmtrain::Value& chunk);

private:
    Recordset& recordset_;
    int position_;
};

class Recordset {
public:
    Recordset(std::shared_ptr<Database> database, sql::Statement statement);
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;
    ~Recordset();

    bool Eof();
    bool Bof();
    void MoveFirst();
    void MoveLast();
    void MoveNext();
    void MovePrevious();
    void Move(std::int32_t rows);

    // How many rows have been seen so far, as DAO counts; all of them after MoveLast.
    std::int32_t RecordCount();

    // How many rows there are: looks at all.
    std::int32_t TrueRecordCount();

    bool Updatable();
    const std::vector<std::unique_ptr<Field>>& Fields();

    // By name without regard to case, or by position. Raises FieldNotFound.
    Field& Fields(std::u16string_view name);
    Field& Fields(int position);

    void AddNew();
    void Edit();
    void Update();
    void CancelUpdate();
    void Delete();

    // A place to come back to.
    Bytes Bookmark();
    void Bookmark(const Bytes& bookmark);

    // The row that Update wrote last.
    Bytes LastModified();

    // Goes to the first row, or the next one behind the current, that meets a condition like that of a WHERE clause.
    // When there is none, NoMatch() is true and the current row stays.
    void FindFirst(std::u16string_view criteria);
    void FindNext(std::u16string_view criteria);
    bool NoMatch() const { return no_match_; }

    // Later use raises ObjectInvalid.
    void Close();
    bool IsOpen() const { return query_ != nullptr; }

private:
    friend class Field;
    friend class RecordsetTable;
    enum class Editing : std::uint8_t { Nothing, Adding, Changing };

    void RequireOpen() const;
    jet::Database& Storage() const;
    std::int64_t Count() const {
        return updatable_ ? static_cast<std::int64_t>(keys_.size()) : static_cast<std::int64_t>(rows_.size());
    }

    // Makes sure that row `index` has been looked for; false when there are fewer rows.
    bool Reach(std::int64_t index);
    void GoTo(std::int64_t index);
    void ReachAll();

    // The values of a row that has been reached. Raises RecordDeleted.
    void ReadRow(std::int64_t index, std::vector<Value>& values);
    const std::vector<Value>& Current();
    const Value& Get(int position);
    void Set(int position, const Value& value);
    void Find(std::u16string_view criteria, std::int64_t from);

    std::shared_ptr<Database> database_;
    std::unique_ptr<sql::Statement> statement_;
    std::unique_ptr<sql::Query> query_;   // finds the rows
    std::unique_ptr<sql::Query> reader_;  // reads a row that is known; updatable record sets only
    std::vector<std::unique_ptr<Field>> fields_;
    bool updatable_ = false;
    bool complete_ = false;  // all rows have been seen
    std::vector<sql::RowId> keys_;
    std::unordered_set<std::uint32_t> added_;  // by AddNew: they are in keys_ already
    std::vector<std::vector<Value>> rows_;

    std::int64_t position_ = 0;  // -1 before the first row, Count() behind the last
    bool loaded_ = false;        // current_ holds the current row
    std::vector<Value> current_;

    Editing editing_ = Editing::Nothing;
    std::vector<Value> edited_;
    std::vector<bool> changed_;
    std::int64_t last_modified_ = -1;
    bool no_match_ = false;
};

// Whether the record set has any row.
inline bool HasRow(Recordset& rows) {
    return !(rows.Eof() && rows.Bof());
}

}  // namespace qmtrain::dao
