// What the main window's buttons and menus do.

#include <algorithm>

#include <wx/menu.h>

#include "core/error.h"
#include "host/app/main_window.h"
#include "host/app/people_dialogs.h"
#include "host/learning/analysis_window.h"
#include "host/learning/review_window.h"
#include "host/learning/wrong_window.h"
#include "host/papers/compose_dialog.h"
#include "host/practice/practice_window.h"
#include "host/samples/sample_data.h"
#include "host/widgets/ask.h"
#include "host/widgets/look.h"
#include "notes/ui_manage_notes.h"
#include "review/frm_view_paper.h"
#include "review/ui_train.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::host {

void MainWindow::ShowWrongQuestions(const WrongFilter* filter) {
    if (UserId() == -1) return;
    WrongWindow window(this, folder_, GetEdition(), UserId(), SubjectCode(), read_only_);
    if (filter != nullptr) window.SetFilter(*filter);
    window.ShowModal();
    Fill();
}

void MainWindow::ShowReview() {
    if (UserId() == -1) return;
    ReviewWindow(this, folder_, GetEdition(), UserId(), SubjectCode(), read_only_).ShowModal();
    Fill();
}

void MainWindow::ShowAnalysis(bool everybody) {
    AnalysisWindow window(this, folder_, GetEdition(), everybody ? -1 : UserId(), SubjectCode(), read_only_);
    window.ShowModal();
    if (!window.Chosen()) return;
    switch (window.Chosen()->action) {
        case Advice::Action::Review: return ShowReview();
        case Advice::Action::Drill: return ShowWrongQuestions(&window.Chosen()->filter);
        case Advice::Action::Exam: return LvPapers->SetFocus();
    }
}

void MainWindow::PractiseSelected(Mode mode) {
    const int row = LvPapers->GetSelectedRow();
    if (row == wxNOT_FOUND || read_only_ || !BtnExam->IsEnabled()) return;
    StartPaper(overview_.papers[row].paper, mode);
}

void MainWindow::StartPaper(const Paper& paper, Mode mode) {
    Guarded([&] {
        Practice practice(folder_, paper, {UserId(), GetEdition(), mode});
        Practise(this, folder_, practice);
    });
    Fill();
}

void MainWindow::Resume(std::int32_t train_id) {
    Guarded([&] {
        Practice practice(folder_, train_id);
        Practise(this, folder_, practice);
    });
    Fill();
    LvPapers->SetFocus();  // the button that was pressed is gone
}

void MainWindow::AskDiscard(const UnfinishedPractice& practice) {
    const std::u16string question = practice.Text() + u"\n放弃以后，答案就没有了。要放弃这次练习吗？";
    if (!Confirm(this, question, kMainTitle, u"放弃(&D)", u"保留(&K)")) return;
    Guarded([&] { Discard(folder_, practice.train_id); });
    Fill();
    if (BtnDiscard.empty()) return LvPapers->SetFocus();
    BtnDiscard.front()->SetFocus();  // the button that was pressed is gone
}

void MainWindow::ReviewSelected() {
    const PastPractice* past = SelectedPast();
    if (past == nullptr) return;
    const Edition edition = past->edition.value_or(GetEdition());
    review::FrmViewPaper window({SourceIn(folder_, edition, UserId(), SubjectCode()), past->training.id});
    window.SetIcons(ProgramIcon());
    window.ShowModal();
    LvLast->SetFocus();
}

void MainWindow::RedoSelected() {
    const PastPractice* past = SelectedPast();
    if (past == nullptr || read_only_) return;
    Guarded([&] {
        const auto paper = PaperOfTraining(folder_, past->training.id);
        if (!paper) RaiseComponentError(u"qmtrain", u"找不到这次练习的试卷。");
        const Mode mode = past->mode == Mode::Exercise ? Mode::Exercise : Mode::Exam;
        StartPaper(*paper, mode);
    });
}

