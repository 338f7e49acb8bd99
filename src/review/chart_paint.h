// What charts of rates have in common: colours out of the theme, the axis from 0 to 100 percent, the line of a pass.
#pragma once

#include <string_view>

#include <wx/colour.h>
#include <wx/graphics.h>
#include <wx/window.h>

#include "review/chart_geometry.h"

namespace qmtrain::review {

struct ChartColours {
    wxColour ground;
    wxColour text;
    wxColour quiet;
    wxColour grid;
    wxColour passed;
    wxColour failed;
    wxColour pass_line;
    wxColour trend;
};

// Whether the theme has light text on a dark ground.
bool IsDark();

// Of the theme as it is now.
ChartColours CurrentColours();

// A bar under the mouse, on light and dark grounds.
wxColour Raised(const wxColour& colour);

// Lines at every fifth with their labels on the left; that of a pass says so. The room that the labels take.
void PaintRateAxis(wxGraphicsContext& gc, const wxWindow& window, const ChartGeometry& geometry);
int RateAxisWidth(const wxWindow& window);

// A text in the middle above a point, within left and right.
void PaintAbove(wxGraphicsContext& gc, const wxString& text, double x, double y, const PlotArea& area);

// A short line of that kind and its name, in the upper right corner of the area.
void PaintLegend(wxGraphicsContext& gc, const wxWindow& window, const PlotArea& area, const wxPen& pen,
                 const wxString& name);

}  // namespace qmtrain::review
