// What the score chart shows: the rates, the kind of chart, and the regression line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"
#include "learning/figures.h"

namespace qmtrain::review {

struct ScorePoint {
    Date start = {};
    std::u16string rate = {};  // percent, one decimal: "87.5", ".5"
    double percent = 0;        // the number that the text says
    std::int32_t train_id = -1;
};

ScorePoint ToScorePoint(std::int32_t train_id, Date start, float paper_score, float got_score);

// Nothing for fewer than two points.
std::optional<Trend> Regression(const std::vector<ScorePoint>& points);

enum class ChartType : int { Bars = 1, Line = 3 };

// The chart's options: the regression line is offered for a line chart of at least three trainings.
class ChartOptions {
public:
    explicit ChartOptions(std::size_t rows = 0) : rows_(rows) {}

    // Option 0 is the bar chart, 1 the line chart.
    void SelectType(int option);
    void CheckRegression(bool checked);

    ChartType Type() const { return type_; }
    bool RegressionEnabled() const { return enabled_; }
    bool RegressionShown() const { return shown_; }

private:
    void Apply();

    std::size_t rows_;
    ChartType type_ = ChartType::Bars;
    bool enabled_ = false;
    bool checked_ = false;
    bool shown_ = false;
};

}  // namespace qmtrain::review
