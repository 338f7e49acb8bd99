// Several accounts that share a folder.

#include <csignal>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include "core/log.h"
#include "core/text.h"
#include "jet/common_journal.h"
#include "jet/compact.h"
#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"
#include "jet/temporary_file.h"
#include "reliability/child.h"
#include "support/accounts.h"
#include "support/other_files.h"

namespace qmtrain::test {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRows = 60;

class AccountsTest : public testing::Test {
protected:
    AccountsTest() {
        if (!HasAccounts()) return;
        Set(folder_.Path(), {0, 0}, 0777);
        SetComponentFolder(folder_.Path());
        const auto database = jet::Database::Create(file_, {}, {.durable = false});
        Write(*database, [&] {
            database->CreateTable(
                {.name = u"T",
                 .columns = {{.name = u"K", .type = ColumnType::Long}, {.name = u"M", .type = ColumnType::Memo}}});
            for (std::size_t key = 0; key < kRows; ++key) {
                database->FindTable(u"T")->Insert(
                    std::vector<Value>{static_cast<std::int32_t>(key), std::u16string(1500, u'长')});
            }
        });
    }
    ~AccountsTest() override { SetComponentFolder(ProgramFolder()); }

    void SetUp() override {
        if (!HasAccounts()) GTEST_SKIP() << "other accounts can be had by root only";
    }

    static void Set(const fs::path& path, const Account& owner, mode_t mode) {
        ASSERT_EQ(chown(path.c_str(), owner.user, owner.group), 0);
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
    }

    struct Rights {
        uid_t user;
        gid_t group;
        mode_t mode;
        bool operator==(const Rights&) const = default;
    };
    static Rights RightsOf(const fs::path& path) {
        struct stat info {};
        EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
        return {info.st_uid, info.st_gid, info.st_mode & mode_t{0777}};
    }

    std::unique_ptr<jet::Database> Open(bool durable = false) const {
        return jet::Database::Open(
            file_, {.cache_bytes = 0, .lock_timeout = std::chrono::milliseconds(300), .durable = durable});
    }

    // 0 when all rows can be read.
    int ReadAll() const { return Rows(*Open(), u"T").size() == kRows ? 0 : 1; }

    // The number of the error cut to what a process can return, 0 when a row could be added.
    int AddRow(std::int32_t key = 1000) const {
        return ErrorOf([&] { Insert(*Open(), u"T", {key, Null{}}); }) % 100;
    }

    static void DeleteAll(jet::Database& database) {
        Write(database, [&] {
            const auto table = database.FindTable(u"T");
            std::vector<jet::RowPointer> rows;
            jet::RowCursor cursor(*table);
            for (cursor.Scan(); cursor.Next();) rows.push_back(cursor.Row());
            for (const jet::RowPointer row : rows) table->Delete(row);
        });
    }

    // So that pages are written early, and a journal is there.
    static void FillCache(jet::Database& database) {
        for (int i = 0; i < 200; ++i) Insert(database, u"T", {i, std::u16string(1500, u'新')});
    }

    // 0 when a process has died while it committed a change of two files.
    static int DieChangingBoth(const Account& writer, const fs::path& first, const fs::path& second, int rows) {
        return As(writer, [&] {
            umask(077);
            const auto session = std::make_shared<jet::Session>();
            const auto a = jet::Database::Open(first, {.session = session});
            const auto b = jet::Database::Open(second, {.session = session});
            session->BeginTransaction();
            for (int i = 0; i < rows; ++i) {
                for (jet::Database* database : {a.get(), b.get()}) {
                    Insert(*database, u"T", {i, std::u16string(1500, u'新')});
                }
            }
            session->CommitTransaction([] { _exit(0); });
            return 1;
        });
    }

    fs::path Lock() const { return folder_.Path() / "Client.ldb"; }
    fs::path Journal() const { return folder_.Path() / "Client.mdb-journal"; }

    static constexpr int kReadOnly = static_cast<int>(ErrorNumber::ReadOnly) % 100;

