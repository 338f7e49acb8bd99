// Question texts, the rows of lists, and how far bars may be dragged.

#include "ui/question_text.h"

#include <gtest/gtest.h>

#include "core/text.h"
#include "ui/list_model.h"
#include "ui/splitter_limits.h"

namespace qmtrain::ui {
namespace {

TEST(QuestionText, PlaceholdersGoUnlessOneStandsAtTheBeginning) {
    struct Case {
        const char16_t* stored;
        std::u16string shown;
    };
    const Case cases[] = {
        {u"ab[%user%]c", u"abc"},
        {u"ab%user%c%USER%d[%User%]e", u"abcde"},
        {u"a%user%b%user%", u"a%user%b%user%"},          // position 1: this one and all after it stay
        {u"a[%user%]b[%user%]", u"a[]b[]"},              // the shorter one stands further on
        {u"[%user%]ab[%user%]", u"[%user%]ab[%user%]"},  // nor does the shorter one: it stands at 1
        {u"%user%ab[%user%]", u"%user%ab"},              // the kinds are looked for one after the other
        {u"ab[%us[%user%]er%]", u"ab"},                  // what falls together is found again
        {u"ab[%user]", u"ab[%user]"},
        {u"{\\rtf1 ab[%us{\\b er%]}c\\par %user%d}", u"abc\nd"},
        {u"甲^p乙^p%user%", u"甲\n乙\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(StoredText(c.stored).PlainText(), c.shown) << ToUtf8(c.stored);
}

TEST(QuestionText, AWholeQuestionKeepsNoPlaceholder) {
    EXPECT_EQ(QuestionText(u"[%user%]a%us%user%er%[%us[%user%]er%]b%user", nullptr).PlainText(), u"ab%user");
    TextCollection options;
    options.Add(u"%user%甲", u"A");
    EXPECT_EQ(QuestionText(u"{\\rtf1 %user%{\\b 题}\\par }", &options).PlainText(), u"题\n\n选择项:\nA. 甲");
}

TEST(ListCells, AreOneLine) {
    EXPECT_EQ(CellText(u"一\r\n二\n三\t四\x2028五"), u"一 二 三 四 五");
    EXPECT_EQ(CellText(std::u16string(300, u'x')), std::u16string(300, u'x'));
    EXPECT_EQ(CellText(std::u16string(5000000, u'x')), std::u16string(300, u'x') + u"…");
    EXPECT_EQ(CellText(std::u16string(299, u'x') + u"\U00020000y"), std::u16string(299, u'x') + u"…");
}

TEST(QuestionText, BlackColourTablesAreLeftOut) {
    const document::RichText text = StoredText(u"{\\rtf1{\\colortbl ;\\red0\\green0\\blue0;}\\cf1 x}");
    EXPECT_EQ(text.PlainText(), u"x");
    EXPECT_FALSE(text.Paragraphs()[0].runs[0].format.color);
    EXPECT_TRUE(
        StoredText(u"{\\rtf1{\\colortbl ;\\red9\\green0\\blue0;}\\cf1 x}").Paragraphs()[0].runs[0].format.color);
}

TEST(QuestionText, OptionsStandInOrderAfterTheirLetters) {
    TextCollection options;
    EXPECT_EQ(OptionsText(options).PlainText(), u"选择项:");
    options.Add(u"{\\rtf1 {\\b 甲}\\par }", u"A");
    options.Add(u"", u"B");
    options.Add(u"丙^p丁", u"C");
    const document::RichText text = OptionsText(options);
    EXPECT_EQ(text.PlainText(), u"选择项:\nA. 甲、\nB. 、\nC. 丙\n丁");
    ASSERT_EQ(text.Paragraphs()[1].runs.size(), 3U);
    EXPECT_TRUE(text.Paragraphs()[1].runs[1].format.bold);
    EXPECT_FALSE(text.Paragraphs()[1].runs[2].format.bold);
}

std::u16string Order(const ListModel& model) {
    std::u16string keys;
    for (std::size_t i = 0; i < model.Size(); ++i) keys += model.Row(i).key;
    return keys;
}

TEST(ListModel, SortsTextsAsDictionariesDoAndKeepsEqualRows) {
    struct Case {
        const char* name;
        std::size_t column;
        bool ascending;
        std::u16string order;
    };
    ListModel model;
    model.Add({u"a", {u"80", u"笔试", u"0080"}});
    model.Add({u"b", {u"100", u"上机", u"0100"}});
    model.Add({u"c", {u"9", u"笔试", u"0009"}});
    model.Add({u"d", {u"", u"上机", u"0009"}});
    for (const Case& c : {Case{"texts, not numbers", 0, true, u"dbac"}, Case{"downwards", 0, false, u"cabd"},
                          Case{"with leading zeros", 2, true, u"cdab"}, Case{"equal ones stay", 2, false, u"bacd"},
                          Case{"as they were", 1, true, u"bdac"}, Case{"turned round", 1, false, u"acbd"}}) {
        model.Sort(c.column, c.ascending);
        EXPECT_EQ(Order(model), c.order) << c.name;
    }
    EXPECT_EQ(model.Find(u"C"), 1U);
    EXPECT_EQ(model.Find(u"e"), std::nullopt);
    model.Clear();
    EXPECT_EQ(model.Find(u"a"), std::nullopt);
}

TEST(ListModel, MakesRowsWhenTheyAreLookedAt) {
    std::vector<std::size_t> made;
    ListModel model;
    model.SetRows(4, [&](std::size_t row) {
        made.push_back(row);
        return ListRow{std::u16string(1, static_cast<char16_t>(u'a' + row)), {row % 2 == 0 ? u"2" : u"1"}};
    });
    EXPECT_EQ(model.Row(2).key, u"c");
    EXPECT_EQ(model.Row(2).key, u"c");
    EXPECT_EQ(made, std::vector<std::size_t>{2}) << "each once, and no other";
    EXPECT_EQ(model.Find(u"B"), 1U);
    model.Sort(0, true);
    EXPECT_EQ(Order(model), u"bdac");
    EXPECT_EQ(made.size(), 4U);
    model.SetRows(1, [](std::size_t) { return ListRow{u"z", {u""}}; });
    EXPECT_EQ(Order(model), u"z");
}

TEST(SplitterLimits, BetweenFarEnoughFromBothEnds) {
    constexpr int kExtent = 5000;
    const std::pair<int, bool> edges[] = {{600, false},  {601, true},  {4400, true},
                                          {4401, false}, {-50, false}, {9999, false}};
    for (const auto& [edge, accepted] : edges) EXPECT_EQ(AcceptsEdge(edge, kExtent), accepted) << edge;
    EXPECT_FALSE(AcceptsEdge(601, 1200)) << "no room for two panes";
}

}  // namespace
}  // namespace qmtrain::ui
