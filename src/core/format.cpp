#include "core/format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

#include "core/convert.h"
#include "core/text.h"

namespace qmtrain {
namespace {

constexpr std::array<std::u16string_view, 7> kDayNames = {u"星期日", u"星期一", u"星期二", u"星期三",
                                                          u"星期四", u"星期五", u"星期六"};

std::u16string Padded(int number, std::size_t width) {
    std::u16string text = ToText(std::int64_t{number});
    if (text.size() < width) text.insert(0, width - text.size(), u'0');
    return text;
}

// ---- dates ----

int DayOfWeek(Date date) {
    const auto days = static_cast<std::int64_t>(std::floor(FromCivil(ToCivil(date)).days));
    return static_cast<int>(((days + 6) % 7 + 7) % 7);  // day 0 was a Saturday
}

int DayOfYear(const CivilTime& time) {
    const Date first = FromCivil({time.year, 1, 1, 0, 0, 0});
    const Date day = FromCivil({time.year, time.month, time.day, 0, 0, 0});
    return static_cast<int>(day.days - first.days) + 1;
}

class DateFormatter {
public:
    DateFormatter(Date date, std::u16string_view pattern) : date_(date), time_(ToCivil(date)), pattern_(pattern) {
        const std::u16string upper = ToUpper(pattern);
        twelve_hours_ = upper.find(u"AM/PM") != std::u16string::npos || upper.find(u"A/P") != std::u16string::npos;
    }

    std::u16string Run() {
        while (position_ < pattern_.size()) {
            const char16_t unit = pattern_[position_];
            if (unit == u'"')
                TakeQuoted();
            else if (unit == u'\\')
                TakeEscaped();
            else if (!TakeHalf())
                TakeLetters(ToLower(unit));
        }
        return out_;
    }

private:
    void TakeQuoted() {
        const std::size_t end = std::min(pattern_.find(u'"', position_ + 1), pattern_.size());
        out_ += pattern_.substr(position_ + 1, end - position_ - 1);
        position_ = std::min(end + 1, pattern_.size());
    }

    void TakeEscaped() {
        if (++position_ < pattern_.size()) out_ += pattern_[position_++];
    }

    bool TakeHalf() {
        const bool afternoon = time_.hour >= 12;
        if (EqualNames(pattern_.substr(position_, 5), u"AM/PM")) {
            const bool lower = pattern_[position_] == u'a';
            out_ += lower ? (afternoon ? u"pm" : u"am") : (afternoon ? u"PM" : u"AM");
            position_ += 5;
            return true;
        }
        if (EqualNames(pattern_.substr(position_, 3), u"A/P")) {
            const bool lower = pattern_[position_] == u'a';
            out_ += lower ? (afternoon ? u'p' : u'a') : (afternoon ? u'P' : u'A');
            position_ += 3;
            return true;
        }
        return false;
    }

    void TakeLetters(char16_t letter) {
        std::size_t count = 0;
        while (position_ + count < pattern_.size() && ToLower(pattern_[position_ + count]) == letter) ++count;
        constexpr std::u16string_view kLetters = u"ymdhnswqc";
        if (kLetters.find(letter) == std::u16string_view::npos) {
            out_ += pattern_[position_++];
            return;
        }
        position_ += count;
        // A month right behind hours, or right before seconds, is minutes.
        if (letter == u'm' && count <= 2 && (after_hour_ || BeforeSeconds())) letter = u'n';
        after_hour_ = letter == u'h';
        Put(letter, count);
    }

    bool BeforeSeconds() const {
        std::size_t i = position_;
        while (i < pattern_.size() && (pattern_[i] == u':' || pattern_[i] == u' ')) ++i;
        return i < pattern_.size() && ToLower(pattern_[i]) == u's';
    }

