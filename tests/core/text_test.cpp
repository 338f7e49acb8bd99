// UTF-8, code pages, upper and lower case.

#include "core/text.h"

#include <limits>

#include <gtest/gtest.h>

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

TEST(Case, UpperAndLower) {
    struct Case {
        std::u16string upper;
        std::u16string lower;
    };
    const Case cases[] = {
        {u"AZ", u"az"}, {u"ÄÉÞ", u"äéþ"}, {u"ΑΩΣ", u"αωσ"}, {u"АЯЁ", u"аяё"}, {u"ＡＺ", u"ａｚ"}, {u"Ÿ", u"ÿ"},
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
}

TEST(Case, NamesAreTheSameWithoutRegardToCase) {
    EXPECT_TRUE(EqualNames(u"TrainInfo", u"trainINFO"));
    EXPECT_TRUE(EqualNames(u"Umsätze", u"UMSÄTZE"));
    EXPECT_FALSE(EqualNames(u"TrainInfo", u"TrainInf"));
    EXPECT_FALSE(EqualNames(u"Umsätze", u"Umsatze"));
    EXPECT_FALSE(EqualNames(u"A", u"Ａ"));
    EXPECT_EQ(FoldName(u"Umsätze"), FoldName(u"umSÄTZE"));
}

TEST(Integers, AsText) {
    EXPECT_EQ(ToText(std::int64_t{0}), u"0");
    EXPECT_EQ(ToText(std::numeric_limits<std::int64_t>::min()), u"-9223372036854775808");
}

}  // namespace
}  // namespace qmtrain
