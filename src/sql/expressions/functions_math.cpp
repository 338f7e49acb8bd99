// Functions of numbers.
#include <bit>
#include <cmath>
#include <limits>

#include "core/convert.h"
#include "core/decimal.h"
#include "core/error.h"
#include "sql/expressions/functions.h"

namespace qmtrain::sql {
namespace {

// The type that a function of one number answers in: its argument's own, as far as it has one.
Value::Type OwnType(const Value& value) {
    const Value::Type type = value.GetType();
    if (type == Value::Type::Boolean) return Value::Type::Integer;
    return IsNumberType(type) ? type : Value::Type::Double;
}

// Whether a Double may be too small for it.
bool IsExact(const Value& value) {
    return value.GetType() == Value::Type::Decimal || value.GetType() == Value::Type::Currency;
}

bool IsNegative(const Value& value) {
    return ToDouble(value) < 0;
}

Decimal Opposite(const Decimal& value) {
    return Subtract(Decimal{}, value);
}

// The greatest whole number that is not greater.
Decimal WholeBelow(const Decimal& value) {
    const Decimal nearest = Rescale(value, 0);
    return Compare(nearest, value) > 0 ? Subtract(nearest, Decimal{.low = 1}) : nearest;
}

void SetNumber(double number, Value::Type type, Value& result) {
    if (!std::isfinite(number)) Raise(ErrorNumber::Overflow);
    result = Convert(Value(number), type);
}

void SetExact(const Decimal& number, Value::Type type, Value& result) {
    result = Convert(Value(number), type);
}

void Absolute(Arguments a, Value& result) {
    if (IsExact(*a[0])) {
        const Decimal number = ToDecimal(*a[0]);
        return SetExact(IsNegative(*a[0]) ? Opposite(number) : number, OwnType(*a[0]), result);
    }
    SetNumber(std::abs(ToDouble(*a[0])), OwnType(*a[0]), result);
}

void Sign(Arguments a, Value& result) {
    const double number = ToDouble(*a[0]);
    result = static_cast<std::int16_t>(number > 0 ? 1 : number < 0 ? -1 : 0);
}

void Floor(Arguments a, Value& result) {
    if (IsExact(*a[0])) return SetExact(WholeBelow(ToDecimal(*a[0])), OwnType(*a[0]), result);
    SetNumber(std::floor(ToDouble(*a[0])), OwnType(*a[0]), result);
}

void Truncate(Arguments a, Value& result) {
    if (IsExact(*a[0])) {
        const Decimal number = ToDecimal(*a[0]);
        const Decimal whole = IsNegative(*a[0]) ? Opposite(WholeBelow(Opposite(number))) : WholeBelow(number);
        return SetExact(whole, OwnType(*a[0]), result);
    }
    SetNumber(std::trunc(ToDouble(*a[0])), OwnType(*a[0]), result);
}

// Half to even, as everywhere in the dialect.
void RoundNumber(Arguments a, Value& result) {
    const std::int32_t digits = a.size() > 1 ? ToLong(*a[1]) : 0;
    if (digits < 0 || digits > 22) Raise(ErrorNumber::InvalidProcedureCall);
    if (IsExact(*a[0])) {
        const Decimal exact = ToDecimal(*a[0]);
        return SetExact(digits < exact.scale ? Rescale(exact, digits) : exact, OwnType(*a[0]), result);
    }
    const double number = ToDouble(*a[0]);
    const double scale = std::pow(10.0, digits);
    const double scaled = number * scale;
    // Beyond 2^53 there is nothing after the point left to round.
    const bool whole = std::abs(scaled) >= 9007199254740992.0;
    SetNumber(whole ? number : std::nearbyint(scaled) / scale, OwnType(*a[0]), result);
}

void SquareRoot(Arguments a, Value& result) {
    const double number = ToDouble(*a[0]);
    if (number < 0) Raise(ErrorNumber::InvalidProcedureCall);
    result = std::sqrt(number);
}

void Exponential(Arguments a, Value& result) {
    SetNumber(std::exp(ToDouble(*a[0])), Value::Type::Double, result);
}

void Logarithm(Arguments a, Value& result) {
    const double number = ToDouble(*a[0]);
    if (number <= 0) Raise(ErrorNumber::InvalidProcedureCall);
    result = std::log(number);
}

// Visual Basic's generator: 24 bits of a linear congruence, always from the same start.
void Random(Arguments a, Value& result) {
    thread_local std::uint32_t state = 0x50000;
    const float wish = a.empty() ? 1.0F : ToSingle(*a[0]);
    if (wish < 0) {
        std::uint32_t bits = 0;
        static_assert(sizeof bits == sizeof wish);
        bits = std::bit_cast<std::uint32_t>(wish);
        state = (bits + (bits >> 24U)) & 0xFFFFFFU;
    }
    if (wish != 0) state = (state * 1140671485U + 12820163U) & 0xFFFFFFU;
    result = static_cast<float>(state) / 16777216.0F;
}

using enum Value::Type;

constexpr FunctionInfo kFunctions[] = {
    {u"ABS", 1, 1, Empty, false, Absolute},      {u"SGN", 1, 1, Integer, false, Sign},
    {u"INT", 1, 1, Empty, false, Floor},         {u"FIX", 1, 1, Empty, false, Truncate},
    {u"ROUND", 1, 2, Empty, false, RoundNumber}, {u"SQR", 1, 1, Double, false, SquareRoot},
    {u"EXP", 1, 1, Double, false, Exponential},  {u"LOG", 1, 1, Double, false, Logarithm},
    {u"RND", 0, 1, Single, false, Random},
};

}  // namespace

std::span<const FunctionInfo> MathFunctions() {
    return kFunctions;
}

}  // namespace qmtrain::sql
