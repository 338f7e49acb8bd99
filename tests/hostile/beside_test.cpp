// What others put beside a database, in a folder where they may write.

#include <cstring>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "dao/new_database.h"
#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"
#include "support/at_once.h"
#include "support/other_files.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace qmtrain::test {
namespace {

namespace fs = std::filesystem;

class BesideTest : public testing::Test {
protected:
    BesideTest() {
        const auto database = jet::Database::Create(file_, {}, {.durable = false});
        Write(*database, [&] {
            database->CreateTable({.name = u"T",
                                   .columns = {{.name = u"K", .type = jet::ColumnType::Long}},
                                   .indexes = {{.name = u"PrimaryKey", .columns = {{u"K"}}, .primary = true}}});
            for (int key = 1; key <= 10; ++key) database->FindTable(u"T")->Insert(std::vector<Value>{key});
        });
    }

    static std::unique_ptr<jet::Database> Open(const fs::path& path) {
        return jet::Database::Open(path, {.lock_timeout = std::chrono::milliseconds(200), .durable = false});
    }

    std::size_t Count() const {
        const auto database = Open(file_);
        ExpectClean(*database);
        return Rows(*database, u"T").size();
    }

    fs::path Beside(const char* end) const { return file_.string() + end; }

    ScratchFolder folder_;
    fs::path file_ = folder_.Path() / "Client.mdb";
};

#ifndef _WIN32
// Two processes that know the file under different names keep each other's rows.
TEST_F(BesideTest, SeveralNamesForOneFile) {
    const fs::path link = folder_.Path() / "elsewhere" / "Alias.mdb";
    fs::create_directory(link.parent_path());
    fs::create_symlink(file_, link);
    constexpr int kRows = 100;
    std::vector<Work> works;
    for (const fs::path& name : {file_, link}) {
        works.emplace_back([&, name] {
            const auto database = jet::Database::Open(name, {.durable = false});
            for (int i = 0; i < kRows; ++i) Insert(*database, u"T", {name == link ? 1000 + i : 100 + i});
            return 0;
        });
    }
    EXPECT_EQ(AtOnce(works), std::vector<int>(2));
    EXPECT_EQ(Count(), 10U + 2 * kRows);
    EXPECT_FALSE(fs::exists(link.parent_path() / "Alias.ldb"));
}

// Hard links have no real path: such a file is not written.
TEST_F(BesideTest, AFileWithTwoHardLinksIsReadOnly) {
    const auto early = Open(file_);
    Insert(*early, u"T", {11});
    fs::create_hard_link(file_, folder_.Path() / "Twin.mdb");
    EXPECT_EQ(ErrorOf([&] { Insert(*early, u"T", {12}); }), static_cast<int>(ErrorNumber::ReadOnly));
    const auto late = Open(folder_.Path() / "Twin.mdb");
    EXPECT_EQ(Rows(*late, u"T").size(), 11U);
    EXPECT_EQ(ErrorOf([&] { Insert(*late, u"T", {12}); }), static_cast<int>(ErrorNumber::ReadOnly));
    fs::remove(folder_.Path() / "Twin.mdb");
    Insert(*early, u"T", {12});
}

// A half-written file is read as it was before. Nothing is put back while others may look at it under another name.
TEST_F(BesideTest, AFileWithTwoHardLinksIsNotRolledBack) {
    const fs::path journal = Beside("-journal");
    std::vector<std::uint8_t> torn;
    std::vector<std::uint8_t> images;
    {
        const auto database = jet::Database::Open(file_, {.cache_bytes = 0, .durable = false});
        Write(*database, [&] {
            database->CreateTable({.name = u"M", .columns = {{.name = u"X", .type = jet::ColumnType::Memo}}});
        });
        database->BeginTransaction();
        Insert(*database, u"T", {11});
        for (int i = 0; i < 200; ++i) Insert(*database, u"M", {std::u16string(1500, u'长')});
        torn = ReadFile(file_);
        ASSERT_TRUE(fs::exists(journal));
        images = ReadFile(journal);
    }
    WriteFile(file_, torn);
    WriteFile(journal, images);
    fs::create_hard_link(file_, folder_.Path() / "Twin.mdb");
    for (const bool read_only : {true, false}) {
        const auto database = jet::Database::Open(file_, {.read_only = read_only, .durable = false});
        EXPECT_EQ(Rows(*database, u"T").size(), 10U);
        EXPECT_TRUE(ReadFile(file_) == torn && ReadFile(journal) == images);
    }
    fs::remove(folder_.Path() / "Twin.mdb");
    EXPECT_EQ(Count(), 10U);
    EXPECT_FALSE(fs::exists(journal));
}

// What stands under our names is neither followed nor waited for nor destroyed, and the database goes on working.
TEST_F(BesideTest, OtherThingsUnderOurNames) {
    const fs::path victim = folder_.Path() / "victim.txt";
    const std::string text(5000, 'x');
    struct Case {
        const char* name;
        std::function<void(const fs::path&)> put;
    };
    const Case cases[] = {
        {"a link to a file", [&](const fs::path& path) { fs::create_symlink(victim, path); }},
        {"a link to nothing", [&](const fs::path& path) { fs::create_symlink(folder_.Path() / "made.txt", path); }},
        {"a hard link", [&](const fs::path& path) { fs::create_hard_link(victim, path); }},
        {"a pipe", [&](const fs::path& path) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); }},
        {"a folder", [&](const fs::path& path) { fs::create_directory(path); }},
        {"a file of another kind", [&](const fs::path& path) { std::ofstream(path) << text; }},
    };
    int key = 100;
    for (const char* end : {"-journal", "-commit"}) {
        for (const Case& test : cases) {
            SCOPED_TRACE(std::string(test.name) + " called " + end);
            std::ofstream(victim) << text;
            test.put(Beside(end));
            EXPECT_GE(Count(), 10U);
            {
                const auto database = Open(file_);
                Insert(*database, u"T", {++key});
            }
            EXPECT_EQ(std::string(text), [&] {
                const auto bytes = ReadFile(victim);
                return std::string(bytes.begin(), bytes.end());
            }());
            EXPECT_FALSE(fs::exists(folder_.Path() / "made.txt"));
            fs::remove_all(Beside(end));
            fs::remove(victim);
        }
    }
    for (const Case& test : cases) {
        SCOPED_TRACE(std::string(test.name) + " as the lock file");
        const fs::path lock = folder_.Path() / "Client.ldb";
        std::ofstream(victim) << text;
        test.put(lock);
        ErrorOf([&] { Insert(*Open(file_), u"T", {++key}); });  // refused or done, but nothing else is harmed
        EXPECT_EQ(fs::file_size(victim), text.size());
        EXPECT_TRUE(fs::exists(fs::symlink_status(lock))) << "it is not ours to remove";
        fs::remove_all(lock);
        fs::remove(victim);
    }
}
#endif

