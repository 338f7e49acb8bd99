#include "host/banks/import_dialog.h"

#include <algorithm>

#include <wx/filedlg.h>
#include <wx/sizer.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "core/whole_file.h"
#include "exchange/formats.h"
#include "host/papers/question_use.h"
#include "host/widgets/ask.h"
#include "host/widgets/look.h"
#include "host/widgets/work_progress.h"
#include "ui/layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTitle = u"导入试题";
constexpr int kPauseInTyping = 400;  // milliseconds
constexpr int kNoticeHeight = 44;    // two lines, in pixels of an unscaled screen

// In the order of the choice, after its first item, which recognises the format by itself.
constexpr exchange::QuestionFormat kFormats[] = {exchange::QuestionFormat::Gift, exchange::QuestionFormat::Aiken,
                                                 exchange::QuestionFormat::MoodleXml, exchange::QuestionFormat::Csv};

std::u16string_view WordOf(exchange::Notice::Kind kind) {
    switch (kind) {
        case exchange::Notice::Kind::Changed: return u"有改动";
        case exchange::Notice::Kind::Skipped: return u"略过";
        case exchange::Notice::Kind::Error: break;
    }
    return u"错误";
}

}  // namespace

ImportDialog::ImportDialog(wxWindow* parent, DataFolder folder, std::u16string_view code)
    : wxDialog(parent, wxID_ANY, ui::ToWx(kTitle), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER | wxMAXIMIZE_BOX),
      folder_(std::move(folder)),
      banks_(exchange::BanksIn(folder_.Banks())) {
    Build(code);
    ShowPlan();
}

