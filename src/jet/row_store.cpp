#include "jet/row_store.h"

namespace qmtrain::jet {
namespace {

// A row that fits nowhere is tried on so many listed pages at most, so that a map full of half-empty pages does not
// make every insertion slow.
constexpr int kMaxTries = 16;

}  // namespace

bool IsRoomy(const DataPage& page, const FileFormat& format) {
    return page.Slots() < kMaxSlots && page.ActualFree() > format.page_size / 2;
}

DataPage RowStore::ViewOf(const Page& page) const {
    const DataPage view(page.View(), pager_.GetFormat());
    if (view.Owner() != owner_) pager_.Damaged(page.Number(), u"此页属于另一个表");
    return view;
}

bool RowStore::TryPage(PageNumber number, std::size_t length) {
    if (number == 0 || number >= pager_.PageCount()) return false;
    const Page page = pager_.Read(number);
    if (page.Type() != PageType::Data || page.View().U32(4) != owner_) return false;
    return DataPage(page.View(), pager_.GetFormat()).HasRoomFor(length);
}

PageNumber RowStore::FindRoom(std::size_t length) {
    if (!free_map_) return 0;
    if (TryPage(last_used_, length) && OwnedMap().Contains(last_used_)) return last_used_;
    UsageMap free(pager_, allocator_, free_map_);
    int tries = 0;
    for (PageNumber number = free.Next(1); number != 0 && tries < kMaxTries; number = free.Next(number + 1), ++tries) {
        if (TryPage(number, length)) return number;
        const Page page = pager_.Read(number);
        if (page.Type() != PageType::Data || page.View().U32(4) != owner_ ||
            !IsRoomy(DataPage(page.View(), pager_.GetFormat()), pager_.GetFormat())) {
            free.Remove(number);
        }
    }
    return 0;
}

// How many slots a freed page had that was this store's before; 0 when too few would be left.
std::size_t RowStore::SlotsUsed(const Bytes& freed) const {
    constexpr std::size_t kFew = 32;
    if (freed.empty() || freed[0] != static_cast<std::uint8_t>(PageType::FreedData)) return 0;
    if (Get<std::uint32_t>(&freed[4]) != owner_) return 0;
    const std::size_t used = Get<std::uint16_t>(&freed[pager_.GetFormat().data_slot_count]);
    return used + kFew <= kMaxSlots ? used : 0;
}

MutablePage RowStore::NewPage(bool listed) {
    Bytes freed;
    MutablePage page = allocator_.Allocate(slots_ == Slots::Kept ? &freed : nullptr);
    DataPageEditor::Initialize(page, owner_);
    if (const std::size_t used = SlotsUsed(freed); used > 0) DataPageEditor(page).AddDeleted(used);
    OwnedMap().Add(page.Number());
    if (listed && free_map_) UsageMap(pager_, allocator_, free_map_).Add(page.Number());
    return page;
}

RowPointer RowStore::Add(std::span<const std::uint8_t> row, SlotKind kind) {
    const PageNumber room = FindRoom(row.size());
    MutablePage page = room != 0 ? pager_.Write(room) : NewPage(true);
    last_used_ = page.Number();
    return {page.Number(), DataPageEditor(page).Add(row, kind)};
}

RowPointer RowStore::AddAlone(std::span<const std::uint8_t> row) {
    MutablePage page = NewPage(false);
    return {page.Number(), DataPageEditor(page).Add(row)};
}

bool RowStore::Replace(RowPointer where, std::span<const std::uint8_t> row, SlotKind kind) {
    MutablePage page = pager_.Write(where.page);
    ViewOf(page);
    DataPageEditor editor(page);
    if (!editor.Replace(where.slot, row, kind)) return false;
    ListIfRoomy(where.page, editor.View());
    return true;
}

void RowStore::Delete(RowPointer where) {
    MutablePage page = pager_.Write(where.page);
    ViewOf(page);
    DataPageEditor editor(page);
    editor.Delete(where.slot, slots_ == Slots::Kept);
    if (editor.View().HasLiveRows()) {
        ListIfRoomy(where.page, editor.View());
        return;
    }
    OwnedMap().Remove(where.page);
    if (free_map_) UsageMap(pager_, allocator_, free_map_).Remove(where.page);
    allocator_.Free(where.page, PageType::FreedData);
    if (last_used_ == where.page) last_used_ = 0;
}

void RowStore::ListIfRoomy(PageNumber number, const DataPage& page) {
    if (free_map_ && IsRoomy(page, pager_.GetFormat())) UsageMap(pager_, allocator_, free_map_).Add(number);
}

}  // namespace qmtrain::jet
