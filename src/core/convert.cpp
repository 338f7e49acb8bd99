#include "core/convert.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "core/error.h"
#include "core/text.h"

namespace qmtrain {
namespace {

constexpr double kCurrencyScale = 10000.0;

// A 96-bit magnitude in arithmetic of one decimal digit at a time.
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

Decimal MakeDecimal(bool negative, int scale, const Magnitude& magnitude) {
    return {negative && !magnitude.IsZero(), static_cast<std::uint8_t>(scale), magnitude.high, magnitude.low};
}

bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\u3000' || unit == u'\u00A0';
}

std::u16string_view Trim(std::u16string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

// A number as text in plain ASCII without blanks and thousands commas; empty when it is none.
std::string PlainNumber(std::u16string_view text) {
    std::string plain;
    bool digits = false;
    bool point = false;
    bool exponent = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        const bool sign_allowed = i == 0 || plain.ends_with('e');
        if (IsDigit(unit)) {
            plain += static_cast<char>(unit);
            digits = true;
        } else if ((unit == u'+' || unit == u'-') && sign_allowed) {
            if (unit == u'-')
                plain += '-';
            else if (i != 0)
                plain += '+';
        } else if (unit == u',' && digits && !point && !exponent) {
            continue;
        } else if (unit == u'.' && !point && !exponent) {
            plain += '.';
            point = true;
        } else if ((unit == u'e' || unit == u'E' || unit == u'd' || unit == u'D') && digits && !exponent) {
            plain += 'e';
            exponent = true;
        } else {
            return {};
        }
    }
    return digits && plain.back() != 'e' && plain.back() != '+' && plain.back() != '-' ? plain : std::string();
}

// "&H1F" and "&O17": as in source code, four hexadecimal digits are an Integer, more a Long.
std::optional<double> ParseRadix(std::u16string_view text) {
    if (text.size() < 3 || text.size() > 13) return std::nullopt;
    const char16_t kind = ToUpper(text[1]);
    if (kind != u'H' && kind != u'O') return std::nullopt;
    std::string digits;
    for (const char16_t unit : text.substr(2)) {
        if (unit > 0x7F) return std::nullopt;
        digits += static_cast<char>(unit);
    }
    std::uint32_t number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, kind == u'H' ? 16 : 8);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    if (number <= 0xFFFF) return static_cast<std::int16_t>(number);
    return static_cast<std::int32_t>(number);
}

std::optional<Decimal> ParseDecimal(std::string_view plain) {
    int exponent = 0;
    if (const std::size_t mark = plain.find('e'); mark != std::string_view::npos) {
        const char* first = plain.data() + mark + 1;
        if (*first == '+') ++first;
        if (std::from_chars(first, plain.data() + plain.size(), exponent).ec != std::errc()) return std::nullopt;
        if (std::abs(exponent) > 60) return std::nullopt;
        plain = plain.substr(0, mark);
    }
    Magnitude magnitude;
    int scale = -exponent;
    bool behind_point = false;
    bool full = false;
    bool negative = false;
    for (const char unit : plain) {
        if (unit == '-') {
            negative = true;
        } else if (unit == '.') {
            behind_point = true;
        } else {
            // Digits that no longer fit are given up behind the point; before it, the number is too large.
            if (!full) full = scale >= 28 || !magnitude.Append(static_cast<unsigned>(unit - '0'));
            if (full && !behind_point) return std::nullopt;
            if (behind_point && !full) ++scale;
        }
    }
    while (scale < 0) {
        if (!magnitude.Append(0)) return std::nullopt;
        ++scale;
    }
    while (scale > 28) {
        magnitude.CutDigit();
        --scale;
    }
    return MakeDecimal(negative, scale, magnitude);
}

void AppendAscii(std::string_view ascii, std::u16string& out) {
    out.append(ascii.begin(), ascii.end());
}

void AppendDecimal(const Decimal& value, std::u16string& out) {
    Magnitude magnitude{value.high, value.low};
    std::string reversed;
    int position = 0;
    bool significant = false;  // zeros at the end behind the point are not shown
    while (!magnitude.IsZero() || position <= value.scale) {
        const unsigned digit = magnitude.CutDigit();
        significant = significant || digit != 0 || position >= value.scale;
        if (significant) {
            if (position == value.scale && !reversed.empty()) reversed += '.';
            reversed += static_cast<char>('0' + digit);
        }
        ++position;
    }
    if (value.negative) reversed += '-';
    out.append(reversed.rbegin(), reversed.rend());
}

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
    AppendDecimal(value, text);
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

void AppendCurrency(Currency value, std::u16string& out) {
    const bool negative = value.scaled < 0;
    const std::uint64_t magnitude =
        negative ? ~static_cast<std::uint64_t>(value.scaled) + 1 : static_cast<std::uint64_t>(value.scaled);
    AppendDecimal(Decimal{negative && magnitude != 0, 4, 0, magnitude}, out);
}