void ImportDialog::Build(std::u16string_view code) {
    auto* box = new wxBoxSizer(wxVERTICAL);
    auto* grid = new wxFlexGridSizer(2, FromDIP(wxSize(ui::kMargin, ui::kGap)));
    grid->AddGrowableCol(1);
    const auto field = [&](std::u16string_view caption, wxWindow* control, bool grows = true) {
        grid->Add(new wxStaticText(this, wxID_ANY, ui::ToWx(std::u16string(caption) + u"：")), 0,
                  wxALIGN_CENTRE_VERTICAL);
        grid->Add(control, 0, grows ? wxEXPAND : 0);
        SetSpokenName(*control, caption.substr(0, caption.find(u'(')));
    };
    auto* files = new wxPanel(this);
    auto* files_row = new wxBoxSizer(wxHORIZONTAL);
    BtnFiles = new wxButton(files, wxID_ANY, ui::ToWx(u"选择文件(&F)…"));
    LblFiles = MakeLabel(files, u"GIFT、Aiken、Moodle XML 或 CSV 文件", TextSize::Body, false, Tint::Quiet);
    files_row->Add(BtnFiles, 0, wxRIGHT, FromDIP(ui::kGap));
    files_row->Add(LblFiles, 1, wxALIGN_CENTRE_VERTICAL);
    files->SetSizer(files_row);
    field(u"文件", files);
    auto* format = new wxPanel(this);
    auto* format_row = new wxBoxSizer(wxHORIZONTAL);
    CboFormat = new wxChoice(format, wxID_ANY);
    CboFormat->Append(ui::ToWx(u"自动识别"));
    for (const exchange::QuestionFormat one : kFormats) CboFormat->Append(ui::ToWx(exchange::NameOf(one)));
    CboFormat->SetSelection(0);
    SetSpokenName(*CboFormat, u"格式");
    BtnTemplate = new wxButton(format, wxID_ANY, ui::ToWx(u"表格样例(&T)…"));
    BtnTemplate->SetToolTip(ui::ToWx(u"写出一个带例题的 CSV 表格，在电子表格中填写以后导入"));
    format_row->Add(CboFormat, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
    format_row->Add(BtnTemplate, 0, wxALIGN_CENTRE_VERTICAL);
    format->SetSizer(format_row);
    field(u"格式(&R)", format, false);
    CboBank = new wxComboBox(this, wxID_ANY);
    for (const exchange::BankEntry& bank : banks_) CboBank->Append(ui::ToWx(bank.code));
    CboBank->ChangeValue(ui::ToWx(code));
    CboBank->SetToolTip(ui::ToWx(u"选择已有的题库，或者写上新题库的代码（英文字母和数字）"));
    field(u"题库代码(&B)", CboBank);
    TxtName = new wxTextCtrl(this, wxID_ANY);
    field(u"新题库的名称(&N)", TxtName);
    SpnSubject =
        new wxSpinCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS, 1, 9999, 1);
    field(u"新题库的科目(&U)", SpnSubject, false);
    box->Add(grid, 0, wxEXPAND | wxALL, FromDIP(ui::kWide));

    LblSummary = MakeLabel(this, u"", TextSize::Body, true);
    box->Add(LblSummary, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(ui::kWide));
    auto* frame = new wxPanel(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_THEME);
    auto* inside = new wxBoxSizer(wxVERTICAL);
    LvNotices = new ui::ListView(frame, {ui::Icon::Pass, ui::Icon::Fail});
    SetSpokenName(*LvNotices, u"将要发生的改动", Role::List);
    ShowColumns(false);
    LvNotices->SetEmptyText(u"没有需要说明的改动");
    inside->Add(LvNotices, 1, wxEXPAND);
    frame->SetSizer(inside);
    box->Add(frame, 1, wxEXPAND | wxLEFT | wxRIGHT, FromDIP(ui::kWide));
    TxtNotice = new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, FromDIP(wxSize(200, kNoticeHeight)),
                               wxTE_MULTILINE | wxTE_READONLY | wxBORDER_NONE);
    TxtNotice->SetBackgroundColour(GetBackgroundColour());
    SetSpokenName(*TxtNotice, u"选中的一行");
    box->AddSpacer(FromDIP(ui::kGap));
    box->Add(TxtNotice, 0, wxEXPAND | wxLEFT | wxRIGHT, FromDIP(ui::kWide));

    ChkKeepGoing = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"略过有错误的试题，导入其余的(&K)"));
    ChkReplace = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"删除题库中有而文件中没有的试题(&D)"));
    auto* foot = new wxBoxSizer(wxHORIZONTAL);
    auto* checks = new wxBoxSizer(wxVERTICAL);
    checks->Add(ChkKeepGoing, 0, wxBOTTOM, FromDIP(ui::kTiny));
    checks->Add(ChkReplace);
    foot->Add(checks, 1, wxALIGN_CENTRE_VERTICAL);
    BtnImport = new wxButton(this, wxID_OK, ui::ToWx(u"导入(&I)"));
    foot->Add(BtnImport, 0, wxALIGN_BOTTOM | wxRIGHT, FromDIP(ui::kGap));
    foot->Add(new wxButton(this, wxID_CANCEL, ui::ToWx(u"取消(&C)")), 0, wxALIGN_BOTTOM);
    box->Add(foot, 0, wxEXPAND | wxALL, FromDIP(ui::kWide));
    SetSizer(box);
    SetSize(FromDIP(ui::kMediumWindow.first));
    CentreOnParent();

    BtnFiles->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ChooseFiles(); });
    BtnTemplate->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { WriteTemplate(); });
    CboFormat->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) {
        if (!files_.empty()) Read(files_);
    });
    soon_.SetOwner(this);
    Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Plan(); });
    const auto plan_soon = [this](wxCommandEvent&) { PlanSoon(); };
    CboBank->Bind(wxEVT_TEXT, plan_soon);
    CboBank->Bind(wxEVT_COMBOBOX, plan_soon);
    SpnSubject->Bind(wxEVT_SPINCTRL, [this](wxSpinEvent&) { Plan(); });
    const auto show = [this](wxCommandEvent&) { ShowPlan(); };
    ChkReplace->Bind(wxEVT_CHECKBOX, show);
    ChkKeepGoing->Bind(wxEVT_CHECKBOX, show);
    BtnImport->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Import(); });
    const auto show_notice = [this](wxListEvent& event) {
        event.Skip();
        ShowNotice();
    };
    LvNotices->Bind(wxEVT_LIST_ITEM_SELECTED, show_notice);
    LvNotices->Bind(wxEVT_LIST_ITEM_DESELECTED, show_notice);
}

void ImportDialog::ShowNotice() {
    const ui::ListRow* row = LvNotices->SelectedRow();
    TxtNotice->ChangeValue(row == nullptr ? wxString() : ui::ToWx(row->cells[3]));
}

void ImportDialog::ShowColumns(bool several_files) {
    LvNotices->ClearColumns();
    LvNotices->AddColumn(u"", FromDIP(72), 0);
    if (several_files) LvNotices->AddColumn(u"文件", FromDIP(130), 4);
    LvNotices->AddColumn(u"行", FromDIP(56), 1, wxLIST_FORMAT_RIGHT);
    LvNotices->AddColumn(u"试题", FromDIP(several_files ? 140 : 200), 2);
    LvNotices->AddColumn(u"说明", FromDIP(several_files ? 350 : 420), 3);
}

