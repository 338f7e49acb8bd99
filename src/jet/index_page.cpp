#include "jet/index_page.h"

#include <algorithm>
#include <cstring>

namespace qmtrain::jet {

void SetFree(MutablePage& page, const FileFormat& format, std::size_t used) {
    Put(page.Data() + 2, static_cast<std::uint16_t>(format.IndexCapacity() - used));
}

void AppendRowPointer(RowPointer row, Bytes& entry) {
    entry.resize(entry.size() + kRowPointerBytes);
    PutBig32(&entry[entry.size() - kRowPointerBytes], row.ToStored());
}

RowPointer RowPointerOf(std::span<const std::uint8_t> leaf_entry) {
    return RowPointer::FromStored(GetBig32(leaf_entry.last(kRowPointerBytes).data()));
}

PageNumber ChildOf(std::span<const std::uint8_t> node_entry) {
    return GetBig32(node_entry.last(kChildBytes).data());
}

Bytes NodeEntry(std::span<const std::uint8_t> leaf_entry, PageNumber child) {
    Bytes entry(leaf_entry.begin(), leaf_entry.end());
    entry.resize(entry.size() + kChildBytes);
    PutBig32(&entry[entry.size() - kChildBytes], child);
    return entry;
}

IndexPage::IndexPage(const ByteView& page, const FileFormat& format, PageNumber table)
    : page_(page),
      format_(&format),
      leaf_(page.U8(0) == static_cast<std::uint8_t>(PageType::IndexLeaf)),
      prefix_(format.index_prefix_size == 2 ? page.U16(format.index_prefix) : page.U8(format.index_prefix)) {
    if (!leaf_ && page.U8(0) != static_cast<std::uint8_t>(PageType::IndexNode)) page.Damaged(u"此页不是索引页");
    if (page.U32(4) != table) page.Damaged(u"索引页属于另一个表");
    // Only the ends are decoded here, since a search looks at few of the entries; Stored() checks each that is used.
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

// EntryList

void EntryList::Reserve(std::size_t entries, std::size_t bytes) {
    ends_.reserve(entries);
    bytes_.reserve(bytes);
}

void EntryList::Append(Entry entry) {
    bytes_.insert(bytes_.end(), entry.begin(), entry.end());
    ends_.push_back(static_cast<std::uint32_t>(bytes_.size()));
}

// In one piece of memory, for it is done for every leaf that many rows go into.
void EntryList::Append(const IndexPage& page) {
    const std::size_t count = page.Count();
    if (count == 0) return;
    const auto prefix = page.Stored(0).first(page.Prefix());
    std::size_t end = bytes_.size();
    const std::size_t size = ends_.size();
    bytes_.resize(end + page.UsedBytes() + (count - 1) * prefix.size());
    ends_.resize(size + count);
    const auto put = [&](Entry part) {
        CopyShort(bytes_.data() + end, part.data(), part.size());
        end += part.size();
    };
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) put(prefix);
        put(page.Stored(i));
        ends_[size + i] = static_cast<std::uint32_t>(end);
    }
}

void EntryList::Append(const EntryList& other, std::size_t from, std::size_t to) {
    const std::size_t first = other.Begin(from);
    const std::size_t before = bytes_.size();
    const auto bytes = std::span(other.bytes_).subspan(first, other.Begin(to) - first);
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    const std::size_t size = ends_.size();
    ends_.resize(size + to - from);
    for (std::size_t i = from; i < to; ++i)
        ends_[size + i - from] = static_cast<std::uint32_t>(before + other.ends_[i] - first);
}

std::size_t EntryList::LowerBound(Entry entry, std::size_t from) const {
    std::size_t end = from;
    for (std::size_t step = 1; end < Size() && CompareBytes((*this)[end], entry) < 0; step *= 2) {
        from = end + 1;
        end += step;
    }
    end = std::min(end, Size());
    while (from < end) {
        const std::size_t middle = from + (end - from) / 2;
        if (CompareBytes((*this)[middle], entry) < 0)
            from = middle + 1;
        else
            end = middle;
    }
    return from;
}

void EntryList::Shift(std::size_t from, std::ptrdiff_t by) {
    for (std::size_t i = from; i < ends_.size(); ++i) ends_[i] = static_cast<std::uint32_t>(ends_[i] + by);
}

void EntryList::Insert(std::size_t at, Entry entry) {
    const std::size_t begin = Begin(at);
    bytes_.insert(bytes_.begin() + begin, entry.begin(), entry.end());
    Shift(at, static_cast<std::ptrdiff_t>(entry.size()));
    ends_.insert(ends_.begin() + at, static_cast<std::uint32_t>(begin + entry.size()));
}

void EntryList::Erase(std::size_t from, std::size_t to) {
    const std::ptrdiff_t begin = Begin(from);
    const std::ptrdiff_t end = Begin(to);
    bytes_.erase(bytes_.begin() + begin, bytes_.begin() + end);
    ends_.erase(ends_.begin() + from, ends_.begin() + to);
    Shift(from, begin - end);
}

void EntryList::Replace(std::size_t at, Entry entry) {
    Erase(at, at + 1);
    Insert(at, entry);
}

// IndexContent

IndexContent IndexContent::Read(const IndexPage& page) {
    IndexContent content{page.IsLeaf(), page.Previous(), page.Next(), page.Tail(), {}};
    const std::size_t count = page.Count();
    content.entries.Reserve(count + 1, page.UsedBytes() + count * page.Prefix());
    content.entries.Append(page);
    return content;
}

// Entries are sorted, so what the first and the last share all share.
std::size_t IndexContent::CommonPrefix(const FileFormat& format, std::size_t from, std::size_t to) const {
    const auto first = entries[from];
    const auto last = entries[to - 1];
    const auto [end, other] = std::mismatch(first.begin(), first.end(), last.begin(), last.end());
    return std::min(static_cast<std::size_t>(end - first.begin()), format.MaxIndexPrefix());
}

bool IndexContent::Fits(const FileFormat& format, std::size_t from, std::size_t to) const {
    const std::size_t total = entries.TotalBytes(from, to);
    if (total <= format.IndexCapacity()) return true;
    return leaf && to > from && total - CommonPrefix(format, from, to) * (to - from - 1) <= format.IndexCapacity();
}

void IndexContent::Store(MutablePage& page, PageNumber table) const {
    const FileFormat& format = page.GetFormat();
    const bool plain = entries.TotalBytes() <= format.IndexCapacity();
    const std::size_t prefix = plain ? 0 : CommonPrefix(format, 0, entries.Size());
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
    std::uint8_t* mask = data + format.index_mask;
    std::size_t at = 0;
    for (std::size_t i = 0; i < entries.Size(); ++i) {
        const auto own = entries[i].subspan(i > 0 ? prefix : 0);
        CopyShort(data + format.index_entries + at, own.data(), own.size());
        at += own.size();
        mask[at / 8] |= static_cast<std::uint8_t>(1 << (at % 8));
    }
    SetFree(page, format, at);
}

}  // namespace qmtrain::jet
