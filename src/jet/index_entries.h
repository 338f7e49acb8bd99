// The entries of an index page where they stand.
#pragma once

#include <bit>
#include <cstdint>
#include <span>

#include "jet/index_page.h"

namespace qmtrain::jet {

// Finds entries by the mask on demand, without building a table of their ends first. A place is where an entry's stored
// bytes begin, from the first entry on; End() is past the last.
class IndexEntries {
public:
    // Raises FileDamaged when the page is no index page of that table or its entries do not hold together.
    IndexEntries(const ByteView& page, const FileFormat& format, PageNumber table);

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
    const FileFormat* format_;
    const std::uint8_t* mask_;
    bool leaf_;
    std::size_t prefix_;
    std::size_t end_ = 0;
};

// 64 bits of the mask. Bit 0 of all stands before the first entry and means nothing. The entries follow the mask:
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

// Changes a page in place where no other entry has to be rewritten; false when that is impossible.
bool InsertInPlace(MutablePage& page, const IndexEntries& view, std::size_t place, std::span<const std::uint8_t> entry);
bool EraseInPlace(MutablePage& page, const IndexEntries& view, std::size_t place);

}  // namespace qmtrain::jet