// A journal that does not belong to the file changes nothing in it, and is kept under another name.
TEST_F(BesideTest, JournalsOfOthers) {
    const auto other = folder_.Path() / "Other.mdb";
    jet::Database::Create(other, {}, {.durable = false});
    const auto before = ReadFile(file_);
    struct Case {
        const char* name;
        std::vector<std::uint8_t> bytes;
    };
    std::vector<std::uint8_t> header(48);
    std::memcpy(header.data(), "QmTrnJn2", 8);
    std::vector<std::uint8_t> noise(9000);
    for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<std::uint8_t>(i * 31);
    const std::string word = "echo";
    for (const Case& test : {Case{"a header without a right checksum", header}, Case{"noise", noise},
                             Case{"a few letters", {word.begin(), word.end()}}}) {
        SCOPED_TRACE(test.name);
        WriteFile(Beside("-journal"), test.bytes);
        EXPECT_EQ(Count(), 10U);
        EXPECT_TRUE(ReadFile(file_) == before);
        Insert(*Open(file_), u"T", {50});
        EXPECT_FALSE(fs::exists(Beside("-journal")));
        std::size_t kept = 0;
        for (const auto& entry : fs::directory_iterator(folder_.Path())) {
            if (entry.path().filename().string().starts_with("Client.mdb-journal-")) {
                EXPECT_TRUE(ReadFile(entry.path()) == test.bytes);
                ++kept;
                fs::remove(entry.path());
            }
        }
        EXPECT_EQ(kept, 1U);
        WriteFile(file_, before);
    }
}

