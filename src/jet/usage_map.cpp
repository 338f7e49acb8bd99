#include "jet/usage_map.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <set>

#include "jet/data_page.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kInlineHead = 5;
constexpr std::size_t kMapPageHead = 4;

// The lowest set bit at or above `from`; `count` when there is none.
std::size_t NextBit(const std::uint8_t* bits, std::size_t count, std::size_t from) {
    while (from < count) {
        if (from % 64 == 0 && from + 64 <= count) {
            const auto word = Get<std::uint64_t>(bits + from / 8);
            if (word != 0) return from + static_cast<std::size_t>(std::countr_zero(word));
            from += 64;
            continue;
        }
        if ((bits[from / 8] >> (from % 8) & 1) != 0) return from;
        ++from;
    }
    return count;
}

void SetBit(std::uint8_t* bits, std::size_t at, bool value) {
    const auto mask = static_cast<std::uint8_t>(1 << (at % 8));
    bits[at / 8] = static_cast<std::uint8_t>(value ? bits[at / 8] | mask : bits[at / 8] & ~mask);
}

}  // namespace

// The map's row, pinned.
struct UsageMap::Row {
    Page page;
    ByteView bytes;

    bool IsInline() const { return bytes.U8(0) == 0; }
    PageNumber First() const { return bytes.U32(1); }
    std::size_t Bits() const { return (bytes.Size() - kInlineHead) * 8; }
    const std::uint8_t* Bitmap() const { return bytes.Data() + kInlineHead; }
    std::size_t References() const { return (bytes.Size() - 1) / 4; }
    PageNumber Reference(std::size_t i) const { return bytes.U32(1 + 4 * i); }
};

UsageMap::Row UsageMap::Load() const {
    Row row{pager_.Read(where_.page), {}};
    const DataPage data(row.page.View(), pager_.GetFormat());
    if (data.Kind(where_.slot) != SlotKind::Row) pager_.Damaged(where_.page, u"页面分布图已被删除");
    row.bytes = data.Row(where_.slot);
    if (row.bytes.U8(0) > 1 || row.bytes.Size() < kInlineHead) pager_.Damaged(where_.page, u"页面分布图格式错误");
    return row;
}

bool UsageMap::Contains(PageNumber page) const {
    const Row row = Load();
    if (row.IsInline()) {
        if (page < row.First() || page - row.First() >= row.Bits()) return outside_ == Outside::Present;
        const std::size_t bit = page - row.First();
        return (row.Bitmap()[bit / 8] >> (bit % 8) & 1) != 0;
    }
    const std::uint32_t per_page = pager_.GetFormat().PagesPerMapPage();
    const std::size_t part = page / per_page;
    if (part >= row.References()) return outside_ == Outside::Present;
    if (row.Reference(part) == 0) return false;
    const Page map = pager_.Read(row.Reference(part));
    if (map.Type() != PageType::UsageMap) pager_.Damaged(map.Number(), u"此页不是页面分布图");
    const std::size_t bit = page % per_page;
    return (map.Data()[kMapPageHead + bit / 8] >> (bit % 8) & 1) != 0;
}

PageNumber UsageMap::Next(PageNumber from) const {
    const Row row = Load();
    const PageNumber end = pager_.PageCount();
    if (row.IsInline()) {
        if (from < row.First() && outside_ == Outside::Present) return from < end ? from : 0;
        const std::size_t start = from > row.First() ? from - row.First() : 0;
        const std::size_t bit = NextBit(row.Bitmap(), row.Bits(), start);
        const std::uint64_t page = static_cast<std::uint64_t>(row.First()) + std::max(bit, start);
        if (bit >= row.Bits() && outside_ == Outside::Absent) return 0;
        return page < end ? static_cast<PageNumber>(page) : 0;
    }
    const std::uint32_t per_page = pager_.GetFormat().PagesPerMapPage();
    for (std::size_t part = from / per_page; part < row.References(); ++part, from = 0) {
        if (part * per_page >= end) return 0;
        if (row.Reference(part) == 0) continue;
        const Page map = pager_.Read(row.Reference(part));
        if (map.Type() != PageType::UsageMap) pager_.Damaged(map.Number(), u"此页不是页面分布图");
        const std::size_t bit = NextBit(map.Data() + kMapPageHead, per_page, from % per_page);
        if (bit == per_page) continue;
        const std::uint64_t page = part * per_page + bit;
        return page < end ? static_cast<PageNumber>(page) : 0;
    }
    return 0;
}

