// Commits that are whole or not at all, and several users of one file.

#include <fstream>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jet/support/failing_files.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

using test::ErrorOf;
using test::ExpectClean;
using test::FailingFiles;
using test::Insert;
using test::Rows;
using test::Write;

class PagerTest : public testing::Test {
protected:
    PagerTest() {
        auto database = Database::Create(Path());
        Write(*database, [&] {
            database->CreateTable({.name = u"T",
                                   .columns = {{.name = u"K", .type = ColumnType::Long},
                                               {.name = u"A"},
                                               {.name = u"M", .type = ColumnType::Memo}},
                                   .indexes = {{.name = u"PrimaryKey", .columns = {{u"K"}}, .primary = true},
                                               {.name = u"IA", .columns = {{u"A"}}}}});
        });
        for (int i = 0; i < 50; ++i) Insert(*database, u"T", RowFor(i));
    }

    static std::vector<Value> RowFor(int key) {
        return {key, u"文本" + ToText(key), std::u16string(static_cast<std::size_t>(key * 50), u'长')};
    }

    // One statement that touches many pages; `cache` small enough makes it write before it commits.
    static void ChangeMuch(Database& database) {
        Write(database, [&] {
            const auto table = database.FindTable(u"T");
            for (int i = 100; i < 160; ++i) table->Insert(RowFor(i));
            RowCursor cursor(table);
            cursor.Scan();
            std::vector<RowPointer> rows;
            while (cursor.Next()) rows.push_back(cursor.Row());
            for (std::size_t i = 0; i < 40; ++i) table->Delete(rows[i]);
        });
    }

    std::filesystem::path Path() const { return folder_.Path() / "test.mdb"; }
    std::filesystem::path JournalPath() const { return folder_.Path() / "test.mdb-journal"; }

    std::size_t CountRows() {
        auto database = Database::Open(Path());
        ExpectClean(*database);
        return Rows(*database, u"T").size();
    }

    test::ScratchFolder folder_;
};

// Lets every changing call fail in turn. `dead`: nothing works afterwards, as if the process were killed there.
void FailEverywhere(const std::filesystem::path& path, FailingFiles::After after, std::size_t cache,
                    const std::function<void(Database&)>& change, const std::function<void(bool committed)>& look) {
    const std::filesystem::path original = path.string() + ".original";
    std::filesystem::copy_file(path, original);
    bool failed = true;
    int points = 0;
    for (int fail_at = 1; failed; ++fail_at, ++points) {
        std::filesystem::copy_file(original, path, std::filesystem::copy_options::overwrite_existing);
        FailingFiles files;
        files.after = after;
        bool committed = false;
        {
            auto database = Database::Open(path, {.cache_bytes = cache, .system = &files});
            files.calls = 0;
            files.fail_at = fail_at;
            try {
                change(*database);
                committed = true;
            } catch (const AutomationError& error) {
                EXPECT_TRUE(error.Is(ErrorNumber::DiskFull)) << error.what();
            }
            failed = files.calls >= fail_at;
            if (after == FailingFiles::After::GoesOn && !committed) look(false);
        }
        SCOPED_TRACE("call " + std::to_string(fail_at));
        look(committed);
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_GT(points, 5);
}

TEST_F(PagerTest, AKilledProcessLeavesAllOrNothing) {
    for (const std::size_t cache : {std::size_t{0}, std::size_t{32} << 20}) {
        FailEverywhere(Path(), FailingFiles::After::Dead, cache, ChangeMuch, [&](bool committed) {
            const std::size_t rows = CountRows();
            // After the journal is gone the change stands, even if the caller could not be told.
            EXPECT_TRUE(rows == 70 || (rows == 50 && !committed)) << rows;
            EXPECT_FALSE(std::filesystem::exists(JournalPath()));
        });
        std::filesystem::copy_file(Path().string() + ".original", Path(),
                                   std::filesystem::copy_options::overwrite_existing);
        std::filesystem::remove(Path().string() + ".original");
    }
}

TEST_F(PagerTest, AFullDiskLeavesTheFileAsItWas) {
    for (const std::size_t cache : {std::size_t{0}, std::size_t{32} << 20}) {
        FailEverywhere(Path(), FailingFiles::After::GoesOn, cache, ChangeMuch,
                       [&](bool committed) { EXPECT_EQ(CountRows(), committed ? 70U : 50U); });
        std::filesystem::copy_file(Path().string() + ".original", Path(),
                                   std::filesystem::copy_options::overwrite_existing);
        std::filesystem::remove(Path().string() + ".original");
    }
}

TEST_F(PagerTest, ScopesNest) {
    auto database = Database::Open(Path());
    database->BeginTransaction();
    Insert(*database, u"T", RowFor(200));
    database->BeginTransaction();
    Insert(*database, u"T", RowFor(201));
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", RowFor(200)); }), static_cast<int>(ErrorNumber::DuplicateKey));
    EXPECT_EQ(Rows(*database, u"T").size(), 52U);
    database->RollbackTransaction();
    EXPECT_EQ(Rows(*database, u"T").size(), 51U);
    Insert(*database, u"T", RowFor(202));
    database->CommitTransaction();
    EXPECT_EQ(ErrorOf([&] { database->CommitTransaction(); }), static_cast<int>(ErrorNumber::TransactionNotStarted));
    database = nullptr;
    EXPECT_EQ(CountRows(), 52U);
}

TEST_F(PagerTest, AnotherHandleSeesCommitsAndWaitsForTheWriter) {
    auto first = Database::Open(Path());
    auto second = Database::Open(Path(), {.lock_timeout = std::chrono::milliseconds(50)});
    EXPECT_EQ(Rows(*second, u"T").size(), 50U);
    Insert(*first, u"T", RowFor(300));
    EXPECT_EQ(Rows(*second, u"T").size(), 51U);
    first->BeginTransaction();
    Insert(*first, u"T", RowFor(301));
    EXPECT_EQ(Rows(*second, u"T").size(), 51U) << "what is not committed is not seen";
    EXPECT_EQ(ErrorOf([&] { Insert(*second, u"T", RowFor(302)); }), static_cast<int>(ErrorNumber::LockedByOther));
    first->CommitTransaction();
    Insert(*second, u"T", RowFor(302));
    EXPECT_EQ(Rows(*first, u"T").size(), 53U);
    Write(*second, [&] { second->CreateTable({.name = u"New", .columns = {{.name = u"A"}}}); });
    EXPECT_TRUE(Rows(*first, u"New").empty());
    EXPECT_TRUE(std::filesystem::exists(folder_.Path() / "test.ldb"));
    first = nullptr;
    second = nullptr;
    EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "test.ldb"));
    EXPECT_EQ(CountRows(), 53U);
}

