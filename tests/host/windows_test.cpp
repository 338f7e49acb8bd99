// A candidate at the screen: practises, looks at the history, reviews the paper, writes notes.

#include "host/main_window.h"
#include "host/note_dialog.h"
#include "host/practice_window.h"
#include "host_fixture.h"
#include "notes/frm_notes.h"
#include "review/frm_train.h"
#include "review/frm_view_paper.h"
#include "ui/question_text.h"
#include "ui/support/message_boxes.h"
#include "ui/support/window_script.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

using notes::FrmNotes;
using review::FrmTrain;
using review::FrmViewPaper;
using test::Click;
using test::Press;
using test::Shown;
using test::WindowScript;
using Texts = std::vector<std::string>;

constexpr std::size_t kQuestions = 5;
constexpr std::size_t kYesNoPlace = 2;
constexpr std::size_t kFillPlace = 3;
constexpr std::size_t kByType[] = {0, kFillPlace, kYesNoPlace, 1, 4};  // as the review lists them
const std::string kLeaving = "模拟练习: 试卷还没有交。答案已经保存，以后可以继续练习。\n现在离开吗？";

std::string Utf8(const wxString& text) {
    return ToUtf8(ui::FromWx(text));
}

class HostWindowTest : public test::WithDisplay<test::HostTest> {
protected:
    // A script that begins when a window of the class is shown, and that has it in `window`.
    template <class Window>
    static WindowScript In(Window*& window) {
        WindowScript script;
        script.Await("the window", [&window] { return (window = Shown<Window>()) != nullptr; });
        return script;
    }

    void PractiseAndHandIn(MainWindow& main) {
        PracticeWindow* window = nullptr;
        In(window)
            .Do([&] {
                for (std::size_t i = 0; i < kQuestions; ++i) {
                    SCOPED_TRACE(i);
                    window->GoTo(i);
                    EXPECT_EQ(window->Answers->Answer(), i == kFillPlace ? u"@" : u"");
                    if (i == kYesNoPlace || i == kFillPlace) continue;
                    const std::u16string right = RightAnswer(main_paper_.questions[i]);
                    window->Answers->Enter(right);
                    EXPECT_EQ(window->Answers->Answer(), right);
                }
                window->GoTo(0);
                EXPECT_EQ(window->Answers->Answer(), RightAnswer(main_paper_.questions[0]));
                EXPECT_EQ(Utf8(window->BtnQuestions[0]->GetLabel()), "1✓");
                EXPECT_EQ(Utf8(window->BtnQuestions[kFillPlace]->GetLabel()), "4");
                dao::Connection(ClientDatabase(data_.path))
                    ->Execute(u"Update TrainInfo Set StartDate=StartDate-1/24 Where EndDate Is Null");  // an hour ago
                boxes_.Expect(wxID_NO);
                Click(*window->BtnHandIn);
            })
            .Await("the question", [&] { return boxes_.HasSaid(); })
            .Do([&] {
                EXPECT_EQ(boxes_.Said(), (Texts{"交卷: 还有 2 题没有作答：第 3、4 题。\n确定要交卷吗？"}));
                boxes_.Expect(wxID_YES);
                boxes_.Expect(wxID_OK);
            })
            .DoLast([&] { Click(*window->BtnHandIn); })
            .Play([&] { main.StartPaper(main_paper_); });
        const Texts said = boxes_.Said();
        ASSERT_EQ(said.size(), 2U);
        EXPECT_EQ(said[1], "练习成绩: 总分 100，得分 70。");
    }

