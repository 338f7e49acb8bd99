// Tables whose subscript is an enumerator.
#pragma once

#include <cstddef>

namespace qmtrain {

// A value for each of an enumeration's first kCount enumerators, in their order; these count from 0.
template <class Enum, class T, std::size_t kCount>
struct EnumTable {
    T values[kCount];

    constexpr T& operator[](Enum which) { return values[static_cast<std::size_t>(which)]; }
    constexpr const T& operator[](Enum which) const { return values[static_cast<std::size_t>(which)]; }

    constexpr T* begin() { return values; }
    constexpr T* end() { return values + kCount; }
    constexpr const T* begin() const { return values; }
    constexpr const T* end() const { return values + kCount; }
};

}  // namespace qmtrain
