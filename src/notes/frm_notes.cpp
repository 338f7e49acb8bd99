#include "notes/frm_notes.h"

#include <algorithm>
#include <cmath>

#include <wx/settings.h>
#include <wx/sizer.h>

#include "core/log.h"
#include "core/text.h"
#include "core/trap.h"
#include "notes/note_texts.h"
#include "notes/notes_report.h"
#include "report/printing.h"
#include "ui/client_problem.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/splitter_limits.h"
#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::notes {
namespace {

// Pixels of an unscaled screen.
const wxSize kFirstSize(940, 640);
const wxSize kLeastSize(600, 400);  // with its frame: 9000 by 6000 twips

// Twips that stay on both sides of a bar.
constexpr int kLeastBeside = 600;
constexpr int kLeastAbove = 800;

// Twips that the question and the note keep from the bar between them, and the note from the edge.
constexpr int kBarGap = 30;
constexpr int kEdgeGap = 60;

constexpr int kRootIcon = 0;
constexpr unsigned long kLongestName = 255;  // that the table of notes holds

struct Tool {
    const char16_t* key;
    const char16_t* caption;
    const char16_t* tip;
    ui::Icon icon;
};

constexpr Tool kTools[] = {
    {u"Modify", u"修改", u"修改笔记的名称和内容", ui::Icon::Edit},
    {u"Save", u"保存", u"保存修改", ui::Icon::Save},
    {u"Delete", u"删除", u"删除选中的笔记", ui::Icon::Delete},
    {u"PRE", u"上一条", u"“上一条”没有对应的操作，请在左边的目录中选择笔记", ui::Icon::Previous},
    {u"NEXT", u"下一条", u"“下一条”没有对应的操作，请在左边的目录中选择笔记", ui::Icon::Next},
};
constexpr int kFirstToolId = wxID_HIGHEST + 1;

int ToolId(std::u16string_view key) {
    const auto* tool = std::find_if(std::begin(kTools), std::end(kTools),
                                    [&](const Tool& known) { return EqualNames(known.key, key); });
    return kFirstToolId + static_cast<int>(tool - std::begin(kTools));
}

class NodeData : public wxTreeItemData {
public:
    explicit NodeData(std::u16string key) : key(std::move(key)) {}
    const std::u16string key;
};

wxStaticText* Label(wxWindow* parent, std::u16string_view text = {}) {
    return new wxStaticText(parent, wxID_ANY, ui::ToWx(text));
}

// A line of any length, cut off where there is no more room.
wxStaticText* GreyLine(wxWindow* parent) {
    auto* line = new wxStaticText(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                                  wxST_ELLIPSIZE_END | wxST_NO_AUTORESIZE);
    line->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
    return line;
}

// "" when nothing has failed but a note was not there.
std::u16string ReasonOf(const TrapWatch& watch) {
    return watch.First() ? watch.First()->Description() : std::u16string();
}

// An "&" is one.
void SetText(wxStaticText* label, std::u16string_view text) {
    label->SetLabelText(ui::ToWx(text));
}

}  // namespace

// Building

