// Functions of texts. Positions count from 1; comparing is without regard to case unless a call says otherwise.
#include <algorithm>

#include "core/collation.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "core/work.h"
#include "sql/expressions/functions.h"

namespace qmtrain::sql {
namespace {

constexpr std::size_t kLongestText = std::size_t{1} << 26U;
constexpr std::int32_t kCompareBinary = 0;

// The text of an argument; `buffer` holds it when the argument is none.
std::u16string_view TextOf(const Value& value, std::u16string& buffer) {
    if (value.IsText()) return value.Text();
    buffer = ToText(value);
    return buffer;
}

std::size_t Count(const Value& value) {
    const std::int32_t count = ToLong(value);
    if (count < 0) Raise(ErrorNumber::InvalidProcedureCall);
    return static_cast<std::size_t>(count);
}

std::size_t Position(const Value& value) {
    const std::size_t position = Count(value);
    if (position == 0) Raise(ErrorNumber::InvalidProcedureCall);
    return position - 1;
}

// `text` must not be part of `result`.
void SetText(std::u16string_view text, Value& result) {
    result.ReuseText().assign(text);
}

void Length(Arguments a, Value& result) {
    std::u16string buffer;
    result = static_cast<std::int32_t>(TextOf(*a[0], buffer).size());
}

void LeftPart(Arguments a, Value& result) {
    std::u16string buffer;
    SetText(TextOf(*a[0], buffer).substr(0, Count(*a[1])), result);
}

void RightPart(Arguments a, Value& result) {
    std::u16string buffer;
    const std::u16string_view text = TextOf(*a[0], buffer);
    SetText(text.substr(text.size() - std::min(text.size(), Count(*a[1]))), result);
}

void MiddlePart(Arguments a, Value& result) {
    std::u16string buffer;
    const std::u16string_view text = TextOf(*a[0], buffer);
    const std::size_t first = std::min(Position(*a[1]), text.size());
    SetText(text.substr(first, a.size() > 2 ? Count(*a[2]) : std::u16string_view::npos), result);
}

enum Ends : std::uint8_t { kLeft = 1, kRight = 2 };

template <int ends>
void TrimBlanks(Arguments a, Value& result) {
    std::u16string buffer;
    std::u16string_view text = TextOf(*a[0], buffer);
    while ((ends & kLeft) != 0 && text.starts_with(u' ')) text.remove_prefix(1);
    while ((ends & kRight) != 0 && text.ends_with(u' ')) text.remove_suffix(1);
    SetText(text, result);
}

void UpperCase(Arguments a, Value& result) {
    std::u16string buffer;
    result = ToUpper(TextOf(*a[0], buffer));
}

void LowerCase(Arguments a, Value& result) {
    std::u16string buffer;
    result = ToLower(TextOf(*a[0], buffer));
}

void Repeat(Arguments a, Value& result) {
    const std::size_t count = Count(*a[0]);
    CheckLength(count);
    char16_t unit = u'\0';
    if (a[1]->IsText()) {
        if (a[1]->Text().empty()) Raise(ErrorNumber::InvalidProcedureCall);
        unit = a[1]->Text().front();
    } else {
        unit = static_cast<char16_t>(ToLong(*a[1]) & 0xFF);
    }
    result.ReuseText().assign(count, unit);
}

void Blanks(Arguments a, Value& result) {
    const std::size_t count = Count(*a[0]);
    CheckLength(count);
    result.ReuseText().assign(count, u' ');
}

// Units above 32767 show as negative numbers, as an Integer holds them.
void CharacterCode(Arguments a, Value& result) {
    std::u16string buffer;
    const std::u16string_view text = TextOf(*a[0], buffer);
    if (text.empty()) Raise(ErrorNumber::InvalidProcedureCall);
    result = static_cast<std::int16_t>(text.front());
}

void Character(Arguments a, Value& result) {
    const std::int32_t code = ToLong(*a[0]);
    if (code < -32768 || code > 65535) Raise(ErrorNumber::InvalidProcedureCall);
    result.ReuseText().assign(1, static_cast<char16_t>(code & 0xFFFF));
}

bool IgnoresCase(Arguments a, std::size_t place) {
    return a.size() <= place || ToLong(*a[place]) != kCompareBinary;
}

// InStr([start,] text, wanted [, compare])
void FindText(Arguments a, Value& result) {
    const bool with_start = a.size() > 2;
    const std::size_t start = with_start ? Position(*a[0]) : 0;
    std::u16string text_buffer;
    std::u16string wanted_buffer;
    const std::u16string_view text = TextOf(*a[with_start ? 1 : 0], text_buffer);
    const std::u16string_view wanted = TextOf(*a[with_start ? 2 : 1], wanted_buffer);
    const Case letter_case = IgnoresCase(a, 3) ? Case::Ignored : Case::Counts;
    const std::size_t found = text.empty() ? std::u16string_view::npos : Find(text, wanted, start, letter_case);
    result = static_cast<std::int32_t>(found == std::u16string_view::npos ? 0 : found + 1);
}

void CompareTexts(Arguments a, Value& result) {
    std::u16string left_buffer;
    std::u16string right_buffer;
    const std::u16string_view left = TextOf(*a[0], left_buffer);
    const std::u16string_view right = TextOf(*a[1], right_buffer);
    const int order = IgnoresCase(a, 2) ? collation::Compare(left, right) : left.compare(right);
    result = static_cast<std::int16_t>(order > 0 ? 1 : order < 0 ? -1 : 0);
}

// Replace(text, wanted, replacement [, start [, count [, compare]]]); what stands before the start is cut off.
void ReplaceText(Arguments a, Value& result) {
    std::u16string buffers[3];
    std::u16string_view text = TextOf(*a[0], buffers[0]);
    const std::u16string_view wanted = TextOf(*a[1], buffers[1]);
    const std::u16string_view replacement = TextOf(*a[2], buffers[2]);
    text = text.substr(std::min(a.size() > 3 ? Position(*a[3]) : 0, text.size()));
    std::int32_t left = a.size() > 4 ? ToLong(*a[4]) : -1;
    const Case letter_case = IgnoresCase(a, 5) ? Case::Ignored : Case::Counts;
    std::u16string out;
    std::size_t place = 0;
    WorkSteps steps;
    while (left != 0 && !wanted.empty()) {
        const std::size_t found = Find(text, wanted, place, letter_case);
        if (found == std::u16string_view::npos) break;
        out += text.substr(place, found - place);
        out += replacement;
        CheckLength(out.size());
        steps.Next();
        place = found + wanted.size();
        if (left > 0) --left;
    }
    out += text.substr(place);
    result = std::move(out);
}

void FormatValue(Arguments a, Value& result) {
    const bool pattern = a.size() > 1 && !a[1]->IsNull();
    result = Format(*a[0], pattern ? ToText(*a[1]) : std::u16string());
}

using enum Value::Type;

constexpr FunctionInfo kFunctions[] = {
    {u"LEN", 1, 1, Long, false, Length},
    {u"LEFT", 2, 2, Text, false, LeftPart},
    {u"RIGHT", 2, 2, Text, false, RightPart},
    {u"MID", 2, 3, Text, false, MiddlePart},
    {u"INSTR", 2, 4, Long, false, FindText},
    {u"TRIM", 1, 1, Text, false, TrimBlanks<kLeft | kRight>},
    {u"LTRIM", 1, 1, Text, false, TrimBlanks<kLeft>},
    {u"RTRIM", 1, 1, Text, false, TrimBlanks<kRight>},
    {u"UCASE", 1, 1, Text, false, UpperCase},
    {u"LCASE", 1, 1, Text, false, LowerCase},
    {u"SPACE", 1, 1, Text, false, Blanks},
    {u"STRING", 2, 2, Text, false, Repeat},
    {u"ASC", 1, 1, Integer, false, CharacterCode},
    {u"ASCW", 1, 1, Integer, false, CharacterCode},
    {u"CHR", 1, 1, Text, false, Character},
    {u"CHRW", 1, 1, Text, false, Character},
    {u"STRCOMP", 2, 3, Integer, false, CompareTexts},
    {u"REPLACE", 3, 6, Text, false, ReplaceText},
    {u"FORMAT", 1, 4, Text, true, FormatValue},
};

}  // namespace

void CheckLength(std::size_t length) {
    if (length > kLongestText) Raise(ErrorNumber::SystemResourceExceeded, {u"语句算出的文本太长。"});
    Work::RequireRoom(length * sizeof(char16_t));
}

std::span<const FunctionInfo> TextFunctions() {
    return kFunctions;
}

}  // namespace qmtrain::sql
