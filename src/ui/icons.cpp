#include "ui/icons.h"

#include <string>

#include <wx/settings.h>

namespace qmtrain::ui {
namespace {

// What stands inside a 16 by 16 drawing.
const char* ShapesOf(Icon icon) {
    switch (icon) {
        case Icon::Pass:
            return R"(<circle cx="8" cy="8" r="7" fill="#2e9d4f"/>
                      <path d="M4.4 8.3 L7 10.8 L11.6 5.6" fill="none" stroke="#fff" stroke-width="1.8"
                            stroke-linecap="round" stroke-linejoin="round"/>)";
        case Icon::Fail:
            return R"(<circle cx="8" cy="8" r="7" fill="#d13438"/>
                      <path d="M5.4 5.4 L10.6 10.6 M10.6 5.4 L5.4 10.6" fill="none" stroke="#fff" stroke-width="1.8"
                            stroke-linecap="round"/>)";
        case Icon::Ascending: return R"(<path d="M3.5 10.5 L8 5.5 L12.5 10.5 Z" fill="#5b6b7b"/>)";
        case Icon::Descending: return R"(<path d="M3.5 5.5 L8 10.5 L12.5 5.5 Z" fill="#5b6b7b"/>)";
        case Icon::Notebook:
            return R"(<rect x="3" y="1.5" width="11" height="13" rx="1.4" fill="#4285c8"/>
                      <rect x="5.6" y="4" width="6.4" height="3.4" rx="0.6" fill="#fff"/>
                      <path d="M1.8 4 H4.2 M1.8 8 H4.2 M1.8 12 H4.2" stroke="#2b5d94" stroke-width="1.2"/>)";
        case Icon::Bank:
            return R"(<path d="M1.5 4 A1.2 1.2 0 0 1 2.7 2.8 H6.2 L7.8 4.5 H13.3 A1.2 1.2 0 0 1 14.5 5.7 V12
                            A1.2 1.2 0 0 1 13.3 13.2 H2.7 A1.2 1.2 0 0 1 1.5 12 Z" fill="#e9b44c"/>
                      <path d="M1.5 7 H14.5 V12 A1.2 1.2 0 0 1 13.3 13.2 H2.7 A1.2 1.2 0 0 1 1.5 12 Z"
                            fill="#f4cd7a"/>)";
        case Icon::Note:
            return R"(<path d="M3 1.8 H10.2 L13.2 4.8 V14.2 H3 Z" fill="#fff" stroke="#6b7b8c"/>
                      <path d="M10.2 1.8 V4.8 H13.2" fill="none" stroke="#6b7b8c"/>
                      <path d="M5 7.2 H11.2 M5 9.4 H11.2 M5 11.6 H9" stroke="#4285c8"/>)";
        case Icon::Edit:
            return R"(<path d="M2.5 13.5 L3.3 10.2 L10.8 2.7 L13.3 5.2 L5.8 12.7 Z" fill="#4285c8"/>
                      <path d="M9.6 3.9 L12.1 6.4" stroke="#fff"/>
                      <path d="M2.5 13.5 L3.3 10.2 L5.8 12.7 Z" fill="#e9b44c"/>)";
        case Icon::Save:
            return R"(<path d="M2 3 A1 1 0 0 1 3 2 H11.5 L14 4.5 V13 A1 1 0 0 1 13 14 H3 A1 1 0 0 1 2 13 Z"
                            fill="#4285c8"/>
                      <rect x="4.6" y="2" width="5.8" height="3.8" fill="#fff"/>
                      <rect x="4.2" y="8.4" width="7.6" height="5.6" fill="#fff"/>)";
        case Icon::Delete:
            return R"(<path d="M3.6 5 H12.4 L11.7 14.2 H4.3 Z" fill="#d13438"/>
                      <rect x="2.6" y="2.8" width="10.8" height="1.5" rx="0.5" fill="#a4262c"/>
                      <rect x="6.2" y="1.4" width="3.6" height="1.6" fill="#a4262c"/>
                      <path d="M6.3 6.8 V12.4 M8 6.8 V12.4 M9.7 6.8 V12.4" stroke="#fff" stroke-width="0.9"/>)";
        case Icon::Previous: return R"(<path d="M10.5 2.8 L4.5 8 L10.5 13.2 Z" fill="#4285c8"/>)";
        case Icon::Next: return R"(<path d="M5.5 2.8 L11.5 8 L5.5 13.2 Z" fill="#4285c8"/>)";
    }
    return "";
}

// Every colour but white becomes the grey of what cannot be pressed, and white the window's colour.
std::string Greyed(std::string drawing) {
    const auto digits = [](wxSystemColour colour) {
        const wxColour value = wxSystemSettings::GetColour(colour);
        return wxString::Format("%02x%02x%02x", value.Red(), value.Green(), value.Blue()).utf8_string();
    };
    const std::string grey = digits(wxSYS_COLOUR_GRAYTEXT);
    const std::string white = digits(wxSYS_COLOUR_BTNFACE);
    for (std::size_t at = 0; (at = drawing.find("\"#", at)) != std::string::npos; at += 2) {
        const std::size_t end = drawing.find('"', at + 2);
        const bool is_white = drawing.substr(at + 2, end - at - 2) == "fff";
        drawing.replace(at + 2, end - at - 2, is_white ? white : grey);
    }
    return drawing;
}

}  // namespace

wxBitmapBundle GetIcon(Icon icon, int size, IconState state) {
    const std::string drawing =
        std::string(R"(<svg xmlns="http://www.w3.org/2000/svg" width="16" height="16" viewBox="0 0 16 16">)") +
        ShapesOf(icon) + "</svg>";
    const std::string shown = state == IconState::Enabled ? drawing : Greyed(drawing);
    return wxBitmapBundle::FromSVG(shown.c_str(), wxSize(size, size));
}

}  // namespace qmtrain::ui
