// The digits of a Decimal: 96 bits, in arithmetic of one decimal digit at a time.
#pragma once

#include <cstdint>

#include "core/value.h"

namespace qmtrain {

struct Magnitude {
    std::uint32_t high = 0;
    std::uint64_t low = 0;

    bool IsZero() const { return high == 0 && low == 0; }

    // False, and nothing changed, when the result does not fit.
    bool Append(unsigned digit) {
        const std::uint64_t a = (low & 0xFFFFFFFFU) * 10 + digit;
        const std::uint64_t b = (low >> 32U) * 10 + (a >> 32U);
        const std::uint64_t c = std::uint64_t{high} * 10 + (b >> 32U);
        if (c > 0xFFFFFFFFU) return false;
        high = static_cast<std::uint32_t>(c);
        low = (b << 32U) | (a & 0xFFFFFFFFU);
        return true;
    }

    // False, and nothing changed, when the result does not fit.
    bool Increment() {
        if (low == ~std::uint64_t{0} && high == ~std::uint32_t{0}) return false;
        if (++low == 0) ++high;
        return true;
    }

    // Divides by ten and returns the digit cut off.
    unsigned CutDigit() {
        const std::uint64_t c = high;
        const std::uint64_t b = ((c % 10) << 32U) | (low >> 32U);
        const std::uint64_t a = ((b % 10) << 32U) | (low & 0xFFFFFFFFU);
        high = static_cast<std::uint32_t>(c / 10);
        low = ((b / 10) << 32U) | (a / 10);
        return static_cast<unsigned>(a % 10);
    }
};

inline Decimal MakeDecimal(bool negative, int scale, const Magnitude& magnitude) {
    return {negative && !magnitude.IsZero(), static_cast<std::uint8_t>(scale), magnitude.high, magnitude.low};
}

}  // namespace qmtrain
