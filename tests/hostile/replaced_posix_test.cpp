// A database that is moved, copied or replaced while others have it open, or after one of them has died.

#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "core/log.h"
#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"

namespace qmtrain::test {
namespace {

namespace fs = std::filesystem;

constexpr int kDiskError = static_cast<int>(ErrorNumber::DiskError);

class ReplacedTest : public testing::Test {
protected:
    ReplacedTest() {
        SetComponentFolder(folder_.Path());
        const auto database = jet::Database::Create(file_, {}, {.durable = false});
        Write(*database, [&] {
            database->CreateTable({.name = u"T",
                                   .columns = {{.name = u"K", .type = ColumnType::Long},
                                               {.name = u"M", .type = ColumnType::Text, .size = 255}},
                                   .indexes = {{.name = u"PrimaryKey", .columns = {{u"K"}}, .primary = true}}});
            for (int key = 0; key < kRows; ++key) Add(*database, key);
        });
    }

    ~ReplacedTest() override { SetComponentFolder(ProgramFolder()); }

    // Without a cache pages go into the file before the commit.
    static std::unique_ptr<jet::Database> Open(const fs::path& path, bool cached = true) {
        return jet::Database::Open(path, {.cache_bytes = cached ? std::size_t{32} << 20 : 0,
                                          .lock_timeout = std::chrono::seconds(5),
                                          .durable = false});
    }

    static void Add(jet::Database& database, int key) {
        database.FindTable(u"T")->Insert(
            std::vector<Value>{key, Fitting(std::u16string(250, u'长'), database.GetVersion())});
    }
    static void Change(jet::Database& database, int key) {
        Write(database, [&] { Add(database, key); });
    }
    static void ChangeMuch(jet::Database& database) {
        Write(database, [&] {
            for (int key = 100000; key < 100800; ++key) Add(database, key);
        });
    }

    static std::vector<int> Keys(const fs::path& path) {
        const auto database = Open(path);
        ExpectClean(*database);
        std::vector<int> keys;
        for (const auto& row : Rows(*database, u"T")) keys.push_back(row[0].As<std::int32_t>());
        std::ranges::sort(keys);
        return keys;
    }
    static std::vector<int> With(std::vector<int> keys) {
        for (int key = kRows; key > 0; --key) keys.insert(keys.begin(), key - 1);
        return keys;
    }

    // By another file with the same content, in the usual way.
    void Replace() const {
        fs::copy_file(file_, folder_.Path() / "next");
        fs::rename(folder_.Path() / "next", file_);
    }

    static fs::path JournalOf(const fs::path& path) { return path.string() + "-journal"; }