    void Put(char16_t letter, std::size_t count) {
        const std::size_t width = std::min<std::size_t>(count, 2);
        switch (letter) {
            case u'y': PutYear(count); break;
            case u'm': PutMonth(count); break;
            case u'd': PutDay(count); break;
            case u'h': out_ += Padded(twelve_hours_ ? (time_.hour + 11) % 12 + 1 : time_.hour, width); break;
            case u'n': out_ += Padded(time_.minute, width); break;
            case u's': out_ += Padded(time_.second, width); break;
            case u'w':
                if (count == 1)
                    out_ += Padded(DayOfWeek(date_) + 1, 1);
                else
                    out_ += Padded((DayOfYear(time_) - DayOfWeek(date_) + 12) / 7, 1);
                break;
            case u'q': out_ += Padded((time_.month + 2) / 3, 1); break;
            default: out_ += ToText(Value(date_)); break;
        }
    }

    void PutYear(std::size_t count) {
        if (count == 1)
            out_ += Padded(DayOfYear(time_), 1);
        else if (count == 2)
            out_ += Padded(time_.year % 100, 2);
        else
            out_ += Padded(time_.year, 4);
    }

    void PutMonth(std::size_t count) {
        constexpr std::array<std::u16string_view, 12> kNames = {u"一月", u"二月", u"三月",   u"四月",
                                                                u"五月", u"六月", u"七月",   u"八月",
                                                                u"九月", u"十月", u"十一月", u"十二月"};
        if (count <= 2)
            out_ += Padded(time_.month, count);
        else
            out_ += kNames[static_cast<std::size_t>(time_.month - 1)];
    }

    void PutDay(std::size_t count) {
        if (count <= 2)
            out_ += Padded(time_.day, count);
        else if (count <= 4)
            out_ += kDayNames[static_cast<std::size_t>(DayOfWeek(date_))];
        else
            out_ += Padded(time_.year, 1) + u"/" + Padded(time_.month, 1) + u"/" + Padded(time_.day, 1);
    }

