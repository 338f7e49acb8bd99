// A paper being practised: its answers, kept safe with every change, and its handing in.
//
// The recording goes through the component: the training and its results are added when the paper starts, and marked
// when it is handed in. Until then the answers lie in the host's own database, so that a practice that was broken off
// goes on where it ended.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "dao/dao.h"
#include "host/papers.h"

namespace qmtrain::host {

struct PracticeResult {
    float score = 0;
    float full_score = 0;
};

class Practice {
public:
    // Starts a new practice. Raises the component's error, with the reason, when a question is missing or the practice
    // cannot be recorded.
    Practice(const DataFolder& folder, Paper paper, std::int32_t user_id, Edition edition);

    // Goes on with one that has not been handed in. Raises the component's error when there is none of that number.
    Practice(const DataFolder& folder, std::int32_t train_id);

    // The newest practice of the candidate that has not been handed in.
    static std::optional<std::int32_t> Unfinished(const DataFolder& folder, std::int32_t user_id);

    const Paper& GetPaper() const { return paper_; }
    std::int32_t TrainID() const { return train_id_; }
    std::int32_t UserId() const { return user_id_; }
    Edition GetEdition() const { return edition_; }
    const PaperQuestion& Place(std::size_t index) const { return paper_.questions[index]; }
    const Question& Content(std::size_t index) const { return questions_[index]; }

    std::int32_t SecondsLeft() const { return seconds_left_; }
    void SecondsLeft(std::int32_t value) { seconds_left_ = value; }

    // In the form in which results store answers. A change is in the file when the call returns.
    const std::u16string& Answer(std::size_t index) const { return states_[index].answer; }
    void Answer(std::size_t index, std::u16string_view answer);
    bool IsMarked(std::size_t index) const { return states_[index].marked; }
    void SetMarked(std::size_t index, bool marked);

    // Keeps the time that is left, until the practice goes on.
    void Pause();

    // Numbers of the questions without an answer.
    std::vector<std::int32_t> Unanswered() const;

    // Marks and records. Raises the component's error when that fails; the practice can then be handed in again.
    PracticeResult HandIn();

private:
    struct State {
        std::u16string answer;
        bool marked = false;
    };

    void LoadQuestions();
    void AddResults();
    void LoadAnswers();
    void Save(std::size_t index);
    void Forget();

    DataFolder folder_;
    Paper paper_;
    std::int32_t user_id_ = 0;
    Edition edition_ = Edition::StandAlone;
    std::int32_t train_id_ = -1;
    std::int32_t seconds_left_ = 0;
    std::vector<Question> questions_;
    std::vector<State> states_;
    dao::Connection host_;
};

}  // namespace qmtrain::host