void ImportDialog::ChooseFiles() {
    wxFileDialog dialog(
        this, ui::ToWx(u"选择要导入的文件"), wxString(), wxString(),
        ui::ToWx(
            u"试题文件 (*.gift;*.aiken;*.txt;*.xml;*.csv;*.tsv)|*.gift;*.aiken;*.txt;*.xml;*.csv;*.tsv|所有文件|*"),
        wxFD_OPEN | wxFD_FILE_MUST_EXIST | wxFD_MULTIPLE);
    if (dialog.ShowModal() != wxID_OK) return;
    wxArrayString paths;
    dialog.GetPaths(paths);
    std::vector<std::u16string> files;
    for (const wxString& path : paths) files.push_back(ui::FromWx(path));
    Read(files);
}

void ImportDialog::WriteTemplate() {
    wxFileDialog dialog(this, ui::ToWx(u"写出表格样例"), wxString(), ui::ToWx(u"例题.csv"),
                        ui::ToWx(u"CSV 表格 (*.csv)|*.csv"), wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() != wxID_OK) return;
    const std::u16string file = ui::FromWx(dialog.GetPath());
    try {
        WriteWholeFile(file, exchange::CsvTemplate());
        ui::Inform(this, u"已写出 " + file + u"。", kTitle);
    } catch (const AutomationError& error) {
        ui::Inform(this, error.Description(), kTitle);
    }
}

// Comparing takes the whole bank: not for every letter of its code.
void ImportDialog::PlanSoon() {
    BtnImport->Disable();
    soon_.StartOnce(kPauseInTyping);
}

void ImportDialog::Read(const std::vector<std::u16string>& files) {
    files_ = files;
    std::optional<exchange::QuestionFormat> format;
    if (const int chosen = CboFormat->GetSelection(); chosen > 0) format = kFormats[chosen - 1];
    read_ = {};
    problem_.clear();
    std::u16string names;
    WorkProgress progress(this, kTitle);
    for (const std::u16string& file : files) {
        const std::u16string name = file.substr(file.find_last_of(u"\\/") + 1);
        names.append(names.empty() ? u"" : u"、").append(name);
        exchange::Import one;
        try {
            one = exchange::ReadFile(file, format, progress.Of(u"正在读文件…"));
        } catch (const AutomationError& error) {
            one.AddNotice(exchange::Notice::Kind::Error, std::size_t{0}, error.Description());
        } catch (const exchange::Cancelled&) {
            read_ = {};
            problem_ = u"已经停止。";
            break;
        }
        read_.Append(std::move(one), name);
    }
    ShowColumns(files.size() > 1);
    LblFiles->SetLabelText(ui::ToWx(names));
    Plan();
}

void ImportDialog::Plan() {
    soon_.Stop();
    plan_ = {};
    const std::u16string code(exchange::Trimmed(ui::FromWx(CboBank->GetValue())));
    const auto known =
        std::find_if(banks_.begin(), banks_.end(), [&](const auto& bank) { return EqualNames(bank.code, code); });
    TxtName->Enable(known == banks_.end());
    SpnSubject->Enable(known == banks_.end());
    if (known != banks_.end()) {
        TxtName->ChangeValue(ui::ToWx(known->name));
        SpnSubject->SetValue(known->subject);
    }
    if (problem_.empty() || !read_.questions.empty() || !read_.notices.empty()) {
        problem_.clear();
        if (code.empty()) {
            problem_ = u"请写上题库代码。";
        } else {
            try {
                WorkProgress progress(this, kTitle);
                plan_ = exchange::PlanImport(folder_.Banks(),
                                             {code, ui::FromWx(TxtName->GetValue()), u"", SpnSubject->GetValue()},
                                             read_.questions, progress.Of(u"正在与题库比较…"));
            } catch (const AutomationError& error) {
                problem_ = error.Description();
            } catch (const exchange::Cancelled&) {
                problem_ = u"已经停止。";
            }
        }
    }
    ShowPlan();
}