    Date date_;
    CivilTime time_;
    std::u16string_view pattern_;
    std::size_t position_ = 0;
    bool twelve_hours_ = false;
    bool after_hour_ = false;
    std::u16string out_;
};

struct NamedPattern {
    std::u16string_view name;
    std::u16string_view pattern;
};

constexpr std::array<NamedPattern, 7> kNamedDates = {{{u"General Date", u"c"},
                                                      {u"Long Date", u"yyyy\"年\"m\"月\"d\"日\""},
                                                      {u"Medium Date", u"yy-mm-dd"},
                                                      {u"Short Date", u"yyyy/m/d"},
                                                      {u"Long Time", u"h:nn:ss"},
                                                      {u"Medium Time", u"hh:nn AM/PM"},
                                                      {u"Short Time", u"hh:nn"}}};

constexpr std::array<NamedPattern, 7> kNamedNumbers = {{{u"Currency", u"¥#,##0.00;¥-#,##0.00"},
                                                        {u"Fixed", u"0.00"},
                                                        {u"Standard", u"#,##0.00"},
                                                        {u"Percent", u"0.00%"},
                                                        {u"Scientific", u"0.00E+00"},
                                                        {u"True/False", u"\"True\";\"True\";\"False\""},
                                                        {u"Yes/No", u"\"Yes\";\"Yes\";\"No\""}}};

template <std::size_t N>
const NamedPattern* FindNamed(const std::array<NamedPattern, N>& table, std::u16string_view name) {
    const auto found = std::ranges::find_if(table, [&](const auto& entry) { return EqualNames(entry.name, name); });
    return found == table.end() ? nullptr : &*found;
}

// ---- numbers ----

// Splits at semicolons outside quotes.
std::vector<std::u16string_view> Sections(std::u16string_view pattern) {
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

// One element of a number's pattern: a digit place, the point, or text to be shown as it is.
struct Element {
    enum class Kind : std::uint8_t { Zero, Optional, Point, Exponent, Literal } kind;
    std::u16string text;
};

struct NumberPattern {
    std::vector<Element> elements;
    int places_before = 0;
    int places_behind = 0;
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
            ++pattern_.places_behind;
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

// Digits of a number, rounded half away from zero as Format does: before the point, behind it.
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
        digits_ = RoundedDigits(magnitude, std::min(pattern.places_behind, 300));
        const auto zeros = static_cast<std::size_t>(pattern.zeros_before);
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
        bool behind = false;
        for (const Element& element : pattern_.elements) {
            if (element.kind == Element::Kind::Point)
                behind = true;
            else if (behind && element.kind <= Element::Kind::Optional) {
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
                behind_ = true;
                break;
            case Element::Kind::Exponent: PutExponent(element.text); break;
            default:
                if (behind_)
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
    bool behind_ = false;
    std::u16string out_;
};

std::u16string FormatNumber(double number, std::u16string_view pattern) {
    if (!std::isfinite(number)) return ToText(Value(number));
    const auto sections = Sections(pattern);
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

// ---- texts ----

std::u16string FormatText(std::u16string_view text, std::u16string_view pattern) {
    const auto is_place = [](char16_t unit) { return unit == u'@' || unit == u'&'; };
    std::u16string cased(text);
    if (pattern.find(u'<') != std::u16string_view::npos) cased = ToLower(text);
    if (pattern.find(u'>') != std::u16string_view::npos) cased = ToUpper(text);
    const auto places = static_cast<std::size_t>(std::ranges::count_if(pattern, is_place));
    const bool from_left = pattern.find(u'!') != std::u16string_view::npos;

    // Without "!" the places are filled from the right, and the first ones stay blank.
    std::size_t missing = places > cased.size() && !from_left ? places - cased.size() : 0;
    std::u16string out;
    std::size_t taken = 0;
    std::size_t left = places;
    for (const char16_t unit : pattern) {
        if (is_place(unit)) {
            --left;
            if (missing > 0 || taken >= cased.size()) {
                if (missing > 0) --missing;
                if (unit == u'@') out += u' ';
            } else if (left == 0) {
                out += cased.substr(taken);
                taken = cased.size();
            } else {
                out += cased[taken++];
            }
        } else if (unit != u'<' && unit != u'>' && unit != u'!') {
            out += unit;
        }
    }
    if (places == 0) out += cased;
    return out;
}

bool LooksLikeDatePattern(std::u16string_view pattern) {
    constexpr std::u16string_view kDateLetters = u"ymdhnsYMDHNSwWqQcC";
    constexpr std::u16string_view kNumberMarks = u"0#";
    bool quoted = false;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'"')
            quoted = !quoted;
        else if (pattern[i] == u'\\')
            ++i;
        else if (!quoted && kNumberMarks.find(pattern[i]) != std::u16string_view::npos)
            return false;
        else if (!quoted && kDateLetters.find(pattern[i]) != std::u16string_view::npos)
            return true;
    }
    return false;
}

bool LooksLikeTextPattern(std::u16string_view pattern) {
    return pattern.find_first_of(u"@&<>!") != std::u16string_view::npos;
}

}  // namespace

std::u16string Format(const Value& value, std::u16string_view pattern) {
    if (value.IsNull()) {
        const auto sections = Sections(pattern);
        return sections.size() > 3 ? FormatNumber(0, sections[3]) : std::u16string();
    }
    if (pattern.empty()) return ToText(value);
    if (EqualNames(pattern, u"General Number")) return ToText(value);

    const NamedPattern* number_name = FindNamed(kNamedNumbers, pattern);
    if (number_name != nullptr) pattern = number_name->pattern;
    const NamedPattern* date = FindNamed(kNamedDates, pattern);
    if (date != nullptr || (number_name == nullptr && LooksLikeDatePattern(pattern))) {
        const bool number = IsNumeric(value);
        if (number || IsDate(value)) {
            const Date held = number ? ToDate(Value(ToDouble(value))) : ToDate(value);
            return DateFormatter(held, date != nullptr ? date->pattern : pattern).Run();
        }
        return ToText(value);
    }
    if (LooksLikeTextPattern(pattern)) return FormatText(ToText(value), pattern);
    if (value.IsText() && !IsNumeric(value)) return value.Text();
    return FormatNumber(ToDouble(value), pattern);
}

}  // namespace qmtrain
