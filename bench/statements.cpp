// Ordinary statements over a table of 100,000 rows with four indexes, and what the component itself asks: each against
// SQLite with the same rows, the same indexes and the same durability, in one process. Prints a table of ratios.
//
//   bench_statements [FILTER]    only the workloads whose names contain it
//   bench_statements --fill FOLDER, then --alone FOLDER NAME TIMES    ours by itself, for a profiler

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

#include "core/convert.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "measure.h"
#include "records/summary_query.h"
#include "sqlite.h"

namespace {

using namespace qmtrain;
namespace fs = std::filesystem;

constexpr int kResults = 100000;
constexpr int kOfTraining = 50;
constexpr int kTrainings = kResults / kOfTraining;
constexpr int kUsers = 40;
constexpr int kNotes = 2000;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(1);
}

// ---- the data ----

std::uint32_t Scatter(std::uint32_t i) {
    i *= 2654435761U;
    i ^= i >> 15;
    return i * 2246822519U >> 3;
}

const char* const kOurTables[] = {
    "CREATE TABLE TrainInfo (TrainID LONG PRIMARY KEY, UserID LONG, StartDate DATETIME, EndDate DATETIME, UseTime LONG,"
    " TheoryNo LONG, OperationNo LONG)",
    "CREATE INDEX ByUser ON TrainInfo (UserID)",
    "CREATE TABLE TrainResult (ResultID LONG PRIMARY KEY, TrainID LONG, QuestionRecNo TEXT(20), AnswerDate DATETIME,"
    " DataCode TEXT(20), QuestionScore SINGLE, AnswerScore SINGLE, StudentAnswer TEXT(60))",
    "CREATE INDEX ByTrain ON TrainResult (TrainID)",
    "CREATE INDEX ByQuestion ON TrainResult (QuestionRecNo)",
    "CREATE INDEX ByDate ON TrainResult (AnswerDate)",
    "CREATE TABLE Notes (NoteID LONG PRIMARY KEY, Name TEXT(255), Content MEMO, CreateUserID LONG, DataCode TEXT(50),"
    " QuestionRecNo TEXT(50))",
    "CREATE INDEX NoteByQuestion ON Notes (DataCode, QuestionRecNo, CreateUserID)",
    "CREATE TABLE Copy (ResultID LONG PRIMARY KEY, TrainID LONG, QuestionRecNo TEXT(20), AnswerScore SINGLE)",
    "CREATE INDEX CopyByTrain ON Copy (TrainID)",
    "CREATE INDEX CopyByQuestion ON Copy (QuestionRecNo)",
};

const char* const kTheirTables =
    "PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL;"
    "CREATE TABLE TrainInfo (TrainID INTEGER PRIMARY KEY, UserID INTEGER, StartDate REAL, EndDate REAL, UseTime "
    "INTEGER,"
    " TheoryNo INTEGER, OperationNo INTEGER);"
    "CREATE INDEX ByUser ON TrainInfo (UserID);"
    "CREATE TABLE TrainResult (ResultID INTEGER PRIMARY KEY, TrainID INTEGER, QuestionRecNo TEXT COLLATE NOCASE,"
    " AnswerDate REAL, DataCode TEXT COLLATE NOCASE, QuestionScore REAL, AnswerScore REAL,"
    " StudentAnswer TEXT COLLATE NOCASE);"
    "CREATE INDEX ByTrain ON TrainResult (TrainID);"
    "CREATE INDEX ByQuestion ON TrainResult (QuestionRecNo);"
    "CREATE INDEX ByDate ON TrainResult (AnswerDate);"
    "CREATE TABLE Notes (NoteID INTEGER PRIMARY KEY, Name TEXT COLLATE NOCASE, Content TEXT, CreateUserID INTEGER,"
    " DataCode TEXT COLLATE NOCASE, QuestionRecNo TEXT COLLATE NOCASE);"
    "CREATE INDEX NoteByQuestion ON Notes (DataCode, QuestionRecNo, CreateUserID);"
    "CREATE TABLE Copy (ResultID INTEGER PRIMARY KEY, TrainID INTEGER, QuestionRecNo TEXT COLLATE NOCASE,"
    " AnswerScore REAL);"
    "CREATE INDEX CopyByTrain ON Copy (TrainID);"
    "CREATE INDEX CopyByQuestion ON Copy (QuestionRecNo);";

