#include "notes/note_lists.h"

#include "bank/question_item.h"
#include "core/text.h"
#include "core/trap.h"
#include "notes/note_texts.h"
#include "ui/question_text.h"

namespace qmtrain::notes {

std::vector<ui::ListRow> RootRows(const std::vector<BankNode>& banks) {
    std::vector<ui::ListRow> rows;
    rows.reserve(banks.size());
    for (const BankNode& bank : banks) {
        rows.push_back({BankKey(bank.data_code), {bank.text, ToText(bank.notes.size())}, kBankIcon, false});
    }
    return rows;
}

std::vector<ui::ListRow> BankRows(const BankNode& bank, Note& note, std::int32_t user_id) {
    std::vector<ui::ListRow> rows;
    for (const NoteNode& node : bank.notes) {
        if (!note.LoadFromID(node.id, false, user_id)) continue;  // deleted meanwhile
        rows.push_back({NoteKey(node.id),
                        {node.text, ToText(note.ViewTimes()), CreateDateText(note.CreateDate())},
                        kNoteIcon,
                        false});
    }
    return rows;
}

NoteQuestion GetQuestionItem(const NotesSource& source, const Note& note) {
    return Trapped(u"FrmNotes.GetQuestionItem", NoteQuestion(), [&](NoteQuestion& result) {
        result.text.AppendText(u"该试题无法显示。");
        QuestionItem question;
        question.DataCode(note.DataCode());
        question.IsNet(source.is_net);
        question.DataMdbPath(source.data_mdb_path);
        if (source.is_net) question.LocalPaperMdb(source.local_paper_mdb);
        question.SubjectCode(source.subject_code == -1 ? note.mSubjectCode() : source.subject_code);
        question.RecNo(note.QuestionRecNo());
        std::u16string problem;
        if (!question.InitQuestionItem(problem)) {
            result.text = {};
            result.text.AppendText(problem);
            return;
        }
        result.kind = question.Kind();
        result.answer = question.Answer();
        result.text = ui::QuestionText(question.Title(), question.ChoiceItems().get());
        result.loaded = true;
    });
}

}  // namespace qmtrain::notes
