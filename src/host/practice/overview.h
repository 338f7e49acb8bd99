// What the main window shows a candidate about the papers and the practices so far.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/papers/papers.h"
#include "host/practice/practice.h"
#include "review/training_row.h"

namespace qmtrain::host {

struct PastPractice {
    review::Training training;
    std::u16string paper = {};      // its title; empty when it is not known
    std::optional<Mode> mode = {};  // not known of trainings that other programs recorded
    std::optional<Edition> edition = {};

    float Rate() const { return training.Rate(); }
};

struct PaperSummary {
    Paper paper;
    int times = 0;
    std::optional<float> best_rate = {};  // percent
};

struct Overview {
    std::vector<PaperSummary> papers;
    std::vector<PastPractice> past;  // newest first

    // "共练习 12 次，平均 71.2%，最好 92.5%，及格 9 次". What is practised of mistakes alone counts nowhere.
    std::u16string FiguresText() const;
    std::vector<float> Rates() const;  // oldest first
};

// Of one candidate in one subject. Raises what the engine raises.
Overview ReadOverview(const DataFolder& folder, std::int32_t user_id, std::int32_t subject);

// The rate of the candidate's last practice of the paper before that training.
std::optional<float> RateBefore(const DataFolder& folder, const Paper& paper, std::int32_t user_id,
                                std::int32_t train_id);

}  // namespace qmtrain::host