    ScratchFolder folder_;
    fs::path file_ = folder_.Path() / "Client.mdb";
};

// Whoever may use the database may use what is made beside it, and nobody else may read the pages in its journal.
TEST_F(AccountsTest, WhatIsMadeBesideTheDatabaseHasItsRights) {
    Set(file_, kTeacher, 0660);
    const Account assistant{65512, 65522, {kTeacher.group}};
    struct Case {
        const char* name;
        Account account;
        Rights lock;
        Rights journal;
    };
    const Case cases[] = {
        {"the administrator", {0, 0}, {kTeacher.user, kTeacher.group, 0660}, {kTeacher.user, kTeacher.group, 0660}},
        {"the owner", kTeacher, {kTeacher.user, kTeacher.group, 0660}, {kTeacher.user, kTeacher.group, 0660}},
        {"one of the group", assistant, {assistant.user, kTeacher.group, 0666}, {assistant.user, kTeacher.group, 0660}},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        // 1: the lock file's rights are wrong, 2: the journal's
        const int wrong = As(test.account, [&] {
            umask(077);
            const auto database = Open();
            database->BeginTransaction();
            FillCache(*database);
            return (RightsOf(Lock()) == test.lock ? 0 : 1) + (RightsOf(Journal()) == test.journal ? 0 : 2);
        });
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(As(kTeacher, [&] { return ReadAll(); }), 0);
    }
}

// A candidate who may only read leaves a lock file behind: the teacher can write all the same.
TEST_F(AccountsTest, AReadersLockFileKeepsNobodyOut) {
    Set(file_, kTeacher, 0644);
    EXPECT_EQ(As(kCandidate,
                 [&] {
                     umask(077);
                     const auto database = Open();
                     if (Rows(*database, u"T").size() != kRows) return 1;
                     if (ErrorOf([&] { Insert(*database, u"T", {1, Null{}}); }) % 100 != kReadOnly) return 2;
                     _exit(0);  // with the lock file there
                 }),
              0);
    EXPECT_EQ(RightsOf(Lock()).user, kCandidate.user);
    EXPECT_EQ(As(kTeacher, [&] { return AddRow(); }), 0);
}

// Readers with few rights hold a lock as good as any: a writer waits for them, and is told for whom.
TEST_F(AccountsTest, WhoMayLittleReadsUnderALock) {
    struct Case {
        const char* name;
        std::function<void()> arrange;
        std::u16string_view reason;
    };
    const Case cases[] = {
        {"a lock file that may only be read",
         [&] {
             std::ofstream(Lock()).flush();
             Set(Lock(), {0, 0}, 0644);
             Set(file_, {0, 0}, 0666);
         },
         u"锁文件（.ldb）没有写入权限"},
        {"a folder in which nothing may be made",
         [&] {
             fs::remove(Lock());
             Set(folder_.Path(), {0, 0}, 0755);
             Set(file_, {0, 0}, 0666);
         },
         u"不能建立或打开锁文件"},
        {"a lock file that may not be opened",
         [&] {
             Set(folder_.Path(), {0, 0}, 0777);
             std::ofstream(Lock()).flush();
             Set(Lock(), {0, 0}, 0600);
             std::ofstream(Lock()) << "keep";
         },
         u"不能建立或打开锁文件"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        test.arrange();
        Child reader([&](const Child::Pipe& pipe) {
            if (setgroups(0, nullptr) != 0 || setgid(kCandidate.group) != 0 || setuid(kCandidate.user) != 0) _exit(4);
            const auto database = Open();
            const bool reason = database->ReadOnlyReason().find(test.reason) != std::u16string::npos;
            const bool refused = ErrorOf([&] { Insert(*database, u"T", {1, Null{}}); }) % 100 == kReadOnly;
            const jet::Database::Reading reading(*database);
            const auto table = database->FindTable(u"T");
            pipe.Send(reason && refused ? 1 : 0, static_cast<std::int32_t>(table->RowCount()));
            pause();
        });
        Report report{};
        ASSERT_TRUE(reader.Next(report));
        EXPECT_EQ(report.kind, 1);
        EXPECT_EQ(report.value, static_cast<std::int32_t>(kRows));
        try {
            Insert(*Open(), u"T", {1, Null{}});
            ADD_FAILURE() << "nobody was waited for";
        } catch (const AutomationError& error) {
            EXPECT_TRUE(error.Is(ErrorNumber::LockedByOther)) << error.what();
            const std::u16string process = u"进程 " + ToText(reader.Process()) + u"（test_hostile）";
            EXPECT_NE(error.Description().find(process), std::u16string::npos) << error.what();
        }
        reader.Kill();
        reader.Wait();
        const auto database = Open();
        const jet::RowPointer row = Insert(*database, u"T", {1, Null{}});
        Write(*database, [&] { database->FindTable(u"T")->Delete(row); });
    }
}

// The old pages of a commit that has long been done, put back as a journal: only of those who may write the file
// themselves is it believed.
TEST_F(AccountsTest, AJournalCountsByItsOwner) {
    const auto before = ReadFile(file_);
    std::vector<std::uint8_t> journal;
    {
        const auto database = Open();
        database->BeginTransaction();
        DeleteAll(*database);
        FillCache(*database);
        journal = ReadFile(Journal());
        DeleteAll(*database);
        database->CommitTransaction();
    }
    ASSERT_GT(journal.size(), 4096U);
    const auto after = ReadFile(file_);
    const Account daemon{1, 1};  // in every Linux, in the group of its own name
    struct Case {
        const char* name;
        Account owner;
        mode_t database;
        mode_t journal;
        bool counts;
        mode_t folder = 0777;
    };
    const Account elsewhere{kCandidate.user, daemon.group};
    const Case cases[] = {
        {"the owner's", kTeacher, 0644, 0644, true},
        {"a stranger's", kCandidate, 0644, 0644, false},
        {"a stranger's that nobody may open", kCandidate, 0644, 0, false},
        {"a stranger's, where the group may write", kCandidate, 0664, 0644, false},
        {"one of the group's", daemon, 0664, 0644, true},
        {"one of the group's, who may not write", daemon, 0644, 0644, false},
        {"anybody's, where all may write", kCandidate, 0666, 0644, true},
        {"one of the group's, on another machine", elsewhere, 0664, 0644, true},
        {"anybody's, to which the folder gives the group", elsewhere, 0664, 0644, false, 02777},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        Set(folder_.Path(), {0, 0}, test.folder);
        WriteFile(file_, after);
        Set(file_, {kTeacher.user, daemon.group}, test.database);
        WriteFile(Journal(), journal);
        Set(Journal(), test.owner, test.journal);
        fs::remove(LogFile());
        const int rows = As({kTeacher.user, kTeacher.group}, [&] {
            const auto database = Open();
            Write(*database, [] {});
            return static_cast<int>(Rows(*database, u"T").size());
        });
        EXPECT_EQ(rows, test.counts ? static_cast<int>(kRows) : 0);
        EXPECT_FALSE(fs::exists(Journal()));
        std::size_t aside = 0;
        for (const auto& entry : fs::directory_iterator(folder_.Path())) {
            if (!entry.path().filename().string().starts_with("Client.mdb-journal-")) continue;
            EXPECT_TRUE(ReadFile(entry.path()) == journal);
            fs::remove(entry.path());
            ++aside;
        }
        EXPECT_EQ(aside, test.counts ? 0U : 1U);
        EXPECT_EQ(fs::exists(LogFile()), !test.counts) << "it is reported";
    }
    WriteFile(file_, before);
}

// The rights of a file as a list of accounts; false where the file system keeps none.
bool SetAccessList(const fs::path& path, const Account& writer, const Account& group) {
    struct Entry {
        std::uint16_t tag;
        std::uint16_t rights;
        std::uint32_t id;
    };
    constexpr std::uint32_t kNone = 0xFFFFFFFF;
    struct {
        std::uint32_t version = 2;
        Entry entries[6];
    } const list{
        2,
        {{1, 6, kNone}, {2, 6, writer.user}, {4, 4, kNone}, {8, 6, group.group}, {0x10, 6, kNone}, {0x20, 4, kNone}}};
    return setxattr(path.c_str(), "system.posix_acl_access", &list, sizeof list, 0) == 0;
}

// Who may write by an access list is a writer like any other, and nobody else is. What he leaves is open to the others.
TEST_F(AccountsTest, WritersByAnAccessList) {
    const Account listed{65512, 65522};
    const Account in_listed_group{65513, 65524};
    Set(file_, kTeacher, 0640);
    if (!SetAccessList(file_, listed, {0, 65524})) GTEST_SKIP() << "no access lists here";
    const auto before = ReadFile(file_);
    for (const Account& writer : {listed, kTeacher, in_listed_group}) {
        SCOPED_TRACE(writer.user);
        EXPECT_EQ(As(writer,
                     [&]() -> int {
                         umask(077);
                         const auto database = Open();
                         database->BeginTransaction();
                         FillCache(*database);
                         _exit(ReadFile(file_) == before ? 1 : 0);
                     }),
                  0);
        ASSERT_TRUE(fs::exists(Journal()));
        EXPECT_EQ(As(kCandidate, [&] { return ReadAll(); }), 0);
        EXPECT_EQ(As(writer.user == listed.user ? kTeacher : listed, [&] { return ReadAll(); }), 0);
        EXPECT_FALSE(fs::exists(Journal()));
        EXPECT_TRUE(ReadFile(file_) == before);
    }
    const auto database = FileSystem::Native().Open(file_, OpenMode::ReadOnly);
    std::ofstream(Journal()) << "x";
    const Account group_of_file{65514, kTeacher.group};
    for (const auto& [owner, writes] : {std::pair{kCandidate, false}, std::pair{group_of_file, false},
                                        std::pair{listed, true}, std::pair{Account{65515, 65524}, true}}) {
        Set(Journal(), owner, 0644);
        EXPECT_EQ(FileSystem::Native().IsByWriterOf(Journal(), *database), writes) << owner.user;
    }
}

// A change of a shared database and one in a folder that only its owner may enter is broken off.
TEST_F(AccountsTest, WhoCannotSeeTheCommonJournalDoesNotDecide) {
    const fs::path inner = folder_.Path() / "private" / "B.mdb";
    fs::create_directory(inner.parent_path());
    fs::copy_file(file_, inner);
    const Account assistant{65512, 65522, {kTeacher.group}};
    struct Case {
        const char* name;
        mode_t folder;
        bool seen;
    };
    for (const Case& test : {Case{"it may not be entered", 0700, false}, Case{"it may be passed", 0711, true}}) {
        SCOPED_TRACE(test.name);
        Set(file_, kTeacher, 0664);
        Set(inner, kTeacher, 0600);
        Set(inner.parent_path(), kTeacher, test.folder);
        EXPECT_EQ(DieChangingBoth(kTeacher, inner, file_, 200), 0);
        constexpr int kDiskError = static_cast<int>(ErrorNumber::DiskError) % 100;
        for (const Account& account : {kCandidate, assistant}) {
            EXPECT_EQ(As(account, [&] { return ErrorOf([&] { ReadAll(); }) % 100; }), test.seen ? 0 : kDiskError);
        }
        EXPECT_EQ(As(kTeacher, [&] { return ReadAll(); }), 0);
        EXPECT_EQ(As(kTeacher,
                     [&] {
                         const auto database = jet::Database::Open(inner, {});
                         return Rows(*database, u"T").size() == kRows ? 0 : 1;
                     }),
                  0);
        EXPECT_FALSE(fs::exists(Journal()) || fs::exists(inner.string() + "-journal"));
    }
}

// A secret file that is put under the lock file's name stays secret.
TEST_F(AccountsTest, AFileWithContentGetsNoOtherRights) {
    Set(file_, kTeacher, 0644);
    std::ofstream(Lock()) << "marks";
    Set(Lock(), kTeacher, 0600);
    EXPECT_EQ(As(kTeacher, [&] { return AddRow(); }), 0);
    EXPECT_EQ(RightsOf(Lock()), (Rights{kTeacher.user, kTeacher.group, 0600}));
}

// Rows that are held for a while are for nobody else.
class NotesRights : public WrappedFiles {
public:
    mode_t rights = 07777;

    void Remove(const fs::path& path) override {
        struct stat info {};
        if (stat(path.c_str(), &info) == 0) rights = info.st_mode & mode_t{0777};
        WrappedFiles::Remove(path);
    }
    std::unique_ptr<File> OpenPlain(const fs::path& path, OpenMode mode) override {
        return Native().OpenPlain(path, mode);
    }
};

TEST_F(AccountsTest, TemporaryFilesAreTheirMakersAlone) {
    const mode_t before = umask(0);
    NotesRights files;
    jet::OpenTemporaryFile(files);
    umask(before);
    EXPECT_EQ(files.rights, mode_t{0600});
}

// A change of several files is not undone by accounts that may not write them.
TEST_F(AccountsTest, ACommonJournalCountsByItsOwner) {
    Set(file_, kTeacher, 0644);
    const auto database = FileSystem::Native().Open(file_, OpenMode::ReadOnly);
    const jet::CommonJournal common(FileSystem::Native(), {file_}, false);
    const fs::path path = jet::CommonJournal::UsualPath(file_);
    EXPECT_TRUE(jet::CommonJournal::InForce(FileSystem::Native(), common.GetName(), *database, *database));
    Set(path, kCandidate, 0644);
    EXPECT_FALSE(jet::CommonJournal::InForce(FileSystem::Native(), common.GetName(), *database, *database));
}

// A change of the databases of two owners, by one who may write both and dies in it: nothing of it stays in either,
// whichever account reads it first, and whatever lies under the common journal's name.
TEST_F(AccountsTest, AChangeOfTwoOwnersFiles) {
    const Account root{0, 0};
    const Account other{65512, 65524, {kTeacher.group}};
    const Account unknown{65517, 65526, {kTeacher.group}};  // whose groups the system does not know
    struct Case {
        const char* name;
        Account writer;
        Account first_owner;
        mode_t first_mode;
        mode_t second_mode;
        bool stray = false;  // a file lies under the common journal's usual name
    };
    const Case cases[] = {
        {"the administrator", root, kTeacher, 0644, 0644},
        {"the administrator, a stray file", root, kTeacher, 0644, 0644, true},
        {"the administrator, the first file secret", root, kTeacher, 0600, 0644},
        {"one of the group, his own file secret", unknown, unknown, 0600, 0664},
        {"one of the group, a stray file", unknown, unknown, 0644, 0664, true},
    };
    const fs::path second = folder_.Path() / "Second.mdb";
    const auto before = ReadFile(file_);
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        for (const fs::path& path : {file_, second}) WriteFile(path, before);
        Set(file_, test.first_owner, test.first_mode);
        Set(second, {other.user, kTeacher.group}, test.second_mode);
        if (test.stray) As(kCandidate, [&] { return std::ofstream(file_.string() + "-commit") ? 0 : 1; });
        EXPECT_EQ(DieChangingBoth(test.writer, file_, second, 20), 0);
        ASSERT_FALSE(ReadFile(second) == before || ReadFile(file_) == before);
        for (const auto& [path, owner] : {std::pair(second, other), std::pair(file_, test.first_owner)}) {
            EXPECT_EQ(As(owner, [&] { return Rows(*jet::Database::Open(path, {}), u"T").size() == kRows ? 0 : 1; }), 0);
            EXPECT_TRUE(ReadFile(path) == before);
        }
        for (const auto& entry : fs::directory_iterator(folder_.Path())) {
            if (entry.path().filename().string().find("-commit") != std::string::npos) fs::remove(entry.path());
        }
    }
}

// The right to write was taken away, and a journal that a session has left still grants it.
TEST_F(AccountsTest, AJournalThatMoreMayWriteThanTheDatabase) {
    Set(file_, kTeacher, 0666);
    const auto leave_journal = [&] {
        return As(kTeacher, [&]() -> int {
            const auto database = Open();
            Insert(*database, u"T", {500, Null{}});
            _exit(fs::exists(Journal()) ? 0 : 1);
        });
    };
    ASSERT_EQ(leave_journal(), 0);
    ASSERT_EQ(RightsOf(Journal()).mode, mode_t{0666});
    Set(file_, kTeacher, 0644);
    EXPECT_EQ(As(kTeacher,
                 [&]() -> int {
                     const auto database = Open();
                     _exit(fs::exists(Journal()) ? 1 : 0);
                 }),
              0)
        << "it goes before anybody can use it";

    Set(file_, kTeacher, 0666);
    ASSERT_EQ(leave_journal(), 0);
    Set(file_, kTeacher, 0644);
    const auto content = ReadFile(file_);
    std::vector<std::uint8_t> images;
    {
        const fs::path own = folder_.Path() / "own.mdb";
        WriteFile(own, content);
        const auto database = jet::Database::Open(own, {.cache_bytes = 0, .durable = false});
        database->BeginTransaction();
        FillCache(*database);
        images = ReadFile(own.string() + "-journal");
    }
    EXPECT_EQ(As(kCandidate,
                 [&] {
                     WriteFile(Journal(), images);
                     return 0;
                 }),
              0);
    for (const Account& account : {kCandidate, kTeacher}) {
        EXPECT_EQ(As(account, [&] { return ErrorOf([&] { Open(); }) % 100; }),
                  static_cast<int>(ErrorNumber::DiskError) % 100);
    }
    EXPECT_TRUE(ReadFile(file_) == content && ReadFile(Journal()) == images);
    Set(Journal(), kTeacher, 0644);  // its owner says that it counts
    EXPECT_EQ(As(kTeacher, [&] { return static_cast<int>(Rows(*Open(), u"T").size()); }), static_cast<int>(kRows) + 2);
}

// One account makes the lock file and holds the byte exclusively that all users share.
TEST_F(AccountsTest, ALockFileThatIsKeptFromOthers) {
    constexpr std::uint64_t kPresent = 0x0FFFFF00;
    Set(file_, kTeacher, 0644);
    std::ofstream(Lock()).flush();
    Set(Lock(), kCandidate, 0666);
    const auto kept = FileSystem::Native().Open(Lock(), OpenMode::ReadWrite);
    ASSERT_TRUE(kept->TryLock(kPresent, 1, File::Lock::Exclusive));
    EXPECT_EQ(As(kTeacher,
                 [&] {
                     const auto database = Open();
                     if (Rows(*database, u"T").size() != kRows) return 1;
                     if (database->ReadOnlyReason().find(u"锁文件") == std::u16string::npos) return 2;
                     const auto start = std::chrono::steady_clock::now();
                     for (int i = 0; i < 10; ++i) {
                         std::this_thread::sleep_for(std::chrono::milliseconds(60));
                         if (Rows(*database, u"T").size() != kRows) return 1;
                     }
                     if (std::chrono::steady_clock::now() - start > std::chrono::seconds(2)) return 3;
                     return ErrorOf([&] { Insert(*database, u"T", {1, Null{}}); }) % 100 == kReadOnly ? 0 : 4;
                 }),
              0);
    EXPECT_TRUE(fs::exists(Lock()));
    kept->Unlock(kPresent, 1);
    EXPECT_EQ(As(kTeacher, [&] { return AddRow(); }), 0);
}

// A copy may be read by those who may read what it was made from.
TEST_F(AccountsTest, ACompactedCopyHasTheRightsOfItsSource) {
    const Rights secret{kTeacher.user, kTeacher.group, 0600};
    const Rights shared{kTeacher.user, kTeacher.group, 0660};
    for (const Rights& rights : {secret, shared}) {
        Set(file_, kTeacher, rights.mode);
        for (const Account& account : {kTeacher, Account{0, 0}}) {
            const fs::path copy = folder_.Path() / "Copy.mdb";
            EXPECT_EQ(As(account,
                         [&] {
                             umask(022);
                             jet::Compact(file_, copy, {}, {.durable = false});
                             return 0;
                         }),
                      0);
            EXPECT_EQ(RightsOf(copy), rights) << rights.mode << " by " << account.user;
            fs::remove(copy);
        }
    }
}

// A commit that fails before it has overwritten anything needs no room to be undone, and keeps no other session out.
TEST_F(AccountsTest, AfterAFullDiskOthersRead) {
    Set(file_, kTeacher, 0644);
    for (const bool durable : {false, true}) {
        SCOPED_TRACE(durable);
        EXPECT_EQ(As(kTeacher,
                     [&] {
                         umask(077);
                         const auto database = jet::Database::Open(file_, {.durable = durable});
                         std::signal(SIGXFSZ, SIG_IGN);
                         const rlimit limit{30000, RLIM_INFINITY};
                         setrlimit(RLIMIT_FSIZE, &limit);
                         return ErrorOf([&] { DeleteAll(*database); }) % 100;
                     }),
                  static_cast<int>(ErrorNumber::DiskFull) % 100);
        EXPECT_EQ(As(kCandidate, [&] { return ReadAll(); }), 0);
        EXPECT_FALSE(fs::exists(Journal()));
    }
}

}  // namespace
}  // namespace qmtrain::test
