// A candidate's wrong questions appear, are practised and disappear; the schedule moves; the analysis leads on.

#include <cmath>

#include "host/app/main_window.h"
#include "host/learning/analysis_window.h"
#include "host/learning/class_dialog.h"
#include "host/learning/review_window.h"
#include "host/learning/wrong_window.h"
#include "host/practice/hand_in_dialog.h"
#include "host/practice/practice_window.h"
#include "host_fixture.h"
#include "ui/support/message_boxes.h"
#include "ui/support/window_script.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

using test::Click;
using test::Shown;
using test::WindowScript;

std::string Utf8(const wxString& text) {
    return ToUtf8(ui::FromWx(text));
}

class LearningWindowTest : public test::WithDisplay<test::HostTest> {
protected:
    void Practise(const std::set<std::size_t>& wrong, double days_ago = 0) {
        Practice practice(data_, MixedPaper(), {test::kCandidate});
        for (std::size_t i = 0; i < practice.Size(); ++i) {
            if (!wrong.contains(i)) practice.Answer(i, RightAnswer(practice.Place(i)));
        }
        practice.HandIn();
        if (days_ago == 0) return;
        dao::Connection(ClientDatabase(data_.path))
            ->Execute(u"Update TrainInfo Set StartDate=StartDate-" + ToText(Value(days_ago)) + u" Where TrainID=" +
                      ToText(practice.TrainID()));
    }

    // Answers everything on the screen right, hands it in and closes what came out.
    void AnswerAllRight(WindowScript& script, PracticeWindow*& window) {
        script.Await("the practice", [&window] { return (window = Shown<PracticeWindow>()) != nullptr; })
            .Do([this, &window] {
                for (std::size_t i = 0; i < CountIn(*window); ++i) {
                    window->GoTo(i);
                    window->Question->Answers().Enter(AnswerTo(*window));
                }
                Click(*window->BtnHandIn);
            })
            .Await("the question", [] { return Shown<HandInDialog>() != nullptr; })
            .Do([] { Click(*Shown<HandInDialog>()->BtnHandIn); })
            .Await("the result", [&window] { return window->Summary != nullptr && window->Summary->IsShown(); })
            .Do([&window] { window->EndModal(wxID_OK); })
            .Await("the practice has closed", [] { return Shown<PracticeWindow>() == nullptr; });
    }

    // "第 1 / 2 题".
    static std::size_t CountIn(const PracticeWindow& window) {
        const std::string title = Utf8(window.LblTitle->GetLabelText());
        return std::stoul(title.substr(title.find('/') + 1));
    }

    // By the question's text: the paper's questions may have come in any order.
    std::u16string AnswerTo(PracticeWindow& window) const {
        const std::u16string stem = window.Question->Stem().Text().PlainText();
        for (const PaperQuestion& place : MixedPaper().questions) {
            if (LoadQuestion(data_, Edition::StandAlone, 1, place).stem.PlainText() == stem) return RightAnswer(place);
        }
        ADD_FAILURE() << "unknown question " << ToUtf8(stem);
        return {};
    }

    static void Check(wxCheckBox& box, bool checked) {
        box.SetValue(checked);
        wxCommandEvent event(wxEVT_CHECKBOX, box.GetId());
        event.SetInt(checked ? 1 : 0);
        box.ProcessWindowEvent(event);
    }
    static std::string Cell(const ui::ListView& list, long row, int column) {
        return Utf8(list.GetItemText(row, column));
    }

    test::MessageBoxes boxes_;
};