// Eight processes insert at once; each row is there afterwards, once.
TEST_F(PagerTest, ProcessesShareAFile) {
    constexpr int kProcesses = 8;
    constexpr int kRows = 25;
    for (int process = 0; process < kProcesses; ++process) {
        if (fork() != 0) continue;
        int failed = 0;
        try {
            auto database = Database::Open(Path(), {.durable = false});
            for (int i = 0; i < kRows; ++i) {
                Insert(*database, u"T", RowFor(1000 + process * kRows + i));
                if (Rows(*database, u"T").size() < 51) ++failed;
            }
        } catch (const std::exception&) {
            failed = 1;
        }
        _exit(failed);
    }
    for (int process = 0; process < kProcesses; ++process) {
        int status = 0;
        wait(&status);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(CountRows(), 50U + kProcesses * kRows);
}

// A medium on which nothing can be written, for the superuser too.
class ReadOnlyFiles : public FailingFiles {
public:
    std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) override {
        if (mode != OpenMode::ReadOnly) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        return FailingFiles::Open(path, mode);
    }
};

TEST_F(PagerTest, AReadOnlyFolderCanBeRead) {
    ReadOnlyFiles files;
    auto database = Database::Open(Path(), {.system = &files});
    EXPECT_EQ(Rows(*database, u"T").size(), 50U);
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", RowFor(400)); }), static_cast<int>(ErrorNumber::ReadOnly));
    std::ofstream(JournalPath()) << "left behind";
    EXPECT_EQ(ErrorOf([&] { Rows(*database, u"T"); }), static_cast<int>(ErrorNumber::ReadOnly));
}

TEST_F(PagerTest, OpenedReadOnlyIsNotChanged) {
    auto database = Database::Open(Path(), {.read_only = true});
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", RowFor(400)); }), static_cast<int>(ErrorNumber::ReadOnly));
    EXPECT_EQ(Rows(*database, u"T").size(), 50U);
}

TEST_F(PagerTest, CreatingNeverOverwrites) {
    EXPECT_EQ(ErrorOf([&] { Database::Create(Path()); }), static_cast<int>(ErrorNumber::DatabaseExists));
    EXPECT_EQ(ErrorOf([&] { Database::Create(folder_.Path() / "no folder" / "x.mdb"); }),
              static_cast<int>(ErrorNumber::InvalidPath));
    EXPECT_EQ(CountRows(), 50U);
}

// A table that grows through all forms of page maps: the global map lengthens and turns into references.
TEST_F(PagerTest, BigFilesWithASmallCache) {
    {
        auto database = Database::Open(Path(), {.cache_bytes = 1 << 20, .durable = false});
        Write(*database, [&] {
            database->CreateTable({.name = u"Big", .columns = {{.name = u"O", .type = ColumnType::LongBinary}}});
            const auto table = database->FindTable(u"Big");
            for (int i = 0; i < 28; ++i)
                table->Insert(std::vector<Value>{Bytes(5 << 20, static_cast<std::uint8_t>(i))});
        });
        EXPECT_GT(database->GetPager().PageCount(), 32736U);
        ExpectClean(*database);
        Write(*database, [&] { database->DropTable(u"Big"); });
        Insert(*database, u"T", {500, u"after", std::u16string(100000, u'后')});
    }
    EXPECT_EQ(CountRows(), 51U);
}

}  // namespace
}  // namespace qmtrain::jet
