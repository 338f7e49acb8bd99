// What stands on a server after transactions, their levels, and those who cancel: what was reported, and nothing else.

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "odbc/connection.h"
#include "odbc_fixture.h"

namespace qmtrain::test {
namespace {

using Number = ErrorNumber;
constexpr int N(Number number) {
    return static_cast<int>(number);
}

class TransactionTest : public OdbcTest {
protected:
    void SetUp() override {
        setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
        OdbcTest::SetUp();
        if (!IsSkipped()) MakeTable("mark", "id integer PRIMARY KEY, v integer");
    }

    static std::u16string Adding(int id) {
        return u"INSERT INTO mark (id, v) VALUES (" + ToText(std::int64_t{id}) + u", 0)";
    }

    std::set<int> Ids() const {
        std::istringstream lines(server_->Psql("SELECT id FROM mark"));
        std::set<int> ids;
        for (int id = 0; lines >> id;) ids.insert(id);
        return ids;
    }

    // Cancels now and then what the database does, until it is let go.
    class Canceller {
    public:
        explicit Canceller(dao::JetDatabase& database)
            : thread_([this, &database] {
                  std::minstd_rand random(7);
                  while (!stop_) {
                      std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
                      database.Cancel();
                  }
              }) {}
        Canceller(const Canceller&) = delete;
        Canceller& operator=(const Canceller&) = delete;
        ~Canceller() {
            stop_ = true;
            thread_.join();
        }

