// The scheduler against published values, and against what its curve means.

#include "learning/fsrs.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

namespace qmtrain::fsrs {
namespace {

constexpr Date kStart{39000.5};

// Days to the next review after each grade ("3" is Good …), every review when it is due.
std::string IntervalsOf(std::string_view grades, double retention = 0.9) {
    const Scheduler scheduler(retention);
    Card card;
    Date when = kStart;
    std::string text;
    for (const char grade : grades) {
        card = scheduler.Review(card, static_cast<Grade>(grade - '0'), when);
        const double days = std::floor(card.due.days - when.days + 1e-9);
        text += (text.empty() ? "" : " ") + std::to_string(static_cast<int>(days));
        when = card.due;
    }
    return text;
}

TEST(Fsrs, PublishedIntervals) {
    EXPECT_EQ(IntervalsOf("3333331133333"), "0 2 11 46 163 498 0 0 2 4 7 12 21");
}

TEST(Fsrs, FirstReviews) {
    struct Case {
        Grade grade;
        double stability, difficulty, minutes;
    };
    const Case cases[] = {
        {Grade::Again, 0.212, 6.4133, 1},
        {Grade::Hard, 1.2931, 5.1122, 5.5},
        {Grade::Good, 2.3065, 2.1181, 10},
        {Grade::Easy, 8.2956, 1, 8 * 24 * 60},  // no steps
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(static_cast<int>(one.grade));
        const Card card = Scheduler().Review({}, one.grade, kStart);
        EXPECT_NEAR(card.stability, one.stability, 1e-9);
        EXPECT_NEAR(card.difficulty, one.difficulty, 1e-4);
        EXPECT_NEAR((card.due.days - kStart.days) * 24 * 60, one.minutes, 1e-4);
    }
}

TEST(Fsrs, TheChanceToKnowIsNinetyPercentAfterTheStability) {
    const Scheduler scheduler;
    for (const double stability : {10.0, 50.0, 100.0}) {
        Card card;
        card.stability = stability;
        card.last = kStart;
        EXPECT_NEAR(scheduler.Retrievability(card, kStart), 1, 1e-12);
        EXPECT_NEAR(scheduler.Retrievability(card, {kStart.days + stability}), 0.9, 1e-12);
        EXPECT_EQ(scheduler.Interval(stability), stability);
        // For a lower wish the interval is that at whose end the curve has reached it.
        const int longer = Scheduler(0.8).Interval(stability * 20);
        card.stability = stability * 20;
        EXPECT_NEAR(scheduler.Retrievability(card, {kStart.days + longer}), 0.8, 1e-3);
    }
    EXPECT_EQ(scheduler.Retrievability({}, kStart), 0);
    EXPECT_EQ(scheduler.Interval(1e9), 36500);
    EXPECT_EQ(scheduler.Interval(0.01), 1);
}

// What every learner expects of it, over many random sequences.
TEST(Fsrs, BetterAnswersComeBackLater) {
    unsigned random = 1;
    for (int round = 0; round < 500; ++round) {
        const Scheduler scheduler;
        Card card;
        Date when = kStart;
        for (int review = 0; review < 12; ++review) {
            random = random * 1664525U + 1013904223U;
            const Card again = scheduler.Review(card, Grade::Again, when);
            const Card hard = scheduler.Review(card, Grade::Hard, when);
            const Card good = scheduler.Review(card, Grade::Good, when);
            const Card easy = scheduler.Review(card, Grade::Easy, when);
            ASSERT_LE(again.stability, hard.stability + 1e-12);
            ASSERT_LE(hard.stability, good.stability + 1e-12);
            ASSERT_LE(good.stability, easy.stability + 1e-12);
            ASSERT_LE(again.due, hard.due);
            ASSERT_LE(hard.due, good.due);
            ASSERT_LE(good.due, easy.due);
            ASSERT_GE(again.difficulty, good.difficulty);
            for (const Card& one : {again, hard, good, easy}) {
                ASSERT_GE(one.difficulty, 1);
                ASSERT_LE(one.difficulty, 10);
                ASSERT_GT(one.due, when);
            }
            const Card* all[] = {&again, &hard, &good, &easy};
            card = *all[(random >> 16) % 4];
            when = {card.due.days + (random >> 20) % 5};
        }
    }
}

}  // namespace
}  // namespace qmtrain::fsrs
