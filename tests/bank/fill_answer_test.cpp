// Parsing of fill-in answers, and the collection that holds options.

#include "bank/fill_answer.h"

#include <gtest/gtest.h>

#include "bank/text_collection.h"
#include "core/error.h"

namespace qmtrain {
namespace {

using Texts = std::vector<std::u16string>;

// The number of the error that the body raises, 0 for none.
template <class Body>
std::int32_t NumberOf(Body body) {
    try {
        body();
    } catch (const AutomationError& error) {
        return error.Number();
    }
    return 0;
}

TEST(FillAnswer, BlanksAndTheirAlternatives) {
    struct Case {
        const char* name;
        std::u16string answer;
        std::vector<Texts> blanks;
        std::u16string text;
    };
    const Case cases[] = {
        {"two blanks",
         u"北京#Beijing@1949",
         {{u"北京", u"Beijing"}, {u"1949"}},
         u"第[1]空答案：[北京]或[Beijing]\r\n第[2]空答案：[1949]"},
        {"one blank", u"A#B", {{u"A", u"B"}}, u"答案：[A]或[B]"},
        {"an empty alternative", u"A##B", {{u"A", u"", u"B"}}, u"答案：[A]或[]或[B]"},
        {"nothing", u"", {{u""}}, u"答案：[]"},
        {"an empty last alternative", u"A#", {{u"A", u""}}, u"答案：[A]或[]"},
        {"an empty last blank", u"A@", {{u"A"}, {u""}}, u"第[1]空答案：[A]\r\n第[2]空答案：[]"},
        {"only empty blanks", u"@@", {{u""}, {u""}, {u""}}, u"第[1]空答案：[]\r\n第[2]空答案：[]\r\n第[3]空答案：[]"},
        {"markers stay",
         u"[YN]x[NN]#[YY]@ y ",
         {{u"[YN]x[NN]", u"[YY]"}, {u" y "}},
         u"第[1]空答案：[[YN]x[NN]]或[[YY]]\r\n第[2]空答案：[ y ]"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FillAnswer answer;
        answer.InitClass(c.answer);
        EXPECT_EQ(answer.GetFillCount(), static_cast<std::int32_t>(c.blanks.size()));
        EXPECT_EQ(answer.ToString(), c.text);
        Texts texts = {u"before"};
        for (std::size_t i = 0; i < c.blanks.size(); ++i) {
            EXPECT_TRUE(answer.GetAnswer(static_cast<std::int32_t>(i) + 1, texts));
            EXPECT_EQ(texts, c.blanks[i]);
        }
        texts = {u"before"};
        EXPECT_FALSE(answer.GetAnswer(static_cast<std::int32_t>(c.blanks.size()) + 1, texts));
        EXPECT_EQ(texts, Texts{u"before"});
        for (const std::int32_t number : {0, -1, INT32_MIN}) {
            EXPECT_EQ(NumberOf([&] { answer.GetAnswer(number, texts); }), 9);
        }
        EXPECT_EQ(texts, Texts{u"before"});
    }
}

TEST(TextCollection, KeysAndPlaces) {
    TextCollection options;
    options.Add(u"甲", u"B");
    options.Add(u"乙", u"A");
    options.Add(u"", u"");
    EXPECT_EQ(NumberOf([&] { options.Add(u"again", u"a"); }), 457);
    EXPECT_EQ(NumberOf([&] { options.Add(u"again", u""); }), 457);
    EXPECT_EQ(NumberOf([&] { options.Item(u"C"); }), 5);
    EXPECT_EQ(NumberOf([&] { options.Remove(u"C"); }), 5);
    for (const std::int32_t place : {0, -1, 4}) {
        EXPECT_EQ(NumberOf([&] { options.Item(place); }), 9);
        EXPECT_EQ(NumberOf([&] { options.Remove(place); }), 9);
    }
    EXPECT_EQ(options.Item(u"b") + options.Item(2), u"甲乙");
    options.Remove(u"b");
    options.Remove(1);
    options.Add(u"新", u"A");
    Texts items;
    for (const auto& [key, item] : options) items.insert(items.end(), {key, item});
    EXPECT_EQ(items, (Texts{u"", u"", u"A", u"新"}));
}

}  // namespace
}  // namespace qmtrain
