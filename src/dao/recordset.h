// The rows of a table or a select, one of them current.
//
// A dynaset looks for its rows as it is moved. Which rows belong to it, and in what order, is fixed as each is first
// seen; what a row holds is read when it becomes current, so changes by others show. A row that is gone, or has given
// its place to another, raises RecordDeleted. Rows that are those of one table, or of a join's many side, can be
// edited; of any other select the rows are kept as they were seen. A snapshot keeps its rows in any case, a
// forward-only record set none. A table's rows are those that it has now, in the order of an index.
//
// What a type of record set has no use for raises OperationNotSupported, going back in a forward-only one
// InvalidOperation, changing what cannot be changed ReadOnly.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "dao/database.h"
#include "dao/definitions.h"
#include "dao/types.h"

namespace qmtrain::dao {

// A column of the current row. It lives as long as its record set.
class Field {
public:
    Field() = default;
    Field(const Field&) = delete;
    Field& operator=(const Field&) = delete;
    virtual ~Field() = default;

    virtual const std::u16string& Name() const = 0;
    virtual FieldType Type() const = 0;
    virtual int Size() const = 0;

    // All that is known of it.
    virtual FieldDef Definition() const = 0;

    // Raises NoCurrentRecord, RecordDeleted. The reference holds until the next use of the record set.
    virtual const qmtrain::Value& Value() const = 0;

    // Raises UpdateWithoutEdit outside AddNew and Edit, ReadOnly for a column that cannot be changed, and
    // DataTypeConversion, Overflow or FieldTooLarge for a value that does not fit the column.
    virtual void Value(const qmtrain::Value& value) = 0;

    // What the row held before it was edited.
    virtual qmtrain::Value OriginalValue() const = 0;

    // Whether a value may be set.
    virtual bool DataUpdatable() const = 0;

    // Parts of a memo (in characters) or of binary data (in bytes).
    virtual std::int32_t FieldSize() const = 0;
    virtual qmtrain::Value GetChunk(std::int32_t offset, std::int32_t count) const = 0;
    virtual void AppendChunk(const qmtrain::Value& chunk) = 0;
};

class Recordset {
public:
    Recordset() = default;
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;
    virtual ~Recordset() = default;

    virtual RecordsetType Type() = 0;

    // The table's or query's name, or the beginning of the statement.
    virtual std::u16string Name() = 0;

    virtual bool Eof() = 0;
    virtual bool Bof() = 0;
    virtual void MoveFirst() = 0;
    virtual void MoveLast() = 0;
    virtual void MoveNext() = 0;
    virtual void MovePrevious() = 0;

    // From the current row, or from a bookmark.
    virtual void Move(std::int32_t rows, const Bytes& start = {}) = 0;

    // How many rows have been seen so far, as DAO counts; all of them after MoveLast. All rows of a table.
    virtual std::int32_t RecordCount() = 0;

    // How many rows there are: looks at all.
    virtual std::int32_t TrueRecordCount() = 0;

    // Counted from 0; -1 when no row is current.
    virtual std::int32_t AbsolutePosition() = 0;
    virtual void AbsolutePosition(std::int32_t position) = 0;

    // Among the rows seen so far; setting it looks at all.
    virtual float PercentPosition() = 0;
    virtual void PercentPosition(float percent) = 0;

    virtual bool Updatable() = 0;
    virtual const std::vector<std::unique_ptr<Field>>& Fields() = 0;

    // By name without regard to case, or by position. Raises FieldNotFound.
    virtual Field& Fields(std::u16string_view name) = 0;
    virtual Field& Fields(int position) = 0;

    virtual void AddNew() = 0;
    virtual void Edit() = 0;
    virtual void Update() = 0;
    virtual void CancelUpdate() = 0;
    virtual void Delete() = 0;
    virtual dao::EditMode EditMode() = 0;

    // Stored and returned, without effect: rows are locked while they are written.
    virtual bool LockEdits() = 0;
    virtual void LockEdits(bool pessimistic) = 0;

    // A place to come back to, also from a clone.
    virtual bool Bookmarkable() = 0;
    virtual Bytes Bookmark() = 0;
    virtual void Bookmark(const Bytes& bookmark) = 0;

    // The row that Update wrote last.
    virtual Bytes LastModified() = 0;

    // Goes to the first row, or the next one after the current, that meets a condition like that of a WHERE clause.
    // When there is none, NoMatch() is true and the current row stays. Likewise backwards.
    virtual void FindFirst(std::u16string_view criteria) = 0;
    virtual void FindLast(std::u16string_view criteria) = 0;
    virtual void FindNext(std::u16string_view criteria) = 0;
    virtual void FindPrevious(std::u16string_view criteria) = 0;
    virtual bool NoMatch() const = 0;

    // Of a table: the index whose order it has, "" for none of the host's choosing. Setting it goes to the first row.
    // Raises IndexNotFound.
    virtual std::u16string Index() = 0;
    virtual void Index(std::u16string_view name) = 0;

    // Goes to the first row whose key is "=", ">" or ">=", or to the last one whose key is "<" or "<=", in the index's
    // order; values for its first columns. NoMatch() as above. Raises NoCurrentIndex.
    virtual void Seek(std::u16string_view comparison, std::span<const Value> keys) = 0;

    // A condition and an order for record sets that are opened from this one.
    virtual std::u16string Filter() = 0;
    virtual void Filter(std::u16string_view condition) = 0;
    virtual std::u16string Sort() = 0;
    virtual void Sort(std::u16string_view columns) = 0;
    virtual std::shared_ptr<Recordset> OpenRecordset(RecordsetType type = RecordsetType::Default,
                                                     std::int32_t options = 0) = 0;

    // The same rows, and a current row of its own: none at first.
    virtual std::shared_ptr<Recordset> Clone() = 0;

    // Looks for the rows anew.
    virtual void Requery() = 0;
    virtual bool Restartable() = 0;

    // The values of so many rows from the current one on, fewer where there are no more; the one after them becomes
    // current.
    virtual std::vector<std::vector<Value>> GetRows(std::int32_t rows) = 0;

    // Of a table.
    virtual Date DateCreated() = 0;
    virtual Date LastUpdated() = 0;

    virtual std::u16string ValidationRule() = 0;
    virtual std::u16string ValidationText() = 0;

    // Whether changes can be undone by a transaction.
    virtual bool Transactions() = 0;

    // Of dynasets: stored and returned, without effect.
    virtual std::int32_t CacheSize() = 0;
    virtual void CacheSize(std::int32_t rows) = 0;
    virtual Bytes CacheStart() = 0;
    virtual void CacheStart(const Bytes& bookmark) = 0;
    virtual void FillCache() = 0;

    // Later use raises ObjectInvalid.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
};

// Whether the record set has any row.
inline bool HasRow(Recordset& rows) {
    return !(rows.Eof() && rows.Bof());
}

}  // namespace qmtrain::dao
