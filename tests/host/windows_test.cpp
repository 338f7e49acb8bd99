// A candidate at the screen: practises, looks at what came out, reviews the paper, writes notes; with the mouse and
// with the keyboard alone.

#include <algorithm>

#include "host/form_dialog.h"
#include "host/hand_in_dialog.h"
#include "host/main_window.h"
#include "host/note_dialog.h"
#include "host/practice_window.h"
#include "host_fixture.h"
#include "notes/frm_notes.h"
#include "review/frm_train.h"
#include "review/frm_view_paper.h"
#include "support/ordinary_user.h"
#include "ui/question_text.h"
#include "ui/support/accessible_tree.h"
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
constexpr std::size_t kTextPlace = 4;
constexpr std::size_t kByType[] = {0, kFillPlace, kYesNoPlace, 1, 4};  // as the review lists them
const std::string kLeaving = "模拟练习: 试卷还没有交。答案已经保存，计时暂停，以后可以在主窗口中继续。\n现在离开吗？";

std::string Utf8(const wxString& text) {
    return ToUtf8(ui::FromWx(text));
}
std::string LabelOf(const wxStaticText& label) {
    return Utf8(label.GetLabelText());
}

class HostWindowTest : public test::WithDisplay<test::HostTest> {
protected:
    // What the toolkit below complains of is a failure, too.
    void SetUp() override {
        test::WithDisplay<test::HostTest>::SetUp();
        using Handler = void(const char*, int, const char*, void*);
        const auto set =
            reinterpret_cast<Handler* (*)(Handler*, void*)>(dlsym(RTLD_DEFAULT, "g_log_set_default_handler"));
        ASSERT_NE(set, nullptr);
        set(
            [](const char* domain, int level, const char* message, void*) {
                constexpr int kWarning = 1 << 4;  // and what is graver has smaller numbers
                if ((level & (2 * kWarning - 1)) != 0) ADD_FAILURE() << domain << ": " << message;
            },
            nullptr);
    }

    // A script that begins when a window of the class is shown, and that has it in `window`.
    template <class Window>
    static WindowScript In(Window*& window) {
        WindowScript script;
        script.Await("the window", [&window] { return (window = Shown<Window>()) != nullptr; });
        return script;
    }
    static void PressAlt(int letter) { wxUIActionSimulator().Char(letter, wxMOD_ALT); }

    // Waits until the question of that place is on the screen and its answer has the keyboard.
    static void AwaitAt(WindowScript& script, PracticeWindow*& window, std::size_t place) {
        script.Await("a question whose answer has the focus", [&window, place] {
            const wxWindow* focus = wxWindow::FindFocus();
            return window->Current() == place && focus != nullptr && focus->GetParent() == &window->Question->Answers();
        });
    }

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
                EXPECT_EQ(ToUtf8(window->Question->FeedbackText()),
                          "✗ 错误　得 0 分（满分 10 分）\n正确答案：错\n你的答案：（未作答）");
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

    const Paper main_paper_ = MixedPaper();
    test::MessageBoxes boxes_;
};

TEST_F(HostWindowTest, APaperIsPractisedReviewedAndDoneAgain) {
    for (const Edition edition : {Edition::StandAlone, Edition::Network}) {
        const bool is_net = edition == Edition::Network;
        SCOPED_TRACE(is_net);
        MainWindow main(data_, {test::kCandidate, 1, edition});
        PractiseAndHandIn(main);
        ReviewAndDoAgain(main);
        EXPECT_EQ(main.LvLast->GetItemCount(), is_net ? 2 : 1) << "what is not handed in is not listed";
        EXPECT_EQ(main.BtnResume.size(), is_net ? 4U : 2U);
        EXPECT_EQ(main.GetOverview().papers[3].times, is_net ? 2 : 1);
        dao::Connection(ClientDatabase(data_.path))->Execute(u"Update TrainInfo Set StartDate=StartDate-1");  // a day
    }
    EXPECT_EQ(Client(u"Select Score From TrainInfo Where Score Is Not Null"), "80\n80\n");
    EXPECT_EQ(Host(u"Select Mode, IsNet From Finished Order By TrainID"), "0|False\n0|True\n");
}