// A file under the name of the common journal stays unless it shows that it is one.
TEST_F(BesideTest, CommonJournalsOfOthers) {
    const fs::path other = folder_.Path() / "Other.mdb";
    fs::copy_file(file_, other);
    const std::string voided("\0mTrnCmt", 8);
    struct Case {
        const char* name;
        std::string bytes;
        bool ours = false;
    };
    const Case cases[] = {
        {"an empty file", ""},
        {"zeros", std::string(24, '\0')},
        {"many zeros", std::string(5000, '\0')},
        {"a few letters", "QmTrn"},
        {"letters", std::string(100, 'x')},
        {"one that was not written whole", "QmTrnCmt" + std::string(3, 'x'), true},
        {"one that has come to its end", voided + std::string(40, 'x'), true},
    };
    int key = 100;
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        for (const char* end : {"Client.mdb-commit", "Other.mdb-commit"}) {
            std::ofstream(folder_.Path() / end, std::ios::binary) << test.bytes;
        }
        ++key;
        {
            const auto session = std::make_shared<jet::Session>();
            const auto a = jet::Database::Open(file_, {.durable = false, .session = session});
            const auto b = jet::Database::Open(other, {.durable = false, .session = session});
            a->BeginTransaction();
            Insert(*a, u"T", {key});
            Insert(*b, u"T", {key});
            a->CommitTransaction();
        }
        std::size_t kept = 0;
        for (const auto& entry : fs::directory_iterator(folder_.Path())) {
            if (entry.path().filename().string().find("-commit") == std::string::npos) continue;
            const auto bytes = ReadFile(entry.path());
            EXPECT_EQ(std::string(bytes.begin(), bytes.end()), test.bytes) << "nothing of our own stays";
            ++kept;
        }
        EXPECT_EQ(kept, test.ours ? 1U : 2U) << "that of the first database is looked at";
    }
}

// "Client.mdb" and "Client.mde" have the same lock file. That keeps neither from the other.
TEST_F(BesideTest, DatabasesOfOneStem) {
    const fs::path compiled = folder_.Path() / "Client.mde";
    fs::copy_file(file_, compiled);
    {
        const auto a = Open(file_);
        const auto b = Open(compiled);
        b->BeginTransaction();
        Insert(*b, u"T", {11});
        Insert(*a, u"T", {13});
        const auto second = Open(compiled);
        EXPECT_EQ(ErrorOf([&] { Insert(*second, u"T", {12}); }), static_cast<int>(ErrorNumber::LockedByOther));
        const jet::Database::Reading reading(*a);
        EXPECT_EQ(a->FindTable(u"T")->RowCount(), 11U);
        b->CommitTransaction();
        EXPECT_TRUE(fs::exists(folder_.Path() / "Client.ldb"));
    }
    EXPECT_EQ(Count(), 11U);
    EXPECT_EQ(Rows(*Open(compiled), u"T").size(), 11U);
    EXPECT_FALSE(fs::exists(folder_.Path() / "Client.ldb"));
}

// Where the lock file cannot be made, or not by those who did not make it.
class LockFileRefused : public WrappedFiles {
public:
    explicit LockFileRefused(bool always) : always_(always) {}

    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) override {
        const bool refused = path.extension() == ".ldb" && (always_ || mode == OpenMode::Create);
        if (refused) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        return WrappedFiles::Open(path, mode);
    }

private:
    bool always_;
};

TEST_F(BesideTest, ALockFileOfAnotherIsUsedWhereItCannotBeMade) {
    std::ofstream(folder_.Path() / "Client.ldb").flush();
    LockFileRefused files(false);
    const auto database = jet::Database::Open(file_, {.durable = false, .system = &files});
    Insert(*database, u"T", {11});
    EXPECT_EQ(Count(), 11U);
}

