#include "jet/index_page.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qmtrain::jet {
namespace {

int CompareBytes(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    const std::size_t common = std::min(a.size(), b.size());
    const int order = common == 0 ? 0 : std::memcmp(a.data(), b.data(), common);
    if (order != 0) return order;
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

void SetFree(MutablePage& page, const Format& format, std::size_t used) {
    Put(page.Data() + 2, static_cast<std::uint16_t>(format.IndexCapacity() - used));
}

// Sets the end marks of `ends` from entry `from` on; the marks below `keep_below` stay.
void RewriteMask(MutablePage& page, const Format& format, std::size_t keep_below, std::span<const std::uint16_t> ends) {
    std::uint8_t* mask = page.Data() + format.index_mask;
    mask[keep_below / 8] &= static_cast<std::uint8_t>((1 << (keep_below % 8)) - 1);
    std::memset(mask + keep_below / 8 + 1, 0, format.index_mask_bytes - keep_below / 8 - 1);
    for (const std::uint16_t end : ends) mask[end / 8] |= static_cast<std::uint8_t>(1 << (end % 8));
}

}  // namespace

void AppendRowPointer(RowPointer row, Bytes& entry) {
    entry.resize(entry.size() + kRowPointerBytes);
    PutBig32(&entry[entry.size() - kRowPointerBytes], row.ToStored());
}

RowPointer RowPointerOf(std::span<const std::uint8_t> leaf_entry) {
    return RowPointer::FromStored(GetBig32(leaf_entry.last(kRowPointerBytes).data()));
}

IndexPage::IndexPage(const ByteView& page, const Format& format, PageNumber table)
    : page_(page),
      format_(&format),
      leaf_(page.U8(0) == static_cast<std::uint8_t>(PageType::IndexLeaf)),
      prefix_(format.index_prefix_size == 2 ? page.U16(format.index_prefix) : page.U8(format.index_prefix)) {
    if (!leaf_ && page.U8(0) != static_cast<std::uint8_t>(PageType::IndexNode)) page.Damaged(u"此页不是索引页");
    if (page.U32(4) != table) page.Damaged(u"索引页属于另一个表");
    // Only the ends are taken down here, since a search looks at few of the entries; Stored() checks each that is used.
    const std::uint8_t* mask = page.Data() + format.index_mask;
    for (std::size_t byte = 0; byte < format.index_mask_bytes; byte += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, mask + byte, std::min<std::size_t>(8, format.index_mask_bytes - byte));
        const bool nearly_full = count_ + 64 > ends_.size();
        if (nearly_full && count_ + static_cast<std::size_t>(std::popcount(word)) > ends_.size()) {
            page.Damaged(u"索引项错误");
        }
        for (; word != 0; word &= word - 1) {
            ends_[count_++] = static_cast<std::uint16_t>(byte * 8 + static_cast<std::size_t>(std::countr_zero(word)));
        }
    }
    if (UsedBytes() > format.IndexCapacity()) page.Damaged(u"索引项错误");
    if (count_ > 0 && prefix_ > ends_[0]) page.Damaged(u"索引前缀错误");
}

std::span<const std::uint8_t> IndexPage::Stored(std::size_t i) const {
    const std::size_t length = End(i + 1) - Begin(i);
    const std::size_t least = kRowPointerBytes + 1 + (leaf_ ? 0 : kChildBytes);
    if (length + (i > 0 ? prefix_ : 0) < least) page_.Damaged(u"索引项错误");
    return {page_.Data() + format_->index_entries + Begin(i), length};
}

void IndexPage::Entry(std::size_t i, Bytes& entry) const {
    entry.clear();
    if (i > 0 && prefix_ > 0) {
        const auto first = Stored(0).first(prefix_);
        entry.assign(first.begin(), first.end());
    }
    const auto own = Stored(i);
    entry.insert(entry.end(), own.begin(), own.end());
}

PageNumber IndexPage::Child(std::size_t i) const {
    return GetBig32(Stored(i).last(kChildBytes).data());
}

int IndexPage::CompareEntry(std::size_t i, std::span<const std::uint8_t> key) const {
    auto own = Stored(i);
    if (!leaf_) own = own.first(own.size() >= kChildBytes ? own.size() - kChildBytes : 0);
    if (i == 0 || prefix_ == 0) return CompareBytes(own, key);
    const auto prefix = Stored(0).first(prefix_);
    const auto head = key.first(std::min(prefix_, key.size()));
    const int order = CompareBytes(prefix, head);
    return order != 0 ? order : CompareBytes(own, key.subspan(prefix_));
}

