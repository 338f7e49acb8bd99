#include "host/widgets/bars.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <utility>

#include <wx/brush.h>
#include <wx/dcbuffer.h>
#include <wx/graphics.h>
#include <wx/pen.h>

#include "core/format.h"
#include "core/text.h"
#include "host/widgets/look.h"
#include "records/score.h"
#include "review/chart_geometry.h"
#include "review/chart_paint.h"
#include "ui/layout.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

// Pixels of an unscaled screen.
constexpr int kBarHeight = 14;
constexpr int kSquare = 13;
constexpr int kMostWeeks = 53;
constexpr int kDaysOfWeek = 7;
constexpr std::size_t kManyDots = 500;
constexpr std::size_t kMostPoints = 1000;  // more would hide one another

std::u16string Rate(double rate) {
    return Format(rate, u"0.0") + u"%";
}

wxString Fitting(wxGraphicsContext& gc, const wxString& text, double room) {
    double width = 0;
    double height = 0;
    gc.GetTextExtent(text, &width, &height);
    if (width <= room) return text;
    for (std::size_t length = text.length(); length > 1; --length) {
        wxString shorter = text.substr(0, length - 1) + wxString::FromUTF8("…");
        gc.GetTextExtent(shorter, &width, &height);
        if (width <= room) return shorter;
    }
    return text.substr(0, 1);
}

// 1899-12-30, the day 0, was a Saturday.
int WeekdayOf(int day) {
    return ((day + 5) % kDaysOfWeek + kDaysOfWeek) % kDaysOfWeek;  // 0: Monday
}

}  // namespace

Drawing::Drawing(wxWindow* parent, wxSize least)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE | wxFULL_REPAINT_ON_RESIZE) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetMinSize(FromDIP(least));
    DisableFocusFromKeyboard();
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) {
        wxAutoBufferedPaintDC dc(this);
        dc.SetBackground(GetParent()->GetBackgroundColour());
        dc.Clear();
        const std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::Create(dc));
        if (gc) Paint(*gc, GetClientSize());
    });
    Bind(wxEVT_MOTION, [this](wxMouseEvent& event) {
        const wxString tip = ui::ToWx(TipAt(event.GetPosition()));
        if (tip.empty()) {
            UnsetToolTip();
        } else if (GetToolTipText() != tip) {
            SetToolTip(tip);
        }
    });
}

void Drawing::Say(std::u16string_view text) {
    SetSpokenName(*this, text, Role::Picture);
    Refresh();
}

// ---- rates of groups ----

RateBars::RateBars(wxWindow* parent, std::u16string_view name) : Drawing(parent, {220, 40}), name_(name) {}

int RateBars::RowHeight() const {
    return std::max(GetCharHeight(), FromDIP(kBarHeight)) + FromDIP(ui::kGap);
}

void RateBars::SetBars(std::vector<Bar> bars) {
    bars_ = std::move(bars);
    std::u16string text = name_;
    for (const Bar& bar : bars_) text += u"，" + bar.name + u" " + Rate(bar.rate);
    SetMinSize({FromDIP(220), std::max(1, static_cast<int>(bars_.size())) * RowHeight()});
    Say(text);
}

