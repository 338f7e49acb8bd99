// Marking answers.

#include "host/papers/marking.h"

#include <tuple>

#include <gtest/gtest.h>

#include "core/text.h"

namespace qmtrain::host {
namespace {

TEST(Marking, Answers) {
    struct Case {
        const char* name;
        Task task;
        std::u16string_view answer;
        float score;
        std::u16string_view error;
    };
    const Task single{QuestionKind::Single, u"2", u"", 2};
    const Task multiple{QuestionKind::Multiple, u"5", u"", 6};
    const Task yes{QuestionKind::YesNo, u"-1", u"", 3};
    const Task no{QuestionKind::YesNo, u"0", u"", 3};
    const Task fill{QuestionKind::Fill, u"a#b@C D", u"", 5};
    const Task three{QuestionKind::Fill, u"a@b@c", u"", 10};
    const Task operation{QuestionKind::Operation, u"", u"md LX#copy#+r", 40};
    const std::u16string_view none = u"没有作答。";
    const Case cases[] = {
        {"right choice", single, u"2", 2, u""},
        {"wrong choice", single, u"8", 0, u"答案错误：标准答案为 B，您的答案为 D。"},
        {"no choice", single, u"", 0, none},
        {"no letter", single, u"0", 0, none},
        {"all letters", multiple, u"5", 6, u""},
        {"a letter missing", multiple, u"4", 0, u"答案错误：标准答案为 AC，您的答案为 C。"},
        {"a letter too many", multiple, u"7", 0, u"答案错误：标准答案为 AC，您的答案为 ABC。"},
        {"right yes", yes, u"-1", 3, u""},
        {"right no", no, u"0", 3, u""},
        {"wrong no", yes, u"0", 0, u"答案错误：标准答案为 对，您的答案为 错。"},
        {"neither", yes, u"", 0, none},
        {"all blanks", fill, u"a@C D", 5, u""},
        {"another text that is accepted", fill, u"b@C D", 5, u""},
        {"letter case", fill, u"B@c d", 5, u""},
        {"blanks around", fill, u" a\t@　C D　", 5, u""},
        {"blanks within count", fill, u"a@CD", 2.5F, u"第 2 空答案错误。"},
        {"one left empty", fill, u"@C D", 2.5F, u"第 1 空没有作答。"},
        {"the last not given", fill, u"a", 2.5F, u"第 2 空没有作答。"},
        {"one too many", fill, u"a@C D@x", 5, u""},
        {"all wrong", fill, u"x@y", 0, u"第 1 空答案错误。\r\n第 2 空答案错误。"},
        {"full-width blanks only", fill, u"　@ ", 0, none},
        {"thirds", three, u"a@x@", 3.33F, u"第 2 空答案错误。\r\n第 3 空没有作答。"},
        {"two thirds", three, u"a@b@", 6.67F, u"第 3 空没有作答。"},
        {"all keywords", operation, u"MD lx\r\nCOPY a b\r\nattrib +r b", 40, u""},
        {"a keyword missing", operation, u"md LX, copy", 26.67F, u"缺少要点：+r。"},
        {"nothing written", operation, u" \r\n　", 0, none},
        {"a kind that nobody marks", {QuestionKind::Unknown, u"1", u"", 5}, u"1", 0, u""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Mark mark = MarkAnswer(c.task, c.answer);
        EXPECT_FLOAT_EQ(mark.score, c.score);
        EXPECT_EQ(ToUtf8(mark.error), ToUtf8(c.error));
        EXPECT_EQ(mark.error_xml.empty(), c.error.empty());
        EXPECT_EQ(IsAnswered(c.task.kind, 1, c.answer) != Answered::No, c.error != none);
    }
}

TEST(Marking, HowMuchIsAnswered) {
    const std::tuple<QuestionKind, int, std::u16string_view, Answered> cases[] = {
        {QuestionKind::Single, 0, u"4", Answered::Yes},       {QuestionKind::Single, 0, u"0", Answered::No},
        {QuestionKind::YesNo, 0, u"0", Answered::Yes},        {QuestionKind::YesNo, 0, u"", Answered::No},
        {QuestionKind::Fill, 2, u"", Answered::No},           {QuestionKind::Fill, 2, u" @　", Answered::No},
        {QuestionKind::Fill, 2, u"a@ ", Answered::Partly},    {QuestionKind::Fill, 2, u"@b", Answered::Partly},
        {QuestionKind::Fill, 2, u"a@b", Answered::Yes},       {QuestionKind::Fill, 3, u"a@b", Answered::Partly},
        {QuestionKind::Operation, 0, u" \r\n", Answered::No}, {QuestionKind::Operation, 0, u"md", Answered::Yes},
    };
    for (const auto& [kind, blanks, answer, answered] : cases) {
        EXPECT_EQ(IsAnswered(kind, blanks, answer), answered) << ToUtf8(answer);
    }
}

TEST(Marking, ErrorsForPrograms) {
    const Task task{QuestionKind::Operation, u"", u"<h2>#a&b", 2};
    EXPECT_EQ(ToUtf8(MarkAnswer(task, u"x").error_xml),
              "<errors><error>缺少要点：&lt;h2&gt;。</error><error>缺少要点：a&amp;b。</error></errors>");
}

}  // namespace
}  // namespace qmtrain::host
