#include "review/chart_paint.h"

#include <algorithm>

#include <wx/pen.h>
#include <wx/settings.h>

#include "records/score.h"

namespace qmtrain::review {
namespace {

constexpr int kGridStep = 20;    // percent
constexpr int kGap = 8;          // pixels of an unscaled screen
constexpr int kLegendLine = 20;  // one dash

wxString PassLabel() {
    return wxString::FromUTF8("及格 60%");
}

wxColour Faint(const wxColour& colour, unsigned char opacity) {
    return {colour.Red(), colour.Green(), colour.Blue(), opacity};
}

}  // namespace

bool IsDark() {
    return wxSystemSettings::GetAppearance().IsUsingDarkBackground();
}

ChartColours CurrentColours() {
    const bool dark = IsDark();
    ChartColours colours;
    colours.ground = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW);
    colours.text = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT);
    colours.quiet = Faint(colours.text, 170);
    colours.grid = Faint(colours.text, 36);
    colours.passed = dark ? wxColour(98, 160, 226) : wxColour(52, 120, 190);
    colours.failed = dark ? wxColour(240, 134, 124) : wxColour(214, 88, 82);
    colours.pass_line = dark ? wxColour(255, 150, 140, 190) : wxColour(184, 28, 36, 150);
    colours.trend = dark ? wxColour(245, 180, 70) : wxColour(204, 110, 0);
    return colours;
}

wxColour Raised(const wxColour& colour) {
    return colour.ChangeLightness(IsDark() ? 125 : 80);
}

void PaintRateAxis(wxGraphicsContext& gc, const wxWindow& window, const ChartGeometry& geometry) {
    const ChartColours colours = CurrentColours();
    const PlotArea& area = geometry.Area();
    const double gap = window.FromDIP(kGap);
    for (int percent = 0; percent <= 100; percent += kGridStep) {
        const bool pass = percent == static_cast<int>(kPassRate);
        const double y = geometry.Y(percent);
        gc.SetPen(pass           ? wxPen(colours.pass_line, window.FromDIP(1), wxPENSTYLE_SHORT_DASH)
                  : percent == 0 ? wxPen(colours.text)
                                 : wxPen(colours.grid));
        gc.StrokeLine(area.left, y, area.left + area.width, y);
        const wxString label = pass ? PassLabel() : wxString::Format("%d%%", percent);
        gc.SetFont(window.GetFont(), pass ? Faint(colours.pass_line, 255) : colours.text);
        double width = 0;
        double height = 0;
        gc.GetTextExtent(label, &width, &height);
        gc.DrawText(label, area.left - width - gap, y - height / 2);
    }
}

int RateAxisWidth(const wxWindow& window) {
    return window.GetTextExtent(PassLabel()).x + window.FromDIP(kGap);
}

void PaintAbove(wxGraphicsContext& gc, const wxString& text, double x, double y, const PlotArea& area) {
    double width = 0;
    double height = 0;
    gc.GetTextExtent(text, &width, &height);
    const double left = std::clamp(x - width / 2, area.left, std::max(area.left, area.left + area.width - width));
    gc.DrawText(text, left, y - height - 2);
}

void PaintLegend(wxGraphicsContext& gc, const wxWindow& window, const PlotArea& area, const wxPen& pen,
                 const wxString& name) {
    const ChartColours colours = CurrentColours();
    gc.SetFont(window.GetFont().Scaled(0.85F), colours.text);
    double width = 0;
    double height = 0;
    gc.GetTextExtent(name, &width, &height);
    const double right = area.left + area.width;
    const double line = window.FromDIP(kLegendLine);
    const double top = std::max(0.0, area.top - height - 2);
    gc.SetPen(pen);
    gc.StrokeLine(right - width - line - window.FromDIP(kGap) / 2.0, top + height / 2,
                  right - width - window.FromDIP(kGap) / 2.0, top + height / 2);
    gc.DrawText(name, right - width, top);
}

}  // namespace qmtrain::review
