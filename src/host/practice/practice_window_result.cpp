// The practice window when the paper has been handed in: the result, and the questions with their answers.

#include <algorithm>

#include <wx/wupdlock.h>

#include "host/practice/practice_window.h"
#include "host/widgets/look.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {

// From now on the window shows what came out.
void PracticeWindow::Finished() {
    const wxWindowUpdateLocker locker(this);
    Notice->Dismiss();
    for (wxButton* button : {BtnCheck, BtnMark, BtnClear, BtnLeave, BtnHandIn, BtnTime}) {
        if (button != nullptr) button->Hide();
    }
    Progress->Hide();
    BtnPrevious->Enable();
    BtnNext->SetLabel(ui::ToWx(u"下一题(&N)"));
    ShowTime();
    Summary = new ResultView(this, *result_,
                             practice_.GetPaper().title + u"　" + std::u16string(ModeText(practice_.GetMode())));
    body_->Insert(0, Summary, 1, wxEXPAND | wxRIGHT, FromDIP(ui::kMargin));
    Summary->MoveBeforeInTabOrder(Navigator);

    auto* row = new wxBoxSizer(wxHORIZONTAL);
    const auto button = [&](std::u16string_view caption) {
        auto* one = new wxButton(this, wxID_ANY, ui::ToWx(caption));
        row->Add(one, 0, wxRIGHT, FromDIP(ui::kGap));
        return one;
    };
    const bool mistakes = !result_->Mistakes().empty();
    BtnSummary = button(u"成绩单(&S)");
    ChkMistakes = new wxCheckBox(this, wxID_ANY, ui::ToWx(u"只看错题(&M)"));
    ChkMistakes->Enable(mistakes);
    row->Insert(1, ChkMistakes, 0, wxALIGN_CENTRE_VERTICAL | wxRIGHT, FromDIP(ui::kGap));
    row->AddStretchSpacer();
    BtnRedoMistakes = button(u"重做错题(&W)");
    BtnRedoMistakes->Enable(mistakes);
    BtnRedoPaper = button(u"重做试卷(&R)");
    BtnClose = button(u"关闭(&C)");
    row->GetItem(row->GetItemCount() - 1)->SetBorder(0);
    buttons_->Add(row, 0, wxEXPAND | wxTOP, FromDIP(ui::kGap));
    BtnSummary->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { ShowSummary(); });
    ChkMistakes->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) {
        ShowCells();
        const std::vector<std::size_t> wrong = result_->Mistakes();
        if (!ChkMistakes->GetValue() || wrong.empty()) return;
        const auto next = std::lower_bound(wrong.begin(), wrong.end(), Summary->IsShown() ? 0 : current_);
        GoTo(next == wrong.end() ? wrong.front() : *next);
    });
    BtnRedoMistakes->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Redo(Mode::Mistakes); });
    BtnRedoPaper->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
        Redo(practice_.GetMode() == Mode::Exam ? Mode::Exam : Mode::Exercise);  // all of it
    });
    BtnClose->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Leave(); });
    ShowCells();
    ShowSummary();
    if (result_->recorded) return;
    Notice->ShowMessage(ui::ToWx(u"尚未上传：服务器现在不能使用。答案保存在本机，会自动再次上传。"), wxICON_WARNING);
}

void PracticeWindow::ShowSummary() {
    LblTitle->SetLabelText(ui::ToWx(u"练习成绩"));
    LblKind->SetLabelText(wxString());
    LblPaper->SetLabelText(ui::ToWx(candidate_));
    Question->Hide();
    Summary->Show();
    ShowState();
    Navigator->SetCurrent(practice_.Size());
    Layout();
    BtnNext->SetFocus();
}

void PracticeWindow::Redo(Mode mode) {
    Practice::Start start{practice_.UserId(), practice_.GetEdition(), mode};
    if (mode == Mode::Mistakes) {
        for (const std::size_t i : result_->Mistakes()) start.questions.push_back(practice_.Place(i).number);
    }
    again_ = start;
    Leave();
}

}  // namespace qmtrain::host
