// Scopes and transactions over several files: which of them are locked, and that they change together.

#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/scripted_files.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

using test::ExpectClean;
using test::Insert;
using test::Rows;
using test::Write;

constexpr auto kLocked = static_cast<int>(ErrorNumber::LockedByOther);

// "A.mdb" has a table T of its own, and L, which is T in "B.mdb".
class SessionTest : public testing::Test {
protected:
    SessionTest() {
        for (const auto& path : {a_, b_}) {
            const auto database = Database::Create(path);
            Write(*database, [&] {
                database->CreateTable({.name = u"T",
                                       .columns = {{.name = u"K", .type = ColumnType::Long}},
                                       .indexes = {{.name = u"PrimaryKey", .columns = {{u"K"}}, .primary = true}}});
            });
        }
        const auto database = Database::Open(a_);
        Write(*database, [&] { database->CreateLink(u"L", u";DATABASE=B.mdb", u"T"); });
    }

    static std::unique_ptr<Database> Open(const std::filesystem::path& path, FileSystem* system = &FileSystem::Native(),
                                          std::shared_ptr<Session> session = nullptr) {
        return Database::Open(
            path, {.lock_timeout = std::chrono::milliseconds(50), .system = system, .session = std::move(session)});
    }

    static std::size_t Count(const std::filesystem::path& path) {
        const auto database = Database::Open(path);
        ExpectClean(*database);
        return Rows(*database, u"T").size();
    }

    test::ScratchFolder folder_;
    std::filesystem::path a_ = folder_.Path() / "A.mdb";
    std::filesystem::path b_ = folder_.Path() / "B.mdb";
};

void DeleteAll(Database& database, std::u16string_view name = u"T") {
    Write(database, [&] {
        const auto table = database.FindTable(name);
        std::vector<RowPointer> rows;
        RowCursor cursor(*table);
        for (cursor.Scan(); cursor.Next();) rows.push_back(cursor.Row());
        for (const RowPointer row : rows) table->Delete(row);
    });
}

// The error names the file that is in the way.
void ExpectErrorNaming(ErrorNumber number, std::u16string_view file, const std::function<void()>& body) {
    try {
        body();
        ADD_FAILURE() << "nothing was raised";
    } catch (const AutomationError& error) {
        EXPECT_EQ(error.Number(), static_cast<int>(number));
        EXPECT_NE(error.Description().find(file), std::u16string::npos) << error.what();
    }
}

TEST_F(SessionTest, ALockedLinkHindersOnlyItsOwnStatements) {
    auto database = Open(a_);
    EXPECT_TRUE(Rows(*database, u"L").empty()) << "the link is open from now on";
    auto writer = Open(b_);
    writer->BeginTransaction();
    Insert(*writer, u"T", {1});
    Insert(*database, u"T", {1});
    EXPECT_TRUE(Rows(*database, u"L").empty()) << "a writer that prepares its change keeps no reader out";
    ExpectErrorNaming(ErrorNumber::LockedByOther, u"B.mdb", [&] { Insert(*database, u"L", {2}); });
    Insert(*database, u"T", {2});
    auto other = Open(a_);
    Insert(*other, u"T", {3});
    writer->RollbackTransaction();
    Insert(*database, u"L", {2});
    database = nullptr;
    EXPECT_EQ(Count(a_), 3U);
    EXPECT_EQ(Count(b_), 1U);
}

TEST_F(SessionTest, ABadLinkHindersOnlyItsOwnStatements) {
    auto database = Open(a_);
    Rows(*database, u"L");
    struct Case {
        ErrorNumber error;
        std::function<void()> harm;
    };
    const Case cases[] = {
        {ErrorNumber::FileDamaged, [&] { std::filesystem::resize_file(b_, 4096); }},
        {ErrorNumber::FileNotFound, [&] { std::filesystem::remove(b_); }},
    };
    int key = 0;
    for (const Case& test : cases) {
        test.harm();
        for (int round = 0; round < 2; ++round) {
            ExpectErrorNaming(test.error, u"B.mdb", [&] { Rows(*database, u"L"); });
            ExpectErrorNaming(test.error, u"B.mdb", [&] { Insert(*database, u"L", {++key}); });
            Insert(*database, u"T", {++key});
        }
        database = Open(a_);
    }
    database = nullptr;
    EXPECT_EQ(Count(a_), 4U);
}

