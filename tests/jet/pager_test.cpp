// Commits that are whole or not at all, and several users of one file.

#include <fstream>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include <gtest/gtest.h>

#include "core/log.h"
#include "jet/bytes.h"
#include "jet/journal_format.h"
#include "jet/row_cursor.h"
#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/scripted_files.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

using test::ExpectClean;
using test::Insert;
using test::PagesOf;
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

    std::filesystem::path Path() const { return folder_.Path() / "test.mdb"; }
    std::filesystem::path JournalPath() const { return folder_.Path() / "test.mdb-journal"; }

    std::size_t CountRows() {
        auto database = Database::Open(Path());
        ExpectClean(*database);
        return Rows(*database, u"T").size();
    }

    test::ScratchFolder folder_;
};

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

// A medium on which nothing can be written, for the superuser too.
class ReadOnlyFiles : public test::ScriptedFiles {
public:
    std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) override {
        if (mode != OpenMode::ReadOnly) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        return test::ScriptedFiles::Open(path, mode);
    }
};

TEST_F(PagerTest, AReadOnlyFolderCanBeRead) {
    ReadOnlyFiles files;
    auto database = Database::Open(Path(), {.system = &files});
    EXPECT_EQ(Rows(*database, u"T").size(), 50U);
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", RowFor(400)); }), static_cast<int>(ErrorNumber::ReadOnly));
    std::ofstream(JournalPath()) << "no journal at all, but long enough for the header of one";
    EXPECT_EQ(Rows(*database, u"T").size(), 50U);
    EXPECT_TRUE(std::filesystem::exists(JournalPath()));
}

// Those who may only read the lock file, and those who have none, are kept out of it like all others, and keep it out.
TEST_F(PagerTest, ADatabaseIsOpenedForOneAlone) {
    struct NoLockFiles : ReadOnlyFiles {
        std::unique_ptr<File> OpenPlain(const std::filesystem::path& path, OpenMode) override {
            Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        }
    };
    ReadOnlyFiles read_only;
    NoLockFiles without;
    test::ScriptedFiles all;
    const auto open = [&](FileSystem& files, bool exclusive) {
        return Database::Open(Path(), {.exclusive = exclusive, .system = &files});
    };
    for (FileSystem* files :
         {static_cast<FileSystem*>(&all), static_cast<FileSystem*>(&read_only), static_cast<FileSystem*>(&without)}) {
        {
            const auto other = open(*files, false);
            EXPECT_EQ(ErrorOf([&] { open(all, true); }), static_cast<int>(ErrorNumber::FileInUse));
        }
        const auto alone = open(all, true);
        EXPECT_EQ(ErrorOf([&] { open(*files, false); }), static_cast<int>(ErrorNumber::OpenedExclusively));
        const int refused =
            static_cast<int>(files == &all ? ErrorNumber::FileInUse : ErrorNumber::OperationNotSupported);
        EXPECT_EQ(ErrorOf([&] { open(*files, true); }), refused);
        Insert(*alone, u"T", RowFor(400 + (files == &all ? 0 : files == &read_only ? 1 : 2)));
    }
    EXPECT_EQ(CountRows(), 53U);
    EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "test.ldb"));
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

// What a process that died has left beside a database means nothing to one that takes its place later.
TEST_F(PagerTest, ANewDatabaseHasNoOldJournal) {
    test::ScriptedFiles files;
    files.after = test::ScriptedFiles::After::Dead;
    {
        auto database = Database::Open(Path(), {.system = &files});
        files.calls = 0;
        files.strike_at = 6;  // the journal is complete, the file is being written
        EXPECT_NE(ErrorOf([&] { Insert(*database, u"T", RowFor(400)); }), 0);
    }
    ASSERT_TRUE(std::filesystem::exists(JournalPath()));
    std::filesystem::remove(Path());
    auto database = Database::Create(Path());
    ExpectClean(*database);
    Write(*database, [&] { database->CreateTable({.name = u"U", .columns = {{.name = u"A"}}}); });
    ExpectClean(*database);
    {
        const Database::Reading reading(*database);
        EXPECT_EQ(database->FindTable(u"T"), nullptr);
    }
    database.reset();
    EXPECT_FALSE(std::filesystem::exists(JournalPath()));
}

