#include "review/training_reports.h"

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "notes/note.h"
#include "records/summary_query.h"
#include "records/train_info.h"
#include "records/train_result.h"
#include "review/training_row.h"

namespace qmtrain::review {
namespace {

void Open(TrainInfo& train, std::u16string_view client_path) {
    train.ClientPath(client_path);
    std::u16string problem;
    if (!train.Init(problem)) {
        RaiseComponentError(u"qmtrain", problem.empty() ? u"无法打开练习记录数据库。" : problem);
    }
}

}  // namespace

report::Report HistoryReport(std::u16string_view client_path, std::int32_t user_id, std::int32_t subject_code) {
    TrainInfo train;
    Open(train, client_path);
    const auto rows = train.GetRecordset(TrainingsQuery(user_id, subject_code, TrainingOrder::NewestFirst));
    if (!rows) RaiseComponentError(u"qmtrain", u"无法读取练习历史。");
    report::Report made;
    made.title = u"练习历史";
    report::Section section;
    constexpr int kShares[kTrainingHeaders.size()] = {3, 1, 2, 1, 1, 2};
    for (std::size_t i = 0; i < kTrainingHeaders.size(); ++i) {
        section.table.columns.push_back({std::u16string(kTrainingHeaders[i]), kShares[i], i > kKindColumn});
    }
    const TrainingReader reader(*rows);
    for (; !rows->Eof(); rows->MoveNext()) {
        const Training training = reader.Read();
        ui::ListRow row = ToListRow(training);
        row.cells.resize(section.table.columns.size());
        row.cells[0] = Format(training.start, u"yyyy-mm-dd hh:nn");
        section.table.rows.push_back(std::move(row.cells));
    }
    made.subtitle = u"共 " + ToText(section.table.rows.size()) + u" 次练习";
    made.sections.push_back(std::move(section));
    return made;
}

report::Report PaperReport(const PaperSource& source) {
    TrainInfo train;
    Open(train, source.client_path);
    train.LoadFromID(source.train_id);
    if (train.TrainID() != source.train_id) {
        RaiseComponentError(u"qmtrain", u"没有编号为 " + ToText(source.train_id) + u" 的练习。");
    }
    TrainResult results;
    results.ClientPath(source.client_path);
    const auto rows = results.GetRecordset(source.train_id);
    if (!rows) RaiseComponentError(u"qmtrain", u"无法读取这次练习。");
    Note note;
    note.ClientPath(source.client_path);
    std::u16string problem;
    const bool has_notes = note.Init(problem);

    report::Report made;
    made.title = u"试卷回顾";
    made.data.columns = {{kPaperHeaders[kNumber]},
                         {u"题库"},
                         {u"题目编号"},
                         {kPaperHeaders[kScore]},
                         {kPaperHeaders[kGotScore]},
                         {kPaperHeaders[kTypeName]},
                         {kPaperHeaders[kStandardAnswer]},
                         {kPaperHeaders[kStudentAnswer]},
                         {u"错误信息"},
                         {u"笔记"}};
    for (std::int32_t number = 1; !rows->Eof(); rows->MoveNext()) {
        const ui::ListRow row = ReadPaperRow(*rows, number++);
        QuestionPanes panes = ShowQuestionItem(source, row);
        report::Section section;
        section.heading = row.cells[kNumber] + u". " + row.cells[kTypeName] + u"　得 " + row.cells[kGotScore] + u" / " +
                          row.cells[kScore] + u" 分";
        section.text = std::move(panes.title);
        const auto add = [&](document::RichText more) {
            section.text.EndParagraph();
            section.text.SetParagraphFormat({});
            section.text.Append(std::move(more));
        };
        if (panes.options) add(std::move(*panes.options));
        add(std::move(panes.answer));
        const std::u16string error = panes.error.PlainText();
        if (!error.empty()) report::AppendLine(section.text, u"错误信息", std::move(panes.error));
        std::u16string note_text;
        if (has_notes) {
            note.LoadFromOther(row.cells[kDataCode], row.cells[kRecNo], train.SubjectCode(), false,
                               train.TrainUser() ? train.TrainUser()->UserId() : -1);
            if (note.NoteID() != -1) note_text = note.Name() + u"\n" + note.Content();
        }
        if (!note_text.empty()) report::AppendLine(section.text, u"笔记", note_text);
        made.sections.push_back(std::move(section));
        made.data.rows.push_back({row.cells[kNumber], row.cells[kDataCode], row.cells[kRecNo], row.cells[kScore],
                                  row.cells[kGotScore], row.cells[kTypeName], row.cells[kStandardAnswer],
                                  row.cells[kStudentAnswer], error, note_text});
    }
    const auto summary = train.GetRecordset(SummaryQuery(u" And TI.TrainID=" + ToText(source.train_id)));
    if (!summary) RaiseComponentError(u"qmtrain", u"无法读取这次练习。");
    const Training training = summary->Eof() ? Training{} : TrainingReader(*summary).Read();
    if (train.TrainUser()) made.subtitle = train.TrainUser()->UserName() + u"　";
    made.subtitle += Format(train.startDate(), u"yyyy-mm-dd hh:nn") + u"　得分 " + ToText(Value(training.got_score)) +
                     u" / " + ToText(Value(training.paper_score)) + (training.Passed() ? u"，及格" : u"，不及格");
    return made;
}

}  // namespace qmtrain::review
