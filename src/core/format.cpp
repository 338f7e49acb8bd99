#include "core/format.h"

#include <algorithm>
#include <array>

#include "core/convert.h"
#include "core/format_patterns.h"
#include "core/text.h"

namespace qmtrain {
namespace {

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

std::u16string FormatText(std::u16string_view text, std::u16string_view pattern) {
    const auto is_place = [](char16_t unit) { return unit == u'@' || unit == u'&'; };
    std::u16string cased(text);
    if (pattern.find(u'<') != std::u16string_view::npos) cased = ToLower(text);
    if (pattern.find(u'>') != std::u16string_view::npos) cased = ToUpper(text);
    const std::size_t places = std::ranges::count_if(pattern, is_place);
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
        const auto sections = SectionsOf(pattern);
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
            return FormatDate(held, date != nullptr ? date->pattern : pattern);
        }
        return ToText(value);
    }
    if (LooksLikeTextPattern(pattern)) return FormatText(ToText(value), pattern);
    if (value.IsText() && !IsNumeric(value)) return value.Text();
    return FormatNumber(ToDouble(value), pattern);
}

}  // namespace qmtrain
