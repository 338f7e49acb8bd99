#include "value_text.h"

#include <array>
#include <charconv>
#include <cstdlib>

#include "core/convert.h"
#include "core/text.h"

namespace qmtrain::jetsql {
namespace {

template <class Number>
char* PutNumber(Number number, char* to) {
    constexpr std::size_t kMostDigits = 32;
    return std::to_chars(to, to + kMostDigits, number).ptr;
}

// Most are points: whole ones and halves need no search for the shortest digits.
char* PutSingle(float number, char* to) {
    constexpr float kPlain = 10000;  // from there on the shortest form may be one with an exponent
    const auto halves = static_cast<int>(number > 0 && number < kPlain ? number * 2 : 0);
    if (halves == 0 || static_cast<float>(halves) != number * 2) return PutNumber(number, to);
    to = PutNumber(halves / 2, to);
    if (halves % 2 != 0) {
        *to++ = '.';
        *to++ = '5';
    }
    return to;
}

char* PutTwoDigits(int number, char* to) {
    to[0] = static_cast<char>('0' + number / 10);
    to[1] = static_cast<char>('0' + number % 10);
    return to + 2;
}

char* PutCurrency(Currency amount, char* to) {
    const bool negative = amount.scaled < 0;
    const std::uint64_t scaled = negative ? 0 - static_cast<std::uint64_t>(amount.scaled) : amount.scaled;
    if (negative) *to++ = '-';
    to = PutNumber(scaled / 10000, to);
    const auto fraction = static_cast<int>(scaled % 10000);
    if (fraction == 0) return to;
    *to++ = '.';
    to = PutTwoDigits(fraction / 100, to);
    to = PutTwoDigits(fraction % 100, to);
    while (to[-1] == '0') --to;
    return to;
}

char* PutDate(Date date, char* to) {
    if (!(date.days >= kFirstDate && date.days < kLastDate)) return PutNumber(date.days, to);
    const CivilTime time = ToCivil(date);
    to = PutTwoDigits(time.year / 100, to);
    to = PutTwoDigits(time.year % 100, to);
    *to++ = '-';
    to = PutTwoDigits(time.month, to);
    *to++ = '-';
    to = PutTwoDigits(time.day, to);
    *to++ = ' ';
    to = PutTwoDigits(time.hour, to);
    *to++ = ':';
    to = PutTwoDigits(time.minute, to);
    *to++ = ':';
    return PutTwoDigits(time.second, to);
}

}  // namespace

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

char* PutShort(const Value& value, char* to) {
    switch (value.GetType()) {
        case Value::Type::Boolean: *to++ = value.As<bool>() ? '1' : '0'; return to;
        case Value::Type::Byte: return PutNumber(static_cast<int>(value.As<std::uint8_t>()), to);
        case Value::Type::Integer: return PutNumber(value.As<std::int16_t>(), to);
        case Value::Type::Long: return PutNumber(value.As<std::int32_t>(), to);
        case Value::Type::Single: return PutSingle(value.As<float>(), to);
        case Value::Type::Double: return PutNumber(value.As<double>(), to);
        case Value::Type::Currency: return PutCurrency(value.As<Currency>(), to);
        case Value::Type::Date: return PutDate(value.As<Date>(), to);
        default: return to;
    }
}

void AppendPlain(const Value& value, std::string& out) {
    switch (value.GetType()) {
        case Value::Type::Decimal: return AppendUtf8(ToText(value), out);
        case Value::Type::Text: return AppendUtf8(value.Text(), out);
        case Value::Type::Binary: return AppendHex(value.Binary(), out);
        default: {
            std::array<char, kMostShort> text;
            out.append(text.data(), PutShort(value, text.data()));
        }
    }
}

}  // namespace qmtrain::jetsql