// Both databases get the same rows, values in the order of the columns.
class Filler {
public:
    Filler(dao::Database& ours, bench::SqliteFile& theirs) : ours_(ours), theirs_(theirs) {}

    void Fill(const char* table, int rows, const std::function<std::vector<Value>(int)>& row) {
        const auto recordset = ours_.OpenRecordset(FromUtf8(std::string("Select * From ") + table));
        const std::size_t width = recordset->Fields().size();
        std::string insert = std::string("INSERT INTO ") + table + " VALUES (?";
        for (std::size_t i = 1; i < width; ++i) insert += ",?";
        bench::SqliteStatement statement(theirs_, insert + ")");
        for (int i = 0; i < rows; ++i) {
            const std::vector<Value> values = row(i);
            recordset->AddNew();
            for (std::size_t c = 0; c < width; ++c) {
                recordset->Fields(static_cast<int>(c)).Value(values[c]);
                if (values[c].IsText())
                    statement.Bind(static_cast<int>(c) + 1, values[c].Text());
                else if (values[c].GetType() == Value::Type::Long)
                    statement.Bind(static_cast<int>(c) + 1, values[c].As<std::int32_t>());
                else
                    statement.Bind(static_cast<int>(c) + 1, ToDouble(values[c]));
            }
            recordset->Update();
            statement.Run();
        }
    }

private:
    dao::Database& ours_;
    bench::SqliteFile& theirs_;
};

std::u16string RecNo(std::uint32_t number) {
    const std::u16string digits = ToText(1000000 + number % 1000000);
    return u"JC" + digits.substr(1);
}

void Fill(const fs::path& ours, const fs::path& theirs) {
    dao::Engine& engine = dao::Engine::Instance();
    const auto database = engine.CreateDatabase(FromNativePath(ours));
    bench::SqliteFile sqlite(theirs);
    for (const char* statement : kOurTables) database->Execute(FromUtf8(statement));
    sqlite.Execute(kTheirTables);
    engine.BeginTrans();
    sqlite.Execute("BEGIN");
    Filler filler(*database, sqlite);
    filler.Fill("TrainInfo", kTrainings, [](int i) {
        const Date start{38000 + i / 4.0};
        return std::vector<Value>{i + 1, i % kUsers, start, Date{start.days + 0.04}, 900 + i % 3600, i % 7, i % 5};
    });
    filler.Fill("TrainResult", kResults, [](int i) {
        const std::uint32_t random = Scatter(static_cast<std::uint32_t>(i));
        return std::vector<Value>{i + 1,
                                  i / kOfTraining + 1,
                                  RecNo(random),
                                  Date{38000 + (random % 1000000) / 800.0},
                                  u"KJ" + ToText(random / 7 % 300),
                                  2.0F,
                                  static_cast<float>(random % 5) / 2,
                                  u"Answer " + ToText(random % 5000) + u" of the candidate"};
    });
    filler.Fill("Notes", kNotes, [](int i) {
        return std::vector<Value>{i + 1,      u"Note " + ToText(i),   std::u16string(300, u'n'),
                                  i % kUsers, u"KJ" + ToText(i % 30), RecNo(Scatter(static_cast<std::uint32_t>(i)))};
    });
    sqlite.Execute("COMMIT");
    engine.CommitTrans();
}

// ---- what is run ----

struct Outcome {
    std::int64_t rows = 0;
    double sum = 0;  // of all numbers, and the lengths of all texts
};