    private:
        std::atomic<bool> stop_ = false;
        std::thread thread_;
    };
};

// Statements that succeed, fail at their end or cannot be read, between levels that are kept or undone.
TEST_F(TransactionTest, LevelsAreKeptOrUndoneWhateverFailsInThem) {
    const auto connection = odbc::Connection::Open(odbc::ConnectString(server_->Connect()));
    connection->Execute(Adding(0));
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        std::minstd_rand random(seed);
        std::vector<std::set<int>> levels{{0}};  // what each began with
        std::set<int> ids{0};
        int next = 1;
        connection->Begin(seed % 3 == 0);
        for (int step = 0; step < 60; ++step) {
            switch (random() % 8) {
                case 0:
                    EXPECT_EQ(ErrorOf([&] { connection->Execute(u"INSERT INTO mark VALUES ("); }),
                              N(Number::OdbcCallFailed));
                    break;
                case 1: EXPECT_EQ(ErrorOf([&] { connection->Execute(Adding(0)); }), N(Number::DuplicateKey)); break;
                case 2:
                    connection->OpenLevel();
                    levels.push_back(ids);
                    break;
                case 3: {
                    levels.resize(random() % levels.size() + 1);
                    connection->MergeLevels(levels.size() - 1);
                    break;
                }
                case 4: {
                    const std::size_t left = random() % levels.size();
                    if (left + 1 < levels.size()) ids = levels[left + 1];
                    connection->UndoLevels(left);
                    levels.resize(left + 1);
                    break;
                }
                default: connection->Execute(Adding(next)); ids.insert(next++);
            }
        }
        connection->Commit();
        ASSERT_EQ(Ids(), ids);
        server_->Psql("DELETE FROM mark WHERE id > 0");
    }
}

// Each that the server still had would hold a lock in the memory that all its users share.
TEST_F(TransactionTest, LevelsThatHaveEndedAreGoneFromTheServer) {
    dao::Engine::Instance().BeginTrans();
    for (int id = 1; id <= 200; ++id) database_->Atomically([&] { database_->Execute(Adding(id)); });
    EXPECT_LT(std::stoi(server_->Psql("SELECT count(*) FROM pg_locks WHERE locktype = 'transactionid'")), 6);
    dao::Engine::Instance().CommitTrans();
    EXPECT_EQ(Ids().size(), 200U);
}

TEST_F(TransactionTest, ThreadsOfOneDatabaseDoNotMixTheirChanges) {
    std::atomic<int> next = 1;
    std::mutex mutex;
    std::set<int> done;
    const auto work = [&](unsigned seed) {
        std::minstd_rand random(seed);
        for (int i = 0; i < 60; ++i) {
            const int id = next++;
            const bool fails = random() % 2 == 0;
            const int error = ErrorOf([&] {
                database_->Atomically([&] {
                    database_->Execute(Adding(id));
                    if (fails) Raise(Number::InvalidArgument);
                });
            });
            EXPECT_EQ(error, fails ? N(Number::InvalidArgument) : 0);
            const std::scoped_lock lock(mutex);
            if (!fails) done.insert(id);
        }
    };
    std::thread other(work, 1);
    work(2);
    other.join();
    EXPECT_EQ(Ids(), done);
}

TEST_F(TransactionTest, WhatIsCancelledHasNotHappenedAndTheRestHas) {
    dao::Engine& engine = dao::Engine::Instance();
    for (const bool in_transaction : {false, true}) {
        SCOPED_TRACE(in_transaction);
        std::set<int> done;
        int cancelled = 0;
        const int first = in_transaction ? 1000 : 0;
        {
            const Canceller canceller(*database_);
            if (in_transaction) engine.BeginTrans();
            for (int id = first; id < first + 600; ++id) {
                const int error = ErrorOf([&] { database_->Execute(Adding(id)); });
                if (error == 0) done.insert(id);
                cancelled += error == N(Number::OperationCancelled) ? 1 : 0;
                EXPECT_TRUE(error == 0 || error == N(Number::OperationCancelled)) << error;
            }
        }
        if (in_transaction) engine.CommitTrans();
        EXPECT_EQ(Ids(), done) << cancelled << " were cancelled";
        server_->Psql("DELETE FROM mark");
    }
}

// What a statement that fails takes back is not the limit of those that follow.
TEST_F(TransactionTest, ALimitOutlivesAStatementThatFails) {
    const auto connection = odbc::Connection::Open(odbc::ConnectString(server_->Connect()));
    struct Case {
        int first;  // seconds
        int then;
        int error;
    };
    for (const Case& c : {Case{0, 1, N(Number::OperationCancelled)}, Case{1, 0, 0}}) {
        SCOPED_TRACE(c.first);
        connection->TimeLimit(std::chrono::seconds(c.first));
        connection->Begin();
        connection->Execute(Adding(1));
        connection->TimeLimit(std::chrono::seconds(c.then));
        EXPECT_EQ(ErrorOf([&] { connection->Execute(Adding(1)); }), N(Number::DuplicateKey));
        EXPECT_EQ(ErrorOf([&] { connection->Execute(u"SELECT pg_sleep(2)"); }), c.error);
        connection->Execute(Adding(2));
        connection->Commit();
        EXPECT_EQ(Ids().size(), 2U);
        server_->Psql("DELETE FROM mark");
    }
}

// Behind a pool of connections the next one to get the server's process would have it, too.
TEST_F(TransactionTest, ALimitIsThatOfItsStatementsAlone) {
    const auto connection = odbc::Connection::Open(odbc::ConnectString(server_->Connect()));
    const auto shown = [&] {
        const auto rows = connection->Query(u"SHOW statement_timeout");
        Value value;
        if (rows->Next()) rows->Read(0, ColumnType::Text, value);
        return value.IsText() ? value.Text() : u"";
    };
    connection->Execute(u"SET statement_timeout = '7s'");
    for (const bool in_transaction : {false, true}) {
        if (in_transaction) connection->Begin();
        connection->TimeLimit(std::chrono::seconds(3));
        EXPECT_EQ(shown(), u"3s");
        connection->TimeLimit({});
        EXPECT_EQ(shown(), in_transaction ? u"0" : u"7s");
        if (in_transaction) connection->Commit();
    }
    EXPECT_EQ(shown(), u"7s");
}

// What the second one would refuse, the first one must not have committed.
TEST_F(TransactionTest, TwoServersCommitBothOrNeither) {
    const std::u16string second = server_->NewDatabase();
    server_->Psql(
        "CREATE TABLE own (id integer PRIMARY KEY); CREATE TABLE held (id integer PRIMARY KEY, own integer REFERENCES "
        "own DEFERRABLE INITIALLY DEFERRED); ALTER TABLE own OWNER TO exam; ALTER TABLE held OWNER TO exam; INSERT "
        "INTO own VALUES (1)");
    database_->CreateTableDef(u"held", second, u"public.held");
    database_->Execute(u"CREATE TABLE here (id LONG)");
    struct Case {
        const char* name;
        const char16_t* held;  // row of the second server
        bool kill;
        int error;
        const char16_t* says;
    };
    const Case cases[] = {
        {"both can", u"(1, 1)", false, 0, u""},
        {"a constraint that waits for the commit", u"(2, 9)", false, N(Number::RelatedRecordRequired), u"“held”"},
        {"a connection that is lost", u"(3, 1)", true, N(Number::OdbcConnectionFailed), u"127.0.0.1"},
    };
    dao::Engine& engine = dao::Engine::Instance();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const int id = static_cast<int>(&c - cases);
        engine.BeginTrans();
        database_->Execute(Adding(id));
        database_->Execute(std::u16string(u"INSERT INTO held VALUES ") + c.held);
        database_->Execute(u"INSERT INTO here VALUES (1)");
        if (c.kill) {
            server_->Psql(
                "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'exam' AND datname = "
                "current_database()");
        }
        std::u16string said;
        try {
            engine.CommitTrans();
        } catch (const AutomationError& error) {
            EXPECT_EQ(error.Number(), c.error);
            said = error.Description();
        }
        EXPECT_NE(said.find(c.says), said.npos) << ToUtf8(said);
        EXPECT_EQ(said.empty(), c.error == 0);
        EXPECT_EQ(Column(u"SELECT Count(*) AS n FROM mark", u"n"), u"1");
        EXPECT_EQ(server_->Psql("SELECT count(*) FROM held"), "1");
        EXPECT_EQ(Column(u"SELECT Count(*) AS n FROM here", u"n"), u"1");
    }
}

