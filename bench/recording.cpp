// Recording a practice and counting trainings through the classes, against SQLite on the same tables and indexes.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <unistd.h>

#include "core/files.h"
#include "core/log.h"
#include "core/text.h"
#include "dao/dao.h"
#include "measure.h"
#include "records/create_client.h"
#include "records/train_info.h"
#include "records/train_result.h"
#include "sqlite.h"

namespace {

using namespace qmtrain;
namespace fs = std::filesystem;

constexpr int kQuestions = 60;  // of a paper
constexpr int kTrainings = 10000;
constexpr int kUsers = 5;
constexpr int kSubjects = 4;
constexpr Date kStart{38454.5};
constexpr Date kEnd{38454.55};

const char* const kTables =
    "PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;"
    "CREATE TABLE TrainInfo (TrainID INTEGER PRIMARY KEY AUTOINCREMENT, UserId INTEGER, SubjectCode INTEGER,"
    " StartDate REAL, EndDate REAL, UseTime INTEGER, TheoryNo INTEGER, OperationNo INTEGER, AnswerScore REAL,"
    " Score REAL);"
    "CREATE INDEX ByUser ON TrainInfo (UserId, SubjectCode);"
    "CREATE TABLE TrainResult (TrainID INTEGER REFERENCES TrainInfo (TrainID), QuestionType INTEGER, DataCode TEXT,"
    " QuestionRecNo TEXT, QuestionScore REAL, AnswerScore REAL, Answer TEXT, StudentAnswer TEXT, ErrInfo TEXT,"
    " ErrInfoXml TEXT, Distin INTEGER, Difficult INTEGER, QuestionNo INTEGER);"
    "CREATE INDEX ByQuestion ON TrainResult (TrainID, DataCode, QuestionRecNo);";

struct Question {
    std::u16string data_code = u"NCRE2VB";
    std::u16string rec_no;
    std::u16string answer;
    std::u16string err_info;
    std::u16string err_info_xml;

    explicit Question(std::int32_t number)
        : rec_no(u"0102" + ToText(1000 + number)),
          answer(u"答案 " + ToText(number)),
          err_info(u"第 " + ToText(number) + u" 题：窗体的标题不正确，应为“学生成绩管理”。"),
          err_info_xml(u"<err><item no=\"" + ToText(number) + u"\" score=\"2\">" + err_info + u"</item></err>") {}
};

void Require(bool succeeded) {
    if (succeeded) return;
    std::fprintf(stderr, "the work was not done; see %s\n", LogFile().c_str());
    std::exit(1);
}

// The same work on both sides; each call is one durable transaction.

class OurPaper {
public:
    explicit OurPaper(const fs::path& folder) {
        info_.ClientPath(FromNativePath(folder));
        std::u16string error;
        Require(info_.Init(error));
        result_.ClientPath(info_.ClientPath());
    }

    void Record() {
        const std::int32_t id = info_.AddNewTrain(kStart, 7, 3, 1, 2);
        Require(id > 0);
        for (std::int32_t i = 0; i < kQuestions; ++i) {
            const Question q(i);
            Require(result_.Add(id, 1 + i % 5, q.data_code, q.rec_no, 2, 0, q.answer, u"", u"", 1, 2, i + 1));
        }
        for (std::int32_t i = 0; i < kQuestions; ++i) {
            const Question q(i);
            Require(result_.Update(id, q.data_code, q.rec_no, 1.5F, q.answer, q.err_info, q.err_info_xml));
        }
        Require(info_.Update(id, kEnd, 90));
    }

private:
    TrainInfo info_;
    TrainResult result_;
};

class SqlitePaper {
public:
    explicit SqlitePaper(bench::SqliteFile& file) : file_(file) {}

    void Record() {
        const std::int32_t id = AddNewTrain();
        for (std::int32_t i = 0; i < kQuestions; ++i) Add(id, i);
        for (std::int32_t i = 0; i < kQuestions; ++i) Update(id, i);
        file_.Execute("BEGIN IMMEDIATE");
        find_training_.Bind(1, id);
        Require(find_training_.Step());
        find_training_.Run();
        end_training_.Bind(1, kEnd.days).Bind(2, 90.0).Bind(3, std::int32_t{4320}).Bind(4, id).Run();
        file_.Execute("COMMIT");
    }

private:
    std::int32_t AddNewTrain() {
        file_.Execute("BEGIN IMMEDIATE");
        add_training_.Bind(1, std::int32_t{7}).Bind(2, std::int32_t{2}).Bind(3, kStart.days);
        add_training_.Bind(4, std::int32_t{3}).Bind(5, std::int32_t{1}).Run();
        Require(last_training_.Step());
        const std::int32_t id = last_training_.Number(0);
        last_training_.Run();
        file_.Execute("COMMIT");
        return id;
    }

    void Add(std::int32_t id, std::int32_t i) {
        const Question q(i);
        file_.Execute("BEGIN IMMEDIATE");
        add_.Bind(1, id).Bind(2, 1 + i % 5).Bind(3, q.data_code).Bind(4, q.rec_no).Bind(5, 2.0).Bind(6, 0.0);
        add_.Bind(7, q.answer).Bind(8, u"").Bind(9, u"").Bind(10, std::int32_t{1}).Bind(11, std::int32_t{2});
        add_.Bind(12, i + 1).Run();
        file_.Execute("COMMIT");
    }

    void Update(std::int32_t id, std::int32_t i) {
        const Question q(i);
        file_.Execute("BEGIN IMMEDIATE");
        find_.Bind(1, id).Bind(2, q.data_code).Bind(3, q.rec_no);
        Require(find_.Step());
        const std::int32_t row = find_.Number(0);
        find_.Run();
        update_.Bind(1, 1.5).Bind(2, q.answer).Bind(3, q.err_info).Bind(4, q.err_info_xml).Bind(5, row).Run();
        file_.Execute("COMMIT");
    }

