// Eight processes that write and read one client file at once, some of which die, one of them holding the write lock.

#include <chrono>
#include <thread>

#include "reliability/child.h"
#include "reliability/practice.h"
#include "reliability/run_length.h"

namespace qmtrain::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::int32_t kLongestWait = 100;  // a report: milliseconds
constexpr std::int32_t kProblem = 101;      // a report: the line where it was seen
constexpr int kProcesses = 8;
constexpr int kSharedNotes = 20;
constexpr std::int32_t kSharedUser = 999;

class ProcessesTest : public PracticeTest {
protected:
    ProcessesTest() {
        Candidate candidate(Folder(), kSharedUser);
        for (int i = 0; i < kSharedNotes; ++i) {
            candidate.Notes().Add(1, u"共", ToText(i), u"名", u"-1", true, kSharedUser);
        }
    }

    class Worker {
    public:
        Worker(const std::u16string& folder, std::int32_t user, const Child::Pipe& pipe)
            : candidate_(folder, user), shared_(InFolder(folder, u"Client.mdb")), pipe_(pipe) {}

        void Run(Clock::time_point end) {
            while (Clock::now() < end) {
                Timed(__LINE__, [&] { return candidate_.Start(); });
                pipe_.Send(kStarted, candidate_.Train());
                Timed(__LINE__, [&] { return candidate_.IsOwn(); });
                Timed(__LINE__, [&] { return candidate_.Answer(); });
                Timed(__LINE__, [&] { return candidate_.Mark(); });
                pipe_.Send(kMarked, candidate_.Train());
                Timed(__LINE__, [&] { return candidate_.Write(); });
                pipe_.Send(kNoted, candidate_.Train());
                Timed(__LINE__, [&] { return CountShared(); });
                Timed(__LINE__, [&] { return SeesWholeStatements(); });
            }
            pipe_.Send(kLongestWait, static_cast<std::int32_t>(longest_.count()));
        }

    private:
        void Timed(std::int32_t line, const std::function<bool()>& operation) {
            const auto start = Clock::now();
            if (!operation()) pipe_.Send(kProblem, line);
            longest_ = std::max(longest_, std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start));
        }

        // One statement over many rows: they are always equal.
        bool CountShared() {
            shared_->Execute(u"Update Notes Set ViewTimes=ViewTimes+1 Where DataCode='共'");
            return shared_->RecordsAffected() == kSharedNotes;
        }
        bool SeesWholeStatements() {
            const auto notes = candidate_.Notes().GetRecordset(
                u"Select Count(*) As N, Min(ViewTimes) As A, Max(ViewTimes) As B From Notes Where DataCode='共'");
            if (!notes || ToLong(notes->Fields(u"N").Value()) != kSharedNotes) return false;
            if (ToLong(notes->Fields(u"A").Value()) != ToLong(notes->Fields(u"B").Value())) return false;
            const auto results = candidate_.Training().GetRecordset(
                u"Select Top 30 StudentAnswer, ErrInfo, ErrInfoXml From TrainResult Order By TrainID Desc");
            if (!results) return false;
            for (; !results->Eof(); results->MoveNext()) {
                const std::u16string error = TextOr(results->Fields(u"ErrInfo").Value(), u"");
                if (TextOr(results->Fields(u"StudentAnswer").Value(), u"") != error) return false;
                if (TextOr(results->Fields(u"ErrInfoXml").Value(), u"") != error) return false;
            }
            return true;
        }

        Candidate candidate_;
        dao::Connection shared_;
        const Child::Pipe& pipe_;
        std::chrono::milliseconds longest_{0};
    };

    // Waits for the write lock, takes it and is killed.
    void DieHoldingTheLock() const {
        Child child([&](const Child::Pipe& pipe) {
            const auto database = jet::Database::Open(File());
            const jet::Database::Writing writing(*database);
            database->FindTable(u"Tbl_SetUser")->Insert(std::vector<Value>{std::int32_t{1}, u"名", u"号"});
            pipe.Send(0, 0);
            std::this_thread::sleep_for(std::chrono::minutes(1));
        });
        Report locked{};
        EXPECT_TRUE(child.Next(locked));
    }
};

TEST_F(ProcessesTest, ShareAFile) {
    const auto end = Clock::now() + std::chrono::seconds(IsLongRun() ? 60 : 8);
    std::int32_t user = 0;
    std::vector<Child> children;
    const auto add = [&] {
        children.emplace_back([&](const Child::Pipe& pipe) { Worker(Folder(), user, pipe).Run(end); });
        ++user;
    };
    for (int i = 0; i < kProcesses; ++i) add();
    int killed = 0;
    while (end - Clock::now() > std::chrono::seconds(3)) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        children[killed++].Kill();
        add();
        DieHoldingTheLock();
    }
    int ended = 0;
    std::vector<std::vector<Report>> reports;
    for (std::size_t i = 0; i < children.size(); ++i) {
        reports.push_back(children[i].Rest());
        const int status = children[i].Wait();
        EXPECT_EQ(status, i < static_cast<std::size_t>(killed) ? SIGKILL : 0);
        ended += status == 0 ? 1 : 0;
    }
    EXPECT_EQ(ended, kProcesses);

    ClientFile file(File());
    std::map<std::int32_t, int> started;
    std::int32_t longest = 0;
    std::size_t done = 0;
    for (const std::vector<Report>& each : reports) {
        for (const Report& report : each) {
            EXPECT_NE(report.kind, kProblem) << "line " << report.value;
            if (report.kind == kLongestWait) longest = std::max(longest, report.value);
            if (report.kind > kNoted) continue;
            file.Expect(report);
            ++done;
            if (report.kind == kStarted && ++started[report.value] > 1) ADD_FAILURE() << "twice: " << report.value;
        }
    }
    EXPECT_LE(started.size(), file.Trainings());
    EXPECT_LE(file.Trainings(), started.size() + static_cast<std::size_t>(killed));
    EXPECT_LT(longest, 10000);
    for (const LogEntry& entry : ReadLog(LogFile())) ADD_FAILURE() << entry.message;
    std::printf("%zu reported operations, %d processes killed, longest wait %d ms\n", done, killed, longest);
}

}  // namespace
}  // namespace qmtrain::test
