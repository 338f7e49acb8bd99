#include "host/rules_dialog.h"

#include <random>

#include <wx/panel.h>

#include "core/error.h"
#include "core/text.h"
#include "host/look.h"
#include "host/outcome.h"
#include "host/work_progress.h"
#include "ui/wx_text.h"

namespace qmtrain::host {

RulesDialog::RulesDialog(wxWindow* parent, const DataFolder& folder)
    : FormDialog(parent, u"按规则组卷"), banks_(exchange::BanksIn(folder.Banks())) {
    LstBanks = new wxCheckListBox(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(-1, 88)));
    for (const exchange::BankEntry& bank : banks_) {
        LstBanks->Append(ui::ToWx(bank.name + u"（" + bank.code + u"，科目 " + ToText(bank.subject) + u"）"));
    }
    if (!banks_.empty()) LstBanks->Check(0);
    AddControl(u"题库(&B)", LstBanks);
    TxtTitle = AddText(u"试卷名称(&N)", u"测验");
    SpnMinutes = AddNumber(u"考试时间（分钟）", 60, 1, 600);
    for (const Kind kind : {Kind::Single, Kind::Multiple, Kind::YesNo, Kind::Fill, Kind::Operation}) {
        auto* row = new wxPanel(this);
        auto* sizer = new wxBoxSizer(wxHORIZONTAL);
        const std::u16string name(KindName(kind));
        SpnCounts[kind] = new wxSpinCtrl(row, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS,
                                         0, 500, kind == Kind::Single ? 10 : 0);
        SpnPoints[kind] = new wxSpinCtrlDouble(row, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                                               wxSP_ARROW_KEYS, 0.5, 100, UsualPoints(kind), 0.5);
        SetSpokenName(*SpnCounts[kind], name + u"题数");
        SetSpokenName(*SpnPoints[kind], name + u"每题的分数");
        const auto word = [&](std::u16string_view text) {
            sizer->Add(new wxStaticText(row, wxID_ANY, ui::ToWx(text)), 0, wxALIGN_CENTRE_VERTICAL | wxLEFT | wxRIGHT,
                       FromDIP(kTiny));
        };
        sizer->Add(SpnCounts[kind], 1);
        word(u"题，每题");
        sizer->Add(SpnPoints[kind], 1);
        word(u"分");
        row->SetSizer(sizer);
        AddControl(name, row);
    }
    const auto difficulty = [&](std::u16string_view caption) {
        auto* choice = new wxChoice(this, wxID_ANY);
        for (const char16_t* text : {u"（不限）", u"易", u"中", u"难"}) choice->Append(ui::ToWx(text));
        choice->SetSelection(0);
        AddControl(caption, choice);
        return choice;
    };
    CboLeast = difficulty(u"最低难度");
    CboMost = difficulty(u"最高难度");
    ChkSeldom = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"先选练习次数少的试题(&S)"));
    AddControl(u"先后", ChkSeldom);
    ChkNotFromLast = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"不选这个科目上一份试卷的试题(&L)"));
    AddControl(u"排除", ChkNotFromLast);
    SpnSeed = AddNumber(u"随机数（相同则试卷相同）", static_cast<int>(std::random_device()() % 100000), 0, 1000000);
    Finish(u"组卷(&M)", [this, folder] {
        WorkProgress progress(this, u"按规则组卷");
        paper_no_ = MakePaper(folder, Rules(), progress.Of(u"正在读题库…"));
    });
}

PaperRules RulesDialog::Rules() const {
    PaperRules rules;
    rules.title = ui::FromWx(TxtTitle->GetValue());
    rules.minutes = SpnMinutes->GetValue();
    for (std::size_t i = 0; i < banks_.size(); ++i) {
        if (LstBanks->IsChecked(static_cast<unsigned>(i))) rules.banks.push_back(banks_[i].code);
    }
    for (const auto& [kind, count] : SpnCounts) {
        rules.parts[kind] = {count->GetValue(), static_cast<float>(SpnPoints.at(kind)->GetValue())};
    }
    rules.least_difficulty = CboLeast->GetSelection();
    rules.most_difficulty = CboMost->GetSelection();
    rules.seldom_first = ChkSeldom->GetValue();
    rules.none_from_last = ChkNotFromLast->GetValue();
    rules.seed = static_cast<unsigned>(SpnSeed->GetValue());
    return rules;
}

}  // namespace qmtrain::host