#ifndef _WIN32

std::uint64_t FileNumber(const std::filesystem::path& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

// Making and removing a file for each commit takes longer than writing it: one serves all sessions until the last ends.
TEST_F(PagerTest, SessionsKeepTheJournalsFileUntilTheLastEnds) {
    auto database = Database::Open(Path());
    Insert(*database, u"T", RowFor(400));
    const std::uint64_t first = FileNumber(JournalPath());
    ASSERT_NE(first, 0U);
    auto newcomer = Database::Open(Path());
    for (int key = 401; key < 405; ++key) {
        Insert(*database, u"T", RowFor(key));
        Insert(*newcomer, u"T", RowFor(key + 100));
        EXPECT_EQ(FileNumber(JournalPath()), first);
    }
    EXPECT_EQ(Rows(*Database::Open(Path(), {.read_only = true}), u"T").size(), 59U);
    database.reset();
    EXPECT_EQ(FileNumber(JournalPath()), first);
    Insert(*newcomer, u"T", RowFor(600));
    newcomer.reset();
    EXPECT_FALSE(std::filesystem::exists(JournalPath()));
    EXPECT_EQ(CountRows(), 60U);
}

// The space of a large change's journal is kept, and its bytes past the end of the next journal have no effect.
TEST_F(PagerTest, AJournalsSpaceIsUsedAgain) {
    constexpr int kFirst = 1000;
    constexpr int kCount = 500;
    test::ScriptedFiles files;
    files.after = test::ScriptedFiles::After::Dead;
    auto database = Database::Open(Path(), {.system = &files});
    const std::u16string page_full(1500, u'长');
    Write(*database, [&] {
        for (int key = kFirst; key < kFirst + kCount; ++key) Insert(*database, u"T", {key, ToText(key), page_full});
    });
    Write(*database, [&] {
        const auto table = database->FindTable(u"T");
        std::vector<RowPointer> rows;
        Value key;
        RowCursor cursor(*table);
        for (cursor.Scan(); cursor.Next();) {
            cursor.Read(0, key);
            if (key.As<std::int32_t>() >= kFirst) rows.push_back(cursor.Row());
        }
        for (const RowPointer row : rows) table->Delete(row);
    });
    const auto length = std::filesystem::file_size(JournalPath());
    EXPECT_GT(length, std::uintmax_t{1} << 20);
    Insert(*database, u"T", RowFor(400));
    EXPECT_EQ(std::filesystem::file_size(JournalPath()), length);
    files.calls = 0;
    files.strike_at = 6;  // the journal is complete, the file is being written
    EXPECT_NE(ErrorOf([&] { Insert(*database, u"T", RowFor(401)); }), 0);
    database.reset();
    EXPECT_EQ(CountRows(), 51U);
}

// All pages of the change are in the file, and the journal still in force: it stands, once the file is safe.
TEST_F(PagerTest, AChangeWhoseEndIsMissingStands) {
    std::vector<std::uint8_t> before = test::ReadFile(Path());
    std::vector<std::uint8_t> journal;
    {
        const auto database = Database::Open(Path());
        Insert(*database, u"T", RowFor(400));
        journal = test::ReadFile(JournalPath());
    }
    ASSERT_EQ(journal[0], 0);
    journal[0] = 'Q';
    const std::vector<std::uint8_t> after = test::ReadFile(Path());
    before.resize(after.size());
    for (const bool whole : {true, false}) {
        SCOPED_TRACE(whole);
        auto file = after;
        if (!whole) std::copy(before.end() - 2048, before.end(), file.end() - 2048);
        for (const auto& [path, bytes] : {std::pair(Path(), file), std::pair(JournalPath(), journal)}) {
            std::ofstream(path, std::ios::binary)
                .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        }
        EXPECT_EQ(CountRows(), whole ? 51U : 50U);
        EXPECT_FALSE(std::filesystem::exists(JournalPath()));
    }
}

// An earlier version has died in a commit, of which page 0 is in the file already: it has raised the first counter
// alone. What the present one leaves there follows from its journal, and nothing else fits that.
TEST_F(PagerTest, JournalsOfEarlierVersionsCount) {
    constexpr std::size_t kSecondCounter = 0xE02;
    const std::vector<std::uint8_t> before = test::ReadFile(Path());
    std::vector<std::uint8_t> journal;
    {
        const auto database = Database::Open(Path(), {.durable = false});
        Insert(*database, u"T", RowFor(400));
        journal = test::ReadFile(JournalPath());
    }
    const std::vector<std::uint8_t> after = test::ReadFile(Path());
    struct Case {
        const char* name;
        char version;
        bool drawn;  // the second counter is as the commit has left it
        bool counts;
    };
    for (const Case& test :
         {Case{"earlier, its counters", '2', false, true}, Case{"earlier, others", '2', true, false},
          Case{"present, its counters", '4', true, true}, Case{"present, others", '4', false, false}}) {
        SCOPED_TRACE(test.name);
        SetComponentFolder(folder_.Path());  // where it is told what was set aside
        std::vector<std::uint8_t> file = after;
        if (!test.drawn) std::copy_n(before.begin() + kSecondCounter, 2, file.begin() + kSecondCounter);
        journal[0] = 'Q';
        journal[journal::kKindAt] = static_cast<std::uint8_t>(test.version);
        Put(&journal[journal::kChecksumAt],
            journal::HeaderChecksum(Get<std::uint64_t>(&journal[journal::kNonceAt]), journal));
        test::WriteFile(Path(), file);
        test::WriteFile(JournalPath(), journal);
        EXPECT_EQ(CountRows(), test.counts ? 50U : 51U);
        EXPECT_TRUE(test::ReadFile(Path()) == (test.counts ? before : file));
        EXPECT_NE(std::filesystem::exists(JournalPath()), test.counts) << "a foreign one is left to the next writer";
        SetComponentFolder(ProgramFolder());
    }
}

// A file under the journal's name by now was put there by another program.
TEST_F(PagerTest, AnotherFileInThePlaceOfTheJournalIsLeftAlone) {
    const std::filesystem::path moved = folder_.Path() / "moved";
    auto database = Database::Open(Path());
    Insert(*database, u"T", RowFor(400));
    std::filesystem::rename(JournalPath(), moved);
    Insert(*database, u"T", RowFor(401));  // a new one
    EXPECT_NE(FileNumber(JournalPath()), FileNumber(moved));
    std::filesystem::rename(JournalPath(), moved);
    std::filesystem::create_symlink(moved, JournalPath());
    Insert(*database, u"T", RowFor(402));  // the link is set aside: no other session would play back what it leads to
    EXPECT_FALSE(std::filesystem::is_symlink(JournalPath()));
    Insert(*database, u"T", RowFor(403));
    std::filesystem::rename(JournalPath(), moved);
    std::ofstream(JournalPath()) << "somebody else's";
    database.reset();
    EXPECT_TRUE(std::filesystem::exists(JournalPath()));
    std::filesystem::remove(JournalPath());
    EXPECT_EQ(CountRows(), 54U);
}

// The next one to come finds it without effect.
TEST_F(PagerTest, ADeadSessionLeavesAJournalWithoutEffect) {
    const std::filesystem::path copy = folder_.Path() / "copy";
    {
        auto database = Database::Open(Path());
        Insert(*database, u"T", RowFor(400));
        std::filesystem::copy_file(JournalPath(), copy);
        Insert(*database, u"T", RowFor(401));
    }
    std::filesystem::rename(copy, JournalPath());
    EXPECT_EQ(CountRows(), 52U);
    EXPECT_FALSE(std::filesystem::exists(JournalPath()));
}

#endif

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
        EXPECT_GT(PagesOf(*database), 32736U);
        ExpectClean(*database);
        Write(*database, [&] { database->DropTable(u"Big"); });
        Insert(*database, u"T", {500, u"after", std::u16string(100000, u'后')});
    }
    EXPECT_EQ(CountRows(), 51U);
}

}  // namespace
}  // namespace qmtrain::jet
