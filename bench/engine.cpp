// The storage engine against mdb-export (reading) and SQLite (writing).

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <sqlite3.h>
#include <unistd.h>

#include "jet/database.h"
#include "jet/row_cursor.h"
#include "measure.h"

namespace {

using namespace qmtrain;
using namespace qmtrain::jet;
namespace fs = std::filesystem;

fs::path Fresh(const fs::path& folder, const char* name) {
    fs::remove(folder / name);
    return folder / name;
}

TableSpec ResultTable() {
    return {.name = u"TrainResult",
            .columns = {{.name = u"ResultID", .type = ColumnType::Long, .autonumber = true},
                        {.name = u"TrainID", .type = ColumnType::Long},
                        {.name = u"DataCode", .size = 20},
                        {.name = u"QuestionRecNo", .size = 20},
                        {.name = u"QuestionScore", .type = ColumnType::Single},
                        {.name = u"AnswerScore", .type = ColumnType::Single},
                        {.name = u"StudentAnswer", .size = 100},
                        {.name = u"Time", .type = ColumnType::Date}},
            .indexes = {{.name = u"PrimaryKey", .columns = {{u"ResultID"}}, .primary = true}}};
}

std::vector<Value> ResultRow(int i) {
    return {Value(),
            i / 60,
            u"NCRE2",
            u"0102" + ToText(i % 997),
            2.0F,
            static_cast<float>(i % 3) / 2.0F,
            u"答案 " + ToText(i),
            Date{38000 + i / 1440.0}};
}

void Fill(Database& database, int rows) {
    Database::Writing writing(database);
    database.CreateTable(ResultTable());
    const auto table = database.FindTable(u"TrainResult");
    for (int i = 0; i < rows; ++i) table->Insert(ResultRow(i));
    writing.Commit();
}

void Reading(const fs::path& folder) {
    const fs::path file = Fresh(folder, "scan.mdb");
    Fill(*Database::Create(file), 200000);
    const auto ours = bench::RunProgram({QMTRAIN_JETSQL, file.string(), "--csv", "--dump", "TrainResult"});
    const auto theirs = bench::RunProgram({"mdb-export", file.string(), "TrainResult"});
    if (!ours.succeeded || !theirs.succeeded) {
        std::puts("full scan: jetsql or mdb-export could not run");
        return;
    }
    std::printf("full scan of 200,000 rows: %.3f s, mdb-export %.3f s: %.1f times as fast, peak %ld MiB\n",
                ours.seconds, theirs.seconds, theirs.seconds / ours.seconds, ours.peak_kib / 1024);
}

void Lookups(const fs::path& folder) {
    double small = 0;
    for (const int rows : {1000, 10000, 100000, 1000000}) {
        const auto database = Database::Create(Fresh(folder, "lookup.mdb"), {}, {.durable = false});
        Fill(*database, rows);
        const Database::Reading reading(*database);
        const auto table = database->FindTable(u"TrainResult");
        RowCursor cursor(*table);
        Value value;
        std::uint32_t next = 1;
        constexpr int kLookups = 100000;
        const double seconds = bench::BestOf(3, [&] {
            for (int i = 0; i < kLookups; ++i) {
                next = next * 1664525 + 1013904223;
                const Value wanted(static_cast<std::int32_t>(next % static_cast<unsigned>(rows)) + 1);
                Bytes key;
                table->AppendKey(0, std::span(&wanted, 1), key);
                cursor.Range(0, key, SuccessorOf(key));
                if (!cursor.Next()) std::abort();
                cursor.Read(1, value);
            }
        });
        if (small == 0) small = seconds;
        std::printf("point lookup among %7d rows: %.2f us, %.2f times that among 1,000\n", rows,
                    seconds * 1e6 / kLookups, seconds / small);
    }
}

class Sqlite {
public:
    explicit Sqlite(const fs::path& file) {
        sqlite3_open(file.c_str(), &handle_);
        Execute(
            "PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL;"
            "CREATE TABLE T(ResultID INTEGER, TrainID INTEGER, DataCode TEXT, QuestionRecNo TEXT, QuestionScore REAL,"
            "AnswerScore REAL, StudentAnswer TEXT, Time REAL); CREATE UNIQUE INDEX PK ON T(ResultID);");
        sqlite3_prepare_v2(handle_, "INSERT INTO T VALUES(?,?,?,?,?,?,?,?)", -1, &insert_, nullptr);
    }
    ~Sqlite() {
        sqlite3_finalize(insert_);
        sqlite3_close(handle_);
    }
    void Execute(const char* sql) { sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr); }
    void Insert(int number, const std::vector<Value>& row) {
        sqlite3_bind_int(insert_, 1, number);
        sqlite3_bind_int(insert_, 2, row[1].As<std::int32_t>());
        BindText(3, row[2]);
        BindText(4, row[3]);
        sqlite3_bind_double(insert_, 5, row[4].As<float>());
        sqlite3_bind_double(insert_, 6, row[5].As<float>());
        BindText(7, row[6]);
        sqlite3_bind_double(insert_, 8, row[7].As<Date>().days);
        sqlite3_step(insert_);
        sqlite3_reset(insert_);
    }

private:
    void BindText(int at, const Value& value) {
        sqlite3_bind_text16(insert_, at, value.Text().data(), static_cast<int>(value.Text().size() * 2),
                            SQLITE_TRANSIENT);
    }
    sqlite3* handle_ = nullptr;
    sqlite3_stmt* insert_ = nullptr;
};

void Writing(const fs::path& folder) {
    struct Case {
        const char* name;
        int transactions;
        int rows;  // in each
    };
    for (const Case& c :
         {Case{"200,000 rows in one transaction", 1, 200000}, Case{"500 transactions of one row", 500, 1}}) {
        const auto database = Database::Create(Fresh(folder, "insert.mdb"));
        {
            Database::Writing writing(*database);
            database->CreateTable(ResultTable());
            writing.Commit();
        }
        Sqlite sqlite(Fresh(folder, "insert.db"));
        sync();  // what was written before is not to be paid for here
        const double ours = bench::Seconds([&] {
            for (int t = 0; t < c.transactions; ++t) {
                Database::Writing writing(*database);
                const auto table = database->FindTable(u"TrainResult");
                for (int i = 0; i < c.rows; ++i) table->Insert(ResultRow(i));
                writing.Commit();
            }
        });
        sync();
        const double theirs = bench::Seconds([&] {
            for (int t = 0; t < c.transactions; ++t) {
                sqlite.Execute("BEGIN");
                for (int i = 0; i < c.rows; ++i) sqlite.Insert(t * c.rows + i, ResultRow(i));
                sqlite.Execute("COMMIT");
            }
        });
        std::printf("insert, %s: %.3f s, SQLite %.3f s: %.2f times as fast\n", c.name, ours, theirs, theirs / ours);
    }
}

}  // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / "qmtrain-bench";
    fs::create_directories(folder);
    Reading(folder);
    Lookups(folder);
    Writing(folder);
    fs::remove_all(folder);
}
