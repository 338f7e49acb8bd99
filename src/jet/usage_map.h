// Sets of pages: which pages belong to a table, have room, or are free.
//
// A map is a row on a data page. Inline form: `00 | u32 first page | bitmap`. Reference form: `01 | u32 page …`, where
// entry k names a map page (`05 01 00 00` and a bitmap) for pages from k * PagesPerMapPage() on, 0 = none.
#pragma once

#include <functional>

#include "core/value.h"
#include "jet/pager.h"

namespace qmtrain::jet {

class PageAllocator;

class UsageMap {
public:
    // What pages outside a map's reach count as.
    enum class Outside : std::uint8_t { Absent, Present };

    UsageMap(Pager& pager, PageAllocator& allocator, RowPointer where, Outside outside = Outside::Absent)
        : pager_(pager), allocator_(allocator), where_(where), outside_(outside) {}

    RowPointer Where() const { return where_; }
    bool Contains(PageNumber page) const;

    // The lowest member that is not below `from` and lies in the file; 0 when there is none.
    PageNumber Next(PageNumber from) const;

    // Requires: inside a write scope.
    void Add(PageNumber page) { Set(page, true); }
    void Remove(PageNumber page) { Set(page, false); }

    // The map pages of the reference form.
    std::vector<PageNumber> MapPages() const;

    // Raises FileDamaged when the map is malformed or, for a table's map, names pages outside the file.
    void Check() const;

private:
    struct Row;
    Row Load() const;
    void Set(PageNumber page, bool member);
    bool SetInline(PageNumber page, bool member);
    bool LacksMapPage(PageNumber page) const;
    void SetReferenced(PageNumber page, bool member, PageNumber free_from);
    bool MoveStart(PageNumber page);
    bool Lengthen(PageNumber page);
    void ConvertToReferences();

    Pager& pager_;
    PageAllocator& allocator_;
    RowPointer where_;
    Outside outside_;
};

// Takes pages for new use and gives them back, by the global map of free pages.
class PageAllocator {
public:
    explicit PageAllocator(Pager& pager) : pager_(pager) {}

    // A page of zeros, counted as used. `before` gets what it held when it was freed, nothing for a page that is new.
    MutablePage Allocate(Bytes* before = nullptr);

    // The page must not belong to any map any more. `type` is what the freed page says of itself.
    void Free(PageNumber page, PageType type);

    bool IsFree(PageNumber page);
    UsageMap FreeMap() { return {pager_, *this, {kGlobalMapPage, 0}, UsageMap::Outside::Present}; }

private:
    friend class UsageMap;
    // A page at the end of the file that the caller enters into the free map itself.
    MutablePage AllocateUnmapped();

    Pager& pager_;
    PageNumber search_from_ = 1;  // no free page lies below
    std::uint64_t generation_ = 0;
};

}  // namespace qmtrain::jet
