// Where the columns of a running query come from: each table of the FROM clause is a Source, and so is the result of
// a grouping. Operators move sources from row to row; expressions read their slots.
//
// A slot is a column that the query uses. Columns that are not used have no slot and are never read.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "core/work.h"
#include "sql/expressions/row_buffer.h"
#include "sql/expressions/types.h"
#include "sql/row_identity.h"
#include "sql/storage.h"

namespace qmtrain::sql {

// A row of a source that can be gone back to. 0 is the row of Nulls that an outer join adds.
using RowHandle = std::uint32_t;

class Source {
public:
    virtual ~Source() = default;

    const std::vector<ColumnInfo>& Columns() const { return infos_; }
    const ColumnInfo& ColumnAt(std::size_t column) const { return infos_[column]; }

    // The slot of a column, made when there is none yet. Only while the query is being bound.
    std::size_t SlotFor(std::size_t column);
    std::size_t ColumnOfSlot(std::size_t slot) const { return columns_[slot]; }
    std::size_t SlotCount() const { return columns_.size(); }

    // A slot's value in the current row, valid until the source moves.
    const Value& Get(std::size_t slot) { return complete_ ? row_[slot] : Load(slot); }

    // The same for a text that can be looked at where it is stored, see Cursor::NarrowText.
    virtual std::optional<std::string_view> NarrowText(std::size_t) { return std::nullopt; }

    // A handle of the current row, valid until Forget().
    virtual RowHandle Keep() = 0;

    // Goes back to a kept row; false when the row has been deleted since.
    virtual bool Restore(RowHandle handle) = 0;

    // Drops what Keep() holds.
    virtual void Forget() {}

    // Makes every slot Null.
    void SetNull();
    bool IsNullRow() const { return null_row_; }

protected:
    // A slot of a row that is not wholly in `row_`.
    virtual const Value& Load(std::size_t slot) = 0;

    // `row` has a value for each slot.
    void Show(const Value* row) {
        row_ = row;
        complete_ = true;
        null_row_ = false;
    }
    void ShowPartly() {
        complete_ = false;
        null_row_ = false;
    }

    const std::vector<std::size_t>& SlotColumns() const { return columns_; }

    std::vector<ColumnInfo> infos_;

private:
    std::vector<std::size_t> columns_;         // of the slots
    std::vector<std::size_t> slot_of_column_;  // kNoPosition where there is none
    std::vector<Value> nulls_;
    const Value* row_ = nullptr;
    bool complete_ = false;
    bool null_row_ = false;
};

// A table of the catalogue, read through a cursor. A slot is read when it is first asked for.
class TableSource : public Source {
public:
    explicit TableSource(std::shared_ptr<Table> table);

    const std::shared_ptr<Table>& GetTable() const { return table_; }
    sql::Cursor& GetCursor();
    RowId Row() const;

    // The current row's. Requires: the table has images, and KeepValues() was not called.
    std::span<const std::uint8_t> Image() { return cursor_->Image(); }

    // Goes to a row of the table, whatever row was current; false when there is no such row.
    bool MoveTo(RowId row);

    // Announces the rows that MoveTo() will be asked for next.
    void Prefetch(std::span<const RowId> rows) { GetCursor().Prefetch(rows); }

    // Identifies the current row, see RowIdentity; 0 when it has been deleted.
    std::uint64_t Identity();
    bool HasKeyIdentity() { return IdentityOfRows().IsByKey(); }

    // To be called after the cursor has moved to a row.
    void OnRow() {
        ++stamp_;
        current_ = 0;
        ShowPartly();
    }

    // Whether all slots of a row are read as soon as one is asked for: cheaper than one by one where all will be. Where
    // one is neither a number nor a date nothing is read ahead, for a text may be long.
    void SetReadsAhead(bool reads_ahead) { reads_ahead_ = reads_ahead && only_numbers_; }

    // Keep() copies the values, except long ones, instead of only noting the row: for rows that are gone back to again
    // and again.
    void KeepValues() { keep_values_ = true; }
    bool KeepsValues() const { return keep_values_; }

    std::optional<std::string_view> NarrowText(std::size_t slot) override;
    RowHandle Keep() override;
    bool Restore(RowHandle handle) override;
    void Forget() override;

protected:
    const Value& Load(std::size_t slot) override;

private:
    bool IsLong(std::size_t slot) const;
    const Value& Read(std::size_t slot);
    RowIdentity& IdentityOfRows();

    std::shared_ptr<Table> table_;
    std::optional<RowIdentity> identity_;
    std::unique_ptr<sql::Cursor> cursor_;
    std::vector<Value> values_;
    std::vector<std::uint64_t> stamps_;  // of the row a value was read from
    std::uint64_t stamp_ = 0;

    HeldMemory long_values_;

    bool keep_values_ = false;
    bool has_long_ = false;
    bool only_numbers_ = false;  // in the slots
    bool reads_ahead_ = false;
    RowBuffer kept_;
    std::vector<RowId> kept_ids_;
    RowHandle current_ = 0;  // the kept row shown, 0 when the cursor's row is
};

// Rows made up in memory: what GROUP BY and UNION have put together.
class RowsSource : public Source {
public:
    // Every column has the slot of its own number.
    explicit RowsSource(const std::vector<ColumnInfo>& columns);

    // Adds a column while the query is being bound; returns its slot.
    std::size_t AddColumn(const ColumnInfo& column);

    RowBuffer& Rows() { return rows_; }
    void Clear();

    RowHandle Keep() override { return current_; }
    bool Restore(RowHandle handle) override;

protected:
    const Value& Load(std::size_t slot) override;

private:
    RowBuffer rows_;
    RowHandle current_ = 0;
};

}  // namespace qmtrain::sql
