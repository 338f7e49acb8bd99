#include "review/score_series.h"

#include "core/convert.h"
#include "core/format.h"
#include "records/score.h"

namespace qmtrain::review {
namespace {

constexpr std::size_t kLeastRowsForRegression = 3;

}  // namespace

ScorePoint ToScorePoint(std::int32_t train_id, Date start, float paper_score, float got_score) {
    std::u16string text = Format(static_cast<float>(Rate(paper_score, got_score)), u"##.0");
    const double percent = ToDouble(Value(text));
    return {start, std::move(text), percent, train_id};
}

std::optional<Trend> Regression(const std::vector<ScorePoint>& points) {
    std::vector<double> percents;
    percents.reserve(points.size());
    for (const ScorePoint& point : points) percents.push_back(point.percent);
    return TrendOf(percents);
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
