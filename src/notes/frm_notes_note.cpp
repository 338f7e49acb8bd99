// The note that the notes manager shows: changing, saving and deleting it.

#include <algorithm>

#include "core/log.h"
#include "core/text.h"
#include "core/trap.h"
#include "notes/frm_notes.h"
#include "notes/note_texts.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::notes {
namespace {

// "" when nothing has failed but a note was not there.
std::u16string ReasonOf(const TrapWatch& watch) {
    return watch.First() ? watch.First()->Description() : std::u16string();
}

}  // namespace

void FrmNotes::LeavePreviousNode() {
    const wxTreeItemId previous = NodeOf(selected_key_);
    if (!editing_.Leave() || !previous.IsOk()) return;
    const std::u16string question = SaveQuestion(ui::FromWx(TvNotes->GetItemText(previous)));
    if (ui::AskYesNo(this, question, kSaveTitle) != ui::DialogResult::Yes) return;
    SaveModifyNote(selected_key_);
    editing_.SavedOnLeaving();
}

// Unlike selecting another node, closing discards the text for good: so it can be cancelled, and a text that cannot be
// saved keeps the window open on its note.
bool FrmNotes::MayClose() {
    const wxTreeItemId node = NodeOf(selected_key_);
    if (!editing_.Unsaved() || !node.IsOk()) return true;
    const std::u16string question = SaveQuestion(ui::FromWx(TvNotes->GetItemText(node)));
    const ui::DialogResult answer = ui::AskYesNoCancel(this, question, kSaveTitle);
    return answer == ui::DialogResult::No || (answer == ui::DialogResult::Yes && SaveModifyNote(selected_key_));
}

bool FrmNotes::MakeNoteObject() {
    if (!note_) note_ = InitNoteObject(source_);
    return note_ != nullptr;
}

// False when the pane still shows what it showed before.
bool FrmNotes::ShowNote(const std::u16string& key) {
    return Trapped(u"FrmNotes.ShowNote", false, [&](bool& shown) {
        LblNoteName->SetLabelText(TvNotes->GetItemText(NodeOf(key)));
        LblNoteName->Show();
        const auto id = NoteOf(key);
        if (!id || !MakeNoteObject() || !note_->LoadFromID(*id, true, source_.user_id)) return;
        TxtNote->ChangeValue(ui::ToWx(note_->Content()));
        date_text_ = CreateDateText(note_->CreateDate());
        LblViewTimes->SetLabelText(ui::ToWx(ViewTimesText(note_->ViewTimes())));
        TxtNoteName->ChangeValue(ui::ToWx(note_->Name()));
        shown = true;
        ShowQuestion();
    });
}

void FrmNotes::ShowQuestion() {
    const bool now = BtnViewAnswer->IsShown();
    question_ = GetQuestionItem(source_, *note_);
    const bool known = question_.kind != QuestionKind::Unknown;
    std::u16string type;
    if (question_.loaded) type.append(u"试题类型：").append(known ? KindName(question_.kind) : u"");
    LblQuestionType->SetLabelText(ui::ToWx(type));
    BtnViewAnswer->Show(question_.loaded && ShowsAnswerButton(question_.kind, now));
    RtfQuestion->SetText(question_.text);
}

void FrmNotes::BtnViewAnswer_Click() {
    Trapped(u"FrmNotes.BtnViewAnswer_Click", [&] {
        const std::u16string text = AnswerText(question_.kind, question_.answer);
        if (!text.empty()) ui::Inform(this, text, kAnswerTitle);
    });
}

void FrmNotes::ToolbarNotes_ButtonClick(std::u16string_view key) {
    const std::u16string button = ToUpper(key);
    if (button == u"MODIFY") Modify();
    if (button == u"SAVE") Save();
    if (button == u"DELETE") DeleteNote();
    // "PRE" and "NEXT" are there and do nothing.
}

void FrmNotes::Modify() {
    editing_.Modify();
    SayFailed({});
    ApplyEditing();
    TxtNoteName->SetFocus();
}

void FrmNotes::Save() {
    editing_.Save();
    if (!SaveModifyNote(SelectedKey())) editing_.SaveFailed();
    ApplyEditing();
}

