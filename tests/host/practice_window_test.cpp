// A candidate at the screen: practises, looks at what came out, reviews the paper; with the mouse and with the keyboard
// alone.

#include "bank/client_folder.h"
#include "host/practice/hand_in_dialog.h"
#include "host/widgets/note_dialog.h"
#include "host_window_fixture.h"
#include "review/frm_train.h"
#include "review/frm_view_paper.h"
#include "ui/question_text.h"

namespace qmtrain::host {
namespace {

using review::FrmTrain;
using review::FrmViewPaper;

constexpr std::size_t kByType[] = {0, kFillPlace, kYesNoPlace, 1, 4};  // as the review lists them
const std::string kLeaving = "模拟练习: 试卷还没有交。答案已经保存，计时暂停，以后可以在主窗口中继续。\n现在离开吗？";

// What is said of the answer.
std::string FeedbackIn(const wxWindow& window) {
    for (const wxWindow* child : window.GetChildren()) {
        if (!child->IsShown()) continue;
        const auto* feedback = dynamic_cast<const Feedback*>(child);
        if (std::string text = feedback != nullptr ? ToUtf8(feedback->Text()) : FeedbackIn(*child); !text.empty()) {
            return text;
        }
    }
    return {};
}

class PracticeWindowTest : public HostWindowTest {
protected:
    // Answers all but two, looks at what is open, hands in, and looks at what came out.
    void PractiseAndHandIn(MainWindow& main) {
        PracticeWindow* window = nullptr;
        HandInDialog* asked = nullptr;
        WindowScript script = In(window);
        script
            .Do([&] {
                for (std::size_t i = 0; i < kQuestions; ++i) {
                    SCOPED_TRACE(i);
                    window->GoTo(i);
                    AnswerPanel& answers = window->Question->Answers();
                    EXPECT_EQ(answers.Answer(), u"");
                    if (i == kYesNoPlace || i == kFillPlace) continue;
                    const std::u16string right = RightAnswer(main_paper_.questions[i]);
                    answers.Enter(right);
                    EXPECT_EQ(answers.Answer(), right);
                }
                window->GoTo(kFillPlace);
                window->Question->Answers().Enter(u"控制器@ ");
                window->GoTo(0);
                EXPECT_EQ(window->Question->Answers().Answer(), RightAnswer(main_paper_.questions[0]));
                EXPECT_EQ(ToUtf8(window->Navigator->CellText(0)), "1 题，已作答，当前题");
                EXPECT_EQ(ToUtf8(window->Navigator->CellText(kYesNoPlace)), "3 题，未作答");
                EXPECT_EQ(ToUtf8(window->Navigator->CellText(kFillPlace)), "4 题，部分作答");
                EXPECT_EQ(Client(u"Select Count(*) From TrainResult Where TrainID>=" + LastTraining()), "0\n");
                Click(*window->BtnHandIn);
            })
            .Await("what is open", [&] { return (asked = Shown<HandInDialog>()) != nullptr; })
            .Do([&] {
                ASSERT_NE(asked->LstOpen, nullptr);
                EXPECT_EQ(Utf8(asked->LstOpen->GetString(0)), "第 3 题　是非题　未作答");
                EXPECT_EQ(Utf8(asked->LstOpen->GetString(1)), "第 4 题　填空题　部分作答");
                EXPECT_TRUE(asked->BtnBack->HasFocus()) << "going back is the default";
                asked->LstOpen->SetSelection(1);
                asked->LstOpen->SetFocus();
                Press(WXK_RETURN);
            });
        AwaitAt(script, window, kFillPlace);
        script.Do([&] { Click(*window->BtnHandIn); })
            .Await("what is open again", [&] { return (asked = Shown<HandInDialog>()) != nullptr; })
            .Do([&] { Click(*asked->BtnHandIn); })
            .Await("the result", [&] { return window->Summary != nullptr && window->Summary->IsShown(); })
            .Do([&] {
                EXPECT_TRUE(window->Summary->Text().starts_with(u"总分 100，得分 80，及格。用时 0 分 "));
                EXPECT_EQ(ToUtf8(window->Navigator->CellText(kFillPlace)), "4 题，部分正确");
                window->ChkMistakes->SetValue(true);
                wxCommandEvent event(wxEVT_CHECKBOX);
                window->ChkMistakes->ProcessWindowEvent(event);
                EXPECT_EQ(window->Current(), kYesNoPlace) << "the first mistake";
                EXPECT_EQ(FeedbackIn(*window->Question),
                          "× 错误　得 0 分（满分 10 分）\n正确答案：错\n你的答案：（未作答）");
                Press(WXK_PAGEDOWN);
            });
        AwaitAt(script, window, kFillPlace);
        script
            .Do([&] { Press(WXK_PAGEDOWN); })  // of the text box: nothing happens
            .Do([&] {
                EXPECT_EQ(window->Current(), kFillPlace);
                Click(*window->BtnRedoMistakes);
            })
            .Await("the mistakes again",
                   [&] {
                       auto* again = Shown<PracticeWindow>();
                       return again != nullptr && again->LblTitle->GetLabelText() == wxString::FromUTF8("第 1 / 2 题");
                   })
            .Do([&] { boxes_.Expect(wxID_YES); })
            .DoLast([] { Press(WXK_ESCAPE); })
            .Play([&] { main.StartPaper(main_paper_, Mode::Exam); });
        EXPECT_EQ(boxes_.Said(), (Texts{kLeaving}));
    }

