// Candidates who record their practices on a database server all at once, through the classes and by programs that send
// the same statements themselves; and the summary of all trainings against psql.

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include <libpq-fe.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bank/client_folder.h"
#include "core/files.h"
#include "core/log.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "jet/database.h"
#include "measure.h"
#include "odbc/pool.h"
#include "records/server_tables.h"
#include "records/summary_query.h"
#include "records/train_info.h"
#include "records/train_result.h"
#include "support/test_server.h"

namespace {

using namespace qmtrain;
using test::TestServer;
namespace fs = std::filesystem;

int processes = 200;  // each candidate has one, and a connection
int threads_each = 1;
constexpr int kQuestions = 60;
constexpr Date kStart{38454.5};
constexpr Date kEnd{38454.55};
constexpr int kResults = 2'000'000;

void Require(bool succeeded) {
    if (!succeeded) throw std::runtime_error("the work was not done");
}

std::string Number(int number) {
    return std::to_string(number);
}
std::string RecNo(int question) {
    return "0102" + Number(1000 + question);
}

// The milliseconds of each operation.
using Times = std::vector<double>;

class Stopwatch {
public:
    explicit Stopwatch(Times& times) : times_(times) {}
    template <class Body>
    void operator()(Body body) {
        times_.push_back(1000 * bench::Seconds(body));
    }

private:
    Times& times_;
};

void RecordByClasses(const std::u16string& folder, int user, Times& times) {
    Stopwatch timed(times);
    TrainInfo train;
    TrainResult results;
    train.ClientPath(folder);
    results.ClientPath(folder);
    std::u16string problem;
    Require(train.Init(problem));
    std::int32_t id = -1;
    timed([&] { id = train.AddNewTrain(kStart, user, 1, 0, 2); });
    Require(id != -1);
    for (int i = 0; i < kQuestions; ++i) {
        const std::u16string rec_no = FromUtf8(RecNo(i));
        timed([&] { Require(results.Add(id, 1, u"NCRE2VB", rec_no, 2, 0, u"A", u"", u"", 1, 1, i)); });
    }
    timed([&] { Require(train.Update(id, kEnd, 60)); });
    for (int i = 0; i < kQuestions; ++i) {
        const std::u16string rec_no = FromUtf8(RecNo(i));
        timed([&] { Require(results.Update(id, u"NCRE2VB", rec_no, 1.5F, u"B", u"错误信息", u"<err/>")); });
    }
}

struct EndConnection {
    void operator()(PGconn* connection) const { PQfinish(connection); }
};

// Another program's connection.
class Peer {
public:
    virtual ~Peer() = default;

    // Returns a column of the first row. "$1" and so on in the statement stand for the values.
    virtual std::string Ask(const std::string& statement, const std::vector<std::string>& values = {},
                            int column = 0) = 0;
};

std::string WithValues(const std::string& statement, const std::vector<std::string>& values) {
    std::string whole;
    for (std::size_t at = 0; at < statement.size(); ++at) {
        if (statement[at] != '$') {
            whole += statement[at];
            continue;
        }
        std::size_t number = 0;
        for (; at + 1 < statement.size() && std::isdigit(statement[at + 1]) != 0; ++at)
            number = number * 10 + static_cast<std::size_t>(statement[at + 1] - '0');
        whole += "'" + values[number - 1] + "'";
    }
    return whole;
}

class LibpqPeer : public Peer {
public:
    // `prepares`: each statement once, and from then on its values are all that is sent.
    LibpqPeer(const std::string& place, bool prepares) : connection_(PQconnectdb(place.c_str())), prepares_(prepares) {
        Require(PQstatus(connection_.get()) == CONNECTION_OK);
    }

    std::string Ask(const std::string& statement, const std::vector<std::string>& values, int column) override {
        if (!prepares_ || values.empty())
            return Take(PQexec(connection_.get(), WithValues(statement, values).c_str()), column);
        const auto [known, added] = names_.try_emplace(statement, "s" + std::to_string(names_.size()));
        const char* name = known->second.c_str();
        if (added) Take(PQprepare(connection_.get(), name, statement.c_str(), 0, nullptr), column);
        std::vector<const char*> texts;
        for (const std::string& value : values) texts.push_back(value.c_str());
        return Take(
            PQexecPrepared(connection_.get(), name, static_cast<int>(texts.size()), texts.data(), nullptr, nullptr, 0),
            column);
    }

private:
    std::string Take(PGresult* result, int column) {
        const ExecStatusType status = PQresultStatus(result);
        std::string value = PQntuples(result) > 0 ? PQgetvalue(result, 0, column) : "";
        PQclear(result);
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
            throw std::runtime_error(PQerrorMessage(connection_.get()));
        return value;
    }

