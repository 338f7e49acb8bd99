#include "host/papers/compose_dialog.h"

#include <random>

#include "core/text.h"
#include "host/widgets/look.h"
#include "ui/wx_text.h"

namespace qmtrain::host {

ComposeDialog::ComposeDialog(wxWindow* parent, const DataFolder& folder, std::vector<Bank> banks)
    : FormDialog(parent, u"从题库组卷"), banks_(std::move(banks)) {
    CboBank = new wxChoice(this, wxID_ANY);
    for (const Bank& bank : banks_) CboBank->Append(ui::ToWx(bank.name + u"（" + bank.code + u"）"));
    CboBank->SetSelection(0);
    AddControl(u"题库(&B)", CboBank);
    TxtTitle = AddText(u"试卷名称(&N)", u"");
    SpnMinutes = AddNumber(u"考试时间（分钟）", 30, 1, 600);
    for (const QuestionKind kind :
         {QuestionKind::Single, QuestionKind::Multiple, QuestionKind::YesNo, QuestionKind::Fill}) {
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
        paper_no_ = ComposePaper(folder, banks_[CboBank->GetSelection()], plan, std::random_device()());
    });
}

std::int32_t ComposeDialog::SubjectCode() const {
    return banks_[CboBank->GetSelection()].subject;
}

void ComposeDialog::ShowBank() {
    const Bank& bank = banks_[CboBank->GetSelection()];
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
