// The order of texts. The expected orders are those of Access and of its index pages.

#include "core/collation.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "core/text.h"

namespace qmtrain::collation {
namespace {

int Sign(int number) {
    return (number > 0) - (number < 0);
}

TEST(Collation, RisingOrder) {
    // Each text comes before the next.
    const std::vector<std::u16string> rising = {u"",      u"!",     u"(1)", u"0",  u"1",  u"10", u"2",    u"a",
                                                u"á",     u"ä",     u"a1",  u"ab", u"áb", u"b",  u"co",   u"coop",
                                                u"co-op", u"coops", u"ζ",   u"Ж",  u"あ", u"中", u"中国", u"文"};
    for (std::size_t i = 0; i < rising.size(); ++i) {
        for (std::size_t j = 0; j < rising.size(); ++j) {
            EXPECT_EQ(Sign(Compare(rising[i], rising[j])), (i > j) - (i < j))
                << ToUtf8(rising[i]) << " and " << ToUtf8(rising[j]);
        }
    }
}

TEST(Collation, WhatCountsAsEqual) {
    struct Case {
        const char16_t* a;
        const char16_t* b;
        bool equal;
    };
    const Case cases[] = {
        {u"TrainInfo", u"trainINFO", true},
        {u"ÄÖ", u"äö", true},
        {u"Жук", u"жук", true},
        {u"abc", u"ABC   ", true},
        {u"ＡＢＣ１", u"abc1", true},
        {u"ｱ", u"ア", true},
        {u"ß", u"ss", true},
        {u"abc", u" abc", false},
        {u"a", u"á", false},
        {u"co-op", u"coop", false},
        {u"计算机", u"计算几", false},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(ToUtf8(test.a) + " and " + ToUtf8(test.b));
        EXPECT_EQ(Compare(test.a, test.b) == 0, test.equal);
    }
}

// Index and sort agree: texts compare as their keys do.
TEST(Collation, KeysCompareAsTexts) {
    std::mt19937 random(7);
    constexpr std::u16string_view kUnits = u"aAbBzZ09 -'!éÉßæœαЖжあアｱ中国文Ａａ\x0301\x1\xD83D\xDE00\xFFFD";
    const auto text = [&] {
        std::u16string units(random() % 7, u' ');
        for (char16_t& unit : units) unit = kUnits[random() % kUnits.size()];
        return units;
    };
    std::size_t equal = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::u16string a = text();
        const std::u16string b = i % 3 == 0 ? ToUpper(a) : text();
        std::vector<std::uint8_t> key_a;
        std::vector<std::uint8_t> key_b;
        AppendKey(a, key_a);
        AppendKey(b, key_b);
        const int order = Compare(a, b);
        ASSERT_EQ(Sign(order), (key_a > key_b) - (key_a < key_b)) << ToUtf8(a) << " and " << ToUtf8(b);
        ASSERT_EQ(Sign(Compare(b, a)), -Sign(order));
        if (order == 0) ++equal;
    }
    EXPECT_GT(equal, 1000U);
}

// A text kept as single bytes compares as its characters do.
TEST(Collation, NarrowTextsCompareAlike) {
    std::mt19937 random(11);
    constexpr std::u16string_view kNarrow = u"aAbBzZ09 -'!éÉßæ÷\x1\xAD";
    constexpr std::u16string_view kUnits = u"aAbB09 -'éßæœｂ中\x0301";
    for (int i = 0; i < 20000; ++i) {
        std::u16string a(random() % 6, u' ');
        for (char16_t& unit : a) unit = kNarrow[random() % kNarrow.size()];
        std::u16string b(random() % 6, u' ');
        for (char16_t& unit : b) unit = kUnits[random() % kUnits.size()];
        if (i % 3 == 0) b = ToUpper(a);
        const std::string narrow(a.begin(), a.end());
        ASSERT_EQ(Sign(Compare(narrow, b)), Sign(Compare(a, b))) << ToUtf8(a) << " and " << ToUtf8(b);
    }
}

TEST(Collation, ComparesBeyondTheKey) {
    const std::u16string start(kKeyUnits, u'x');
    EXPECT_LT(Compare(start + u"a", start + u"b"), 0);
    EXPECT_NE(Compare(start, start + u"a"), 0);
}

}  // namespace
}  // namespace qmtrain::collation
