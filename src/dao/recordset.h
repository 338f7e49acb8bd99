// The rows of a select, one of them current.
//
// Rows are looked for as the record set is moved. Which rows belong to it, and in what order, is fixed as each is first
// seen; what a row holds is read when it becomes current, so changes by others show. A row that is gone raises
// RecordDeleted. A select over one table can be edited; any other record set keeps the rows it has seen and is
// read-only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "dao/database.h"
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

    // Raises NoCurrentRecord, RecordDeleted. The reference holds until the next use of the record set.
    virtual const qmtrain::Value& Value() const = 0;

    // Raises UpdateWithoutEdit outside AddNew and Edit, ReadOnly for a column that cannot be changed, and
    // DataTypeConversion, Overflow or FieldTooLarge for a value that does not fit the column.
    virtual void Value(const qmtrain::Value& value) = 0;

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

    virtual bool Eof() = 0;
    virtual bool Bof() = 0;
    virtual void MoveFirst() = 0;
    virtual void MoveLast() = 0;
    virtual void MoveNext() = 0;
    virtual void MovePrevious() = 0;
    virtual void Move(std::int32_t rows) = 0;

    // How many rows have been seen so far, as DAO counts; all of them after MoveLast.
    virtual std::int32_t RecordCount() = 0;

    // How many rows there are: looks at all.
    virtual std::int32_t TrueRecordCount() = 0;

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

    // A place to come back to.
    virtual Bytes Bookmark() = 0;
    virtual void Bookmark(const Bytes& bookmark) = 0;

    // The row that Update wrote last.
    virtual Bytes LastModified() = 0;

    // Goes to the first row, or the next one behind the current, that meets a condition like that of a WHERE clause.
    // When there is none, NoMatch() is true and the current row stays.
    virtual void FindFirst(std::u16string_view criteria) = 0;
    virtual void FindNext(std::u16string_view criteria) = 0;
    virtual bool NoMatch() const = 0;

    // Later use raises ObjectInvalid.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
};

// Whether the record set has any row.
inline bool HasRow(Recordset& rows) {
    return !(rows.Eof() && rows.Bof());
}

}  // namespace qmtrain::dao