struct Peers {
    fs::path our_file;
    fs::path their_file;
    std::shared_ptr<dao::Database> ours;
    std::unique_ptr<bench::SqliteFile> theirs;
};

struct Workload {
    std::string name;
    int repeats = 1;  // in a row, each with another number
    int rounds = 7;   // of which the fastest counts
    bool writes = false;
    std::function<Outcome(Peers&, std::uint32_t)> ours;
    std::function<Outcome(Peers&, std::uint32_t)> theirs;
};

// "{}" stands for a number that differs from run to run.
std::string WithNumber(std::string text, std::uint32_t number) {
    for (std::size_t at = text.find("{}"); at != std::string::npos; at = text.find("{}")) {
        text.replace(at, 2, std::to_string(number));
    }
    return text;
}

void Add(Outcome& outcome, const Value& value) {
    if (value.IsText())
        outcome.sum += static_cast<double>(value.Text().size());
    else if (!value.IsNull())
        outcome.sum += ToDouble(value);
}

Outcome ReadAll(dao::Recordset& rows) {
    Outcome outcome;
    const int width = static_cast<int>(rows.Fields().size());
    for (; !rows.Eof(); rows.MoveNext()) {
        for (int i = 0; i < width; ++i) Add(outcome, rows.Fields(i).Value());
        ++outcome.rows;
    }
    return outcome;
}

Outcome ReadAll(const bench::SqliteFile& file, const std::string& sql) {
    Outcome outcome;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(file.Handle(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) file.Fail();
    const int width = sqlite3_column_count(statement);
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
        for (int i = 0; i < width; ++i) {
            switch (sqlite3_column_type(statement, i)) {
                case SQLITE_NULL: break;
                case SQLITE_TEXT:
                    if (sqlite3_column_text(statement, i) == nullptr) file.Fail();
                    outcome.sum += sqlite3_column_bytes(statement, i);
                    break;
                default: outcome.sum += sqlite3_column_double(statement, i);
            }
        }
        ++outcome.rows;
    }
    if (result != SQLITE_DONE) file.Fail();
    sqlite3_finalize(statement);
    return outcome;
}

Workload Select(std::string name, int repeats, const std::string& ours, const std::string& theirs) {
    Workload workload{std::move(name), repeats, 15, false, {}, {}};
    workload.ours = [ours](Peers& peers, std::uint32_t number) {
        const auto rows = peers.ours->OpenRecordset(FromUtf8(WithNumber(ours, number)));
        return ReadAll(*rows);
    };
    workload.theirs = [theirs](Peers& peers, std::uint32_t number) {
        return ReadAll(*peers.theirs, WithNumber(theirs, number));
    };
    return workload;
}

Workload Select(std::string name, int repeats, const std::string& both) {
    return Select(std::move(name), repeats, both, both);
}

// One durable change a run.
Workload Change(std::string name, int repeats, int rounds, const std::string& ours, const std::string& theirs) {
    Workload workload{std::move(name), repeats, rounds, true, {}, {}};
    workload.ours = [ours](Peers& peers, std::uint32_t number) {
        peers.ours->Execute(FromUtf8(WithNumber(ours, number)));
        return Outcome{peers.ours->RecordsAffected(), 0};
    };
    workload.theirs = [theirs](Peers& peers, std::uint32_t number) {
        peers.theirs->Execute(WithNumber(theirs, number).c_str());
        return Outcome{sqlite3_changes(peers.theirs->Handle()), 0};
    };
    return workload;
}

Workload Change(std::string name, int repeats, int rounds, const std::string& both) {
    return Change(std::move(name), repeats, rounds, both, both);
}

std::string KeyList(int count) {
    std::string list;
    for (int i = 0; i < count; ++i) {
        if (i > 0) list += ',';
        list += std::to_string(Scatter(static_cast<std::uint32_t>(i + 7)) % kResults + 1);
    }
    return list;
}

