#include "review/paper_rows.h"

#include "bank/question_item.h"
#include "core/convert.h"
#include "core/text.h"
#include "core/trap.h"
#include "records/train_result.h"
#include "review/answer_text.h"
#include "ui/question_text.h"

namespace qmtrain::review {
namespace {

std::u16string FieldText(dao::Recordset& rows, std::u16string_view name) {
    return TextOr(rows.Fields(name).Value(), u"");
}

std::u16string ScoreText(dao::Recordset& rows, std::u16string_view name) {
    return ToText(Value(SingleOr(rows.Fields(name).Value(), 0)));
}

// A stored answer that cannot be put into words stands as it is, so that the rest of the paper is listed.
std::u16string AnswerCell(std::int32_t type, std::u16string_view type_name, const std::u16string& stored) {
    return Trapped(u"FrmViewPaper.Form_Load", stored,
                   [&](std::u16string& text) { text = GridAnswer(type, type_name, stored); });
}

ui::RichText PlainText(std::u16string_view text) {
    ui::RichText out;
    out.AppendText(text);
    return out;
}

// What is asked of an operation question may be a whole document.
ui::RichText AnswerPane(const QuestionItem& question, std::u16string_view student_answer) {
    ui::RichText pane = PlainText(u"标准答案：");
    const std::u16string& stored = question.Answer();
    pane.Append(stored.starts_with(u"{\\rtf") ? ui::StoredText(stored)
                                              : PlainText(PaneAnswer(question.QuestionType(), stored)));
    pane.EndParagraph();
    pane.AppendText(u"考生答案：" + PaneAnswer(question.QuestionType(), student_answer));
    return pane;
}

void Configure(QuestionItem& question, const PaperSource& source, const ui::ListRow& row) {
    question.IsNet(source.is_net);
    question.DataMdbPath(source.data_mdb_path);
    if (source.is_net) question.LocalPaperMdb(source.local_paper_mdb);
    question.DataCode(row.cells[kDataCode]);
    question.RecNo(row.cells[kRecNo]);
    question.SubjectCode(source.subject_code);
}

}  // namespace

ui::ListRow ReadPaperRow(dao::Recordset& rows, std::int32_t number) {
    const std::int32_t type = LongOr(rows.Fields(u"QuestionType").Value(), 0);
    const std::u16string type_name =
        QuestionTypeName(type, FieldText(rows, u"C_TestStyle"), FieldText(rows, u"SubjectCode"),
                         LongOr(rows.Fields(u"Distin").Value(), 0));
    ui::ListRow row;
    row.key = ToText(number);
    row.cells = {
        ToText(number),
        FieldText(rows, u"QuestionRecNo"),
        FieldText(rows, u"DataCode"),
        ToText(number),
        ScoreText(rows, u"QuestionScore"),
        ScoreText(rows, u"AnswerScore"),
        type_name,
        AnswerCell(type, type_name, FieldText(rows, u"Answer")),
        AnswerCell(type, type_name, FieldText(rows, u"StudentAnswer")),
    };
    return row;
}

QuestionPanes ShowQuestionItem(const PaperSource& source, const ui::ListRow& row) {
    return Trapped(u"FrmViewPaper.ShowQuestionItem", QuestionPanes(), [&](QuestionPanes& panes) {
        panes.title = PlainText(u"该试题无法显示。");
        TrainResult result;
        result.ClientPath(source.client_path);
        result.LoadTrainResultItem(source.train_id, row.cells[kDataCode], row.cells[kRecNo]);
        panes.error = ui::StoredText(result.ErrInfo());

        QuestionItem question;
        Configure(question, source, row);
        std::u16string problem;
        if (!question.InitQuestionItem(problem)) {
            panes.title = PlainText(problem);
            return;
        }
        panes.title = ui::StoredText(question.Title());
        if (question.ChoiceItems()) panes.options = ui::OptionsText(*question.ChoiceItems());
        panes.answer = AnswerPane(question, result.StudentAnswer());
    });
}

}  // namespace qmtrain::review
