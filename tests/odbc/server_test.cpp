// The client database on a server: how it gets there, and what becomes of records when the server dies.

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bank/client_folder.h"
#include "core/log.h"
#include "dao/odbc_server.h"
#include "odbc_fixture.h"
#include "records/create_client.h"
#include "records/server_tables.h"
#include "records/train_info.h"
#include "records/train_result.h"

namespace qmtrain::test {
namespace {

constexpr Date kStart{38454.5};

class ServerTest : public testing::Test {
protected:
    void SetUp() override {
        if (TestServer::Get() == nullptr) GTEST_SKIP() << TestServer::WhyNone();
        Use(*TestServer::Get());
        setenv("QMTRAININFO_PASSWORD", "student", 1);
        dao::Engine::OwnUse use = dao::Engine::Instance().GetOwnUse();
        use.links.servers = true;
        dao::Engine::Instance().SetOwnUse(use);
        SetComponentFolder(folder_.Path());
    }
    void TearDown() override { SetComponentFolder(ProgramFolder()); }

    void Use(TestServer& server) {
        server_ = &server;
        connect_ = server_->NewDatabase();
        // Candidates come as a user who has no more than the role's rights.
        server_->Psql(
            "DO $$ BEGIN IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'student') THEN "
            "CREATE ROLE qmtrain_host NOLOGIN; CREATE ROLE student LOGIN PASSWORD 'student' IN ROLE qmtrain_host; "
            "END IF; END $$");
    }

    std::unique_ptr<odbc::Connection> Owner() const { return odbc::Connection::Open(odbc::ConnectString(connect_)); }
    std::u16string Student() const { return server_->Connect(u"student", u"student"); }

    // A client database whose tables are on the server.
    std::u16string LinkedFolder() const {
        MakeServerTables(*Owner());
        const std::u16string folder = FromNativePath(folder_.Path());
        const auto client = dao::JetDatabase::Create(ClientDatabase(folder));
        LinkServerTables(*client, Student());
        return folder;
    }

    ScratchFolder folder_;
    TestServer* server_ = nullptr;
    std::u16string connect_;
};

class CopyTest : public ServerTest {
protected:
    static constexpr int kResults = 1234;

    void SetUp() override {
        ServerTest::SetUp();
        if (IsSkipped()) return;
        MakeServerTables(*Owner());
        CreateClientDatabase(FromNativePath(folder_.Path()), [](dao::Database& client) {
            client.Execute(
                u"INSERT INTO TrainInfo (UserId, SubjectCode, StartDate, Score) VALUES (7, 2, #2005-04-12 08:30:00#, "
                u"0.1)");
            client.Execute(u"INSERT INTO TrainInfo (UserId) VALUES (8)");
            client.Execute(u"DELETE FROM TrainInfo WHERE TrainID = 1");
            client.Execute(
                u"INSERT INTO TrainInfo (UserId, SubjectCode, StartDate, Score) VALUES (7, 2, #2005-04-12 08:30:00#, "
                u"0.1)");
            const auto results = client.OpenRecordset(u"TrainResult");
            for (int i = 0; i < kResults; ++i) {
                results->AddNew();
                results->Fields(u"TrainID").Value(std::int32_t{3});
                results->Fields(u"QuestionRecNo").Value(ToText(std::int64_t{i}));
                if (i % 3 > 0) results->Fields(u"Answer").Value(u"它's \\ {甲}\r\n;" + ToText(std::int64_t{i}));
                if (i % 5 > 0) results->Fields(u"AnswerScore").Value(static_cast<float>(i) / 3);
                results->Update();
            }
            client.Execute(u"INSERT INTO Notes (Name, IsShared, CreateDate) VALUES ('', True, #1899-12-30#)");
            client.Execute(u"INSERT INTO Tbl_SetUser VALUES (1, '王小明', Null)");
        });
        client_ = dao::JetDatabase::Open(ClientDatabase(FromNativePath(folder_.Path())), {.read_only = true});
    }

