#include "review/score_chart.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include <wx/dcbuffer.h>
#include <wx/graphics.h>
#include <wx/settings.h>

#include "core/convert.h"
#include "core/format.h"
#include "records/score.h"
#include "review/chart_paint.h"
#include "ui/wx_text.h"

namespace qmtrain::review {
namespace {

// Pixels of an unscaled screen.
constexpr int kMargin = 16;
constexpr int kWidestBar = 40;
constexpr int kPointRadius = 3;
constexpr double kMostMarkedPoints = 120;  // more of them would hide the line

constexpr int kStub = 2;  // of a bar for nothing, so that it is seen

}  // namespace

ScoreChart::ScoreChart(wxWindow* parent)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxWANTS_CHARS),
      empty_text_(u"还没有可以显示的成绩") {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetMinSize(FromDIP(wxSize(240, 160)));
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Refresh();
    });
    Bind(wxEVT_MOTION, &ScoreChart::OnMotion, this);
    Bind(wxEVT_LEAVE_WINDOW, [this](wxMouseEvent&) { Hover(std::nullopt); });
    Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
        event.Skip();
        Refresh();
    });
    Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent& event) { OnMouse(event); });
    Bind(wxEVT_LEFT_DCLICK, [this](wxMouseEvent& event) {
        OnMouse(event);
        if (OnOpen && Geometry().At(event.GetX())) OnOpen();
    });
    Bind(wxEVT_KEY_DOWN, &ScoreChart::OnKey, this);
    Bind(wxEVT_SET_FOCUS, [this](wxFocusEvent&) { Refresh(); });
    Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent&) { Refresh(); });
}

void ScoreChart::SetPoints(std::vector<ScorePoint> points) {
    points_ = std::move(points);
    marked_.reset();
    hovered_.reset();
    Refresh();
}

void ScoreChart::SetOptions(ChartType type, bool regression) {
    type_ = type;
    regression_ = regression;
    Refresh();
}

void ScoreChart::SetEmptyText(std::u16string_view text) {
    empty_text_ = text;
    Refresh();
}

void ScoreChart::Mark(std::optional<std::size_t> place) {
    marked_ = place;
    Refresh();
}

wxPoint ScoreChart::PlaceOf(std::size_t place) const {
    const ChartGeometry geometry = Geometry();
    const double percent = std::max(0.0, points_[place].percent);
    return {static_cast<int>(geometry.X(static_cast<double>(place))),
            static_cast<int>(geometry.Y(type_ == ChartType::Bars ? percent / 2 : percent))};
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
    const double left = margin / 2.0 + RateAxisWidth(*this);
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
    PaintRateAxis(*gc, *this, geometry);
    if (points_.empty()) {
        dc.SetFont(GetFont());
        dc.SetTextForeground(wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
        dc.DrawLabel(ui::ToWx(empty_text_), GetClientRect(), wxALIGN_CENTRE);
        return;
    }
    PaintDates(*gc, geometry);
    if (type_ == ChartType::Bars) {
        PaintBars(*gc, geometry);
    } else {
        PaintLine(*gc, geometry);
        if (regression_) PaintRegression(*gc, geometry);
    }
    if (marked_) PaintMark(*gc, geometry);
}

void ScoreChart::PaintDates(wxGraphicsContext& gc, const ChartGeometry& geometry) {
    const PlotArea& area = geometry.Area();
    gc.SetFont(GetFont(), CurrentColours().text);
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
    const ChartColours colours = CurrentColours();
    const double width = geometry.BarWidth(FromDIP(kWidestBar));
    gc.SetPen(*wxTRANSPARENT_PEN);
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const double percent = std::max(0.0, points_[i].percent);
        const wxColour& colour = IsPassRate(percent) ? colours.passed : colours.failed;
        gc.SetBrush(wxBrush(hovered_ == i ? Raised(colour) : colour));
        const double height = std::max<double>(FromDIP(kStub), geometry.Y(0) - geometry.Y(percent));
        gc.DrawRectangle(geometry.X(static_cast<double>(i)) - width / 2, geometry.Y(0) - height, width, height);
    }
    // Few bars say what they are worth.
    gc.SetFont(GetFont().Scaled(0.85F), colours.text);
    double widest = 0;
    double high = 0;
    gc.GetTextExtent("100.0", &widest, &high);
    if (widest * static_cast<double>(points_.size()) > geometry.Area().width) return;
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const double percent = std::max(0.0, points_[i].percent);
        PaintAbove(gc, ui::ToWx(ToText(Value(std::round(percent * 10) / 10))), geometry.X(static_cast<double>(i)),
                   geometry.Y(percent), geometry.Area());
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
    const ChartColours colours = CurrentColours();
    gc.SetPen(wxPen(colours.passed, FromDIP(2)));
    gc.StrokePath(path);
    if (static_cast<double>(points_.size()) > kMostMarkedPoints) return;
    gc.SetPen(*wxTRANSPARENT_PEN);
    const double radius = FromDIP(kPointRadius);
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const double percent = std::max(0.0, points_[i].percent);
        gc.SetBrush(wxBrush(IsPassRate(percent) ? colours.passed : colours.failed));
        const double size = hovered_ == i ? 1.6 * radius : radius;
        gc.DrawEllipse(geometry.X(static_cast<double>(i)) - size, geometry.Y(percent) - size, 2 * size, 2 * size);
    }
}

