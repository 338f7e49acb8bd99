#include "core/convert.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include "core/error.h"
#include "core/number_text.h"
#include "core/text.h"

namespace qmtrain {
namespace {

constexpr double kCurrencyScale = 10000.0;

// The nearest Double: equal decimals have the same one, whatever their scale.
double DecimalToDouble(const Decimal& value) {
    constexpr std::uint64_t kExactNumber = std::uint64_t{1} << 53U;
    constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                       1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    double number = 0;
    if (value.high == 0 && value.low <= kExactNumber && value.scale < std::size(kExactPowers)) {
        number = static_cast<double>(value.low) / kExactPowers[value.scale];
        return value.negative ? -number : number;
    }
    std::u16string text;
    AppendNumber(value, text);
    const std::string digits(text.begin(), text.end());
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

double CurrencyToDouble(Currency value) {
    constexpr std::int64_t kExactNumber = std::int64_t{1} << 53U;
    if (value.scaled >= -kExactNumber && value.scaled <= kExactNumber)
        return static_cast<double>(value.scaled) / kCurrencyScale;
    return DecimalToDouble(ToDecimal(Value(value)));
}

void AppendPadded(int number, int width, std::u16string& out) {
    const std::string digits = std::to_string(number);
    out.append(static_cast<std::size_t>(width) > digits.size() ? static_cast<std::size_t>(width) - digits.size() : 0,
               u'0');
    out.append(digits.begin(), digits.end());
}

// The date is left out on day 0 and the time at midnight; midnight of day 0 shows as a time.
void AppendDate(Date date, std::u16string& out) {
    const CivilTime time = ToCivil(date);
    const bool no_time = time.hour == 0 && time.minute == 0 && time.second == 0;
    const bool no_date = time.year == 1899 && time.month == 12 && time.day == 30;
    if (!no_date) {
        AppendPadded(time.year, 1, out);
        out += u'/';
        AppendPadded(time.month, 1, out);
        out += u'/';
        AppendPadded(time.day, 1, out);
        if (no_time) return;
        out += u' ';
    }
    AppendPadded(time.hour, 1, out);
    out += u':';
    AppendPadded(time.minute, 2, out);
    out += u':';
    AppendPadded(time.second, 2, out);
}

double TextToNumber(std::u16string_view text) {
    if (const auto number = ParseNumber(text)) return *number;
    Raise(ErrorNumber::TypeMismatch);
}

template <class T>
T RoundTo(double number) {
    const double rounded = std::nearbyint(number);
    if (!(rounded >= static_cast<double>(std::numeric_limits<T>::min()) &&
          rounded <= static_cast<double>(std::numeric_limits<T>::max()))) {
        Raise(ErrorNumber::Overflow);
    }
    return static_cast<T>(rounded);
}

template <class T>
T ToWhole(const Value& value) {
    if (value.GetType() == Value::Type::Long) {
        const std::int32_t number = value.As<std::int32_t>();
        if (number < std::numeric_limits<T>::min() || number > std::numeric_limits<T>::max()) {
            Raise(ErrorNumber::Overflow);
        }
        return static_cast<T>(number);
    }
    return RoundTo<T>(ToDouble(value));
}

Currency DecimalToCurrency(const Decimal& value) {
    const Decimal scaled = Rescale(value, 4);
    if (scaled.high != 0 || scaled.low > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        Raise(ErrorNumber::Overflow);
    }
    const std::int64_t amount = scaled.low;
    return {scaled.negative ? -amount : amount};
}

Currency DoubleToCurrency(double number) {
    const double scaled = std::nearbyint(number * kCurrencyScale);
    if (!(scaled >= -9223372036854775808.0 && scaled < 9223372036854775808.0)) Raise(ErrorNumber::Overflow);
    return {static_cast<std::int64_t>(scaled)};
}

Date CheckedDate(double days) {
    if (!(days > kFirstDate - 1 && days < kLastDate)) Raise(ErrorNumber::Overflow);
    return {days};
}

}  // namespace

bool IsNumberType(Value::Type type) {
    return type >= Value::Type::Boolean && type <= Value::Type::Decimal && type != Value::Type::Date;
}

// The words that Visual Basic writes for a Boolean are no numbers: only this conversion accepts them.
bool ToBoolean(const Value& value) {
    if (value.GetType() == Value::Type::Boolean) return value.As<bool>();
    if (value.IsText()) {
        const std::u16string_view word = WithoutBlanks(value.Text());
        if (EqualNames(word, u"True")) return true;
        if (EqualNames(word, u"False")) return false;
    }
    return ToDouble(value) != 0;
}

std::uint8_t ToByte(const Value& value) {
    if (value.GetType() == Value::Type::Byte) return value.As<std::uint8_t>();
    if (value.GetType() == Value::Type::Boolean) return value.As<bool>() ? 255 : 0;
    return ToWhole<std::uint8_t>(value);
}

std::int16_t ToInteger(const Value& value) {
    if (value.GetType() == Value::Type::Integer) return value.As<std::int16_t>();
    return ToWhole<std::int16_t>(value);
}

std::int32_t ToLong(const Value& value) {
    return ToWhole<std::int32_t>(value);
}

float ToSingle(const Value& value) {
    if (value.GetType() == Value::Type::Single) return value.As<float>();
    const double number = ToDouble(value);
    const auto single = static_cast<float>(number);
    if (std::isinf(single) && !std::isinf(number)) Raise(ErrorNumber::Overflow);
    return single;
}

double ToDouble(const Value& value) {
    switch (value.GetType()) {
        case Value::Type::Empty: return 0;
        case Value::Type::Null: Raise(ErrorNumber::InvalidUseOfNull);
        case Value::Type::Boolean: return value.As<bool>() ? -1 : 0;
        case Value::Type::Byte: return value.As<std::uint8_t>();
        case Value::Type::Integer: return value.As<std::int16_t>();
        case Value::Type::Long: return value.As<std::int32_t>();
        case Value::Type::Single: return value.As<float>();
        case Value::Type::Double: return value.As<double>();
        case Value::Type::Currency: return CurrencyToDouble(value.As<Currency>());
        case Value::Type::Date: return value.As<Date>().days;
        case Value::Type::Decimal: return DecimalToDouble(value.As<Decimal>());
        case Value::Type::Text: return TextToNumber(value.Text());
        case Value::Type::Binary: break;
    }
    Raise(ErrorNumber::TypeMismatch);
}

Currency ToCurrency(const Value& value) {
    switch (value.GetType()) {
        case Value::Type::Currency: return value.As<Currency>();
        case Value::Type::Decimal:
        case Value::Type::Text: return DecimalToCurrency(ToDecimal(value));
        default: return DoubleToCurrency(ToDouble(value));
    }
}

Date ToDate(const Value& value) {
    if (value.GetType() == Value::Type::Date) return CheckedDate(value.As<Date>().days);
    if (!value.IsText()) return CheckedDate(ToDouble(value));
    if (const auto date = ParseDate(value.Text())) return *date;
    Raise(ErrorNumber::TypeMismatch);
}

Decimal ToDecimal(const Value& value) {
    const auto scaled = [](std::int64_t number, std::uint8_t scale) -> Decimal {
        const auto bits = static_cast<std::uint64_t>(number);
        return {number < 0, scale, 0, number < 0 ? ~bits + 1 : bits};
    };
    switch (value.GetType()) {
        case Value::Type::Decimal: return value.As<Decimal>();
        case Value::Type::Currency: return scaled(value.As<Currency>().scaled, 4);
        case Value::Type::Byte: return scaled(value.As<std::uint8_t>(), 0);
        case Value::Type::Integer: return scaled(value.As<std::int16_t>(), 0);
        case Value::Type::Long: return scaled(value.As<std::int32_t>(), 0);
        default: break;
    }
    std::string plain;
    if (value.IsText()) plain = PlainNumber(WithoutBlanks(value.Text()));
    if (plain.empty()) {
        std::u16string digits;
        AppendNumber(ToDouble(value), digits);
        plain = PlainNumber(digits);
        if (plain.empty()) Raise(ErrorNumber::Overflow);
    }
    if (const auto decimal = ParseDecimal(plain)) return *decimal;
    Raise(ErrorNumber::Overflow);
}

std::u16string ToText(const Value& value) {
    std::u16string text;
    AppendText(value, text);
    return text;
}

void AppendText(const Value& value, std::u16string& out) {
    switch (value.GetType()) {
        case Value::Type::Empty: return;
        case Value::Type::Null: Raise(ErrorNumber::InvalidUseOfNull);
        case Value::Type::Boolean: out += value.As<bool>() ? u"True" : u"False"; return;
        case Value::Type::Byte: out += ToText(value.As<std::uint8_t>()); return;
        case Value::Type::Integer: out += ToText(value.As<std::int16_t>()); return;
        case Value::Type::Long: out += ToText(value.As<std::int32_t>()); return;
        case Value::Type::Single: AppendNumber(value.As<float>(), out); return;
        case Value::Type::Double: AppendNumber(value.As<double>(), out); return;
        case Value::Type::Currency: AppendNumber(value.As<Currency>(), out); return;
        case Value::Type::Date: AppendDate(ToDate(value), out); return;
        case Value::Type::Decimal: AppendNumber(value.As<Decimal>(), out); return;
        case Value::Type::Text: out += value.Text(); return;
        case Value::Type::Binary: break;
    }
    Raise(ErrorNumber::TypeMismatch);
}

Value Convert(const Value& value, Value::Type type) {
    if (value.GetType() == type) return value;
    switch (type) {
        case Value::Type::Boolean: return ToBoolean(value);
        case Value::Type::Byte: return ToByte(value);
        case Value::Type::Integer: return ToInteger(value);
        case Value::Type::Long: return ToLong(value);
        case Value::Type::Single: return ToSingle(value);
        case Value::Type::Double: return ToDouble(value);
        case Value::Type::Currency: return ToCurrency(value);
        case Value::Type::Date: return ToDate(value);
        case Value::Type::Decimal: return ToDecimal(value);
        case Value::Type::Text: return ToText(value);
        default: Raise(ErrorNumber::TypeMismatch);
    }
}

bool IsNumeric(const Value& value) {
    if (value.IsText()) {
        const std::u16string_view text = WithoutBlanks(value.Text());
        return text.starts_with(u'&') ? ParseRadix(text).has_value() : !PlainNumber(text).empty();
    }
    return IsNumberType(value.GetType()) || value.IsEmpty();
}

bool IsDate(const Value& value) {
    if (value.IsText()) return ParseDate(value.Text()).has_value();
    return value.GetType() == Value::Type::Date;
}

}  // namespace qmtrain
