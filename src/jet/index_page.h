// One page of an index tree.
//
//   0 u16 04 01 leaf, 03 01 node | 2 u16 free | 4 u32 table | previous, next, tail: u32 each | prefix length | mask
//   | entries
// Leaf entry: key, row pointer (u24 page, u8 slot). Node entry: the last leaf entry below a child, u32 child. All of an
// entry is big-endian, and entries compare as byte strings. Bit i of the mask: an entry ends at byte i of the entries.
// With a prefix length p, the first p bytes of the first entry belong in front of every other entry.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "core/value.h"
#include "jet/bytes.h"
#include "jet/file_format.h"
#include "jet/page_cache.h"

namespace qmtrain::jet {

inline constexpr std::size_t kRowPointerBytes = 4;
inline constexpr std::size_t kChildBytes = 4;

void AppendRowPointer(RowPointer row, Bytes& entry);
RowPointer RowPointerOf(std::span<const std::uint8_t> leaf_entry);

PageNumber ChildOf(std::span<const std::uint8_t> node_entry);
Bytes NodeEntry(std::span<const std::uint8_t> leaf_entry, PageNumber child);

// As entries compare.
inline int CompareBytes(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    const std::size_t common = std::min(a.size(), b.size());
    const int order = common == 0 ? 0 : std::memcmp(a.data(), b.data(), common);
    if (order != 0) return order;
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

// Notes how much room there is on a page whose entries take that many bytes.
void SetFree(MutablePage& page, const FileFormat& format, std::size_t used);

class IndexPage {
public:
    // Raises FileDamaged when the page is no index page of that table or its entries do not hold together.
    IndexPage(const ByteView& page, const FileFormat& format, PageNumber table);

    bool IsLeaf() const { return leaf_; }
    std::size_t Count() const { return count_; }
    PageNumber Previous() const { return page_.U32(format_->index_previous); }
    PageNumber Next() const { return page_.U32(format_->index_previous + 4); }
    PageNumber Tail() const { return page_.U32(format_->index_previous + 8); }
    std::size_t Prefix() const { return prefix_; }
    std::size_t StoredFree() const { return page_.U16(2); }
    std::size_t UsedBytes() const { return End(count_); }
    std::size_t ActualFree() const { return format_->IndexCapacity() - UsedBytes(); }

    // The whole entry, its prefix restored.
    void Entry(std::size_t i, Bytes& entry) const;
    PageNumber Child(std::size_t i) const;

    // Where the stored bytes of entry i begin, from the first entry on.
    std::size_t Begin(std::size_t i) const { return End(i); }
    std::span<const std::uint8_t> Stored(std::size_t i) const;

private:
    std::size_t End(std::size_t count) const { return count == 0 ? 0 : ends_[count - 1]; }

    ByteView page_;
    const FileFormat* format_;
    bool leaf_;
    std::size_t prefix_;
    std::size_t count_ = 0;
    std::array<std::uint16_t, 3624> ends_;  // one for each bit: after a prefix an entry may be a single byte
};

// Whole entries, one after the other.
class EntryList {
public:
    using Entry = std::span<const std::uint8_t>;

    std::size_t Size() const { return ends_.size(); }
    bool Empty() const { return ends_.empty(); }
    std::size_t TotalBytes() const { return bytes_.size(); }
    std::size_t TotalBytes(std::size_t from, std::size_t to) const { return Begin(to) - Begin(from); }

    // Good until the list changes.
    Entry operator[](std::size_t i) const { return {bytes_.data() + Begin(i), ends_[i] - Begin(i)}; }
    Entry Front() const { return (*this)[0]; }
    Entry Back() const { return (*this)[Size() - 1]; }

    // The first one, from `from` on, that is not below `entry`; soon found when it is near.
    std::size_t LowerBound(Entry entry, std::size_t from) const;

    void Reserve(std::size_t entries, std::size_t bytes);
    void Append(Entry entry);
    void Append(const IndexPage& page);
    void Append(const EntryList& other, std::size_t from, std::size_t to);

    // The entry must not be one of the list.
    void Insert(std::size_t at, Entry entry);
    void Replace(std::size_t at, Entry entry);
    void Erase(std::size_t from, std::size_t to);

private:
    std::size_t Begin(std::size_t i) const { return i == 0 ? 0 : ends_[i - 1]; }
    void Shift(std::size_t from, std::ptrdiff_t by);

    Bytes bytes_;
    std::vector<std::uint32_t> ends_;
};

// The decoded content of a page, to be changed and written back.
struct IndexContent {
    bool leaf = true;
    PageNumber previous = 0;
    PageNumber next = 0;
    PageNumber tail = 0;
    EntryList entries;

    static IndexContent Read(const IndexPage& page);

    // Leaves may be stored with a prefix when they do not fit otherwise.
    bool Fits(const FileFormat& format) const { return Fits(format, 0, entries.Size()); }
    bool Fits(const FileFormat& format, std::size_t from, std::size_t to) const;
    void Store(MutablePage& page, PageNumber table) const;

private:
    std::size_t CommonPrefix(const FileFormat& format, std::size_t from, std::size_t to) const;
};

}  // namespace qmtrain::jet
