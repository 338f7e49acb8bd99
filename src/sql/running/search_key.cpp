#include "sql/running/search_key.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/collation.h"
#include "core/convert.h"
#include "core/decimal.h"
#include "sql/expressions/types.h"

namespace qmtrain::sql {
namespace {

constexpr double kExactDoubles = 9007199254740992.0;  // whole numbers below it are exact

// The number as a Double, but between two whole numbers where a decimal is, which may be so near to one of them that no
// Double tells them apart.
double DoubleBetweenWholes(const Value& value) {
    if (value.GetType() != Value::Type::Decimal) return ToDouble(value);
    const auto& number = value.As<Decimal>();
    const Decimal nearest = Rescale(number, 0);
    const auto order = Compare(number, nearest);
    return ToDouble(Value(nearest)) + (order > 0 ? 0.5 : order < 0 ? -0.5 : 0);
}

template <class T>
SearchKey WholeKey(double number, const Wanted& wanted) {
    const auto least = static_cast<double>(std::numeric_limits<T>::min());
    const auto most = static_cast<double>(std::numeric_limits<T>::max());
    const bool whole = std::floor(number) == number;
    if (wanted.equal && (!whole || number < least || number > most)) return {SearchKey::Kind::Nothing};
    if (!wanted.equal) {
        if (wanted.low ? number > most : number < least) return {SearchKey::Kind::Nothing};
        if (wanted.low ? number < least : number > most) return {SearchKey::Kind::All};
    }
    const double nearest = wanted.low ? std::ceil(number) : std::floor(number);
    return {SearchKey::Kind::Found, Value(static_cast<T>(nearest)), wanted.inclusive || !whole};
}

SearchKey SingleKey(double number, const Wanted& wanted) {
    constexpr double kMost = std::numeric_limits<float>::max();
    const auto nearest = static_cast<float>(std::clamp(number, -kMost, kMost));
    const double back = nearest;
    if (back == number) return {SearchKey::Kind::Found, Value(nearest), wanted.inclusive};
    if (wanted.equal) return {SearchKey::Kind::Nothing};
    // The nearest one itself is either wholly inside or wholly outside.
    return {SearchKey::Kind::Found, Value(nearest), wanted.low ? back > number : back < number};
}

// Amounts beyond what a double counts exactly are left to the comparison.
SearchKey CurrencyKey(const Value& value, const Wanted& wanted) {
    if (value.GetType() == Value::Type::Currency && wanted.equal) return {SearchKey::Kind::Found, value};
    const double scaled = ToDouble(value) * 10000.0;
    if (!(std::abs(scaled) < kExactDoubles / 4)) return {SearchKey::Kind::Unknown};
    const auto nearest = static_cast<std::int64_t>(std::nearbyint(scaled));
    // Multiplying may have moved the number a little: ranges take one step more.
    return {SearchKey::Kind::Found, Value(Currency{wanted.equal ? nearest : nearest + (wanted.low ? -1 : 1)})};
}

// With a Double the column's decimals are compared as Doubles, and one with more than 15 digits may be equal to several
// of them.
SearchKey DecimalKey(const Value& value, const Column& column, const Wanted& wanted) {
    constexpr int kDoubleDigits = 15;
    constexpr int kMostDigits = 28;
    constexpr double kMostDecimal = 7.9e28;
    constexpr double kDoubleStep = 1e-14;
    const bool inexact = IsInexact(value.GetType());
    double number = ToDouble(value);
    const bool known = column.precision > 0 && column.precision <= kMostDigits && column.scale <= column.precision;
    if (!known || std::isnan(number)) return {SearchKey::Kind::Unknown};
    if (inexact && column.precision > kDoubleDigits) {
        if (wanted.equal) return {SearchKey::Kind::Unknown};
        number += std::abs(number) * (wanted.low ? -kDoubleStep : kDoubleStep);
    }
    bool beyond = std::abs(number) >= kMostDecimal;
    Decimal exact;
    if (!beyond) {
        exact = ToDecimal(inexact ? Value(number) : value);
        beyond = !FitsPrecision(exact, column);
    }
    if (beyond) return {wanted.equal || (number > 0) == wanted.low ? SearchKey::Kind::Nothing : SearchKey::Kind::All};
    const Decimal nearest = Rescale(exact, column.scale);
    if (inexact) return {SearchKey::Kind::Found, Value(nearest)};
    const auto order = Compare(nearest, exact);
    if (order == 0) return {SearchKey::Kind::Found, Value(nearest), wanted.inclusive};
    if (wanted.equal) return {SearchKey::Kind::Nothing};
    return {SearchKey::Kind::Found, Value(nearest), wanted.low ? order > 0 : order < 0};
}

// "{XXXXXXXX-…}": only what is written so is found by its bytes.
bool IsPlainGuid(std::u16string_view text) {
    constexpr std::u16string_view kPattern = u"{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
    const auto is_hex = [](char16_t unit) {
        return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'F') || (unit >= u'a' && unit <= u'f');
    };
    return text.size() == kPattern.size() && std::equal(text.begin(), text.end(), kPattern.begin(),
                                                        [&](auto a, auto b) { return b == u'X' ? is_hex(a) : a == b; });
}

}  // namespace

SearchKey SearchKeyFor(const Column& column, const Value& value, const Wanted& wanted) {
    switch (column.type) {
        case ColumnType::Text:
        case ColumnType::Memo:
            // The key of a long text is that of its beginning.
            return {SearchKey::Kind::Found, value, wanted.inclusive || value.Text().size() > collation::kKeyUnits};
        case ColumnType::Guid:
            if (!wanted.equal || !IsPlainGuid(value.Text())) return {SearchKey::Kind::Unknown};
            return {SearchKey::Kind::Found, value};
        case ColumnType::Binary:
        case ColumnType::LongBinary: return {SearchKey::Kind::Found, value};
        case ColumnType::Currency: return CurrencyKey(value, wanted);
        case ColumnType::Decimal: return DecimalKey(value, column, wanted);
        default: break;
    }
    const double number = ToDouble(value);
    if (std::isnan(number)) return {SearchKey::Kind::Unknown};
    switch (column.type) {
        case ColumnType::Boolean: return {SearchKey::Kind::Found, Value(number != 0)};
        case ColumnType::Byte: return WholeKey<std::uint8_t>(DoubleBetweenWholes(value), wanted);
        case ColumnType::Integer: return WholeKey<std::int16_t>(DoubleBetweenWholes(value), wanted);
        case ColumnType::Long: return WholeKey<std::int32_t>(DoubleBetweenWholes(value), wanted);
        case ColumnType::Single: return SingleKey(number, wanted);
        case ColumnType::Date: return {SearchKey::Kind::Found, Value(Date{number}), wanted.inclusive};
        default: return {SearchKey::Kind::Found, Value(number), wanted.inclusive};
    }
}

}  // namespace qmtrain::sql
