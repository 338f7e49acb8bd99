#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "core/convert.h"
#include "core/format_patterns.h"
#include "core/text.h"

namespace qmtrain {
namespace {

// One element of a number's pattern: a digit place, the point, or text to be shown as it is.
struct Element {
    enum class Kind : std::uint8_t { Zero, Optional, Point, Exponent, Literal } kind;
    std::u16string text;
};

struct NumberPattern {
    std::vector<Element> elements;
    int places_before = 0;
    int places_after = 0;
    int zeros_before = 0;  // places from the first "0" to the point
    int exponent_digits = 0;
    bool exponent_plus = false;
    bool thousands = false;
    int percents = 0;
};

class PatternReader {
public:
    explicit PatternReader(std::u16string_view text) : text_(text) {}

    NumberPattern Read() {
        while (position_ < text_.size()) Take();
        return std::move(pattern_);
    }

private:
    using Kind = Element::Kind;

    void Take() {
        const char16_t unit = text_[position_++];
        switch (unit) {
            case u'0':
            case u'#': TakePlace(unit); break;
            case u'.':
                if (!point_) pattern_.elements.push_back({Kind::Point, {}});
                point_ = true;
                break;
            case u',': pattern_.thousands = pattern_.thousands || pattern_.places_before > 0; break;
            case u'%':
                ++pattern_.percents;
                Literal(u"%");
                break;
            case u'\\':
                if (position_ < text_.size()) Literal(text_.substr(position_++, 1));
                break;
            case u'"': {
                const std::size_t end = std::min(text_.find(u'"', position_), text_.size());
                Literal(text_.substr(position_, end - position_));
                position_ = std::min(end + 1, text_.size());
                break;
            }
            case u'E':
            case u'e':
                if (!TakeExponent(unit)) Literal(text_.substr(position_ - 1, 1));
                break;
            default: Literal(text_.substr(position_ - 1, 1));
        }
    }

    void TakePlace(char16_t unit) {
        pattern_.elements.push_back({unit == u'0' ? Kind::Zero : Kind::Optional, {}});
        if (point_) {
            ++pattern_.places_after;
        } else {
            ++pattern_.places_before;
            if (unit == u'0' || pattern_.zeros_before > 0) ++pattern_.zeros_before;
        }
    }

    bool TakeExponent(char16_t letter) {
        if (position_ + 1 >= text_.size() || pattern_.exponent_digits > 0) return false;
        const char16_t sign = text_[position_];
        if ((sign != u'+' && sign != u'-') || text_[position_ + 1] != u'0') return false;
        ++position_;
        while (position_ < text_.size() && text_[position_] == u'0') {
            ++pattern_.exponent_digits;
            ++position_;
        }
        pattern_.exponent_plus = sign == u'+';
        pattern_.elements.push_back({Kind::Exponent, std::u16string(1, letter)});
        return true;
    }

    void Literal(std::u16string_view text) { pattern_.elements.push_back({Kind::Literal, std::u16string(text)}); }

    std::u16string_view text_;
    std::size_t position_ = 0;
    bool point_ = false;
    NumberPattern pattern_;
};

// Digits of a number, rounded half away from zero as Format does: before the point and after it.
struct Digits {
    std::string whole;
    std::string fraction;
};

Digits RoundedDigits(double magnitude, int places) {
    std::array<char, 400> buffer{};
    // Fifteen digits are what the number means; rounding its binary expansion would turn 2.675 into 2.67.
    const int exponent = magnitude > 0 ? static_cast<int>(std::floor(std::log10(magnitude))) : 0;
    const int known = std::clamp(14 - exponent, 0, 60);
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude, std::chars_format::fixed, known).ptr;
    std::string text(buffer.data(), end);
    std::size_t point = text.find('.');
    if (point == std::string::npos) {
        point = text.size();
        text += '.';
    }
    text.append(static_cast<std::size_t>(places) + 1, '0');

    const std::size_t last = point + 1 + static_cast<std::size_t>(places);  // the first digit cut off
    const bool up = text[last] >= '5';
    text.resize(last);
    for (std::size_t i = text.size(); up && i-- > 0;) {
        if (text[i] == '.') continue;
        if (text[i] != '9') {
            ++text[i];
            break;
        }
        text[i] = '0';
        if (i == 0) text.insert(0, 1, '1'), ++point;
    }
    Digits digits{text.substr(0, point), text.substr(point + 1)};
    if (digits.whole == "0") digits.whole.clear();
    return digits;
}

class NumberFormatter {
public:
    NumberFormatter(double magnitude, const NumberPattern& pattern) : pattern_(pattern) {
        if (pattern.exponent_digits > 0 && magnitude != 0) {
            exponent_ = static_cast<int>(std::floor(std::log10(magnitude))) + 1 - std::max(pattern.places_before, 1);
            magnitude /= std::pow(10.0, exponent_);
        }
        for (int i = 0; i < pattern.percents; ++i) magnitude *= 100;
        digits_ = RoundedDigits(magnitude, std::min(pattern.places_after, 300));
        const std::size_t zeros = pattern.zeros_before;
        if (digits_.whole.size() < zeros) digits_.whole.insert(0, zeros - digits_.whole.size(), '0');
        TrimFraction();
    }

