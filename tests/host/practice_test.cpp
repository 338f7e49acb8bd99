// Practising: answers are kept, a practice that was broken off goes on, and results are recorded.

#include "host/practice.h"

#include <csignal>
#include <limits>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

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

class PracticeTest : public test::HostTest {
protected:
    void AnswerAll(Practice& practice) const {
        for (std::size_t i = 0; i < practice.GetPaper().questions.size(); ++i) {
            practice.Answer(i, RightAnswer(practice.Place(i)));
        }
    }

    // The whole way of a candidate; a letter for each step that has come back: s)tart, a)nswer, m)ark, h)anding in.
    void Practise(const std::function<void(char)>& done) const {
        Practice practice(data_, MixedPaper(), test::kCandidate, Edition::StandAlone);
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
        const auto answered = static_cast<std::size_t>(std::count(steps.begin(), steps.end(), 'a'));
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
        EXPECT_EQ(practice.HandIn().score, 100);
    }
};

TEST_F(PracticeTest, IsRecordedFromStartToEnd) {
    for (const Edition edition : {Edition::StandAlone, Edition::Network}) {
        Practice practice(data_, MixedPaper(), test::kCandidate, edition);
        EXPECT_EQ(practice.TrainID(), edition == Edition::StandAlone ? 1 : 2);
        EXPECT_EQ(practice.SecondsLeft(), 600);
        EXPECT_EQ(practice.Unanswered(), (std::vector<std::int32_t>{1, 2, 3, 4, 5}));
        AnswerAll(practice);
        practice.Answer(3, u"@ 　");
        EXPECT_EQ(practice.Unanswered(), (std::vector<std::int32_t>{4}));
        practice.Answer(3, u"控制器@");
        const PracticeResult result = practice.HandIn();
        EXPECT_EQ(result.score, 90);
        EXPECT_EQ(result.full_score, 100);
        EXPECT_EQ(Practice::Unfinished(data_, test::kCandidate), std::nullopt);
    }
    EXPECT_EQ(Host(u"Select Count(*) From UnfinishedAnswers"), "0\n");
    EXPECT_EQ(Client(u"Select UserID, SubjectCode, TheoryNo, OperationNo, Score, EndDate >= StartDate From TrainInfo"),
              "1|1|3|2|90|True\n1|1|3|2|90|True\n");
    EXPECT_EQ(Client(u"Select QuestionType, DataCode, QuestionRecNo, QuestionScore, AnswerScore, Answer, StudentAnswer,"
                     u" ErrInfo From TrainResult Where TrainID=1 And QuestionNo < 5 Order By QuestionNo"),
              "1|JC|JC010004|10|10|4|4|\n27|JC|JC020003|20|20|11|11|\n26|JC|JC030007|10|10|0|0|\n"
              "11|JC|JC040002|20|10|控制器@输出设备|控制器@|第 2 空没有作答。\n");
}

TEST_F(PracticeTest, GoesOnWhereItWasLeft) {
    const std::u16string text = u"It's \"md LX\"\r\n" + std::u16string(5000, u'文');
    {
        Practice practice(data_, MixedPaper(), test::kCandidate, Edition::Network);
        practice.SecondsLeft(500);
        practice.Answer(0, u"2");
        practice.Answer(0, u"4");
        practice.Answer(4, text);
        practice.SetMarked(1, true);
        practice.SetMarked(2, true);
        practice.SetMarked(2, false);
        practice.SecondsLeft(450);
        practice.Pause();
    }
    EXPECT_EQ(Practice::Unfinished(data_, 2), std::nullopt);
    ASSERT_EQ(Practice::Unfinished(data_, test::kCandidate), 1);
    Practice practice(data_, 1);
    EXPECT_EQ(practice.GetPaper().number, test::kMixedPaper);
    EXPECT_EQ(practice.UserId(), test::kCandidate);
    EXPECT_EQ(practice.GetEdition(), Edition::Network);
    EXPECT_EQ(practice.SecondsLeft(), 450);
    EXPECT_EQ(practice.Answer(0), u"4");
    EXPECT_EQ(practice.Answer(1), u"");
    EXPECT_EQ(practice.Answer(4), text);
    EXPECT_TRUE(practice.IsMarked(1));
    EXPECT_FALSE(practice.IsMarked(2));
    EXPECT_EQ(practice.HandIn().score, 20);  // the choice, and one of the four keywords
    EXPECT_EQ(Client(u"Select StudentAnswer From TrainResult Where QuestionNo=5"), ToUtf8(text) + "\n");
    EXPECT_THROW(Practice(data_, 1), AutomationError);
}

TEST_F(PracticeTest, IsNotRecordedWhenAQuestionIsMissing) {
    std::filesystem::remove(folder_.Path() / "Bank" / "JC.mdb");
    EXPECT_THROW(Practice(data_, MixedPaper(), test::kCandidate, Edition::StandAlone), AutomationError);
    EXPECT_EQ(Practice::Unfinished(data_, test::kCandidate), std::nullopt);
    EXPECT_EQ(Client(u"Select Count(*) From TrainInfo"), "0\n");
}

TEST_F(PracticeTest, SurvivesTheEndOfItsProcess) {
    const long writes = WritesOfAPractice();
    ASSERT_GT(writes, 100);
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
        if (const auto train_id = Practice::Unfinished(data_, test::kCandidate)) {
            GoOn(steps, *train_id);
        } else if (steps.find('a') == std::string::npos) {
            EXPECT_EQ(Client(kResults), "");  // it had not started yet
            continue;
        }
        EXPECT_EQ(Practice::Unfinished(data_, test::kCandidate), std::nullopt);
        EXPECT_EQ(Client(kResults), kAllRight);
        EXPECT_EQ(Client(u"Select Score From TrainInfo"), "100\n");
        EXPECT_EQ(Host(u"Select Count(*) From UnfinishedAnswers"), "0\n");
    }
    for (const char step : {'-', 's', 'a', 'm'}) EXPECT_NE(reached.find(step), std::string::npos) << reached;
}

}  // namespace
}  // namespace qmtrain::host
