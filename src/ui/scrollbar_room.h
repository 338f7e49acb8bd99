// Scrollbars of windows that can become very small.
#pragma once

#include <wx/scrolwin.h>

namespace qmtrain::ui {

// Takes a window's scrollbars away while there is no room for their handles, which the toolkit would complain of.
class ScrollbarRoom {
public:
    // Before the window takes that size.
    template <class Window>
    void Fit(Window& window, int width, int height) {
        const int least = window.FromDIP(kLeast);
        const wxScrollbarVisibility across = width > 0 && width < least ? wxSHOW_SB_NEVER : wxSHOW_SB_DEFAULT;
        const wxScrollbarVisibility down = height > 0 && height < least ? wxSHOW_SB_NEVER : wxSHOW_SB_DEFAULT;
        if (across == across_ && down == down_) return;
        across_ = across;
        down_ = down;
        window.ShowScrollbars(across, down);
    }

private:
    static constexpr int kLeast = 64;  // pixels of an unscaled screen

    wxScrollbarVisibility across_ = wxSHOW_SB_DEFAULT;
    wxScrollbarVisibility down_ = wxSHOW_SB_DEFAULT;
};

}  // namespace qmtrain::ui
