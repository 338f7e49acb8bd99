#include "core/decimal.h"

#include <algorithm>
#include <array>

#include "core/convert.h"
#include "core/error.h"
#include "core/magnitude.h"

namespace qmtrain {
namespace {

constexpr int kMostDigits = 28;

// A whole number below 2^256, its lowest part first.
class Wide {
public:
    Wide() = default;
    explicit Wide(const Decimal& decimal)
        : parts_{static_cast<std::uint32_t>(decimal.low), static_cast<std::uint32_t>(decimal.low >> 32U),
                 decimal.high} {}

    bool IsZero() const {
        return std::ranges::all_of(parts_, [](std::uint32_t part) { return part == 0; });
    }

    // Whether a decimal's magnitude can hold it.
    bool Fits() const {
        return std::all_of(parts_.begin() + 3, parts_.end(), [](std::uint32_t part) { return part == 0; });
    }

    void Scale(std::uint32_t factor, std::uint32_t add = 0) {
        std::uint64_t carry = add;
        for (std::uint32_t& part : parts_) {
            carry += std::uint64_t{part} * factor;
            part = static_cast<std::uint32_t>(carry);
            carry >>= 32U;
        }
    }

    void ScaleByTens(int times) {
        for (; times > 0; --times) Scale(10);
    }

    // Divides by ten and returns the digit cut off.
    unsigned CutDigit() {
        std::uint64_t rest = 0;
        for (std::size_t i = kParts; i-- > 0;) {
            rest = rest << 32U | parts_[i];
            parts_[i] = static_cast<std::uint32_t>(rest / 10);
            rest %= 10;
        }
        return static_cast<unsigned>(rest);
    }

    void Add(const Wide& other) {
        std::uint64_t carry = 0;
        for (std::size_t i = 0; i < kParts; ++i) {
            carry += std::uint64_t{parts_[i]} + other.parts_[i];
            parts_[i] = static_cast<std::uint32_t>(carry);
            carry >>= 32U;
        }
    }

    // Requires: the other one is not greater.
    void Subtract(const Wide& other) {
        std::uint64_t borrow = 0;
        for (std::size_t i = 0; i < kParts; ++i) {
            const std::uint64_t difference = std::uint64_t{parts_[i]} - other.parts_[i] - borrow;
            parts_[i] = static_cast<std::uint32_t>(difference);
            borrow = difference >> 63U;
        }
    }

    Wide Times(const Wide& other) const {
        Wide product;
        for (std::size_t i = 0; i < kParts; ++i) {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; i + j < kParts; ++j) {
                carry += product.parts_[i + j] + std::uint64_t{parts_[i]} * other.parts_[j];
                product.parts_[i + j] = static_cast<std::uint32_t>(carry);
                carry >>= 32U;
            }
        }
        return product;
    }

    // Bit by bit; `rest` is what is left.
    Wide DividedBy(const Wide& divisor, Wide& rest) const {
        Wide quotient;
        rest = Wide();
        for (std::size_t bit = kParts * 32; bit-- > 0;) {
            rest.Scale(2, parts_[bit / 32] >> bit % 32 & 1U);
            quotient.Scale(2);
            if (rest < divisor) continue;
            rest.Subtract(divisor);
            quotient.parts_[0] |= 1U;
        }
        return quotient;
    }

    // As a decimal, rounded to as many digits as there may be.
    Decimal Round(bool negative, int scale) const {
        Wide left = *this;
        unsigned last = 0;
        bool more = false;  // digits other than zero after the one cut off last
        while (scale > 0 && (!left.Fits() || scale > kMostDigits)) {
            more = more || last != 0;
            last = left.CutDigit();
            --scale;
        }
        const bool odd = (left.parts_[0] & 1U) != 0;
        if (last > 5 || (last == 5 && (more || odd))) left.Scale(1, 1);
        if (!left.Fits() && scale > 0) return left.Round(negative, scale);
        if (!left.Fits()) Raise(ErrorNumber::Overflow);
        const std::uint64_t low = std::uint64_t{left.parts_[1]} << 32U | left.parts_[0];
        return {negative && !left.IsZero(), static_cast<std::uint8_t>(scale), left.parts_[2], low};
    }

