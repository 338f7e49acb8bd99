// Expressions without tables: operators, conversions between types, functions.
#include <random>

#include <gtest/gtest.h>

#include "core/collation.h"
#include "core/text.h"
#include "sql/expressions/like.h"
#include "sql/expressions/make_expression.h"
#include "sql/support.h"

namespace qmtrain::sql {
namespace {

struct Case {
    const char* expression;
    const char* value;
};

struct BadCase {
    const char* expression;
    int error;
};

// Names the case when it fails.
void PrintTo(const Case& c, std::ostream* out) {
    *out << c.expression;
}

class Expressions : public testing::TestWithParam<Case> {};

TEST_P(Expressions, Evaluate) {
    EXPECT_EQ(Evaluate(GetParam().expression), GetParam().value) << GetParam().expression;
}

constexpr Case kPrecedence[] = {
    {"1 + 2 * 3", "7"},
    {"(1 + 2) * 3", "9"},
    {"-2 ^ 2", "-4"},  // the sign binds looser than the power
    {"2 ^ -1", "0.5"},
    {"2 ^ 3 ^ 2", "64"},  // from the left
    {"7 \\ 2 * 2", "1"},  // "\" binds looser than "*"
    {"12 \\ 5 Mod 2", "0"},
    {"10 Mod 4 + 1", "3"},
    {"10 - 4 - 3", "3"},
    {"1 & 2 + 3", "15"},  // "&" binds looser than "+"
    {"'a' & 1 = 'a1'", "True"},
    {"Not 1 = 2", "True"},  // "Not" binds looser than "="
    {"True Or True And False", "True"},
    {"Not True Or True", "True"},
    {"True Xor True Or True", "False"},
    {"False Imp False Eqv False", "True"},
    {"1 < 2 And 2 < 3", "True"},
    {"3 > 2 > 1", "False"},  // True is -1
    {"1 + -1", "0"},
    {"- - 3", "3"},
    {"5 Between 1 And 9 And 1 = 1", "True"},
    {"Not 5 Between 1 And 9", "False"},
    {"&H1F + &HFFFF", "30"},  // four digits are an Integer: -1
    {"1.5e2 + .5", "150.5"},
};
INSTANTIATE_TEST_SUITE_P(Precedence, Expressions, testing::ValuesIn(kPrecedence));

constexpr Case kArithmetic[] = {
    {"7 / 2", "3.5"},
    {"6 / 2", "3"},
    {"7.5 \\ 2", "4"},  // both are rounded first, half to even
    {"-7 \\ 2", "-3"},
    {"-7 Mod 3", "-1"},
    {"8.5 Mod 3", "2"},
    {"1 + Null", "Null"},
    {"'5' + 3", "8"},
    {"'a' + 'b'", "ab"},
    {"'a' + Null", "Null"},
    {"'a' & Null", "a"},
    {"Null & Null", "Null"},
    {"True + 1", "0"},
    {"#2005-4-12# + 1", "2005/4/13"},
    {"#2005-4-12# - #2005-4-10#", "2"},
    {"#2005-4-12 12:00:00# - 0.5", "2005/4/12"},
    {"CCur(1.1) * 3", "3.3"},
    {"CCur('922337203685477.5807')", "922337203685477.5807"},
    {"CSng(0.1) + CSng(0.2)", "0.3"},
    {"0.1 + 0.2", "0.3"},  // fifteen digits are shown
    {"1 / 3", "0.333333333333333"},
    {"2147483647 + 0.0", "2147483647"},
    {"1e15 * 10", "1E+16"},
    {"-(1.50)", "-1.5"},
};
INSTANTIATE_TEST_SUITE_P(Arithmetic, Expressions, testing::ValuesIn(kArithmetic));

constexpr Case kConversions[] = {
    {"CInt(0.5)", "0"},
    {"CInt(1.5)", "2"},
    {"CInt(2.5)", "2"},
    {"CInt(-1.5)", "-2"},
    {"CInt(' 12 ')", "12"},
    {"CInt('&H10')", "16"},
    {"CLng('1,234')", "1234"},
    {"CByte(255)", "255"},
    {"CSng(1 / 3)", "0.3333333"},
    {"CDbl('1e3')", "1000"},
    {"CStr(72)", "72"},
    {"CStr(37.50)", "37.5"},
    {"CStr(1E+20)", "1E+20"},
    {"CStr(True)", "True"},
    {"CStr(#2005-4-12#)", "2005/4/12"},
    {"CBool('False')", "False"},
    {"CBool(3)", "True"},
    {"CDate('2005-4-12 8:05')", "2005/4/12 8:05:00"},
    {"CDate(38454.5)", "2005/4/12 12:00:00"},
    {"CCur('1.00005')", "1"},
    {"Val(' 12 34abc')", "1234"},
    {"Val('-1.5e1x')", "-15"},
    {"Val('abc')", "0"},
    {"Str(5)", " 5"},
    {"Str(-5)", "-5"},
    {"IsNumeric('1e5')", "True"},
    {"IsNumeric('1x')", "False"},
    {"IsNumeric(Null)", "False"},
    {"IsDate('2005-13-1')", "True"},  // day and month change places
    {"IsDate('2005-13-32')", "False"},
    {"CDate('Apr 2005')", "2005/4/1"},
    {"#99/1/1#", "1999/1/1"},
    {"#12/2005#", "2005/12/1"},
    {"IsNumeric('True')", "False"},
    {"IsDate('12:30')", "True"},
    {"IsNull(Null)", "True"},
    {"IsNull('')", "False"},
};
INSTANTIATE_TEST_SUITE_P(Conversions, Expressions, testing::ValuesIn(kConversions));

constexpr Case kNumbers[] = {
    {"Int(-2.5)", "-3"}, {"Fix(-2.5)", "-2"}, {"Abs(-2147483647)", "2147483647"}, {"Abs(True)", "1"},
    {"Sgn(-0.1)", "-1"}, {"Round(2.5)", "2"}, {"Round(2.125, 2)", "2.12"},        {"Round(-3.5)", "-4"},
    {"Sqr(16)", "4"},    {"Int(Rnd())", "0"}, {"Rnd(-1) = Rnd(-1)", "True"},      {"Abs(Null)", "Null"},
};
INSTANTIATE_TEST_SUITE_P(Numbers, Expressions, testing::ValuesIn(kNumbers));

constexpr Case kTexts[] = {
    {"Len('中文')", "2"},
    {"Len(12.5)", "4"},
    {"Len(Null)", "Null"},
    {"Left('abc', 2) & '|' & Left('abc', 9) & '|' & Left('abc', 0)", "ab|abc|"},
    {"Right('abc', 2) & '|' & Right('abc', 9)", "bc|abc"},
    {"Mid('abcdef', 3) & '|' & Mid('abcdef', 2, 3) & '|' & Mid('abc', 9)", "cdef|bcd|"},
    {"InStr('abcabc', 'C')", "3"},
    {"InStr(4, 'abcabc', 'c')", "6"},
    {"InStr(1, 'abc', 'C', 0)", "0"},
    {"InStr('abc', '')", "1"},
    {"InStr('', 'a')", "0"},
    {"'[' & Trim('  a b ') & ']' & LTrim(' x ') & ']' & RTrim(' y ') & ']'", "[a b]x ] y]"},
    {"UCase('aбz') & LCase('AБZ')", "AБZaбz"},
    {"Space(3) & 'x' & String(2, 'yz') & String(2, 65)", "   xyyAA"},
    {"Asc('A') & Chr(66) & ChrW(20013) & AscW('中')", "65B中20013"},
    {"StrComp('a', 'A') & StrComp('a', 'A', 0) & StrComp('a', 'b')", "01-1"},
    {"Replace('aXbx', 'x', '--')", "a--b--"},
    {"Replace('aXbx', 'x', '-', 1, 1)", "a-bx"},
    {"Replace('abc', '', 'x')", "abc"},
    {"Replace('abcabc', 'b', 'B', 3)", "caBc"},
    {"'it''s' & \"a \"\"b\"\"\"", "it'sa \"b\""},
};
INSTANTIATE_TEST_SUITE_P(Texts, Expressions, testing::ValuesIn(kTexts));

constexpr Case kDates[] = {
    {"Year(#2005-4-12#) & Month(#2005-4-12#) & Day(#2005-4-12#)", "2005412"},
    {"Hour(#8:05:09#) & ':' & Minute(#8:05:09#) & ':' & Second(#8:05:09#)", "8:5:9"},
    {"Weekday(#2005-4-12#)", "3"},  // a Tuesday
    {"Weekday(#2005-4-12#, 2)", "2"},
    {"DateAdd('m', 1, #2005-1-31#)", "2005/2/28"},
    {"DateAdd('yyyy', -1, #2004-2-29#)", "2003/2/28"},
    {"DateAdd('d', 1, #1899-12-29 12:00:00#)", "12:00:00"},
    {"DateAdd('h', -1, #2005-1-1#)", "2004/12/31 23:00:00"},
    {"DateDiff('s', #2005-4-12 8:00:00#, #2005-4-12 9:00:01#)", "3601"},
    {"DateDiff('yyyy', #2004-12-31#, #2005-1-1#)", "1"},
    {"DateDiff('h', #8:59:00#, #9:01:00#)", "1"},
    {"DateDiff('ww', #2005-4-9#, #2005-4-10#)", "1"},  // Saturday to Sunday
    {"DateDiff('w', #2005-4-1#, #2005-4-14#)", "1"},
    {"DateDiff('m', #2005-4-30#, #2005-3-1#)", "-1"},
    {"DateDiff('q', #2005-3-31#, #2005-4-1#)", "1"},
    {"DatePart('y', #2005-2-1#) & ' ' & DatePart('q', #2005-5-1#) & ' ' & DatePart('ww', #2005-1-2#)", "32 2 2"},
    {"DateSerial(2005, 14, 1)", "2006/2/1"},
    {"DateSerial(5, 4, 0)", "2005/3/31"},
    {"TimeSerial(8, 65, 0)", "9:05:00"},
    {"DateValue('2005-4-12 8:00') & ' ' & TimeValue('2005-4-12 8:00')", "2005/4/12 8:00:00"},
    {"Date() <= Now() And Now() < Date() + 1", "True"},
    {"Format(#2005-4-2 8:05:09#, 'yyyy年mm月dd日 hh:nn')", "2005年04月02日 08:05"},
    {"Format(0.256, '0.0%') & Format(1234.5, '#,##0.00') & Format(Null, '0')", "25.6%1,234.50"},
};
INSTANTIATE_TEST_SUITE_P(Dates, Expressions, testing::ValuesIn(kDates));

constexpr Case kChoices[] = {
    {"IIf(1 = 1, 'y', 1 / 0)", "y"},  // what is not needed is not computed
    {"IIf(Null, 1, 2)", "2"},
    {"Nz(Null, 'x') & Nz(5, 'x') & Nz(Null)", "x5"},
    {"Switch(1 = 2, 'a', 2 = 2, 'b', True, 'c')", "b"},
    {"Switch(False, 1)", "Null"},
    {"Choose(2, 'a', 'b') & Choose(3, 'a', 'b')", "b"},
};
INSTANTIATE_TEST_SUITE_P(Choices, Expressions, testing::ValuesIn(kChoices));

TEST(ExpressionErrors, AreRaised) {
    MemoryCatalog catalog;
    constexpr BadCase kCases[] = {
        {"2147483647 + 1", 6},
        {"-2147483647 - 2", 6},
        {"65536 * 65536", 6},
        {"-(-2147483647 - 1)", 6},
        {"CInt(32768)", 6},
        {"CInt('40000')", 6},
        {"CByte(-1)", 6},
        {"1e300 * 1e300", 6},
        {"CCur('922337203685477.5807') + 1", 6},
        {"1 / 0", 11},
        {"1 \\ 0.4", 11},
        {"1 Mod 0", 11},
        {"'abc' * 2", 13},
        {"CInt('abc')", 13},
        {"CDate('abc')", 13},
        {"CInt(Null)", 94},
        {"CStr(Null)", 94},
        {"Left('a', -1)", 5},
        {"Mid('a', 0)", 5},
        {"Sqr(-1)", 5},
        {"(-8) ^ 0.5", 5},
        {"Asc('')", 5},
        {"DateAdd('x', 1, Date())", 5},
        {"DateSerial(9999, 13, 1)", 5},
        {"Space(2000000000)", 3035},
        {"Nothing(1)", 3085},
        {"Len()", 3077},
        {"IIf(1, 2)", 3077},
        {"Switch(1, 2, 3)", 3077},
        {"'a' = 1", 3464},
        {"'a' And True", 3464},
    };
    for (const BadCase& c : kCases) {
        EXPECT_EQ(ErrorOf(catalog, std::string("SELECT ") + c.expression), c.error) << c.expression;
    }
}

// Whether the text from `t` on is one of the pattern from `p` on, tried in every way. `known`: what is known of both.
bool FitsSlowly(std::u16string_view text, std::u16string_view pattern, std::size_t t, std::size_t p,
                std::vector<signed char>& known) {
    signed char& fits = known[t * (pattern.size() + 1) + p];
    if (fits != 0) return fits > 0;
    bool found = false;
    if (p == pattern.size()) {
        found = t == text.size();
    } else if (pattern[p] == u'*') {
        found = FitsSlowly(text, pattern, t, p + 1, known) ||
                (t < text.size() && FitsSlowly(text, pattern, t + 1, p, known));
    } else {
        const std::size_t next = pattern[p] == u'[' ? pattern.find(u']', p) + 1 : p + 1;
        const std::u16string_view element = pattern.substr(p, next - p);
        const auto fits_unit = [&](char16_t unit) {
            if (element == u"?") return true;
            if (element == u"#") return unit >= u'0' && unit <= u'9';
            if (element == u"[a-b]") return unit == u'a' || unit == u'b';
            if (element == u"[!A1]" || element == u"[!a]") return unit != u'a' && (unit != u'1' || element[2] == u'a');
            if (element[0] == u'[') return element.find(unit, 1) < element.size() - 1;
            return ToUpper(element[0]) == ToUpper(unit);
        };
        found = element == u"[]"
                    ? FitsSlowly(text, pattern, t, next, known)
                    : t < text.size() && fits_unit(text[t]) && FitsSlowly(text, pattern, t + 1, next, known);
    }
    fits = found ? 1 : -1;
    return found;
}

bool MatchesLike(std::u16string_view text, std::u16string_view pattern) {
    return MakeLike(std::make_unique<LiteralExpression>(Value(text)),
                    std::make_unique<LiteralExpression>(Value(pattern)))
               ->Test() == Truth::True;
}

// Patterns of all lengths, made from their texts so that many fit and the others nearly do.
TEST(Like, FindsWhatTryingEverythingFinds) {
    std::mt19937 random(16);
    const auto pick = [&](std::size_t count) { return random() % count; };
    std::size_t fitting = 0;
    constexpr std::size_t kTries = 3000;
    for (std::size_t i = 0; i < kTries; ++i) {
        const std::size_t longest = i % 10 == 0 ? 400 : 12;
        const std::u16string_view letters = std::u16string_view(u"ab1中").substr(0, 1 + pick(4));
        std::u16string text;
        for (std::size_t length = pick(longest); length > 0; --length) text += letters[pick(letters.size())];
        std::u16string pattern;
        const std::size_t stars = 2 + pick(longest);
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (pick(stars) == 0) {
                pattern += u'*';
                at += pick(4);
            }
            if (at >= text.size()) break;
            const char16_t unit = text[at];
            switch (pick(4)) {
                case 0: pattern += u'?'; break;
                case 1: pattern += unit == u'1' ? u"#" : unit == u'中' ? u"[!A1]" : u"[a-b]"; break;
                case 2: pattern += ToUpper(unit); break;
                default: pattern += unit; break;
            }
            if (pick(50) == 0) pattern += u"[]";
        }
        if (pick(3) == 0) pattern += pick(2) == 0 ? u"*" : u"a";
        if (pick(3) == 0) pattern.insert(0, u"*?");
        std::vector<signed char> known((text.size() + 1) * (pattern.size() + 1));
        const bool expected = FitsSlowly(text, pattern, 0, 0, known);
        fitting += expected ? 1 : 0;
        EXPECT_EQ(MatchesLike(text, pattern), expected) << ToUtf8(text) << " Like " << ToUtf8(pattern);
    }
    EXPECT_GT(fitting, kTries / 4);
    EXPECT_LT(fitting, kTries * 3 / 4);
}

// More kinds of elements than are tried at once, of which the last one decides.
TEST(Like, ManyKindsInOneRun) {
    std::u16string sets;
    for (char16_t other = 0x4E00; other < 0x4E00 + 150; ++other) sets += {u'[', u'a', other, u']'};
    const std::u16string text = std::u16string(1000, u'a') + u"b" + std::u16string(1000, u'a');
    for (const std::u16string_view end : {u"b", u"?b", u"b?", u"b[!a]", u"bb"}) {
        const std::u16string pattern = u"*" + sets + std::u16string(end) + u"*";
        std::vector<signed char> known((text.size() + 1) * (pattern.size() + 1));
        EXPECT_EQ(MatchesLike(text, pattern), FitsSlowly(text, pattern, 0, 0, known)) << ToUtf8(end);
    }
}

// What a pattern begins with is looked for in indexes: every text that matches must stand there.
TEST(Like, FixedBeginningsKeepToTheOrderOfTexts) {
    EXPECT_EQ(FixedPrefix(u"JC12*"), u"JC12");
    EXPECT_EQ(FixedPrefix(u"*12"), u"");
    EXPECT_EQ(FixedPrefix(u"计算?"), u"计算");
    EXPECT_EQ(FixedPrefix(u"ab[c]d"), u"ab");
    EXPECT_EQ(FixedPrefix(u"aé*"), u"a");
    const auto begins = [](char16_t unit) {
        std::vector<std::uint8_t> key;
        collation::AppendPrefix(std::u16string_view(&unit, 1), key);
        return key;
    };
    for (unsigned number = 1; number < 0x10000; ++number) {
        const auto unit = static_cast<char16_t>(number);
        const char16_t upper = ToUpper(unit);
        if (upper == unit || FixedPrefix(std::u16string_view(&upper, 1)).empty()) continue;
        if (!MatchesLike(std::u16string_view(&unit, 1), std::u16string_view(&upper, 1))) continue;
        EXPECT_EQ(begins(unit), begins(upper)) << number;
    }
}

}  // namespace
}  // namespace qmtrain::sql
