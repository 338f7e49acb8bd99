// The score chart: a bar or a point for each training, oldest first, over an axis from 0 to 100 percent.
#pragma once

#include <vector>

#include <wx/panel.h>

#include "review/chart_geometry.h"
#include "review/score_series.h"

class wxGraphicsContext;

namespace qmtrain::review {

class ScoreChart : public wxPanel {
public:
    explicit ScoreChart(wxWindow* parent);

    void SetPoints(std::vector<ScorePoint> points);
    std::size_t RowCount() const { return points_.size(); }
    const std::vector<ScorePoint>& Points() const { return points_; }

    void SetOptions(ChartType type, bool regression);
    ChartType Type() const { return type_; }
    bool ShowsRegression() const { return regression_; }

    // The text beside the mouse: date and rate of the training there; empty beside the trainings.
    std::u16string TipAt(int x) const;

private:
    ChartGeometry Geometry() const;
    void Paint();
    void PaintAxes(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void PaintDates(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void PaintBars(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void PaintLine(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void PaintRegression(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void OnMotion(wxMouseEvent& event);

    std::vector<ScorePoint> points_;
    ChartType type_ = ChartType::Bars;
    bool regression_ = false;
};

}  // namespace qmtrain::review
