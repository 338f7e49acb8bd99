// One page of an index tree.
//
//   0 u16 04 01 leaf, 03 01 node | 2 u16 free | 4 u32 table | previous, next, tail: u32 each | prefix length | mask
//   | entries
// Leaf entry: key, row pointer (u24 page, u8 slot). Node entry: the last leaf entry below a child, u32 child. All of an
// entry is big-endian, and entries compare as byte strings. Bit i of the mask: an entry ends at byte i of the entries.
// With a prefix length p, the first p bytes of the first entry belong in front of every other entry.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "core/value.h"
#include "jet/bytes.h"
#include "jet/format.h"
#include "jet/page_cache.h"

namespace qmtrain::jet {

inline constexpr std::size_t kRowPointerBytes = 4;
inline constexpr std::size_t kChildBytes = 4;

void AppendRowPointer(RowPointer row, Bytes& entry);
RowPointer RowPointerOf(std::span<const std::uint8_t> leaf_entry);

class IndexPage {
public:
    // Raises FileDamaged when the page is no index page of that table or its entries do not hold together.
    IndexPage(const ByteView& page, const Format& format, PageNumber table);

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

    // The first entry that is not below `key`; Count() when all are. In nodes the child does not take part.
    std::size_t LowerBound(std::span<const std::uint8_t> key) const;

    // Where the stored bytes of entry i begin, from the first entry on.
    std::size_t Begin(std::size_t i) const { return End(i); }
    std::span<const std::uint8_t> Stored(std::size_t i) const;

private:
    std::size_t End(std::size_t count) const { return count == 0 ? 0 : ends_[count - 1]; }
    int CompareEntry(std::size_t i, std::span<const std::uint8_t> key) const;

    ByteView page_;
    const Format* format_;
    bool leaf_;
    std::size_t prefix_;
    std::size_t count_ = 0;
    std::array<std::uint16_t, 3624> ends_;  // one for each bit: behind a prefix an entry may be a single byte
};

// The entries of a page for those that look for a few of them: they are found by the mask, and nothing is taken down
// beforehand. A place is where an entry's stored bytes begin, from the first entry on; End() is behind the last.
class IndexEntries {
public:
    // Raises FileDamaged when the page is no index page of that table or its entries do not hold together.
    IndexEntries(const ByteView& page, const Format& format, PageNumber table);

    bool IsLeaf() const { return leaf_; }
    bool Empty() const { return end_ == 0; }
    std::size_t End() const { return end_; }
    PageNumber Previous() const { return page_.U32(format_->index_previous); }
    PageNumber Next() const { return page_.U32(format_->index_previous + 4); }
    PageNumber Tail() const { return page_.U32(format_->index_previous + 8); }
    std::size_t Prefix() const { return prefix_; }

    // Requires: there is an entry at the place, or before it.
    std::size_t Following(std::size_t place) const { return EndAfter(place); }
    std::size_t Preceding(std::size_t place) const { return StartAt(place - 1); }

    // How many entries stand between two places.
    std::size_t Count(std::size_t from, std::size_t to) const;

    // The whole entry, its prefix restored.
    void Entry(std::size_t place, Bytes& entry) const;
    PageNumber Child(std::size_t place) const;

    // Below 0, 0 or above 0, as the entry stands to the key. In nodes the child does not take part.
    int Compare(std::size_t place, std::span<const std::uint8_t> key) const;

    // The first entry that is not below `key`. In nodes the child does not take part.
    std::size_t LowerBound(std::span<const std::uint8_t> key) const;

    // The same from an entry on that is not above it, or at the end: for what is near.
    std::size_t LowerBound(std::span<const std::uint8_t> key, std::size_t from) const;

    // Whether the first entry that is not below `key` must be one of this page, whatever its neighbours hold.
    bool Encloses(std::span<const std::uint8_t> key) const;

    // The stored bytes of an entry.
    std::span<const std::uint8_t> Stored(std::size_t place) const;

private:
    std::uint64_t Word(std::size_t word) const;
    std::size_t StartAt(std::size_t place) const;   // the start of the entry that has this byte
    std::size_t EndAfter(std::size_t place) const;  // the least end above
    std::size_t LowerBound(std::span<const std::uint8_t> key, std::size_t low, std::size_t high) const;

    ByteView page_;
    const Format* format_;
    const std::uint8_t* mask_;
    bool leaf_;
    std::size_t prefix_;
    std::size_t end_ = 0;
};

// 64 bits of the mask. Bit 0 of all stands before the first entry and means nothing. Behind the mask are the entries:
// what is read of them stands for places above End().
inline std::uint64_t IndexEntries::Word(std::size_t word) const {
    return Get<std::uint64_t>(mask_ + word * 8);
}

inline std::size_t IndexEntries::StartAt(std::size_t place) const {
    std::size_t word = place / 64;
    std::uint64_t bits = Word(word) & (~std::uint64_t{0} >> (63 - place % 64));
    while (bits == 0) {
        if (word == 0) return 0;
        bits = Word(--word);
    }
    return word * 64 + 63 - static_cast<std::size_t>(std::countl_zero(bits));
}

inline std::size_t IndexEntries::EndAfter(std::size_t place) const {
    if (place >= end_) page_.Damaged(u"索引项错误");
    std::size_t word = (place + 1) / 64;
    std::uint64_t bits = Word(word) & (~std::uint64_t{0} << ((place + 1) % 64));
    while (bits == 0) bits = Word(++word);  // the end's bit is there
    return word * 64 + static_cast<std::size_t>(std::countr_zero(bits));
}

// Whole entries one behind the other.
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

    void Reserve(std::size_t entries, std::size_t bytes);
    void Append(Entry entry) { Append({}, entry); }
    void Append(Entry prefix, Entry rest);
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

// A page's content taken apart, to be changed and put back.
struct IndexContent {
    bool leaf = true;
    PageNumber previous = 0;
    PageNumber next = 0;
    PageNumber tail = 0;
    EntryList entries;

    static IndexContent Read(const IndexPage& page);

    // Leaves may be stored with a prefix when they do not fit otherwise.
    bool Fits(const Format& format) const { return Fits(format, 0, entries.Size()); }
    bool Fits(const Format& format, std::size_t from, std::size_t to) const;
    void Store(MutablePage& page, PageNumber table) const;

private:
    std::size_t CommonPrefix(const Format& format, std::size_t from, std::size_t to) const;
};

// Changes a page in place where no other entry has to be rewritten; false when that cannot be.
bool InsertInPlace(MutablePage& page, const IndexEntries& view, std::size_t place, std::span<const std::uint8_t> entry);
bool EraseInPlace(MutablePage& page, const IndexEntries& view, std::size_t place);

}  // namespace qmtrain::jet
