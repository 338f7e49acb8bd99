// The main window and what stands around a practice: notes, what is unfinished, sizes, files that go missing.

#include <algorithm>
#include <filesystem>
#include <utility>

#include "bank/client_folder.h"
#include "core/files.h"
#include "dao/jet_database.h"
#include "host/app/people_dialogs.h"
#include "host/papers/compose_dialog.h"
#include "host/practice/hand_in_dialog.h"
#include "host/practice/unfinished.h"
#include "host/widgets/note_dialog.h"
#include "host_window_fixture.h"
#include "jet/database.h"
#include "notes/frm_notes.h"
#include "review/frm_train.h"
#include "review/frm_view_paper.h"
#include "support/ordinary_user.h"

namespace qmtrain::host {
namespace {

using notes::FrmNotes;
using review::FrmTrain;
using review::FrmViewPaper;

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
                EXPECT_EQ(Utf8(window->BtnNote->GetLabelText()), "笔记 √(B)");
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
    EXPECT_EQ(main.LvLast->GetTextValue(0, 1), ui::ToWx(u"上机练习"));
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
        .Do([&] { compose->SpnCounts[QuestionKind::Single]->SetValue(2); })
        .DoLast([&] { Click(*compose->BtnOK); })
        .Play([&] { main.BtnNothing->ProcessWindowEvent(click); });
    ASSERT_EQ(main.LvPapers->GetItemCount(), 1);
    Practice(made, PapersOf(made, -1).front(), {1}).HandIn();
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

// The client database's links lead to a server that does not run.
void TakeServerAway(const std::u16string& client) {
    const auto database = dao::JetDatabase::Create(client);
    jet::Database::Writing writing(database->Storage());
    constexpr std::pair<std::u16string_view, std::u16string_view> kTables[] = {{u"TrainInfo", u"TrainID"},
                                                                               {u"TrainResult", u"TrainID"},
                                                                               {u"Tbl_SetUser", u"UserID"},
                                                                               {u"Tbl_SubjectBrief", u"SubjectCode"}};
    for (const auto& [name, key] : kTables) {
        jet::TableSpec spec{.name = std::u16string(name)};
        spec.columns.push_back({.name = std::u16string(key), .type = ColumnType::Long});
        database->Storage().CreateOdbcLink(spec, u"DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=1;DATABASE=x",
                                           name, false, Bytes(6));
    }
    writing.Commit();
}

TEST_F(HostWindowTest, WithoutTheServerUnfinishedPracticesGoOnAndItIsSaidWhatDoesNot) {
    {
        Practice practice(data_, main_paper_, {test::kCandidate});
        practice.Answer(0, u"2");
        practice.Pause();
    }
    const dao::Engine::OwnUse use = dao::Engine::Instance().GetOwnUse();
    dao::Engine::OwnUse servers = use;
    servers.links.servers = true;
    dao::Engine::Instance().SetOwnUse(servers);
    const std::filesystem::path client = ToNativePath(ClientDatabase(data_.path));
    std::filesystem::rename(client, folder_.Path() / "there.mdb");
    TakeServerAway(ClientDatabase(data_.path));

    EXPECT_EQ(Examine(data_).state, FolderState::Ready);
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    EXPECT_EQ(boxes_.Said(), Texts{}) << "nothing to click away";
    EXPECT_TRUE(main.Nothing->IsShown());
    EXPECT_TRUE(LabelOf(*main.LblNothing).starts_with("数据库服务器现在不能使用。")) << LabelOf(*main.LblNothing);
    EXPECT_FALSE(main.BtnExam->IsEnabled());
    ASSERT_EQ(main.BtnResume.size(), 1U);
    PracticeWindow* window = nullptr;
    In(window)
        .Do([&] {
            EXPECT_EQ(ToUtf8(window->Navigator->CellText(0)), "1 题，已作答，当前题");
            boxes_.Expect(wxID_YES);  // to leave it
        })
        .DoLast([] { Press(WXK_ESCAPE); })
        .Play([&] { main.Resume(UnfinishedOf(data_, -1, -1).front().train_id); });

    std::filesystem::remove(client);
    std::filesystem::rename(folder_.Path() / "there.mdb", client);
    wxCommandEvent click(wxEVT_BUTTON);
    main.BtnNothing->ProcessWindowEvent(click);
    EXPECT_FALSE(main.Nothing->IsShown());
    EXPECT_TRUE(main.BtnExam->IsEnabled());
    dao::Engine::Instance().SetOwnUse(use);
}

}  // namespace
}  // namespace qmtrain::host