TEST_F(LearningWindowTest, WrongQuestionsAppearArePractisedAndDisappear) {
    Practise({1, 4});
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    WrongWindow* wrong = nullptr;
    PracticeWindow* practice = nullptr;
    WindowScript script;
    script.Await("the book", [&] { return (wrong = Shown<WrongWindow>()) != nullptr; }).Do([&] {
        ASSERT_EQ(wrong->LvWrong->GetItemCount(), 2);
        EXPECT_EQ(Cell(*wrong->LvWrong, 0, 4), "1 / 1");
        EXPECT_EQ(Cell(*wrong->LvWrong, 0, 6), "× 还没做对");
        EXPECT_NE(wrong->RtfQuestion->Text().PlainText().find(u"我的答案：（未作答）"), std::u16string::npos)
            << ToUtf8(wrong->RtfQuestion->Text().PlainText());
        EXPECT_FALSE(wrong->BtnRestore->IsEnabled());
        Click(*wrong->BtnDrill);
    });
    AnswerAllRight(script, practice);
    script
        .Do([&] {
            ASSERT_EQ(wrong->LvWrong->GetItemCount(), 2) << "ever wrong";
            EXPECT_EQ(Cell(*wrong->LvWrong, 0, 4), "1 / 2");
            EXPECT_EQ(Cell(*wrong->LvWrong, 0, 6), "√ 已做对");
            Check(*wrong->ChkOpen, true);
            EXPECT_EQ(wrong->LvWrong->GetItemCount(), 0) << "all of them are right now";
            EXPECT_FALSE(wrong->BtnDrill->IsEnabled());
            Check(*wrong->ChkOpen, false);
            wrong->TxtSearch->SetValue("JC05");  // sends its event itself
            EXPECT_EQ(wrong->LvWrong->GetItemCount(), 1);
            wrong->TxtSearch->Clear();
            Click(*wrong->BtnRemove);
        })
        .Await("one is gone", [&] { return wrong->LvWrong->GetItemCount() == 1; })
        .Do([&] { Click(*wrong->BtnRestore); })
        .Await("it is back", [&] { return wrong->LvWrong->GetItemCount() == 2; })
        .Do([&] { Click(*wrong->BtnRemove); })
        .Await("gone again", [&] { return wrong->LvWrong->GetItemCount() == 1; })
        .Play([&] { main.ShowWrongQuestions(); });
    EXPECT_EQ(Client(u"Select Count(*) From WrongQuestionRemoved"), "1\n");
    EXPECT_EQ(main.LvPapers->GetItemCount(), 4) << "the drill is not offered";
    EXPECT_EQ(main.LvLast->GetItemCount(), 2) << "but it is recorded like any other";
    Practise({1, 4});
    WrongBook book(data_, Edition::StandAlone, test::kCandidate, 1);
    book.Load();
    EXPECT_EQ(book.All().size(), 2U) << "wrong again";
}

TEST_F(LearningWindowTest, WhatIsDueIsReviewedAndTheScheduleMoves) {
    constexpr double kSecondStep = 15.0 / (24 * 60);  // days: in ten minutes, and the time that the test takes
    const double now = Now().days;
    if (std::floor(now) != std::floor(now + kSecondStep)) GTEST_SKIP() << "the second step would be tomorrow's";
    Practise({1}, 3);
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    EXPECT_EQ(Utf8(main.BtnToday->GetLabelText()), "今日复习 5(Y)");
    ReviewWindow* review = nullptr;
    PracticeWindow* practice = nullptr;
    WindowScript script;
    script.Await("the reviews", [&] { return (review = Shown<ReviewWindow>()) != nullptr; }).Do([&] {
        EXPECT_EQ(review->LvDue->GetItemCount(), 5);
        EXPECT_EQ(Utf8(review->LblDue->GetLabelText()), "今天要复习 5 题（5 题过期）");
        Click(*review->BtnStart);
    });
    AnswerAllRight(script, practice);
    script
        .Do([&] {
            // What was known goes on to days; what was wrong takes its second step today.
            EXPECT_EQ(review->LvDue->GetItemCount(), 1);
            EXPECT_EQ(Host(u"Select Count(*) From ReviewCards Where Stage=2"), "4\n");
            Check(*review->ChkExam, true);
            EXPECT_TRUE(review->DtpExam->IsEnabled());
            EXPECT_NE(Utf8(review->LblKnown->GetLabelText()).find("离考试 0 天"), std::string::npos);
        })
        .Play([&] { main.ShowReview(); });
    EXPECT_EQ(Utf8(main.BtnToday->GetLabelText()), "今日复习 1(Y)");
    SetExamDate(data_, test::kCandidate, 1, Date{Now().days - 2});
    main.Fill();
    EXPECT_EQ(Utf8(main.BtnToday->GetLabelText()), "今日复习(Y)") << "the exam is over";
}

