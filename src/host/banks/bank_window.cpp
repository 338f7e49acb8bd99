#include "host/banks/bank_window.h"

#include <algorithm>
#include <memory>

#include <wx/filedlg.h>
#include <wx/sizer.h>
#include <wx/splitter.h>

#include "core/error.h"
#include "core/text.h"
#include "core/whole_file.h"
#include "exchange/formats.h"
#include "host/banks/import_dialog.h"
#include "host/banks/paper_title_dialog.h"
#include "host/banks/question_editor.h"
#include "host/papers/paper_rules.h"
#include "host/widgets/ask.h"
#include "host/widgets/look.h"
#include "host/widgets/work_progress.h"
#include "review/answer_text.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

const wxSize kFirstSize(1040, 680);  // pixels of an unscaled screen
constexpr int kLeastHeight = 420;
constexpr int kTreeWidth = 210;
constexpr std::u16string_view kTitle = u"题库管理";

// What a node of the tree stands for.
class Node : public wxTreeItemData {
public:
    Node(std::u16string code, std::optional<QuestionKind> kind) : code(std::move(code)), kind(kind) {}
    std::u16string code;
    std::optional<QuestionKind> kind;
};

std::u16string PaperLabel(std::size_t chosen) {
    return chosen == 0 ? u"组成试卷(&P)…" : u"组成试卷（" + ToText(chosen) + u" 题）(&P)…";
}

}  // namespace

template <class Body>
void BankWindow::Guarded(Body body) {
    try {
        body();
    } catch (const AutomationError& error) {
        ui::Inform(this, error.Description(), kTitle);
    } catch (const exchange::Cancelled&) {
        ui::Inform(this, u"已经停止。", kTitle);
    }
}