void RateBars::Paint(wxGraphicsContext& gc, wxSize size) {
    const review::ChartColours colours = review::CurrentColours();
    const wxFont font = GetFont();
    gc.SetFont(font, colours.text);
    double label = 0;
    double value = 0;
    double height = 0;
    for (const Bar& bar : bars_) {
        double width = 0;
        gc.GetTextExtent(ui::ToWx(bar.name), &width, &height);
        label = std::max(label, width);
    }
    gc.GetTextExtent("100.0%  (99999)", &value, &height);
    const double gap = FromDIP(ui::kGap);
    label = std::min(label, size.x * 0.34);
    const double left = label + gap;
    const double width = std::max(10.0, size.x - left - value - gap);
    const int row = RowHeight();
    for (std::size_t i = 0; i < bars_.size(); ++i) {
        const Bar& bar = bars_[i];
        const double middle = (static_cast<double>(i) + 0.5) * row;
        gc.SetFont(font, colours.text);
        gc.DrawText(Fitting(gc, ui::ToWx(bar.name), label), 0, middle - height / 2);
        const double thick = FromDIP(kBarHeight);
        gc.SetPen(*wxTRANSPARENT_PEN);
        gc.SetBrush(wxBrush(colours.grid));
        gc.DrawRectangle(left, middle - thick / 2, width, thick);
        gc.SetBrush(wxBrush(IsPassRate(bar.rate) ? colours.passed : colours.failed));
        gc.DrawRectangle(left, middle - thick / 2,
                         std::max<double>(FromDIP(2), width * std::min(100.0, bar.rate) / 100), thick);
        gc.DrawText(ui::ToWx(Rate(bar.rate)), left + width + gap, middle - height / 2);
        double shown = 0;
        gc.GetTextExtent(ui::ToWx(Rate(bar.rate) + u" "), &shown, &height);
        gc.SetFont(font, colours.quiet);
        gc.DrawText(ui::ToWx(u"(" + ToText(bar.times) + u")"), left + width + gap + shown, middle - height / 2);
    }
    gc.SetPen(wxPen(colours.pass_line, FromDIP(1), wxPENSTYLE_SHORT_DASH));
    const double pass = left + width * kPassRate / 100;
    gc.StrokeLine(pass, 0, pass, static_cast<double>(bars_.size()) * row);
}

std::u16string RateBars::TipAt(wxPoint place) const {
    const std::size_t row = std::max(0, place.y) / RowHeight();
    if (row >= bars_.size()) return {};
    return bars_[row].name + u"：" + Rate(bars_[row].rate) + u"，共答 " + ToText(bars_[row].times) +
           u" 道次；虚线是及格线 60%";
}

// ---- days ----

Calendar::Calendar(wxWindow* parent) : Drawing(parent, {220, 20 + kDaysOfWeek * (kSquare + 2)}) {}

void Calendar::SetDays(std::map<int, Day> days, Date today) {
    days_ = std::move(days);
    today_ = static_cast<int>(std::floor(today.days));
    int practised = 0;
    for (const auto& [day, one] : days_) practised += one.questions > 0 && day > today_ - 30 && day <= today_ ? 1 : 0;
    Say(u"练习日历，最近 30 天练习了 " + ToText(practised) + u" 天");
}

int Calendar::Square() const {
    return FromDIP(kSquare) + FromDIP(2);
}

int Calendar::Weeks(int width) const {
    return std::clamp((width - FromDIP(20)) / Square(), 1, kMostWeeks);
}

int Calendar::FirstDay(int width) const {
    return today_ - WeekdayOf(today_) - (Weeks(width) - 1) * kDaysOfWeek;
}

