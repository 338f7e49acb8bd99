#include "jet/index_entries.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace qmtrain::jet {
namespace {

// A key that is compared with many entries: its first bytes are kept as a number.
class BytesToFind {
public:
    explicit BytesToFind(std::span<const std::uint8_t> key) : key_(key) {
        std::array<std::uint8_t, 8> head{};
        std::copy_n(key.begin(), std::min<std::size_t>(key.size(), 8), head.begin());
        head_ = Big(head.data());
    }

    // Below 0, 0 or above 0, as the key stands to the bytes. `readable` of them may be looked at.
    int Compare(const std::uint8_t* bytes, std::size_t size, std::size_t readable) const {
        const std::size_t common = std::min(size, key_.size());
        if (readable < 8 || common == 0) return CompareBytes(key_, {bytes, size});
        const std::uint64_t mask = common < 8 ? ~(~std::uint64_t{0} >> (8 * common)) : ~std::uint64_t{0};
        const std::uint64_t own = head_ & mask;
        const std::uint64_t other = Big(bytes) & mask;
        if (own != other) return own < other ? -1 : 1;
        if (common <= 8) return key_.size() < size ? -1 : key_.size() > size ? 1 : 0;
        return CompareBytes(key_.subspan(8), {bytes + 8, size - 8});
    }

private:
    static std::uint64_t Big(const std::uint8_t* from) { return __builtin_bswap64(Get<std::uint64_t>(from)); }

