// A training's questions as the paper review lists and shows them, from real databases.

#include "review/paper_rows.h"

#include "records/train_result.h"
#include "review_fixture.h"

namespace qmtrain::review {
namespace {

class PaperRowsTest : public test::ReviewTest {
protected:
    PaperRowsTest() { AddPaper(); }

    std::vector<ui::ListRow> Rows() const {
        TrainResult results;
        results.ClientPath(Path());
        const auto rows = results.GetRecordset(1);
        std::vector<ui::ListRow> list;
        for (; !rows->Eof(); rows->MoveNext()) {
            list.push_back(ReadPaperRow(*rows, static_cast<std::int32_t>(list.size()) + 1));
        }
        return list;
    }

    static ui::ListRow RowOf(std::u16string_view code, std::u16string_view rec_no) {
        ui::ListRow row;
        row.cells.resize(kPaperCells);
        row.cells[kTypeNumber] = rec_no == u"000501" ? u"30" : u"1";
        row.cells[kDataCode] = code;
        row.cells[kRecNo] = rec_no;
        return row;
    }

    std::vector<std::string> FailedFunctions() const {
        std::vector<std::string> functions;
        for (const test::LogEntry& entry : Log()) functions.push_back(entry.function);
        return functions;
    }
};

TEST_F(PaperRowsTest, CellsOfEachKindOfQuestion) {
    std::vector<std::string> shown;
    for (const ui::ListRow& row : Rows()) {
        std::string text = ToUtf8(row.key);
        for (std::size_t column = 0; column < kPaperColumns; ++column) text += "|" + ToUtf8(row.cells[column]);
        shown.push_back(text);
    }
    EXPECT_EQ(shown, (std::vector<std::string>{
                         "1|1|000101|VB|1|2|0.5|单项选择题|B|C",
                         "2|2|000401|VB|2|4|2|填空题|a 或 b 与 c|a 与 ",
                         "3|3|000301|VB|3|2|0|判断题|对|错",
                         "4|4|000201|VB|4|4|4|多项选择题|AC|AC",
                         "5|5|000501|VB|5|16|12|简单应用题||",
                         "6|6|000501|NO|6|16|0|综合应用题||",
                     }));
}

// One answer that cannot be put into words must not cost the rest of the paper.
TEST_F(PaperRowsTest, AnAnswerBeyondAllLettersIsShownAsItIs) {
    Execute(u"UPDATE TrainResult SET StudentAnswer='99999999999' WHERE QuestionType=1");
    EXPECT_EQ(Rows()[0].cells[kStudentAnswer], u"99999999999");
    EXPECT_EQ(Rows().size(), 6U);
}

TEST_F(PaperRowsTest, AnswersMayBeDocuments) {
    Execute(
        u"UPDATE TrainResult SET Answer='{\\rtf1 第{\\b 一}\\par 第二\\par }', StudentAnswer='甲' & Chr(10) & '{乙}'"
        u" WHERE QuestionType=11");
    const ui::ListRow row = Rows()[1];
    EXPECT_EQ(row.cells[kStandardAnswer], u"第一\n第二");
    PaperSource gone = Source(true);
    gone.local_paper_mdb += u"x";
    const QuestionPanes panes = ShowQuestionItem(gone, row);
    EXPECT_EQ(panes.answer.PlainText(), u"标准答案：第一\n第二\n考生答案：甲\n{乙}");
    EXPECT_TRUE(panes.answer.Paragraphs()[0].runs[1].format.bold);
}

TEST_F(PaperRowsTest, AnySubjectIsThatOfTheTraining) {
    PaperSource source = Source(true);
    source.subject_code = -1;
    const QuestionPanes panes = ShowQuestionItem(source, Rows()[0]);
    EXPECT_EQ(panes.title.PlainText(), u"请  选择");
    EXPECT_EQ(panes.answer.PlainText(), u"标准答案：B\n考生答案：C");
}

TEST_F(PaperRowsTest, PanesInBothEditions) {
    struct Case {
        const char16_t* code;
        const char16_t* rec_no;
        std::u16string title;
        std::u16string options;  // in the network edition; the other one has none
        std::u16string answer;
        std::u16string error;
    };
    const Case cases[] = {
        {u"VB", u"000101", u"请  选择", u"选择项:\nA. 甲、\nB. 乙 ", u"标准答案：B\n考生答案：C", u"选错了"},
        {u"VB", u"000201", u"多选\n题干", u"选择项:", u"标准答案：AC\n考生答案：AC", u""},
        {u"VB", u"000301", u"是非题干", u"none", u"标准答案：对\n考生答案：错", u""},
        {u"VB", u"000401", u"填空题干", u"none", u"标准答案：a 或 b 与 c\n考生答案：a 与 ", u""},
        {u"VB", u"000501", u"操作题干", u"none", u"标准答案：把 a 改名\n考生答案：", u"扣 4 分"},
        {u"VB", u"000199", u"", u"选择项:", u"标准答案：\n考生答案：", u""},  // neither in the bank nor in the training
    };
    for (const bool is_net : {true, false}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(ToUtf8(c.rec_no) + (is_net ? ", network" : ", stand-alone"));
            const QuestionPanes panes = ShowQuestionItem(Source(is_net), RowOf(c.code, c.rec_no));
            EXPECT_EQ(panes.title.PlainText(), c.title);
            EXPECT_EQ(panes.options ? panes.options->PlainText() : u"none", is_net ? c.options : u"none");
            EXPECT_EQ(panes.answer.PlainText(), c.answer);
            EXPECT_EQ(panes.error.PlainText(), c.error);
        }
    }
}

TEST_F(PaperRowsTest, WhatCannotBeLoadedSaysSoAndKeepsTheRest) {
    const std::u16string no_bank = u"无法完成对题库的初始化!所对应的题库可能不存或者题库已损坏!";
    Execute(u"UPDATE TrainResult SET Answer='要求', StudentAnswer='a#b' WHERE DataCode='NO'");
    QuestionPanes panes = ShowQuestionItem(Source(false), Rows()[5]);
    EXPECT_EQ(panes.title.PlainText(), no_bank);
    EXPECT_EQ(panes.answer.PlainText(), u"标准答案：要求\n考生答案：a 或 b");
    EXPECT_EQ(panes.error.PlainText(), u"没有题库");

    PaperSource no_file = Source(true);
    no_file.local_paper_mdb += u"x";
    const std::size_t logged = Log().size();
    panes = ShowQuestionItem(no_file, Rows()[0]);
    EXPECT_EQ(panes.title.PlainText(), u"该试题无法显示。");
    EXPECT_EQ(panes.answer.PlainText(), u"标准答案：B\n考生答案：C");
    EXPECT_EQ(panes.error.PlainText(), u"选错了");
    ASSERT_EQ(Log().size(), logged + 1);
    EXPECT_EQ(Log().back().function, "FrmViewPaper.ShowQuestionItem");

    PaperSource no_client = Source(true);
    no_client.client_path += u"/no";
    panes = ShowQuestionItem(no_client, Rows()[2]);
    EXPECT_EQ(panes.answer.PlainText(), u"标准答案：对\n考生答案：错");
}

}  // namespace
}  // namespace qmtrain::review
