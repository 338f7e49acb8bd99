// The history's summary query against the sqlite3 program, both as whole processes.

#include <cstdio>
#include <filesystem>

#include <sqlite3.h>

#include "core/files.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "jet/database.h"
#include "measure.h"

namespace {

using namespace qmtrain;
namespace fs = std::filesystem;

constexpr int kTrainings = 2000;
constexpr int kResults = 60;  // of each training

const char* const kQuery =
    "SELECT TI.TrainID,TI.UserID,TI.StartDate,TI.EndDate,TI.UseTime,TI.TheoryNo,TI.OperationNo,"
    " Sum(TR.QuestionScore) As PaperScore, Sum(TR.AnswerScore) As GetScore  From TrainInfo TI,TrainResult TR"
    " Where TI.TrainID = TR.TrainID  Group By TI.TrainID,TI.UserID,TI.StartDate,TI.EndDate,TI.UseTime,TI.TheoryNo,"
    "TI.OperationNo Order By TI.StartDate Desc";

const char* const kTables[] = {
    "CREATE TABLE TrainInfo (TrainID INTEGER PRIMARY KEY, UserID INTEGER, StartDate DATETIME, EndDate DATETIME,"
    " UseTime INTEGER, TheoryNo INTEGER, OperationNo INTEGER)",
    "CREATE TABLE TrainResult (ResultID INTEGER PRIMARY KEY, TrainID INTEGER, DataCode VARCHAR(20),"
    " QuestionRecNo VARCHAR(20), QuestionScore REAL, AnswerScore REAL, StudentAnswer TEXT(100))",
    "CREATE INDEX ByTrain ON TrainResult (TrainID)",
};

std::string Training(int i, const char* quote) {
    char text[300];
    std::snprintf(text, sizeof text,
                  "INSERT INTO TrainInfo VALUES (%d, %d, %s2005-%02d-%02d 09:%02d:00%s, %s2005-%02d-%02d 10:%02d:00%s, "
                  "%d, %d, %d)",
                  i, i % 3, quote, 1 + i % 12, 1 + i % 28, i % 60, quote, quote, 1 + i % 12, 1 + i % 28, i % 60, quote,
                  3000 + i % 700, i % 7, i % 5);
    return text;
}

std::string Result(int training, int question) {
    char text[300];
    std::snprintf(text, sizeof text, "INSERT INTO TrainResult VALUES (%d, %d, 'C%d', '0001%04d', 2, %d, '答案 %d')",
                  training * kResults + question, training, training % 5, question, (training + question) % 3,
                  question);
    return text;
}

template <class Execute>
void Fill(Execute execute, const char* quote) {
    for (const char* statement : kTables) execute(statement);
    for (int i = 1; i <= kTrainings; ++i) {
        execute(Training(i, quote));
        for (int q = 0; q < kResults; ++q) execute(Result(i, q));
    }
}

}  // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / "qmtrain-bench";
    fs::create_directories(folder);
    const fs::path ours = folder / "summary.mdb";
    const fs::path theirs = folder / "summary.db";
    fs::remove(ours);
    fs::remove(theirs);
    {
        dao::Engine& engine = dao::Engine::Instance();
        const auto database = engine.CreateDatabase(FromNativePath(ours));
        engine.BeginTrans();
        Fill([&](const std::string& statement) { database->Execute(FromUtf8(statement)); }, "#");
        engine.CommitTrans();
        sqlite3* sqlite = nullptr;
        sqlite3_open(theirs.c_str(), &sqlite);
        sqlite3_exec(sqlite, "BEGIN", nullptr, nullptr, nullptr);
        Fill([&](const std::string& statement) { sqlite3_exec(sqlite, statement.c_str(), nullptr, nullptr, nullptr); },
             "'");
        sqlite3_exec(sqlite, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(sqlite);
    }
    const auto jetsql = bench::RunProgram({QMTRAIN_JETSQL, ours.string(), "--csv", kQuery}, 15);
    const auto sqlite = bench::RunProgram({"sqlite3", "-csv", theirs.string(), kQuery}, 15);
    if (!jetsql.succeeded || !sqlite.succeeded) {
        std::puts("summary query: jetsql or sqlite3 could not run");
        return 1;
    }
    std::printf(
        "summary of %d trainings with %d results each: %.4f s, sqlite3 %.4f s: %.2f times as fast, peak %ld MiB\n",
        kTrainings, kResults, jetsql.seconds, sqlite.seconds, sqlite.seconds / jetsql.seconds, jetsql.peak_kib / 1024);
    fs::remove_all(folder);
}