    std::span<const std::uint8_t> key_;
    std::uint64_t head_ = 0;
};

// Not every processor that this runs on has an instruction for it.
std::size_t CountBits(std::uint64_t bits) {
    bits -= bits >> 1 & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
    return static_cast<std::size_t>(((bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F) * 0x0101010101010101 >> 56);
}

}  // namespace

IndexEntries::IndexEntries(const ByteView& page, const FileFormat& format, PageNumber table)
    : page_(page),
      format_(&format),
      mask_(page.Part(format.index_mask, format.index_mask_bytes).Data()),
      leaf_(page.U8(0) == static_cast<std::uint8_t>(PageType::IndexLeaf)),
      prefix_(format.index_prefix_size == 2 ? page.U16(format.index_prefix) : page.U8(format.index_prefix)) {
    if (!leaf_ && page.U8(0) != static_cast<std::uint8_t>(PageType::IndexNode)) page.Damaged(u"此页不是索引页");
    if (page.U32(4) != table) page.Damaged(u"索引页属于另一个表");
    for (std::size_t word = (format.index_mask_bytes + 7) / 8; word-- > 0;) {
        const std::size_t beyond = word * 8 + 8 - std::min<std::size_t>(word * 8 + 8, format.index_mask_bytes);
        const std::uint64_t bits = Word(word) & (~std::uint64_t{0} >> (8 * beyond));
        if (bits == 0 || (word == 0 && bits == 1)) continue;
        end_ = word * 64 + 63 - static_cast<std::size_t>(std::countl_zero(bits));
        break;
    }
    if (end_ > format.IndexCapacity()) page.Damaged(u"索引项错误");
    if (end_ > 0 && prefix_ > EndAfter(0)) page.Damaged(u"索引前缀错误");
}

std::size_t IndexEntries::Count(std::size_t from, std::size_t to) const {
    if (from >= to) return 0;
    std::size_t count = 0;
    for (std::size_t word = (from + 1) / 64; word <= to / 64; ++word) {
        std::uint64_t bits = Word(word);
        if (word == (from + 1) / 64) bits &= ~std::uint64_t{0} << ((from + 1) % 64);
        if (word == to / 64) bits &= ~std::uint64_t{0} >> (63 - to % 64);
        count += CountBits(bits);
    }
    return count;
}

std::span<const std::uint8_t> IndexEntries::Stored(std::size_t place) const {
    const std::size_t length = EndAfter(place) - place;
    const std::size_t least = kRowPointerBytes + 1 + (leaf_ ? 0 : kChildBytes);
    if (length + (place > 0 ? prefix_ : 0) < least) page_.Damaged(u"索引项错误");
    return {page_.Data() + format_->index_entries + place, length};
}

void IndexEntries::Entry(std::size_t place, Bytes& entry) const {
    const auto own = Stored(place);
    if (place == 0 || prefix_ == 0) {
        entry.assign(own.begin(), own.end());
        return;
    }
    const auto first = Stored(0).first(prefix_);
    entry.assign(first.begin(), first.end());
    entry.insert(entry.end(), own.begin(), own.end());
}

PageNumber IndexEntries::Child(std::size_t place) const {
    const auto own = Stored(place);
    if (own.size() < kChildBytes) page_.Damaged(u"索引项错误");
    return GetBig32(own.last(kChildBytes).data());
}

int IndexEntries::Compare(std::size_t place, std::span<const std::uint8_t> key) const {
    auto own = Stored(place);
    if (!leaf_) own = own.first(own.size() >= kChildBytes ? own.size() - kChildBytes : 0);
    if (place == 0 || prefix_ == 0) return CompareBytes(own, key);
    const auto prefix = Stored(0).first(prefix_);
    const auto head = key.first(std::min(prefix_, key.size()));
    const int order = CompareBytes(prefix, head);
    return order != 0 ? order : CompareBytes(own, key.subspan(prefix_));
}

std::size_t IndexEntries::LowerBound(std::span<const std::uint8_t> key) const {
    return LowerBound(key, 0, end_);
}

std::size_t IndexEntries::LowerBound(std::span<const std::uint8_t> key, std::size_t from) const {
    std::size_t low = from;
    for (std::size_t step = 32; low + step < end_; step *= 2) {
        const std::size_t start = StartAt(low + step);
        if (Compare(start, key) >= 0) return LowerBound(key, low, start);
        low = EndAfter(start);
    }
    return LowerBound(key, low, end_);
}

// By bytes, not by entries: each step looks at the entry in the middle of what is left.
std::size_t IndexEntries::LowerBound(std::span<const std::uint8_t> key, std::size_t low, std::size_t high) const {
    if (low == 0 && high > 0 && prefix_ > 0) {
        if (Compare(0, key) >= 0) return 0;
        low = EndAfter(0);
    }
    if (low >= high) return low;
    // All but the first begin with the prefix: its place is found once.
    if (prefix_ > 0) {
        const int order = CompareBytes(Stored(0).first(prefix_), key.first(std::min(prefix_, key.size())));
        if (order != 0) return order > 0 ? low : high;
        key = key.subspan(prefix_);
    }
    const std::uint8_t* entries = page_.Data() + format_->index_entries;
    const std::size_t room = format_->page_size - format_->index_entries;
    const std::size_t child = leaf_ ? 0 : kChildBytes;
    const std::size_t least = kRowPointerBytes + 1 + child;
    const BytesToFind wanted(key);
    while (low < high) {
        const std::size_t start = StartAt((low + high - 1) / 2);
        const std::size_t end = EndAfter(start);
        if (end - start + (start > 0 ? prefix_ : 0) < least) page_.Damaged(u"索引项错误");
        const std::size_t size = end - start >= child ? end - start - child : 0;
        if (wanted.Compare(entries + start, size, room - start) > 0) {
            low = end;
        } else {
            high = start;
        }
    }
    return low;
}

bool IndexEntries::Encloses(std::span<const std::uint8_t> key) const {
    return !Empty() && Compare(0, key) < 0 && Compare(Preceding(end_), key) >= 0;
}

namespace {

// The mask, to be moved by bits.
class MaskBits {
public:
    MaskBits(const std::uint8_t* mask, std::size_t bytes) : bytes_(bytes) { std::memcpy(words_.data(), mask, bytes); }