void ImportDialog::ShowPlan() {
    rows_.Clear();
    errors_ = 0;
    std::size_t number = 0;
    std::optional<long> first_error;
    const auto add = [&](std::u16string_view word, std::u16string line, std::u16string question, std::u16string text,
                         std::u16string file, bool error) {
        ui::ListRow row;
        row.key = u"n" + ToText(++number);
        row.cells = {std::u16string(word), std::move(line), std::move(question), std::move(text), std::move(file)};
        row.warning = error;
        if (error && !first_error) first_error = static_cast<long>(rows_.Size());
        rows_.Add(std::move(row));
    };
    for (const auto* notices : {&read_.notices, &plan_.notices}) {
        for (const exchange::Notice& notice : *notices) {
            const bool error = notice.kind == exchange::Notice::Kind::Error;
            if (error) ++errors_;
            add(WordOf(notice.kind), notice.line == 0 ? u"" : ToText(notice.line), notice.question, notice.text,
                notice.file, error);
        }
    }
    for (std::size_t i = 0; i < plan_.recognition.questions.size(); ++i) {
        const exchange::Recognised& one = plan_.recognition.questions[i];
        if (one.as != exchange::Recognised::As::Changed) continue;
        add(u"修改", ToText(read_.questions[i].line), plan_.existing[one.existing].rec_no,
            u"改动：" + one.changes + u"。", read_.questions[i].file, false);
    }
    // What could not be read may be what the bank has.
    const bool can_replace = problem_.empty() && !plan_.is_new && errors_ == 0;
    ChkReplace->Enable(can_replace);
    if (!can_replace) ChkReplace->SetValue(false);
    if (ChkReplace->GetValue()) {
        for (const std::size_t gone : plan_.recognition.not_found) {
            add(u"删除", u"", plan_.existing[gone].rec_no,
                u"文件中没有这道题：" + exchange::Brief(plan_.existing[gone].stem.PlainText(), 60), u"", true);
        }
    }
    LvNotices->Show(rows_);
    if (LvNotices->SelectedRow() == nullptr && rows_.Size() > 0) LvNotices->SelectRow(first_error.value_or(0));
    ShowNotice();
    std::u16string summary = problem_;
    if (summary.empty()) {
        summary = (plan_.is_new ? u"新建题库：" : u"题库“" + plan_.bank.name + u"”：") + plan_.recognition.Summary();
        if (ChkReplace->GetValue()) summary += u"，" + Removal();
        if (errors_ > 0) summary += u"；有 " + ToText(errors_) + u" 处错误";
    }
    LblSummary->SetLabelText(ui::ToWx(summary));
    LblSummary->SetToolTip(ui::ToWx(summary));  // it may be longer than the window is wide
    LblSummary->SetForegroundColour(Colour(errors_ > 0 ? Tint::Bad : Tint::Text));
    ChkKeepGoing->Enable(errors_ > 0);
    const bool current = !soon_.IsRunning();  // else this is still the plan for another bank
    BtnImport->Enable(current && problem_.empty() && plan_.Possible() > 0 &&
                      (errors_ == 0 || ChkKeepGoing->GetValue()));
}

// "删除 3 题", and how many of them are used.
std::u16string ImportDialog::Removal() {
    try {
        return RemovalSummary(folder_, plan_);
    } catch (const AutomationError& error) {
        return u"删除 " + ToText(plan_.recognition.not_found.size()) + u" 题（" + error.Description() + u"）";
    }
}

void ImportDialog::Import() {
    bool written = false;
    try {
        if (plan_.is_new) {
            const std::u16string name(exchange::Trimmed(ui::FromWx(TxtName->GetValue())));
            if (!name.empty()) plan_.bank.name = name;
        }
        const std::size_t gone = ChkReplace->GetValue() ? plan_.recognition.not_found.size() : 0;
        if (gone > 0 && !Confirm(this, u"将从题库中" + Removal() + u"。\n要继续吗？", kTitle, u"删除", u"取消")) return;
        WorkProgress progress(this, kTitle);
        exchange::CarryOut(folder_.Banks(), plan_, read_.questions,
                           {ChkReplace->GetValue(), NumbersInUse(folder_, plan_.bank.code)},
                           progress.Of(u"正在写入题库…"));
        written = true;
        RequireSubject(folder_, plan_.bank.subject, plan_.bank.name);
        EndModal(wxID_OK);
    } catch (const AutomationError& error) {
        ui::Inform(this, error.Description() + (written ? u"\n试题已经写入题库。" : u"\n没有写入任何内容。"), kTitle);
        Plan();  // the bank may be another one by now
    } catch (const exchange::Cancelled&) {
        ui::Inform(this, u"已经停止，题库没有改动。", kTitle);
    }
}

}  // namespace qmtrain::host