// Every call that changes a file fails in turn; nothing of the change stays in either file, and the same handles work
// afterwards.
TEST_F(SessionTest, AFailedCommitLeavesNoFileChanged) {
    const auto link = [](Database& a, Database&) {
        Write(a, [&] {
            a.FindTable(u"T")->Insert(std::vector<Value>{1});
            a.FindTable(u"L")->Insert(std::vector<Value>{1});
        });
    };
    const auto transaction = [](Database& a, Database& b) {
        a.BeginTransaction();
        Insert(a, u"T", {1});
        Insert(b, u"T", {1});
        b.CommitTransaction();
    };
    for (const std::function<void(Database&, Database&)>& run :
         {std::function<void(Database&, Database&)>(link), std::function<void(Database&, Database&)>(transaction)}) {
        test::ScriptedFiles files;
        const auto session = std::make_shared<Session>();
        const auto a = Open(a_, &files, session);
        const auto b = Open(b_, &files, session);
        int call = 0;
        for (bool done = false; !done && !HasFailure();) {
            SCOPED_TRACE("call " + std::to_string(++call));
            files.calls = 0;
            files.strike_at = call;
            done = ErrorOf([&] { run(*a, *b); }) == 0;
            files.strike_at = 0;
            EXPECT_EQ(ErrorOf([&] { a->RollbackTransaction(); }), static_cast<int>(ErrorNumber::TransactionNotStarted));
            EXPECT_EQ(Count(a_), done ? 1U : 0U);
            EXPECT_EQ(Count(b_), done ? 1U : 0U);
        }
        EXPECT_GT(call, 12);
        for (Database* database : {a.get(), b.get()}) {
            Insert(*database, u"T", {2});
            EXPECT_EQ(Rows(*database, u"T").size(), 2U);
            DeleteAll(*database);
        }
        // The last failure was that of removing the common journal, which need not be reported: the next one does it.
        ASSERT_EQ(ErrorOf([&] { run(*a, *b); }), 0);
        EXPECT_FALSE(std::filesystem::exists(a_.string() + "-commit"));
        for (Database* database : {a.get(), b.get()}) DeleteAll(*database);
    }
}

// The folder of one file takes no new ones; its own journal lies there already.
TEST_F(SessionTest, TheCommonJournalLiesWhereAFileCanBeMade) {
    for (const std::filesystem::path& closed : {a_, b_}) {
        SCOPED_TRACE(closed.filename());
        test::ScriptedFiles files;
        const auto session = std::make_shared<Session>();
        const auto a = Open(a_, &files, session);
        const auto b = Open(b_, &files, session);
        for (Database* database : {a.get(), b.get()}) Insert(*database, u"T", {1});
        int made = 0;
        files.before = [&](const test::Change& change) {
            const std::string path = change.path.string();
            if (change.kind != test::Change::Kind::Create || path.find("-commit") == std::string::npos) return;
            if (path.starts_with(closed.string())) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(change.path)});
            ++made;
        };
        a->BeginTransaction();
        Insert(*a, u"T", {2});
        Insert(*b, u"T", {2});
        a->CommitTransaction();
        EXPECT_EQ(made, 1);
        for (Database* database : {a.get(), b.get()}) {
            EXPECT_EQ(Rows(*database, u"T").size(), 2U);
            DeleteAll(*database);
        }
    }
}

TEST_F(SessionTest, ALargeChangeThatFailsGivesItsSpaceBack) {
    constexpr std::uint64_t kMost = 16 << 20;
    test::ScriptedFiles files;
    const auto database = Open(a_, &files);
    Write(*database, [&] {
        database->CreateTable({.name = u"Large", .columns = {{.name = u"B", .type = ColumnType::Binary, .size = 500}}});
        const auto table = database->FindTable(u"Large");
        const std::vector<Value> row{Bytes(500)};
        for (std::uint64_t size = 0; size < kMost + kMost / 8; size += 500) table->Insert(row);
    });
    bool fails = true;
    files.before = [&](const test::Change& change) {
        if (fails && change.path == a_ && change.kind == test::Change::Kind::Write && change.offset > kMost / 2) {
            fails = false;
            Raise(ErrorNumber::DiskFull, {FromNativePath(change.path)});
        }
    };
    EXPECT_EQ(ErrorOf([&] { DeleteAll(*database, u"Large"); }), static_cast<int>(ErrorNumber::DiskFull));
    EXPECT_FALSE(Rows(*database, u"Large").empty());
    EXPECT_LE(std::filesystem::file_size(a_.string() + "-journal"), kMost);
    ExpectClean(*database);
}

