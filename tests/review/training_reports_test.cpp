// The history and a paper as they are exported and printed.

#include "review/training_reports.h"

#include "notes/note.h"
#include "review_fixture.h"

namespace qmtrain::review {
namespace {

class ReportsTest : public test::ReviewTest {
protected:
    static std::string Row(const std::vector<std::u16string>& cells) {
        std::string text;
        for (const std::u16string& cell : cells) text += ToUtf8(cell) + "|";
        return text;
    }
};

TEST_F(ReportsTest, TheHistoryNewestFirst) {
    AddTraining(1, 100, 59.5F);
    AddTraining(3, 40, 30, 1, 2, 65);
    AddTraining(2, 0, 0);
    const report::Report made = HistoryReport(Path(), test::kUser, test::kSubject);
    ASSERT_EQ(made.sections.size(), 1U);
    std::vector<std::string> rows;
    for (const auto& row : made.sections[0].table.rows) rows.push_back(Row(row));
    EXPECT_EQ(rows, (std::vector<std::string>{"2005-04-03 08:30|上机|00:01:05|40|30|75.0|",
                                              "2005-04-02 08:30|笔试|01:02:05|0|0|0.0|",
                                              "2005-04-01 08:30|笔试|01:02:05|100|59.5|59.5|"}));
    EXPECT_TRUE(HistoryReport(Path(), 99, -1).sections[0].table.rows.empty());
    EXPECT_THROW(HistoryReport(Path() + u"/none", -1, -1), AutomationError);
}

TEST_F(ReportsTest, APaperWithItsAnswersErrorsAndNotes) {
    AddPaper();
    Execute(u"INSERT INTO Tbl_SetUser VALUES (7, '王小明', '1')");
    Note note;
    note.ClientPath(Path());
    std::u16string problem;
    ASSERT_TRUE(note.Init(problem));
    ASSERT_TRUE(note.Add(1, u"VB", u"000101", u"我的笔记", u"第一行\r\n第二行", false, 7));
    ASSERT_TRUE(note.Add(1, u"VB", u"000201", u"别人的", u"x", false, 8));
    for (const bool is_net : {false, true}) {
        SCOPED_TRACE(is_net);
        PaperSource source = Source(is_net);
        const report::Report made = PaperReport(source);
        EXPECT_EQ(ToUtf8(made.subtitle), "王小明　2005-04-02 08:30　得分 18.5 / 44，不及格");
        ASSERT_EQ(made.sections.size(), 6U);
        EXPECT_EQ(ToUtf8(made.sections[0].heading), "1. 单项选择题　得 0.5 / 2 分");
        const std::string first = ToUtf8(made.sections[0].text.PlainText());
        for (const std::string part :
             {"标准答案：B\n考生答案：C", "错误信息：选错了", "笔记：我的笔记\n第一行\n第二行"}) {
            EXPECT_NE(first.find(part), std::string::npos) << part << " in\n" << first;
        }
        EXPECT_EQ(Row(made.data.rows[0]), "1|VB|000101|2|0.5|单项选择题|B|C|选错了|我的笔记\n第一行\r\n第二行|");
        const report::Section& rich = made.sections[4];
        const auto find_bold = [&] {
            for (const document::Paragraph& paragraph : rich.text.Paragraphs()) {
                for (const document::Run& run : paragraph.runs) {
                    if (run.text == u"4" && run.format.bold) return true;
                }
            }
            return false;
        };
        EXPECT_TRUE(find_bold()) << "what is rich in a database stays so";
        EXPECT_NE(ToUtf8(made.sections[5].text.PlainText()).find("没有题库"), std::string::npos);
        source.train_id = 77;
        EXPECT_THROW(PaperReport(source), AutomationError);
    }
}

// Ten times 0.7, added up in singles, would be 6.999999.
TEST_F(ReportsTest, APaperHasTheTotalsThatTheListShows) {
    Execute(
        u"INSERT INTO Tbl_SetUser VALUES (7, '王小明', '1');"
        u"INSERT INTO Tbl_QuestionType VALUES (1, '单项选择题', Null, '1');"
        u"INSERT INTO TrainInfo (UserId, SubjectCode, StartDate) VALUES (7, 1, #2005-04-02 08:30:00#)");
    for (int i = 0; i < 10; ++i) {
        Execute(
            u"INSERT INTO TrainResult (TrainID, QuestionType, DataCode, QuestionRecNo, QuestionScore, AnswerScore)"
            u" VALUES (1, 1, 'VB', '000101', 0.7, 0.42)");
    }
    EXPECT_EQ(ToUtf8(PaperReport(Source(false)).subtitle), "王小明　2005-04-02 08:30　得分 4.2 / 7，及格");
    EXPECT_EQ(Row(HistoryReport(Path(), -1, -1).sections[0].table.rows[0]), "2005-04-02 08:30|上机||7|4.2|60.0|");
}

}  // namespace
}  // namespace qmtrain::review