    void Copy() {
        const auto owner = Owner();
        CopyToServer(*client_, *owner, [](std::u16string_view, std::int64_t) {});
    }
    std::string Counts() const {
        return server_->Psql(
            "SELECT (SELECT count(*) FROM traininfo), (SELECT count(*) FROM trainresult), (SELECT count(*) FROM notes),"
            " (SELECT count(*) FROM tbl_setuser), (SELECT count(DISTINCT \"ResultID\") FROM trainresult)");
    }

    std::shared_ptr<dao::JetDatabase> client_;
};

TEST_F(CopyTest, BringsAllRowsOnceHoweverOftenItIsRun) {
    MakeServerTables(*Owner());
    Copy();
    EXPECT_EQ(Counts(), "2|1234|1|1|1234");
    EXPECT_EQ(server_->Psql("SELECT \"UserId\", \"Score\", \"StartDate\" FROM traininfo WHERE \"TrainID\" = 3"),
              "7|0.1|2005-04-12 08:30:00");
    Copy();
    EXPECT_EQ(Counts(), "2|1234|1|1|1234");
    // An attempt that was broken off.
    server_->Psql("DELETE FROM trainresult WHERE \"ResultID\" > 500; DELETE FROM tbl_setuser");
    Copy();
    EXPECT_EQ(Counts(), "2|1234|1|1|1234");
    server_->Psql("INSERT INTO traininfo (\"UserId\") VALUES (9)");
    EXPECT_EQ(server_->Psql("SELECT max(\"TrainID\") FROM traininfo"), "4") << "after those that were brought";
}

// An attempt may end between the last rows and the number of the next one.
TEST_F(CopyTest, NumbersGoOnAfterTheRowsWhereverItWasBrokenOff) {
    Copy();
    server_->Psql("SELECT setval('\"traininfo_TrainID_seq\"', 1, false), setval('\"trainresult_ResultID_seq\"', 1)");
    Copy();
    server_->Psql("INSERT INTO traininfo (\"UserId\") VALUES (9); INSERT INTO trainresult (\"TrainID\") VALUES (9)");
    EXPECT_EQ(server_->Psql("SELECT max(\"TrainID\") FROM traininfo"), "4");
    EXPECT_EQ(server_->Psql("SELECT max(\"ResultID\") FROM trainresult"), std::to_string(kResults + 1));
    // Numbers that have been given are not given again.
    server_->Psql("DELETE FROM traininfo WHERE \"TrainID\" = 4; DELETE FROM trainresult WHERE \"TrainID\" = 9");
    Copy();
    server_->Psql("INSERT INTO traininfo (\"UserId\") VALUES (9)");
    EXPECT_EQ(server_->Psql("SELECT max(\"TrainID\") FROM traininfo"), "5");
}

TEST_F(CopyTest, NumbersMayBeBelowOne) {
    const std::u16string folder = InFolder(FromNativePath(folder_.Path()), u"low");
    std::filesystem::create_directories(ToNativePath(folder));
    CreateClientDatabase(folder, [](dao::Database& client) {
        client.Execute(u"INSERT INTO TrainInfo (TrainID, UserId) VALUES (-5, 7)");
        client.Execute(u"INSERT INTO TrainInfo (TrainID, UserId) VALUES (0, 8)");
        client.Execute(u"INSERT INTO Tbl_SetUser VALUES (1, '王小明', Null)");
    });
    client_ = dao::JetDatabase::Open(ClientDatabase(folder), {.read_only = true});
    Copy();
    EXPECT_EQ(Counts(), "2|0|0|1|0");
    server_->Psql("INSERT INTO traininfo (\"UserId\") VALUES (9)");
    EXPECT_EQ(server_->Psql("SELECT min(\"TrainID\"), max(\"TrainID\") FROM traininfo"), "-5|1");
}

TEST_F(CopyTest, MixesWithNothingElse) {
    server_->Psql("INSERT INTO trainresult (\"TrainID\", \"QuestionRecNo\") VALUES (3, 'X')");
    EXPECT_NE(ErrorOf([&] { Copy(); }), 0);
    EXPECT_EQ(server_->Psql("SELECT count(*) FROM trainresult"), "1") << "nothing was added";
    server_->Psql("DELETE FROM trainresult");
    Copy();
    server_->Psql("UPDATE trainresult SET \"Answer\" = 'x' WHERE \"ResultID\" = 1000");
    EXPECT_NE(ErrorOf([&] { Copy(); }), 0);
}

TEST_F(ServerTest, LinksAreMadeAnewAndGiveTheRightsOfHostsAlone) {
    const std::u16string folder = LinkedFolder();
    {
        const auto client = dao::JetDatabase::Open(ClientDatabase(folder));
        LinkServerTables(*client, Student());
        EXPECT_EQ(client->TableDefs().size() - 7U,
                  dao::JetDatabase::Create(FromNativePath(folder_.Path() / "a.mdb"))->TableDefs().size());
    }
    const auto student = odbc::Connection::Open(odbc::ConnectString(Student()));
    for (const char16_t* sql : {u"CREATE TABLE public.mine (a integer)", u"DROP TABLE public.traininfo",
                                u"TRUNCATE public.trainresult", u"SELECT * FROM pg_authid"}) {
        EXPECT_NE(ErrorOf([&] { student->Execute(sql); }), 0) << ToUtf8(sql);
    }
    TrainInfo train;
    train.ClientPath(folder);
    std::u16string problem;
    ASSERT_TRUE(train.Init(problem));
    EXPECT_EQ(train.AddNewTrain(kStart, 7, 1, 0, 2), 1);
}

// What has returned, and must be there.
struct Said {
    std::map<std::int32_t, std::pair<int, int>> trainings;  // candidate and count, by number
    std::set<std::string> added;
    std::set<std::string> changed;