TEST_F(HostWindowTest, AWholePaperWithTheKeyboardAlone) {
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

TEST_F(HostWindowTest, ANoteIsFoundInTheNotesManager) {
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
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
                Click(*note->BtnSave);
            })
            .Await("it is written", [&] { return Shown<NoteDialog>() == nullptr; })
            .Do([&] {
                EXPECT_EQ(Utf8(window->BtnNote->GetLabelText()), "笔记 ✓(B)");
                Click(*window->BtnNote);
            });  // there is one now
    }
    script.Await("the note again", [&] { return (note = Shown<NoteDialog>()) != nullptr; })
        .Do([&] {
            note->TxtName->SetValue("x");
            boxes_.Expect(wxID_CANCEL);
            Press(WXK_ESCAPE);
        })
        .Await("the question", [&] { return boxes_.HasSaid(); })
        .Do([&] {
            EXPECT_EQ(boxes_.Said(), (Texts{"记笔记: 笔记还没有保存。要保存吗？"}));
            EXPECT_TRUE(note->IsShown());
            boxes_.Expect(wxID_NO);
            Press(WXK_ESCAPE);
        })
        .Await("it is given up", [&] { return Shown<NoteDialog>() == nullptr; })
        .Do([&] { boxes_.Expect(wxID_YES); })
        .DoLast([] { Press(WXK_ESCAPE); })
        .Play([&] { main.StartPaper(main_paper_, Mode::Exam); });

    EXPECT_EQ(Client(u"Select Name, Content, ViewTimes, CreateUserID From Notes"), "有线介质|1\r\n1\r\n|0|1\n");
    FrmNotes* manager = nullptr;
    In(manager)
        .Do([&] {
            EXPECT_TRUE(manager->SelectKey(u"Note1"));
            EXPECT_TRUE(manager->SelectKey(u"DataJC"));
        })
        .Play([&] { main.ShowNotes(); });
}

TEST_F(HostWindowTest, ANoteThatCannotBeWrittenCanBeRead) {
    Note note;
    note.ClientPath(data_.path);
    std::u16string problem;
    ASSERT_TRUE(note.Init(problem));
    ASSERT_TRUE(note.Add(1, u"JC", u"JC010001", u"名称", u"内容", false, 1));
    const std::filesystem::path folder = folder_.Path();
    for (const char* file : {"Client.mdb", "Host.mdb"}) {
        std::filesystem::permissions(folder / file, std::filesystem::perms(0444));
    }
    std::filesystem::permissions(folder, std::filesystem::perms(0555));
    const test::OrdinaryUser user;
    if (test::OrdinaryUser::MayWrite(folder)) GTEST_SKIP() << "not for this user";
    NoteDialog dialog(nullptr, data_, 1, 1, u"JC", u"JC010001");
    EXPECT_EQ(Utf8(dialog.TxtContent->GetValue()), "内容");
    EXPECT_FALSE(dialog.TxtContent->IsEditable());
    EXPECT_FALSE(dialog.TxtName->IsEditable());
    EXPECT_FALSE(dialog.BtnSave->IsShown());
    MainWindow main(data_, {});
    EXPECT_FALSE(main.BtnExam->IsEnabled());
}

