// Slots on the data pages of one owner: a table's rows, or a column's long values.
#pragma once

#include <cstdint>
#include <span>

#include "jet/data_page.h"
#include "jet/pager.h"
#include "jet/usage_map.h"

namespace qmtrain::jet {

class RowStore {
public:
    // When the slot of a deleted row may be used again.
    enum class Slots : std::uint8_t {
        Reused,  // at once
        Kept,    // when all slots of its page have been used: for rows that only their place identifies
    };

    // `owner` is what the pages' headers name. `free_map` may be missing: then every new slot takes a page of its own.
    RowStore(Pager& pager, PageAllocator& allocator, std::uint32_t owner, RowPointer owned_map, RowPointer free_map,
             Slots slots = Slots::Reused)
        : pager_(pager),
          allocator_(allocator),
          owner_(owner),
          owned_map_(owned_map),
          free_map_(free_map),
          slots_(slots) {}

    UsageMap OwnedMap() const { return {pager_, allocator_, owned_map_}; }

    // On a page with room, or a new one.
    RowPointer Add(std::span<const std::uint8_t> row, SlotKind kind = SlotKind::Row);

    // On a page of its own that nothing else is put on.
    RowPointer AddAlone(std::span<const std::uint8_t> row);

    // Replaces a slot's bytes if its page has the room.
    bool Replace(RowPointer where, std::span<const std::uint8_t> row, SlotKind kind);

    // Marks the slot deleted. A page without live slots is given back.
    void Delete(RowPointer where);

    // Raises FileDamaged when the slot does not belong to this store.
    DataPage ViewOf(const Page& page) const;

private:
    MutablePage NewPage(bool listed);
    std::size_t SlotsUsed(const Bytes& freed) const;
    PageNumber FindRoom(std::size_t length);
    bool TryPage(PageNumber number, std::size_t length);
    void ListIfRoomy(PageNumber number, const DataPage& page);

    Pager& pager_;
    PageAllocator& allocator_;
    std::uint32_t owner_;
    RowPointer owned_map_;
    RowPointer free_map_;
    Slots slots_;
    PageNumber last_used_ = 0;  // where the last row went: the first to be tried
};

// Whether a page has so much room that the free space map must name it.
bool IsRoomy(const DataPage& page, const FileFormat& format);

}  // namespace qmtrain::jet