Workload OpenReadClose() {
    Workload workload{"open, read one row, close", 20, 7, false, {}, {}};
    const std::string sql = "SELECT * FROM TrainResult WHERE ResultID = {}";
    workload.ours = [sql](Peers& peers, std::uint32_t number) {
        const auto database = dao::Engine::Instance().OpenDatabase(FromNativePath(peers.our_file));
        const auto rows = database->OpenRecordset(FromUtf8(WithNumber(sql, number)));
        const Outcome outcome = ReadAll(*rows);
        database->Close();
        return outcome;
    };
    workload.theirs = [sql](Peers& peers, std::uint32_t number) {
        const bench::SqliteFile file(peers.their_file);
        return ReadAll(file, WithNumber(sql, number));
    };
    return workload;
}

// A training and the results of its paper, added one after the other, then marked; each step is durable.
Workload RecordPaper() {
    constexpr std::int32_t kQuestions = 10;
    Workload workload{"recording a paper of 10 questions", 1, 5, true, {}, {}};
    workload.ours = [](Peers& peers, std::uint32_t number) {
        const auto first = static_cast<std::int32_t>(2000000 + number * 100);
        const auto rows = peers.ours->OpenRecordset(u"Select top 1 * From TrainResult");
        for (std::int32_t i = 0; i < kQuestions; ++i) {
            rows->AddNew();
            rows->Fields(u"ResultID").Value(first + i);
            rows->Fields(u"TrainID").Value(first);
            rows->Fields(u"QuestionRecNo").Value(RecNo(static_cast<std::uint32_t>(first + i)));
            rows->Fields(u"QuestionScore").Value(2.0F);
            rows->Update();
        }
        for (std::int32_t i = 0; i < kQuestions; ++i) {
            const auto row = peers.ours->OpenRecordset(u"Select * From TrainResult Where TrainID=" + ToText(first) +
                                                       u" And QuestionRecNo='" +
                                                       RecNo(static_cast<std::uint32_t>(first + i)) + u"'");
            row->Edit();
            row->Fields(u"AnswerScore").Value(1.5F);
            row->Fields(u"StudentAnswer").Value(u"an answer");
            row->Update();
        }
        return Outcome{kQuestions, 0};
    };
    workload.theirs = [](Peers& peers, std::uint32_t number) {
        const auto first = static_cast<std::int32_t>(2000000 + number * 100);
        bench::SqliteStatement insert(
            *peers.theirs, "INSERT INTO TrainResult (ResultID,TrainID,QuestionRecNo,QuestionScore) VALUES (?,?,?,?)");
        for (std::int32_t i = 0; i < kQuestions; ++i) {
            const std::u16string rec_no = RecNo(static_cast<std::uint32_t>(first + i));
            insert.Bind(1, first + i).Bind(2, first).Bind(3, rec_no).Bind(4, 2.0).Run();
        }
        bench::SqliteStatement find(*peers.theirs, "SELECT * FROM TrainResult WHERE TrainID=? AND QuestionRecNo=?");
        bench::SqliteStatement update(*peers.theirs,
                                      "UPDATE TrainResult SET AnswerScore=?, StudentAnswer=? WHERE ResultID=?");
        for (std::int32_t i = 0; i < kQuestions; ++i) {
            const std::u16string rec_no = RecNo(static_cast<std::uint32_t>(first + i));
            find.Bind(1, first).Bind(2, rec_no);
            if (!find.Step()) Fail("SQLite: a result is missing");
            const std::int32_t row = find.Number(0);
            find.Run();
            update.Bind(1, 1.5).Bind(2, u"an answer").Bind(3, row).Run();
        }
        return Outcome{kQuestions, 0};
    };
    return workload;
}

