// A paper being practised: its answers, kept safe with every change, and its handing in.
//
// The recording goes through the component: the training is added when the paper starts, its results when it is handed
// in, all of them or none; a training without results is listed nowhere. Until then the answers and the time used lie
// in the host's own database, so that a practice that was broken off goes on where it ended.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "host/papers/outcome.h"
#include "host/papers/papers.h"
#include "host/practice/practice_clock.h"
#include "host/practice/question_times.h"

namespace qmtrain {
class TrainInfo;
class TrainResult;
}  // namespace qmtrain

namespace qmtrain::host {

// Exam: against the clock, answers are shown afterwards. Exercise: without a clock, each answer is shown as it is
// checked. Mistakes: an exercise of some of a paper's questions only.
enum class Mode : std::int32_t { Exam = 0, Exercise = 1, Mistakes = 2 };

// "考试", "练习", "错题练习".
std::u16string_view ModeText(Mode mode);

class Practice {
public:
    struct Start {
        std::int32_t user_id = 0;
        Edition edition = Edition::StandAlone;
        Mode mode = Mode::Exam;
        std::vector<std::int32_t> questions = {};  // their numbers; none: all
    };

    // A process that dies takes no time back: so many seconds count as used, and the time is kept that often.
    static constexpr std::int32_t kKeepInterval = 5;

    // Starts a new practice. Raises the component's error, with the reason, when the paper is empty, a question is
    // missing or a duplicate, the candidate is unknown, or the practice cannot be recorded.
    Practice(const DataFolder& folder, Paper paper, const Start& start, PracticeClock::Source now = SystemClock());

    // Goes on with one that has not been handed in. Raises the component's error when there is none of that number, or
    // its paper is gone. Where it is open already, in this process or another, it takes no answers any more.
    Practice(const DataFolder& folder, std::int32_t train_id, PracticeClock::Source now = SystemClock());

    const Paper& GetPaper() const { return paper_; }
    std::int32_t TrainID() const { return train_id_; }
    std::int32_t UserId() const { return start_.user_id; }
    Edition GetEdition() const { return start_.edition; }
    Mode GetMode() const { return start_.mode; }
    std::size_t Size() const { return states_.size(); }
    const PaperQuestion& Place(std::size_t index) const { return paper_.questions[index]; }
    const QuestionContent& Content(std::size_t index) const { return questions_[index]; }

    // Of an exam; 0 when the time is over.
    std::int32_t SecondsLeft() const;
    std::int32_t SecondsUsed() const { return clock_.Used(); }
    void SecondsUsed(std::int32_t value) { clock_.Used(value); }

    // In the form in which results store answers. A change is in the file when the call returns; an answer that has
    // been checked stays as it is.
    const std::u16string& Answer(std::size_t index) const { return states_[index].answer; }
    void Answer(std::size_t index, std::u16string_view answer);
    Answered HowAnswered(std::size_t index) const;
    bool IsMarked(std::size_t index) const { return states_[index].marked; }
    void SetMarked(std::size_t index, bool marked);

    // Shows what the answer is worth, in an exercise. It cannot be changed afterwards.
    void Check(std::size_t index);
    bool IsChecked(std::size_t index) const { return states_[index].checked; }
    QuestionOutcome OutcomeOf(std::size_t index) const;

    // The question at which the candidate is.
    std::size_t Current() const { return current_; }
    void Current(std::size_t index);

    // To be called now and then: keeps the time that has been used.
    void KeepTime();

    // Stops the clock until the practice goes on.
    void Pause();

    // Marks and records. Where the database server cannot be reached, the answers wait in the host's database: see
    // Upload(). Raises the component's error when anything else fails; the practice can then be handed in again.
    Outcome HandIn();

    // Records a practice that waits, as it was handed in. Raises OdbcConnectionFailed or OperationCancelled while the
    // server still cannot be reached.
    static void Upload(const DataFolder& folder, std::int32_t train_id);

private:
    struct State {
        std::u16string answer;
        bool marked = false;
        bool checked = false;
    };

    // One that waits, only to be uploaded.
    struct ForUpload {};
    Practice(const DataFolder& folder, std::int32_t train_id, ForUpload);

    static PracticeClock::Source SystemClock() { return std::chrono::steady_clock::now; }

    void Load();
    void LoadQuestions();
    void LoadAnswers();
    void AddUnfinished();
    void Save(std::size_t index);
    void SaveTime(bool running);
    Outcome Marked() const;
    void Record(const Outcome& outcome, Date end);
    void RecordTraining(dao::Database& client, TrainInfo& train, const Outcome& outcome, Date end);
    void RecordResults(TrainResult& result, const Outcome& outcome);
    void Wait(const Outcome& outcome, Date end);
    void Finish(bool recorded);

    DataFolder folder_;
    Paper paper_;
    Start start_;
    std::int32_t train_id_ = -1;
    std::size_t current_ = 0;
    std::int32_t kept_ = 0;  // seconds used as the database has them
    std::vector<QuestionContent> questions_;
    std::vector<State> states_;
    PracticeClock clock_;
    QuestionTimes times_;
    dao::Connection host_;
};

}  // namespace qmtrain::host