// Which server commits first is which was changed first. Between them somebody else's change may make the second one
// fail: then the first one's must not be made a second time.
TEST_F(TransactionTest, WhatOneServerHasCommittedIsNotTriedAgain) {
    const std::u16string second = server_->NewDatabase();
    server_->Psql(
        "CREATE TABLE duty (id integer PRIMARY KEY, on_call boolean); ALTER TABLE duty OWNER TO exam; INSERT INTO duty "
        "VALUES (1, true), (2, true)");
    database_->CreateTableDef(u"duty", second, u"public.duty");
    struct Case {
        const char* name;
        bool change_first;
        int error;
        int times;
        const char16_t* says;
    };
    const Case cases[] = {
        {"both are changed", true, N(Number::OdbcCallFailed), 1, u"其他服务器上的更改在此之前已提交。"},
        {"the first is only read, and it is tried again", false, 0, 2, u""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        int times = 0;
        std::u16string said;
        try {
            database_->Atomically([&] {
                if (++times > 3) throw std::runtime_error("tried again");
                if (c.change_first)
                    database_->Execute(Adding(times));
                else
                    database_->OpenRecordset(u"SELECT * FROM mark");
                database_->OpenRecordset(u"SELECT * FROM duty WHERE id = 2");
                database_->Execute(u"UPDATE duty SET on_call = False WHERE id = 1");
                if (times > 1) return;
                server_->Psql(
                    "BEGIN ISOLATION LEVEL SERIALIZABLE; SELECT * FROM duty WHERE id = 1; UPDATE duty SET on_call = "
                    "NOT on_call WHERE id = 2; COMMIT");
            });
        } catch (const AutomationError& error) {
            EXPECT_EQ(error.Number(), c.error);
            said = error.Description();
        }
        EXPECT_EQ(said.empty(), c.error == 0) << ToUtf8(said);
        EXPECT_NE(said.find(c.says), said.npos) << ToUtf8(said);
        EXPECT_EQ(times, c.times);
        EXPECT_EQ(database_->OpenRecordset(u"SELECT * FROM mark")->RecordCount(), 1);
    }
}

// The answer to a commit that does not come: it may have been done.
TEST_F(TransactionTest, WhenTheAnswerToACommitIsLostNobodyKnows) {
    server_->Psql(
        "CREATE FUNCTION leave() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN IF NEW.v = 1 THEN PERFORM "
        "pg_terminate_backend(pg_backend_pid()); PERFORM pg_sleep(1); ELSE RAISE 'result is ambiguous' USING ERRCODE = "
        "'40003'; END IF; RETURN NULL; END $$; CREATE CONSTRAINT TRIGGER leave AFTER INSERT ON mark DEFERRABLE "
        "INITIALLY DEFERRED FOR EACH ROW EXECUTE FUNCTION leave()");
    const std::u16string ended = u"INSERT INTO mark VALUES (1, 1)";
    const std::u16string unclear = u"INSERT INTO mark VALUES (2, 2)";
    int times = 0;
    const auto change = [&] {
        ++times;
        database_->Execute(unclear);
    };
    EXPECT_EQ(ErrorOf([&] { database_->Atomically(change); }), N(Number::OdbcConnectionFailed));
    EXPECT_EQ(times, 1) << "it may stand";
    database_->Execute(u"CREATE TABLE here (id LONG)");
    dao::Engine& engine = dao::Engine::Instance();
    const auto in_transaction = [&](const std::u16string& insert, bool in_file) {
        engine.BeginTrans();
        database_->Execute(insert);
        if (in_file) database_->Execute(u"INSERT INTO here VALUES (1)");
        engine.CommitTrans();
    };
    struct Case {
        const char* name;
        std::function<void()> change;
        const char16_t* says;
        bool others;
    };
    const Case cases[] = {
        {"the connection ends", [&] { in_transaction(ended, false); }, u"不知道事务是否已提交", false},
        {"the server says that it does not know", [&] { in_transaction(unclear, false); }, u"不知道事务是否已提交",
         false},
        {"a file takes part", [&] { in_transaction(ended, true); }, u"不知道事务是否已提交", true},
        {"no transaction", [&] { database_->Execute(ended); }, u"不知道服务器是否已执行", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::u16string said;
        try {
            c.change();
        } catch (const AutomationError& error) {
            EXPECT_EQ(error.Number(), N(Number::OdbcConnectionFailed));
            said = error.Description();
        }
        EXPECT_NE(said.find(c.says), said.npos) << ToUtf8(said);
        EXPECT_EQ(said.find(u"其余的更改都已撤消") != said.npos, c.others) << ToUtf8(said);
        EXPECT_EQ(Column(u"SELECT Count(*) AS n FROM here", u"n"), u"0");
    }
    EXPECT_EQ(Ids().size(), 0U);
}

// The server cannot know that who waits and who is waited for are one.
TEST_F(TransactionTest, ALockIsNotWaitedForWithoutEnd) {
    database_->Execute(Adding(1));
    database_->CreateTableDef(u"same", connect_ + u";KeepaliveTime=31", u"public.mark");
    dao::Engine::Instance().BeginTrans();
    database_->Execute(u"UPDATE mark SET v = 1 WHERE id = 1");
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"UPDATE same SET v = 2 WHERE id = 1"); }), N(Number::LockedByOther));
    dao::Engine::Instance().CommitTrans();
    EXPECT_EQ(server_->Psql("SELECT v FROM mark"), "1");
}

// A server that has stopped, and a user who does not want to wait for it. Nobody knows then what becomes of a commit.
TEST_F(TransactionTest, CancelEndsAWaitForTheEndOfATransaction) {
    dao::Engine& engine = dao::Engine::Instance();
    struct Case {
        const char* name;
        std::function<void()> end;
        int error;
    };
    const Case cases[] = {
        {"commit", [&] { engine.CommitTrans(); }, N(Number::OdbcConnectionFailed)},
        {"rollback", [&] { engine.Rollback(); }, 0},
        {"close", [&] { database_->Close(), engine.Rollback(); }, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        engine.BeginTrans();
        database_->Execute(Adding(static_cast<int>(&c - cases)));
        const int process = std::stoi(
            server_->Psql("SELECT pid FROM pg_stat_activity WHERE usename = 'exam' AND state LIKE 'idle in%'"));
        kill(process, SIGSTOP);
        const auto begin = std::chrono::steady_clock::now();
        std::thread canceller([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            database_->Cancel();
        });
        EXPECT_EQ(ErrorOf(c.end), c.error);
        canceller.join();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));
        kill(process, SIGCONT);
    }
    database_ = Open();
}

}  // namespace
}  // namespace qmtrain::test