// Rows added through a record set within one transaction.
Workload AddThousand() {
    constexpr std::int32_t kRows = 1000;
    Workload workload{"adding 1,000 rows in a transaction", 1, 5, true, {}, {}};
    workload.ours = [](Peers& peers, std::uint32_t number) {
        const auto first = static_cast<std::int32_t>(3000000 + number * kRows);
        dao::Engine& engine = dao::Engine::Instance();
        engine.BeginTrans();
        const auto rows = peers.ours->OpenRecordset(u"TrainResult");
        for (std::int32_t i = 0; i < kRows; ++i) {
            rows->AddNew();
            rows->Fields(0).Value(first + i);
            rows->Fields(1).Value(first);
            rows->Fields(2).Value(RecNo(Scatter(static_cast<std::uint32_t>(first + i))));
            rows->Fields(6).Value(2.0F);
            rows->Update();
        }
        engine.CommitTrans();
        return Outcome{kRows, 0};
    };
    workload.theirs = [](Peers& peers, std::uint32_t number) {
        const auto first = static_cast<std::int32_t>(3000000 + number * kRows);
        peers.theirs->Execute("BEGIN");
        {
            bench::SqliteStatement insert(
                *peers.theirs, "INSERT INTO TrainResult (ResultID,TrainID,QuestionRecNo,AnswerScore) VALUES (?,?,?,?)");
            for (std::int32_t i = 0; i < kRows; ++i) {
                const std::u16string rec_no = RecNo(Scatter(static_cast<std::uint32_t>(first + i)));
                insert.Bind(1, first + i).Bind(2, first).Bind(3, rec_no).Bind(4, 2.0).Run();
            }
        }
        peers.theirs->Execute("COMMIT");
        return Outcome{kRows, 0};
    };
    return workload;
}

