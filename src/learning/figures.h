// What a practice history comes to: rates and their trend, groups of questions, when and how fast was practised, and
// how well each question tells strong candidates from weak ones. Plain calculations over a history in memory.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "learning/practice_history.h"

namespace qmtrain {

// Answers that belong together.
struct Tally {
    int times = 0;
    int right = 0;
    double full = 0;
    double got = 0;

    void Add(const PracticeResult& result);
    double Rate() const { return full > 0 ? got / full * 100 : 0; }  // percent
};

// value = intercept + slope * place, places counted from 0.
struct Trend {
    double intercept = 0;
    double slope = 0;
};

// By least squares; nothing for fewer than two values.
std::optional<Trend> TrendOf(const std::vector<double>& values);

// What the next value will be: the trend of the last ones goes on, and four of five times the value lies between low
// and high. Percents. Nothing for fewer than five values.
struct Forecast {
    double expected = 0;
    double low = 0;
    double high = 0;
};
inline constexpr std::size_t kLeastForForecast = 5;
std::optional<Forecast> ForecastOf(const std::vector<double>& rates);

struct DayFigures {
    int trainings = 0;
    int questions = 0;
    std::int64_t seconds = 0;
};

struct CandidateFigures {
    std::int32_t user = -1;
    std::vector<double> rates = {};  // oldest first
    Tally all = {};
    Date last = {};
};

struct ItemFigures {
    std::uint32_t question = 0;
    int times = 0;
    int right = 0;
    double facility = 0;                        // percent: the mean mark of its maximum
    std::optional<double> discrimination = {};  // percent: correlation with the marks on the rest of the paper
};

struct Figures {
    // Of whole papers; oldest first.
    struct Paper {
        std::int32_t train_id = 0;
        std::int32_t subject = -1;
        Date start = {};
        double full = 0;
        double got = 0;
        double rate = 0;
        bool passed = false;
        std::optional<double> pace = {};  // seconds for a question
    };
    std::vector<Paper> papers;

    Tally all;
    std::map<std::int32_t, Tally> by_subject;
    std::map<std::pair<std::int32_t, std::int32_t>, Tally> by_type;  // subject and type
    std::map<std::u16string, Tally> by_bank;
    std::map<std::int32_t, Tally> by_difficulty;
    std::array<DayFigures, 24> by_hour{};
    std::map<int, DayFigures> by_day;  // a day's number
    std::map<std::int32_t, CandidateFigures> by_candidate;

    std::vector<double> Rates() const;
    double Average() const;
    double Best() const;
    int PassTimes() const;
};

// `not_papers`: trainings that were no whole papers; their answers count, their rates do not.
Figures CalculateFigures(const PracticeHistory& history, const std::set<std::int32_t>& not_papers = {});

// Of each question that was answered; facility and discrimination as Moodle defines them.
std::vector<ItemFigures> CalculateItems(const PracticeHistory& history);

}  // namespace qmtrain