    void Check(const TestServer& server) const {
        std::map<std::string, int> rows;
        std::map<std::string, int> all;
        std::istringstream lines(server.Psql("SELECT \"QuestionRecNo\", \"StudentAnswer\" FROM trainresult"));
        for (std::string line; std::getline(lines, line);) {
            ++rows[line];
            ++all[line.substr(0, line.find('|'))];
        }
        for (const auto& [rec_no, count] : all) EXPECT_EQ(count, 1) << rec_no << " is there twice";
        for (const std::string& rec_no : added) EXPECT_EQ(all[rec_no], 1) << rec_no;
        for (const std::string& rec_no : changed) EXPECT_EQ(rows[rec_no + "|甲"], 1) << rec_no;
        std::istringstream numbers(server.Psql("SELECT \"TrainID\", \"UserId\", \"TheoryNo\" FROM traininfo"));
        std::map<std::int32_t, std::pair<int, int>> there;
        char bar = 0;
        for (std::int32_t id = 0, user = 0, n = 0; numbers >> id >> bar >> user >> bar >> n;) there[id] = {user, n};
        for (const auto& [id, whose] : trainings) EXPECT_EQ(there[id], whose) << id;
    }
};

// Candidates record while the server is killed and started again: what was said to be recorded is there, once.
class StormTest : public ServerTest {
protected:
    static constexpr int kCandidates = 6;
    static constexpr std::chrono::milliseconds kBefore{1500};