FrmNotes::FrmNotes(NotesSource source)
    : wxDialog(nullptr, wxID_ANY, ui::ToWx(u"笔记管理"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      source_(std::move(source)) {
    BuildToolbar();
    PicContent = new wxPanel(this);
    BuildLeft();
    PicRight = new wxPanel(PicContent);
    PicLeftRight = new ui::SplitterBar(PicContent, ui::SplitterBar::Direction::LeftRight);
    BuildListPane();
    BuildNotePane();
    LblFailed = GreyLine(PicRight);
    LblFailed->Hide();
    auto* right = new wxBoxSizer(wxVERTICAL);
    right->Add(PicList, 1, wxEXPAND);
    right->Add(PicPane, 1, wxEXPAND);
    right->Add(LblFailed, 0, wxEXPAND | wxTOP, FromDIP(ui::kNarrow));
    PicRight->SetSizer(right);
    PicBottom = new wxPanel(this);
    LblBottom = GreyLine(PicBottom);
    auto* bottom = new wxBoxSizer(wxHORIZONTAL);
    bottom->Add(LblBottom, 1, wxALL, FromDIP(ui::kNarrow));
    PicBottom->SetSizer(bottom);

    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(ToolbarNotes, 0, wxEXPAND);
    sizer->Add(PicContent, 1, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, FromDIP(ui::kMargin));
    sizer->Add(PicBottom, 0, wxEXPAND | wxLEFT | wxRIGHT, FromDIP(ui::kMargin));
    SetSizer(sizer);
    SetMinSize(FromDIP(kLeastSize));
    SetClientSize(FromDIP(kFirstSize));
    SetEscapeId(wxID_CANCEL);
    PicPane->Hide();
    BindEvents();
    ApplyEditing();
    CentreOnScreen();
}

void FrmNotes::BuildToolbar() {
    ToolbarNotes = new wxToolBar(this, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                 wxTB_HORIZONTAL | wxTB_HORZ_TEXT | wxTB_FLAT | wxTB_NODIVIDER);
    for (const Tool& tool : kTools) {
        ToolbarNotes->AddTool(ToolId(tool.key), ui::ToWx(tool.caption), ui::GetIcon(tool.icon, 20),
                              ui::GetIcon(tool.icon, 20, ui::IconState::Disabled), wxITEM_NORMAL, ui::ToWx(tool.tip));
    }
    ToolbarNotes->Realize();
    for (const std::u16string_view key : {u"PRE", u"NEXT"}) ToolbarNotes->EnableTool(ToolId(key), false);
}

void FrmNotes::BuildLeft() {
    PicLeft = new wxPanel(PicContent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    TvNotes = new wxTreeCtrl(PicLeft, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                             wxTR_HAS_BUTTONS | wxTR_LINES_AT_ROOT | wxTR_NO_LINES | wxTR_SINGLE | wxBORDER_NONE);
    wxVector<wxBitmapBundle> icons;
    for (const ui::Icon icon : {ui::Icon::Notebook, ui::Icon::Bank, ui::Icon::Note}) icons.push_back(ui::GetIcon(icon));
    TvNotes->SetImages(icons);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(TvNotes, 1, wxEXPAND);
    PicLeft->SetSizer(sizer);
}

void FrmNotes::BuildListPane() {
    PicList = new wxPanel(PicRight, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    PicList->SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW));
    LblModuleTitle = ui::BoldCaption(PicList);
    LvNotes = new ui::ListView(PicList, {ui::Icon::Bank, ui::Icon::Note});
    LblNoNote =
        new wxStaticText(PicList, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxALIGN_CENTRE_HORIZONTAL);
    LblNoNote->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(LblModuleTitle, 0, wxEXPAND | wxALL, FromDIP(ui::kNarrow));
    sizer->Add(LvNotes, 1, wxEXPAND);
    sizer->Add(LblNoNote, 1, wxEXPAND | wxTOP, FromDIP(10 * ui::kNarrow));
    PicList->SetSizer(sizer);
}

void FrmNotes::BuildNotePane() {
    PicPane = new wxPanel(PicRight);
    PicQuestion = new wxPanel(PicPane);
    PicNote = new wxPanel(PicPane);
    PicTopBottom = new ui::SplitterBar(PicPane, ui::SplitterBar::Direction::TopBottom);
    BuildQuestion();
    BuildNote();
}

void FrmNotes::BuildQuestion() {
    LblQuestionType = Label(PicQuestion);
    BtnViewAnswer = new wxButton(PicQuestion, wxID_ANY, ui::ToWx(u"查看答案"));
    RtfQuestion = new ui::RichTextView(PicQuestion);
    auto* top = new wxBoxSizer(wxHORIZONTAL);
    top->Add(LblQuestionType, 1, wxALIGN_CENTRE_VERTICAL);
    top->Add(BtnViewAnswer, 0, wxRESERVE_SPACE_EVEN_IF_HIDDEN);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(top, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kNarrow));
    sizer->Add(RtfQuestion, 1, wxEXPAND);
    PicQuestion->SetSizer(sizer);
}

void FrmNotes::BuildNote() {
    LblNoteName = ui::BoldCaption(PicNote);
    LblNoteCreateDate = Label(PicNote);
    TxtNoteName = new wxTextCtrl(PicNote, wxID_ANY);
    TxtNoteName->SetMaxLength(kLongestName);
    LblViewTimes = Label(PicNote);
    TxtNote = new wxTextCtrl(PicNote, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                             wxTE_MULTILINE | wxBORDER_THEME);
    TxtNote->SetMargins(FromDIP(ui::kNarrow), FromDIP(ui::kNarrow));
    LblNoteName->Hide();
    auto* facts = new wxBoxSizer(wxHORIZONTAL);
    facts->Add(LblNoteCreateDate, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kNarrow));
    facts->Add(TxtNoteName, 1, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kNarrow));
    facts->AddStretchSpacer(0);
    facts->Add(LblViewTimes, 0, wxALIGN_CENTRE_VERTICAL | wxLEFT, FromDIP(ui::kNarrow));
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(LblNoteName, 0, wxEXPAND | wxTOP | wxBOTTOM, FromDIP(ui::kNarrow));
    sizer->Add(facts, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kNarrow));
    sizer->Add(TxtNote, 1, wxEXPAND);
    PicNote->SetSizer(sizer);
}

