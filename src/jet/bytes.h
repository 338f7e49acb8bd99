// Numbers in pages. Little-endian, except in index entries.
//
// A ByteView never reads past its end: it raises FileDamaged with the place it belongs to, so that no decoder checks
// lengths by hand and none can forget.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "core/error.h"
#include "core/text.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

static_assert(std::endian::native == std::endian::little, "pages are read in the machine's byte order");

template <class T>
T Get(const std::uint8_t* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
void Put(std::uint8_t* to, T value) {
    std::memcpy(to, &value, sizeof value);
}

// Copies bytes that are mostly few; for those a call of memcpy takes longer than the copying.
[[gnu::always_inline]] inline void CopyShort(std::uint8_t* to, const std::uint8_t* from, std::size_t size) {
    // Two pieces that overlap, where they have to.
    const auto copy = [&]<class T>(T) {
        const T first = Get<T>(from);
        const T last = Get<T>(from + size - sizeof(T));
        Put(to, first);
        Put(to + size - sizeof(T), last);
    };
    if (size > 16)
        std::memcpy(to, from, size);
    else if (size >= 8)
        copy(std::uint64_t{});
    else if (size >= 4)
        copy(std::uint32_t{});
    else
        for (std::size_t i = 0; i < size; ++i) to[i] = from[i];
}

inline std::uint32_t GetBig32(const std::uint8_t* from) {
    return __builtin_bswap32(Get<std::uint32_t>(from));
}
inline void PutBig32(std::uint8_t* to, std::uint32_t value) {
    Put(to, __builtin_bswap32(value));
}

// The name may be null.
[[noreturn, gnu::cold, gnu::noinline]] inline void RaiseDamaged(const std::u16string* file, PageNumber page,
                                                                const char16_t* what) {
    Raise(ErrorNumber::FileDamaged, {file != nullptr ? std::u16string_view(*file) : u"",
                                     u"第 " + ToText(page) + u" 页：" + std::u16string(what) + u"。"});
}

// A stretch of a page or of a definition, and the place it came from.
class ByteView {
public:
    ByteView() = default;
    ByteView(const std::uint8_t* data, std::size_t size, const std::u16string& file, PageNumber page)
        : data_(data), size_(size), file_(&file), page_(page) {}

    const std::uint8_t* Data() const { return data_; }
    std::size_t Size() const { return size_; }
    bool Empty() const { return size_ == 0; }
    PageNumber Page() const { return page_; }
    std::span<const std::uint8_t> Span() const { return {data_, size_}; }

    // These are inlined wholly, what fails too: a view whose address is handed on must stand in memory.
    [[gnu::always_inline]] std::uint8_t U8(std::size_t at) const { return Read<std::uint8_t>(at); }
    [[gnu::always_inline]] std::uint16_t U16(std::size_t at) const { return Read<std::uint16_t>(at); }
    [[gnu::always_inline]] std::uint32_t U32(std::size_t at) const { return Read<std::uint32_t>(at); }

    template <class T>
    [[gnu::always_inline]] T Read(std::size_t at) const {
        if (at > size_ || sizeof(T) > size_ - at) Damaged(u"数据不完整");
        return Get<T>(data_ + at);
    }

    [[gnu::always_inline]] ByteView Part(std::size_t at, std::size_t size) const {
        if (at > size_ || size > size_ - at) Damaged(u"数据不完整");
        return {data_ + at, size, file_, page_};
    }
    ByteView From(std::size_t at) const { return Part(at, at <= size_ ? size_ - at : 0); }

    [[noreturn, gnu::always_inline]] void Damaged(const char16_t* what) const { RaiseDamaged(file_, page_, what); }

private:
    ByteView(const std::uint8_t* data, std::size_t size, const std::u16string* file, PageNumber page)
        : data_(data), size_(size), file_(file), page_(page) {}

    const std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
    const std::u16string* file_ = nullptr;
    PageNumber page_ = 0;
};

}  // namespace qmtrain::jet
