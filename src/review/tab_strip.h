// The two tabs above the history's panels. The active one stands higher, overlaps its neighbour and opens into the
// panel.
#pragma once

#include <functional>

#include <wx/panel.h>

#include "review/tab_pair.h"

namespace qmtrain::review {

class TabStrip : public wxPanel {
public:
    explicit TabStrip(wxWindow* parent);

    // Called with the tab that has become active.
    std::function<void(int tab)> OnSwitch;

    // As if the tab were clicked; nothing for the active one.
    void Click(int tab);

    wxRect TabRect(int tab) const;

private:
    void Paint();
    void PaintTab(wxDC& dc, int tab);
    void OnMouse(wxMouseEvent& event);
    void OnKey(wxKeyEvent& event);

    TabPair tabs_;
};

}  // namespace qmtrain::review
