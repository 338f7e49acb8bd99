// What the SQL room asks of whatever holds the data: a catalogue of tables, and cursors over them.
//
// The executor knows nothing below this interface; a table in memory is enough to run every statement. Locking,
// transactions and rolling back a failed statement are up to the caller of the executor.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/column.h"
#include "core/value.h"

namespace qmtrain::sql {

namespace ast {
struct Select;
struct Statement;
}  // namespace ast

using qmtrain::Column;
using qmtrain::ColumnType;

struct IndexColumn {
    std::size_t column = 0;  // position in Table::Columns()
    bool descending = false;
};

struct Index {
    std::u16string name;
    std::vector<IndexColumn> columns;
    bool unique = false;
    bool primary = false;
    bool required = false;      // refuses Null in any key column
    bool ignore_nulls = false;  // rows whose key columns are all Null have no entry
};

// Identifies a row of its table for as long as the row lives. 0 is no row.
struct RowId {
    std::uint32_t value = 0;
    auto operator<=>(const RowId&) const = default;
};

// One end of a range: values for the first key columns of an index, fewer than it has if so wished.
struct KeyBound {
    std::vector<Value> values;
    bool inclusive = true;
};

// Keys of an index that stand beside each other.
struct KeyRange {
    enum class Kind : std::uint8_t {
        Between,  // the two ends, in the sense of the index (in a descending column "low" is the greater value)
        Equal,    // those that begin with the values of `low`; there is no `high`
        Prefix,   // the same, but the last value is a text: all texts that begin with it, whatever the case of their
                  // letters, and perhaps some more
    };
    Kind kind = Kind::Between;
    std::optional<KeyBound> low;
    std::optional<KeyBound> high;
};

// A position among the rows of one table. Columns are decoded when they are read, and not before.
class Cursor {
public:
    virtual ~Cursor() = default;

    // Starts over all rows in the order in which they are stored. Next() moves to the first row.
    virtual void Scan() = 0;

    // Starts over the rows of a key range in the order of the index. Requires: Table::CanSeek for the values in it.
    virtual void Range(std::size_t index, const KeyRange& range, bool backwards = false) = 0;

    // Moves to the next row; false at the end.
    virtual bool Next() = 0;

    // How many times Next() would still be true. Ends the scan or range.
    virtual std::int64_t CountRest() {
        std::int64_t rows = 0;
        while (Next()) ++rows;
        return rows;
    }

    // Moves to a given row and ends the scan or range; false when it no longer exists.
    virtual bool MoveTo(RowId row) = 0;

    // Requires: the cursor stands on a row.
    virtual RowId Row() const = 0;
    virtual void Read(std::size_t column, Value& value) = 0;

    // Several columns at once: values[i] becomes that of columns[i]. Requires: the columns are always the same.
    virtual void ReadColumns(std::span<const std::size_t> columns, Value* values) {
        for (std::size_t i = 0; i < columns.size(); ++i) Read(columns[i], values[i]);
    }

    // Announces a return to the current row as it is now: a table on a server keeps it rather than ask again.
    virtual void Keep() {}

    // Announces the rows that MoveTo() will be asked for next, once each: a server gives them all in one answer.
    virtual void Prefetch(std::span<const RowId>) {}

    // A text that is stored with a byte for each of its characters, all below U+0100, as it stands there; nothing where
    // the value is another one or stored otherwise. Good until the cursor moves. Requires: as Read().
    virtual std::optional<std::string_view> NarrowText(std::size_t) { return std::nullopt; }

    // The row's bytes as they are stored, for Table::ShowImage. Requires: Table::HasImages().
    virtual std::span<const std::uint8_t> Image() { return {}; }
};

// A change of one column; the value has the column's type or is Null.
struct Assignment {
    std::size_t column = 0;
    Value value;
};

class Table {
public:
    virtual ~Table() = default;

    virtual const std::u16string& Name() const = 0;
    virtual const std::vector<Column>& Columns() const = 0;
    virtual const std::vector<Index>& Indexes() const = 0;
    const Column& ColumnAt(std::size_t column) const { return Columns()[column]; }
    const Index& IndexAt(std::size_t index) const { return Indexes()[index]; }

    // Whether its rows can be told apart and changed one by one.
    virtual bool IsUpdatable() const { return true; }

    // Whether its rows are on a server: no lock of the catalogue keeps them unchanged, going to one costs a message,
    // and a RowId belongs to one key for ever.
    virtual bool IsRemote() const { return false; }

    // The statement sent to the server that has the rows, for explanations; empty without a server.
    virtual std::u16string Request() const { return {}; }

    // Exact, without reading rows where the storage keeps count.
    virtual std::int64_t RowCount() = 0;

    // About as many, at no cost: for choosing a plan.
    virtual std::int64_t EstimatedRows() { return RowCount(); }

    // About how many rows have keys in the range, by a look at the index. Requires: CanSeek for the values in it.
    virtual double EstimatedRows(std::size_t index, const KeyRange& range) = 0;

