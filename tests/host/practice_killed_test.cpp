// A practice whose process is killed at any of its writes goes on from there.

#include <csignal>
#include <limits>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/practice/practice.h"
#include "host_fixture.h"

namespace {

long writes_left = std::numeric_limits<long>::max();  // until the process is killed

}  // namespace

// Every write to a file goes through here.
extern "C" ssize_t pwrite(int file, const void* bytes, size_t size, off_t offset) {
    if (--writes_left < 0) raise(SIGKILL);
    return syscall(SYS_pwrite64, file, bytes, size, offset);
}

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kResults =
    u"Select QuestionNo, QuestionScore, AnswerScore From TrainResult Order By TrainID, QuestionNo";
const std::string kAllRight = "1|10|10\n2|20|20\n3|10|10\n4|20|20\n5|40|40\n";

class KilledPracticeTest : public test::HostTest {
protected:
    // The whole way of a candidate; a letter for each step that has come back: s)tart, a)nswer, m)ark, h)anding in.
    void Practise(const std::function<void(char)>& done) const {
        Practice practice(data_, MixedPaper(), {test::kCandidate});
        done('s');
        for (std::size_t i = 0; i < practice.GetPaper().questions.size(); ++i) {
            practice.Answer(i, u"x");
            practice.Answer(i, RightAnswer(practice.Place(i)));
            done('a');
        }
        practice.SetMarked(1, true);
        done('m');
        practice.HandIn();
        done('h');
    }

    // The steps of another process that is killed at its n-th write.
    std::string PractiseAndDie(long writes) const {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            writes_left = writes;
            Practise([&](char step) {
                if (write(ends[1], &step, 1) != 1) _exit(2);
            });
            _exit(0);
        }
        close(ends[1]);
        std::string steps;
        for (char step = 0; read(ends[0], &step, 1) == 1;) steps += step;
        close(ends[0]);
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
        return steps;
    }

    long WritesOfAPractice() const {
        const long before = writes_left;
        Practise([](char) {});
        return before - writes_left;
    }

    // What was answered before the kill is there, but for the last answer; the rest can be done now.
    void GoOn(const std::string& steps, std::int32_t train_id) const {
        Practice practice(data_, train_id);
        const std::size_t answered = std::count(steps.begin(), steps.end(), 'a');
        for (std::size_t i = 0; i < practice.GetPaper().questions.size(); ++i) {
            SCOPED_TRACE(i);
            const std::u16string right = RightAnswer(practice.Place(i));
            const std::u16string& kept = practice.Answer(i);
            const bool is_kept = kept == right;
            const bool is_lost = kept.empty() || (kept == u"x" && i == answered);
            EXPECT_TRUE(i < answered ? is_kept : is_lost || (is_kept && i == answered)) << ToUtf8(kept);
        }
        EXPECT_TRUE(practice.IsMarked(1) || steps.find('m') == std::string::npos);
        AnswerAll(practice);
        EXPECT_EQ(practice.HandIn().Score(), 100);
    }
};

TEST_F(KilledPracticeTest, SurvivesTheEndOfItsProcess) {
    const long writes = WritesOfAPractice();
    ASSERT_GT(writes, 60);
    std::string reached;
    constexpr long kPoints = 12;
    for (long point = 0; point < kPoints; ++point) {
        const long last = writes * (2 * point + 1) / (2 * kPoints);
        SCOPED_TRACE("killed after " + std::to_string(last) + " of " + std::to_string(writes) + " writes");
        for (const std::u16string_view table : {u"TrainResult", u"TrainInfo"}) {
            dao::Connection(ClientDatabase(data_.path))->Execute(std::u16string(u"Delete From ").append(table));
        }
        const std::string steps = PractiseAndDie(last);
        reached += steps.empty() ? '-' : steps.back();
        CheckFiles();
        // What is not handed in is not listed; what is, is listed whole.
        const std::string recorded = Client(kResults);
        EXPECT_TRUE(recorded.empty() || recorded == kAllRight) << recorded;
        SettleHandedIn(data_);
        if (const auto train_id = Unfinished()) {
            EXPECT_EQ(recorded, "");
            GoOn(steps, *train_id);
        } else if (steps.find('a') == std::string::npos) {
            EXPECT_EQ(Client(kResults), "");  // it had not started yet
            continue;
        }
        EXPECT_EQ(Unfinished(), std::nullopt);
        EXPECT_EQ(Client(kResults), kAllRight);
        EXPECT_EQ(Client(u"Select Score From TrainInfo Where EndDate Is Not Null"), "100\n");
        EXPECT_EQ(Host(u"Select Count(*) From UnfinishedAnswers"), "0\n");
    }
    for (const char step : {'-', 's', 'a', 'm'}) EXPECT_NE(reached.find(step), std::string::npos) << reached;
}

}  // namespace
}  // namespace qmtrain::host