void Calendar::Paint(wxGraphicsContext& gc, wxSize size) {
    const review::ChartColours colours = review::CurrentColours();
    const int first = FirstDay(size.x);
    const int square = Square();
    const double left = FromDIP(20);
    const double top = GetCharHeight();
    int most = 1;
    for (const auto& [day, one] : days_) {
        if (day >= first) most = std::max(most, one.questions);
    }
    const wxFont font = GetFont().Scaled(0.8F);
    gc.SetFont(font, colours.quiet);
    constexpr const char16_t* kNames[] = {u"一", u"三", u"五", u"日"};
    for (int i = 0; i < 4; ++i) {
        gc.DrawText(ui::ToWx(kNames[i]), 0, top + 2 * i * square - FromDIP(1));
    }
    int month = -1;
    double free_from = 0;  // labels do not touch
    for (int day = first; day <= today_; ++day) {
        const int week = (day - first) / kDaysOfWeek;
        const double x = left + week * square;
        const CivilTime civil = ToCivil(Date{static_cast<double>(day)});
        if (WeekdayOf(day) == 0 && civil.month != month) {
            month = civil.month;
            if (x >= free_from) {
                const wxString name = ui::ToWx(ToText(civil.month) + u"月");
                double width = 0;
                double height = 0;
                gc.GetTextExtent(name, &width, &height);
                gc.DrawText(name, x, 0);
                free_from = x + width + FromDIP(ui::kTiny);
            }
        }
        const auto found = days_.find(day);
        const int count = found == days_.end() ? 0 : found->second.questions;
        const double share = count == 0 ? 0 : 0.3 + 0.7 * count / most;
        gc.SetBrush(wxBrush(count == 0 ? colours.grid : Mixed(colours.passed, colours.ground, share)));
        gc.SetPen(day == today_ ? wxPen(colours.text) : *wxTRANSPARENT_PEN);
        gc.DrawRoundedRectangle(x, top + WeekdayOf(day) * square, FromDIP(kSquare), FromDIP(kSquare), FromDIP(2));
    }
}

std::u16string Calendar::TipAt(wxPoint place) const {
    const int square = Square();
    const int week = (place.x - FromDIP(20)) / square;
    const int weekday = (place.y - GetCharHeight()) / square;
    if (place.x < FromDIP(20) || place.y < GetCharHeight() || weekday >= kDaysOfWeek) return {};
    const int day = FirstDay(GetClientSize().x) + week * kDaysOfWeek + weekday;
    if (day > today_) return {};
    const std::u16string date = Format(Date{static_cast<double>(day)}, u"yyyy-mm-dd");
    const auto found = days_.find(day);
    if (found == days_.end() || found->second.questions == 0) return date + u"：没有练习";
    return date + u"：" + ToText(found->second.questions) + u" 道题，" + ToText(found->second.minutes) + u" 分钟";
}

// ---- counts ----

CountColumns::CountColumns(wxWindow* parent, std::u16string_view name, std::u16string_view unit)
    : Drawing(parent, {220, 120}), name_(name), unit_(unit) {}

void CountColumns::SetColumns(std::vector<Count> columns) {
    columns_ = std::move(columns);
    std::u16string text = name_;
    for (const Count& column : columns_) {
        if (column.count > 0) text += u"，" + column.label + u" " + ToText(column.count);
    }
    Say(text);
}

void CountColumns::Paint(wxGraphicsContext& gc, wxSize size) {
    if (columns_.empty()) return;
    const review::ChartColours colours = review::CurrentColours();
    const wxFont font = GetFont().Scaled(0.85F);
    gc.SetFont(font, colours.text);
    double widest = 0;
    double height = 0;
    for (const Count& column : columns_) {
        double width = 0;
        gc.GetTextExtent(ui::ToWx(column.label), &width, &height);
        widest = std::max(widest, width);
    }
    int most = 1;
    for (const Count& column : columns_) most = std::max(most, column.count);
    const double top = height + FromDIP(ui::kTiny);
    const review::PlotArea area{0, top, static_cast<double>(size.x),
                                std::max(1.0, size.y - top - height - FromDIP(ui::kTiny))};
    const review::ChartGeometry geometry(area, columns_.size());
    const double width = geometry.BarWidth(FromDIP(36));
    const std::size_t step = geometry.LabelStep(widest + FromDIP(ui::kTiny));
    gc.SetPen(wxPen(colours.text));
    gc.StrokeLine(0, geometry.Y(0), size.x, geometry.Y(0));
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const double x = geometry.X(static_cast<double>(i));
        const double y = geometry.Y(100.0 * columns_[i].count / most);
        gc.SetPen(*wxTRANSPARENT_PEN);
        gc.SetBrush(wxBrush(colours.passed));
        if (columns_[i].count > 0) gc.DrawRectangle(x - width / 2, y, width, geometry.Y(0) - y);
        double extent = 0;
        if (columns_[i].count > 0) {
            gc.SetFont(font, colours.text);
            const wxString value = ui::ToWx(ToText(columns_[i].count));
            gc.GetTextExtent(value, &extent, &height);
            if (extent <= area.width / static_cast<double>(columns_.size())) review::PaintAbove(gc, value, x, y, area);
        }
        if (i % step != 0) continue;
        gc.SetFont(font, colours.quiet);
        const wxString label = ui::ToWx(columns_[i].label);
        gc.GetTextExtent(label, &extent, &height);
        gc.DrawText(label, std::clamp(x - extent / 2, 0.0, std::max(0.0, size.x - extent)), geometry.Y(0) + 2);
    }
}