std::vector<PageNumber> UsageMap::MapPages() const {
    const Row row = Load();
    std::vector<PageNumber> pages;
    if (row.IsInline()) return pages;
    for (std::size_t i = 0; i < row.References(); ++i) {
        if (row.Reference(i) != 0) pages.push_back(row.Reference(i));
    }
    return pages;
}

void UsageMap::Check() const {
    const Row row = Load();
    if (!row.IsInline()) {
        if ((row.bytes.Size() - 1) % 4 != 0) pager_.Damaged(where_.page, u"页面分布图的长度错误");
        std::set<PageNumber> seen;
        for (const PageNumber number : MapPages()) {
            if (!seen.insert(number).second) pager_.Damaged(where_.page, u"页面分布图重复引用同一页");
            if (pager_.Read(number).Type() != PageType::UsageMap) pager_.Damaged(number, u"此页不是页面分布图");
        }
        return;
    }
    if (outside_ == Outside::Present) return;
    for (std::size_t bit = NextBit(row.Bitmap(), row.Bits(), 0); bit < row.Bits();
         bit = NextBit(row.Bitmap(), row.Bits(), bit + 1)) {
        const std::uint64_t page = static_cast<std::uint64_t>(row.First()) + bit;
        if (page < 2 || page >= pager_.PageCount()) pager_.Damaged(where_.page, u"页面分布图含有文件以外的页");
    }
}

void UsageMap::Set(PageNumber page, bool member) {
    const bool lacks_map_page = outside_ == Outside::Present && !member && LacksMapPage(page);
    if (Contains(page) == member && !lacks_map_page) return;
    if (Load().IsInline()) {
        if (SetInline(page, member)) return;
        ConvertToReferences();
    }
    SetReferenced(page, member, pager_.PageCount());
}

// Whether the file has grown to where no map page covers free pages. One is made then, and not when a page there is
// freed: a full file would have no room for it.
bool UsageMap::LacksMapPage(PageNumber page) const {
    const Row row = Load();
    const std::size_t part = page / pager_.GetFormat().PagesPerMapPage();
    return !row.IsInline() && part < row.References() && row.Reference(part) == 0;
}

bool UsageMap::SetInline(PageNumber page, bool member) {
    {
        const Row row = Load();
        const bool reached = page >= row.First() && page - row.First() < row.Bits();
        if (!reached && !(outside_ == Outside::Present ? Lengthen(page) : MoveStart(page))) return false;
    }
    MutablePage holder = pager_.Write(where_.page);
    const Row row = Load();
    SetBit(holder.Data() + (row.Bitmap() - row.page.Data()), page - row.First(), member);
    return true;
}

// Lets the bitmap begin elsewhere when all members then lie within its reach.
bool UsageMap::MoveStart(PageNumber page) {
    std::vector<PageNumber> members;
    PageNumber lowest = page;
    PageNumber highest = page;
    for (PageNumber member = Next(0); member != 0; member = Next(member + 1)) {
        members.push_back(member);
        lowest = std::min(lowest, member);
        highest = std::max(highest, member);
    }
    const PageNumber first = lowest & ~PageNumber{7};
    if (highest - first >= Load().Bits()) return false;
    MutablePage holder = pager_.Write(where_.page);
    const Row row = Load();
    std::uint8_t* bytes = holder.Data() + (row.bytes.Data() - row.page.Data());
    std::memset(bytes + kInlineHead, 0, row.bytes.Size() - kInlineHead);
    Put(bytes + 1, first);
    for (const PageNumber member : members) SetBit(bytes + kInlineHead, member - first, true);
    return true;
}

// The map of free pages grows in its place as long as its page has room; the new bits say "free".
bool UsageMap::Lengthen(PageNumber page) {
    std::vector<std::uint8_t> bytes;
    {
        const Row row = Load();
        if (page < row.First()) return false;
        bytes.assign(row.bytes.Data(), row.bytes.Data() + row.bytes.Size());
        const std::size_t needed = kInlineHead + (page - row.First()) / 8 + 1;
        bytes.resize(bytes.size() + (needed - bytes.size() + 3) / 4 * 4, 0xFF);
    }
    MutablePage holder = pager_.Write(where_.page);
    return DataPageEditor(holder).Replace(where_.slot, bytes, SlotKind::Row);
}