    std::u16string LastTraining() const { return FromUtf8(Host(u"Select Max(TrainID) From Unfinished")).substr(0, 1); }

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
                const std::size_t time = row.find(" 00:00:");
                ASSERT_NE(time, std::string::npos) << row;
                EXPECT_EQ(row.erase(time + 6, 3), "上机 00:00 100 80 80.0 ");
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
                    const std::u16string_view error = i == kYesNoPlace  ? u"没有作答。"
                                                      : i == kFillPlace ? u"第 2 空没有作答。"
                                                                        : u"";
                    EXPECT_EQ(paper->RtfError->Text().PlainText(), error) << i;
                });
            ++row;
        }
        script.Do([&] { paper->EndModal(wxID_CANCEL); })
            .Await("the history", [&] { return Shown<FrmViewPaper>() == nullptr; })
            .Do([&] { Click(*history->BtnReDo); })
            .Await("the practice", [&] { return (again = Shown<PracticeWindow>()) != nullptr; })
            .Do([&] {
                EXPECT_EQ(Shown<FrmTrain>(), nullptr);
                EXPECT_EQ(LabelOf(*again->LblTitle), "第 1 / 5 题");
                boxes_.Expect(wxID_YES);
            })
            .DoLast([] { Press(WXK_ESCAPE); })
            .Play([&] { main.ShowHistory(); });
        EXPECT_EQ(boxes_.Said(), (Texts{kLeaving}));
    }
};

TEST_F(PracticeWindowTest, APaperIsPractisedReviewedAndDoneAgain) {
    for (const Edition edition : {Edition::StandAlone, Edition::Network}) {
        const bool is_net = edition == Edition::Network;
        SCOPED_TRACE(is_net);
        MainWindow main(data_, {test::kCandidate, 1, edition});
        PractiseAndHandIn(main);
        ReviewAndDoAgain(main);
        EXPECT_EQ(main.LvLast->GetItemCount(), is_net ? 2 : 1) << "what is not handed in is not listed";
        EXPECT_EQ(main.BtnResume.size(), is_net ? 4U : 2U);
        EXPECT_EQ(main.LvPapers->GetTextValue(3, 5), is_net ? "2" : "1");
        dao::Connection(ClientDatabase(data_.path))->Execute(u"Update TrainInfo Set StartDate=StartDate-1");  // a day
    }
    EXPECT_EQ(Client(u"Select Score From TrainInfo Where Score Is Not Null"), "80\n80\n");
    EXPECT_EQ(Host(u"Select Mode, IsNet From Finished Order By TrainID"), "0|False\n0|True\n");
}

