#include "jet/data_page.h"

#include <cassert>
#include <cstring>

namespace qmtrain::jet {
namespace {

std::uint16_t FlagsOf(SlotKind kind) {
    switch (kind) {
        case SlotKind::Row: return 0;
        case SlotKind::Header: return kSlotPointer;
        case SlotKind::Overflow: return kSlotHidden;
        case SlotKind::Deleted: break;
    }
    return kSlotPointer | kSlotHidden;
}

}  // namespace

bool DataPage::HasLiveRows() const {
    for (std::size_t slot = 0; slot < slots_; ++slot) {
        if (Kind(slot) != SlotKind::Deleted) return true;
    }
    return false;
}

std::size_t DataPage::RowsFrom(std::size_t slot) const {
    const std::uint8_t* entries = page_.Part(format_->data_slots, 2 * slots_).Data();
    std::size_t rows = 0;
    for (; slot < slots_; ++slot) rows += (Get<std::uint16_t>(entries + 2 * slot) & kSlotHidden) == 0 ? 1 : 0;
    return rows;
}

void DataPage::CheckAll() const {
    for (std::size_t slot = 0; slot < slots_; ++slot) Row(slot);
    if (StoredFree() != ActualFree()) page_.Damaged(u"空闲空间与实际不符");
}

DataPageEditor::DataPageEditor(MutablePage& page) : page_(page), view_(page.View(), page.GetFormat()) {
    if (page.IsChecked()) return;
    view_.CheckAll();
    page.SetChecked();
}

void DataPageEditor::Initialize(MutablePage& page, std::uint32_t owner) {
    const FileFormat& format = page.GetFormat();
    std::memset(page.Data(), 0, format.page_size);
    Put<std::uint16_t>(page.Data(), 0x0101);
    Put(page.Data() + 2, static_cast<std::uint16_t>(format.FreeOnEmptyDataPage()));
    Put(page.Data() + 4, owner);
}

void DataPageEditor::Refresh() {
    view_ = DataPage(page_.View(), page_.GetFormat());
    Put(page_.Data() + 2, static_cast<std::uint16_t>(view_.ActualFree()));
}

void DataPageEditor::SetEntry(std::size_t slot, std::size_t offset, SlotKind kind) {
    Put(page_.Data() + view_.format_->data_slots + 2 * slot, static_cast<std::uint16_t>(offset | FlagsOf(kind)));
}

std::uint8_t DataPageEditor::Add(std::span<const std::uint8_t> row, SlotKind kind) {
    assert(view_.HasRoomFor(row.size()));
    const std::size_t slot = view_.slots_;
    const std::size_t offset = view_.Offset(slot) - row.size();
    if (!row.empty()) std::memcpy(page_.Data() + offset, row.data(), row.size());
    SetEntry(slot, offset, kind);
    Put(page_.Data() + view_.format_->data_slot_count, static_cast<std::uint16_t>(slot + 1));
    Refresh();
    return static_cast<std::uint8_t>(slot);
}

// Makes the row `length` bytes long by moving all rows below it. Requires: there is room.
void DataPageEditor::Resize(std::size_t slot, std::size_t length) {
    const std::size_t old_length = view_.Row(slot).Size();
    if (old_length == length) return;
    const std::size_t lowest = view_.Offset(view_.slots_);
    const std::size_t begin = view_.Offset(slot + 1);
    const std::ptrdiff_t shift = static_cast<std::ptrdiff_t>(old_length) - static_cast<std::ptrdiff_t>(length);
    std::uint8_t* data = page_.Data();
    std::memmove(data + lowest + shift, data + lowest, begin - lowest);
    for (std::size_t i = slot; i < view_.slots_; ++i) SetEntry(i, view_.Offset(i + 1) + shift, view_.Kind(i));
}

bool DataPageEditor::Replace(std::size_t slot, std::span<const std::uint8_t> row, SlotKind kind) {
    const std::size_t old_length = view_.Row(slot).Size();
    if (row.size() > old_length && row.size() - old_length > view_.ActualFree()) return false;
    Resize(slot, row.size());
    const std::size_t begin = view_.Offset(slot + 1);
    if (!row.empty()) std::memcpy(page_.Data() + begin, row.data(), row.size());
    SetEntry(slot, begin, kind);
    Refresh();
    return true;
}

void DataPageEditor::Delete(std::size_t slot, bool keep_slots) {
    Resize(slot, 0);
    SetEntry(slot, view_.Offset(slot + 1), SlotKind::Deleted);
    std::size_t slots = view_.slots_;
    while (!keep_slots && slots > 0 && view_.Kind(slots - 1) == SlotKind::Deleted) --slots;
    Put(page_.Data() + view_.format_->data_slot_count, static_cast<std::uint16_t>(slots));
    Refresh();
}

void DataPageEditor::AddDeleted(std::size_t slots) {
    for (std::size_t slot = 0; slot < slots; ++slot) SetEntry(slot, view_.format_->page_size, SlotKind::Deleted);
    Put(page_.Data() + view_.format_->data_slot_count, static_cast<std::uint16_t>(slots));
    Refresh();
}

}  // namespace qmtrain::jet