// False when what was typed is not in the database; a grey line says so then.
bool FrmNotes::SaveModifyNote(const std::u16string& key) {
    const TrapWatch watch;
    const auto id = NoteOf(key);
    if (!id) return true;
    const bool saved = Trapped(u"SaveModifyNote", false, [&](bool& result) {
        if (!MakeNoteObject() || !note_->LoadFromID(*id, false, source_.user_id)) return;
        note_->Name(ui::FromWx(TxtNoteName->GetValue()));
        note_->Content(ui::StoredLines(TxtNote->GetValue()));
        note_->ViewTimes(note_->ViewTimes() - 1);  // writing is not viewing
        result = note_->Update();
    });
    const std::u16string name = ShortName(ui::FromWx(TxtNoteName->GetValue()));
    TvNotes->SetItemText(NodeOf(key), ui::ToWx(ui::CellText(name)));
    LblNoteName->SetLabelText(ui::ToWx(name));
    for (BankNode& bank : banks_) {
        for (NoteNode& node : bank.notes) {
            if (node.id == *id) node.text = name;
        }
    }
    WriteLog(kLogError, SaveLogText(*id, saved), u"SaveModifyNote");
    SayFailed(saved ? u"" : NotSavedText(name, ReasonOf(watch)));
    return saved;
}

void FrmNotes::SayFailed(std::u16string_view text) {
    if (text.empty() && !LblFailed->IsShown()) return;
    LblFailed->SetLabelText(ui::ToWx(text));
    LblFailed->SetToolTip(ui::ToWx(text));
    LblFailed->Show(!text.empty());
    PicRight->Layout();
}

void FrmNotes::DeleteNote() {
    Trapped(u"FrmNotes.DeleteNote", [&] {
        const std::u16string key = SelectedKey();
        const wxTreeItemId node = NodeOf(key);
        if (!node.IsOk() || KindOf(key) != NodeKind::Note) return;
        const std::u16string question = DeleteQuestion(ui::FromWx(TvNotes->GetItemText(node)));
        if (ui::AskYesNo(this, question, kDeleteTitle, ui::DialogResult::No) != ui::DialogResult::Yes) return;
        const auto id = NoteOf(key);
        if (!id || !MakeNoteObject()) return;
        const TrapWatch watch;
        if (!note_->Delete(*id) && (watch.First() || note_->LoadFromID(*id, false, -1))) {  // it stays in the tree, too
            return SayFailed(NotDeletedText(ui::FromWx(TvNotes->GetItemText(node)), ReasonOf(watch)));
        }
        wxTreeItemId next = TvNotes->GetNextSibling(node);
        if (!next.IsOk()) next = TvNotes->GetPrevSibling(node);
        if (!next.IsOk()) next = TvNotes->GetItemParent(node);
        const std::u16string next_key = KeyOf(next);
        editing_.Deleted();
        ForgetNote(key);
        SelectKey(next_key);
    });
}

void FrmNotes::ForgetNote(const std::u16string& key) {
    const auto id = NoteOf(key);
    filling_ = true;
    TvNotes->Delete(NodeOf(key));
    filling_ = false;
    nodes_.erase(FoldName(key));
    for (BankNode& bank : banks_) std::erase_if(bank.notes, [&](const NoteNode& node) { return node.id == id; });
    ShowCount();
}

// Puts the controls into the state that the editing is in.
void FrmNotes::ApplyEditing() {
    ToolbarNotes->EnableTool(ToolId(u"Modify"), editing_.ModifyEnabled());
    ToolbarNotes->EnableTool(ToolId(u"Save"), editing_.SaveEnabled());
    ToolbarNotes->EnableTool(ToolId(u"Delete"), editing_.DeleteEnabled());
    TxtNote->SetEditable(!editing_.TextLocked());
    if (!editing_.NameShown() && TxtNoteName->HasFocus()) TxtNote->SetFocus();
    TxtNoteName->Show(editing_.NameShown());
    LblNoteCreateDate->SetLabelText(ui::ToWx(editing_.NameShown() ? u"笔记名称：" : u"创建日期：" + date_text_));
    PicNote->Layout();
}

}  // namespace qmtrain::notes
