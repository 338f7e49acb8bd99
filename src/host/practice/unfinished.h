// Practices that have not been handed in.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "core/error.h"
#include "dao/dao.h"
#include "host/data/data_folder.h"
#include "host/practice/practice.h"

namespace qmtrain::host {

struct UnfinishedPractice {
    std::int32_t train_id = -1;
    std::u16string title;  // of the paper
    bool has_paper = true;
    bool waiting = false;  // handed in, but the server has not taken it yet
    Mode mode = Mode::Exam;
    Edition edition = Edition::StandAlone;
    Date start = {};
    std::int32_t questions = 0;
    std::int32_t answered = 0;  // questions with something kept
    std::int32_t seconds_used = 0;
    std::int32_t seconds_left = 0;

    // "模拟练习（考试）：已答 3 / 5 题，剩余 08:12".
    std::u16string Text() const;
};

// Those of the candidate in the subject, newest first; -1 means any. Raise what the engine raises.
std::vector<UnfinishedPractice> UnfinishedOf(const DataFolder& folder, std::int32_t user_id, std::int32_t subject);

// Abandons a practice: its answers are deleted, and its training when it has no results.
void Discard(const DataFolder& folder, std::int32_t train_id);

// Whether the training has its results.
bool IsHandedIn(const DataFolder& folder, std::int32_t train_id);

// Whether a practice was handed in that the server has not taken yet.
bool IsWaiting(dao::Database& host, std::int32_t train_id);

// Records the practices that wait.
struct Uploaded {
    int left = 0;            // how many still wait
    std::u16string problem;  // why, where there is another reason than the server's absence
};
Uploaded UploadWaiting(const DataFolder& folder);

// Cleans up after a process that was killed: practices that have been handed in are no longer unfinished, and those of
// a paper without questions are discarded.
void SettleHandedIn(const DataFolder& folder);
void DiscardEmpty(const DataFolder& folder);

// "3,7,12" and back; what is no number is left out.
std::u16string ToNumberList(const std::vector<std::int32_t>& numbers);
std::vector<std::int32_t> ToNumbers(std::u16string_view list);

}  // namespace qmtrain::host