    bool IsZero() const { return (digits_.whole + digits_.fraction).find_first_not_of('0') == std::string::npos; }

    std::u16string Run() {
        for (const Element& element : pattern_.elements) Put(element);
        return out_;
    }

private:
    // Zeros at the end go as far as the pattern has "#" there.
    void TrimFraction() {
        std::vector<bool> optional;
        bool after_point = false;
        for (const Element& element : pattern_.elements) {
            if (element.kind == Element::Kind::Point)
                after_point = true;
            else if (after_point && element.kind <= Element::Kind::Optional) {
                optional.push_back(element.kind == Element::Kind::Optional);
            }
        }
        while (!digits_.fraction.empty() && digits_.fraction.back() == '0' && optional[digits_.fraction.size() - 1]) {
            digits_.fraction.pop_back();
        }
    }

    void Put(const Element& element) {
        switch (element.kind) {
            case Element::Kind::Literal: out_ += element.text; break;
            case Element::Kind::Point:
                if (pattern_.places_before == 0) PutWhole(digits_.whole.size());
                out_ += u'.';
                after_point_ = true;
                break;
            case Element::Kind::Exponent: PutExponent(element.text); break;
            default:
                if (after_point_)
                    PutFractionDigit();
                else
                    PutPlace();
        }
    }

    // The first place takes every digit that has no place of its own.
    void PutPlace() {
        const int left = pattern_.places_before - place_++;
        const auto size = static_cast<int>(digits_.whole.size());
        const int until = size - left + 1;
        if (until > static_cast<int>(shown_)) PutWhole(static_cast<std::size_t>(until));
    }

    void PutWhole(std::size_t until) {
        for (; shown_ < until; ++shown_) {
            out_ += static_cast<char16_t>(digits_.whole[shown_]);
            const std::size_t rest = digits_.whole.size() - shown_ - 1;
            if (pattern_.thousands && rest > 0 && rest % 3 == 0) out_ += u',';
        }
    }

    void PutFractionDigit() {
        if (fraction_shown_ < digits_.fraction.size()) {
            out_ += static_cast<char16_t>(digits_.fraction[fraction_shown_++]);
        }
    }

    void PutExponent(const std::u16string& letter) {
        out_ += letter;
        if (exponent_ < 0)
            out_ += u'-';
        else if (pattern_.exponent_plus)
            out_ += u'+';
        out_ += Padded(std::abs(exponent_), static_cast<std::size_t>(pattern_.exponent_digits));
    }

    const NumberPattern& pattern_;
    Digits digits_;
    int exponent_ = 0;
    int place_ = 0;
    std::size_t shown_ = 0;
    std::size_t fraction_shown_ = 0;
    bool after_point_ = false;
    std::u16string out_;
};

}  // namespace

std::u16string Padded(int number, std::size_t width) {
    std::u16string text = ToText(number);
    if (text.size() < width) text.insert(0, width - text.size(), u'0');
    return text;
}

std::vector<std::u16string_view> SectionsOf(std::u16string_view pattern) {
    std::vector<std::u16string_view> sections;
    std::size_t first = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'"')
            quoted = !quoted;
        else if (pattern[i] == u'\\' && !quoted)
            ++i;
        else if (pattern[i] == u';' && !quoted) {
            sections.push_back(pattern.substr(first, i - first));
            first = i + 1;
        }
    }
    sections.push_back(pattern.substr(first));
    return sections;
}

std::u16string FormatNumber(double number, std::u16string_view pattern) {
    if (!std::isfinite(number)) return ToText(Value(number));
    const auto sections = SectionsOf(pattern);
    const bool own_negative = sections.size() > 1 && !sections[1].empty();
    if (number == 0 && sections.size() > 2 && !sections[2].empty()) {
        return NumberFormatter(0, PatternReader(sections[2]).Read()).Run();
    }
    const NumberPattern read = PatternReader(number < 0 && own_negative ? sections[1] : sections[0]).Read();
    NumberFormatter formatter(std::abs(number), read);
    const bool sign = number < 0 && !own_negative && !formatter.IsZero();
    std::u16string text = formatter.Run();
    if (sign) text.insert(0, 1, u'-');
    return text;
}

}  // namespace qmtrain