    std::unique_ptr<PGconn, EndConnection> connection_;
    bool prepares_;
    std::unordered_map<std::string, std::string> names_;
};

// What the driver itself takes.
class OdbcPeer : public Peer {
public:
    explicit OdbcPeer(const std::u16string& connect)
        : connection_(odbc::Connection::Open(odbc::ConnectString(connect), std::chrono::seconds(60))) {}

    std::string Ask(const std::string& statement, const std::vector<std::string>& values, int column) override {
        const std::u16string sql = FromUtf8(WithValues(statement, values));
        if (!statement.starts_with("SELECT") && !statement.starts_with("INSERT")) {
            connection_->Execute(sql);
            return {};
        }
        const auto rows = connection_->Query(sql);
        Value value;
        if (!rows->Next()) return {};
        for (int i = 0; i <= column; ++i) rows->Read(i, ColumnType::Memo, value);
        return ToUtf8(value.Text());
    }

private:
    std::unique_ptr<odbc::Connection> connection_;
};

constexpr const char* kTrainings =
    "SELECT \"TrainID\", \"UserId\", \"SubjectCode\", \"StartDate\"::text, \"EndDate\"::text, \"UseTime\", "
    "\"TheoryNo\", "
    "\"OperationNo\", \"AnswerScore\", \"Score\" FROM public.traininfo AS t0 ";
constexpr const char* kRows =
    "SELECT \"TrainID\", \"QuestionType\", \"DataCode\", \"QuestionRecNo\", \"QuestionScore\", \"AnswerScore\", "
    "\"Answer\", \"StudentAnswer\", \"ErrInfo\", \"ErrInfoXml\", \"Distin\", \"Difficult\", \"QuestionNo\", "
    "\"ResultID\" FROM public.trainresult AS t0 ";

// The statements that RecordByClasses has been seen to send.
void RecordByPeer(const std::function<std::unique_ptr<Peer>()>& connect, int user, Times& times) {
    Stopwatch timed(times);
    std::unique_ptr<Peer> peer;
    std::string id;
    timed([&] {
        peer = connect();
        peer->Ask("BEGIN ISOLATION LEVEL REPEATABLE READ");
        peer->Ask(
            "INSERT INTO public.traininfo (\"UserId\", \"SubjectCode\", \"StartDate\", \"TheoryNo\", \"OperationNo\") "
            "VALUES ($1, $2, $3, $4, $5) RETURNING \"TrainID\"",
            {Number(user), "2", "2005-04-12 12:00:00", "1", "0"});
        id = peer->Ask("SELECT * FROM (" + std::string(kTrainings) +
                       "ORDER BY t0.\"TrainID\" DESC FETCH FIRST 1 ROWS WITH TIES) AS rows LIMIT 2001");
        peer->Ask("COMMIT");
    });
    for (int i = 0; i < kQuestions; ++i) {
        timed([&] {
            peer->Ask(
                "INSERT INTO public.trainresult (\"TrainID\", \"QuestionType\", \"DataCode\", \"QuestionRecNo\", "
                "\"QuestionScore\", \"AnswerScore\", \"Answer\", \"ErrInfo\", \"ErrInfoXml\", \"Distin\", "
                "\"Difficult\", \"QuestionNo\") VALUES ($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, $11, $12) "
                "RETURNING \"ResultID\"",
                {id, "1", "NCRE2VB", RecNo(i), "2", "0", "A", "", "", "1", "1", Number(i)});
        });
    }
    timed([&] {
        peer->Ask(kTrainings + std::string("WHERE (t0.\"TrainID\" = $1) LIMIT 2001"), {id});
        peer->Ask(
            "WITH qm_changed AS (UPDATE public.traininfo SET \"EndDate\" = $1, \"UseTime\" = $2, \"Score\" = $3 WHERE "
            "(\"TrainID\") = ($4) AND \"UserId\" = $5 AND \"SubjectCode\" = $6 AND date_trunc('second', "
            "CAST(\"StartDate\" AS timestamp)) = $7 AND \"EndDate\" IS NULL AND \"UseTime\" IS NULL AND \"TheoryNo\" = "
            "$8 AND \"OperationNo\" = $9 AND \"AnswerScore\" IS NULL AND \"Score\" IS NULL RETURNING 1) SELECT (SELECT "
            "1 FROM public.traininfo WHERE (\"TrainID\") = ($4)), (SELECT 1 FROM qm_changed)",
            {"2005-04-12 13:12:00", "4320", "60", id, Number(user), "2", "2005-04-12 12:00:00", "1", "0"});
    });
    for (int i = 0; i < kQuestions; ++i) {
        timed([&] {
            constexpr int kResultID = 13;
            const std::string key =
                peer->Ask(kRows + std::string("WHERE (t0.\"TrainID\" = $1) AND (t0.\"DataCode\" = $2) AND "
                                              "(t0.\"QuestionRecNo\" = $3) LIMIT 2001"),
                          {id, "NCRE2VB", RecNo(i)}, kResultID);
            peer->Ask(
                "WITH qm_changed AS (UPDATE public.trainresult SET \"AnswerScore\" = $1, \"StudentAnswer\" = $2, "
                "\"ErrInfo\" = $3, \"ErrInfoXml\" = $4 WHERE (\"ResultID\") = ($5) AND \"TrainID\" = $6 AND "
                "\"QuestionType\" = $7 AND concat(\"DataCode\") COLLATE \"C\" = $8 AND concat(\"QuestionRecNo\") "
                "COLLATE "
                "\"C\" = $9 AND CAST(\"QuestionScore\" AS real) = $10 AND CAST(\"AnswerScore\" AS real) = $11 AND "
                "\"Distin\" = $12 AND \"Difficult\" = $13 AND \"QuestionNo\" = $14 RETURNING 1) SELECT (SELECT 1 FROM "
                "public.trainresult WHERE (\"ResultID\") = ($5)), (SELECT 1 FROM qm_changed)",
                {"1.5", "B", "错误信息", "<err/>", key, id, "1", "NCRE2VB", RecNo(i), "2", "0", "1", "1", Number(i)});
        });
    }
}

// Processor time in seconds, which other programs that run meanwhile do not change.
struct ProcessorTime {
    double clients = 0;
    double server = 0;

