// What others put beside a database, in a folder where they may write.

#include <cstring>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "dao/new_database.h"
#include "jet/bytes.h"
#include "jet/checksum.h"
#include "jet/common_journal.h"
#include "jet/found_journal.h"
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
                                   .columns = {{.name = u"K", .type = ColumnType::Long}},
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

    // A database as a process leaves it that dies in a commit, and its journal.
    struct Torn {
        std::vector<std::uint8_t> file;
        std::vector<std::uint8_t> journal;
    };
    static Torn Tear(const fs::path& path) {
        const jet::PagerOptions options{.cache_bytes = 0, .durable = false};
        {
            const auto first = jet::Database::Open(path, options);
            Write(*first,
                  [&] { first->CreateTable({.name = u"M", .columns = {{.name = u"X", .type = ColumnType::Memo}}}); });
        }
        const auto database = jet::Database::Open(path, options);
        database->BeginTransaction();
        Insert(*database, u"T", {11});
        for (int i = 0; i < 200; ++i) Insert(*database, u"M", {std::u16string(1500, u'x')});
        return {ReadFile(path), ReadFile(path.string() + "-journal")};
    }

    // What lies beside the database under its journal's name and some more.
    std::size_t SetAside() const {
        std::size_t count = 0;
        for (const auto& entry : fs::directory_iterator(folder_.Path())) {
            count += entry.path().filename().string().starts_with("Client.mdb-journal-") ? 1 : 0;
        }
        return count;
    }

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
    const auto [torn, images] = Tear(file_);
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

// Locks hold though the lock file is removed, and the next session makes another one.
TEST_F(BesideTest, WithoutTheLockFileUsersKeepApart) {
    const fs::path lock = folder_.Path() / "Client.ldb";
    auto early = Open(file_);
    fs::remove(lock);
    const auto late = Open(file_);
    ASSERT_TRUE(fs::exists(lock));
    early->BeginTransaction();
    Insert(*early, u"T", {11});
    EXPECT_EQ(ErrorOf([&] { Insert(*late, u"T", {12}); }), static_cast<int>(ErrorNumber::LockedByOther));
    early->CommitTransaction();
    {
        const jet::Database::Reading reading(*early);
        EXPECT_EQ(early->FindTable(u"T")->RowCount(), 11U);
        EXPECT_EQ(ErrorOf([&] { Insert(*late, u"T", {12}); }), static_cast<int>(ErrorNumber::LockedByOther));
    }
    Insert(*late, u"T", {12});
    Insert(*early, u"T", {13});
    early.reset();
    EXPECT_TRUE(fs::exists(lock)) << "another one has it open";
    EXPECT_EQ(Count(), 13U);
}

// It is the new lock file in which another engine is to be seen, and the end of a user removes only his own.
TEST_F(BesideTest, ALockFileThatWasTakenAwayIsOpenedAnew) {
    constexpr std::uint64_t kOtherUser = 0x10000001;
    const fs::path lock = folder_.Path() / "Client.ldb";
    auto database = Open(file_);
    fs::remove(lock);
    auto engine = FileSystem::Native().Open(lock, OpenMode::Create);
    ASSERT_TRUE(engine->TryLock(kOtherUser, 1, File::Lock::Exclusive));
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", {11}); }), static_cast<int>(ErrorNumber::FileInUse));
    engine->Unlock(kOtherUser, 1);
    Insert(*database, u"T", {11});
    fs::remove(lock);
    std::ofstream(lock).flush();
    database.reset();
    EXPECT_TRUE(fs::exists(lock));
}

// One file in two places, as a container may see it.
class TwoPlaces : public WrappedFiles {
public:
    TwoPlaces(fs::path other, fs::path file) : other_(std::move(other)), file_(std::move(file)) {}

    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) override {
        return std::make_unique<OtherPlace>(WrappedFiles::Open(path == other_ ? file_ : path, mode), *this);
    }
    bool Exists(const fs::path& path) override { return WrappedFiles::Exists(path == other_ ? file_ : path); }

