// The score chart: a bar or a point for each training, oldest first, over an axis from 0 to 100 percent. One of them
// can be chosen with mouse and arrow keys.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
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

    // What stands in the place of trainings when there are none.
    void SetEmptyText(std::u16string_view text);

    // Marks the training at that place; no place removes the mark.
    void Mark(std::optional<std::size_t> place);
    std::optional<std::size_t> Marked() const { return marked_; }

    // Called with the place of the training that the user has chosen; the owner marks it. And when he wants to see it.
    std::function<void(std::size_t place)> OnChoose;
    std::function<void()> OnOpen;

    // The middle of a training's bar, or its point, in the window.
    wxPoint PlaceOf(std::size_t place) const;

private:
    ChartGeometry Geometry() const;
    void Paint();
    void PaintDates(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void PaintBars(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void PaintLine(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void PaintRegression(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void PaintMark(wxGraphicsContext& gc, const ChartGeometry& geometry);
    void Choose(std::size_t place);
    void Hover(std::optional<std::size_t> place);
    // Date and rate of the training there; empty beside the trainings.
    std::u16string TipAt(int x) const;
    void OnMotion(wxMouseEvent& event);
    void OnMouse(const wxMouseEvent& event);
    void OnKey(wxKeyEvent& event);

    std::vector<ScorePoint> points_;
    ChartType type_ = ChartType::Bars;
    bool regression_ = false;
    std::optional<std::size_t> marked_;
    std::optional<std::size_t> hovered_;  // under the mouse
    std::u16string empty_text_;
};

}  // namespace qmtrain::review