BankWindow::BankWindow(wxWindow* parent, DataFolder folder, bool read_only)
    : wxDialog(parent, wxID_ANY, ui::ToWx(kTitle), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      folder_(folder),
      read_only_(read_only),
      editing_(std::move(folder)) {
    Build();
    BindEvents();
    Fill(u"");
}

void BankWindow::Build() {
    auto* split = new wxSplitterWindow(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxSP_LIVE_UPDATE);
    TreeBanks = new wxTreeCtrl(split, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                               wxTR_HAS_BUTTONS | wxTR_HIDE_ROOT | wxTR_SINGLE | wxTR_LINES_AT_ROOT | wxBORDER_THEME);
    SetSpokenName(*TreeBanks, u"题库");
    auto* right = new wxSplitterWindow(split, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxSP_LIVE_UPDATE);
    auto* above = new wxPanel(right);
    auto* list = new wxBoxSizer(wxVERTICAL);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    TxtSearch = new wxSearchCtrl(above, wxID_ANY);
    TxtSearch->SetDescriptiveText(ui::ToWx(u"查找题干、选项、答案、编号、分类"));
    TxtSearch->ShowCancelButton(true);
    SetSpokenName(*TxtSearch, u"查找试题");
    row->Add(TxtSearch, 1, wxRIGHT, FromDIP(ui::kGap));
    LblCount = new wxStaticText(above, wxID_ANY, wxString(), wxDefaultPosition, FromDIP(wxSize(150, -1)));
    LblCount->SetForegroundColour(Colour(Tint::Quiet));
    row->Add(LblCount, 0, wxALIGN_CENTRE_VERTICAL);
    list->Add(row, 0, wxEXPAND | wxBOTTOM, FromDIP(ui::kGap));
    auto* frame = new wxPanel(above, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    auto* inside = new wxBoxSizer(wxVERTICAL);
    LvQuestions = new ui::ListView(frame, {ui::Icon::Pass});
    SetSpokenName(*LvQuestions, u"试题", Role::List);
    const struct {
        BankCell cell;
        const char16_t* title;
        int width;
        wxListColumnFormat format;
    } columns[] = {
        {BankCell::RecNo, u"编号", 100, wxLIST_FORMAT_LEFT},   {BankCell::Kind, u"题型", 64, wxLIST_FORMAT_LEFT},
        {BankCell::Stem, u"题干", 260, wxLIST_FORMAT_LEFT},    {BankCell::Difficulty, u"难度", 48, wxLIST_FORMAT_LEFT},
        {BankCell::Times, u"次数", 48, wxLIST_FORMAT_RIGHT},   {BankCell::Rate, u"得分率", 60, wxLIST_FORMAT_RIGHT},
        {BankCell::Last, u"最近使用", 92, wxLIST_FORMAT_LEFT}, {BankCell::Category, u"分类", 90, wxLIST_FORMAT_LEFT},
    };
    for (const auto& column : columns) {
        LvQuestions->AddColumn(column.title, FromDIP(column.width), static_cast<std::size_t>(column.cell),
                               column.format);
    }
    LvQuestions->SetEmptyText(u"没有试题");
    inside->Add(LvQuestions, 1, wxEXPAND);
    frame->SetSizer(inside);
    list->Add(frame, 1, wxEXPAND);
    above->SetSizer(list);

    auto* below = new wxPanel(right);
    auto* seen = new wxBoxSizer(wxVERTICAL);
    Preview = new QuestionView(below);
    seen->Add(Preview, 1, wxEXPAND | wxTOP, FromDIP(ui::kGap));
    LblAnswer = MakeLabel(below, u"", TextSize::Body, true);
    seen->Add(LblAnswer, 0, wxEXPAND | wxTOP, FromDIP(ui::kGap));
    below->SetSizer(seen);
    right->SetMinimumPaneSize(FromDIP(120));
    right->SetSashGravity(0.5);
    split->SetMinimumPaneSize(FromDIP(120));

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    const auto button = [&](std::u16string_view text, std::u16string_view tip, int gap, int id = wxID_ANY) {
        auto* made = new wxButton(this, id, ui::ToWx(text), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
        ui::FitToCaption(*made, ui::kGap);
        made->SetToolTip(ui::ToWx(tip));
        buttons->Add(made, 0, wxRIGHT, FromDIP(gap));
        return made;
    };
    BtnNew = button(u"新建(&N)…", u"新建一道试题", ui::kTiny);
    BtnEdit = button(u"修改(&E)…", u"修改选中的试题（回车）", ui::kTiny);
    BtnDuplicate = button(u"复制(&D)…", u"以选中的试题为底稿新建一道", ui::kTiny);
    BtnDelete = button(u"删除(&R)", u"删除选中的试题（Del）", ui::kTiny);
    BtnUndo = button(u"撤销(&Z)", u"撤销上一次改动（Ctrl+Z）", ui::kWide);
    BtnChoose = button(u"选入试卷(&A)", u"把选中的试题加入要组成的试卷，或者去掉（空格）", ui::kTiny);
    BtnPaper = button(PaperLabel(100), u"由选入的试题组成一份试卷", ui::kWide);
    BtnImport = button(u"导入(&I)…", u"把文件中的试题导入题库", ui::kTiny);
    BtnExport = button(u"导出(&X)…", u"把题库导出为 GIFT、Moodle XML 或 CSV 文件", ui::kTiny);
    buttons->AddStretchSpacer();
    button(u"关闭(&C)", u"关闭题库管理（Esc）", 0, wxID_CANCEL);

    auto* all = new wxBoxSizer(wxVERTICAL);
    all->Add(split, 1, wxEXPAND | wxALL, FromDIP(ui::kMargin));
    all->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(ui::kMargin));
    SetSizer(all);
    SetMinClientSize(
        wxSize(buttons->GetMinSize().x + 2 * FromDIP(ui::kMargin) + FromDIP(ui::kWide), FromDIP(kLeastHeight)));
    SetSize(FromDIP(kFirstSize));
    split->SplitVertically(TreeBanks, right, FromDIP(kTreeWidth));
    right->SplitHorizontally(above, below, FromDIP(kFirstSize.y / 2 - 20));
    CentreOnParent();
}

void BankWindow::BindEvents() {
    TreeBanks->Bind(wxEVT_TREE_SEL_CHANGED, [this](wxTreeEvent& event) {
        const auto* node = dynamic_cast<Node*>(TreeBanks->GetItemData(event.GetItem()));
        if (filling_ || node == nullptr) return;
        if (node->code != editing_.Code()) OpenBank(node->code);
        ShowList();
    });
    TxtSearch->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { ShowList(); });
    LvQuestions->Bind(wxEVT_LIST_ITEM_SELECTED, [this](wxListEvent&) { ShowQuestion(); });
    LvQuestions->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) {
        if (BtnEdit->IsEnabled() && Selected() != nullptr) Edit(*Selected());
    });
    LvQuestions->Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_DELETE && BtnDelete->IsEnabled()) return Delete();
        if (event.GetKeyCode() == WXK_SPACE && BtnChoose->IsEnabled()) return Choose();
        event.Skip();
    });
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == 'Z' && event.ControlDown() && BtnUndo->IsEnabled() && !TxtSearch->HasFocus()) {
            return Undo();
        }
        event.Skip();
    });
    BtnNew->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        exchange::Question question;
        question.kind = SelectedKind().value_or(QuestionKind::Single);
        Edit(std::move(question));
    });
    BtnEdit->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Edit(*Selected()); });
    BtnDuplicate->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        exchange::Question copy = *Selected();
        copy.rec_no.clear();
        copy.other_document = false;  // that stays with the first one
        Edit(std::move(copy));
    });
    BtnDelete->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Delete(); });
    BtnUndo->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Undo(); });
    BtnChoose->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Choose(); });
    BtnPaper->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { MakePaper(); });
    BtnImport->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Import(); });
    BtnExport->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Export(); });
}