std::u16string CountColumns::TipAt(wxPoint place) const {
    if (columns_.empty()) return {};
    const review::ChartGeometry geometry({0, 0, static_cast<double>(GetClientSize().x), 1}, columns_.size());
    const auto found = geometry.At(place.x);
    if (!found) return {};
    const Count& column = columns_[*found];
    return (column.tip.empty() ? column.label : column.tip) + u"：" + ToText(column.count) + unit_;
}

// ---- pace ----

PaceChart::PaceChart(wxWindow* parent) : Drawing(parent, {240, 180}) {}

void PaceChart::SetPoints(std::vector<Point> points) {
    if (points.size() > kMostPoints) points.erase(points.begin(), points.end() - kMostPoints);
    points_ = std::move(points);
    Say(u"每题用时与得分率，" + ToText(points_.size()) + u" 份试卷");
}

void PaceChart::Paint(wxGraphicsContext& gc, wxSize size) {
    const review::ChartColours colours = review::CurrentColours();
    const wxSize label = GetTextExtent("100%");
    const double margin = FromDIP(ui::kGap);
    const double left = margin / 2 + review::RateAxisWidth(*this);
    const double top = label.y / 2.0 + margin;
    const review::PlotArea area{left, top, std::max(1.0, size.x - left - margin),
                                std::max(1.0, size.y - top - label.y - 1.5 * margin)};
    const review::ChartGeometry geometry(area, 1);
    review::PaintRateAxis(gc, *this, geometry);
    if (points_.empty()) return;
    double most = 10;
    for (const Point& point : points_) most = std::max(most, point.seconds);
    const double scale = area.width / (most * 1.05);
    gc.SetFont(GetFont().Scaled(0.85F), colours.quiet);
    const double step = std::max(10.0, std::round(most / 4 / 10) * 10);
    for (int mark = 0; mark * step <= most; ++mark) {
        const double seconds = mark * step;
        const double x = area.left + seconds * scale;
        const wxString text = ui::ToWx(Format(seconds, u"0") + u" 秒");
        double width = 0;
        double height = 0;
        gc.GetTextExtent(text, &width, &height);
        gc.DrawText(text, std::min(x, size.x - width), area.top + area.height + 2);
    }
    // Of dots that hide each other one is drawn: each is a request to the display.
    const bool many = points_.size() > kManyDots;
    gc.SetPen(many ? *wxTRANSPARENT_PEN : wxPen(colours.ground));
    const double radius = FromDIP(4);
    std::set<std::pair<int, int>> drawn;
    for (const Point& point : points_) {
        const double x = area.left + point.seconds * scale;
        const double y = geometry.Y(point.rate);
        if (many && !drawn.emplace(static_cast<int>(x / radius), static_cast<int>(y / radius)).second) continue;
        gc.SetBrush(wxBrush(IsPassRate(point.rate) ? colours.passed : colours.failed));
        gc.DrawEllipse(x - radius, y - radius, 2 * radius, 2 * radius);
    }
}

std::u16string PaceChart::TipAt(wxPoint) const {
    return points_.empty() ? std::u16string() : u"每个点是一份试卷：横轴是每题平均用时，纵轴是得分率";
}

}  // namespace qmtrain::host