void UsageMap::ConvertToReferences() {
    std::vector<PageNumber> flipped;  // pages that differ from what a page outside counts as
    std::size_t length = 0;
    {
        const Row row = Load();
        length = row.bytes.Size();
        for (std::size_t bit = 0; bit < row.Bits(); ++bit) {
            const bool member = (row.Bitmap()[bit / 8] >> (bit % 8) & 1) != 0;
            if (member != (outside_ == Outside::Present)) flipped.push_back(row.First() + static_cast<PageNumber>(bit));
        }
    }
    // Enough references for the largest file.
    const FileFormat& format = pager_.GetFormat();
    const std::size_t references = static_cast<std::size_t>(
        std::max<std::uint64_t>(17, (format.max_file_size / format.page_size - 1) / format.PagesPerMapPage() + 1));
    std::vector<std::uint8_t> bytes(std::max(1 + 4 * references, std::min(length, 1 + (length - 1) / 4 * 4)), 0);
    if (outside_ == Outside::Present) bytes.resize(1 + 4 * references);
    bytes[0] = 1;
    {
        MutablePage holder = pager_.Write(where_.page);
        if (!DataPageEditor(holder).Replace(where_.slot, bytes, SlotKind::Row)) {
            pager_.Damaged(where_.page, u"页面分布图没有空间扩展");
        }
    }
    for (const PageNumber page : flipped) SetReferenced(page, outside_ != Outside::Present, 0);
}

// A map page that has to be made speaks of free pages from `free_from` on; the pages before it are in use.
void UsageMap::SetReferenced(PageNumber page, bool member, PageNumber free_from) {
    const std::uint32_t per_page = pager_.GetFormat().PagesPerMapPage();
    const std::size_t part = page / per_page;
    PageNumber map_page = 0;
    {
        const Row row = Load();
        if (part >= row.References()) pager_.Damaged(where_.page, u"页面分布图没有空间扩展");
        map_page = row.Reference(part);
    }
    if (map_page == 0) {
        // The map of free pages cannot ask itself for a page.
        MutablePage fresh = outside_ == Outside::Present ? allocator_.AllocateUnmapped() : allocator_.Allocate();
        map_page = fresh.Number();
        Put<std::uint32_t>(fresh.Data(), 0x0105);
        const std::size_t first = std::max<std::size_t>(part * per_page, free_from);
        for (std::size_t bit = first - part * per_page; outside_ == Outside::Present && bit < per_page; ++bit) {
            SetBit(fresh.Data() + kMapPageHead, bit, true);
        }
        MutablePage holder = pager_.Write(where_.page);
        const Row row = Load();
        Put(holder.Data() + (row.bytes.Data() - row.page.Data()) + 1 + 4 * part, map_page);
        if (outside_ == Outside::Present) Set(map_page, false);
    }
    MutablePage map = pager_.Write(map_page);
    if (map.Type() != PageType::UsageMap) pager_.Damaged(map_page, u"此页不是页面分布图");
    SetBit(map.Data() + kMapPageHead, page % per_page, member);
}

bool PageAllocator::IsFree(PageNumber page) {
    return FreeMap().Contains(page);
}

MutablePage PageAllocator::AllocateUnmapped() {
    return pager_.Extend();
}

MutablePage PageAllocator::Allocate(Bytes* before) {
    if (generation_ != pager_.Generation()) {
        search_from_ = 1;
        generation_ = pager_.Generation();
    }
    // Pages in the second map are free, but perhaps not for all users yet.
    const UsageMap held_back(pager_, *this, {kGlobalMapPage, 1});
    UsageMap free = FreeMap();
    PageNumber found = free.Next(search_from_);
    while (found != 0 && held_back.Contains(found)) found = free.Next(found + 1);
    MutablePage page;
    if (found != 0) {
        page = pager_.Write(found);
        if (before != nullptr) before->assign(page.Data(), page.Data() + pager_.GetFormat().page_size);
        std::memset(page.Data(), 0, pager_.GetFormat().page_size);
    } else {
        page = pager_.Extend();
        found = page.Number();
    }
    free.Remove(found);
    search_from_ = found + 1;
    return page;
}

void PageAllocator::Free(PageNumber page, PageType type) {
    assert(page > kRelationshipsPage);
    pager_.Write(page).Data()[0] = static_cast<std::uint8_t>(type);
    FreeMap().Add(page);
    search_from_ = std::min(search_from_, page);
}

}  // namespace qmtrain::jet