void MainWindow::ShowPastMenu() {
    if (SelectedPast() == nullptr) return;
    wxMenu menu;
    const auto add = [&](std::u16string_view text, auto action, bool enabled = true) {
        wxMenuItem* item = menu.Append(wxID_ANY, ui::ToWx(text));
        item->Enable(enabled);
        menu.Bind(
            wxEVT_MENU, [this, action](wxCommandEvent&) { CallAfter(action); }, item->GetId());
    };
    add(u"查看试卷(&V)", [this] { ReviewSelected(); });
    add(
        u"重做试卷(&R)", [this] { RedoSelected(); }, !read_only_ && UserId() != -1);
    menu.AppendSeparator();
    add(u"练习历史(&H)…", [this] { ShowHistory(); });
    PopupMenu(&menu);
}

void MainWindow::ShowRules() {
    const int chosen = CboSubject->GetSelection();
    if (chosen < 0) return;
    const Subject& subject = subjects_[chosen];
    ui::Inform(this, subject.instructions.empty() ? std::u16string(u"这个科目没有考生须知。") : subject.instructions,
               u"考生须知：" + subject.name);
}

void MainWindow::EditCandidate(bool is_new) {
    const int chosen = CboUser->GetSelection();
    if (!is_new && chosen < 0) return;
    CandidateDialog dialog(this, folder_, is_new ? Candidate{} : users_[chosen]);
    if (dialog.ShowModal() != wxID_OK) return;
    Guarded([&] {
        users_ = CandidatesOf(folder_);
        FillPeople(dialog.Id(), SubjectCode());
    });
    Fill();
}

void MainWindow::EditSubject(bool is_new) {
    const int chosen = CboSubject->GetSelection();
    if (!is_new && chosen < 0) return;
    SubjectDialog dialog(this, folder_, is_new ? Subject{} : subjects_[chosen]);
    if (dialog.ShowModal() != wxID_OK) return;
    Guarded([&] {
        const std::int32_t user = UserId();
        subjects_ = SubjectsOf(folder_);
        FillPeople(user, dialog.Code());
    });
    Fill();
}

void MainWindow::ComposeFromBank() {
    Guarded([this] {
        std::vector<Bank> banks = BanksOf(folder_, GetEdition());
        if (banks.empty()) {
            RaiseComponentError(u"qmtrain", std::u16string(u"题库目录中还没有题库：") +
                                                (GetEdition() == Edition::Network ? folder_.LocalPaper()
                                                                                  : folder_.Banks() + u"\\Total.mdb"));
        }
        ComposeDialog dialog(this, folder_, std::move(banks));
        if (dialog.ShowModal() != wxID_OK) return;
        const std::int32_t user = UserId();
        subjects_ = SubjectsOf(folder_);
        FillPeople(user, dialog.SubjectCode());
        Fill();
        const auto& papers = overview_.papers;
        const auto made = std::find_if(papers.begin(), papers.end(),
                                       [&](const PaperSummary& one) { return one.paper.number == dialog.PaperNo(); });
        if (made != papers.end()) LvPapers->SelectRow(static_cast<unsigned>(made - papers.begin()));
    });
}

void MainWindow::MakeExamples() {
    Guarded([this] {
        MakeSampleData(folder_.path);
        const std::int32_t user = UserId();
        subjects_ = SubjectsOf(folder_);
        FillPeople(user, -1);
    });
    Fill();
}

void MainWindow::ShowHistory() {
    ShowHistory(UserId(), SubjectCode());
}

void MainWindow::ShowHistory(std::int32_t user, std::int32_t subject) {
    UITrain history;
    history.Source(SourceIn(folder_, GetEdition(), user, subject));
    history.ReDoQuestionPaper = [this](std::int32_t train_id, bool) {
        Guarded([&] {
            const auto paper = PaperOfTraining(folder_, train_id);
            if (!paper) return ui::Inform(this, u"找不到这次练习的试卷。", kMainTitle);
            if (read_only_) return ui::Inform(this, u"数据文件夹是只读的，不能练习。", kMainTitle);
            StartPaper(*paper, Mode::Exam);
        });
    };
    history.ShowUI();
}

void MainWindow::ShowNotes() {
    ShowNotes(UserId(), SubjectCode());
}

void MainWindow::ShowNotes(std::int32_t user, std::int32_t subject) {
    UIManageNotes notes;
    notes.Source(SourceIn(folder_, GetEdition(), user, subject));
    notes.TotalPath(folder_.Banks());
    notes.ShowDlg();
}

}  // namespace qmtrain::host