    // The history has the practice; its paper can be reviewed, and done again.
    void ReviewAndDoAgain(MainWindow& main) {
        FrmTrain* history = nullptr;
        FrmViewPaper* paper = nullptr;
        PracticeWindow* again = nullptr;
        WindowScript script = In(history);
        script
            .Do([&] {
                const ui::ListView& list = *history->LvTrainInfo;
                ASSERT_GT(list.GetItemCount(), 0);
                std::string row;
                for (int column = 1; column < list.GetColumnCount(); ++column) {
                    row += Utf8(list.GetItemText(0, column)) + " ";
                }
                const std::size_t time = row.find(" 01:00:");
                ASSERT_NE(time, std::string::npos) << row;
                EXPECT_EQ(row.erase(time + 6, 3), "上机 01:00 100 70 70.0 ");
                Click(*history->BtnView);
            })
            .Await("the paper", [&] { return (paper = Shown<FrmViewPaper>()) != nullptr; })
            .Do([&] { EXPECT_EQ(paper->FlexGridQuestions->GetItemCount(), static_cast<int>(kQuestions)); });
        long row = 0;
        for (const std::size_t i : kByType) {
            const std::u16string title =
                ui::StoredText(FindSampleQuestion(main_paper_.questions[i].rec_no)->title).PlainText();
            script.Do([&, row] { paper->FlexGridQuestions->SelectRow(row); })
                .Await("the question's text", [&, title] { return paper->RtfTitle->Text().PlainText() == title; })
                .Do([&, i] {
                    const bool unanswered = i == kYesNoPlace || i == kFillPlace;
                    EXPECT_EQ(paper->RtfError->Text().PlainText(), unanswered ? u"没有作答。" : u"") << i;
                });
            ++row;
        }
        script.Do([&] { paper->EndModal(wxID_CANCEL); })
            .Await("the history", [&] { return Shown<FrmViewPaper>() == nullptr; })
            .Do([&] { Click(*history->BtnReDo); })
            .Await("the practice", [&] { return (again = Shown<PracticeWindow>()) != nullptr; })
            .Do([&] {
                EXPECT_EQ(Shown<FrmTrain>(), nullptr);
                EXPECT_EQ(again->BtnQuestions.size(), kQuestions);
                boxes_.Expect(wxID_YES);
            })
            .DoLast([] { Press(WXK_ESCAPE); })
            .Play([&] { main.ShowHistory(); });
        EXPECT_EQ(boxes_.Said(), (Texts{kLeaving}));
    }

    const Paper main_paper_ = MixedPaper();
    test::MessageBoxes boxes_;
};

TEST_F(HostWindowTest, APaperIsPractisedReviewedAndDoneAgain) {
    for (const bool is_net : {false, true}) {
        SCOPED_TRACE(is_net);
        MainWindow main(data_, test::kCandidate, 1);
        main.OptNet->SetValue(is_net);
        PractiseAndHandIn(main);
        ReviewAndDoAgain(main);
        EXPECT_EQ(main.LvLast->GetItemCount(), is_net ? 4 : 2);
        dao::Connection(ClientDatabase(data_.path))->Execute(u"Update TrainInfo Set StartDate=StartDate-1");  // a day
        EXPECT_EQ(Host(u"Select Count(*), Max(TrainID) From Unfinished"), is_net ? "2|4\n" : "1|2\n");
    }
    EXPECT_EQ(Client(u"Select TrainID, Score From TrainInfo Order By TrainID"), "1|70\n2|Null\n3|70\n4|Null\n");
}

TEST_F(HostWindowTest, ANoteIsFoundInTheNotesManager) {
    MainWindow main(data_, test::kCandidate, 1);
    PracticeWindow* window = nullptr;
    NoteDialog* note = nullptr;
    WindowScript script = In(window);
    script.Do([&] {
        window->GoTo(1);
        Click(*window->BtnNote);
    });
    for (const char* name : {"第一稿", "有线介质"}) {
        script.Await("the note", [&] { return (note = Shown<NoteDialog>()) != nullptr; })
            .Do([&, name] {
                note->TxtName->SetValue(wxString::FromUTF8(name));
                note->TxtContent->AppendText("1\n");
                Click(*note->FindWindow(wxID_OK));
            })
            .Await("it is written", [&] { return Shown<NoteDialog>() == nullptr; })
            .Do([&] { Click(*window->BtnNote); });  // there is one now
    }
    script.Await("the note again", [&] { return (note = Shown<NoteDialog>()) != nullptr; })
        .Do([&] {
            note->TxtName->SetValue("x");
            Press(WXK_ESCAPE);
        })
        .Await("it is given up", [&] { return Shown<NoteDialog>() == nullptr; })
        .Do([&] { boxes_.Expect(wxID_YES); })
        .DoLast([] { Press(WXK_ESCAPE); })
        .Play([&] { main.StartPaper(main_paper_); });

    EXPECT_EQ(Client(u"Select Name, Content, ViewTimes, CreateUserID From Notes"), "有线介质|1\r\n1\r\n|0|1\n");
    FrmNotes* manager = nullptr;
    In(manager)
        .Do([&] {
            EXPECT_TRUE(manager->SelectKey(u"Note1"));
            EXPECT_EQ(Utf8(manager->LblModuleTitle->GetLabelText()), "有线介质");
            EXPECT_EQ(Utf8(manager->LblQuestionType->GetLabelText()), "试题类型：多选题");
            EXPECT_TRUE(manager->SelectKey(u"DataJC"));
            EXPECT_EQ(Utf8(manager->LblModuleTitle->GetLabelText()), "计算机基础与网络");
        })
        .Play([&] { main.ShowNotes(); });
}

