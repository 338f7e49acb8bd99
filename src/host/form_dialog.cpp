#include "host/form_dialog.h"

#include <random>

#include "core/error.h"
#include "core/text.h"
#include "exchange/question.h"
#include "host/look.h"
#include "host/outcome.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
const wxSize kTextSize(300, -1);
const wxSize kLargeTextSize(300, 120);

std::u16string WithoutAccelerator(std::u16string_view caption) {
    return std::u16string(caption.substr(0, caption.find(u'(')));
}

}  // namespace

FormDialog::FormDialog(wxWindow* parent, std::u16string_view title)
    : wxDialog(parent, wxID_ANY, ui::ToWx(title), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      grid_(new wxFlexGridSizer(2, FromDIP(wxSize(kMargin, kGap)))),
      sizer_(new wxBoxSizer(wxVERTICAL)) {
    grid_->AddGrowableCol(1);
    sizer_->Add(grid_, 1, wxEXPAND | wxALL, FromDIP(kWide));
}

void FormDialog::AddControl(std::u16string_view caption, wxWindow* control, bool grows) {
    grid_->Add(new wxStaticText(this, wxID_ANY, ui::ToWx(std::u16string(caption) + u"：")), 0,
               grows ? wxALIGN_TOP : wxALIGN_CENTRE_VERTICAL);
    grid_->Add(control, 1, wxEXPAND);
    if (grows) grid_->AddGrowableRow(static_cast<std::size_t>(grid_->GetItemCount()) / 2 - 1);
    SetSpokenName(*control, WithoutAccelerator(caption));
}

wxTextCtrl* FormDialog::AddText(std::u16string_view caption, std::u16string_view value, bool large) {
    auto* text = new wxTextCtrl(this, wxID_ANY, ui::ToWx(value), wxDefaultPosition,
                                FromDIP(large ? kLargeTextSize : kTextSize), large ? wxTE_MULTILINE : 0);
    if (large) SetInnerMargin(*text);
    AddControl(caption, text, large);
    return text;
}

wxSpinCtrl* FormDialog::AddNumber(std::u16string_view caption, int value, int least, int most) {
    auto* number = new wxSpinCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS, least,
                                  most, value);
    AddControl(caption, number);
    return number;
}

void FormDialog::AddLine(wxStaticText* line) {
    sizer_->Add(line, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(kWide));
}

void FormDialog::Finish(std::u16string_view ok, std::function<void()> keep) {
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    BtnOK = new wxButton(this, wxID_OK, ui::ToWx(ok));
    auto* cancel = new wxButton(this, wxID_CANCEL, ui::ToWx(u"取消(&C)"));
    BtnOK->SetDefault();
    BtnOK->Bind(wxEVT_BUTTON, [this, keep = std::move(keep)](wxCommandEvent&) {
        try {
            keep();
        } catch (const AutomationError& error) {
            return ui::Inform(this, error.Description(), ui::FromWx(GetTitle()));
        } catch (const exchange::Cancelled&) {
            return;  // the form stays open
        }
        EndModal(wxID_OK);
    });
    buttons->AddStretchSpacer();
    buttons->Add(BtnOK, 0, wxRIGHT, FromDIP(kGap));
    buttons->Add(cancel);
    sizer_->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(kWide));
    SetSizerAndFit(sizer_);
    CentreOnParent();
}

CandidateDialog::CandidateDialog(wxWindow* parent, const DataFolder& folder, Candidate candidate)
    : FormDialog(parent, candidate.id == -1 ? u"新建考生" : u"修改考生"), candidate_(std::move(candidate)) {
    TxtName = AddText(u"姓名(&N)", candidate_.name);
    TxtNumber = AddText(u"考号(&E)", candidate_.exam_number);
    Finish(u"保存(&S)", [this, folder] {
        candidate_.name = ui::FromWx(TxtName->GetValue());
        candidate_.exam_number = ui::FromWx(TxtNumber->GetValue());
        candidate_.id = SaveCandidate(folder, candidate_);
    });
    TxtName->SetFocus();
}

SubjectDialog::SubjectDialog(wxWindow* parent, const DataFolder& folder, Subject subject)
    : FormDialog(parent, subject.code == -1 ? u"新建科目" : u"修改科目"), subject_(std::move(subject)) {
    TxtName = AddText(u"科目名称(&N)", subject_.name);
    TxtRules = AddText(u"考生须知(&R)", subject_.instructions, true);
    Finish(u"保存(&S)", [this, folder] {
        subject_.name = ui::FromWx(TxtName->GetValue());
        subject_.instructions = ui::StoredLines(TxtRules->GetValue());
        subject_.code = SaveSubject(folder, subject_);
    });
    TxtName->SetFocus();
}

ComposeDialog::ComposeDialog(wxWindow* parent, const DataFolder& folder, std::vector<Bank> banks)
    : FormDialog(parent, u"从题库组卷"), banks_(std::move(banks)) {
    CboBank = new wxChoice(this, wxID_ANY);
    for (const Bank& bank : banks_) CboBank->Append(ui::ToWx(bank.name + u"（" + bank.code + u"）"));
    CboBank->SetSelection(0);
    AddControl(u"题库(&B)", CboBank);
    TxtTitle = AddText(u"试卷名称(&N)", u"");
    SpnMinutes = AddNumber(u"考试时间（分钟）", 30, 1, 600);
    for (const Kind kind : {Kind::Single, Kind::Multiple, Kind::YesNo, Kind::Fill}) {
        SpnCounts[kind] = AddNumber(std::u16string(KindName(kind)) + u"题数", 0, 0, 0);
    }
    LblProblem = new wxStaticText(this, wxID_ANY, wxString());
    LblProblem->SetForegroundColour(Colour(Tint::Quiet));
    AddLine(LblProblem);
    ShowBank();
    CboBank->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { ShowBank(); });
    Finish(u"组卷(&M)", [this, folder] {
        PaperPlan plan{ui::FromWx(TxtTitle->GetValue()), SpnMinutes->GetValue(), {}};
        for (const auto& [kind, number] : SpnCounts) plan.counts[kind] = number->GetValue();
        paper_no_ = ComposePaper(folder, banks_[static_cast<std::size_t>(CboBank->GetSelection())], plan,
                                 std::random_device()());
    });
}

std::int32_t ComposeDialog::SubjectCode() const {
    return banks_[static_cast<std::size_t>(CboBank->GetSelection())].subject;
}

void ComposeDialog::ShowBank() {
    const Bank& bank = banks_[static_cast<std::size_t>(CboBank->GetSelection())];
    PaperPlan plan = UsualPlan(bank);
    TxtTitle->ChangeValue(ui::ToWx(plan.title));
    SpnMinutes->SetValue(plan.minutes);
    std::u16string has;
    for (const auto& [kind, number] : SpnCounts) {
        const auto found = bank.questions.find(kind);
        const int count = found == bank.questions.end() ? 0 : static_cast<int>(found->second.size());
        number->SetRange(0, count);
        number->SetValue(plan.counts[kind]);
        number->Enable(count > 0);
        has.append(has.empty() ? u"题库中有 " : u"，").append(KindName(kind)).append(u" ") += ToText(count);
    }
    const std::u16string line = bank.problem.empty() ? has + u"。操作题不能自动组卷。" : u"不能使用：" + bank.problem;
    LblProblem->SetLabelText(ui::ToWx(line));
    LblProblem->Wrap(FromDIP(420));
    if (GetSizer() != nullptr) Fit();
}

}  // namespace qmtrain::host
