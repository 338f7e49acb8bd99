#include "host/widgets/look.h"

#include <algorithm>

#include <wx/bmpbndl.h>
#include <wx/settings.h>

#include "review/chart_paint.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

wxColour System(wxSystemColour colour) {
    return wxSystemSettings::GetColour(colour);
}

constexpr const char* kIcon =
#include "host/icon.inc"
    ;

}  // namespace

wxFont FontOf(TextSize size, bool bold) {
    wxFont font = wxSystemSettings::GetFont(wxSYS_DEFAULT_GUI_FONT);
    if (size == TextSize::Small) font = font.Scaled(0.9F);
    if (size == TextSize::Large) font = font.Scaled(1.45F);
    return bold ? font.Bold() : font;
}

wxColour Mixed(const wxColour& first, const wxColour& second, double share) {
    const auto mix = [&](int a, int b) { return static_cast<unsigned char>(a * share + b * (1 - share)); };
    return {mix(first.Red(), second.Red()), mix(first.Green(), second.Green()), mix(first.Blue(), second.Blue())};
}

wxColour Colour(Tint tint) {
    const bool dark = review::IsDark();
    switch (tint) {
        case Tint::Text: return System(wxSYS_COLOUR_WINDOWTEXT);
        case Tint::Quiet: return Mixed(Colour(Tint::Text), Colour(Tint::Ground), 0.68);
        case Tint::Accent:
            return dark ? System(wxSYS_COLOUR_HIGHLIGHT).ChangeLightness(125) : System(wxSYS_COLOUR_HIGHLIGHT);
        case Tint::OnAccent: return dark ? wxColour(16, 20, 24) : *wxWHITE;
        case Tint::Good: return dark ? wxColour(98, 205, 130) : wxColour(24, 118, 52);
        case Tint::Bad: return dark ? wxColour(255, 128, 118) : wxColour(184, 28, 36);
        case Tint::Caution: return dark ? wxColour(240, 186, 60) : wxColour(143, 92, 0);
        case Tint::Ground: return System(wxSYS_COLOUR_BTNFACE);
        case Tint::Card: return System(wxSYS_COLOUR_WINDOW);
        case Tint::Line: return Mixed(Colour(Tint::Text), Colour(Tint::Card), 0.24);
        case Tint::Hover: return Mixed(Colour(Tint::Accent), Colour(Tint::Card), 0.08);
        case Tint::Chosen: return Mixed(Colour(Tint::Accent), Colour(Tint::Card), 0.18);
    }
    return {};
}

wxStaticText* MakeLabel(wxWindow* parent, std::u16string_view text, TextSize size, bool bold, Tint tint) {
    auto* label = new wxStaticText(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize, wxST_ELLIPSIZE_END);
    label->SetFont(FontOf(size, bold));
    if (tint != Tint::Text) label->SetForegroundColour(Colour(tint));
    label->SetLabelText(ui::ToWx(text));
    return label;
}

void PassWheel(wxWindow& part, wxWindow& whole) {
    part.Bind(wxEVT_MOUSEWHEEL, [&whole](wxMouseEvent& event) { whole.ProcessWindowEvent(event); });
}

wxIconBundle ProgramIcon() {
    wxIconBundle icons;
    for (const int size : {16, 24, 32, 48, 64, 128}) {
        wxIcon icon;
        icon.CopyFromBitmap(wxBitmapBundle::FromSVG(kIcon, wxSize(size, size)).GetBitmap(wxSize(size, size)));
        icons.AddIcon(icon);
    }
    return icons;
}

}  // namespace qmtrain::host