TEST_F(HostWindowTest, RowsAreClickedAndClearedAndMarked) {
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

TEST_F(HostWindowTest, AnExerciseShowsEachAnswer) {
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
            EXPECT_EQ(ToUtf8(window.Question->FeedbackText()),
                      "✗ 错误　得 0 分（满分 10 分）\n正确答案：C\n你的答案：A");
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

TEST_F(HostWindowTest, TimeRunsOutBehindANote) {
    Practice practice(data_, main_paper_, {test::kCandidate});
    practice.SecondsUsed(599);
    PracticeWindow window(nullptr, data_, practice);
    WindowScript script;
    wxStopWatch open;
    script.Do([&] { Click(*window.BtnNote); })
        .Await("the note", [] { return Shown<NoteDialog>() != nullptr; })
        .Do([&] { open.Start(); })
        .Await("some ticks", [&] { return open.Time() > 2500; })
        .Do([&] {
            EXPECT_EQ(LabelOf(*window.LblTime), "仅剩 00:00");
            EXPECT_FALSE(boxes_.HasSaid());
            boxes_.Expect(wxID_OK);
            Press(WXK_ESCAPE);
        })
        .Await("the result", [&] { return window.Summary != nullptr; })
        .Do([&] { EXPECT_EQ(window.Result()->seconds_used, 600); })
        .DoLast([] { Press(WXK_ESCAPE); });
    EXPECT_EQ(script.Play(window), wxID_OK);
    EXPECT_EQ(boxes_.Said(), (Texts{"模拟练习: 时间到，现在交卷。"}));
}

TEST_F(HostWindowTest, FiveMinutesAreAnnouncedAndTheTimeCanBeHidden) {
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

TEST_F(HostWindowTest, UnfinishedPracticesGoOnOrAreGivenUp) {
    for (int i = 0; i < 2; ++i) {
        Practice practice(data_, main_paper_, {test::kCandidate});
        practice.Answer(0, u"2");
        practice.SetMarked(1, true);
        practice.Current(kFillPlace);
        practice.Pause();
    }
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    ASSERT_EQ(main.BtnResume.size(), 2U);
    boxes_.Expect(wxID_NO);
    PracticeWindow* window = nullptr;
    In(window)
        .Do([&] {
            EXPECT_EQ(window->Current(), kFillPlace) << "where it was left";
            EXPECT_EQ(ToUtf8(window->Navigator->CellText(0)), "1 题，已作答");
            EXPECT_EQ(ToUtf8(window->Navigator->CellText(1)), "2 题，未作答，已标记");
            Press(WXK_ESCAPE);
        })
        .Await("the question", [&] { return boxes_.HasSaid(); })
        .Do([&] {
            EXPECT_TRUE(window->IsShown());
            EXPECT_TRUE(boxes_.EnterSaysNo()) << "staying is the default";
            boxes_.Said();
            boxes_.Expect(wxID_YES);
        })
        .DoLast([] { Press(WXK_ESCAPE); })
        .Play([&] { main.Resume(2); });
    EXPECT_EQ(main.BtnResume.size(), 2U);
    boxes_.Said();
    for (const int answer : {wxID_NO, wxID_YES}) {
        boxes_.Expect(answer);
        wxCommandEvent click(wxEVT_BUTTON);
        main.BtnDiscard[0]->ProcessWindowEvent(click);
        wxYield();
        EXPECT_EQ(boxes_.Said().size(), 1U);
        EXPECT_TRUE(boxes_.EnterSaysNo());
        EXPECT_EQ(main.BtnDiscard.size(), answer == wxID_NO ? 2U : 1U);
    }
    EXPECT_EQ(Unfinished(), 1);
}

TEST_F(HostWindowTest, APaperWithoutQuestionsHarmsNobody) {
    const dao::Connection host(data_.Host());
    host->Execute(u"Insert Into Papers Values (105, 1, '空', 9, 0, 10)");
    host->Execute(u"Insert Into Unfinished (TrainID, PaperNo, UserID, SubjectCode) Values (7, 105, 1, 1)");
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    EXPECT_TRUE(main.BtnResume.empty());
    EXPECT_EQ(Host(u"Select Count(*) From Unfinished"), "0\n");
    boxes_.Expect(wxID_OK);
    main.StartPaper(*FindPaper(data_, 105), Mode::Exam);
    EXPECT_EQ(boxes_.Said(), (Texts{"全国计算机等级考试模拟练习: 试卷“空”中没有试题，不能开始练习。"}));
}

TEST_F(HostWindowTest, TheSelectedRowIsReviewed) {
    SeedHistory(data_.path, test::kCandidate, 1, 3, 1);
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    ASSERT_EQ(main.LvLast->GetItemCount(), 3);
    FrmViewPaper* paper = nullptr;
    In(paper)
        .Do([&] { EXPECT_EQ(paper->FlexGridQuestions->GetItemCount(), 20) << "the second paper, not the newest"; })
        .Play([&] {
            main.LvLast->SelectRow(1);
            wxCommandEvent click(wxEVT_BUTTON);
            main.BtnReview->ProcessWindowEvent(click);
        });
    EXPECT_EQ(main.GetOverview().past[0].paper, u"上机练习");
    EXPECT_THROW(MainWindow(data_, {99}), AutomationError);
}

TEST_F(HostWindowTest, ChoicesAndSizesAreRemembered) {
    {
        auto* main = new MainWindow(data_, {2, 2, Edition::Network});
        main->SetClientSize(main->FromDIP(wxSize(701, 502)));
        main->Close(true);
        wxYield();
    }
    MainWindow main(data_, {});
    EXPECT_EQ(main.UserId(), 2);
    main.LvPapers->SelectRow(1);
    dao::Connection(ClientDatabase(data_.path))->Execute(u"Delete From Tbl_SetUser Where UserID=1");
    main.Fill();
    EXPECT_EQ(main.UserId(), 2) << "the same one, wherever he stands now";
    EXPECT_EQ(main.LvPapers->GetSelectedRow(), 1);
    EXPECT_EQ(main.SubjectCode(), 2);
    EXPECT_EQ(main.GetEdition(), Edition::Network);
    EXPECT_EQ(main.GetClientSize(), main.FromDIP(wxSize(701, 502)));
    SeedHistory(data_.path, 1, 1, 2, 1);
    SeedHistory(data_.path, 2, 1, 3, 1);
    for (const auto& [user, rows] : {std::pair(-1, 5), std::pair(1, 2), std::pair(99, 0)}) {
        FrmTrain* history = nullptr;
        In(history).Do([&, n = rows] { EXPECT_EQ(history->LvTrainInfo->GetItemCount(), n); }).Play([&, who = user] {
            main.ShowHistory(who, 1);
        });
    }
}

// Everything can be reached: nothing lies beside or over something else.
TEST_F(HostWindowTest, MuchOfEverythingFits) {
    Paper paper = main_paper_;
    paper.title = std::u16string(100, u'长');
    for (const std::u16string_view bank : {u"JC"}) {
        for (const SampleQuestion& question : SampleBanks()[0].questions) {
            const auto same = [&](const PaperQuestion& one) { return one.rec_no == question.rec_no; };
            if (std::any_of(paper.questions.begin(), paper.questions.end(), same)) continue;
            PaperQuestion place = paper.questions[0];
            place.number = static_cast<std::int32_t>(paper.questions.size()) + 1;
            place.data_code = bank;
            place.rec_no = question.rec_no;
            paper.questions.push_back(place);
        }
    }
    dao::Connection(InFolder(data_.Banks(), u"JC.mdb"))
        ->Execute(u"Update TBL_FILL Set C_Answer='1@2@3@4@5@6@7@8@9@10@11@12@13@14' Where C_RecNo='JC040002'");
    dao::Connection(data_.Host())->Execute(u"Update Papers Set Title='" + paper.title + u"' Where PaperNo=101");
    Practice practice(data_, paper, {test::kCandidate});
    ASSERT_GT(practice.Size(), 35U);
    PracticeWindow window(nullptr, data_, practice);
    window.SetClientSize(window.GetMinClientSize());
    window.GoTo(kFillPlace);
    WindowScript script;
    script
        .Do([&] {
            const std::vector<wxTextCtrl*>& blanks = window.Question->Answers().Texts;
            ASSERT_EQ(blanks.size(), 14U);
            for (std::size_t i = 1; i < blanks.size(); ++i) {
                EXPECT_GE(blanks[i]->GetPosition().y, blanks[i - 1]->GetPosition().y + blanks[i - 1]->GetSize().y);
            }
            EXPECT_GT(window.Question->Stem().GetSize().y, 20);
            const wxWindow& page = *window.Question->Stem().GetParent();
            EXPECT_GT(page.GetVirtualSize().y, page.GetClientSize().y);
            wxMouseEvent wheel(wxEVT_MOUSEWHEEL);
            wheel.m_wheelRotation = -120;
            wheel.m_wheelDelta = 120;
            blanks[0]->ProcessWindowEvent(wheel);
            EXPECT_GT(dynamic_cast<const wxScrolledWindow&>(page).GetViewStart().y, 0)
                << "the wheel over a blank scrolls";
            blanks.back()->SetFocus();
        })
        .Await("the last blank",
               [&] {
                   const wxTextCtrl& last = *window.Question->Answers().Texts.back();
                   return window.Question->GetScreenRect().Contains(last.GetScreenRect());
               })
        .Do([&] {
            for (const wxWindow* one :
                 std::initializer_list<const wxWindow*>{window.LblTime, window.Navigator, window.BtnHandIn,
                                                        window.BtnNext, window.Question, window.BtnHelp}) {
                EXPECT_TRUE(window.GetClientRect().Contains(one->GetRect())) << Utf8(one->GetLabel());
            }
        });
    script.Play(window);
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    main.SetClientSize(main.GetMinClientSize());
    main.Show();
    wxYield();
    for (const wxWindow* one :
         std::initializer_list<const wxWindow*>{main.LvPapers, main.LvLast, main.BtnNotes, main.OptNet}) {
        EXPECT_TRUE(main.LvLast->GetParent()->GetClientRect().Contains(one->GetRect()));
    }
    EXPECT_FALSE(main.LvPapers->GetRect().Intersects(main.LvLast->GetRect()));
    for (const wxDataViewListCtrl* list : {main.LvPapers, main.LvLast}) {
        int width = 0;
        for (unsigned i = 0; i < list->GetColumnCount(); ++i) {
            if (!list->GetColumn(i)->IsHidden()) width += list->GetColumn(i)->GetWidth();
        }
        EXPECT_LE(width, list->GetSize().x) << "the scores are seen";
    }
}

TEST_F(HostWindowTest, AnEmptyFolderSaysWhatToDo) {
    const DataFolder made{InFolder(data_.path, u"leer")};
    MakeEmptyFolder(made.path);
    MainWindow main(made, {});
    EXPECT_EQ(LabelOf(*main.LblNothing), "还没有考生。");
    CandidateDialog* dialog = nullptr;
    In(dialog)
        .Do([&] {
            boxes_.Expect(wxID_OK);
            Click(*dialog->BtnOK);
        })
        .Await("the complaint", [&] { return boxes_.HasSaid(); })
        .Do([&] {
            EXPECT_EQ(boxes_.Said(), (Texts{"新建考生: 姓名不能为空。"}));
            dialog->TxtName->SetValue(wxString::FromUTF8("周舟"));
        })
        .DoLast([&] { Click(*dialog->BtnOK); })
        .Play([&] {
            wxCommandEvent click(wxEVT_BUTTON);
            main.BtnNothing->ProcessWindowEvent(click);
        });
    EXPECT_EQ(main.UserId(), 1);
    wxCommandEvent click(wxEVT_BUTTON);
    main.BtnNothing->ProcessWindowEvent(click);  // sample banks
    EXPECT_EQ(main.LvPapers->GetItemCount(), 4);
    EXPECT_EQ(main.CboUser->GetCount(), 1U);
    dao::Connection(made.Host())->Execute(u"Delete From Papers");
    main.Fill();
    EXPECT_EQ(LabelOf(*main.LblNothing), "这个科目还没有试卷。");
    ComposeDialog* compose = nullptr;
    In(compose)
        .Do([&] { compose->SpnCounts[Kind::Single]->SetValue(2); })
        .DoLast([&] { Click(*compose->BtnOK); })
        .Play([&] { main.BtnNothing->ProcessWindowEvent(click); });
    ASSERT_EQ(main.LvPapers->GetItemCount(), 1);
    Practice(made, main.GetOverview().papers[0].paper, {1}).HandIn();
}

TEST_F(HostWindowTest, FilesThatGoMissingAreTold) {
    SeedHistory(data_.path, test::kCandidate, 1, 1, 1);
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    main.Show();
    std::filesystem::remove(folder_.Path() / "Bank" / "JC.mdb");
    boxes_.Expect(wxID_OK);
    main.StartPaper(main_paper_, Mode::Exam);
    const Texts said = boxes_.Said();
    ASSERT_EQ(said.size(), 1U);
    EXPECT_NE(said[0].find("题库“计算机基础与网络”（JC.mdb）的文件不存在"), std::string::npos) << said[0];
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

TEST_F(HostWindowTest, AScreenReaderFindsANameOnEveryControl) {
    Practice practice(data_, main_paper_, {test::kCandidate});
    practice.Answer(0, u"4");
    PracticeWindow window(nullptr, data_, practice);
    NoteDialog* note = nullptr;
    HandInDialog* asked = nullptr;
    const auto says = [&](const char* control) {
        return test::AccessibleTree(window).Text().find(control) != std::string::npos;
    };
    WindowScript script;
    script.Await("the window", [&] { return says("radio button: A"); })
        .Do([&] {
            const std::string controls = test::AccessibleTree(window).Text();
            EXPECT_EQ(
                controls.substr(controls.find("progress bar")),
                "progress bar: 已作答 1 / 5 题\n"
                "radio button: A，20 KB\nradio button: B，512 KB\nradio button: C，1 MB，已选\nradio button: D，1 GB\n"
                "list: 题目导航，第 1 题，已作答，当前题\n"
                "push button: 上一题(P)\npush button: 下一题(N)\npush button: 标记(M)\npush button: 清除(C)\n"
                "push button: 笔记(B)\npush button: 暂停离开(L)\npush button: 交卷(H)\n");
            window.GoTo(kFillPlace);
        })
        .Await("the blanks", [&] { return says("text: 第 2 空"); })
        .Do([&] {
            EXPECT_EQ(test::AccessibleTree(window).Nameless(), "");
            window.GoTo(kTextPlace);
        })
        .Await("the text", [&] { return says("text: 操作题的答案"); })
        .Do([&] {
            EXPECT_EQ(test::AccessibleTree(window).Nameless(), "");
            Click(*window.BtnNote);
        })
        .Await("the note", [&] { return (note = Shown<NoteDialog>()) != nullptr; })
        .Do([&] {
            EXPECT_EQ(test::AccessibleTree(*note).Nameless(), "");
            Press(WXK_ESCAPE);
        })
        .Await("no note", [] { return Shown<NoteDialog>() == nullptr; })
        .Do([&] { Click(*window.BtnHandIn); })
        .Await("what is open", [&] { return (asked = Shown<HandInDialog>()) != nullptr; })
        .Do([&] {
            EXPECT_EQ(test::AccessibleTree(*asked).Nameless(), "");
            Click(*asked->BtnHandIn);
        })
        .Await("the result", [&] { return window.Summary != nullptr; })
        .Do([&] {
            const test::AccessibleTree tree(window);
            EXPECT_EQ(tree.Nameless(), "");
            EXPECT_NE(tree.Text().find("progress bar: 单选题，10 / 10 分　对 1 / 1 题"), std::string::npos)
                << tree.Text();
        })
        .DoLast([] { Press(WXK_ESCAPE); });
    script.Play(window);
    Practice(data_, main_paper_, {test::kCandidate}).Pause();
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    main.Show();
    wxYield();
    const test::AccessibleTree tree(main);
    EXPECT_EQ(tree.Nameless(), "");
    for (const char* name : {"combo box: 考生", "combo box: 科目", "table: 试卷", "table: 最近的练习",
                             "push button: 继续：", "image: 得分率曲线"}) {
        EXPECT_NE(tree.Text().find(name), std::string::npos) << name << "\n" << tree.Text();
    }
    ComposeDialog compose(nullptr, data_, BanksOf(data_, Edition::StandAlone));
    SubjectDialog subject(nullptr, data_, {});
    for (wxDialog* dialog : std::initializer_list<wxDialog*>{&compose, &subject}) {
        WindowScript look;
        look.Await("it", [&] { return dialog->IsShownOnScreen(); }).Do([&] {
            EXPECT_EQ(test::AccessibleTree(*dialog).Nameless(), "");
        });
        look.Play(*dialog);
    }
}

}  // namespace
}  // namespace qmtrain::host