    // About how many different keys an index has; 0 when that is unknown.
    virtual double DistinctKeys(std::size_t) { return 0; }

    virtual std::unique_ptr<Cursor> OpenCursor() = 0;

    // Whether rows can be kept as images, and their values be read from these at any time. Memos and OLE values cannot.
    virtual bool HasImages() const { return false; }

    // The image to read from; it must stay as it is meanwhile.
    virtual void ShowImage(std::span<const std::uint8_t>) {}
    virtual void ReadImage(std::size_t, Value&) const {}

    // Whether the rows that are equal to these values, of the first columns of an index, are found in it: false where a
    // text's place is not known.
    virtual bool CanSeek(std::size_t index, std::span<const Value> values) const = 0;

    // Whether an index has its first columns in the order in which statements compare them: only then is a range of
    // values a range of keys.
    virtual bool InOrder(std::size_t index, std::size_t columns) const = 0;

    // Whether the values of this column can be had from the index without visiting the rows: cheaper, no more.
    virtual bool HoldsValues(std::size_t, std::size_t) const { return false; }

    // Whether an index has texts of this column with the same beginning beside each other.
    virtual bool HasPrefixes(std::size_t index, std::size_t column) const = 0;

    // One value per column, of the column's type, Null, or Empty for "not given" (an autonumber column numbers itself,
    // everything else becomes Null: defaults are filled in by the executor). Raises DuplicateKey, FieldRequired and
    // their like.
    virtual RowId Insert(std::span<const Value> values) = 0;

    // Around many insertions of one statement: a duplicate key may show as late as EndInserts. CancelInserts may follow
    // a failure; what has been inserted then is to be undone.
    virtual void BeginInserts() {}
    virtual void EndInserts() {}
    virtual void CancelInserts() {}

    virtual void Update(RowId row, std::span<const Assignment> changes) = 0;

    // The same for a row that had these values when it was read. Raises RecordChanged if it has others by now; where
    // locks have kept the row unchanged since, nothing is compared.
    virtual void UpdateSeen(RowId row, std::span<const Assignment> changes, std::span<const Assignment>) {
        Update(row, changes);
    }
    virtual void Delete(RowId row) = 0;

    // Takes the next number of the autonumber column for a row that is still to come; nothing where numbers are given
    // by the insertion alone.
    virtual std::optional<std::int32_t> TakeAutonumber() { return std::nullopt; }

    // The number that the last Insert gave to the autonumber column, 0 if there is none.
    virtual std::int32_t LastAutonumber() const = 0;
};

// REFERENCES in a table definition.
struct Reference {
    std::u16string name;  // empty: the catalogue makes one up
    std::vector<std::size_t> columns;
    std::u16string table;
    std::vector<std::u16string> referenced_columns;  // empty: the primary key
    bool cascade_update = false;
    bool cascade_delete = false;
};

struct TableSchema {
    std::u16string name;
    std::vector<Column> columns;
    std::vector<Index> indexes;
    std::vector<Reference> references;
    ValidationRule validation = {};
};

// A change that the server with the rows makes by itself.
struct DelegatedChange {
    std::u16string request;             // for explanations
    std::function<std::int64_t()> run;  // returns the number of records affected
};

class Catalog {
public:
    virtual ~Catalog() = default;

    // The same select with work given to the servers that have the rows; null when there is none to give. The binder
    // asks for each select that depends on no outer one, before binding it.
    virtual std::shared_ptr<const ast::Select> Delegate(const ast::Select&) { return nullptr; }

    // The same for a whole change; nothing when it is to be made row by row.
    virtual std::optional<DelegatedChange> DelegateChange(const ast::Statement&) { return std::nullopt; }

    // By name, without regard to case; empty when there is none.
    virtual std::shared_ptr<Table> FindTable(std::u16string_view name) = 0;

    // The SELECT statement of a saved query; nothing when there is none of that name.
    virtual std::optional<std::u16string> FindQuery(std::u16string_view name) = 0;

    virtual void CreateTable(const TableSchema& schema) = 0;
    virtual void DropTable(std::u16string_view name) = 0;
    virtual void CreateIndex(std::u16string_view table, const Index& index) = 0;
    virtual void DropIndex(std::u16string_view table, std::u16string_view index) = 0;
    virtual void AddColumn(std::u16string_view table, const Column& column) = 0;
    virtual void DropColumn(std::u16string_view table, std::u16string_view column) = 0;
    virtual void AddReference(std::u16string_view table, const Reference& reference) = 0;

    // False when the table has no such reference.
    virtual bool DropReference(std::u16string_view /*table*/, std::u16string_view /*name*/) { return false; }

    // Gives a column another type, size or default; its values are converted. Raises DataTypeConversion, FieldTooLarge,
    // FieldRequired for a value that the new column cannot hold, UsedInRelationship. Not every catalogue can.
    virtual void AlterColumn(std::u16string_view table, const Column& column);
};

}  // namespace qmtrain::sql
