// When which question should be practised again, by what the candidate has answered so far.
//
// The cards lie in the host's database. They follow from the histories alone: where they are missing, or a paper was
// handed in that had been started before others, they are worked out anew. Right is good, wrong or in part is again,
// and right that took more than twice as long as the other questions of its type on that paper is hard.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"
#include "host/data/data_folder.h"
#include "learning/fsrs.h"

namespace qmtrain::host {

struct ScheduledQuestion {
    std::int32_t subject = -1;
    std::u16string data_code = {};
    std::u16string rec_no = {};
    std::int32_t type = 0;
    std::int32_t distin = 0;
    std::int32_t difficult = 0;
    float score = 0;  // what it was last worth
    fsrs::Card card = {};
};

// Takes in the papers that the candidate has handed in since the last call. Raises what the engine raises.
void UpdateSchedule(const DataFolder& folder, std::int32_t user);

// As it stands; nothing where there is no schedule yet. -1 means any subject. Raise what the engine raises.
std::vector<ScheduledQuestion> ReadSchedule(const DataFolder& folder, std::int32_t user, std::int32_t subject);
int CountDue(const DataFolder& folder, std::int32_t user, std::int32_t subject, Date now);

// The day of the exam, until which questions are brought back; the candidate sets it.
std::optional<Date> ExamDate(const DataFolder& folder, std::int32_t user, std::int32_t subject);
void SetExamDate(const DataFolder& folder, std::int32_t user, std::int32_t subject, std::optional<Date> day);

struct ScheduleOverview {
    std::vector<ScheduledQuestion> due;  // today or before; most nearly forgotten first
    int overdue = 0;                     // since yesterday or longer
    std::array<int, 7> ahead{};          // due tomorrow, and on the six days after that
    int all = 0;
    double known_now = 0;  // the share that is known, 0 to 1
    std::optional<int> days_to_exam = {};
    std::optional<double> known_at_exam = {};  // without any review until then
    bool IsOver() const { return days_to_exam && *days_to_exam < 0; }
};

// After the exam nothing is due.
ScheduleOverview Survey(std::vector<ScheduledQuestion> all, Date now, std::optional<Date> exam);

}  // namespace qmtrain::host
