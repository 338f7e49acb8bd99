#include "review/score_chart.h"

#include <memory>

#include <wx/dcbuffer.h>
#include <wx/graphics.h>
#include <wx/settings.h>

#include "core/format.h"
#include "ui/wx_text.h"

namespace qmtrain::review {
namespace {

// Pixels of an unscaled screen.
constexpr int kMargin = 16;
constexpr int kWidestBar = 40;
constexpr int kPointRadius = 3;
constexpr double kMostMarkedPoints = 120;  // more of them would hide the line

constexpr int kGridStep = 20;  // percent
constexpr double kPassRate = 60;

const wxColour kGridColour(222, 226, 230);
const wxColour kPassLineColour(209, 52, 56, 110);
const wxColour kPassedColour(66, 133, 200);
const wxColour kFailedColour(224, 108, 102);
const wxColour kRegressionColour(240, 140, 0);

wxColour TextColour() {
    return wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT);
}

}  // namespace

ScoreChart::ScoreChart(wxWindow* parent) : wxPanel(parent) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetMinSize(FromDIP(wxSize(240, 160)));
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Refresh();
    });
    Bind(wxEVT_MOTION, &ScoreChart::OnMotion, this);
}

void ScoreChart::SetPoints(std::vector<ScorePoint> points) {
    points_ = std::move(points);
    Refresh();
}

void ScoreChart::SetOptions(ChartType type, bool regression) {
    type_ = type;
    regression_ = regression;
    Refresh();
}

std::u16string ScoreChart::TipAt(int x) const {
    const auto place = Geometry().At(x);
    if (!place) return {};
    const ScorePoint& point = points_[*place];
    return Format(point.start, u"yyyy-mm-dd hh:nn") + u"\n得分率：" + Format(point.percent, u"#0.0") + u"%";
}

ChartGeometry ScoreChart::Geometry() const {
    const int margin = FromDIP(kMargin);
    const wxSize label = GetTextExtent("100%");
    const wxSize area = GetClientSize();
    const double left = margin + label.x + margin / 2.0;
    const double top = margin + label.y / 2.0;
    const double width = std::max(1.0, area.x - left - margin);
    const double height = std::max(1.0, area.y - top - label.y - 1.5 * margin);
    return {{left, top, width, height}, points_.size()};
}

void ScoreChart::Paint() {
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW));
    dc.Clear();
    const std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::Create(dc));
    if (!gc) return;
    const ChartGeometry geometry = Geometry();
    PaintAxes(*gc, geometry);
    if (points_.empty()) {
        dc.SetFont(GetFont());
        dc.SetTextForeground(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
        dc.DrawLabel(ui::ToWx(u"还没有可以显示的成绩"), GetClientRect(), wxALIGN_CENTRE);
        return;
    }
    PaintDates(*gc, geometry);
    if (type_ == ChartType::Bars) {
        PaintBars(*gc, geometry);
    } else {
        PaintLine(*gc, geometry);
        if (regression_) PaintRegression(*gc, geometry);
    }
}

void ScoreChart::PaintAxes(wxGraphicsContext& gc, const ChartGeometry& geometry) {
    const PlotArea& area = geometry.Area();
    gc.SetFont(GetFont(), TextColour());
    for (int percent = 0; percent <= 100; percent += kGridStep) {
        const double y = geometry.Y(percent);
        gc.SetPen(wxPen(percent == 0 ? TextColour() : kGridColour));
        gc.StrokeLine(area.left, y, area.left + area.width, y);
        const wxString label = wxString::Format("%d%%", percent);
        double width = 0;
        double height = 0;
        gc.GetTextExtent(label, &width, &height);
        gc.DrawText(label, area.left - width - FromDIP(kMargin) / 2.0, y - height / 2);
    }
    gc.SetPen(wxPen(kPassLineColour, FromDIP(1), wxPENSTYLE_SHORT_DASH));
    gc.StrokeLine(area.left, geometry.Y(kPassRate), area.left + area.width, geometry.Y(kPassRate));
}

void ScoreChart::PaintDates(wxGraphicsContext& gc, const ChartGeometry& geometry) {
    const PlotArea& area = geometry.Area();
    gc.SetFont(GetFont(), TextColour());
    double widest = 0;
    double height = 0;
    gc.GetTextExtent("00-00-00", &widest, &height);
    const std::size_t step = geometry.LabelStep(widest + FromDIP(kMargin));
    for (std::size_t i = 0; i < points_.size(); i += step) {
        const wxString label = ui::ToWx(Format(points_[i].start, u"yy-mm-dd"));
        double width = 0;
        gc.GetTextExtent(label, &width, &height);
        const double left = std::clamp(geometry.X(static_cast<double>(i)) - width / 2, 0.0,
                                       std::max(0.0, area.left + area.width + FromDIP(kMargin) - width));
        gc.DrawText(label, left, area.top + area.height + FromDIP(kMargin) / 3.0);
    }
}

void ScoreChart::PaintBars(wxGraphicsContext& gc, const ChartGeometry& geometry) {
    const double width = geometry.BarWidth(FromDIP(kWidestBar));
    gc.SetPen(*wxTRANSPARENT_PEN);
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const double percent = std::max(0.0, points_[i].percent);
        gc.SetBrush(wxBrush(percent >= kPassRate ? kPassedColour : kFailedColour));
        const double top = geometry.Y(percent);
        gc.DrawRectangle(geometry.X(static_cast<double>(i)) - width / 2, top, width, geometry.Y(0) - top);
    }
}

void ScoreChart::PaintLine(wxGraphicsContext& gc, const ChartGeometry& geometry) {
    wxGraphicsPath path = gc.CreatePath();
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const double x = geometry.X(static_cast<double>(i));
        const double y = geometry.Y(std::max(0.0, points_[i].percent));
        if (i == 0) {
            path.MoveToPoint(x, y);
        } else {
            path.AddLineToPoint(x, y);
        }
    }
    gc.SetPen(wxPen(kPassedColour, FromDIP(2)));
    gc.StrokePath(path);
    if (static_cast<double>(points_.size()) > kMostMarkedPoints) return;
    gc.SetPen(*wxTRANSPARENT_PEN);
    const double radius = FromDIP(kPointRadius);
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const double percent = std::max(0.0, points_[i].percent);
        gc.SetBrush(wxBrush(percent >= kPassRate ? kPassedColour : kFailedColour));
        gc.DrawEllipse(geometry.X(static_cast<double>(i)) - radius, geometry.Y(percent) - radius, 2 * radius,
                       2 * radius);
    }
}

void ScoreChart::PaintRegression(wxGraphicsContext& gc, const ChartGeometry& geometry) {
    const auto line = Regression(points_);
    if (!line) return;
    const auto last = static_cast<double>(points_.size() - 1);
    const PlotArea& area = geometry.Area();
    gc.PushState();
    gc.Clip(area.left, area.top, area.width, area.height);
    gc.SetPen(wxPen(kRegressionColour, FromDIP(2), wxPENSTYLE_LONG_DASH));
    gc.StrokeLine(geometry.X(0), geometry.Y(line->intercept), geometry.X(last),
                  geometry.Y(line->intercept + line->slope * last));
    gc.PopState();
}

void ScoreChart::OnMotion(wxMouseEvent& event) {
    const wxString tip = ui::ToWx(TipAt(event.GetX()));
    if (tip.empty()) {
        UnsetToolTip();
    } else if (GetToolTipText() != tip) {
        SetToolTip(tip);
    }
}

}  // namespace qmtrain::review
