#include "review/tab_strip.h"

#include <wx/dcbuffer.h>
#include <wx/graphics.h>
#include <wx/renderer.h>
#include <wx/settings.h>

#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::review {
namespace {

// Twips.
constexpr int kTabWidth = 1650;
constexpr int kTabHeight = 420;
constexpr int kOverlap = 180;
constexpr int kLeft = 120;
constexpr int kActiveGrowth = 90;  // how much wider the active tab is
constexpr int kTop = 60;
constexpr double kCornerRadius = 6;  // pixels of an unscaled screen

}  // namespace

TabStrip::TabStrip(wxWindow* parent)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxWANTS_CHARS) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetMinSize(wxSize(-1, ui::ToPixels(*this, kTop + kTabRise + kTabHeight)));
    Bind(wxEVT_PAINT, [this](wxPaintEvent&) { Paint(); });
    Bind(wxEVT_LEFT_DOWN, &TabStrip::OnMouse, this);
    Bind(wxEVT_KEY_DOWN, &TabStrip::OnKey, this);
    Bind(wxEVT_SET_FOCUS, [this](wxFocusEvent&) { Refresh(); });
    Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent&) { Refresh(); });
}

void TabStrip::Click(int tab) {
    if (!tabs_.Click(tab)) return;
    Refresh();
    if (OnSwitch) OnSwitch(tab);
}

// Tabs of one height, so that a caption moves as its tab does.
wxRect TabStrip::TabRect(int tab) const {
    const bool active = tab == tabs_.Active();
    const int growth = active ? kActiveGrowth : 0;
    const int left = kLeft + kActiveGrowth / 2 + tab * (kTabWidth - kOverlap) - growth / 2;
    return {ui::ToPixels(*this, left), ui::ToPixels(*this, kTop + (active ? 0 : kTabRise)),
            ui::ToPixels(*this, kTabWidth + growth), ui::ToPixels(*this, kTabHeight)};
}

void TabStrip::Paint() {
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(GetParent()->GetBackgroundColour());
    dc.Clear();
    const int bottom = GetClientSize().y - 1;
    PaintTab(dc, 1 - tabs_.Active());
    dc.SetPen(wxSystemSettings::GetColour(wxSYS_COLOUR_BTNSHADOW));
    dc.DrawLine(0, bottom, GetClientSize().x, bottom);
    PaintTab(dc, tabs_.Active());
}

void TabStrip::PaintTab(wxDC& dc, int tab) {
    const bool active = tab == tabs_.Active();
    const wxRect area = TabRect(tab);
    const wxColour face = wxSystemSettings::GetColour(active ? wxSYS_COLOUR_WINDOW : wxSYS_COLOUR_BTNFACE);
    dc.SetPen(wxSystemSettings::GetColour(wxSYS_COLOUR_BTNSHADOW));
    dc.SetBrush(active ? face : face.ChangeLightness(94));
    {
        // Down to the panel, which the active tab opens into.
        const int height = GetClientSize().y - area.y;
        const wxDCClipper clip(dc, area.x, area.y, area.width, height - (active ? 0 : 1));
        const int radius = FromDIP(static_cast<int>(kCornerRadius));
        dc.DrawRoundedRectangle(area.x, area.y, area.width, height + 2 * radius, radius);
    }
    dc.SetFont(active ? GetFont().Bold() : GetFont());
    dc.SetTextForeground(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT));
    dc.DrawLabel(ui::ToWx(kTabCaptions[tab]), area, wxALIGN_CENTRE);
    if (active && HasFocus()) wxRendererNative::Get().DrawFocusRect(this, dc, wxRect(area).Deflate(FromDIP(4)));
}

void TabStrip::OnMouse(wxMouseEvent& event) {
    SetFocus();
    for (const int tab : {tabs_.Active(), 1 - tabs_.Active()}) {  // the active one lies on top
        if (TabRect(tab).Contains(event.GetPosition())) return Click(tab);
    }
}

void TabStrip::OnKey(wxKeyEvent& event) {
    switch (event.GetKeyCode()) {
        case WXK_LEFT: return Click(kListTab);
        case WXK_RIGHT: return Click(kChartTab);
        case WXK_SPACE: return Click(1 - tabs_.Active());
        case WXK_TAB: Navigate(event.ShiftDown() ? 0 : wxNavigationKeyEvent::IsForward); return;
        default: event.Skip();
    }
}

}  // namespace qmtrain::review