// One file's reader does not let the commit through: neither file is changed, and nothing stays open.
TEST_F(SessionTest, ACommitThatCannotLockAFileUndoesAll) {
    const auto session = std::make_shared<Session>();
    const auto a = Open(a_, &FileSystem::Native(), session);
    const auto b = Open(b_, &FileSystem::Native(), session);
    const auto reader = Open(a_);
    a->BeginTransaction();
    Insert(*b, u"T", {1});
    Insert(*a, u"T", {1});
    {
        const Database::Reading reading(*reader);
        EXPECT_EQ(ErrorOf([&] { a->CommitTransaction(); }), kLocked);
    }
    EXPECT_EQ(ErrorOf([&] { b->CommitTransaction(); }), static_cast<int>(ErrorNumber::TransactionNotStarted));
    Insert(*b, u"T", {2});
    Insert(*a, u"T", {2});
    EXPECT_EQ(Count(a_), 1U);
    EXPECT_EQ(Count(b_), 1U);
}

TEST_F(SessionTest, NestedLevelsAndAFileThatComesLater) {
    const auto session = std::make_shared<Session>();
    const auto a = Open(a_, &FileSystem::Native(), session);
    a->BeginTransaction();
    Insert(*a, u"T", {1});
    a->BeginTransaction();
    Insert(*a, u"L", {1});  // B takes part from the second level on
    EXPECT_EQ(ErrorOf([&] { Insert(*a, u"L", {1}); }), static_cast<int>(ErrorNumber::DuplicateKey));
    a->RollbackTransaction();
    EXPECT_TRUE(Rows(*a, u"L").empty());
    Insert(*a, u"L", {2});
    a->BeginTransaction();
    Insert(*a, u"L", {3});
    a->CommitTransaction();
    {
        Database::Writing given_up(*a);
        a->FindTable(u"L")->Insert(std::vector<Value>{4});
        a->BeginTransaction();  // left open: it ends with the scope
    }
    a->CommitTransaction();
    EXPECT_EQ(ErrorOf([&] { a->CommitTransaction(); }), static_cast<int>(ErrorNumber::TransactionNotStarted));
    EXPECT_EQ(Count(a_), 1U);
    EXPECT_EQ(Count(b_), 2U);
}

TEST_F(SessionTest, AFileThatIsClosedLeavesTheTransaction) {
    const auto session = std::make_shared<Session>();
    auto a = Open(a_, &FileSystem::Native(), session);
    const auto b = Open(b_, &FileSystem::Native(), session);
    b->BeginTransaction();
    Insert(*a, u"T", {1});
    Insert(*b, u"T", {1});
    a = nullptr;
    b->CommitTransaction();
    EXPECT_EQ(Count(a_), 0U);
    EXPECT_EQ(Count(b_), 1U);
}

// What a process that was killed while it committed has left: reading the file must work, even where it may not be
// written.
TEST_F(SessionTest, AFileWithAJournalCanBeLookedAt) {
    struct ReadOnlyFiles : test::ScriptedFiles {
        std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) override {
            if (mode != OpenMode::ReadOnly) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
            return ScriptedFiles::Open(path, mode);
        }
    };
    {
        const auto database = Open(a_);
        for (int key = 1; key <= 50; ++key) Insert(*database, u"T", {key});
    }
    test::ScriptedFiles files;
    files.after = test::ScriptedFiles::After::Dead;
    {
        const auto database = Database::Open(a_, {.cache_bytes = 0, .system = &files});
        files.calls = 0;
        files.strike_at = 6;  // the journal is complete, the file is written in part
        EXPECT_NE(ErrorOf([&] {
                      Write(*database, [&] {
                          for (int key = 51; key < 2000; ++key)
                              database->FindTable(u"T")->Insert(std::vector<Value>{key});
                      });
                  }),
                  0);
    }
    const std::filesystem::path journal = a_.string() + "-journal";
    ASSERT_TRUE(std::filesystem::exists(journal));
    const auto torn = test::ReadFile(a_);
    {
        ReadOnlyFiles nothing_to_write;
        const auto database = Open(a_, &nothing_to_write);
        ExpectClean(*database);
        EXPECT_EQ(Rows(*database, u"T").size(), 50U);
        EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", {60}); }), static_cast<int>(ErrorNumber::ReadOnly));
        EXPECT_TRUE(test::ReadFile(a_) == torn && std::filesystem::exists(journal)) << "nothing was written";
        EXPECT_EQ(Count(a_), 50U) << "somebody else rolls it back";
        EXPECT_EQ(Rows(*database, u"T").size(), 50U);
    }
    EXPECT_EQ(Rows(*Database::Open(a_, {.read_only = true}), u"T").size(), 50U);
    EXPECT_EQ(Count(a_), 50U);
    EXPECT_FALSE(std::filesystem::exists(journal)) << "the last one removes what has ended";
}

