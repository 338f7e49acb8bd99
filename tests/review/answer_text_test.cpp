// Names of question types, and answers as the paper review shows them.

#include "review/answer_text.h"

#include <gtest/gtest.h>

#include "core/text.h"
#include "review/paper_layout.h"

namespace qmtrain::review {
namespace {

TEST(QuestionTypeName, ByTypeThenSubjectThenDistinction) {
    struct Case {
        std::int32_t type;
        std::int32_t distin;
        const char16_t* subject;
        std::u16string name;
    };
    const Case cases[] = {
        {1, 1, u"4", u"型"},
        {26, 9, u"x", u"型"},
        {27, 9, u"", u"型"},
        {2, 1, u"1", u"基本操作题"},
        {2, 2, u"9", u"简单应用题"},
        {2, 3, u"10", u"综合应用题"},
        {2, 0, u"1", u""},
        {28, 9, u"2", u"型"},
        {28, 9, u"4", u"程序设计题"},
        {28, 1, u"7", u"程序设计题"},
        {28, 2, u"8", u"程序修改题"},
        {28, -1, u"8", u""},
        {28, 1, u"13", u""},
        {28, 1, u"", u""},
        {28, 1, u"一级", u""},
        {28, 2, u" 8 ", u"程序修改题"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(QuestionTypeName(c.type, u"型", c.subject, c.distin), c.name)
            << c.type << " " << ToUtf8(c.subject) << " " << c.distin;
    }
}

TEST(AnswerText, InTheGrid) {
    struct Case {
        const char* name;
        std::int32_t type;
        const char16_t* type_name;
        const char16_t* stored;
        std::u16string text;
    };
    const Case cases[] = {
        {"blanks with alternatives", 28, u"程序设计题", u"a#b@c", u"a 或 b 与 c"},
        {"markers in any number", 28, u"", u"[YN]a[NN]b[YY]c[YN][NN]", u"abc"},
        {"a marker that another one leaves", 28, u"", u"[N[YY]N]x", u"x"},  // the last of the four takes it
        {"no other marker", 28, u"", u"[NY]a[yn]", u"[NY]a[yn]"},
        {"no type", 0, u"", u"a@b", u"a 与 b"},
        {"empty blanks", 28, u"", u"@a@", u" 与 a 与 "},
        {"minus one is text there", 28, u"", u"-1", u"-1"},
        {"a single choice", 1, u"单项选择题", u"2", u"B"},
        {"several letters", 27, u"多项选择题", u"5", u"AC"},
        {"letters already", 1, u"单选题", u"C", u"C"},
        {"no choice", 1, u"单选题", u"0", u""},
        {"right", 26, u"判断题", u"-1", u"对"},
        {"wrong", 26, u"判断题", u"0", u"错"},
        {"wrong in other words", 26, u"是非题", u"x", u"错"},
        {"right whatever the name", 11, u"填空题", u"-1", u"对"},
        {"a fill-in", 11, u"填空题", u"11001#011001@19", u"11001 或 011001 与 19"},
        {"empty", 26, u"判断题", u"", u""},
        {"empty fill-in", 28, u"", u"", u""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ShownAnswer(c.type, KindOfType(c.type, c.type_name), c.stored), c.text) << c.name;
    }
}

TEST(AnswerText, BesideTheQuestion) {
    struct Case {
        std::int32_t type;
        QuestionKind kind;
        const char16_t* stored;
        std::u16string text;
    };
    for (const Case& c :
         {Case{1, QuestionKind::Single, u"8", u"D"}, Case{27, QuestionKind::Multiple, u"3", u"AB"},
          Case{1, QuestionKind::Single, u"A", u"A"}, Case{1, QuestionKind::Single, u"0", u""},
          Case{30, QuestionKind::Single, u"2", u"B"}, Case{1, QuestionKind::Single, u"", u""},
          Case{26, QuestionKind::YesNo, u"-1", u"对"}, Case{26, QuestionKind::YesNo, u"0", u"错"},
          Case{26, QuestionKind::YesNo, u"", u""}, Case{11, QuestionKind::Fill, u"a#b@c", u"a 或 b 与 c"},
          Case{30, QuestionKind::Operation, u"[YY]x", u"x"},
          // As in the grid.
          Case{11, QuestionKind::Fill, u"-1", u"对"}, Case{30, QuestionKind::Operation, u"-1", u"-1"}}) {
        const std::string shown = ToUtf8(KindName(c.kind)) + " " + ToUtf8(c.stored);
        EXPECT_EQ(ShownAnswer(c.type, KindOfQuestion(c.kind), c.stored), c.text) << shown;
        EXPECT_TRUE(c.type == 30 || PaneAnswer(c.kind, c.stored) == c.text) << shown;
    }
}

TEST(PaperLayout, WindowIsNotNarrowerThan9600) {
    const std::pair<FormSize, FormSize> cases[] = {{{8000, 5000}, {9600, 5000}},
                                                   {{9600, 7000}, {9600, 7000}},
                                                   {{9599, 6999}, {9600, 6999}},
                                                   {{9601, 0}, {9601, 0}}};
    for (const auto& [wanted, allowed] : cases) EXPECT_EQ(AllowedSize(wanted), allowed) << wanted.width;
}

}  // namespace
}  // namespace qmtrain::review