    // Each candidate goes on until it has had some successes after the `interruption`, and tells what has succeeded.
    void Storm(const std::u16string& folder, const std::function<void()>& interruption) {
        std::atomic<bool> over = false;
        std::vector<std::thread> candidates;
        for (int i = 0; i < kCandidates; ++i) {
            candidates.emplace_back([&, i] {
                constexpr int kAfter = 5;
                TrainInfo train;
                TrainResult result;
                train.ClientPath(folder);
                result.ClientPath(folder);
                std::u16string problem;
                train.Init(problem);
                const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
                int after = 0;
                for (int n = 0; after < kAfter && std::chrono::steady_clock::now() < end; ++n) {
                    const bool was_over = over;
                    const std::int32_t id = train.AddNewTrain(kStart, i, n, 0, 2);
                    const std::u16string rec_no = ToText(std::int64_t{i}) + u"-" + ToText(std::int64_t{n});
                    const bool added = id != -1 && result.Add(id, 1, u"B", rec_no, 2, 0, u"A", u"", u"", 1, 1, n);
                    const bool changed = added && result.Update(id, u"B", rec_no, 1, u"甲", u"", u"");
                    const std::scoped_lock lock(mutex_);
                    if (id != -1) said_.trainings[id] = {i, n};
                    if (added) said_.added.insert(ToUtf8(rec_no));
                    if (changed) said_.changed.insert(ToUtf8(rec_no));
                    if (changed && was_over) ++after;
                    if (id != -1 && !was_over) ++before_;
                }
                const std::scoped_lock lock(mutex_);
                finished_ += after == kAfter ? 1 : 0;
            });
        }
        std::this_thread::sleep_for(kBefore);
        interruption();
        over = true;
        for (std::thread& candidate : candidates) candidate.join();
        EXPECT_EQ(finished_, kCandidates) << "objects work again when the server is back";
        EXPECT_GT(before_, kCandidates);
    }

    std::mutex mutex_;
    Said said_;
    int before_ = 0;
    int finished_ = 0;
};

TEST_F(StormTest, NothingIsLostOrDoubledWhenTheServerIsKilled) {
    const std::u16string folder = LinkedFolder();
    Storm(folder, [&] {
        server_->Stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        server_->Start();
    });
    said_.Check(*server_);
}

TEST_F(StormTest, GoesOnWithTheStandbyWhenThePrimaryIsKilled) {
    if (std::getenv("QMTRAIN_LONG") == nullptr) GTEST_SKIP() << "a long test";
    const auto primary = TestServer::Another();
    ASSERT_NE(primary, nullptr) << TestServer::WhyNone();
    Use(*primary);
    MakeServerTables(*Owner());
    const auto standby = server_->Follow();
    const std::u16string folder = FromNativePath(folder_.Path());
    odbc::ConnectString both(Student());
    both.Set(u"SERVER", u"127.0.0.1,127.0.0.1");
    both.Set(u"PORT", ToText(std::int64_t{server_->Port()}) + u"," + ToText(std::int64_t{standby->Port()}));
    both.Set(u"Pqopt", u"target_session_attrs=read-write tcp_user_timeout=15000");
    {
        const auto client = dao::JetDatabase::Create(ClientDatabase(folder));
        LinkServerTables(*client, u"ODBC;" + both.Text());
    }
    Storm(folder, [&] {
        server_->Stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        standby->Promote();
    });
    said_.Check(*standby);
}

// Candidates in processes of their own, who say what has returned before they go on, and are killed whatever they do.
class KilledHostTest : public ServerTest {
protected:
    static constexpr int kCandidates = 3;