TEST_F(HostWindowTest, TheFirstChoiceCanBeClicked) {
    Practice practice(data_, main_paper_, test::kCandidate, Edition::StandAlone);
    PracticeWindow window(data_, practice);
    const auto button = [&](const char* label) -> wxWindow& {
        return *wxWindow::FindWindowByLabel(wxString::FromUTF8(label), window.Answers);
    };
    WindowScript script;
    script.Do([&] { Click(button("A")); })
        .Await("A", [&] { return practice.Answer(0) == u"1"; })
        .Do([&] {
            EXPECT_EQ(Utf8(window.BtnQuestions[0]->GetLabel()), "1✓");
            window.GoTo(kYesNoPlace);
        })
        .Do([&] { Click(button("对")); })
        .Await("yes", [&] { return practice.Answer(kYesNoPlace) == u"-1"; })
        .Do([&] {
            window.Answers->Enter(u"");
            EXPECT_EQ(practice.Answer(kYesNoPlace), u"");
        });
    script.Play(window);
}

TEST_F(HostWindowTest, TimeRunsOutBehindANote) {
    Practice practice(data_, main_paper_, test::kCandidate, Edition::StandAlone);
    practice.SecondsLeft(1);
    PracticeWindow window(data_, practice);
    WindowScript script;
    wxStopWatch open;
    script.Do([&] { Click(*window.BtnNote); })
        .Await("the note", [] { return Shown<NoteDialog>() != nullptr; })
        .Do([&] { open.Start(); })
        .Await("some ticks", [&] { return open.Time() > 2500; })
        .Do([&] {
            EXPECT_EQ(Utf8(window.LblTime->GetLabel()), "剩余时间 00:00");
            EXPECT_FALSE(boxes_.HasSaid());
            boxes_.Expect(wxID_OK);
            boxes_.Expect(wxID_OK);
        })
        .DoLast([] { Press(WXK_ESCAPE); });
    EXPECT_EQ(script.Play(window), wxID_OK);
    EXPECT_EQ(boxes_.Said(), (Texts{"模拟练习: 时间到，现在交卷。", "练习成绩: 总分 100，得分 0。"}));
}

TEST_F(HostWindowTest, AnUnfinishedPracticeIsOffered) {
    {
        Practice practice(data_, main_paper_, test::kCandidate, Edition::StandAlone);
        practice.Answer(0, u"2");
        practice.SetMarked(1, true);
    }
    MainWindow main(data_, test::kCandidate, 1);
    boxes_.Expect(wxID_YES);
    PracticeWindow* window = nullptr;
    In(window)
        .Do([&] {
            EXPECT_EQ(boxes_.Said(), (Texts{"全国计算机等级考试模拟练习: 练习“模拟练习”还没有交卷。\n要继续练习吗？"}));
            EXPECT_EQ(Utf8(window->BtnQuestions[0]->GetLabel() + window->BtnQuestions[1]->GetLabel()), "1✓2★");
            EXPECT_EQ(window->Answers->Answer(), u"2");
            boxes_.Expect(wxID_YES);
        })
        .DoLast([] { Press(WXK_ESCAPE); })
        .Play([&] { main.OfferUnfinished(); });
    EXPECT_EQ(boxes_.Said(), (Texts{kLeaving}));
}

TEST_F(HostWindowTest, FilesThatGoMissingAreTold) {
    SeedHistory(data_.path, test::kCandidate, 1, 1, 1);
    MainWindow main(data_, test::kCandidate, 1);
    main.Show();
    std::filesystem::remove(folder_.Path() / "Bank" / "JC.mdb");
    boxes_.Expect(wxID_OK);
    main.StartPaper(main_paper_);
    EXPECT_EQ(boxes_.Said().size(), 1U);
    EXPECT_EQ(Client(u"Select Count(*) From TrainInfo"), "1\n");
    EXPECT_EQ(main.LvLast->GetItemCount(), 1);
    std::filesystem::remove(folder_.Path() / "Client.mdb");
    boxes_.Expect(wxID_OK);
    wxCommandEvent chosen(wxEVT_CHOICE);
    main.CboUser->ProcessWindowEvent(chosen);
    EXPECT_EQ(boxes_.Said().size(), 1U);
    EXPECT_EQ(main.LvLast->GetItemCount(), 0);
    wxYield();  // the lists are drawn
}

}  // namespace
}  // namespace qmtrain::host
