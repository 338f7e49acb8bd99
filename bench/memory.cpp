// The most memory that large changes need, ours beside SQLite's: an index over 2,000,000 rows, and a transaction that
// changes a file of 1 GiB, undoes it in a nested level and changes it again.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>

#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jet/database.h"
#include "jet/row_cursor.h"
#include "measure.h"
#include "sqlite.h"

namespace qmtrain::bench {
namespace {

constexpr int kIndexRows = 2'000'000;
constexpr int kBigRows = 260'000;         // with a page each
constexpr std::size_t kBigValue = 3'900;  // bytes

void Print(const char* name, const Use& ours, const Use& theirs) {
    std::printf("%-44s %6.1f MiB here, %6.1f MiB SQLite, time %.2f of SQLite's\n", name, ours.mebibytes,
                theirs.mebibytes, ours.seconds / theirs.seconds);
}

void Write(jet::Database& database, const std::function<void()>& body) {
    jet::Database::Writing writing(database);
    body();
    writing.Commit();
}

std::unique_ptr<jet::Database> Open(const std::filesystem::path& path) {
    return jet::Database::Open(path, {.durable = false});
}

void MakeOurs(const std::filesystem::path& path) {
    const auto database = jet::Database::Create(path, {}, {.durable = false});
    Write(*database, [&] {
        database->CreateTable(
            {.name = u"Many", .columns = {{.name = u"K", .type = ColumnType::Long}, {.name = u"A", .size = 20}}});
        const auto table = database->FindTable(u"Many");
        for (int i = 0; i < kIndexRows; ++i) {
            const std::int32_t key = static_cast<std::int32_t>(static_cast<std::uint32_t>(i) * 2654435761U);
            table->Insert(std::vector<Value>{key, u"JC" + ToText(key)});
        }
    });
    Write(*database, [&] {
        database->CreateTable(
            {.name = u"Big",
             .columns = {{.name = u"K", .type = ColumnType::Long}, {.name = u"B", .type = ColumnType::LongBinary}}});
        const auto table = database->FindTable(u"Big");
        for (int i = 0; i < kBigRows; ++i) table->Insert(std::vector<Value>{i, Bytes(kBigValue)});
    });
}

void ChangeAll(jet::Database& database, std::int32_t by) {
    const auto table = database.FindTable(u"Big");
    std::vector<jet::RowPointer> rows;
    rows.reserve(kBigRows);
    {
        jet::RowCursor cursor(*table);
        for (cursor.Scan(); cursor.Next();) rows.push_back(cursor.Row());
    }
    const jet::ColumnChange change{1, Value(Bytes(kBigValue, static_cast<std::uint8_t>(by)))};
    for (const jet::RowPointer row : rows) table->Update(row, std::span(&change, 1));
}

void ChangeOurs(const std::filesystem::path& path) {
    const auto database = Open(path);
    database->BeginTransaction();
    Write(*database, [&] { ChangeAll(*database, 1); });
    database->BeginTransaction();
    Write(*database, [&] { ChangeAll(*database, 2); });
    database->RollbackTransaction();
    database->CommitTransaction();
}

void MakeTheirs(const std::filesystem::path& path) {
    SqliteFile db(path);
    db.Execute("PRAGMA synchronous=OFF; PRAGMA page_size=4096; BEGIN; CREATE TABLE Many (K INTEGER, A TEXT)");
    db.Execute(
        ("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(kIndexRows - 1) +
         ") INSERT INTO Many SELECT (i * 2654435761) & 4294967295, 'JC' || ((i * 2654435761) & 4294967295) FROM n")
            .c_str());
    db.Execute("CREATE TABLE Big (K INTEGER PRIMARY KEY, B BLOB)");
    db.Execute(("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                std::to_string(kBigRows - 1) + ") INSERT INTO Big SELECT i, zeroblob(" + std::to_string(kBigValue) +
                ") FROM n")
                   .c_str());
    db.Execute("COMMIT");
}

constexpr const char* kSameCache = "PRAGMA synchronous=OFF; PRAGMA cache_size=-32768";

void ChangeTheirs(const std::filesystem::path& path) {
    SqliteFile db(path);
    db.Execute(kSameCache);
    const std::string size = std::to_string(kBigValue);
    db.Execute(("BEGIN; UPDATE Big SET B = randomblob(" + size + "); SAVEPOINT s; UPDATE Big SET B = zeroblob(" + size +
                "); ROLLBACK TO s; RELEASE s; COMMIT")
                   .c_str());
}

void Run() {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "qmtrain-bench-memory";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    const auto ours = folder / "ours.mdb";
    const auto theirs = folder / "theirs.db";
    Print("filling a file of 1 GiB in two transactions", Measure([&] { MakeOurs(ours); }),
          Measure([&] { MakeTheirs(theirs); }));
    Print("an index of numbers over 2,000,000 rows", Measure([&] {
              const auto database = Open(ours);
              Write(*database, [&] { database->CreateIndex(u"Many", {.name = u"IK", .columns = {{u"K"}}}); });
          }),
          Measure([&] {
              SqliteFile db(theirs);
              db.Execute(kSameCache);
              db.Execute("CREATE INDEX IK ON Many (K)");
          }));
    Print("an index of texts over 2,000,000 rows", Measure([&] {
              const auto database = Open(ours);
              Write(*database, [&] { database->CreateIndex(u"Many", {.name = u"IA", .columns = {{u"A"}}}); });
          }),
          Measure([&] {
              SqliteFile db(theirs);
              db.Execute(kSameCache);
              db.Execute("CREATE INDEX IA ON Many (A COLLATE NOCASE)");
          }));
    Print("changing 1 GiB, again in a level that is undone", Measure([&] { ChangeOurs(ours); }),
          Measure([&] { ChangeTheirs(theirs); }));
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace qmtrain::bench

int main() {
    qmtrain::bench::Run();
}