    pid_t Start(const std::u16string& folder, int candidate) const {
        const pid_t child = fork();
        if (child != 0) return child;
        const int said = open((folder_.Path() / "said").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        const auto say = [&](const std::string& line) {
            if (write(said, line.data(), line.size()) < 0) _exit(1);
        };
        TrainInfo train;
        TrainResult result;
        train.ClientPath(folder);
        result.ClientPath(folder);
        std::u16string problem;
        train.Init(problem);
        for (int n = 0;; ++n) {
            const std::int32_t id = train.AddNewTrain(kStart, candidate, n, 0, 2);
            if (id == -1) continue;
            const std::string rec_no = std::to_string(candidate) + "-" + std::to_string(n);
            const std::u16string wide = FromUtf8(rec_no);
            say("t " + std::to_string(id) + " " + std::to_string(candidate) + " " + std::to_string(n) + "\n");
            if (!result.Add(id, 1, u"B", wide, 2, 0, u"A", u"", u"", 1, 1, n)) continue;
            say("a " + rec_no + "\n");
            if (result.Update(id, u"B", wide, 1, u"甲", u"", u"")) say("c " + rec_no + "\n");
        }
    }

    Said WhatWasSaid() const {
        Said all;
        std::ifstream lines(folder_.Path() / "said");
        for (char kind = 0; lines >> kind;) {
            std::string rec_no;
            std::int32_t id = 0;
            if (kind == 't') {
                lines >> id;
                lines >> all.trainings[id].first >> all.trainings[id].second;
            } else if (lines >> rec_no) {
                (kind == 'a' ? all.added : all.changed).insert(rec_no);
            }
        }
        return all;
    }
};

TEST_F(KilledHostTest, WhatHasReturnedIsThereOnce) {
    const std::u16string folder = LinkedFolder();
    const int rounds = std::getenv("QMTRAIN_LONG") != nullptr ? 200 : 8;
    constexpr int kServerToo = 4;  // each fourth time
    std::minstd_rand random(20051224);
    for (int round = 0; round < rounds; ++round) {
        std::vector<pid_t> children;
        for (int i = 0; i < kCandidates; ++i) children.push_back(Start(folder, round * kCandidates + i));
        std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution<>(100, 500)(random)));
        if (round % kServerToo == kServerToo - 1) {
            server_->Stop();
            server_->Start();
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
        for (const pid_t child : children) kill(child, SIGKILL);
        for (const pid_t child : children) waitpid(child, nullptr, 0);
    }
    const Said said = WhatWasSaid();
    EXPECT_GT(said.changed.size(), static_cast<std::size_t>(rounds)) << "they had time to record";
    said.Check(*server_);
    // Nothing that the dead held keeps others waiting.
    TrainInfo train;
    train.ClientPath(folder);
    std::u16string problem;
    ASSERT_TRUE(train.Init(problem));
    EXPECT_NE(train.AddNewTrain(kStart, 1, 1, 0, 2), -1);
}

TEST_F(ServerTest, TlsIsTakenWithACertificateOfTheRightAuthority) {
    const auto own = TestServer::Another();
    ASSERT_NE(own, nullptr) << TestServer::WhyNone();
    Use(*own);
    const std::string authority = own->UseTls();
    const auto problem = [&](std::u16string_view host, std::u16string_view mode, const std::string& root) {
        odbc::ConnectString connect(connect_);
        connect.Set(u"SERVER", host);
        connect.Set(u"SSLmode", mode);
        connect.Set(u"Pqopt", u"sslrootcert=" + FromUtf8(root));
        const AutomationError error = RaisedBy([&] { (void)odbc::Connection::Open(connect)->Execute(u"SELECT 1"); });
        return error.Number() == 0 ? std::string() : std::string(error.what());
    };
    for (int tries = 0; tries < 50 && !problem(u"localhost", u"verify-full", authority).empty(); ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));  // it is reading its settings
    EXPECT_EQ(problem(u"localhost", u"verify-full", authority), "");
    EXPECT_NE(problem(u"127.0.0.1", u"verify-full", authority).find("localhost"), std::string::npos) << "another name";
    EXPECT_EQ(problem(u"127.0.0.1", u"verify-ca", authority), "");
    EXPECT_NE(problem(u"localhost", u"verify-full", "/etc/ssl/certs/ca-certificates.crt"), "") << "another authority";
    EXPECT_NE(problem(u"localhost", u"disable", authority), "");
    const std::string said = problem(u"127.0.0.1", u"verify-full", authority);
    EXPECT_EQ(said.find("secret"), std::string::npos);
}

}  // namespace
}  // namespace qmtrain::test