    static constexpr int kRows = 50;
    ScratchFolder folder_;
    fs::path file_ = folder_.Path() / "Client.mdb";
};

TEST_F(ReplacedTest, WhileAWriterWaits) {
    const auto first = Open(file_);
    const auto second = Open(file_);
    first->BeginTransaction();
    Change(*first, 500);
    auto waiting = std::async(std::launch::async, [&] { return ErrorOf([&] { Change(*second, 600); }); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    Replace();
    first->RollbackTransaction();
    EXPECT_EQ(waiting.get(), kDiskError);
    EXPECT_EQ(Keys(file_), With({}));
}

TEST_F(ReplacedTest, InATransaction) {
    const auto before = ReadFile(file_);
    const fs::path moved = folder_.Path() / "new" / "Client.mdb";
    struct Case {
        const char* name;
        bool cached;
        bool changed_before;
        bool linked;  // it is moved, and a link to it lies in its place
    };
    const Case cases[] = {{"nothing changed yet", true, false, false},
                          {"changed, not written", true, true, false},
                          {"written in part", false, true, false},
                          {"nothing changed, a link", false, false, true},
                          {"changed, not written, a link", true, true, true}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        const auto database = Open(file_, test.cached);
        database->BeginTransaction();
        Change(*database, 500);
        if (test.changed_before) ChangeMuch(*database);
        if (test.linked) {
            fs::create_directory(moved.parent_path());
            fs::rename(file_, moved);
            fs::create_symlink(moved, file_);
        } else {
            WriteFile(folder_.Path() / "next", before);
            fs::rename(folder_.Path() / "next", file_);
        }
        EXPECT_EQ(ErrorOf([&] {
                      if (!test.changed_before) ChangeMuch(*database);
                      database->CommitTransaction();
                  }),
                  kDiskError);
        ErrorOf([&] { database->RollbackTransaction(); });
        EXPECT_TRUE(ReadFile(file_) == before);
        EXPECT_EQ(Keys(file_), With({}));
        if (test.linked) {
            EXPECT_FALSE(fs::exists(JournalOf(file_)));
            fs::remove(file_);
            fs::rename(moved, file_);
            fs::remove_all(moved.parent_path());
        }
    }
}

// The journal that one session keeps open is that of the new file's writer by now.
TEST_F(ReplacedTest, TheJournalIsTheNewFilesAlone) {
    const auto old = Open(file_);
    Change(*old, 500);
    for (const bool written : {false, true}) {
        SCOPED_TRACE(written);
        const auto other = Open(file_, !written);
        const auto& late = written ? other : old;
        late->BeginTransaction();
        Change(*late, 600);
        if (written) ChangeMuch(*late);
        Replace();
        const auto writer = Open(file_, false);
        writer->BeginTransaction();
        ChangeMuch(*writer);
        EXPECT_EQ(ErrorOf([&] { late->CommitTransaction(); }), kDiskError);
        const fs::path torn = folder_.Path() / "torn.mdb";
        WriteFile(torn, ReadFile(file_));
        WriteFile(JournalOf(torn), ReadFile(JournalOf(file_)));
        EXPECT_EQ(Keys(torn), With({500})) << "its writer might have died now";
        writer->RollbackTransaction();
    }
    EXPECT_EQ(Keys(file_), With({500}));
}

// A backup is copied into the file, and gets as many changes as the file had got since: what is kept of its pages is
// old all the same.
TEST_F(ReplacedTest, ABackupGoesAnotherWay) {
    for (const jet::Version version : {jet::Version::Jet3, jet::Version::Jet4}) {
        const fs::path path = folder_.Path() / "both.mdb";
        fs::remove(path);
        {
            const auto made = jet::Database::Create(path, {.version = version}, {.durable = false});
            Write(*made, [&] {
                made->CreateTable(
                    {.name = u"T",
                     .columns = {{.name = u"K", .type = ColumnType::Long}, {.name = u"M", .type = ColumnType::Memo}}});
            });
        }
        const auto backup = ReadFile(path);
        const auto early = Open(path);
        Change(*early, 700);
        WriteFile(path, backup);
        Change(*Open(path), 800);
        Change(*early, 900);
        EXPECT_EQ(Keys(path), (std::vector{800, 900}));
    }
}

// Two copies of one file with as many changes each: the journal of a crash in the one does not belong to the other.
TEST_F(ReplacedTest, TheJournalOfAnotherBranch) {
    constexpr int kChanges = 3;
    const fs::path branches[] = {folder_.Path() / "A.mdb", folder_.Path() / "B.mdb"};
    for (int i = 0; i < 2; ++i) {
        fs::copy_file(file_, branches[i]);
        const auto database = Open(branches[i]);
        for (int change = 0; change < kChanges; ++change) Change(*database, 1000 * (i + 1) + change);
    }
    const auto healthy = ReadFile(branches[0]);
    {
        const auto database = Open(branches[0], false);
        database->BeginTransaction();
        ChangeMuch(*database);
        WriteFile(JournalOf(branches[1]), ReadFile(JournalOf(branches[0])));
        WriteFile(folder_.Path() / "torn.mdb", ReadFile(branches[0]));
        WriteFile(folder_.Path() / "torn.mdb-journal", ReadFile(JournalOf(branches[0])));
    }
    const auto before = ReadFile(branches[1]);
    EXPECT_EQ(Keys(branches[1]).back(), 2000 + kChanges - 1);
    EXPECT_TRUE(ReadFile(branches[1]) == before);
    Change(*Open(branches[1]), 5000);
    EXPECT_FALSE(fs::exists(JournalOf(branches[1])));
    EXPECT_EQ(Keys(folder_.Path() / "torn.mdb").back(), 1000 + kChanges - 1) << "its own counts";
    EXPECT_TRUE(ReadFile(folder_.Path() / "torn.mdb") == healthy);
}

// After a crash a copy of the folder is made of links. While the database has two names it is not rolled back, and all
// read it as it was.
TEST_F(ReplacedTest, ACopyOfLinks) {
    const auto before = ReadFile(file_);
    std::vector<std::uint8_t> torn;
    std::vector<std::uint8_t> images;
    {
        const auto database = Open(file_, false);
        database->BeginTransaction();
        ChangeMuch(*database);
        torn = ReadFile(file_);
        images = ReadFile(JournalOf(file_));
    }
    const fs::path copy = folder_.Path() / "copy" / "Client.mdb";
    for (const bool with_journal : {true, false}) {
        SCOPED_TRACE(with_journal ? "the copy goes" : "the copy goes, its journal stays");
        WriteFile(file_, torn);
        WriteFile(JournalOf(file_), images);
        fs::create_directory(copy.parent_path());
        fs::create_hard_link(file_, copy);
        fs::create_hard_link(JournalOf(file_), JournalOf(copy));
        for (const fs::path& path : {file_, copy}) {
            const auto database = Open(path);
            EXPECT_EQ(Rows(*database, u"T").size(), std::size_t{kRows});
            EXPECT_EQ(ErrorOf([&] { Change(*database, 500); }), static_cast<int>(ErrorNumber::ReadOnly));
        }
        EXPECT_TRUE(ReadFile(file_) == torn && ReadFile(JournalOf(file_)) == images);
        fs::remove(copy);
        if (with_journal) fs::remove(JournalOf(copy));
        EXPECT_EQ(Keys(file_), With({}));
        EXPECT_TRUE(ReadFile(file_) == before);
        EXPECT_FALSE(fs::exists(JournalOf(file_)));
        EXPECT_TRUE(with_journal || ReadFile(JournalOf(copy)) == images);
        fs::remove_all(copy.parent_path());
    }
}

}  // namespace
}  // namespace qmtrain::test
