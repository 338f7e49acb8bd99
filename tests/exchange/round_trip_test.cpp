// Random questions survive every format, and the bank itself.

#include <gtest/gtest.h>

#include "core/files.h"
#include "dao/dao.h"
#include "exchange/bank_rows.h"
#include "exchange/formats.h"
#include "exchange/recognition.h"
#include "random_questions.h"
#include "ui/question_text.h"

namespace qmtrain::exchange {
namespace {

struct FormatCase {
    QuestionFormat format;
    bool several_blanks;
    bool more;
};

class RoundTripTest : public testing::TestWithParam<FormatCase> {};

TEST_P(RoundTripTest, GivesTheSameQuestions) {
    const auto [format, several_blanks, more] = GetParam();
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const std::vector<Question> questions = RandomQuestions(seed).Make(25, several_blanks, more);
        std::vector<Notice> notices;
        const std::string file = WriteQuestions(questions, format, notices);
        EXPECT_TRUE(notices.empty()) << ToUtf8(notices.empty() ? u"" : notices[0].Text());
        const Import read = ReadQuestions(file, format);
        for (const Notice& notice : read.notices) {
            EXPECT_NE(notice.kind, Notice::Kind::Error) << ToUtf8(notice.Text());
        }
        ASSERT_EQ(read.questions.size(), questions.size()) << "seed " << seed;
        for (std::size_t i = 0; i < questions.size(); ++i) {
            ASSERT_EQ(Shown(read.questions[i]), Shown(questions[i])) << "seed " << seed << " question " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, RoundTripTest,
                         testing::Values(FormatCase{QuestionFormat::Gift, false, false},
                                         FormatCase{QuestionFormat::Csv, true, true},
                                         FormatCase{QuestionFormat::MoodleXml, true, true}),
                         [](const auto& info) {
                             return info.param.format == QuestionFormat::Gift  ? "Gift"
                                    : info.param.format == QuestionFormat::Csv ? "Csv"
                                                                               : "MoodleXml";
                         });

// The bank's own category stays as it is stored, whatever signs of paths it has.
TEST(Categories, ComeBackFromEveryFormat) {
    for (const char16_t* category : {u"I／O/接口", u"a//b", u"a / b/", u"top/x", u"$x$", u"$course$/top", u"／", u"//x",
                                     u"a/／/b", u"两\n行", u" / "}) {
        Question question;
        question.kind = QuestionKind::YesNo;
        question.stem = PlainRichText(u"甲");
        question.category = category;
        for (const QuestionFormat format : {QuestionFormat::Gift, QuestionFormat::MoodleXml, QuestionFormat::Csv}) {
            std::vector<Notice> notices;
            const Import read = ReadQuestions(WriteQuestions(std::span(&question, 1), format, notices), format);
            ASSERT_EQ(read.questions.size(), 1U) << ToUtf8(category);
            const Recognition again = Recognise(std::span(&question, 1), read.questions);
            EXPECT_EQ(again.Count(Recognised::As::Same), 1U)
                << ToUtf8(NameOf(format)) << ": " << ToUtf8(category) << ", " << ToUtf8(read.questions[0].category);
        }
    }
}

// A choice without options would be an essay in GIFT. A sheet is where it can be completed.
TEST(Incomplete, IsNotWrittenAsSomethingElse) {
    std::vector<Question> questions(5);
    for (Question& question : questions) question.stem = PlainRichText(u"甲");
    for (std::size_t i = 0; i < questions.size(); ++i) questions[i].rec_no = u"DS0" + ToText(static_cast<int>(i));
    questions[1].kind = QuestionKind::Multiple;
    questions[1].options = {{PlainRichText(u"一"), false}, {PlainRichText(u"二"), false}};
    questions[2].kind = QuestionKind::Fill;
    questions[3].kind = QuestionKind::Fill;
    questions[3].blanks = {{u""}};
    questions[4].kind = QuestionKind::YesNo;
    for (const QuestionFormat format : {QuestionFormat::Gift, QuestionFormat::MoodleXml, QuestionFormat::Csv}) {
        std::vector<Notice> notices;
        const std::string file = WriteQuestions(questions, format, notices);
        ASSERT_EQ(notices.size(), 4U) << ToUtf8(NameOf(format));
        EXPECT_EQ(ToUtf8(notices[0].Text()), format == QuestionFormat::Csv
                                                 ? "“DS00”：选择项少于两个。再导入以前请在表格中补全。"
                                                 : "“DS00”：略过：选择项少于两个。");
        const Import read = ReadQuestions(file, format);
        EXPECT_EQ(Shown(Import{read.questions, {}}), "是非题|甲|错|编号:DS04\n") << ToUtf8(NameOf(format));
        EXPECT_EQ(read.Count(Notice::Kind::Error), format == QuestionFormat::Csv ? 4U : 0U);
    }
}

// Drawing orders, as old rich-text boxes stored formulas: kept through every format, and reported.
TEST(Metafiles, ComeBackFromEveryFormat) {
    Bytes drawing = {1, 0, 9, 0, 0, 3,    14, 0, 0, 0, 0, 0, 5, 0, 0, 0, 0,
                     0, 5, 0, 0, 0, 0x13, 2,  1, 0, 2, 0, 3, 0, 0, 0, 0, 0};
    Question question;
    question.stem = PlainRichText(u"图");
    question.stem.AppendPicture({document::Picture::Kind::Metafile, drawing, 600, 300});
    question.options = {{PlainRichText(u"一"), true}, {PlainRichText(u"二"), false}};
    for (const QuestionFormat format : {QuestionFormat::Gift, QuestionFormat::Csv, QuestionFormat::MoodleXml}) {
        std::vector<Notice> notices;
        const std::string file = WriteQuestions(std::span(&question, 1), format, notices);
        ASSERT_EQ(notices.size(), 1U);
        EXPECT_NE(ToUtf8(notices[0].text).find("WMF"), std::string::npos);
        const Import read = ReadQuestions(file, format);
        ASSERT_EQ(read.questions.size(), 1U) << ToUtf8(NameOf(format));
        EXPECT_EQ(read.questions[0].stem, Canonical(question.stem)) << ToUtf8(NameOf(format));
    }
}

// As the windows read it: "^p" in a text is no paragraph's end there, and a text that looks like RTF is none.
TEST(StoredText, IsShownAsItWas) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        for (const Question& question : RandomQuestions(seed).Make(20, true, true)) {
            EXPECT_EQ(Canonical(ui::StoredText(StoredText(question.stem))), Canonical(question.stem));
        }
    }
    for (const char16_t* text : {u"{\\rtf1 x}", u" {\\rtf", u"a^pb", u"两\n行"}) {
        EXPECT_EQ(Canonical(ui::StoredText(StoredText(PlainRichText(text)))), Canonical(PlainRichText(text)))
            << ToUtf8(text);
    }
}

}  // namespace
}  // namespace qmtrain::exchange
