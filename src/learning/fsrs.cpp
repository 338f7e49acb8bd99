#include "learning/fsrs.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace qmtrain::fsrs {
namespace {

constexpr double kMinute = 1.0 / (24 * 60);
constexpr std::array<double, 2> kLearningSteps = {1 * kMinute, 10 * kMinute};
constexpr std::array<double, 1> kRelearningSteps = {10 * kMinute};
constexpr int kLongestInterval = 36500;
constexpr double kLeastStability = 0.001;
constexpr double kOnlyStepWhenHard = 1.5;

double Limited(double difficulty) {
    return std::clamp(difficulty, 1.0, 10.0);
}

int Number(Grade grade) {
    return static_cast<int>(grade);
}

// Whole days, as intervals count them. A second is allowed for dates that were rounded to seconds.
double DaysBetween(Date from, Date to) {
    return std::max(0.0, std::floor(to.days - from.days + 1.0 / 86400));
}

}  // namespace

Scheduler::Scheduler(double retention, const std::array<double, 21>& weights)
    : retention_(retention), w_(weights), factor_(std::pow(0.9, -1 / weights[20]) - 1) {}

double Scheduler::Recall(double days, double stability) const {
    return std::pow(1 + factor_ * days / stability, -w_[20]);
}

double Scheduler::Retrievability(const Card& card, Date when) const {
    return card.IsNew() ? 0 : Recall(DaysBetween(card.last, when), card.stability);
}

int Scheduler::Interval(double stability) const {
    const double days = stability / factor_ * (std::pow(retention_, -1 / w_[20]) - 1);
    return static_cast<int>(std::clamp(std::round(days), 1.0, static_cast<double>(kLongestInterval)));
}

double Scheduler::FirstDifficulty(Grade grade) const {
    return w_[4] - std::exp(w_[5] * (Number(grade) - 1)) + 1;
}

double Scheduler::NextDifficulty(double difficulty, Grade grade) const {
    const double moved = difficulty - w_[6] * (Number(grade) - 3) * (10 - difficulty) / 9;
    return Limited(w_[7] * FirstDifficulty(Grade::Easy) + (1 - w_[7]) * moved);
}

double Scheduler::NextStability(const Card& card, Grade grade, double days) const {
    const double s = card.stability;
    const double d = card.difficulty;
    if (days < 1) {
        double growth = std::exp(w_[17] * (Number(grade) - 3 + w_[18])) * std::pow(s, -w_[19]);
        if (grade >= Grade::Good) growth = std::max(growth, 1.0);
        return s * growth;
    }
    const double recall = Recall(days, s);
    if (grade == Grade::Again) {
        const double forgotten =
            w_[11] * std::pow(d, -w_[12]) * (std::pow(s + 1, w_[13]) - 1) * std::exp(w_[14] * (1 - recall));
        return std::min(forgotten, s / std::exp(w_[17] * w_[18]));
    }
    const double hard = grade == Grade::Hard ? w_[15] : 1;
    const double easy = grade == Grade::Easy ? w_[16] : 1;
    return s *
           (1 + std::exp(w_[8]) * (11 - d) * std::pow(s, -w_[9]) * (std::exp(w_[10] * (1 - recall)) - 1) * hard * easy);
}

Card Scheduler::Review(Card card, Grade grade, Date when) const {
    if (card.IsNew()) {
        card.stability = w_[Number(grade) - 1];
        card.difficulty = Limited(FirstDifficulty(grade));
    } else {
        card.stability = NextStability(card, grade, DaysBetween(card.last, when));
        card.difficulty = NextDifficulty(card.difficulty, grade);
    }
    card.stability = std::max(card.stability, kLeastStability);
    card.last = when;

    const auto graduate = [&] {
        card.stage = Stage::Review;
        card.step = 0;
        card.due = {when.days + Interval(card.stability)};
    };
    const auto step = [&](std::span<const double> steps, int number) {
        card.step = number;
        card.due = {when.days + steps[number]};
    };
    if (card.stage == Stage::Review) {
        if (grade != Grade::Again) {
            graduate();
            return card;
        }
        card.stage = Stage::Relearning;
        step(kRelearningSteps, 0);
        return card;
    }
    const std::span<const double> steps =
        card.stage == Stage::Learning ? std::span<const double>(kLearningSteps) : kRelearningSteps;
    const int last = static_cast<int>(steps.size()) - 1;
    switch (grade) {
        case Grade::Again: step(steps, 0); break;
        case Grade::Hard: {
            step(steps, std::min(card.step, last));
            // At the first step: half way to the second, or half as much again where there is no second.
            if (card.step == 0) {
                card.due = {when.days + (last == 0 ? steps[0] * kOnlyStepWhenHard : (steps[0] + steps[1]) / 2)};
            }
            break;
        }
        case Grade::Good:
            if (card.step >= last) {
                graduate();
            } else {
                step(steps, card.step + 1);
            }
            break;
        case Grade::Easy: graduate(); break;
    }
    return card;
}

}  // namespace qmtrain::fsrs