    std::strong_ordering operator<=>(const Wide& other) const {
        return std::lexicographical_compare_three_way(parts_.rbegin(), parts_.rend(), other.parts_.rbegin(),
                                                      other.parts_.rend());
    }

    // The last bytes of the number, big end first.
    template <std::size_t kSize>
    void Store(std::array<std::uint8_t, kSize>& bytes) const {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[bytes.size() - 1 - i] = static_cast<std::uint8_t>(parts_[i / 4] >> 8 * (i % 4));
    }

private:
    static constexpr std::size_t kParts = 8;

    std::array<std::uint32_t, kParts> parts_{};
};

bool IsNegative(const Decimal& value) {
    return value.negative && (value.high != 0 || value.low != 0);
}

}  // namespace

std::strong_ordering Compare(const Decimal& a, const Decimal& b) {
    const bool negative = IsNegative(a);
    if (negative != IsNegative(b)) return negative ? std::strong_ordering::less : std::strong_ordering::greater;
    Wide left(a);
    Wide right(b);
    left.ScaleByTens(b.scale - a.scale);
    right.ScaleByTens(a.scale - b.scale);
    return negative ? right <=> left : left <=> right;
}

// The number in units of the last digit that there may be, its sign in the first bit.
std::array<std::uint8_t, 24> OrderedBytes(const Decimal& value) {
    constexpr std::uint8_t kNotNegative = 0x80;
    Wide scaled(value);
    scaled.ScaleByTens(kMostDigits - value.scale);
    std::array<std::uint8_t, 24> bytes{};
    scaled.Store(bytes);
    bytes[0] |= kNotNegative;
    if (IsNegative(value)) {
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(~byte);
    }
    return bytes;
}

Decimal Add(const Decimal& a, const Decimal& b) {
    const int scale = std::max(a.scale, b.scale);
    Wide left(a);
    Wide right(b);
    left.ScaleByTens(scale - a.scale);
    right.ScaleByTens(scale - b.scale);
    if (a.negative == b.negative) {
        left.Add(right);
        return left.Round(a.negative, scale);
    }
    if (left < right) {
        right.Subtract(left);
        return right.Round(b.negative, scale);
    }
    left.Subtract(right);
    return left.Round(a.negative, scale);
}

Decimal Subtract(const Decimal& a, const Decimal& b) {
    Decimal opposite = b;
    opposite.negative = !b.negative;
    return Add(a, opposite);
}

Decimal Multiply(const Decimal& a, const Decimal& b) {
    return Wide(a).Times(Wide(b)).Round(a.negative != b.negative, a.scale + b.scale);
}

// With as many digits as possible, and without trailing zeros after the point.
Decimal Divide(const Decimal& a, const Decimal& b) {
    constexpr int kFurtherDigits = 38;
    const Wide divisor(b);
    if (divisor.IsZero()) Raise(ErrorNumber::DivisionByZero);
    Wide dividend(a);
    dividend.ScaleByTens(kFurtherDigits);
    Wide rest;
    Wide quotient = dividend.DividedBy(divisor, rest);
    int scale = a.scale - b.scale + kFurtherDigits;
    quotient.Scale(10, rest.IsZero() ? 0 : 1);  // what is left decides how a half is rounded
    ++scale;
    while (scale > 0) {
        Wide shorter = quotient;
        if (shorter.CutDigit() != 0) break;
        quotient = shorter;
        --scale;
    }
    return quotient.Round(a.negative != b.negative, scale);
}

Decimal Rescale(const Decimal& value, int scale) {
    Magnitude magnitude{value.high, value.low};
    int current = value.scale;
    while (current < scale) {
        if (!magnitude.Append(0)) Raise(ErrorNumber::Overflow);
        ++current;
    }
    unsigned cut = 0;
    bool more = false;  // anything but zeros after the last digit cut off
    while (current > scale) {
        more = more || cut != 0;
        cut = magnitude.CutDigit();
        --current;
    }
    const bool odd = (magnitude.low & 1U) != 0;
    if (cut > 5 || (cut == 5 && (more || odd))) {
        if (++magnitude.low == 0) ++magnitude.high;
    }
    return MakeDecimal(value.negative, scale, magnitude);
}

}  // namespace qmtrain
