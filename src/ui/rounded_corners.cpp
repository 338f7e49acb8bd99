#include "ui/rounded_corners.h"

#include <wx/window.h>
#ifdef __WXMSW__
#include <wx/msw/private.h>
#endif

namespace qmtrain::ui {
namespace {

#ifdef __WXMSW__
constexpr int kCornerEllipse = 10;  // pixels of an unscaled screen, across and down

// The system takes the region over.
void CutCorners(wxWindow& window) {
    const wxSize size = window.GetSize();
    const int ellipse = window.FromDIP(kCornerEllipse);
    const HRGN region = CreateRoundRectRgn(0, 0, size.x + 1, size.y + 1, ellipse, ellipse);
    if (SetWindowRgn(GetHwndOf(&window), region, TRUE) == 0) DeleteObject(region);
}
#endif

}  // namespace

void RoundCorners([[maybe_unused]] wxWindow& window) {
#ifdef __WXMSW__
    window.Bind(wxEVT_SIZE, [&window](wxSizeEvent& event) {
        event.Skip();
        CutCorners(window);
    });
    CutCorners(window);
#endif
}

}  // namespace qmtrain::ui
