// Opening the windows on a long history, a long paper and many notes, against the bare queries behind them. An empty
// dialog shows what the toolkit takes for any window.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include <wx/dialog.h>

#include "bank/client_folder.h"
#include "bank/create_bank.h"
#include "core/files.h"
#include "core/log.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/data/host_tables.h"
#include "host/learning/analysis_window.h"
#include "host/learning/review_schedule.h"
#include "host/learning/review_window.h"
#include "host/learning/wrong_window.h"
#include "measure.h"
#include "notes/frm_notes.h"
#include "records/create_client.h"
#include "records/train_result.h"
#include "review/frm_train.h"
#include "review/frm_view_paper.h"
#include "review/training_row.h"
#include "ui/toolkit.h"

namespace {

using namespace qmtrain;
namespace fs = std::filesystem;

constexpr std::int32_t kTrainings = 5000;
constexpr int kResults = 10;  // of a training
constexpr int kQuestions = 200;
constexpr int kNotes = 2000;
constexpr int kBanks = 30;
constexpr std::int32_t kUser = 7;
constexpr std::int32_t kSubject = 1;
constexpr int kRuns = 5;

void Require(bool succeeded) {
    if (succeeded) return;
    std::fprintf(stderr, "the work was not done; see %s\n", LogFile().c_str());
    std::exit(1);
}

// The last training has the long paper; the others have questions of one point each.
void MakeHistory(const std::u16string& folder) {
    CreateClientDatabase(folder);
    dao::Engine::Instance().BeginTrans();
    const dao::Connection client(ClientDatabase(folder));
    const auto trainings = client->OpenRecordset(u"Select * From TrainInfo");
    for (std::int32_t i = 0; i < kTrainings; ++i) {
        trainings->AddNew();
        trainings->Fields(u"UserId").Value(kUser);
        trainings->Fields(u"SubjectCode").Value(kSubject);
        trainings->Fields(u"StartDate").Value(Date{38000 + i / 4.0});
        trainings->Fields(u"TheoryNo").Value(std::int32_t{1});
        trainings->Fields(u"UseTime").Value(900 + i % 3600);
        trainings->Update();
    }
    for (int i = 0; i < kResults; ++i) {
        client->Execute(
            u"INSERT INTO TrainResult (TrainID, QuestionType, QuestionScore, AnswerScore, QuestionNo)"
            u" SELECT TrainID, 1, 1, (TrainID * " +
            ToText(7 + i) + u" Mod 11) / 10, " + ToText(i) + u" FROM TrainInfo WHERE TrainID < " + ToText(kTrainings));
    }
    client->Execute(u"INSERT INTO Tbl_QuestionType VALUES (1, '单项选择题', Null, '1')");
    const auto results = client->OpenRecordset(u"Select * From TrainResult Where TrainID=0");
    for (int i = 0; i < kQuestions; ++i) {
        results->AddNew();
        results->Fields(u"TrainID").Value(kTrainings);
        results->Fields(u"QuestionType").Value(std::int32_t{1});
        results->Fields(u"DataCode").Value(u"KJ");
        results->Fields(u"QuestionRecNo").Value(u"KJ01" + ToText(1000 + i));
        results->Fields(u"QuestionScore").Value(0.5F);
        results->Fields(u"AnswerScore").Value(i % 3 == 0 ? 0.0F : 0.5F);
        results->Fields(u"Answer").Value(u"2");
        results->Fields(u"StudentAnswer").Value(i % 3 == 0 ? u"1" : u"2");
        results->Fields(u"Difficult").Value(std::int32_t{2});
        results->Fields(u"QuestionNo").Value(i + 1);
        results->Update();
    }
    dao::Engine::Instance().CommitTrans();
}

void MakePaper(const std::u16string& file) {
    CreateLocalPaperDatabase(file);
    dao::Engine::Instance().BeginTrans();
    const dao::Connection paper(file);
    paper->Execute(u"INSERT INTO Tbl_Information VALUES ('01', 'KJ', 'TBL_CHOICE')");
    for (int i = 0; i < kQuestions; ++i) {
        const std::u16string key = u"('KJ01" + ToText(1000 + i) + u"', 'KJ', 1, ";
        paper->Execute(u"INSERT INTO TBL_CHOICE VALUES " + key + u"'{\\rtf1 下列叙述中，{\\b 正确}的是\\par }', '2')");
        for (const std::u16string_view letter : {u"A", u"B", u"C", u"D"}) {
            paper->Execute(u"INSERT INTO Tbl_ChoiceVice VALUES " + key + u"'" + std::u16string(letter) + u"', '选项')");
        }
    }
    dao::Engine::Instance().CommitTrans();
}

void MakeNotes(const std::u16string& folder) {
    dao::Engine::Instance().BeginTrans();
    const dao::Connection client(ClientDatabase(folder));
    const auto notes = client->OpenRecordset(u"Select * From Notes");
    for (int i = 0; i < kNotes; ++i) {
        notes->AddNew();
        notes->Fields(u"Name").Value(u"笔记" + ToText(i));
        notes->Fields(u"Content").Value(std::u16string(300, u'文'));
        notes->Fields(u"CreateUserID").Value(kUser);
        notes->Fields(u"CreateDate").Value(Date{38000 + i * 17 % kNotes / 4.0});
        notes->Fields(u"ViewTimes").Value(std::int32_t{1});
        notes->Fields(u"DataCode").Value(u"B" + ToText(i % kBanks));
        notes->Fields(u"QuestionRecNo").Value(ToText(i));
        notes->Fields(u"SubjectCode").Value(kSubject);
        notes->Update();
    }
    const dao::Connection paper(InFolder(folder, u"LocalPaper.mdb"));
    for (int i = 0; i < kBanks; ++i) {
        paper->Execute(u"INSERT INTO Tbl_Subject VALUES ('B" + ToText(i) + u"', 1, Null, '题库" + ToText(i) + u"')");
    }
    dao::Engine::Instance().CommitTrans();
}

// Runs `done` when the window has next been painted.
void AfterPaint(wxWindow& window, const std::function<void()>& done) {
    window.Bind(wxEVT_PAINT, [&window, done](wxPaintEvent& event) {
        event.Skip();
        window.CallAfter(done);
    });
}

// A list paints its rows in a window inside it.
wxWindow& RowsOf(ui::ListView& list) {
    for (wxWindow* child : list.GetChildren()) {
        if (child->GetName() == "wxlistctrl" || child->GetName() == "listctrlmainwindow") return *child;
    }
    return list;
}

void OpenEmpty() {
    wxDialog window(nullptr, wxID_ANY, "bench", wxDefaultPosition, wxSize(760, 520));
    AfterPaint(window, [&] {
        if (window.IsModal()) window.EndModal(wxID_OK);
    });
    Require(window.ShowModal() == wxID_OK);
}

PracticeSource NetworkSource(const std::u16string& folder) {
    return {folder, u"", InFolder(folder, u"LocalPaper.mdb"), true, kUser, kSubject};
}

// To the first paint of the list; or to that of the chart behind it as well.
void OpenHistory(const std::u16string& folder, bool with_chart) {
    review::FrmTrain window({folder, u"", u"", false, kUser, kSubject});
    const auto close = [&] {
        if (window.IsModal()) window.EndModal(wxID_OK);
    };
    AfterPaint(RowsOf(*window.LvTrainInfo), [&] {
        if (with_chart)
            window.Piclst->Click(review::kChartTab);
        else
            close();
    });
    AfterPaint(*window.MSChart, close);
    Require(window.ShowModal() == wxID_OK);
    Require(window.LvTrainInfo->GetItemCount() == kTrainings);
    Require(!with_chart || window.MSChart->RowCount() == kTrainings);
}

void QueryHistory(const std::u16string& folder) {
    const dao::Connection client(ClientDatabase(folder));
    const auto rows =
        client->OpenRecordset(review::TrainingsQuery(kUser, kSubject, review::TrainingOrder::NewestFirst));
    std::int32_t count = 0;
    for (; !rows->Eof(); rows->MoveNext()) ++count;
    Require(count == kTrainings);
}

void OpenPaper(const std::u16string& folder) {
    review::FrmViewPaper window({NetworkSource(folder), kTrainings});
    AfterPaint(*window.RtfTitle, [&] {
        if (window.IsModal()) window.EndModal(wxID_OK);
    });
    Require(window.ShowModal() == wxID_OK);
    Require(window.FlexGridQuestions->GetItemCount() == kQuestions && window.RtfChoice->Text().Length() > 20);
}

void QueryPaper(const std::u16string& folder) {
    TrainResult result;
    result.ClientPath(folder);
    const auto rows = result.GetRecordset(kTrainings);
    int count = 0;
    for (; !rows->Eof(); rows->MoveNext()) ++count;
    Require(count == kQuestions);
}

// Shows all banks, then the notes of one.
void OpenNotes(const std::u16string& folder) {
    notes::FrmNotes window({NetworkSource(folder), u""});
    AfterPaint(RowsOf(*window.LvNotes), [&] {
        if (window.SelectedKey() == notes::kRootKey) {
            window.SelectKey(u"DataB0");
        } else if (window.IsModal()) {
            window.EndModal(wxID_OK);
        }
    });
    Require(window.ShowModal() == wxID_OK);
    Require(window.TvNotes->GetCount() == 1 + kBanks + kNotes);
    Require(window.LvNotes->GetItemCount() == (kNotes + kBanks - 1) / kBanks);
}

void QueryNotes(const std::u16string& folder) {
    const notes::NotesSource source{NetworkSource(folder), u""};
    const auto note = notes::InitNoteObject(source);
    const auto banks = notes::LoadAllNotes(source, *note);
    Require(banks.size() == kBanks && !notes::BankRows(banks.front(), *note, kUser).empty());
}

// ---- the learning windows: a long history of long papers ----

constexpr int kLongPaper = 60;
constexpr int kDifferent = 1200;  // questions that there are

// One candidate's; each question is right three times of four.
void MakeLongPapers(const std::u16string& folder) {
    const host::DataFolder data{folder};
    CreateClientDatabase(folder);
    host::CreateHostDatabase(data.Host());
    CreateLocalPaperDatabase(data.LocalPaper());
    dao::Engine::Instance().BeginTrans();
    const dao::Connection paper(data.LocalPaper());
    paper->Execute(u"INSERT INTO Tbl_Information VALUES ('01', 'KJ', 'TBL_CHOICE')");
    paper->Execute(u"INSERT INTO Tbl_Subject VALUES ('KJ', 1, Null, '会计基础')");
    for (int i = 0; i < kDifferent; ++i) {
        paper->Execute(u"INSERT INTO TBL_CHOICE VALUES ('KJ01" + ToText(1000 + i) +
                       u"', 'KJ', 1, '下列叙述中，正确的是（　　）。', '2')");
    }
    const dao::Connection client(ClientDatabase(folder));
    client->Execute(u"INSERT INTO Tbl_SetUser VALUES (7, '考生', '1')");
    client->Execute(u"INSERT INTO Tbl_SubjectBrief VALUES (1, '科目', Null, Null)");
    client->Execute(u"INSERT INTO Tbl_QuestionType VALUES (1, '单项选择题', Null, '1')");
    const auto trainings = client->OpenRecordset(u"Select * From TrainInfo");
    for (std::int32_t i = 0; i < kTrainings; ++i) {
        trainings->AddNew();
        trainings->Fields(u"UserId").Value(kUser);
        trainings->Fields(u"SubjectCode").Value(kSubject);
        trainings->Fields(u"StartDate").Value(Date{44000 + i / 4.0});
        trainings->Fields(u"TheoryNo").Value(std::int32_t{1});
        trainings->Fields(u"UseTime").Value(900 + i % 3600);
        trainings->Update();
    }
    const auto results = client->OpenRecordset(u"Select * From TrainResult Where TrainID=0");
    for (std::int32_t i = 0; i < kTrainings * kLongPaper; ++i) {
        const std::int32_t question = (i * 7 + i / kDifferent) % kDifferent;
        results->AddNew();
        results->Fields(u"TrainID").Value(i / kLongPaper + 1);
        results->Fields(u"QuestionType").Value(std::int32_t{1});
        results->Fields(u"DataCode").Value(u"KJ");
        results->Fields(u"QuestionRecNo").Value(u"KJ01" + ToText(1000 + question));
        results->Fields(u"QuestionScore").Value(1.0F);
        results->Fields(u"AnswerScore").Value(i * 2654435761U >> 30 == 0 ? 0.0F : 1.0F);
        results->Fields(u"Answer").Value(u"2");
        results->Fields(u"StudentAnswer").Value(u"1");
        results->Fields(u"Difficult").Value(question % 3 + 1);
        results->Fields(u"QuestionNo").Value(i % kLongPaper + 1);
        results->Update();
    }
    dao::Engine::Instance().CommitTrans();
}

template <class Window>
void OpenAndClose(Window& window, wxWindow& painted) {
    AfterPaint(painted, [&] {
        if (window.IsModal()) window.EndModal(wxID_OK);
    });
    Require(window.ShowModal() == wxID_OK);
}

void OpenWrong(const host::DataFolder& data) {
    host::WrongWindow window(nullptr, data, host::Edition::Network, kUser, kSubject, true);
    OpenAndClose(window, RowsOf(*window.LvWrong));
    Require(window.LvWrong->GetItemCount() == kDifferent);
}

void OpenReview(const host::DataFolder& data) {
    host::ReviewWindow window(nullptr, data, host::Edition::Network, kUser, kSubject, false);
    OpenAndClose(window, RowsOf(*window.LvDue));
    Require(window.LblKnown->GetLabel().Contains(std::to_string(kDifferent)));
}

void OpenAnalysis(const host::DataFolder& data, std::int32_t user) {
    host::AnalysisWindow window(nullptr, data, host::Edition::Network, user, kSubject, false);
    OpenAndClose(window, *window.PicRates);
    Require(window.PicRates->RowCount() == kTrainings);
}

void ReadResults(const std::u16string& folder) {
    const dao::Connection client(ClientDatabase(folder));
    const auto rows = client->OpenRecordset(
        u"Select TrainID,QuestionType,DataCode,QuestionRecNo,QuestionScore,AnswerScore,Distin,Difficult From "
        u"TrainResult");
    std::int32_t count = 0;
    for (; !rows->Eof(); rows->MoveNext()) ++count;
    Require(count == kTrainings * kLongPaper);
}

template <class Open, class Query>
void Compare(const char* name, Open open, Query query) {
    // The processor time as well, which other work of the machine does not change.
    double processor = 1e9;
    const double opened = bench::BestOf(kRuns, [&] {
        const std::clock_t start = std::clock();
        open();
        processor = std::min(processor, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    });
    const double queried = bench::BestOf(kRuns, query);
    std::printf("%s: %.3f s, %.3f s of the processor; the bare query %.3f s: %.2f times its time\n", name, opened,
                processor, queried, opened / queried);
}

}  // namespace

int main() {
    if (!ui::StartToolkit(u"bench")) {
        std::fputs("there is no display; xvfb-run has one\n", stderr);
        return 1;
    }
    const fs::path path = fs::temp_directory_path() / "qmtrain-bench-windows";
    fs::remove_all(path);
    fs::create_directories(path);
    SetComponentFolder(path);
    const std::u16string folder = FromNativePath(path);
    MakeHistory(folder);
    MakePaper(InFolder(folder, u"LocalPaper.mdb"));
    MakeNotes(folder);
    std::printf("an empty dialog: %.3f s\n", bench::BestOf(kRuns, OpenEmpty));
    Compare(
        "the history of 5000 trainings, painted", [&] { OpenHistory(folder, false); }, [&] { QueryHistory(folder); });
    Compare(
        "the history of 5000 trainings, list and chart painted", [&] { OpenHistory(folder, true); },
        [&] { QueryHistory(folder); });
    Compare(
        "the review of 200 questions, painted", [&] { OpenPaper(folder); }, [&] { QueryPaper(folder); });
    Compare(
        "the manager of 2000 notes in 30 banks, painted", [&] { OpenNotes(folder); }, [&] { QueryNotes(folder); });
    const std::u16string learning = InFolder(folder, u"learning");
    fs::create_directories(path / "learning");
    MakeLongPapers(learning);
    const host::DataFolder data{learning};
    std::printf("5000 trainings of 60 questions:\n");
    const auto first = std::chrono::steady_clock::now();
    host::UpdateSchedule(data, kUser);
    std::printf("the schedule of reviews worked out anew: %.3f s\n",
                std::chrono::duration<double>(std::chrono::steady_clock::now() - first).count());
    const auto query = [&] { ReadResults(learning); };
    Compare(
        "the wrong questions, painted", [&] { OpenWrong(data); }, query);
    Compare(
        "today's reviews, painted", [&] { OpenReview(data); }, query);
    Compare(
        "the analysis, painted", [&] { OpenAnalysis(data, kUser); }, query);
    Compare(
        "everybody's analysis, painted", [&] { OpenAnalysis(data, -1); }, query);
    fs::remove_all(path);
}
