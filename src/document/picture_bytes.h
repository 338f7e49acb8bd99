// Numbers in pictures. What lies beyond the end reads as 0, so that damaged pictures need no checks of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qmtrain::document {

using ByteSpan = std::span<const std::uint8_t>;

inline std::uint32_t U8(ByteSpan bytes, std::size_t at) {
    return at < bytes.size() ? bytes[at] : 0;
}
inline std::uint32_t U16(ByteSpan bytes, std::size_t at) {
    return U8(bytes, at) | U8(bytes, at + 1) << 8;
}
inline std::uint32_t U32(ByteSpan bytes, std::size_t at) {
    return U16(bytes, at) | U16(bytes, at + 2) << 16;
}
inline std::uint32_t Big16(ByteSpan bytes, std::size_t at) {
    return U8(bytes, at) << 8 | U8(bytes, at + 1);
}
inline std::uint32_t Big32(ByteSpan bytes, std::size_t at) {
    return Big16(bytes, at) << 16 | Big16(bytes, at + 2);
}

}  // namespace qmtrain::document