void BankWindow::OpenBank(std::u16string_view code) {
    Guarded([&] {
        WorkProgress progress(IsShown() ? this : GetParent(), kTitle);
        editing_.Open(code, progress.Of(u"正在读题库…"));
    });
}

void BankWindow::Fill(std::u16string_view code) {
    filling_ = true;
    TreeBanks->DeleteAllItems();
    const wxTreeItemId root = TreeBanks->AddRoot(wxString());
    wxTreeItemId selected;
    Guarded([&] {
        for (const exchange::BankEntry& bank : exchange::BanksIn(folder_.Banks())) {
            const wxTreeItemId item = TreeBanks->AppendItem(root, ui::ToWx(bank.name + u"（" + bank.code + u"）"), -1,
                                                            -1, new Node(bank.code, std::nullopt));
            for (const QuestionKindInfo& kind : QuestionKinds()) {
                TreeBanks->AppendItem(item, ui::ToWx(kind.name), -1, -1, new Node(bank.code, kind.kind));
            }
            if (!selected.IsOk() || bank.code == code) selected = item;
        }
    });
    filling_ = false;
    if (selected.IsOk()) {
        TreeBanks->Expand(selected);
        TreeBanks->SelectItem(selected);
    }
    ShowList();
}

std::optional<QuestionKind> BankWindow::SelectedKind() const {
    const wxTreeItemId item = TreeBanks->GetSelection();
    const auto* node = item.IsOk() ? dynamic_cast<Node*>(TreeBanks->GetItemData(item)) : nullptr;
    return node == nullptr ? std::nullopt : node->kind;
}

// A deleted question cannot be put on a paper.
void BankWindow::ForgetRemoved() {
    std::erase_if(
        chosen_, [&](const auto& one) { return one.first == editing_.Code() && editing_.Find(one.second) == nullptr; });
}

void BankWindow::ShowList() {
    ForgetRemoved();
    rows_.Clear();
    for (ui::ListRow& row : editing_.Rows(SelectedKind(), ui::FromWx(TxtSearch->GetValue()))) {
        const std::pair of_paper(editing_.Code(), row.cells[0]);
        row.icon = std::find(chosen_.begin(), chosen_.end(), of_paper) == chosen_.end() ? 0 : 1;
        rows_.Add(std::move(row));
    }
    LvQuestions->Show(rows_);
    if (LvQuestions->SelectedIndex() < 0 && rows_.Size() > 0) LvQuestions->SelectRow(0);
    LblCount->SetLabelText(ui::ToWx(u"共 " + ToText(rows_.Size()) + u" 题"));
    ShowQuestion();
}

const exchange::Question* BankWindow::Selected() const {
    const ui::ListRow* row = LvQuestions->SelectedRow();
    return row == nullptr ? nullptr : editing_.Find(row->cells[0]);
}

void BankWindow::ShowQuestion() {
    const exchange::Question* question = Selected();
    Preview->Show(question != nullptr);
    std::u16string answer;
    if (question != nullptr) {
        const QuestionContent shown = Shown(*question);
        Preview->Ask(shown, u"", 100);
        answer = question->kind == QuestionKind::Fill ? review::FillText(shown.answer)
                                                      : review::PaneAnswer(shown.kind, shown.answer);
        answer = u"答案：" + exchange::Brief(answer, 200);
        if (!exchange::IsEmpty(question->analysis)) {
            answer += u"    解析：" + exchange::Brief(question->analysis.PlainText(), 200);
        }
    }
    LblAnswer->SetLabelText(ui::ToWx(answer));
    LblAnswer->SetToolTip(ui::ToWx(answer));
    LblAnswer->GetParent()->Layout();
    Arm();
}

void BankWindow::Arm() {
    const bool has_bank = !editing_.Code().empty();
    const bool selected = Selected() != nullptr;
    BtnNew->Enable(has_bank && !read_only_);
    for (wxButton* button : {BtnEdit, BtnDuplicate, BtnDelete}) button->Enable(selected && !read_only_);
    BtnUndo->Enable(!editing_.UndoText().empty() && !read_only_);
    BtnUndo->SetToolTip(ui::ToWx(editing_.UndoText().empty() ? u"没有可以撤销的改动" : editing_.UndoText()));
    BtnChoose->Enable(selected && !read_only_);
    BtnPaper->Enable(!chosen_.empty() && !read_only_);
    BtnPaper->SetLabel(ui::ToWx(PaperLabel(chosen_.size())));
    BtnImport->Enable(!read_only_);
    BtnExport->Enable(has_bank);
    Layout();
}

