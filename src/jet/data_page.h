// Data pages: rows in a slot table.
//
//   0  01 01 | 2 u16 free bytes | 4 u32 owner | (Jet 4: 8 u32 stamp) | u16 slots | u16 per slot: offset and flags
//
// Rows stand from the page's end downwards in slot order; row i fills [offset(i), offset(i-1)). So offsets never rise
// with the slot number, and a row can be empty.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "jet/bytes.h"
#include "jet/file_format.h"
#include "jet/page_cache.h"

namespace qmtrain::jet {

enum class SlotKind : std::uint8_t {
    Row,       // a live row, a long value, a map
    Header,    // the first four bytes point to the row's real place
    Overflow,  // that real place: skipped in a scan
    Deleted,
};

// A slot's entry: the row's offset and what it is; both flags mean a deleted row.
inline constexpr std::uint16_t kSlotOffset = 0x1FFF;
inline constexpr std::uint16_t kSlotPointer = 0x4000;
inline constexpr std::uint16_t kSlotHidden = 0x8000;

class DataPage {
public:
    // Raises FileDamaged when the page is no data page or its slot table does not fit.
    DataPage(const ByteView& page, const FileFormat& format);

    std::uint32_t Owner() const { return page_.U32(4); }
    std::size_t Slots() const { return slots_; }
    std::size_t StoredFree() const { return page_.U16(2); }
    std::size_t ActualFree() const { return Offset(slots_) - SlotsEnd(); }
    bool HasRoomFor(std::size_t length) const { return slots_ < kMaxSlots && ActualFree() >= length + 2; }
    bool HasLiveRows() const;

    SlotKind Kind(std::size_t slot) const;

    // How many rows of the table stand in this slot and those after it: Row and Header.
    std::size_t RowsFrom(std::size_t slot) const;
    ByteView Row(std::size_t slot) const;

    // Prefetches the row into the processor's cache; any slot number is allowed.
    void ExpectRow(std::size_t slot) const {
        if (slot < slots_) __builtin_prefetch(page_.Data() + (Entry(slot) & kSlotOffset));
    }

    // Checks every offset and the free space field. Raises FileDamaged.
    void CheckAll() const;

private:
    friend class DataPageEditor;
    // Requires: slot < slots_. The constructor has seen that the page has room for them.
    std::uint16_t Entry(std::size_t slot) const {
        return Get<std::uint16_t>(page_.Data() + format_->data_slots + 2 * slot);
    }
    std::size_t SlotsEnd() const { return format_->data_slots + 2 * slots_; }
    // The offset of the row before `slot` in slot order, the page's end for the first.
    std::size_t Offset(std::size_t slot) const;

    ByteView page_;
    const FileFormat* format_;
    std::size_t slots_;
};

inline DataPage::DataPage(const ByteView& page, const FileFormat& format)
    : page_(page), format_(&format), slots_(page.U16(format.data_slot_count)) {
    if (page.U8(0) != static_cast<std::uint8_t>(PageType::Data)) page.Damaged(u"此页不是数据页");
    if (format.data_slots + 2 * slots_ > page.Size()) page.Damaged(u"行表超出页尾");
}

[[gnu::always_inline]] inline std::size_t DataPage::Offset(std::size_t slot) const {
    return slot == 0 ? format_->page_size : Entry(slot - 1) & kSlotOffset;
}

inline SlotKind DataPage::Kind(std::size_t slot) const {
    if (slot >= slots_) page_.Damaged(u"行号超出行表");
    switch (Entry(slot) & (kSlotPointer | kSlotHidden)) {
        case 0: return SlotKind::Row;
        case kSlotPointer: return SlotKind::Header;
        case kSlotHidden: return SlotKind::Overflow;
        default: return SlotKind::Deleted;
    }
}

// Called for every row of a scan.
[[gnu::always_inline]] inline ByteView DataPage::Row(std::size_t slot) const {
    if (slot >= slots_) page_.Damaged(u"行号超出行表");
    const std::size_t begin = Offset(slot + 1);
    const std::size_t end = Offset(slot);
    if (begin > end || begin < SlotsEnd()) page_.Damaged(u"行的位置错误");
    return page_.Part(begin, end - begin);
}

class DataPageEditor {
public:
    // Requires: `page` outlives the editor. Checks the page when it is first edited, see DataPage::CheckAll.
    explicit DataPageEditor(MutablePage& page);

    // Makes the page an empty data page.
    static void Initialize(MutablePage& page, std::uint32_t owner);

    const DataPage& View() const { return view_; }

    // Requires: View().HasRoomFor(row.size()).
    std::uint8_t Add(std::span<const std::uint8_t> row, SlotKind kind = SlotKind::Row);

    // Puts other bytes in the row's place, moving the rows below; false when they do not fit.
    bool Replace(std::size_t slot, std::span<const std::uint8_t> row, SlotKind kind);

    // Leaves a deleted slot of length 0. Deleted slots at the end of the table are dropped unless `keep_slots`.
    void Delete(std::size_t slot, bool keep_slots = false);

    // Makes that many deleted slots. Requires: the page has no slots, and room for them.
    void AddDeleted(std::size_t slots);

private:
    void Resize(std::size_t slot, std::size_t length);
    void SetEntry(std::size_t slot, std::size_t offset, SlotKind kind);
    void Refresh();

    MutablePage& page_;
    DataPage view_;
};

}  // namespace qmtrain::jet