void FrmNotes::BindEvents() {
    for (const Tool& tool : kTools) {
        const std::u16string key = tool.key;
        Bind(
            wxEVT_TOOL, [this, key](wxCommandEvent&) { ToolbarNotes_ButtonClick(key); }, ToolId(key));
    }
    TvNotes->Bind(wxEVT_TREE_SEL_CHANGED, [this](wxTreeEvent& event) {
        if (!filling_ && event.GetItem().IsOk()) TvNotes_NodeClick(KeyOf(event.GetItem()));
    });
    LvNotes->Bind(wxEVT_CONTEXT_MENU, [this](wxContextMenuEvent&) {
        report::ShowExportMenu(this, [this] { return NotesReport(source_); });
    });
    LvNotes->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) { LvNotes_DblClick(); });
    BtnViewAnswer->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { BtnViewAnswer_Click(); });
    for (wxTextCtrl* text : {TxtNote, TxtNoteName}) {
        text->Bind(wxEVT_TEXT, [this](wxCommandEvent&) {
            if (editing_.Typed()) ApplyEditing();
        });
    }
    PicContent->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        LayOut();
    });
    PicPane->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        LayOutNote();
    });
    PicLeftRight->OnDrag = [this](int edge) { DragLeftRight(edge); };
    PicTopBottom->OnDrag = [this](int edge) { DragTopBottom(edge); };
    PicLeftRight->OnDrop = [this] { LayOut(); };
    PicTopBottom->OnDrop = [this] { LayOutNote(); };
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_ESCAPE) {
            Close();
        } else if (event.GetKeyCode() == 'S' && event.ControlDown() && editing_.SaveEnabled()) {
            ToolbarNotes_ButtonClick(u"Save");
        } else {
            event.Skip();
        }
    });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
        if (!MayClose() && event.CanVeto()) return event.Veto();
        EndModal(wxID_CANCEL);
    });
}

// The tree

int FrmNotes::ShowModal() {
    Form_Load();
    TvNotes->SetFocus();
    return wxDialog::ShowModal();
}

void FrmNotes::Form_Load() {
    const TrapWatch watch;
    note_ = InitNoteObject(source_);
    if (!note_) return ShowProblem(watch.First());
    LblNoteName->Hide();
    std::optional<AutomationError> problem;
    banks_ = LoadAllNotes(source_, *note_, &problem);
    FillTree();
    if (problem) {
        ShowProblem(problem);
    } else {
        ShowCount();
    }
    SelectKey(kRootKey);
}

void FrmNotes::FillTree() {
    filling_ = true;
    TvNotes->DeleteAllItems();
    nodes_.clear();
    AddNode({}, std::u16string(kRootKey), kRootText, kRootIcon);
    const wxTreeItemId root = TvNotes->GetRootItem();
    for (const BankNode& bank : banks_) {
        AddNode(root, BankKey(bank.data_code), bank.text, kBankIcon);
        const wxTreeItemId node = NodeOf(BankKey(bank.data_code));
        for (const NoteNode& note : bank.notes) AddNode(node, NoteKey(note.id), note.text, kNoteIcon);
    }
    TvNotes->Expand(root);
    filling_ = false;
}

void FrmNotes::AddNode(wxTreeItemId parent, const std::u16string& key, std::u16string_view text, int icon) {
    auto* data = new NodeData(key);  // the tree deletes it
    const wxString line = ui::ToWx(ui::CellText(text));
    nodes_[FoldName(key)] =
        parent.IsOk() ? TvNotes->AppendItem(parent, line, icon, -1, data) : TvNotes->AddRoot(line, icon, -1, data);
}

std::u16string FrmNotes::KeyOf(wxTreeItemId node) const {
    const auto* data = node.IsOk() ? static_cast<const NodeData*>(TvNotes->GetItemData(node)) : nullptr;
    return data != nullptr ? data->key : std::u16string();
}

wxTreeItemId FrmNotes::NodeOf(std::u16string_view key) const {
    const auto found = nodes_.find(FoldName(key));
    return found == nodes_.end() ? wxTreeItemId() : found->second;
}

