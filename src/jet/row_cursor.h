// A position among the rows of a table. Columns are decoded when they are read.
#pragma once

#include <optional>
#include <string_view>

#include "core/work.h"
#include "jet/index_cursor.h"
#include "jet/long_value.h"
#include "jet/row.h"
#include "jet/stored_table.h"

namespace qmtrain::jet {

class RowCursor {
public:
    // The table must outlive the cursor.
    explicit RowCursor(const StoredTable& table) : table_(&table), pager_(table.GetPager()) {}

    const StoredTable& GetTable() const { return *table_; }

    // All rows, in the order in which they are stored.
    void Scan();

    // The rows with keys from `from` on and below `to` (no bound when empty), in the order of the index or against it.
    void Range(std::size_t index, const Bytes& from, const std::optional<Bytes>& to, bool backwards = false);

    // Moves to the next row; false at the end. Rows deleted meanwhile are left out.
    bool Next();

    // How many times Next() would still be true, without looking at the rows. Ends the scan or range.
    std::int64_t CountRest();

    // Moves to a row and ends the scan or range; false when the row is gone.
    bool MoveTo(RowPointer row);

    RowPointer Row() const { return row_; }

    // Raises RecordDeleted when the row is gone.
    void Read(std::size_t column, Value& value);

    // Numbers of a row that a scan has come to; false when they have to be read one by one.
    bool ReadNumbers(const NumberColumns& columns, Value* values) {
        return columns.AreNumbers() && IsAtHand() &&
               columns.Read(RowView(table_->Definition(), pager_.GetFormat(), data_->Row(row_.slot)), values);
    }

    // A text of the row whose stored bytes are its characters, as sql::Cursor has it.
    std::optional<std::string_view> NarrowText(std::size_t column);

    // A memo or OLE value without reading it; nothing when it is Null. Valid until the cursor moves.
    std::optional<LongValueReader> OpenLongValue(std::size_t column);

    // The row, ready to be read.
    const RowView& View() { return loaded_ && row_change_ == pager_.ChangeCount() ? view_ : LoadedView(); }

    // The row's bytes, unread.
    ByteView Image();

private:
    enum class Mode : std::uint8_t { Single, Scan, Index };

    // Whether the row stands in the scan's page, to be read there.
    bool IsAtHand() const { return mode_ == Mode::Scan && plain_ && data_ && page_change_ == pager_.ChangeCount(); }

    bool NextInScan();

    // Whether the scan has another slot to look at; goes on to the next page where the present one is done.
    bool HasScanSlot() { return AtScanSlot() || FindScanSlot(); }
    bool AtScanSlot() const { return data_ && scan_slot_ < data_->Slots() && page_change_ == pager_.ChangeCount(); }
    bool FindScanSlot();

    void End();
    bool NextInIndex();
    bool Load();
    const RowView& LoadedView();
    void SetIndex(std::size_t index);
    bool ReadFromKey(std::size_t column, Value& value) const;

    const StoredTable* table_;
    Pager& pager_;
    Mode mode_ = Mode::Single;

    PageNumber scan_page_ = 0;
    std::size_t scan_slot_ = 0;
    bool plain_ = false;  // the scan's row stands where its slot is
    Page page_;           // of the scan
    std::optional<DataPage> data_;
    std::uint64_t page_change_ = 0;  // the pager's, when page_ was looked at

    std::optional<IndexCursor> index_;
    std::size_t index_number_ = 0;
    bool backwards_ = false;

    // The leading columns of the index whose values can be read from its entries, so that the row need not be visited.
    struct KeyPart {
        std::size_t column = 0;
        ColumnType type = ColumnType::Long;
        std::size_t size = 0;
        bool ascending = true;
    };
    std::vector<KeyPart> key_parts_;

    WorkSteps steps_;
    RowPointer row_;
    bool loaded_ = false;
    std::uint64_t row_change_ = 0;
    Page row_page_;
    RowView view_;  // once the row is loaded
    Bytes long_value_;
};

// A value of a row, for every column but the long ones.
void ReadValue(const StoredTable& table, const RowView& row, std::size_t column, Value& value);

// The least byte string above all that begin with `key`; nothing when there is none.
std::optional<Bytes> SuccessorOf(Bytes key);

}  // namespace qmtrain::jet
