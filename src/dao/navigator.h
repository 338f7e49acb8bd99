// Which rows a record set has, and which of them is current.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/value.h"
#include "sql/sql.h"

namespace qmtrain::dao {

class RowList;
class TableNavigator;

class Navigator {
public:
    Navigator() = default;
    Navigator(const Navigator&) = delete;
    Navigator& operator=(const Navigator&) = delete;
    virtual ~Navigator() = default;

    // Its columns and tables.
    virtual const sql::Query& GetQuery() const = 0;

    // Whether its rows can be changed.
    virtual bool Updatable() const = 0;

    // Both when there is no row.
    virtual bool Eof() = 0;
    virtual bool Bof() = 0;

    // They raise NoCurrentRecord where there is no row to move to or from.
    virtual void MoveFirst() = 0;
    virtual void MoveLast() = 0;
    virtual void MoveNext() = 0;
    virtual void MovePrevious() = 0;
    virtual void Move(std::int64_t rows) = 0;

    // Raises InvalidBookmark.
    virtual Bytes Bookmark() = 0;
    virtual void GoTo(const Bytes& bookmark) = 0;

    // How many rows have been seen, and how many there are.
    virtual std::int64_t Seen() = 0;
    virtual std::int64_t All() = 0;

    // Where the current row stands among them, in percent.
    virtual float Percent() = 0;
    virtual void Percent(float percent) = 0;

    // A value of the current row, as it was when the row became current. Raises NoCurrentRecord, RecordDeleted.
    virtual const Value& Get(std::size_t column) = 0;

    // The current row as it is now, and the next Get() as well.
    virtual void ReadAll(std::vector<Value>& values) = 0;

    // ---- changes; inside a scope ----

    // The current row, if it is still the one that it was. Raises NoCurrentRecord, RecordDeleted, RecordChanged.
    virtual sql::RowId Recognise() = 0;

    // Identifies a row, see sql::RowIdentity.
    virtual std::uint64_t IdentityOf(sql::RowId row) = 0;

    // To be told of changes, with the row's identity after them. The current row stays.
    virtual void Changed(std::uint64_t identity) = 0;
    virtual Bytes Added(sql::RowId row, std::uint64_t identity) = 0;
    virtual void Deleted() = 0;

    // ----

    // Over the same rows; no row is current.
    virtual std::unique_ptr<Navigator> Clone() = 0;

    // The underlying list, if there is one.
    virtual RowList* List() { return nullptr; }
    virtual TableNavigator* Table() { return nullptr; }
};

}  // namespace qmtrain::dao