const BankNode* FrmNotes::BankOf(std::u16string_view key) const {
    const auto found = std::find_if(banks_.begin(), banks_.end(),
                                    [&](const BankNode& bank) { return EqualNames(BankKey(bank.data_code), key); });
    return found == banks_.end() ? nullptr : &*found;
}

std::u16string FrmNotes::SelectedKey() const {
    return KeyOf(TvNotes->GetSelection());
}

bool FrmNotes::SelectKey(std::u16string_view key) {
    const wxTreeItemId node = NodeOf(key);
    if (!node.IsOk()) return false;
    filling_ = true;
    TvNotes->SelectItem(node);
    TvNotes->EnsureVisible(node);
    filling_ = false;
    TvNotes_NodeClick(KeyOf(node));
    return true;
}

void FrmNotes::TvNotes_NodeClick(const std::u16string& key) {
    if (EqualNames(key, selected_key_)) return;
    SayFailed({});
    LeavePreviousNode();
    selected_key_ = key;
    const NodeKind kind = KindOf(key);
    if (kind == NodeKind::Note) {
        editing_.NoteShown();
        if (!ShowNote(key)) editing_.NoteNotLoaded();
    } else {
        editing_.ListShown();
        ShowNodeList(key);
    }
    ShowListPane(kind != NodeKind::Note);
    SetText(LblModuleTitle, ui::FromWx(TvNotes->GetItemText(NodeOf(key))));
    ApplyEditing();
}

void FrmNotes::LeavePreviousNode() {
    const wxTreeItemId previous = NodeOf(selected_key_);
    if (!editing_.Leave() || !previous.IsOk()) return;
    const std::u16string question = SaveQuestion(ui::FromWx(TvNotes->GetItemText(previous)));
    if (ui::AskYesNo(this, question, kSaveTitle) != ui::Answer::Yes) return;
    SaveModifyNote(selected_key_);
    editing_.SavedOnLeaving();
}

// Unlike another node, closing gives the text up for good: it can be called off, and a text that cannot be saved keeps
// the window open on its note.
bool FrmNotes::MayClose() {
    const wxTreeItemId node = NodeOf(selected_key_);
    if (!editing_.Unsaved() || !node.IsOk()) return true;
    const std::u16string question = SaveQuestion(ui::FromWx(TvNotes->GetItemText(node)));
    const ui::Answer answer = ui::AskYesNoCancel(this, question, kSaveTitle);
    return answer == ui::Answer::No || (answer == ui::Answer::Yes && SaveModifyNote(selected_key_));
}

void FrmNotes::ShowListPane(bool list) {
    PicList->Show(list);
    PicPane->Show(!list);
    PicRight->Layout();
    LayOutNote();
}

void FrmNotes::ShowNodeList(const std::u16string& key) {
    Trapped(u"FrmNotes.ShowNodeList", [&] {
        const BankNode* bank = BankOf(key);
        std::vector<ui::ListRow> rows;
        LvNotes->SetItemState(-1, 0, wxLIST_STATE_SELECTED);
        KeepListColumns();
        LvNotes->ClearColumns();
        if (bank == nullptr) {
            for (const char16_t* title : kRootColumns) AddListColumn(title);
            rows = RootRows(banks_);
        } else {
            for (const char16_t* title : kBankColumns) AddListColumn(title);
            if (MakeNoteObject()) rows = BankRows(*bank, *note_, source_.user_id);
        }
        rows_.Clear();
        for (ui::ListRow& row : rows) rows_.Add(std::move(row));
        LvNotes->Show(rows_);
        SetText(LblNoNote, bank == nullptr ? std::u16string(kNoNotes) : NoNotesInBank(ui::CellText(bank->text)));
        LvNotes->wxWindow::Show(rows_.Size() > 0);
        LblNoNote->Show(rows_.Size() == 0);
        PicList->Layout();
    });
}

// What the user has made of a column stays until the window is closed.
void FrmNotes::KeepListColumns() {
    for (int column = 0; column < LvNotes->GetColumnCount(); ++column) {
        wxListItem header;
        header.SetMask(wxLIST_MASK_TEXT);
        LvNotes->GetColumn(column, header);
        column_widths_[header.GetText()] = LvNotes->GetColumnWidth(column);
    }
}

void FrmNotes::AddListColumn(std::u16string_view title) {
    const int column = LvNotes->GetColumnCount();
    LvNotes->AddColumn(title, static_cast<std::size_t>(column));
    const auto known = column_widths_.find(ui::ToWx(title));
    if (known != column_widths_.end()) LvNotes->SetColumnWidth(column, known->second);
}

