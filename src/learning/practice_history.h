// Everything that was practised, read in one pass: trainings, their questions, and what each answer was worth.
//
// A training without results has not been handed in and is left out. A Null in a score counts as 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "core/date.h"
#include "dao/dao.h"

namespace qmtrain {

// A question of a bank, as results name it.
struct PracticedQuestion {
    std::int32_t subject = -1;
    std::u16string data_code = {};
    std::u16string rec_no = {};
    std::int32_t type = 0;  // these three of the latest result
    std::int32_t distin = 0;
    std::int32_t difficult = 0;
};

struct PracticeResult {
    std::uint32_t question = 0;  // its place among the questions
    float full = 0;
    float got = 0;

    // What is worth nothing can be neither right nor wrong.
    bool Counts() const { return full > 0; }
    bool IsRight() const { return got >= full; }
    double Share() const { return static_cast<double>(got) / static_cast<double>(full); }
};

struct PracticeTraining {
    std::int32_t id = 0;
    std::int32_t user = -1;
    std::int32_t subject = -1;
    Date start = {};
    std::int32_t use_time = -1;  // seconds, -1 when not known
    std::size_t first = 0;       // of its results
    std::size_t count = 0;
    double full = 0;
    double got = 0;

    double Rate() const;  // percent, at most 100; 0 for a paper without points
    bool Passed() const;

    // When the paper was handed in, as far as that is known.
    Date End() const;
};

// -1 means any; a zero date no limit.
struct HistoryFilter {
    std::int32_t user = -1;
    std::int32_t subject = -1;
    Date from = {};
    Date to = {};                       // that day is still within
    std::set<std::int32_t> users = {};  // these alone; none: any
};

struct PracticeHistory {
    std::vector<PracticeTraining> trainings;  // oldest first
    std::vector<PracticedQuestion> questions;
    std::vector<PracticeResult> results;  // one training after the other

    std::span<const PracticeResult> ResultsOf(const PracticeTraining& training) const {
        return std::span(results).subspan(training.first, training.count);
    }
};

// Whether the date lies within the filter's days.
bool IsWithin(const HistoryFilter& filter, Date start);

// Raises what the engine raises.
PracticeHistory ReadPracticeHistory(dao::Database& client, const HistoryFilter& filter);

// Of those trainings alone, given by their numbers.
PracticeHistory ReadTrainings(dao::Database& client, const std::vector<std::int32_t>& train_ids);

}  // namespace qmtrain
