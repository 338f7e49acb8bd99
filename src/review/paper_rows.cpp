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

document::RichText PlainText(std::u16string_view text) {
    document::RichText out;
    out.AppendText(text);
    return out;
}

// A stored answer that cannot be put into words stands as it is, so that the rest of the paper is listed. It may be a
// whole document.
document::RichText AnswerText(std::int32_t type, AnswerKind kind, std::u16string_view stored) {
    if (ui::IsRtf(stored)) return ui::StoredText(stored);
    return PlainText(Trapped(u"FrmViewPaper.Form_Load", std::u16string(stored),
                             [&](std::u16string& text) { text = ShownAnswer(type, kind, stored); }));
}

document::RichText AnswerPane(std::int32_t type, AnswerKind kind, std::u16string_view answer,
                              std::u16string_view student_answer) {
    document::RichText pane = PlainText(u"标准答案：");
    pane.Append(AnswerText(type, kind, answer));
    pane.EndParagraph();
    pane.AppendText(u"考生答案：");
    pane.Append(AnswerText(type, kind, student_answer));
    return pane;
}

std::int32_t NumberOr(std::u16string_view text, std::int32_t otherwise) {
    return IsNumeric(text) ? ToLong(text) : otherwise;
}

void Configure(QuestionItem& question, const PaperSource& source, const ui::ListRow& row) {
    question.IsNet(source.is_net);
    question.DataMdbPath(source.data_mdb_path);
    if (source.is_net) question.LocalPaperMdb(source.local_paper_mdb);
    question.DataCode(row.cells[kDataCode]);
    question.RecNo(row.cells[kRecNo]);
    const bool any_subject = source.subject_code == -1;
    question.SubjectCode(any_subject ? NumberOr(row.cells[kSubject], -1) : source.subject_code);
}

}  // namespace

ui::ListRow ReadPaperRow(dao::Recordset& rows, std::int32_t number) {
    const std::int32_t type = LongOr(rows.Fields(u"QuestionType").Value(), 0);
    const std::u16string subject = FieldText(rows, u"SubjectCode");  // of the type, and so of the training
    const std::u16string type_name =
        QuestionTypeName(type, FieldText(rows, u"C_TestStyle"), subject, LongOr(rows.Fields(u"Distin").Value(), 0));
    const AnswerKind kind = KindOfType(type, type_name);
    const std::u16string answer = FieldText(rows, u"Answer");
    const std::u16string student_answer = FieldText(rows, u"StudentAnswer");
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
        AnswerText(type, kind, answer).PlainText(),
        AnswerText(type, kind, student_answer).PlainText(),
        ToText(type),
        subject,
        answer,
        student_answer,
    };
    return row;
}

QuestionPanes ShowQuestionItem(const PaperSource& source, const ui::ListRow& row) {
    return Trapped(u"FrmViewPaper.ShowQuestionItem", QuestionPanes(), [&](QuestionPanes& panes) {
        panes.title = PlainText(u"该试题无法显示。");
        const std::int32_t type = NumberOr(row.cells[kTypeNumber], 0);
        std::u16string student_answer = row.cells[kStoredStudentAnswer];
        panes.answer =
            AnswerPane(type, KindOfType(type, row.cells[kTypeName]), row.cells[kStoredAnswer], student_answer);
        TrainResult result;
        result.ClientPath(source.client_path);
        result.LoadTrainResultItem(source.train_id, row.cells[kDataCode], row.cells[kRecNo]);
        if (result.TrainID() == source.train_id) student_answer = result.StudentAnswer();
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
        panes.answer = AnswerPane(type, KindOfQuestion(question.Kind()), question.Answer(), student_answer);
    });
}

}  // namespace qmtrain::review
