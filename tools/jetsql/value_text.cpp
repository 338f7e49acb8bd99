#include "value_text.h"

#include <array>
#include <charconv>
#include <cstdlib>

#include "core/convert.h"
#include "core/text.h"

namespace qmtrain::jetsql {
namespace {

constexpr int kCurrencyDigits = 4;

template <class Number>
void AppendNumber(Number number, std::string& out) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    out.append(digits.data(), end.ptr);
}

// Most are points: whole ones and halves need no search for the shortest digits.
void AppendSingle(float number, std::string& out) {
    constexpr float kPlain = 10000;  // from there on the shortest form may be one with an exponent
    const auto halves = static_cast<int>(number > 0 && number < kPlain ? number * 2 : 0);
    if (halves == 0 || static_cast<float>(halves) != number * 2) return AppendNumber(number, out);
    AppendNumber(halves / 2, out);
    if (halves % 2 != 0) out += ".5";
}

void AppendCurrency(Currency amount, std::string& out) {
    const bool negative = amount.scaled < 0;
    const std::uint64_t scaled = negative ? 0 - static_cast<std::uint64_t>(amount.scaled) : amount.scaled;
    if (negative) out.push_back('-');
    AppendNumber(scaled / 10000, out);
    auto fraction = static_cast<int>(scaled % 10000);
    if (fraction == 0) return;
    std::array<char, kCurrencyDigits> digits;
    for (int i = kCurrencyDigits; i-- > 0; fraction /= 10) digits[i] = static_cast<char>('0' + fraction % 10);
    std::size_t length = digits.size();
    while (digits[length - 1] == '0') --length;
    out.push_back('.');
    out.append(digits.data(), length);
}

char* PutDigits(int number, int count, char* to) {
    for (int i = count; i-- > 0; number /= 10) to[i] = static_cast<char>('0' + number % 10);
    return to + count;
}

void AppendDate(Date date, std::string& out) {
    if (!(date.days >= kFirstDate && date.days < kLastDate)) return AppendNumber(date.days, out);
    const CivilTime time = ToCivil(date);
    std::array<char, 19> text;
    char* to = PutDigits(time.year, 4, text.data());
    *to++ = '-';
    to = PutDigits(time.month, 2, to);
    *to++ = '-';
    to = PutDigits(time.day, 2, to);
    *to++ = ' ';
    to = PutDigits(time.hour, 2, to);
    *to++ = ':';
    to = PutDigits(time.minute, 2, to);
    *to++ = ':';
    PutDigits(time.second, 2, to);
    out.append(text.data(), text.size());
}

}  // namespace

void AppendInteger(std::int64_t number, std::string& out) {
    AppendNumber(number, out);
}

void AppendHex(const Bytes& bytes, std::string& out) {
    constexpr char kDigits[] = "0123456789abcdef";
    const std::size_t from = out.size();
    out.resize(from + 2 * bytes.size());
    char* to = out.data() + from;
    for (const std::uint8_t byte : bytes) {
        *to++ = kDigits[byte >> 4];
        *to++ = kDigits[byte & 15];
    }
}

void AppendPlain(const Value& value, std::string& out) {
    switch (value.GetType()) {
        case Value::Type::Empty:
        case Value::Type::Null: return;
        case Value::Type::Boolean: out.push_back(value.As<bool>() ? '1' : '0'); return;
        case Value::Type::Byte: return AppendNumber(static_cast<int>(value.As<std::uint8_t>()), out);
        case Value::Type::Integer: return AppendNumber(value.As<std::int16_t>(), out);
        case Value::Type::Long: return AppendNumber(value.As<std::int32_t>(), out);
        case Value::Type::Single: return AppendSingle(value.As<float>(), out);
        case Value::Type::Double: return AppendNumber(value.As<double>(), out);
        case Value::Type::Currency: return AppendCurrency(value.As<Currency>(), out);
        case Value::Type::Date: return AppendDate(value.As<Date>(), out);
        case Value::Type::Decimal: return AppendUtf8(ToText(value), out);
        case Value::Type::Text: return AppendUtf8(value.Text(), out);
        case Value::Type::Binary: return AppendHex(value.Binary(), out);
    }
}

}  // namespace qmtrain::jetsql