// The shortest general form with at most that many digits: plain while all digits fit beside the point, else with an
// exponent of at least two digits ("1E+20", "3.33333333333333E-03").
template <class T>
void AppendFloat(T number, int digits, std::u16string& out) {
    if (!std::isfinite(number)) {
        AppendAscii(std::isnan(number) ? "NaN" : number < 0 ? "-INF" : "INF", out);
        return;
    }
    std::array<char, 40> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::abs(number),
                                      std::chars_format::scientific, digits - 1);
    const std::string_view text(buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data()));
    const std::size_t mark = text.find('e');
    int exponent = 0;
    const char* exponent_digits = text.data() + mark + 1 + (text[mark + 1] == '+' ? 1 : 0);
    std::from_chars(exponent_digits, text.data() + text.size(), exponent);

    std::string mantissa(1, text[0]);
    if (mark > 2) mantissa += text.substr(2, mark - 2);
    while (mantissa.size() > 1 && mantissa.back() == '0') mantissa.pop_back();
    const int count = static_cast<int>(mantissa.size());

    if (mantissa == "0") {
        out += u'0';
        return;
    }
    if (number < 0) out += u'-';
    if (exponent >= 0 && exponent < digits) {
        if (count <= exponent + 1)
            mantissa.append(static_cast<std::size_t>(exponent + 1 - count), '0');
        else
            mantissa.insert(static_cast<std::size_t>(exponent) + 1, 1, '.');
        AppendAscii(mantissa, out);
    } else if (exponent < 0 && count - exponent - 1 <= digits) {
        AppendAscii("0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + mantissa, out);
    } else {
        if (count > 1) mantissa.insert(1, 1, '.');
        const int size = std::abs(exponent);
        AppendAscii(mantissa + (exponent < 0 ? "E-" : "E+") + (size < 10 ? "0" : "") + std::to_string(size), out);
    }
}

void AppendPadded(int number, int width, std::u16string& out) {
    const std::string digits = std::to_string(number);
    out.append(static_cast<std::size_t>(width) > digits.size() ? static_cast<std::size_t>(width) - digits.size() : 0,
               u'0');
    AppendAscii(digits, out);
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
    const auto amount = static_cast<std::int64_t>(scaled.low);
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

std::optional<double> ParseNumber(std::u16string_view text) {
    text = Trim(text);
    if (text.starts_with(u'&')) return ParseRadix(text);
    const std::string plain = PlainNumber(text);
    if (plain.empty()) return std::nullopt;
    double number = 0;
    const auto [end, error] = std::from_chars(plain.data(), plain.data() + plain.size(), number);
    if (end != plain.data() + plain.size()) return std::nullopt;
    // Too small counts as zero, too large as no number that could be held.
    if (error == std::errc::result_out_of_range) {
        if (plain.find("e-") == std::string::npos) Raise(ErrorNumber::Overflow);
        return 0.0;
    }
    return number;
}

// The words that Visual Basic writes for a Boolean are no numbers: nothing else takes them.
bool ToBoolean(const Value& value) {
    if (value.GetType() == Value::Type::Boolean) return value.As<bool>();
    if (value.IsText()) {
        const std::u16string_view word = Trim(value.Text());
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
    if (value.IsText()) plain = PlainNumber(Trim(value.Text()));
    if (plain.empty()) {
        std::u16string digits;
        AppendFloat(ToDouble(value), 15, digits);
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
        case Value::Type::Byte: out += ToText(std::int64_t{value.As<std::uint8_t>()}); return;
        case Value::Type::Integer: out += ToText(std::int64_t{value.As<std::int16_t>()}); return;
        case Value::Type::Long: out += ToText(std::int64_t{value.As<std::int32_t>()}); return;
        case Value::Type::Single: AppendFloat(value.As<float>(), 7, out); return;
        case Value::Type::Double: AppendFloat(value.As<double>(), 15, out); return;
        case Value::Type::Currency: AppendCurrency(value.As<Currency>(), out); return;
        case Value::Type::Date: AppendDate(ToDate(value), out); return;
        case Value::Type::Decimal: AppendDecimal(value.As<Decimal>(), out); return;
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
        const std::u16string_view text = Trim(value.Text());
        return text.starts_with(u'&') ? ParseRadix(text).has_value() : !PlainNumber(text).empty();
    }
    return IsNumberType(value.GetType()) || value.IsEmpty();
}

bool IsDate(const Value& value) {
    if (value.IsText()) return ParseDate(value.Text()).has_value();
    return value.GetType() == Value::Type::Date;
}

Decimal Rescale(const Decimal& value, int scale) {
    Magnitude magnitude{value.high, value.low};
    int current = value.scale;
    while (current < scale) {
        if (!magnitude.Append(0)) Raise(ErrorNumber::Overflow);
        ++current;
    }
    unsigned cut = 0;
    bool more = false;  // anything but zeros behind the last digit cut off
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