private:
    class OtherPlace : public WrappedFile {
    public:
        OtherPlace(std::unique_ptr<File> file, const TwoPlaces& places)
            : WrappedFile(std::move(file)), places_(places) {}
        bool IsAt(const fs::path& path) override {
            return WrappedFile::IsAt(path == places_.other_ ? places_.file_ : path);
        }

    private:
        const TwoPlaces& places_;
    };

    fs::path other_;
    fs::path file_;
};

TEST_F(BesideTest, OneFileInTwoPlaces) {
    const fs::path other = folder_.Path() / "box" / "Client.mdb";
    fs::create_directory(other.parent_path());
    TwoPlaces places(other, file_);
    const auto here = Open(file_);
    const auto there = jet::Database::Open(
        other, {.lock_timeout = std::chrono::milliseconds(200), .durable = false, .system = &places});
    here->BeginTransaction();
    Insert(*here, u"T", {11});
    EXPECT_EQ(ErrorOf([&] { Insert(*there, u"T", {12}); }), static_cast<int>(ErrorNumber::LockedByOther));
    here->CommitTransaction();
    {
        const jet::Database::Reading reading(*there);
        EXPECT_EQ(there->FindTable(u"T")->RowCount(), 11U);
        EXPECT_EQ(ErrorOf([&] { Insert(*here, u"T", {13}); }), static_cast<int>(ErrorNumber::LockedByOther));
    }
    Insert(*there, u"T", {12});
    EXPECT_EQ(Count(), 12U);
}

// Others find the file by its new path, with another journal.
TEST_F(BesideTest, AFileMovedBehindALinkIsNotWritten) {
    const fs::path place = folder_.Path() / "new" / "Client.mdb";
    fs::create_directory(place.parent_path());
    const auto early = Open(file_);
    fs::rename(file_, place);
    fs::create_symlink(place, file_);
    EXPECT_EQ(ErrorOf([&] { Insert(*early, u"T", {11}); }), static_cast<int>(ErrorNumber::DiskError));
    Insert(*Open(file_), u"T", {11});
    EXPECT_EQ(Count(), 11U);
}