std::vector<Workload> Workloads() {
    const std::string result = "SELECT * FROM TrainResult WHERE ";
    const std::string summary = ToUtf8(SummaryQuery(u"", u" Order By TI.StartDate Desc"));
    const std::string of_user = ToUtf8(SummaryQuery(u" And TI.UserID = {}", u" Order By TI.StartDate Desc"));
    std::vector<Workload> all = {
        // One row, and a few.
        OpenReadClose(),
        Select("a row by key", 200, result + "ResultID = {}"),
        Select("a row by an indexed text", 200, result + "QuestionRecNo = 'JC000{}'"),
        Select("Max of the key", 100, "SELECT Max(ResultID) FROM TrainResult"),
        Select("Min of an indexed date", 100, "SELECT Min(AnswerDate) FROM TrainResult"),
        Select("two keys with OR", 100, result + "ResultID = {} OR ResultID = 77"),
        Select("IN of 50 keys", 50, result + "ResultID IN (" + KeyList(50) + ")"),
        Select("OR over two indexes", 50, result + "TrainID = {} OR QuestionRecNo = 'JC000777'"),
        Select("TOP 20 by an index, descending", 50, "SELECT TOP 20 * FROM TrainResult ORDER BY ResultID DESC",
               "SELECT * FROM TrainResult ORDER BY ResultID DESC LIMIT 20"),
        Select("TOP 20 by a date, descending", 50, "SELECT TOP 20 * FROM TrainResult ORDER BY AnswerDate DESC",
               "SELECT * FROM TrainResult ORDER BY AnswerDate DESC LIMIT 20"),
        Select("rows of one training by index", 50, result + "TrainID = {}"),
        Select("LIKE with a fixed prefix", 20, result + "QuestionRecNo LIKE 'JC123*'",
               result + "QuestionRecNo LIKE 'JC123%'"),
        Select("BETWEEN of dates", 20, result + "AnswerDate BETWEEN 38500 AND 38501"),
        Select("range of 1,000 keys", 10, result + "ResultID >= 5000 AND ResultID < 6000"),
        Select("Count(*) of a table", 20, "SELECT Count(*) FROM TrainResult"),
        Select("Count(*) over an index", 20, "SELECT Count(*) FROM TrainResult WHERE TrainID > 500 AND TrainID < 1500"),
        // Joins and sub-queries.
        Select("inner join, one user's rows", 5,
               "SELECT TI.TrainID, TR.AnswerScore FROM TrainInfo TI INNER JOIN TrainResult TR ON TI.TrainID ="
               " TR.TrainID WHERE TI.UserID = {}"),
        Select("outer join, one user's rows", 5,
               "SELECT TI.TrainID, TR.AnswerScore FROM TrainInfo TI LEFT JOIN TrainResult TR ON TI.TrainID ="
               " TR.TrainID WHERE TI.UserID = {}"),
        Select("IN (SELECT ...)", 5,
               result + "TrainID IN (SELECT TrainID FROM TrainInfo WHERE UserID = 3 AND TheoryNo = 2)"),
        Select("EXISTS (SELECT ...)", 3,
               "SELECT * FROM TrainInfo TI WHERE EXISTS (SELECT * FROM TrainResult TR WHERE TR.TrainID = TI.TrainID AND"
               " TR.AnswerScore = 0.5)"),
        Select("NOT IN (SELECT ...)", 3,
               "SELECT * FROM TrainInfo WHERE TrainID NOT IN (SELECT TrainID FROM TrainResult WHERE AnswerScore = 2)"),
        Select("join and group", 1,
               "SELECT TI.UserID, Sum(TR.AnswerScore) FROM TrainInfo TI, TrainResult TR WHERE TI.TrainID = TR.TrainID"
               " GROUP BY TI.UserID"),
        // All rows.
        Select("all columns of all rows", 1, "SELECT * FROM TrainResult"),
        Select("two columns of all rows", 1, "SELECT ResultID, AnswerScore FROM TrainResult"),
        Select("scan with a filter on text", 1, result + "DataCode = 'KJ17'"),
        Select("scan with LIKE within", 1, result + "StudentAnswer LIKE '*123*'",
               result + "StudentAnswer LIKE '%123%'"),
        Select("scan with an expression", 1,
               "SELECT ResultID, AnswerScore / QuestionScore FROM TrainResult WHERE AnswerScore * 2 + 1 > 4"),
        Select("sum of all", 1, "SELECT Sum(AnswerScore), Avg(QuestionScore) FROM TrainResult"),
        Select("300 groups of text", 1,
               "SELECT DataCode, Count(*), Sum(AnswerScore) FROM TrainResult GROUP BY DataCode"),
        Select("DISTINCT of a number", 1, "SELECT DISTINCT TrainID FROM TrainResult"),
        Select("sort of all rows by text", 1, "SELECT * FROM TrainResult ORDER BY StudentAnswer"),
        Select("sort of all rows by an indexed text", 1, "SELECT * FROM TrainResult ORDER BY QuestionRecNo"),
        Select("TOP 10 by two columns", 1,
               "SELECT TOP 10 * FROM TrainResult ORDER BY AnswerScore DESC, StudentAnswer, ResultID",
               "SELECT * FROM TrainResult ORDER BY AnswerScore DESC, StudentAnswer, ResultID LIMIT 10"),
        Select("UNION of two selects", 3,
               "SELECT TrainID, UserID FROM TrainInfo UNION SELECT TrainID, 1 FROM TrainResult WHERE TrainID < 500"),
        // What the component asks.
        Select("summary of all trainings", 1, summary),
        Select("summary of one user", 3, of_user),
        Select("a paper's results", 20, "SELECT * FROM TrainResult WHERE TrainID = {} ORDER BY ResultID"),
        Select("notes of a user", 5, "SELECT * FROM Notes WHERE DataCode = 'KJ7' AND CreateUserID = 7"),
        Select("a question by number", 100,
               "SELECT * FROM Notes WHERE DataCode = 'KJ7' AND QuestionRecNo = 'JC{}' AND CreateUserID = 7"),
        RecordPaper(),
        // Changes.
        AddThousand(),
        Change("INSERT of a row", 1, 20, "INSERT INTO Copy VALUES (5000{}, {}, 'JC5', 1.5)"),
        Change("UPDATE by key", 1, 20, "UPDATE TrainResult SET AnswerScore = AnswerScore + 1 WHERE ResultID = {}"),
        Change("DELETE by key", 1, 20, "DELETE FROM TrainResult WHERE ResultID = 9{}0"),
        Change("INSERT of a select, 10,000 rows", 1, 7,
               "INSERT INTO Copy SELECT ResultID + {} * 1000000 AS ResultID, TrainID, QuestionRecNo, AnswerScore FROM"
               " TrainResult WHERE ResultID <= 10000",
               "INSERT INTO Copy SELECT ResultID + {} * 1000000 AS ResultID, TrainID, QuestionRecNo, AnswerScore FROM"
               " TrainResult WHERE ResultID <= 10000"),
        Change("UPDATE of 5 %", 1, 5,
               "UPDATE TrainResult SET AnswerScore = AnswerScore + 1 WHERE ResultID Mod 20 = {} Mod 20",
               "UPDATE TrainResult SET AnswerScore = AnswerScore + 1 WHERE ResultID % 20 = {} % 20"),
        Change("UPDATE of an indexed column, 5 %", 1, 5,
               "UPDATE TrainResult SET AnswerDate = AnswerDate + 1 WHERE ResultID Mod 20 = {} Mod 20",
               "UPDATE TrainResult SET AnswerDate = AnswerDate + 1 WHERE ResultID % 20 = {} % 20"),
        Change("DELETE of 2 %", 1, 5, "DELETE FROM TrainResult WHERE ResultID Mod 50 = {} Mod 50",
               "DELETE FROM TrainResult WHERE ResultID % 50 = {} % 50"),
    };
    return all;
}

