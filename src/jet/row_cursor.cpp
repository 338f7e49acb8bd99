#include "jet/row_cursor.h"

#include <utility>

#include "jet/code_page_text.h"

namespace qmtrain::jet {
namespace {

constexpr int kMaxHops = 8;

// How many rows ahead a scan prefetches into the processor's cache.
constexpr std::size_t kRowsAhead = 4;

}  // namespace

std::optional<Bytes> SuccessorOf(Bytes key) {
    while (!key.empty() && key.back() == 0xFF) key.pop_back();
    if (key.empty()) return std::nullopt;
    ++key.back();
    return key;
}

void RowCursor::Scan() {
    mode_ = Mode::Scan;
    scan_page_ = 0;
    scan_slot_ = 0;
    data_.reset();
    row_ = {};
    loaded_ = false;
}

void RowCursor::Range(std::size_t index, const Bytes& from, const std::optional<Bytes>& to, bool backwards) {
    mode_ = Mode::Index;
    backwards_ = backwards;
    row_ = {};
    loaded_ = false;
    if (!index_ || index_number_ != index) SetIndex(index);
    if (backwards) {
        index_->StartBackward(to ? std::optional<std::span<const std::uint8_t>>(*to) : std::nullopt, from);
    } else {
        index_->StartForward(from, to);
    }
}

void RowCursor::SetIndex(std::size_t index) {
    index_.emplace(table_->Tree(index));
    index_number_ = index;
    key_parts_.clear();
    const TableDefinition& definition = table_->Definition();
    for (const KeyColumn& part : definition.real_indexes[index].columns) {
        const std::size_t column = definition.ColumnByNumber(part.number);
        const ColumnType type = definition.columns[column].type;
        if (!HasReadableKey(type)) break;
        key_parts_.push_back({column, type, KeySize(type), part.ascending});
    }
}

bool RowCursor::Next() {
    steps_.Next();
    loaded_ = false;
    switch (mode_) {
        case Mode::Scan: return NextInScan();
        case Mode::Index: return NextInIndex();
        case Mode::Single: break;
    }
    return false;
}

std::int64_t RowCursor::CountRest() {
    loaded_ = false;
    std::int64_t rows = 0;
    if (mode_ == Mode::Index && !backwards_) {
        rows = index_->CountRest();
        End();
    } else if (mode_ == Mode::Scan) {
        for (; HasScanSlot(); scan_slot_ = data_->Slots()) rows += data_->RowsFrom(scan_slot_);
    } else {
        while (Next()) ++rows;
    }
    return rows;
}

void RowCursor::End() {
    mode_ = Mode::Single;
    row_ = {};
}

bool RowCursor::FindScanSlot() {
    for (;;) {
        if (scan_page_ != 0 && (!data_ || page_change_ != pager_.ChangeCount())) {
            page_ = pager_.Read(scan_page_);
            page_change_ = pager_.ChangeCount();
            data_.reset();
            const bool ours = page_.Type() == PageType::Data && page_.View().U32(4) == table_->Definition().page;
            if (ours) data_.emplace(page_.View(), pager_.GetFormat());
            for (std::size_t row = 0; ours && row < kRowsAhead; ++row) data_->ExpectRow(scan_slot_ + row);
        }
        if (AtScanSlot()) return true;
        scan_page_ = table_->OwnedMap().Next(scan_page_ + 1);
        scan_slot_ = 0;
        data_.reset();
        if (scan_page_ == 0) {
            End();
            return false;
        }
    }
}

bool RowCursor::NextInScan() {
    while (HasScanSlot()) {
        const std::size_t slot = scan_slot_++;
        data_->ExpectRow(slot + kRowsAhead);
        const SlotKind kind = data_->Kind(slot);
        if (kind != SlotKind::Row && kind != SlotKind::Header) continue;
        row_ = {scan_page_, static_cast<std::uint8_t>(slot)};
        plain_ = kind == SlotKind::Row;
        return true;
    }
    return false;
}

bool RowCursor::NextInIndex() {
    if (index_->Next()) {
        row_ = RowPointerOf(index_->Entry());
        return true;
    }
    End();
    return false;
}

bool RowCursor::MoveTo(RowPointer row) {
    mode_ = Mode::Single;
    row_ = row;
    loaded_ = false;
    return row.page != 0 && row.page < pager_.PageCount() && Load();
}

// False when the row is gone.
bool RowCursor::Load() {
    const std::uint64_t change = pager_.ChangeCount();
    if (loaded_ && row_change_ == change) return true;
    loaded_ = false;
    if (IsAtHand()) {
        view_ = RowView(table_->Definition(), pager_.GetFormat(), data_->Row(row_.slot));
        loaded_ = true;
        if (row_page_) row_page_ = {};
        row_change_ = change;
        return true;
    }
    RowPointer at = row_;
    for (int hop = 0;; ++hop) {
        const bool at_hand = row_page_ && row_page_.Number() == at.page && row_change_ == change;
        if (!at_hand) {
            row_page_ = pager_.Read(at.page);
            row_change_ = change;
        }
        if (row_page_.Type() != PageType::Data || row_page_.View().U32(4) != table_->Definition().page) {
            if (hop == 0) return false;
            pager_.Damaged(at.page, u"行的溢出指针错误");
        }
        const DataPage data(row_page_.View(), pager_.GetFormat());
        if (hop == 0 && at.slot >= data.Slots()) return false;
        const SlotKind kind = data.Kind(at.slot);
        if (kind == SlotKind::Deleted || (hop == 0 && kind == SlotKind::Overflow)) {
            if (hop == 0) return false;
            pager_.Damaged(at.page, u"行的溢出指针错误");
        }
        const ByteView bytes = data.Row(at.slot);
        if (kind != SlotKind::Header) {
            view_ = RowView(table_->Definition(), pager_.GetFormat(), bytes);
            break;
        }
        if (hop == kMaxHops) pager_.Damaged(at.page, u"行的溢出链太长");
        at = RowPointer::FromStored(bytes.U32(0));
    }
    loaded_ = true;
    return true;
}

const RowView& RowCursor::LoadedView() {
    if (!row_) Raise(ErrorNumber::NoCurrentRecord);
    if (!Load()) Raise(ErrorNumber::RecordDeleted);
    return view_;
}

ByteView RowCursor::Image() {
    return row_ && !loaded_ && IsAtHand() ? data_->Row(row_.slot) : View().Bytes();
}

std::optional<LongValueReader> RowCursor::OpenLongValue(std::size_t column) {
    const auto stored = View().Find(table_->Definition().columns[column]);
    if (!stored) return std::nullopt;
    return LongValueReader(pager_, *stored);
}

std::optional<std::string_view> RowCursor::NarrowText(std::size_t position) {
    const StoredColumn& column = table_->Definition().columns[position];
    if (column.type != ColumnType::Text || pager_.GetFormat().version != Version::Jet4) return std::nullopt;
    const auto stored = View().Find(column);
    return stored ? NarrowTextOf(*stored) : std::nullopt;
}

// A value of the row that the index walk has come to.
bool RowCursor::ReadFromKey(std::size_t column, Value& value) const {
    const Bytes& entry = index_->Entry();
    std::size_t at = 0;
    for (const KeyPart& part : key_parts_) {
        const std::size_t end = entry.size() - kRowPointerBytes;
        if (at >= end) return false;
        const bool null = IsNullPart(entry[at], part.ascending);
        if (part.column == column) {
            if (null)
                value = Null{};
            else if (at + 1 + part.size > end)
                return false;
            else
                DecodeKeyPart(part.type, part.ascending, &entry[at + 1], value);
            return true;
        }
        at += null ? 1 : 1 + part.size;
    }
    return false;
}

void ReadValue(const StoredTable& table, const RowView& row, std::size_t position, Value& value) {
    const StoredColumn& column = table.Definition().columns[position];
    if (column.type == ColumnType::Boolean) {
        value.SetNumber(row.Boolean(column));
        return;
    }
    if (row.ReadNumber(column, value)) return;
    const auto stored = row.Find(column);
    if (!stored) {
        value = Null{};
        return;
    }
    const Pager& pager = table.GetPager();
    DecodeValue(column, *stored, pager.GetFormat(), CodePageOf(column, pager.GetHeader()), value);
}

void RowCursor::Read(std::size_t position, Value& value) {
    if (mode_ == Mode::Index && !loaded_ && row_ && ReadFromKey(position, value)) return;
    const StoredColumn& column = table_->Definition().columns[position];
    const RowView& view = View();
    if (view.ReadNumber(column, value)) return;
    if (!IsLongValue(column.type)) return ReadValue(*table_, view, position, value);
    const auto stored = view.Find(column);
    if (!stored) {
        value = Null{};
        return;
    }
    const LongValueReader reader(pager_, *stored);
    if (column.type == ColumnType::LongBinary) {
        reader.Read(value.ReuseBinary());
        return;
    }
    reader.Read(long_value_);
    DecodeMemo(long_value_, pager_, column, value.ReuseText());
}

}  // namespace qmtrain::jet
