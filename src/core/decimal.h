// Exact arithmetic of decimals: up to 28 digits, rounded half to even where a result has more after the point.
#pragma once

#include <array>
#include <compare>
#include <cstdint>

#include "core/value.h"

namespace qmtrain {

// They raise Overflow when the digits before the point are too many.
Decimal Add(const Decimal& a, const Decimal& b);
Decimal Subtract(const Decimal& a, const Decimal& b);
Decimal Multiply(const Decimal& a, const Decimal& b);

// Raises DivisionByZero too.
Decimal Divide(const Decimal& a, const Decimal& b);

// By their values; trailing zeros make no difference.
std::strong_ordering Compare(const Decimal& a, const Decimal& b);

// Bytes that compare as the decimals do.
std::array<std::uint8_t, 24> OrderedBytes(const Decimal& value);

}  // namespace qmtrain