void ScoreChart::PaintRegression(wxGraphicsContext& gc, const ChartGeometry& geometry) {
    const auto line = Regression(points_);
    if (!line) return;
    const auto last = static_cast<double>(points_.size() - 1);
    const PlotArea& area = geometry.Area();
    gc.PushState();
    gc.Clip(area.left, area.top, area.width, area.height);
    const wxPen pen(CurrentColours().trend, FromDIP(2), wxPENSTYLE_LONG_DASH);
    gc.SetPen(pen);
    gc.StrokeLine(geometry.X(0), geometry.Y(line->intercept), geometry.X(last),
                  geometry.Y(line->intercept + line->slope * last));
    gc.PopState();
    PaintLegend(gc, *this, area, pen, ui::ToWx(u"回归线"));
}

// A frame around the bar, or a ring around the point; with the focus it is as wide as the keyboard's frames are.
void ScoreChart::PaintMark(wxGraphicsContext& gc, const ChartGeometry& geometry) {
    const double x = geometry.X(static_cast<double>(*marked_));
    const double y = geometry.Y(std::max(0.0, points_[*marked_].percent));
    const double gap = FromDIP(2);
    gc.SetPen(wxPen(CurrentColours().text, FromDIP(HasFocus() ? 2 : 1)));
    gc.SetBrush(*wxTRANSPARENT_BRUSH);
    if (type_ == ChartType::Bars) {
        const double width = geometry.BarWidth(FromDIP(kWidestBar)) + 2 * gap;
        gc.DrawRectangle(x - width / 2, y - gap, width, geometry.Y(0) - y + 2 * gap);
    } else {
        const double radius = FromDIP(kPointRadius) + 2 * gap;
        gc.DrawEllipse(x - radius, y - radius, 2 * radius, 2 * radius);
    }
}

void ScoreChart::Choose(std::size_t place) {
    if (OnChoose) OnChoose(place);
}

void ScoreChart::OnMouse(const wxMouseEvent& event) {
    SetFocus();
    if (const auto place = Geometry().At(event.GetX())) Choose(*place);
}

void ScoreChart::OnKey(wxKeyEvent& event) {
    if (event.GetKeyCode() == WXK_TAB) {
        Navigate(event.ShiftDown() ? 0 : wxNavigationKeyEvent::IsForward);
        return;
    }
    if (points_.empty()) return event.Skip();
    const std::size_t last = points_.size() - 1;
    const std::size_t now = marked_.value_or(last);
    switch (event.GetKeyCode()) {
        case WXK_LEFT:
        case WXK_UP: return Choose(!marked_ || now == 0 ? now : now - 1);
        case WXK_RIGHT:
        case WXK_DOWN: return Choose(std::min(last, marked_ ? now + 1 : now));
        case WXK_HOME: return Choose(0);
        case WXK_END: return Choose(last);
        case WXK_RETURN:
        case WXK_NUMPAD_ENTER:
            if (marked_ && OnOpen) OnOpen();
            return;
        default: event.Skip();
    }
}

void ScoreChart::Hover(std::optional<std::size_t> place) {
    if (hovered_ == place) return;
    hovered_ = place;
    Refresh();
}

void ScoreChart::OnMotion(wxMouseEvent& event) {
    Hover(Geometry().At(event.GetX()));
    const wxString tip = ui::ToWx(TipAt(event.GetX()));
    if (tip.empty()) {
        UnsetToolTip();
    } else if (GetToolTipText() != tip) {
        SetToolTip(tip);
    }
}

}  // namespace qmtrain::review