void FrmNotes::LvNotes_DblClick() {
    const ui::ListRow* row = LvNotes->SelectedRow();
    if (row != nullptr) SelectKey(std::u16string(row->key));
}

// The note

bool FrmNotes::MakeNoteObject() {
    if (!note_) note_ = InitNoteObject(source_);
    return note_ != nullptr;
}

// False when the pane still shows what it showed before.
bool FrmNotes::ShowNote(const std::u16string& key) {
    return Trapped(u"FrmNotes.ShowNote", false, [&](bool& shown) {
        SetText(LblNoteName, ui::FromWx(TvNotes->GetItemText(NodeOf(key))));
        LblNoteName->Show();
        const auto id = NoteOf(key);
        if (!id || !MakeNoteObject() || !note_->LoadFromID(*id, true, source_.user_id)) return;
        TxtNote->ChangeValue(ui::ToWx(note_->Content()));
        date_text_ = CreateDateText(note_->CreateDate());
        SetText(LblViewTimes, ViewTimesText(note_->ViewTimes()));
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
    SetText(LblQuestionType, type);
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

bool FrmNotes::ButtonEnabled(std::u16string_view key) const {
    return ToolbarNotes->GetToolEnabled(ToolId(key));
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
    SetText(LblNoteName, name);
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
    SetText(LblFailed, text);
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
        if (ui::AskYesNo(this, question, kDeleteTitle, ui::Answer::No) != ui::Answer::Yes) return;
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
    SetText(LblNoteCreateDate, editing_.NameShown() ? u"笔记名称：" : u"创建日期：" + date_text_);
    PicNote->Layout();
}

void FrmNotes::ShowCount() {
    std::size_t notes = 0;
    for (const BankNode& bank : banks_) notes += bank.notes.size();
    SetText(LblBottom, u"共 " + ToText(static_cast<std::int64_t>(notes)) + u" 条笔记");
}

void FrmNotes::ShowProblem(const std::optional<AutomationError>& problem) {
    if (!problem) return ShowCount();
    const std::u16string text = ui::CellText(ui::ClientProblem(*problem));
    SetText(LblBottom, text);
    LblBottom->SetToolTip(ui::ToWx(text));
}

// Layout

int FrmNotes::LeftRightEdge() const {
    return static_cast<int>(std::lround(left_right_ * PicContent->GetClientSize().x));
}

int FrmNotes::TopBottomEdge() const {
    return static_cast<int>(std::lround(top_bottom_ * PicPane->GetClientSize().y));
}

void FrmNotes::LayOut() {
    const wxSize area = PicContent->GetClientSize();
    const int bar = FromDIP(ui::SplitterBar::kThickness);
    const int edge = LeftRightEdge();
    PicLeft->SetSize(0, 0, edge, area.y);
    PicLeftRight->SetSize(edge, 0, bar, area.y);
    PicRight->SetSize(edge + bar, 0, std::max(1, area.x - edge - bar), area.y);
}

void FrmNotes::LayOutNote() {
    if (!PicPane->IsShown()) return;
    const wxSize area = PicPane->GetClientSize();
    const int bar = FromDIP(ui::SplitterBar::kThickness);
    const int edge = TopBottomEdge();
    const int gap = ui::ToPixels(*this, kBarGap);
    const int top = edge + bar + gap;
    PicQuestion->SetSize(0, 0, area.x, std::max(1, edge - gap));
    PicTopBottom->SetSize(0, edge, area.x, bar);
    PicNote->SetSize(0, top, area.x, std::max(1, area.y - top - ui::ToPixels(*this, kEdgeGap)));
}

void FrmNotes::DragLeftRight(int edge) {
    // Measured by the window, not by the panel that the bar lies in.
    if (!ui::StaysAway(edge, ui::ToTwips(*this, GetClientSize().x), kLeastBeside)) return;
    left_right_ = static_cast<double>(edge) / ui::ToTwips(*this, PicContent->GetClientSize().x);
    PicLeftRight->Move(LeftRightEdge(), 0);
}

void FrmNotes::DragTopBottom(int edge) {
    const int extent = ui::ToTwips(*this, PicPane->GetClientSize().y);
    if (!ui::StaysAway(edge, extent, kLeastAbove)) return;
    top_bottom_ = static_cast<double>(edge) / extent;
    PicTopBottom->Move(0, TopBottomEdge());
}

}  // namespace qmtrain::notes
