// UTF-8, code pages, upper and lower case, comma-separated fields.

#include "core/text.h"

#include <algorithm>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "core/csv.h"
#include "core/error.h"

namespace qmtrain {
namespace {

TEST(Utf8, KnownForms) {
    struct Case {
        std::u16string text;
        std::string utf8;
    };
    const Case cases[] = {
        {u"", ""},
        {std::u16string(u"a\0b", 3), std::string("a\0b", 3)},
        {u"\x7F\x80\x7FF\x800", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80"},
        {u"计算机等级", "\xE8\xAE\xA1\xE7\xAE\x97\xE6\x9C\xBA\xE7\xAD\x89\xE7\xBA\xA7"},
        {u"\xD83D\xDE00\xDBFF\xDFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
        {u"a\xD83D", "a\xED\xA0\xBD"},  // half pairs
        {u"\xDE00\xD83D", "\xED\xB8\x80\xED\xA0\xBD"},
        {u"\xFFFD\xFEFF", "\xEF\xBF\xBD\xEF\xBB\xBF"},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(ToUtf8(test.text), test.utf8);
        EXPECT_EQ(FromUtf8(test.utf8), test.text);
    }
}

TEST(Utf8, AppendKeepsWhatIsThere) {
    std::string out = "编号=";
    AppendUtf8(u"中1", out);
    AppendUtf8(u"", out);
    EXPECT_EQ(out, "编号=中1");
}

TEST(Utf8, IllFormedBytesAreReplacedOneByOne) {
    struct Case {
        std::string utf8;
        std::u16string text;
    };
    const Case cases[] = {
        {"a\x80z", u"a\xFFFDz"},
        {"\xC0\xAF", u"\xFFFD\xFFFD"},  // longer than need be
        {"\xE0\x80\x80", u"\xFFFD\xFFFD\xFFFD"},
        {"\xE4\xB8", u"\xFFFD\xFFFD"},  // cut off
        {"\xE4\xB8z", u"\xFFFD\xFFFDz"},
        {"\xF4\x90\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD"},  // beyond the last character
        {"\xFF", u"\xFFFD"},
    };
    for (const Case& test : cases) EXPECT_EQ(FromUtf8(test.utf8), test.text);
}

TEST(CodePage, BothWays) {
    struct Case {
        int code_page;
        std::u16string text;
        std::string bytes;
    };
    const Case cases[] = {
        {936, u"考生 1", "\xBF\xBC\xC9\xFA 1"},
        {936, u"，。", "\xA3\xAC\xA1\xA3"},
        {936, u"镕", "\xE9\x46"},  // its second byte is an ASCII letter
        {1252, u"Größe €",
         "Gr\xF6\xDF"
         "e \x80"},
        {950, u"中文", "\xA4\xA4\xA4\xE5"},
        {65001, u"中", "\xE4\xB8\xAD"},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(FromCodePage(test.bytes, test.code_page), test.text);
        EXPECT_EQ(ToCodePage(test.text, test.code_page), test.bytes);
    }
}

TEST(CodePage, WhatHasNoCounterpart) {
    EXPECT_EQ(FromCodePage("a\xC4", 936), u"a\xFFFD");  // half a character
    EXPECT_EQ(FromCodePage("\xFF\xC4\xE3", 936), u"\xFFFD你");
    EXPECT_EQ(ToCodePage(u"中", 1252), std::nullopt);
    EXPECT_EQ(ToCodePage(u"a\xD83D", 936), std::nullopt);
    EXPECT_EQ(FromCodePage("ascii", 12345), u"ascii");
    try {
        FromCodePage("\xC4\xE3", 12345);
        ADD_FAILURE() << "no such code page";
    } catch (const AutomationError& error) {
        EXPECT_TRUE(error.Is(ErrorNumber::OperationNotSupported));
    }
}

TEST(Encoding, WhatHasNoByteBecomesAQuestionMark) {
    struct Case {
        std::string encoding;
        std::u16string text;
        std::string bytes;
    };
    const Case cases[] = {
        {"UTF-8", u"考生\xD83D", "\xE8\x80\x83\xE7\x94\x9F\xED\xA0\xBD"},
        {"GBK", u"[考生] 1", "[\xBF\xBC\xC9\xFA] 1"},
        {"GBK", u"é\xD83D\xDE00한a", "\xA8\xA6??a"},
        {"ISO-8859-1", u"考é", "?\xE9"},
        {"GBK", u"", ""},
    };
    for (const Case& c : cases) EXPECT_EQ(ToEncoding(c.text, c.encoding), c.bytes) << c.encoding << " " << c.bytes;
}

TEST(Encoding, Gb18030HasEveryCharacter) {
    try {
        EXPECT_EQ(ToEncoding(u"한\xD83D\xDE00", "GB18030"), "\x83\x36\x84\x33\x94\x39\xFC\x36");
        EXPECT_EQ(ToEncoding(u"\xD83D考\xDE00生\xD83D", "GB18030"), "?\xBF\xBC?\xC9\xFA?") << "half pairs";
    } catch (const AutomationError& error) {
        ASSERT_TRUE(error.Is(ErrorNumber::OperationNotSupported)) << error.what();
        GTEST_SKIP() << "the system does not know it: " << error.what();
    }
}

TEST(Find, FromAPlaceOn) {
    using enum qmtrain::Case;
    constexpr std::size_t kNone = std::u16string_view::npos;
    struct Row {
        std::u16string text;
        std::u16string wanted;
        std::size_t from;
        qmtrain::Case letter_case;
        std::size_t found;
    };
    const Row rows[] = {
        {u"abcABC", u"BC", 0, Counts, 4},      {u"abcABC", u"BC", 0, Ignored, 1}, {u"abcABC", u"bc", 2, Ignored, 4},
        {u"abcABC", u"bc", 5, Ignored, kNone}, {u"abc", u"c", 9, Ignored, kNone}, {u"abc", u"c", 9, Counts, kNone},
        {u"abc", u"", 3, Ignored, 3},          {u"abc", u"", 3, Counts, 3},       {u"abc", u"", 4, Ignored, kNone},
        {u"", u"a", 0, Ignored, kNone},        {u"Größe", u"RÖ", 0, Ignored, 1},  {u"考生号", u"号", 1, Ignored, 2},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Find(row.text, row.wanted, row.from, row.letter_case), row.found)
            << ToUtf8(row.text) << " " << ToUtf8(row.wanted) << " " << row.from;
    }
}

TEST(Case, UpperAndLower) {
    struct Case {
        std::u16string upper;
        std::u16string lower;
    };
    const Case cases[] = {
        {u"AZ", u"az"}, {u"ÄÉÞ", u"äéþ"}, {u"ΑΩΣ", u"αωσ"}, {u"АЯЁ", u"аяё"}, {u"ＡＺ", u"ａｚ"},
        {u"Ÿ", u"ÿ"},   {u"ĀŽ", u"āž"},   {u"ԱႠ", u"աⴀ"},   {u"ⅫⓏ", u"ⅻⓩ"},   {u"Ꞁ", u"ꞁ"},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(ToUpper(test.lower), test.upper);
        EXPECT_EQ(ToLower(test.upper), test.lower);
    }
    // One unit stays one unit, and what has no case stays as it is.
    for (const std::u16string& text : {std::u16string(u"ß19@[`{中あ가"), std::u16string(u"\xD801\xDC28\xDC00")}) {
        EXPECT_EQ(ToUpper(text), text);
        EXPECT_EQ(ToLower(text), text);
    }
    EXPECT_EQ(ToUpper(u"ſıµ"), u"SIΜ");  // ways of no return
    EXPECT_EQ(ToLower(u"İK"), u"ik");
}

// Names are compared by their upper case, so to fold twice must not go further than to fold once.
TEST(Case, FoldingTwiceIsFoldingOnce) {
    int folded = 0;
    for (std::uint32_t code = 0; code < 0x10000; ++code) {
        const auto unit = static_cast<char16_t>(code);
        EXPECT_EQ(ToUpper(ToUpper(unit)), ToUpper(unit)) << code;
        EXPECT_EQ(ToLower(ToLower(unit)), ToLower(unit)) << code;
        if (ToUpper(unit) != unit) ++folded;
    }
    EXPECT_GT(folded, 1000);
}

TEST(Case, NamesAreTheSameWithoutRegardToCase) {
    EXPECT_TRUE(EqualNames(u"TrainInfo", u"trainINFO"));
    EXPECT_TRUE(EqualNames(u"Umsätze", u"UMSÄTZE"));
    EXPECT_FALSE(EqualNames(u"TrainInfo", u"TrainInf"));
    EXPECT_FALSE(EqualNames(u"Umsätze", u"Umsatze"));
    EXPECT_FALSE(EqualNames(u"A", u"Ａ"));
    EXPECT_EQ(FoldName(u"Umsätze"), FoldName(u"umSÄTZE"));
}

// At each length and place, for both ways of storing a text.
TEST(Csv, QuotesStandAloneAndTextsAreWhole) {
    for (const char16_t special : {u'"', u'\x7F', u'\x80', u'\xFF', u'\x2222', u'计', u'\xD83D'}) {
        for (std::size_t length = 0; length < 20; ++length) {
            for (std::size_t at = 0; at <= length; ++at) {
                std::u16string text(length, u'a');
                if (at < length) text[at] = special;
                std::string expected = "\"" + ToUtf8(text.substr(0, at));
                if (at < length) expected += special == u'"' ? "\"\"" : ToUtf8(text.substr(at, 1));
                expected += ToUtf8(text.substr(std::min(at + 1, length))) + "\"";
                std::string out(kMostQuoted * length + 2, '?');
                out.resize(static_cast<std::size_t>(PutQuoted(text, out.data()) - out.data()));
                EXPECT_EQ(out, expected);
                if (at < length && special > 0xFF) continue;
                out.assign(kMostQuoted * length + 2, '?');
                const std::string latin1(text.begin(), text.end());
                out.resize(static_cast<std::size_t>(PutQuotedLatin1(latin1, out.data()) - out.data()));
                EXPECT_EQ(out, expected);
            }
        }
    }
}

TEST(Integers, AsText) {
    EXPECT_EQ(ToText(0), u"0");
    EXPECT_EQ(ToText(std::numeric_limits<std::int64_t>::min()), u"-9223372036854775808");
    EXPECT_EQ(ToText(std::numeric_limits<std::uint64_t>::max()), u"18446744073709551615");
    EXPECT_EQ(ToText(std::uint8_t{255}), u"255");
}

}  // namespace
}  // namespace qmtrain