TEST_F(PracticeWindowTest, AWholePaperWithTheKeyboardAlone) {
    const std::string commands = "md LX, copy a.txt, attrib +r";
    auto* shown = new MainWindow(data_, {test::kCandidate, 1, Edition::StandAlone});  // deletes itself
    MainWindow& main = *shown;
    main.Show();
    PracticeWindow* window = nullptr;
    WindowScript script;
    script
        .Do([&] {
            main.LvPapers->SelectRow(3);
            main.LvPapers->SetFocus();
            wxCommandEvent start(wxEVT_BUTTON, main.BtnExam->GetId());
            main.CallAfter([&main, start]() mutable { main.BtnExam->ProcessWindowEvent(start); });
        })
        .Await("the paper", [&] { return (window = Shown<PracticeWindow>()) != nullptr; });
    AwaitAt(script, window, 0);
    script.Do([] { Press('B'); })
        .Do([] { Press('C'); })
        .Await("C", [&] { return window->Question->Answers().Answer() == u"4"; })
        .Do([] { Press(WXK_RETURN); });
    AwaitAt(script, window, 1);
    script.Do([] { Press(WXK_SPACE); })
        .Do([] { Press(WXK_DOWN); })
        .Do([] { Press(WXK_SPACE); })
        .Do([] { Press('4'); })
        .Await("A, B and D", [&] { return window->Question->Answers().Answer() == u"11"; })
        .Do([] { Press(WXK_PAGEDOWN); });
    AwaitAt(script, window, kYesNoPlace);
    script.Do([] { Press('2'); })
        .Await("no", [&] { return window->Question->Answers().Answer() == u"0"; })
        .Do([] { PressAlt('C'); })
        .Await("nothing", [&] { return window->Question->Answers().Answer().empty(); })
        .Do([] { Press('2'); })
        .Do([] { Press(WXK_RETURN); });
    AwaitAt(script, window, kFillPlace);
    script.Do([] { wxUIActionSimulator().Text("x"); })
        .Do([] { Press(WXK_PAGEDOWN); })  // belongs to the text box
        .Do([] { Press(WXK_RETURN); })
        .Await("the second blank", [&] { return window->Question->Answers().Texts[1]->HasFocus(); })
        .Do([&] {
            EXPECT_EQ(window->Current(), kFillPlace);
            wxUIActionSimulator().Text("b");
        })
        .Await("both", [&] { return window->Question->Answers().Answer() == u"x@b"; })
        .Do([] { Press(WXK_RETURN); });
    AwaitAt(script, window, kTextPlace);
    script.Do([&] { wxUIActionSimulator().Text(commands.c_str()); })
        .Await("the text", [&] { return ToUtf8(window->Question->Answers().Answer()).size() == commands.size(); })
        .Do([&] {
            EXPECT_EQ(Utf8(window->BtnNext->GetLabelText()), "检查并交卷(N)");
            PressAlt('N');
        })
        .Await("the question", [] { return Shown<HandInDialog>() != nullptr; })
        .Do([] { Press(WXK_RETURN); });  // goes back
    AwaitAt(script, window, kTextPlace);
    script.Do([] { PressAlt('N'); })
        .Await("the question again", [] { return Shown<HandInDialog>() != nullptr; })
        .Do([] { PressAlt('H'); })
        .Await("the result", [&] { return window->Summary != nullptr; })
        .Do([] { Press(WXK_RETURN); });  // on the button for the next
    AwaitAt(script, window, 0);
    script.Do([] { Press(WXK_ESCAPE); })
        .Await("the main window", [] { return Shown<PracticeWindow>() == nullptr; })
        .DoLast([&] { main.Close(); })
        .Play([] {
            wxTheApp->SetExitOnFrameDelete(true);
            wxTheApp->OnRun();
        });
    EXPECT_EQ(Client(u"Select Score From TrainInfo"), "80\n");  // all but the blanks
}

TEST_F(PracticeWindowTest, RowsAreClickedAndClearedAndMarked) {
    Practice practice(data_, main_paper_, {test::kCandidate});
    PracticeWindow window(nullptr, data_, practice);
    const auto row = [&](std::size_t place) -> ChoiceRow& { return *window.Question->Answers().Rows[place]; };
    WindowScript script;
    script.Do([&] {
              Click(row(0), {row(0).GetClientSize().x - 20, 5});
          })
        .Await("A", [&] { return practice.Answer(0) == u"1"; })
        .Do([&] { Click(row(3)); })
        .Await("D", [&] { return practice.Answer(0) == u"8"; })
        .Do([&] { Click(*window.BtnClear); })
        .Await("nothing", [&] { return practice.Answer(0).empty(); })
        .Do([&] { Click(*window.BtnMark); })
        .Await("the mark", [&] { return practice.IsMarked(0); })
        .Do([&] { Click(*window.Navigator, window.Navigator->PlaceOf(kYesNoPlace)); })
        .Await("the third", [&] { return window.Current() == kYesNoPlace; })
        .Do([&] { Click(row(0)); })
        .Await("yes", [&] { return practice.Answer(kYesNoPlace) == u"-1"; })
        .Do([&] {
            EXPECT_EQ(LabelOf(*window.LblCounts), "已答 1　部分 0\n未答 4　标记 1");
            EXPECT_DOUBLE_EQ(window.Progress->Share(), 0.2);
        });
    script.Play(window);
}