// Who has a file open that another one has replaced does nothing to that one or its journal.
TEST_F(BesideTest, AJournalIsNotPlayedIntoAnotherFile) {
    const auto [torn, images] = Tear(file_);
    const fs::path journal = Beside("-journal");
    const fs::path next = folder_.Path() / "next.mdb";
    const auto before = ReadFile(file_);
    jet::Database::Create(next, {}, {.durable = false});
    const auto other = ReadFile(next);
    struct Case {
        const char* name;
        bool read_only;  // the old user
        bool same;       // it is a copy that took its place, torn since
    };
    for (const Case& test : {Case{"a reader, another file", true, false}, Case{"a writer, another file", false, false},
                             Case{"a reader, a copy", true, true}, Case{"a writer, a copy", false, true}}) {
        SCOPED_TRACE(test.name);
        WriteFile(file_, before);
        const auto old = jet::Database::Open(file_, {.read_only = test.read_only, .durable = false});
        if (!test.same) WriteFile(file_, torn);
        WriteFile(next, test.same ? torn : other);
        fs::rename(next, file_);
        WriteFile(journal, images);
        EXPECT_EQ(Rows(*old, u"T").size(), 10U);
        EXPECT_TRUE(ReadFile(file_) == (test.same ? torn : other));
        ASSERT_TRUE(fs::exists(journal));
        if (test.same) {
            EXPECT_EQ(Count(), 10U);
        }
        fs::remove(journal);
    }
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
    std::memcpy(header.data(), "QmTrnJn4", 8);
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

// Stamp, counters and length of two databases may be the same: their content is not.
TEST_F(BesideTest, TheJournalOfATwin) {
    constexpr std::size_t kStampAt = 0x72;
    for (const jet::Version version : {jet::Version::Jet3, jet::Version::Jet4}) {
        std::vector<std::uint8_t> files[2];
        Torn torn;
        for (int i = 0; i < 2; ++i) {
            const fs::path path = folder_.Path() / "twin.mdb";
            jet::Database::Create(path, {.version = version}, {.durable = false});
            const auto database = Open(path);
            Write(*database, [&] {
                database->CreateTable({.name = u"T", .columns = {{.name = u"K", .type = ColumnType::Long}}});
                for (int key = 0; key < 500; ++key) {
                    database->FindTable(u"T")->Insert(std::vector<Value>{key * (i + 1)});
                }
            });
            torn = Tear(path);
            files[i] = ReadFile(path);
            fs::remove(path);
        }
        ASSERT_EQ(files[0].size(), files[1].size());
        std::copy_n(files[1].begin() + kStampAt, 8, files[0].begin() + kStampAt);
        WriteFile(file_, files[0]);
        WriteFile(Beside("-journal"), torn.journal);
        {
            const auto database = Open(file_);
            EXPECT_EQ(Rows(*database, u"T").size(), 500U);
            EXPECT_TRUE(ReadFile(file_) == files[0]);
            Write(*database, [] {});
        }
        EXPECT_EQ(SetAside(), version == jet::Version::Jet3 ? 1U : 2U);
        WriteFile(file_, torn.file);
        WriteFile(Beside("-journal"), torn.journal);
        EXPECT_EQ(Rows(*Open(file_), u"T").size(), 500U) << "its own counts";
        EXPECT_FALSE(fs::exists(Beside("-journal")));
    }
}

// A journal with right checksums, in the place of whose last record a common journal is named.
std::vector<std::uint8_t> NamingCommon(std::vector<std::uint8_t> journal, std::string_view path) {
    constexpr std::size_t kHeader = 48;
    constexpr std::size_t kPage = 4096;
    constexpr std::uint32_t kCommon = 0xFFFFFFFF;
    const std::size_t at = journal.size() - (journal.size() - kHeader) % (kPage + 8);
    journal.resize(at + 8 + kPage);
    std::fill(journal.begin() + at, journal.end(), std::uint8_t{0});
    std::copy(path.begin(), path.end(), journal.begin() + (at + 16));
    const auto nonce = jet::Get<std::uint64_t>(&journal[24]);
    jet::Put(&journal[at], kCommon);
    jet::Put(&journal[at + 4],
             jet::Checksum(nonce + kCommon * 0xC2B2AE3D27D4EB4FULL, std::span(journal).subspan(at + 8)));
    return journal;
}

// Looking for a common journal on another machine discloses the user to that machine.
TEST_F(BesideTest, NoOtherMachineIsAskedForACommonJournal) {
    const auto [torn, images] = Tear(file_);
    for (const std::string path : {"\\\\host\\share\\B.mdb-commit", "//host/share/B.mdb-commit",
                                   "\\??\\UNC\\host\\share\\B.mdb-commit", "\\\\?\\UNC\\host\\B.mdb-commit"}) {
        SCOPED_TRACE(path);
        const std::vector<std::uint8_t> journal = NamingCommon(images, path);
        WriteFile(file_, torn);
        WriteFile(Beside("-journal"), journal);
        WrappedFiles files;
        jet::PagerOptions options{.durable = false, .system = &files};
        EXPECT_EQ(ErrorOf([&] { jet::Database::Open(file_, options); }),
                  static_cast<int>(ErrorNumber::OperationNotSupported));
        for (const fs::path& opened : files.opened) EXPECT_EQ(opened.parent_path(), folder_.Path());
        EXPECT_TRUE(ReadFile(file_) == torn && ReadFile(Beside("-journal")) == journal);
        options.links_in_network = true;
        EXPECT_NE(ErrorOf([&] { jet::Database::Open(file_, options); }),
                  static_cast<int>(ErrorNumber::OperationNotSupported));
    }
}

TEST_F(BesideTest, AJournalRemovesNoFileThatItNames) {
    const auto [torn, images] = Tear(file_);
    const std::pair<const char*, std::string> others[] = {
        {"keep.lock", ""},
        {"empty.mdb-commit", ""},
        {"notes.mdb-commit", std::string("\0mTrnCmtmy own notes", 20)},
        {"begun.mdb-commit-0123456789abcdef", "QmTrnCmtmy own notes, which are longer than the head of one"},
    };
    for (const auto& [name, bytes] : others) {
        SCOPED_TRACE(name);
        const fs::path path = folder_.Path() / name;
        std::ofstream(path, std::ios::binary) << bytes;
        WriteFile(file_, torn);
        WriteFile(Beside("-journal"), NamingCommon(images, name));
        ErrorOf([&] { Open(file_); });
        const auto now = ReadFile(path);
        EXPECT_EQ(std::string(now.begin(), now.end()), bytes);
        EXPECT_TRUE(fs::exists(path));
    }
}

// Before the first journal names it, nothing but its maker's lock shows that it is needed.
TEST_F(BesideTest, ACommonJournalThatIsBeingMadeStays) {
    const auto database = FileSystem::Native().Open(file_, OpenMode::ReadWrite);
    const fs::path path = jet::CommonJournal::UsualPath(file_);
    std::vector<std::uint8_t> bytes;
    {
        jet::CommonJournal common(FileSystem::Native(), {file_}, false);
        jet::FoundJournal::RemoveUnusedCommon(FileSystem::Native(), path, *database, true);
        EXPECT_EQ(ErrorOf([&] { common.RequireInPlace(); }), 0);
        bytes = ReadFile(path);
        common.Discard();
    }
    EXPECT_FALSE(fs::exists(path));
    WriteFile(path, bytes);
    jet::FoundJournal::RemoveUnusedCommon(FileSystem::Native(), path, *database, false);
    EXPECT_FALSE(fs::exists(path)) << "nobody is at work on it";
}

// Another process makes files of the journal's name, faster than they can be set aside.
class JournalsInTheWay : public WrappedFiles {
public:
    int left = 0;

    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) override {
        const bool journal = path.string().ends_with("-journal");
        if (journal && mode == OpenMode::CreateNew && left > 0) {
            --left;
            std::ofstream(path) << "x";
        }
        return WrappedFiles::Open(path, mode);
    }
};

