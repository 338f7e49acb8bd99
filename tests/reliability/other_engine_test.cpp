// A session of another engine, which knows nothing of our locks but holds its own on the lock file.

#include <thread>

#include <fcntl.h>

#include "reliability/child.h"
#include "reliability/practice.h"
#include "reliability/sample_table.h"

namespace qmtrain::test {
namespace {

constexpr off_t kFirstSlot = 0x10000001;
constexpr off_t kLastSlot = kFirstSlot + 254;

class OtherEngineTest : public PracticeTest {
protected:
    std::filesystem::path LockFile() const { return folder_.Path() / "Client.ldb"; }

    // A session in that slot, with what it does when it has its lock.
    Child Session(off_t slot, short kind, const std::function<void(const Child::Pipe&)>& body = {}) const {
        return Child([&](const Child::Pipe& pipe) {
            const int file = open(LockFile().c_str(), O_RDWR | O_CREAT, 0666);
            struct flock lock {};
            lock.l_type = kind;
            lock.l_whence = SEEK_SET;
            lock.l_start = slot;
            lock.l_len = 1;
            if (fcntl(file, F_SETLK, &lock) != 0) _exit(1);
            pipe.Send(0, 0);
            if (body) body(pipe);
            std::this_thread::sleep_for(std::chrono::minutes(1));
        });
    }
    static void Await(const Child& session) {
        Report report{};
        ASSERT_TRUE(session.Next(report));
    }
};

TEST_F(OtherEngineTest, KeepsUsFromWriting) {
    Candidate early(Folder(), 7);
    ASSERT_TRUE(early.Start());
    struct Case {
        const char* name;
        off_t slot;
        short kind;
    };
    const Case cases[] = {{"first slot", kFirstSlot, F_WRLCK},
                          {"last slot", kLastSlot, F_WRLCK},
                          {"shared lock", kFirstSlot + 7, F_RDLCK}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        const std::size_t logged = ReadLog(qmtrain::LogFile()).size();
        const auto before = ReadFile(File());
        {
            const Child session = Session(test.slot, test.kind);
            Await(session);
            EXPECT_FALSE(early.Start());
            EXPECT_FALSE(Candidate(Folder(), 8).Start());
            EXPECT_EQ(early.Training().GetTrainTimes(), 0) << "reading goes on";
            EXPECT_EQ(ReadLog(qmtrain::LogFile()).size(), logged + 2);
            EXPECT_NE(ReadLog(qmtrain::LogFile()).back().message.find("另一种数据库程序"), std::string::npos);
            EXPECT_TRUE(ReadFile(File()) == before);
        }
        EXPECT_TRUE(early.Start());
        EXPECT_TRUE(Candidate(Folder(), 8).Start());
    }
}

// The lock file stays for it.
TEST_F(OtherEngineTest, KeepsItsLockFile) {
    const Child session = Session(kFirstSlot, F_WRLCK);
    Await(session);
    { ClientFile file(File()); }
    EXPECT_TRUE(std::filesystem::exists(LockFile()));
}

// It comes while a transaction is open: what is not in the file yet does not get there.
TEST_F(OtherEngineTest, EndsATransaction) {
    const auto database = jet::Database::Open(File());
    database->BeginTransaction();
    Insert(*database, u"Tbl_SetUser", {std::int32_t{1}, u"名", u"号"});
    const Child session = Session(kFirstSlot, F_WRLCK);
    Await(session);
    EXPECT_EQ(ErrorOf([&] { database->CommitTransaction(); }), static_cast<std::int32_t>(ErrorNumber::FileInUse));
    EXPECT_TRUE(Rows(*database, u"Tbl_SetUser").empty());
}

// Neither comes in while the other has the database alone.
TEST_F(OtherEngineTest, AndOneWhoWantsTheDatabaseAlone) {
    {
        const Child session = Session(kFirstSlot + 3, F_WRLCK);
        Await(session);
        EXPECT_EQ(ErrorOf([&] { jet::Database::Open(File(), {.exclusive = true}); }),
                  static_cast<std::int32_t>(ErrorNumber::FileInUse));
    }
    const auto alone = jet::Database::Open(File(), {.exclusive = true});
    Insert(*alone, u"Tbl_SetUser", {std::int32_t{1}, u"名", u"号"});
    const Child session = Session(kFirstSlot, F_WRLCK);
    Report report{};
    EXPECT_FALSE(session.Next(report));
}

// It changes pages without any sign of it, and meanwhile one of them is torn for a moment.
TEST_F(OtherEngineTest, ChangesPagesUnderAReader) {
    constexpr std::size_t kPage = 4096;
    const auto without = ReadFile(File());
    {
        const auto database = jet::Database::Open(File());
        for (int i = 0; i < 3; ++i) Insert(*database, u"Tbl_SetUser", {std::int32_t{i}, u"名", u"号"});
    }
    const auto with = ReadFile(File());
    // Not page 0, by which our own engine would notice; with `broken` the data pages have no slot table that could be.
    const auto write = [&](const std::vector<std::uint8_t>& content, bool broken = false) {
        const int file = open(File().c_str(), O_RDWR);
        for (std::size_t at = kPage; at < content.size(); at += kPage) {
            std::vector<std::uint8_t> page(content.begin() + at, content.begin() + (at + kPage));
            if (broken && page[0] == 1) page[13] = 0x7F;
            EXPECT_EQ(pwrite(file, page.data(), kPage, static_cast<off_t>(at)), static_cast<ssize_t>(kPage));
        }
        close(file);
    };
    const Child session = Session(kFirstSlot, F_WRLCK);
    Await(session);
    const auto database = jet::Database::Open(File());
    const auto rows = [&] { return Rows(*database, u"Tbl_SetUser").size(); };
    for (int round = 0; round < 5; ++round) {
        write(without);
        EXPECT_EQ(rows(), 0U);
        write(with, true);
        std::thread mending([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            write(with);
        });
        EXPECT_EQ(rows(), 3U);
        mending.join();
    }
}

}  // namespace
}  // namespace qmtrain::test
