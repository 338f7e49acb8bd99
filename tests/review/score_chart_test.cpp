// What the score chart shows and where it draws it, and the tabs above it.

#include <gtest/gtest.h>

#include "core/text.h"
#include "review/chart_geometry.h"
#include "review/score_series.h"
#include "review/tab_pair.h"

namespace qmtrain::review {
namespace {

std::vector<ScorePoint> Points(const std::vector<double>& percents) {
    std::vector<ScorePoint> points;
    points.reserve(percents.size());
    for (const double percent : percents) points.push_back({.percent = percent});
    return points;
}

TEST(ScoreSeries, RatesAsTextAndNumber) {
    struct Case {
        float paper;
        float got;
        const char* text;
        double percent;
    };
    const Case cases[] = {
        {80, 70, "87.5", 87.5}, {200, 1, ".5", 0.5},        {100, 0, ".0", 0},        {0, 5, ".0", 0},
        {50, 60, "100.0", 100}, {3000, 2000, "66.7", 66.7}, {100, 100, "100.0", 100},
    };
    for (const Case& c : cases) {
        const ScorePoint point = ToScorePoint(57, Date{38454}, c.paper, c.got);
        EXPECT_EQ(ToUtf8(point.rate), c.text);
        EXPECT_EQ(point.percent, c.percent) << c.text;
        EXPECT_EQ(point.start, Date{38454});
    }
}

TEST(ScoreSeries, RegressionByLeastSquares) {
    struct Case {
        std::vector<double> percents;
        double intercept;
        double slope;
    };
    // The third: means 1.5 and 30; products of the distances 30 - 5 - 5 + 30 = 50, squares 5.
    for (const Case& c : {Case{{40, 40, 40}, 40, 0}, Case{{90, 50}, 90, -40}, Case{{10, 40, 20, 50}, 15, 10},
                          Case{{0, 100, 0}, 100.0 / 3, 0}}) {
        const auto line = Regression(Points(c.percents));
        ASSERT_TRUE(line) << testing::PrintToString(c.percents);
        EXPECT_DOUBLE_EQ(line->intercept, c.intercept);
        EXPECT_DOUBLE_EQ(line->slope, c.slope);
    }
    EXPECT_FALSE(Regression(Points({70})));
    EXPECT_FALSE(Regression({}));
}

TEST(ChartOptions, RegressionNeedsALineChartOfThreeTrainings) {
    struct Case {
        std::size_t rows;
        const char* steps;  // B and L choose the chart, + and - (un)check the regression line
        ChartType type;
        bool enabled;
        bool shown;
    };
    const Case cases[] = {
        {3, "", ChartType::Bars, false, false},     {2, "L", ChartType::Line, false, false},
        {0, "L", ChartType::Line, false, false},    {3, "L", ChartType::Line, true, false},
        {3, "L+", ChartType::Line, true, true},     {3, "L+-", ChartType::Line, true, false},
        {3, "+", ChartType::Bars, false, false},    {3, "+L", ChartType::Line, true, true},
        {3, "LB", ChartType::Bars, false, false},   {3, "L+BL", ChartType::Line, true, true},
        {3, "L+B-L", ChartType::Line, true, false},
    };
    for (const Case& c : cases) {
        ChartOptions options(c.rows);
        for (const char* step = c.steps; *step != '\0'; ++step) {
            if (*step == 'B' || *step == 'L') options.SelectType(*step == 'L' ? 1 : 0);
            if (*step == '+' || *step == '-') options.CheckRegression(*step == '+');
        }
        SCOPED_TRACE(testing::Message() << c.rows << " " << c.steps);
        EXPECT_EQ(options.Type(), c.type);
        EXPECT_EQ(options.RegressionEnabled(), c.enabled);
        if (c.type == ChartType::Line) {
            EXPECT_EQ(options.RegressionShown(), c.shown);
        }
    }
}

TEST(ChartGeometry, EveryTrainingIsFoundWhereItIsDrawn) {
    for (const std::size_t count : {1U, 3U, 7U, 599U, 5000U}) {
        const ChartGeometry geometry({40, 10, 600, 200}, count);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(geometry.At(geometry.X(static_cast<double>(i))), i) << "of " << count;
        }
        EXPECT_EQ(geometry.At(40), 0U);
        EXPECT_EQ(geometry.At(639.999), count - 1);
        EXPECT_EQ(geometry.At(39.9), std::nullopt);
        EXPECT_EQ(geometry.At(640), std::nullopt);

        constexpr double kLabel = 70;
        const double band = 600.0 / static_cast<double>(count);
        const auto step = static_cast<double>(geometry.LabelStep(kLabel));
        EXPECT_GE(step * band, kLabel) << "labels touch, " << count;
        EXPECT_TRUE(step == 1 || (step - 1) * band < kLabel) << "labels are left out for nothing, " << count;
        EXPECT_GE(geometry.BarWidth(40), 1);
        EXPECT_LE(geometry.BarWidth(40), 40);
    }
    const ChartGeometry four({40, 10, 600, 200}, 4);
    EXPECT_DOUBLE_EQ(four.X(0), 115);
    EXPECT_DOUBLE_EQ(four.Y(0), 210);
    EXPECT_DOUBLE_EQ(four.Y(75), 60);
    EXPECT_DOUBLE_EQ(four.Y(100), 10);
    EXPECT_EQ(ChartGeometry({0, 0, 100, 100}, 0).At(50), std::nullopt);
    EXPECT_GE(ChartGeometry({0, 0, 100, 100}, 0).LabelStep(70), 1U);
}

TEST(TabPair, OneIsActiveAndClickingItDoesNothing) {
    TabPair tabs;
    EXPECT_EQ(tabs.Active(), kListTab);
    EXPECT_FALSE(tabs.Click(kListTab));
    EXPECT_TRUE(tabs.Click(kChartTab));
    EXPECT_EQ(tabs.Active(), kChartTab);
    EXPECT_FALSE(tabs.Click(kChartTab));
    EXPECT_TRUE(tabs.Click(kListTab));
    EXPECT_EQ(tabs.Active(), kListTab);
}

}  // namespace
}  // namespace qmtrain::review