// ---- measuring ----

// A range of numbers that every "{}" of the workloads can stand.
std::uint32_t NumberOf(int round, int repeat, bool writes) {
    const auto run = static_cast<std::uint32_t>(round * 1000 + repeat);
    return writes ? 100 + static_cast<std::uint32_t>(round * 20 + repeat) * 7 % 900 : 1 + Scatter(run) % (kUsers - 1);
}

struct Times {
    double ours = 0;
    double theirs = 0;
};

Times Measure(Peers& peers, const Workload& workload) {
    Times best;
    for (int round = 0; round < workload.rounds; ++round) {
        Outcome we;
        Outcome they;
        if (workload.writes) sync();
        const double ours = bench::Seconds([&] {
            for (int i = 0; i < workload.repeats; ++i) {
                we = workload.ours(peers, NumberOf(round, i, workload.writes));
            }
        });
        if (workload.writes) sync();
        const double theirs = bench::Seconds([&] {
            for (int i = 0; i < workload.repeats; ++i) {
                they = workload.theirs(peers, NumberOf(round, i, workload.writes));
            }
        });
        if (we.rows != they.rows || std::abs(we.sum - they.sum) > 1e-6 * std::abs(they.sum) + 1e-6) {
            Fail(workload.name + ": " + std::to_string(we.rows) + " rows with the sum " + std::to_string(we.sum) +
                 " here, " + std::to_string(they.rows) + " with " + std::to_string(they.sum) + " in SQLite");
        }
        best.ours = round == 0 ? ours : std::min(best.ours, ours);
        best.theirs = round == 0 ? theirs : std::min(best.theirs, theirs);
    }
    best.ours /= workload.repeats;
    best.theirs /= workload.repeats;
    return best;
}

Peers OpenPeers(const fs::path& folder) {
    Peers peers{folder / "statements.mdb", folder / "statements.db", nullptr, nullptr};
    peers.ours = dao::Engine::Instance().OpenDatabase(FromNativePath(peers.our_file));
    peers.theirs = std::make_unique<bench::SqliteFile>(peers.their_file);
    peers.theirs->Execute("PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL;");
    return peers;
}

