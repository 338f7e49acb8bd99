// When a question should be practised again: the scheduler FSRS, version 6.
//
// A card remembers of a question how long it will be known (stability, days until the chance to know it has fallen to
// 90 %) and how hard it is (difficulty, 1 to 10). Each review changes both and says when the next one is due.
#pragma once

#include <array>
#include <cstdint>

#include "core/date.h"

namespace qmtrain::fsrs {

enum class Grade : std::uint8_t { Again = 1, Hard = 2, Good = 3, Easy = 4 };

// New questions, and those that were forgotten, take steps of minutes before intervals of days begin.
enum class Stage : std::uint8_t { Learning = 1, Review = 2, Relearning = 3 };

struct Card {
    Stage stage = Stage::Learning;
    int step = 0;
    double stability = 0;  // 0: never reviewed
    double difficulty = 0;
    Date last = {};
    Date due = {};

    bool IsNew() const { return stability == 0; }
};

inline constexpr std::array<double, 21> kDefaultWeights = {0.212,  1.2931, 2.3065, 8.2956, 6.4133, 0.8334, 3.0194,
                                                           0.001,  1.8722, 0.1666, 0.796,  1.4835, 0.0614, 0.2629,
                                                           1.6483, 0.6014, 1.8729, 0.5425, 0.0912, 0.0658, 0.1542};

class Scheduler {
public:
    // `retention`: the chance to know a question at which it is due again.
    explicit Scheduler(double retention = 0.9, const std::array<double, 21>& weights = kDefaultWeights);

    Card Review(Card card, Grade grade, Date when) const;

    // The chance to know the question at that time, from 0 to 1; 0 for a new one.
    double Retrievability(const Card& card, Date when) const;

    // Days from a review to the next.
    int Interval(double stability) const;

private:
    double Recall(double days, double stability) const;
    double FirstDifficulty(Grade grade) const;
    double NextDifficulty(double difficulty, Grade grade) const;
    double NextStability(const Card& card, Grade grade, double days) const;

    double retention_;
    std::array<double, 21> w_;
    double factor_;
};

}  // namespace qmtrain::fsrs
