#include "ui/screenshot.h"

#include <cstdlib>

#include <wx/window.h>

namespace qmtrain::ui {

bool SaveScreenshot(const wxWindow& window, const std::filesystem::path& file) {
    const wxRect area(window.ClientToScreen(wxPoint(0, 0)), window.GetClientSize());
    const double scale = window.GetContentScaleFactor();
    const auto pixels = [&](int length) { return static_cast<int>(length * scale); };
    const wxString crop =
        wxString::Format("%dx%d+%d+%d", pixels(area.width), pixels(area.height), pixels(area.x), pixels(area.y));
    const wxString command = "import -silent -window root -crop " + crop + " +repage '" + file.string() + "'";
    return std::system(command.utf8_str()) == 0;
}

}  // namespace qmtrain::ui