TEST_F(BesideTest, FilesInTheJournalsWayAreSetAside) {
    JournalsInTheWay files;
    const auto database = jet::Database::Open(file_, {.durable = false, .system = &files});
    files.left = 20;
    Insert(*database, u"T", {11});
    EXPECT_EQ(files.left, 0);
    EXPECT_EQ(SetAside(), 20U);
    EXPECT_EQ(Count(), 11U);
}

// The journals of a commit are moved away, and put back when it is done: that undoes nothing.
class JournalsThatStay : public WrappedFiles {
public:
    void Remove(const fs::path& path) override {
        if (path.extension() == ".ldb") WrappedFiles::Remove(path);
    }
};

TEST_F(BesideTest, AJournalThatComesBackUndoesNothing) {
    const fs::path other = folder_.Path() / "Other.mdb";
    JournalsThatStay files;
    int key = 10;
    for (const bool durable : {false, true}) {
        SCOPED_TRACE(durable);
        fs::remove(other);  // not every library overwrites it when asked to
        fs::copy_file(file_, other);
        {
            const auto session = std::make_shared<jet::Session>();
            const auto a = jet::Database::Open(file_, {.durable = durable, .system = &files, .session = session});
            const auto b = jet::Database::Open(other, {.durable = durable, .system = &files, .session = session});
            a->BeginTransaction();
            Insert(*a, u"T", {++key});
            Insert(*b, u"T", {key});
            a->CommitTransaction();
        }
        EXPECT_TRUE(fs::exists(Beside("-journal")) && fs::exists(Beside("-commit")));
        EXPECT_EQ(Rows(*Open(other), u"T").size(), static_cast<std::size_t>(key));
        EXPECT_EQ(Count(), static_cast<std::size_t>(key));
        Insert(*jet::Database::Open(file_, {.durable = durable, .system = &files}), u"T", {++key});
        EXPECT_TRUE(fs::exists(Beside("-journal")));
        EXPECT_EQ(Count(), static_cast<std::size_t>(key));
    }
}