void BankWindow::Select(std::u16string_view rec_no) {
    const auto place = rows_.Find(u"q" + std::u16string(rec_no));
    if (place) LvQuestions->SelectRow(static_cast<long>(*place));
    ShowQuestion();
}

void BankWindow::Edit(exchange::Question question) {
    if (!question.rec_no.empty()) {
        const std::u16string rec_no = question.rec_no;
        bool begun = false;
        Guarded([&] {
            editing_.Begin(rec_no);
            question = *editing_.Find(rec_no);
            begun = true;
        });
        if (!begun) return ShowList();
    }
    QuestionEditor editor(this, editing_, std::move(question));
    if (editor.ShowModal() != wxID_SAVE) return;
    ShowList();
    Select(editor.RecNo());
}

void BankWindow::Delete() {
    const std::u16string rec_no = Selected()->rec_no;
    Guarded([&] {
        const std::u16string warning = editing_.WarningBeforeRemoval(rec_no);
        if (!warning.empty() && !Confirm(this, warning + u"要删除试题 " + rec_no + u" 吗？", kTitle, u"删除", u"保留"))
            return;
        editing_.Remove(rec_no);
        ShowList();
    });
    LvQuestions->SetFocus();
}

void BankWindow::Undo() {
    std::u16string rec_no;
    Guarded([&] { rec_no = editing_.Undo(); });
    ShowList();
    if (!rec_no.empty()) Select(rec_no);
}

void BankWindow::Choose() {
    const std::pair one(editing_.Code(), Selected()->rec_no);
    const auto found = std::find(chosen_.begin(), chosen_.end(), one);
    if (found == chosen_.end()) {
        chosen_.push_back(one);
    } else {
        chosen_.erase(found);
    }
    ShowList();
    LvQuestions->SetFocus();
}

void BankWindow::MakePaper() {
    std::vector<ChosenQuestion> questions;
    for (const auto& [code, rec_no] : chosen_) questions.push_back({code, rec_no, 0});
    PaperTitleDialog dialog(this, folder_, questions);
    if (dialog.ShowModal() != wxID_OK) return;
    chosen_.clear();
    ShowList();
    ui::Inform(this, u"已组成试卷 " + ToText(dialog.PaperNo()) + u"“" + dialog.Title() + u"”。", kTitle);
}

void BankWindow::Import() {
    Guarded([&] {
        ImportDialog dialog(this, folder_, editing_.Code());
        if (dialog.ShowModal() != wxID_OK) return;
        const std::u16string code = dialog.Code();
        OpenBank(code);
        Fill(code);
    });
}

void BankWindow::Export() {
    wxFileDialog dialog(this, ui::ToWx(u"导出题库"), wxString(), ui::ToWx(editing_.Code() + u".xml"),
                        ui::ToWx(u"Moodle XML (*.xml)|*.xml|CSV (*.csv)|*.csv|GIFT (*.gift)|*.gift"),
                        wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() != wxID_OK) return;
    Guarded([&] {
        constexpr exchange::QuestionFormat kFormats[] = {exchange::QuestionFormat::MoodleXml,
                                                         exchange::QuestionFormat::Csv, exchange::QuestionFormat::Gift};
        constexpr const char* kEndings[] = {".xml", ".csv", ".gift"};
        const int kind = std::clamp(dialog.GetFilterIndex(), 0, 2);
        wxString file = dialog.GetPath();
        if (!file.Lower().EndsWith(kEndings[kind])) file += kEndings[kind];
        std::vector<exchange::Notice> notices;
        WorkProgress progress(this, u"导出题库");
        WriteWholeFile(ui::FromWx(file), exchange::WriteQuestions(editing_.Questions(), kFormats[kind], notices,
                                                                  progress.Of(u"正在导出…")));
        std::u16string told = u"已导出 " + exchange::WrittenSummary(editing_.Questions().size(), notices) + u"。";
        std::stable_partition(notices.begin(), notices.end(), [](const exchange::Notice& notice) {
            return notice.kind == exchange::Notice::Kind::Skipped;
        });
        constexpr std::size_t kMostTold = 10;
        for (std::size_t i = 0; i < std::min(notices.size(), kMostTold); ++i) told += u"\n" + notices[i].Text();
        if (notices.size() > kMostTold) told += u"\n……共 " + ToText(notices.size()) + u" 处";
        ui::Inform(this, told, kTitle);
    });
}

}  // namespace qmtrain::host
