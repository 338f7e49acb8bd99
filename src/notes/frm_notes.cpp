#include "notes/frm_notes.h"

#include <algorithm>
#include <cmath>

#include "core/text.h"
#include "core/trap.h"
#include "notes/note_texts.h"
#include "ui/client_problem.h"
#include "ui/splitter_limits.h"
#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::notes {
namespace {

// Twips that stay on both sides of a bar.
constexpr int kLeastBeside = 600;
constexpr int kLeastAbove = 800;

// Twips that the question and the note keep from the bar between them, and the note from the edge.
constexpr int kBarGap = 30;
constexpr int kEdgeGap = 60;

constexpr int kRootIcon = 0;

class NodeData : public wxTreeItemData {
public:
    explicit NodeData(std::u16string key) : key(std::move(key)) {}
    const std::u16string key;
};

}  // namespace

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
    LblModuleTitle->SetLabelText(TvNotes->GetItemText(NodeOf(key)));
    ApplyEditing();
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
        LblNoNote->SetLabelText(
            ui::ToWx(bank == nullptr ? std::u16string(kNoNotes) : NoNotesInBank(ui::CellText(bank->text))));
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

// The line at the bottom

void FrmNotes::ShowCount() {
    std::size_t notes = 0;
    for (const BankNode& bank : banks_) notes += bank.notes.size();
    LblBottom->SetLabelText(ui::ToWx(u"共 " + ToText(notes) + u" 条笔记"));
}

void FrmNotes::ShowProblem(const std::optional<AutomationError>& problem) {
    if (!problem) return ShowCount();
    const std::u16string text = ui::CellText(ui::ClientProblem(*problem));
    LblBottom->SetLabelText(ui::ToWx(text));
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
