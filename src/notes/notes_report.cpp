#include "notes/notes_report.h"

#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "ui/client_problem.h"

namespace qmtrain::notes {

report::Report NotesReport(const NotesSource& source) {
    const auto note = InitNoteObject(source);
    if (!note) RaiseComponentError(u"qmtrain", u"无法打开笔记。");
    std::optional<AutomationError> problem;
    const std::vector<BankNode> banks = LoadAllNotes(source, *note, &problem);
    if (problem) RaiseComponentError(u"qmtrain", ui::ClientProblem(*problem));
    report::Report made;
    made.title = u"笔记";
    made.data.columns = {{u"题库"},
                         {u"题目编号"},
                         {kBankColumns[kNameColumn]},
                         {u"内容"},
                         {kBankColumns[kCreateDateColumn]},
                         {kBankColumns[kViewTimesColumn]}};
    for (const BankNode& bank : banks) {
        for (const NoteNode& node : bank.notes) {
            if (!note->LoadFromID(node.id, false, source.user_id)) continue;
            const std::u16string date = Format(note->CreateDate(), u"yyyy-mm-dd");
            report::Section section;
            section.heading = note->Name();
            section.text = GetQuestionItem(source, *note).text;
            report::AppendLine(section.text, u"笔记", note->Content());
            report::AppendLine(section.text, u"题库", bank.text + u"　" + note->QuestionRecNo() + u"　" + date);
            made.sections.push_back(std::move(section));
            made.data.rows.push_back(
                {bank.text, note->QuestionRecNo(), note->Name(), note->Content(), date, ToText(note->ViewTimes())});
        }
    }
    made.subtitle = u"共 " + ToText(made.data.rows.size()) + u" 条";
    return made;
}

}  // namespace qmtrain::notes