    void Store(std::uint8_t* mask) const { std::memcpy(mask, words_.data(), bytes_); }
    void Set(std::size_t bit) { words_[bit / 64] |= std::uint64_t{1} << (bit % 64); }

    // The bits from `from` on move up.
    void OpenGap(std::size_t from, std::size_t by) {
        const Words moved = From(from);
        ClearFrom(from);
        for (std::size_t i = from / 64; i < kWords && i + by / 64 < kWords; ++i) {
            words_[i + by / 64] |= moved[i] << (by % 64);
            if (by % 64 != 0 && i + by / 64 + 1 < kWords) words_[i + by / 64 + 1] |= moved[i] >> (64 - by % 64);
        }
    }

    // `by` bits from `from` on go, and those after them move down.
    void CloseGap(std::size_t from, std::size_t by) {
        const Words moved = From(from + by);
        ClearFrom(from);
        for (std::size_t i = (from + by) / 64; i < kWords; ++i) {
            words_[i - by / 64] |= moved[i] >> (by % 64);
            if (by % 64 != 0 && i > by / 64) words_[i - by / 64 - 1] |= moved[i] << (64 - by % 64);
        }
    }

private:
    static constexpr std::size_t kWords = 57;  // of the longest mask
    using Words = std::array<std::uint64_t, kWords>;
    static_assert(kJet4.index_mask_bytes <= kWords * 8 && kJet3.index_mask_bytes <= kWords * 8);

    Words From(std::size_t bit) const {
        Words words{};
        if (bit / 64 >= kWords) return words;
        std::copy(words_.begin() + (bit / 64), words_.end(), words.begin() + (bit / 64));
        words[bit / 64] &= ~std::uint64_t{0} << (bit % 64);
        return words;
    }

    void ClearFrom(std::size_t bit) {
        if (bit / 64 >= kWords) return;
        words_[bit / 64] &= ~(~std::uint64_t{0} << (bit % 64));
        std::fill(words_.begin() + (bit / 64) + 1, words_.end(), 0);
    }

    std::size_t bytes_;
    Words words_{};
};

}  // namespace

bool InsertInPlace(MutablePage& page, const IndexEntries& view, std::size_t place,
                   std::span<const std::uint8_t> entry) {
    const FileFormat& format = page.GetFormat();
    const std::size_t prefix = view.Prefix();
    if (prefix > 0) {
        if (place == 0 || entry.size() < prefix) return false;
        if (CompareBytes(view.Stored(0).first(prefix), entry.first(prefix)) != 0) return false;
        entry = entry.subspan(prefix);
    }
    const std::size_t used = view.End();
    if (entry.size() > format.IndexCapacity() - used) return false;
    std::uint8_t* bytes = page.Data() + format.index_entries + place;
    std::memmove(bytes + entry.size(), bytes, used - place);
    std::memcpy(bytes, entry.data(), entry.size());
    MaskBits mask(page.Data() + format.index_mask, format.index_mask_bytes);
    mask.OpenGap(place + 1, entry.size());
    mask.Set(place + entry.size());
    mask.Store(page.Data() + format.index_mask);
    SetFree(page, format, used + entry.size());
    return true;
}

bool EraseInPlace(MutablePage& page, const IndexEntries& view, std::size_t place) {
    const FileFormat& format = page.GetFormat();
    if (place == 0 && view.Prefix() > 0) return false;
    const std::size_t used = view.End();
    const std::size_t length = view.Following(place) - place;
    std::uint8_t* bytes = page.Data() + format.index_entries + place;
    std::memmove(bytes, bytes + length, used - place - length);
    MaskBits mask(page.Data() + format.index_mask, format.index_mask_bytes);
    mask.CloseGap(place + 1, length);
    mask.Store(page.Data() + format.index_mask);
    SetFree(page, format, used - length);
    return true;
}

}  // namespace qmtrain::jet