// The peak memory of a process that does this alone, over a copy of the file.
double PeakMib(const fs::path& folder, const Workload& workload) {
    const fs::path alone = folder / "alone";
    fs::create_directories(alone);
    fs::copy_file(folder / "statements.mdb", alone / "statements.mdb", fs::copy_options::overwrite_existing);
    const auto run = bench::RunProgram({"/proc/self/exe", "--alone", alone.string(), workload.name}, 1);
    fs::remove_all(alone);
    if (!run.succeeded) Fail(workload.name + ": failed alone");
    return static_cast<double>(run.peak_kib) / 1024;
}

int RunAlone(const fs::path& folder, const std::string& name, int times) {
    Peers peers{folder / "statements.mdb", {}, nullptr, nullptr};
    peers.ours = dao::Engine::Instance().OpenDatabase(FromNativePath(peers.our_file));
    for (const Workload& workload : Workloads()) {
        if (workload.name != name) continue;
        workload.ours(peers, 500);
        for (int i = 1; i < times; ++i) workload.ours(peers, NumberOf(i / 20, i % 20, workload.writes));
    }
    return 0;
}

std::string Duration(double seconds) {
    char text[40];
    const bool short_one = seconds < 1e-3;
    std::snprintf(text, sizeof text, short_one ? "%.1f us" : "%.2f ms", seconds * (short_one ? 1e6 : 1e3));
    return text;
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 3 && std::strcmp(arguments[1], "--fill") == 0) {
        Fill(fs::path(arguments[2]) / "statements.mdb", fs::path(arguments[2]) / "statements.db");
        return 0;
    }
    if (count >= 4 && std::strcmp(arguments[1], "--alone") == 0) {
        return RunAlone(arguments[2], arguments[3], count > 4 ? std::atoi(arguments[4]) : 1);
    }
    const std::string filter = count > 1 ? arguments[1] : "";
    const fs::path folder = fs::temp_directory_path() / "qmtrain-bench-statements";
    fs::remove_all(folder);
    fs::create_directories(folder);
    // The memory of each workload is that of a process of its own, started while this one is small still.
    if (!bench::RunProgram({"/proc/self/exe", "--fill", folder.string()}, 1).succeeded)
        Fail("the files cannot be made");
    std::vector<Workload> workloads = Workloads();
    std::erase_if(workloads, [&](const Workload& workload) { return workload.name.find(filter) == std::string::npos; });
    std::vector<double> peaks;
    for (const Workload& workload : workloads) peaks.push_back(PeakMib(folder, workload));
    double logarithms = 0;
    double worst = 0;
    double peak = 0;
    int slower = 0;
    int measured = 0;
    std::string worst_name;
    std::printf("| statement | here | SQLite | ratio | peak MiB |\n|---|---:|---:|---:|---:|\n");
    for (std::size_t i = 0; i < workloads.size(); ++i) {
        const Workload& workload = workloads[i];
        const double mib = peaks[i];
        Times times;
        {
            Peers peers = OpenPeers(folder);
            times = Measure(peers, workload);
        }
        const double ratio = times.ours / times.theirs;
        std::printf("| %s | %s | %s | %.2f | %.0f |\n", workload.name.c_str(), Duration(times.ours).c_str(),
                    Duration(times.theirs).c_str(), ratio, mib);
        std::fflush(stdout);
        logarithms += std::log(ratio);
        peak = std::max(peak, mib);
        slower += ratio > 1 ? 1 : 0;
        ++measured;
        if (ratio > worst) {
            worst = ratio;
            worst_name = workload.name;
        }
    }
    fs::remove_all(folder);
    if (measured == 0) Fail("there is no such workload");
    std::printf("%d statements: geometric mean %.2f of SQLite's time, worst %.2f (%s), %d above 1; peak %.0f MiB\n",
                measured, std::exp(logarithms / measured), worst, worst_name.c_str(), slower, peak);
}
