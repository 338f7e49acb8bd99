#include "host/widgets/window_place.h"

#include <algorithm>

#include <wx/display.h>

#include "host/data/settings.h"

namespace qmtrain::host {

void Place(wxTopLevelWindow& window, std::u16string_view known, const ui::WindowSizes& sizes) {
    window.SetMinClientSize(window.FromDIP(sizes.least));
    const WindowPlace place = WindowPlace::FromText(known, {sizes.first.x, sizes.first.y, false});
    const wxSize screen = wxDisplay(0U).GetClientArea().GetSize();
    wxSize size = window.FromDIP(wxSize(place.width, place.height));
    size.DecTo(screen);
    size.IncTo(window.GetMinClientSize());
    window.SetClientSize(size);
    window.CentreOnScreen();
    if (place.maximized) window.Maximize();
}

std::u16string PlaceOf(const wxTopLevelWindow& window) {
    const wxSize size = window.ToDIP(window.GetClientSize());
    return WindowPlace{size.x, size.y, window.IsMaximized()}.ToText();
}

}  // namespace qmtrain::host