// Waits for several files, each short enough, are one operation: it has one limit.
TEST_F(SessionTest, TheLimitIsForAllFilesOfAnOperation) {
    constexpr std::uint64_t kGate = std::uint64_t{1} << 40;
    const auto c = folder_.Path() / "C.mdb";
    std::filesystem::copy_file(b_, c);
    const auto session = std::make_shared<Session>();
    const auto home = Open(a_, &FileSystem::Native(), session);
    std::vector<std::unique_ptr<Database>> databases;
    std::vector<std::unique_ptr<File>> locked;
    for (const auto& path : {b_, c}) {
        databases.push_back(Database::Open(path, {.lock_timeout = std::chrono::milliseconds(300), .session = session}));
        locked.push_back(FileSystem::Native().Open(path, OpenMode::ReadWrite));
    }
    for (const bool in_turn : {true, false}) {
        for (const auto& file : locked) ASSERT_TRUE(file->TryLock(kGate, 1, File::Lock::Exclusive));
        const std::jthread lets_go([&] {
            for (const auto& file : locked) {
                if (in_turn || file == locked.front()) std::this_thread::sleep_for(std::chrono::milliseconds(200));
                file->Unlock(kGate, 1);
            }
        });
        const Database::Reading reading(*home);
        EXPECT_EQ(ErrorOf([&] {
                      for (const auto& database : databases) database->FindTable(u"T")->RowCount();
                  }),
                  in_turn ? kLocked : 0);
    }
}

// A journal that names a common one counts as long as that one is there; when its folder is out of reach that is
// unknown, and the file is left alone.
TEST_F(SessionTest, TheCommonJournalDecides) {
    const auto far = folder_.Path() / "far" / "C.mdb";
    std::filesystem::create_directory(far.parent_path());
    std::filesystem::copy_file(b_, far);
    const auto leave_half = [&](int call) {
        test::ScriptedFiles files;
        files.after = test::ScriptedFiles::After::Dead;
        const auto session = std::make_shared<Session>();
        const auto c = Open(far, &files, session);
        const auto b = Open(b_, &files, session);
        files.calls = 0;
        files.strike_at = call;
        return ErrorOf([&] {
            c->BeginTransaction();
            Insert(*c, u"T", {7});
            Insert(*b, u"T", {7});
            c->CommitTransaction();
        });
    };
    const std::filesystem::path common = far.string() + "-commit";
    const auto before = test::ReadFile(b_);
    const auto before_far = test::ReadFile(far);
    int call = 0;
    do {
        ASSERT_NE(leave_half(++call), 0);
    } while (test::ReadFile(b_) == before || test::ReadFile(far) == before_far);
    ASSERT_TRUE(std::filesystem::exists(common));
    ASSERT_TRUE(std::filesystem::exists(b_.string() + "-journal"));
    std::filesystem::rename(far.parent_path(), folder_.Path() / "gone");
    const auto left = test::ReadFile(b_);
    EXPECT_EQ(ErrorOf([&] { Open(b_); }), static_cast<int>(ErrorNumber::DiskError));
    EXPECT_TRUE(test::ReadFile(b_) == left);
    std::filesystem::rename(folder_.Path() / "gone", far.parent_path());
    EXPECT_EQ(Count(b_), 0U);
    EXPECT_TRUE(std::filesystem::exists(common)) << "the other file still needs it";
    EXPECT_EQ(Count(far), 0U);
    EXPECT_FALSE(std::filesystem::exists(common));
}

// Threads with databases of their own, and two at one: each row is there afterwards, once.
TEST_F(SessionTest, Threads) {
    constexpr int kRows = 40;
    const auto fill = [](Database& database, int from) {
        for (int key = from; key < from + kRows; ++key) {
            Insert(database, u"T", {key});
            Insert(database, u"L", {key});
            if (Rows(database, u"L").empty()) ADD_FAILURE() << "the row just written is not there";
        }
    };
    const auto shared = Database::Open(a_, {.durable = false});
    const auto own = Database::Open(a_, {.durable = false});
    {
        const std::jthread first([&] { fill(*shared, 0); });
        const std::jthread second([&] { fill(*shared, 1000); });
        const std::jthread third([&] { fill(*own, 2000); });
    }
    EXPECT_EQ(Count(a_), 3U * kRows);
    EXPECT_EQ(Count(b_), 3U * kRows);
}

}  // namespace
}  // namespace qmtrain::jet
