#include "review/score_series.h"

#include "core/convert.h"
#include "core/format.h"
#include "review/training_row.h"

namespace qmtrain::review {
namespace {

constexpr std::size_t kLeastRowsForRegression = 3;

}  // namespace

ScorePoint ToScorePoint(std::int32_t train_id, Date start, float paper_score, float got_score) {
    std::u16string text = Format(Rate(paper_score, got_score), u"##.0");
    const double percent = ToDouble(Value(text));
    return {start, std::move(text), percent, train_id};
}

std::optional<Line> Regression(const std::vector<ScorePoint>& points) {
    const auto count = static_cast<double>(points.size());
    if (points.size() < 2) return std::nullopt;
    const double middle = (count - 1) / 2;
    double sum = 0;
    for (const ScorePoint& point : points) sum += point.percent;
    double products = 0;
    double squares = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double x = static_cast<double>(i) - middle;
        products += x * points[i].percent;
        squares += x * x;
    }
    const double slope = products / squares;
    return Line{sum / count - slope * middle, slope};
}

void ChartOptions::SelectType(int option) {
    enabled_ = option == 1 && rows_ >= kLeastRowsForRegression;
    type_ = option == 0 ? ChartType::Bars : ChartType::Line;
    Apply();
}

void ChartOptions::CheckRegression(bool checked) {
    checked_ = checked;
    Apply();
}

// A bar chart leaves the line as it was; it does not show it.
void ChartOptions::Apply() {
    if (type_ == ChartType::Line) shown_ = checked_;
}

}  // namespace qmtrain::review
