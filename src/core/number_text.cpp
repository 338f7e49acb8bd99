#include "core/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "core/convert.h"
#include "core/error.h"
#include "core/magnitude.h"
#include "core/text.h"

namespace qmtrain {
namespace {

bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\u3000' || unit == u'\u00A0';
}

bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

void AppendAscii(std::string_view ascii, std::u16string& out) {
    out.append(ascii.begin(), ascii.end());
}

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

}  // namespace

std::u16string_view WithoutBlanks(std::u16string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

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
        plain = plain.substr(0, mark);
    }
    Magnitude magnitude;
    std::int64_t scale = -std::int64_t{exponent};
    unsigned cut = 0;       // the digit after the last one that is kept
    bool more_cut = false;  // whether any digit after that one is not 0
    bool after_point = false;
    bool full = false;
    bool negative = false;
    for (const char unit : plain) {
        if (unit == '-') {
            negative = true;
            continue;
        }
        if (unit == '.') {
            after_point = true;
            continue;
        }
        const auto digit = static_cast<unsigned>(unit - '0');
        if (full) {
            more_cut = more_cut || digit != 0;
        } else if (!magnitude.Append(digit)) {
            full = true;
            cut = digit;
        }
        if (after_point && !full) ++scale;
        if (!after_point && full) --scale;
    }
    if (magnitude.IsZero())
        return MakeDecimal(negative, static_cast<int>(std::clamp<std::int64_t>(scale, 0, 28)), magnitude);
    for (; scale < 0; ++scale) {
        if (full || !magnitude.Append(0)) return std::nullopt;
    }
    const auto cut_one = [&] {
        more_cut = more_cut || cut != 0;
        cut = magnitude.CutDigit();
        --scale;
    };
    while (scale > 28 && !(magnitude.IsZero() && cut == 0)) cut_one();
    scale = std::min<std::int64_t>(scale, 28);
    // Half goes to the even digit.
    const auto goes_up = [&] { return cut > 5 || (cut == 5 && (more_cut || magnitude.low % 2 != 0)); };
    if (goes_up() && !magnitude.Increment()) {
        if (scale == 0) return std::nullopt;
        cut_one();
        if (goes_up()) magnitude.Increment();
    }
    return MakeDecimal(negative, static_cast<int>(scale), magnitude);
}

std::optional<double> ParseNumber(std::u16string_view text) {
    text = WithoutBlanks(text);
    if (text.starts_with(u'&')) return ParseRadix(text);
    const std::string plain = PlainNumber(text);
    if (plain.empty()) return std::nullopt;
    double number = 0;
    const auto [end, error] = std::from_chars(plain.data(), plain.data() + plain.size(), number);
    if (end != plain.data() + plain.size()) return std::nullopt;
    // A number that is too small counts as zero; one that is too large cannot be held.
    if (error == std::errc::result_out_of_range) {
        if (plain.find("e-") == std::string::npos) Raise(ErrorNumber::Overflow);
        return 0.0;
    }
    return number;
}

void AppendNumber(const Decimal& number, std::u16string& out) {
    Magnitude magnitude{number.high, number.low};
    std::string reversed;
    int position = 0;
    bool significant = false;  // zeros at the end after the point are not shown
    while (!magnitude.IsZero() || position <= number.scale) {
        const unsigned digit = magnitude.CutDigit();
        significant = significant || digit != 0 || position >= number.scale;
        if (significant) {
            if (position == number.scale && !reversed.empty()) reversed += '.';
            reversed += static_cast<char>('0' + digit);
        }
        ++position;
    }
    if (number.negative) reversed += '-';
    out.append(reversed.rbegin(), reversed.rend());
}

void AppendNumber(Currency number, std::u16string& out) {
    const bool negative = number.scaled < 0;
    const std::uint64_t magnitude =
        negative ? ~static_cast<std::uint64_t>(number.scaled) + 1 : static_cast<std::uint64_t>(number.scaled);
    AppendNumber(Decimal{negative && magnitude != 0, 4, 0, magnitude}, out);
}

void AppendNumber(float number, std::u16string& out) {
    AppendFloat(number, 7, out);
}

void AppendNumber(double number, std::u16string& out) {
    AppendFloat(number, 15, out);
}

}  // namespace qmtrain