// Readers without a lock file, of whom one is always there, do not keep a writer out.
TEST_F(BesideTest, ReadersInTurnLetAWriterIn) {
    LockFileRefused files(true);
    std::vector<std::jthread> readers;
    readers.reserve(4);
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&](const std::stop_token& done) {
            const auto database = jet::Database::Open(file_, {.durable = false, .system = &files});
            while (!done.stop_requested()) {
                const jet::Database::Reading reading(*database);
                EXPECT_GE(database->FindTable(u"T")->RowCount(), 10U);
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto writer = jet::Database::Open(file_, {.lock_timeout = std::chrono::seconds(3), .durable = false});
    for (int key = 11; key <= 15; ++key) Insert(*writer, u"T", {key});
    readers.clear();
    EXPECT_EQ(Count(), 15U);
}

// A file that was put in the place of an open one gets no rows behind its user's back, and the user is told.
TEST_F(BesideTest, AFileThatWasReplacedIsNotWritten) {
    const auto database = Open(file_);
    Insert(*database, u"T", {50});
    fs::rename(file_, folder_.Path() / "Old.mdb");
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", {51}); }), static_cast<int>(ErrorNumber::DiskError));
    fs::copy_file(folder_.Path() / "Old.mdb", file_);
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", {51}); }), static_cast<int>(ErrorNumber::DiskError));
    EXPECT_EQ(Count(), 11U);
}

TEST_F(BesideTest, ALockFileIsNoDatabase) {
    const fs::path lock = folder_.Path() / "Bank.ldb";
    fs::copy_file(file_, lock);
    EXPECT_EQ(ErrorOf([&] { Open(lock); }), static_cast<int>(ErrorNumber::UnknownFormat));
    EXPECT_TRUE(ReadFile(lock) == ReadFile(file_));
    // The users that another program has listed in its lock file stay listed.
    std::ofstream(folder_.Path() / "Client.ldb") << std::string(64, 'u');
    EXPECT_EQ(Count(), 10U);
    EXPECT_EQ(fs::file_size(folder_.Path() / "Client.ldb"), 64U);
}

// Of those who make the same file at the same moment one succeeds, and what it has written stays.
TEST_F(BesideTest, TwoMakeTheSameFile) {
    constexpr int kMade = 0;
    constexpr int kWasThere = 1;
    for (int round = 0; round < 10; ++round) {
        const fs::path path = folder_.Path() / ("New" + std::to_string(round) + ".mdb");
        std::vector<Work> works;
        for (int i = 0; i < 3; ++i) {
            works.emplace_back([&] {
                const std::int32_t error = ErrorOf([&] {
                    dao::MakeDatabase(FromNativePath(path), u"CREATE TABLE T (A LONG); INSERT INTO T VALUES (1)");
                });
                if (error == 0) Insert(*Open(path), u"T", {2});
                return error == 0 ? kMade : error == static_cast<int>(ErrorNumber::DatabaseExists) ? kWasThere : 2;
            });
        }
        const std::vector<int> errors = AtOnce(works);
        EXPECT_EQ(std::count(errors.begin(), errors.end(), kMade), 1);
        EXPECT_EQ(std::count(errors.begin(), errors.end(), kWasThere), 2);
        const auto database = Open(path);
        EXPECT_EQ(Rows(*database, u"T").size(), 2U);
    }
    for (const auto& entry : fs::directory_iterator(folder_.Path())) EXPECT_NE(entry.path().extension(), ".new");
}

// Two waits in turn are one operation, and take no longer than one.
TEST_F(BesideTest, NobodyWaitsLongerThanTheLimit) {
    const auto writer = Open(file_);
    const auto reader = Open(file_);
    const auto waiting =
        jet::Database::Open(file_, {.lock_timeout = std::chrono::milliseconds(1000), .durable = false});
    writer->BeginTransaction();
    Insert(*writer, u"T", {60});
    std::jthread ends([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(800));
        writer->RollbackTransaction();
    });
    const jet::Database::Reading reading(*reader);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ErrorOf([&] { Insert(*waiting, u"T", {61}); }), static_cast<int>(ErrorNumber::LockedByOther));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1700));
}

}  // namespace
}  // namespace qmtrain::test