// A file under the name of the common journal stays unless it shows that it is one.
TEST_F(BesideTest, CommonJournalsOfOthers) {
    const fs::path other = folder_.Path() / "Other.mdb";
    fs::copy_file(file_, other);
    // One of both databases, with the name it would have: paths count from its folder.
    const std::string ended = [&] {
        jet::CommonJournal common(FileSystem::Native(), {file_, other}, false);
        const auto bytes = ReadFile(common.GetName().path);
        common.Discard();
        return std::string(1, '\0') + std::string(bytes.begin() + 1, bytes.end());
    }();
    struct Case {
        const char* name;
        std::string bytes;
        bool ours = false;
    };
    const Case cases[] = {
        {"an empty file", "", true},  // such as a process leaves that dies before it has written
        {"zeros", std::string(24, '\0')},
        {"many zeros", std::string(5000, '\0')},
        {"a few letters", "QmTrn"},
        {"letters", std::string(100, 'x')},
        {"one that was not written whole", "QmTrnCmt" + std::string(3, 'x'), true},
        {"one that has come to its end", ended, true},
        {"what begins like one that has", ended.substr(0, 8) + std::string(40, 'x')},
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

// A file that was put in the place of an open one is not written unnoticed: the user is told.
TEST_F(BesideTest, AFileThatWasReplacedIsNotWritten) {
    const auto database = Open(file_);
    Insert(*database, u"T", {50});
    fs::rename(file_, folder_.Path() / "Old.mdb");
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", {51}); }), static_cast<int>(ErrorNumber::DiskError));
    fs::copy_file(folder_.Path() / "Old.mdb", file_);
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", {51}); }), static_cast<int>(ErrorNumber::DiskError));
    EXPECT_EQ(Count(), 11U);
}

#ifndef _WIN32
// What is made beside a database has a longer name than the database.
TEST_F(BesideTest, LongNames) {
    struct Case {
        std::size_t signs;  // of three bytes each, before ".mdb"
        bool writable;
    };
    for (const Case& test : {Case{75, true}, Case{80, true}, Case{81, true}, Case{82, false}, Case{83, false}}) {
        SCOPED_TRACE(test.signs);
        const fs::path path = folder_.Path() / ToNativePath(std::u16string(test.signs, u'题') + u".mdb");
        fs::copy_file(file_, path);
        if (test.writable) std::ofstream(path.string() + "-journal") << "somebody else's";
        const auto database = Open(path);
        EXPECT_EQ(Rows(*database, u"T").size(), 10U);
        EXPECT_EQ(ErrorOf([&] { Insert(*database, u"T", {11}); }),
                  test.writable ? 0 : static_cast<int>(ErrorNumber::ReadOnly));
        EXPECT_EQ(database->ReadOnlyReason().find(u"文件名太长") == std::u16string::npos, test.writable);
        if (!test.writable) continue;
        const fs::path made = folder_.Path() / ToNativePath(std::u16string(test.signs, u'新') + u".mdb");
        jet::Database::Create(made, {}, {.durable = false});
        EXPECT_TRUE(fs::exists(made));
    }
    EXPECT_EQ(ErrorOf([&] { Open(folder_.Path() / std::string(300, 'x')); }),
              static_cast<int>(ErrorNumber::InvalidPath));
}
#endif

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
