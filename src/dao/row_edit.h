// A row that is being added or changed: its values until Update.
#pragma once

#include <vector>

#include "core/value.h"
#include "dao/navigator.h"
#include "dao/row_source.h"
#include "dao/types.h"

namespace qmtrain::dao {

class RowEdit {
public:
    // Changes the rows that the navigator goes to, which must outlive it.
    RowEdit(const RowSource& source, Navigator& rows) : source_(source), rows_(rows) {}

    EditMode Mode() const { return mode_; }
    bool IsActive() const { return mode_ != EditMode::None; }

    void Add();
    void Change();
    void Cancel() { mode_ = EditMode::None; }

    // While a row is being added or changed. A new row's autonumber column has its number from the first look on.
    const Value& Get(std::size_t column);
    bool HasChanged(std::size_t column) const { return changed_[column]; }
    const Value& Original(std::size_t column) const;
    void Set(std::size_t column, const Value& value);

    // Whether a column is one of the table that is edited.
    bool CanSet(std::size_t column) const;

    // Writes the row. When it fails the edit goes on, so that it can be corrected or cancelled.
    void Update();

    // Deletes the current row.
    void Delete();

    // Of the row written last. Raises NoCurrentRecord when there is none.
    const Bytes& LastModified() const;

private:
    const sql::Query& Query() const { return rows_.GetQuery(); }
    sql::Table& EditedTable() const;
    const sql::Column* ColumnOf(std::size_t column) const;
    std::size_t Width() const { return Query().Columns().size(); }
    std::vector<sql::Assignment> Seen() const;
    void TakeAutonumber(std::size_t place);
    bool TakeOriginals(sql::Table& table, sql::RowId row);
    sql::RowId RequireUnchanged(sql::Table& table);
    void UpdateRow(sql::Table& table);
    void InsertRow(sql::Table& table);

    const RowSource& source_;
    Navigator& rows_;
    EditMode mode_ = EditMode::None;
    std::vector<Value> values_;
    std::vector<Value> originals_;  // of changed columns
    std::vector<bool> changed_;
    Bytes last_modified_;
};

}  // namespace qmtrain::dao