    static ProcessorTime Now(const TestServer& server) {
        constexpr int kOfChildren = 15;  // user and system time of processes that have ended, in /proc/…/stat
        rusage children{};
        getrusage(RUSAGE_CHILDREN, &children);
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        ProcessorTime work{seconds(children.ru_utime) + seconds(children.ru_stime), 0};
        std::ifstream number(server.Psql("SHOW data_directory") + "/postmaster.pid");
        std::string postmaster;
        number >> postmaster;
        std::ifstream stat("/proc/" + postmaster + "/stat");
        std::string word;
        for (int i = 0; i < kOfChildren; ++i) stat >> word;
        double user = 0;
        double system = 0;
        stat >> user >> system;
        work.server = (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
        return work;
    }
    double All() const { return clients + server; }
};

struct Report {
    double seconds = 0;
    ProcessorTime work;
    Times times;
};

// All candidates at once, from the moment in which all processes are there. They write what they have measured into a
// folder.
Report Storm(const TestServer& server, const fs::path& folder,
             const std::function<void(int user, Times& times)>& record) {
    const ProcessorTime before = ProcessorTime::Now(server);
    int gate[2];
    Require(pipe(gate) == 0);
    std::vector<pid_t> children;
    for (int process = 0; process < processes; ++process) {
        const pid_t child = fork();
        if (child != 0) {
            children.push_back(child);
            continue;
        }
        close(gate[1]);
        char unused = 0;
        Require(read(gate[0], &unused, 1) == 0);
        std::vector<Times> times(static_cast<std::size_t>(threads_each));
        std::vector<std::thread> threads;
        for (int i = 0; i < threads_each; ++i) {
            threads.emplace_back([&, i] {
                try {
                    record(process * threads_each + i + 1, times[i]);
                } catch (const std::exception& error) {
                    std::fprintf(stderr, "%s\n", error.what());
                    _exit(1);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        std::ofstream out(folder / ("times" + Number(process)));
        for (const Times& some : times)
            for (const double time : some) out << time << '\n';
        out.close();
        _exit(0);
    }
    close(gate[0]);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));  // until they all wait
    Report report;
    report.seconds = bench::Seconds([&] {
        close(gate[1]);
        bool done = true;
        for (const pid_t child : children) {
            int status = 1;
            waitpid(child, &status, 0);
            done = done && status == 0;
        }
        Require(done);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));  // until the server's processes have ended too
    const ProcessorTime after = ProcessorTime::Now(server);
    report.work = {after.clients - before.clients, after.server - before.server};
    for (int process = 0; process < processes; ++process) {
        std::ifstream in(folder / ("times" + Number(process)));
        for (double time = 0; in >> time;) report.times.push_back(time);
    }
    std::ranges::sort(report.times);
    return report;
}

void Print(const char* name, const Report& report) {
    const auto at = [&](double share) {
        return report.times[static_cast<std::size_t>(share * static_cast<double>(report.times.size() - 1))];
    };
    const auto operations = static_cast<double>(report.times.size());
    std::printf(
        "%-28s %8.0f operations/s   median %7.2f ms   99th percentile %7.2f ms   processors' time for one: client "
        "%4.0f us, server %4.0f us\n",
        name, operations / report.seconds, at(0.5), at(0.99), 1e6 * report.work.clients / operations,
        1e6 * report.work.server / operations);
}

void Summary(TestServer& server, const std::u16string& folder) {
    server.Psql("TRUNCATE traininfo, trainresult");
    server.Psql(
        "INSERT INTO traininfo (\"TrainID\", \"UserId\", \"SubjectCode\", \"StartDate\") SELECT n, n % 1000, 2, "
        "'2005-04-12 12:00:00' FROM generate_series(1, " +
        Number(kResults / kQuestions) + ") n");
    server.Psql(
        "INSERT INTO trainresult (\"TrainID\", \"QuestionType\", \"DataCode\", \"QuestionRecNo\", "
        "\"QuestionScore\", \"AnswerScore\", \"Answer\") SELECT 1 + n / " +
        Number(kQuestions) + ", 1, 'NCRE2VB', (1000 + n % " + Number(kQuestions) +
        ")::text, 2, n % 3, 'A' FROM generate_series(0, " + Number(kResults - 1) + ") n");
    server.Psql("VACUUM ANALYZE");
    std::string statement;
    {
        const auto client =
            dao::JetDatabase::Open(ClientDatabase(folder), {.read_only = true, .links = {.servers = true}});
        const jet::Database::Reading reading(client->Storage());
        statement = ToUtf8(sql::Explain(client->Tables(), sql::Parse(SummaryQuery())).front());
    }
    statement.erase(0, statement.find(" by ") + 4);
    statement.resize(std::min(statement.size(), statement.rfind("  ~ ")));  // how many rows are expected
    const auto summary = [&](int* rows) {
        TrainInfo train;
        train.ClientPath(folder);
        std::u16string problem;
        Require(train.Init(problem));
        const auto found = train.GetRecordset({});
        Require(found != nullptr);
        int count = 0;
        for (; !found->Eof(); found->MoveNext()) {
            for (const auto& field : found->Fields()) (void)field->Value();
            ++count;
        }
        if (rows != nullptr) *rows = count;
    };
    constexpr int kRuns = 5;
    double ours = 0;
    double theirs = 0;
    double memory = 0;
    for (int run = 0; run < kRuns; ++run) {
        const bench::Use use = bench::Measure([&] { summary(nullptr); });
        const double peer = bench::Seconds([&] { server.Psql(statement); });
        ours = run == 0 ? use.seconds : std::min(ours, use.seconds);
        theirs = run == 0 ? peer : std::min(theirs, peer);
        memory = std::max(memory, use.mebibytes);
    }
    std::printf("summary over %d results: %.3f s, %.0f MiB; psql %.3f s; ratio %.2f\n", kResults, ours, memory, theirs,
                ours / theirs);
}

// All columns of all results, which the driver alone would hold in memory.
void LargeSelects(const std::u16string& folder) {
    for (const auto& [name, type] : {std::pair("forward-only", dao::RecordsetType::ForwardOnly),
                                     std::pair("snapshot", dao::RecordsetType::Snapshot)}) {
        const bench::Use use = bench::Measure([&] {
            const auto client =
                dao::JetDatabase::Open(ClientDatabase(folder), {.read_only = true, .links = {.servers = true}});
            const auto rows = client->OpenRecordset(u"SELECT * FROM TrainResult WHERE QuestionType = 1", type);
            int count = 0;
            for (; !rows->Eof(); rows->MoveNext(), ++count)
                for (const auto& field : rows->Fields()) (void)field->Value();
            Require(count == kResults);
        });
        std::printf("select of %d rows, %-12s %6.2f s, %4.0f MiB\n", kResults, name, use.seconds, use.mebibytes);
    }
}

}  // namespace

// With numbers: so many processes, and candidates of each. A third word leaves the summary out.
int main(int count, char** words) {
    odbc::LoginTimeout(std::chrono::seconds(20));  // all of them come at one moment
    if (count > 2) {
        processes = std::max(1, std::atoi(words[1]));
        threads_each = std::max(1, std::atoi(words[2]));
    }
    const bool summary = count <= 3;
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    TestServer* server = TestServer::Get();
    if (server == nullptr) {
        std::printf("skipped: %s\n", TestServer::WhyNone().c_str());
        return 0;
    }
    const fs::path place = fs::temp_directory_path() / ("qmtrain-bench-" + std::to_string(getpid()));
    fs::create_directories(place);
    const std::u16string folder = FromNativePath(place);
    SetComponentFolder(place);
    setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
    dao::Engine::OwnUse use = dao::Engine::Instance().GetOwnUse();
    use.links.servers = true;
    dao::Engine::Instance().SetOwnUse(use);

    const std::u16string connect = server->NewDatabase();
    server->Psql("CREATE ROLE qmtrain_host NOLOGIN");
    // While it is open the driver is loaded, as libpq is: to start a program is no part of what is measured.
    const auto driver = odbc::Connection::Open(odbc::ConnectString(connect));
    MakeServerTables(*driver);
    {
        const auto client = dao::JetDatabase::Create(ClientDatabase(folder));
        LinkServerTables(*client, connect);
    }
    const std::string peer_place = "host=127.0.0.1 port=" + std::to_string(server->Port()) +
                                   " user=exam password='secret;{}' dbname=" + server->Database();
    // Each candidate's machine has a file of its own.
    for (int user = 1; user <= processes * threads_each; ++user) {
        fs::create_directory(place / Number(user));
        fs::copy_file(ToNativePath(ClientDatabase(folder)), place / Number(user) / "Client.mdb");
    }
    const auto ours = [&](int user, Times& times) {
        RecordByClasses(FromNativePath(place / Number(user)), user, times);
    };
    using Connecting = std::function<std::unique_ptr<Peer>()>;
    const std::pair<const char*, Connecting> peers[] = {
        {"libpq", [&] { return std::make_unique<LibpqPeer>(peer_place, false); }},
        {"libpq, prepared statements", [&] { return std::make_unique<LibpqPeer>(peer_place, true); }},
        {"the driver for ODBC", [&] { return std::make_unique<OdbcPeer>(connect); }},
    };
    std::vector<Report> best(std::size(peers) + 1);
    const auto storm = [&](std::size_t which, const std::function<void(int, Times&)>& record) {
        server->Psql("TRUNCATE traininfo, trainresult");
        Report report = Storm(*server, place, record);
        if (best[which].times.empty() || report.seconds < best[which].seconds) best[which] = std::move(report);
    };
    constexpr int kRounds = 3;
    for (int round = 0; round < kRounds; ++round) {
        for (std::size_t i = 0; i < std::size(peers); ++i)
            storm(i, [&](int user, Times& times) { RecordByPeer(peers[i].second, user, times); });
        storm(std::size(peers), ours);
    }
    const Report& own = best.back();
    for (std::size_t i = 0; i < std::size(peers); ++i) {
        Print(peers[i].first, best[i]);
        std::printf("%-28s %8.2f   of the processors' times %.2f\n", "ours to it", own.seconds / best[i].seconds,
                    own.work.All() / best[i].work.All());
    }
    Print("the classes", own);
    if (summary) {
        Summary(*server, folder);
        LargeSelects(folder);
    }
    fs::remove_all(place);
    return 0;
}