TEST_F(PracticeWindowTest, AnExerciseShowsEachAnswer) {
    Practice practice(data_, main_paper_, {test::kCandidate, Edition::Network, Mode::Exercise});
    PracticeWindow window(nullptr, data_, practice);
    PracticeWindow* shown = &window;
    WindowScript script;
    AwaitAt(script, shown, 0);
    script.Do([] { Press('A'); })
        .Await("A", [&] { return practice.Answer(0) == u"1"; })
        .Do([] { Press(WXK_RETURN); })
        .Await("the answer", [&] { return practice.IsChecked(0); })
        .Do([&] {
            EXPECT_EQ(FeedbackIn(*window.Question), "× 错误　得 0 分（满分 10 分）\n正确答案：C\n你的答案：A");
            EXPECT_EQ(LabelOf(*window.LblTime).substr(0, 6), "已用");
            Press('C');
        })
        .Do([&] {
            EXPECT_EQ(practice.Answer(0), u"1") << "too late";
            Press(WXK_RETURN);
        });
    AwaitAt(script, shown, 1);
    script.Play(window);
}

TEST_F(PracticeWindowTest, TimeRunsOutUnderANote) {
    Practice practice(data_, main_paper_, {test::kCandidate});
    PracticeWindow window(nullptr, data_, practice);
    WindowScript script;
    wxStopWatch open;
    script.Do([&] { Click(*window.BtnNote); })
        .Await("the note", [] { return Shown<NoteDialog>() != nullptr; })
        .Do([&] {
            practice.SecondsUsed(599);
            open.Start();
        })
        .Await("some ticks", [&] { return open.Time() > 2500; })
        .Do([&] {
            EXPECT_EQ(LabelOf(*window.LblTime), "仅剩 00:00");
            EXPECT_FALSE(boxes_.HasSaid());
            boxes_.Expect(wxID_OK);
            Press(WXK_ESCAPE);
        })
        .Await("the result", [&] { return window.Summary != nullptr; })
        .Do([&] { EXPECT_NE(window.Summary->Text().find(u"用时 10 分 00 秒"), std::u16string::npos); })
        .DoLast([] { Press(WXK_ESCAPE); });
    EXPECT_EQ(script.Play(window), wxID_OK);
    EXPECT_EQ(boxes_.Said(), (Texts{"模拟练习: 时间到，现在交卷。"}));
}

TEST_F(PracticeWindowTest, FiveMinutesAreAnnouncedAndTheTimeCanBeHidden) {
    Practice practice(data_, main_paper_, {test::kCandidate});
    practice.SecondsUsed(299);
    PracticeWindow window(nullptr, data_, practice);
    EXPECT_FALSE(window.Notice->IsShown());
    WindowScript script;
    script.Await("the notice", [&] { return window.Notice->IsShown(); })
        .Do([&] {
            EXPECT_EQ(LabelOf(*window.LblTime).substr(0, 6), "仅剩");
            Click(*window.BtnTime);
        })
        .Await("nothing", [&] { return window.LblTime->GetLabelText().empty(); })
        .Do([&] { wxUIActionSimulator().Char('=', wxMOD_CONTROL); })
        .Await("larger letters", [&] { return Settings(data_).Number(u"Zoom", 100) == 125; })
        .Do([] { wxUIActionSimulator().Char('0', wxMOD_CONTROL); })
        .Await("usual letters", [&] { return Settings(data_).Number(u"Zoom", 0) == 100; });
    script.Play(window);
    EXPECT_EQ(Settings(data_).Number(u"TimeHidden", 0), 1);
}

}  // namespace
}  // namespace qmtrain::host