TEST_F(LearningWindowTest, TheAnalysisLeadsToWhatShouldBePractised) {
    for (int i = 0; i < 5; ++i) Practise({1, 3}, 9 - i);
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    AnalysisWindow* analysis = nullptr;
    WrongWindow* wrong = nullptr;
    WindowScript script;
    script.Await("the analysis", [&] { return (analysis = Shown<AnalysisWindow>()) != nullptr; })
        .Do([&] {
            EXPECT_EQ(analysis->PicRates->RowCount(), 5U);
            EXPECT_TRUE(analysis->PicRates->ShowsRegression());
            EXPECT_EQ(analysis->PicTypes->GetMinSize().y, 5 * analysis->PicBanks->GetMinSize().y)
                << "types of one bank";
            ASSERT_EQ(analysis->BtnAdvice.size(), 3U);
            EXPECT_EQ(Utf8(analysis->LblAdvice[1]->GetLabelText()), "有 2 道题错了两次以上，到现在还没有做对。");
            Click(*analysis->BtnAdvice[1]);
        })
        .Await("the questions", [&] { return (wrong = Shown<WrongWindow>()) != nullptr; })
        .Do([&] {
            EXPECT_EQ(wrong->LvWrong->GetItemCount(), 2);
            EXPECT_TRUE(wrong->ChkTwice->GetValue());
            EXPECT_TRUE(wrong->ChkOpen->GetValue());
        })
        .Play([&] { main.ShowAnalysis(); });

    ClassDialog* chosen = nullptr;
    WindowScript teacher;
    teacher.Await("everybody's", [&] { return (analysis = Shown<AnalysisWindow>()) != nullptr; })
        .Do([&] {
            EXPECT_EQ(analysis->LvCandidates->GetItemCount(), 1);
            EXPECT_EQ(analysis->LvItems->GetItemCount(), 5);
            EXPECT_EQ(Cell(*analysis->LvItems, 0, 5), "0.0%");
            EXPECT_NE(Utf8(analysis->LblAnswers->GetLabelText()).find("错误答案：（未作答） × 5"), std::string::npos)
                << Utf8(analysis->LblAnswers->GetLabelText());
            analysis->CallAfter([&] { Click(*analysis->BtnClass); });
        })
        .Await("the candidates", [&] { return (chosen = Shown<ClassDialog>()) != nullptr; })
        .Do([&] {
            ASSERT_GT(chosen->LstCandidates->GetCount(), 1U);
            EXPECT_TRUE(chosen->LstCandidates->IsChecked(0));
            chosen->LstCandidates->Check(0, false);
            Click(*chosen->BtnOK);
        })
        .Await("nobody of them has practised", [&] { return analysis->LvCandidates->GetItemCount() == 0; })
        .Do([&] { EXPECT_EQ(Utf8(analysis->LblFigures->GetLabelText()), "选定的考生还没有练习记录。"); })
        .Play([&] { main.ShowAnalysis(true); });
    WindowScript again;
    again.Await("the same class", [&] { return (analysis = Shown<AnalysisWindow>()) != nullptr; })
        .Do([&] { EXPECT_EQ(analysis->LvCandidates->GetItemCount(), 0); })
        .Play([&] { main.ShowAnalysis(true); });
}

}  // namespace
}  // namespace qmtrain::host