    bench::SqliteFile& file_;
    bench::SqliteStatement add_training_{
        file_, "INSERT INTO TrainInfo (UserId,SubjectCode,StartDate,TheoryNo,OperationNo) VALUES (?,?,?,?,?)"};
    bench::SqliteStatement last_training_{file_, "SELECT TrainID FROM TrainInfo ORDER BY TrainID DESC LIMIT 1"};
    bench::SqliteStatement find_training_{file_, "SELECT * FROM TrainInfo WHERE TrainID=?"};
    bench::SqliteStatement end_training_{file_, "UPDATE TrainInfo SET EndDate=?, Score=?, UseTime=? WHERE TrainID=?"};
    bench::SqliteStatement add_{file_,
                                "INSERT INTO TrainResult (TrainID,QuestionType,DataCode,QuestionRecNo,QuestionScore,"
                                "AnswerScore,Answer,ErrInfo,ErrInfoXml,Distin,Difficult,QuestionNo)"
                                " VALUES (?,?,?,?,?,?,?,?,?,?,?,?)"};
    bench::SqliteStatement find_{file_,
                                 "SELECT rowid, * FROM TrainResult WHERE TrainID=? AND DataCode=? AND QuestionRecNo=?"};
    bench::SqliteStatement update_{
        file_, "UPDATE TrainResult SET AnswerScore=?, StudentAnswer=?, ErrInfo=?, ErrInfoXml=? WHERE rowid=?"};
};

// Turn by turn, so that a busy disk is busy for both; the shortest of several papers.
void Recording(const fs::path& folder, bench::SqliteFile& sqlite) {
    constexpr int kPapers = 10;
    OurPaper our_paper(folder);
    SqlitePaper their_paper(sqlite);
    double ours = 0;
    double theirs = 0;
    for (int i = 0; i < kPapers; ++i) {
        sync();
        const double we = bench::Seconds([&] { our_paper.Record(); });
        sync();
        const double they = bench::Seconds([&] { their_paper.Record(); });
        ours = i == 0 ? we : std::min(ours, we);
        theirs = i == 0 ? they : std::min(theirs, they);
    }
    std::printf("recording a paper of %d questions: %.4f s, SQLite %.4f s: %.2f times its time\n", kQuestions, ours,
                theirs, ours / theirs);
}

void AddTrainings(const fs::path& folder, bench::SqliteFile& sqlite) {
    dao::Engine& engine = dao::Engine::Instance();
    const dao::Connection database(InFolder(FromNativePath(folder), u"Client.mdb"));
    engine.BeginTrans();
    sqlite.Execute("BEGIN");
    bench::SqliteStatement insert(sqlite, "INSERT INTO TrainInfo (UserId, SubjectCode, StartDate) VALUES (?,?,?)");
    const auto rows = database->OpenRecordset(u"Select top 1 * From TrainInfo");
    for (std::int32_t i = 0; i < kTrainings; ++i) {
        const std::int32_t user = i % kUsers;
        const std::int32_t subject = i / kUsers % kSubjects;
        const Date start{38000 + i / 10.0};
        rows->AddNew();
        rows->Fields(u"UserId").Value(user);
        rows->Fields(u"SubjectCode").Value(subject);
        rows->Fields(u"StartDate").Value(start);
        rows->Update();
        insert.Bind(1, user).Bind(2, subject).Bind(3, start.days).Run();
    }
    sqlite.Execute("COMMIT");
    engine.CommitTrans();
}

void Counting(const fs::path& folder, bench::SqliteFile& sqlite) {
    struct Case {
        const char* name;
        std::int32_t user;
        std::int32_t subject;
        const char* query;
    };
    TrainInfo info;
    info.ClientPath(FromNativePath(folder));
    std::u16string error;
    Require(info.Init(error));
    for (const Case& c :
         {Case{"of a user in a subject", 2, 3, "Select Count(*) From TrainInfo Where UserId=2 And SubjectCode=3"},
          Case{"of a user", 2, -1, "Select Count(*) From TrainInfo Where UserId=2"},
          Case{"all", -1, -1, "Select Count(*) From TrainInfo"}}) {
        constexpr int kCalls = 2000;
        std::int32_t our_count = 0;
        std::int32_t their_count = 0;
        info.UserId(c.user);
        info.SubjectCode(c.subject);
        const double ours = bench::BestOf(10, [&] {
            for (int i = 0; i < kCalls; ++i) our_count = info.GetTrainTimes();
        });
        const double theirs = bench::BestOf(10, [&] {
            for (int i = 0; i < kCalls; ++i) {
                bench::SqliteStatement query(sqlite, c.query);
                query.Step();
                their_count = query.Number(0);
            }
        });
        Require(our_count == their_count && our_count > 0);
        std::printf("counting %5d of %d trainings, %s: %.1f us, SQLite %.1f us: %.2f times its time\n", our_count,
                    kTrainings, c.name, ours * 1e6 / kCalls, theirs * 1e6 / kCalls, ours / theirs);
    }
}

}  // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / "qmtrain-bench-recording";
    fs::remove_all(folder);
    fs::create_directories(folder);
    SetComponentFolder(folder);
    CreateClientDatabase(FromNativePath(folder));
    {
        bench::SqliteFile sqlite(folder / "client.db");
        sqlite.Execute(kTables);
        AddTrainings(folder, sqlite);
        Counting(folder, sqlite);
        Recording(folder, sqlite);
    }
    fs::remove_all(folder);
}