std::size_t IndexPage::LowerBound(std::span<const std::uint8_t> key) const {
    std::size_t low = 0;
    std::size_t high = count_;
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        if (CompareEntry(middle, key) < 0) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

IndexContent IndexContent::Read(const IndexPage& page) {
    IndexContent content{page.IsLeaf(), page.Previous(), page.Next(), page.Tail(), {}};
    content.entries.resize(page.Count());
    for (std::size_t i = 0; i < page.Count(); ++i) page.Entry(i, content.entries[i]);
    return content;
}

std::size_t IndexContent::TotalBytes(std::size_t from, std::size_t to) const {
    std::size_t total = 0;
    for (std::size_t i = from; i < to; ++i) total += entries[i].size();
    return total;
}

// Entries are sorted, so what the first and the last share all share.
std::size_t IndexContent::CommonPrefix(std::size_t from, std::size_t to) const {
    const Bytes& first = entries[from];
    const Bytes& last = entries[to - 1];
    const auto [end, other] = std::mismatch(first.begin(), first.end(), last.begin(), last.end());
    return static_cast<std::size_t>(end - first.begin());
}

bool IndexContent::Fits(const Format& format, std::size_t from, std::size_t to) const {
    const std::size_t total = TotalBytes(from, to);
    if (total <= format.IndexCapacity()) return true;
    return leaf && to > from && total - CommonPrefix(from, to) * (to - from - 1) <= format.IndexCapacity();
}

void IndexContent::Store(MutablePage& page, const Pager& pager, PageNumber table) const {
    const Format& format = pager.GetFormat();
    const bool plain = TotalBytes(0, entries.size()) <= format.IndexCapacity();
    const std::size_t prefix = plain ? 0 : CommonPrefix(0, entries.size());
    std::uint8_t* data = page.Data();
    std::memset(data, 0, format.page_size);
    data[0] = static_cast<std::uint8_t>(leaf ? PageType::IndexLeaf : PageType::IndexNode);
    data[1] = 1;
    Put(data + 4, table);
    Put(data + format.index_previous, previous);
    Put(data + format.index_previous + 4, next);
    Put(data + format.index_previous + 8, tail);
    Put(data + format.index_prefix, static_cast<std::uint16_t>(prefix));
    data[format.index_prefix + format.index_prefix_size] = leaf ? 0 : 1;
    std::vector<std::uint16_t> ends;
    std::size_t at = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto own = std::span(entries[i]).subspan(i > 0 ? prefix : 0);
        std::memcpy(data + format.index_entries + at, own.data(), own.size());
        at += own.size();
        ends.push_back(static_cast<std::uint16_t>(at));
    }
    RewriteMask(page, format, 0, ends);
    SetFree(page, format, at);
}

bool InsertInPlace(MutablePage& page, const Pager& pager, const IndexPage& view, std::size_t at,
                   std::span<const std::uint8_t> entry) {
    const Format& format = pager.GetFormat();
    const std::size_t prefix = view.Prefix();
    if (prefix > 0) {
        if (at == 0 || entry.size() < prefix) return false;
        if (CompareBytes(view.Stored(0).first(prefix), entry.first(prefix)) != 0) return false;
        entry = entry.subspan(prefix);
    }
    if (entry.size() > view.ActualFree()) return false;
    const std::size_t begin = view.Begin(at);
    std::uint8_t* place = page.Data() + format.index_entries + begin;
    std::memmove(place + entry.size(), place, view.UsedBytes() - begin);
    std::memcpy(place, entry.data(), entry.size());
    std::vector<std::uint16_t> ends;
    ends.reserve(view.Count() - at + 1);
    ends.push_back(static_cast<std::uint16_t>(begin + entry.size()));
    for (std::size_t i = at; i < view.Count(); ++i) {
        ends.push_back(static_cast<std::uint16_t>(view.Begin(i + 1) + entry.size()));
    }
    SetFree(page, format, view.UsedBytes() + entry.size());
    RewriteMask(page, format, begin + 1, ends);
    return true;
}

bool EraseInPlace(MutablePage& page, const Pager& pager, const IndexPage& view, std::size_t at) {
    const Format& format = pager.GetFormat();
    if (at == 0 && view.Prefix() > 0) return false;
    const std::size_t begin = view.Begin(at);
    const std::size_t length = view.Begin(at + 1) - begin;
    std::uint8_t* place = page.Data() + format.index_entries + begin;
    std::memmove(place, place + length, view.UsedBytes() - begin - length);
    std::vector<std::uint16_t> ends;
    for (std::size_t i = at + 1; i < view.Count(); ++i) {
        ends.push_back(static_cast<std::uint16_t>(view.Begin(i + 1) - length));
    }
    SetFree(page, format, view.UsedBytes() - length);
    RewriteMask(page, format, begin + 1, ends);
    return true;
}

}  // namespace qmtrain::jet
