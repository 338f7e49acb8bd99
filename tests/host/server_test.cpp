// Practices whose records are on a database server that is not always there.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include "dao/odbc_server.h"
#include "host_fixture.h"
#include "records/server_tables.h"
#include "support/test_server.h"

namespace qmtrain::test {
namespace {

using namespace host;

class HostServerTest : public HostTest {
protected:
    void SetUp() override {
        server_ = TestServer::Get();
        if (server_ == nullptr) GTEST_SKIP() << TestServer::WhyNone();
        const std::u16string connect = server_->NewDatabase();
        server_->Psql(
            "DO $$ BEGIN IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'qmtrain_host') THEN CREATE ROLE "
            "qmtrain_host NOLOGIN; END IF; END $$");
        setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
        use_ = dao::Engine::Instance().GetOwnUse();
        dao::Engine::OwnUse use = use_;
        use.links.servers = true;
        dao::Engine::Instance().SetOwnUse(use);
        // The sample folder's rows go to the server, and links take their place.
        const auto owner = dao::ConnectTo(odbc::ConnectString(connect));
        MakeServerTables(*owner);
        const std::u16string file = ClientDatabase(data_.path);
        CopyToServer(*dao::JetDatabase::Open(file, {.read_only = true}), *owner,
                     [](std::u16string_view, std::int64_t) {});
        std::filesystem::remove(ToNativePath(file));
        LinkServerTables(*dao::JetDatabase::Create(file), connect);
    }
    void TearDown() override { dao::Engine::Instance().SetOwnUse(use_); }

    std::string Results(std::int32_t id) const {
        return server_->Psql("SELECT count(*), sum(\"AnswerScore\") FROM trainresult WHERE \"TrainID\" = " +
                             std::to_string(id));
    }
    std::string Training(std::int32_t id) const {
        return server_->Psql("SELECT \"EndDate\", \"UseTime\", \"Score\" FROM traininfo WHERE \"TrainID\" = " +
                             std::to_string(id));
    }

    // A practice that is not handed in yet; its number.
    std::int32_t LeaveAnswered() const {
        Practice practice(data_, MixedPaper(), Practice::Start{kCandidate});
        AnswerAll(practice);
        return practice.TrainID();
    }

    // In a process of its own.
    pid_t HandInElsewhere(std::int32_t id) const {
        const pid_t process = fork();
        if (process != 0) return process;
        Practice(data_, id).HandIn();
        _exit(0);
    }
    static void Kill(pid_t process) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }

    TestServer* server_ = nullptr;
    dao::Engine::OwnUse use_;
};

TEST_F(HostServerTest, APracticeThatIsHandedInWithoutTheServerIsRecordedOnceWhenItIsBack) {
    auto practice = std::make_unique<Practice>(data_, MixedPaper(), Practice::Start{kCandidate});
    const std::int32_t id = practice->TrainID();
    server_->Stop();
    AnswerAll(*practice);  // without the server
    practice->SecondsUsed(75);
    const Outcome outcome = practice->HandIn();
    EXPECT_FALSE(outcome.recorded);
    EXPECT_EQ(outcome.Score(), outcome.FullScore());
    practice.reset();

    const std::vector<UnfinishedPractice> waiting = UnfinishedOf(data_, kCandidate, -1);
    ASSERT_EQ(waiting.size(), 1U);
    EXPECT_TRUE(waiting[0].waiting);
    EXPECT_NE(waiting[0].Text().find(u"尚未上传"), std::u16string::npos);
    EXPECT_THROW(Practice(data_, id), AutomationError) << "it is over";
    EXPECT_EQ(UploadWaiting(data_).left, 1);

    server_->Start();
    EXPECT_EQ(UploadWaiting(data_).left, 0);
    const std::string results = Results(id);
    EXPECT_EQ(results, "5|100");
    const std::string training = Training(id);
    EXPECT_NE(training.find("|75|100"), std::string::npos) << training;
    EXPECT_TRUE(UnfinishedOf(data_, kCandidate, -1).empty());
    EXPECT_EQ(UploadWaiting(data_).left, 0);
    EXPECT_EQ(Results(id), results);
}

// The server had recorded it, but the answer was lost.
TEST_F(HostServerTest, WhatTheServerHasIsNotRecordedAgain) {
    Practice practice(data_, MixedPaper(), Practice::Start{kCandidate});
    const std::int32_t id = practice.TrainID();
    AnswerAll(practice);
    const std::filesystem::path host = ToNativePath(data_.Host());
    std::filesystem::copy_file(host, folder_.Path() / "before.mdb");
    EXPECT_TRUE(practice.HandIn().recorded);
    const std::string results = Results(id);
    const std::string training = Training(id);
    std::filesystem::copy_file(folder_.Path() / "before.mdb", host, std::filesystem::copy_options::overwrite_existing);
    dao::Connection(data_.Host())
        ->Execute(u"Insert Into Waiting (TrainID, EndDate, SecondsUsed) Values (" + ToText(id) + u", Now(), 3)");
    EXPECT_EQ(UploadWaiting(data_).left, 0);
    EXPECT_EQ(Results(id), results);
    EXPECT_EQ(Training(id), training);
    EXPECT_TRUE(UnfinishedOf(data_, kCandidate, -1).empty());
}

// A host that was killed while the server was about to commit its results, and the same practice handed in again.
TEST_F(HostServerTest, ACommitThatIsStillPendingIsWaitedFor) {
    server_->Psql(
        "CREATE FUNCTION pause() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN PERFORM pg_sleep(0.3); RETURN NULL; END "
        "$$; CREATE CONSTRAINT TRIGGER pause AFTER INSERT ON trainresult DEFERRABLE INITIALLY DEFERRED FOR EACH ROW "
        "EXECUTE FUNCTION pause()");
    const std::int32_t id = LeaveAnswered();
    const pid_t first = HandInElsewhere(id);
    const auto commits = [&] {
        return server_->Psql("SELECT count(*) FROM pg_stat_activity WHERE query = 'COMMIT' AND state = 'active'") ==
               "1";
    };
    for (int tries = 0; tries < 300 && !commits(); ++tries) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(commits());
    Kill(first);
    EXPECT_EQ(Results(id), "0|");
    EXPECT_TRUE(Practice(data_, id).HandIn().recorded);
    EXPECT_EQ(Results(id), "5|100");
}

TEST_F(HostServerTest, ResultsAreThereOnceWheneverTheServerIsKilled) {
    for (const int milliseconds : {5, 20, 40, 80}) {
        Practice practice(data_, MixedPaper(), Practice::Start{kCandidate});
        const std::int32_t id = practice.TrainID();
        AnswerAll(practice);
        std::thread killer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
            server_->Stop();
        });
        const bool recorded = practice.HandIn().recorded;
        killer.join();
        server_->Start();
        EXPECT_EQ(UploadWaiting(data_).left, 0) << milliseconds;
        EXPECT_EQ(Results(id), "5|100") << milliseconds << " ms, recorded: " << recorded;
        SettleHandedIn(data_);
        EXPECT_TRUE(UnfinishedOf(data_, kCandidate, -1).empty()) << milliseconds;
    }
}

// The next start hands in what the dead one had not, and records nothing again.
TEST_F(HostServerTest, ResultsAreThereOnceWheneverTheHostIsKilled) {
    constexpr int kStep = 7;  // milliseconds
    const int times = std::getenv("QMTRAIN_LONG") != nullptr ? 60 : 6;
    int unfinished = 0;
    for (int i = 0; i < times; ++i) {
        const std::int32_t id = LeaveAnswered();
        const pid_t child = HandInElsewhere(id);
        std::this_thread::sleep_for(std::chrono::milliseconds(20 + i % 20 * kStep));
        Kill(child);
        EXPECT_EQ(UploadWaiting(data_).left, 0);
        SettleHandedIn(data_);
        if (!UnfinishedOf(data_, kCandidate, -1).empty()) {
            ++unfinished;
            EXPECT_TRUE(Practice(data_, id).HandIn().recorded);
        }
        EXPECT_EQ(Results(id), "5|100") << i;
        EXPECT_TRUE(UnfinishedOf(data_, kCandidate, -1).empty()) << i;
    }
    EXPECT_GT(unfinished, 0) << "some were killed before the end";
}

}  // namespace
}  // namespace qmtrain::test
