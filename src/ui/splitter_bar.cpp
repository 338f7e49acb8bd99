#include "ui/splitter_bar.h"

#include <wx/cursor.h>
#include <wx/settings.h>

#include "ui/twips.h"

namespace qmtrain::ui {
namespace {

const wxColour kHeldColour(128, 128, 128);

wxColour FreeColour() {
    return wxSystemSettings::GetColour(wxSYS_COLOUR_ACTIVEBORDER);
}

}  // namespace

SplitterBar::SplitterBar(wxWindow* parent, Direction direction) : wxPanel(parent) {
    SetDirection(direction);
    SetBackgroundColour(FreeColour());
    Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent&) {
        dragging_ = true;
        SetBackgroundColour(kHeldColour);
        Raise();  // the panes keep their sizes until the bar is released
        Refresh();
        if (!HasCapture()) CaptureMouse();
    });
    Bind(wxEVT_MOTION, [this](wxMouseEvent& event) { Drag(event); });
    Bind(wxEVT_LEFT_UP, [this](wxMouseEvent&) { Drop(); });
    Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) { Drop(); });
}

// The window may be closed while the bar is held.
SplitterBar::~SplitterBar() {
    if (HasCapture()) ReleaseMouse();
}

void SplitterBar::SetDirection(Direction direction) {
    direction_ = direction;
    SetCursor(wxCursor(direction == Direction::LeftRight ? wxCURSOR_SIZEWE : wxCURSOR_SIZENS));
}

void SplitterBar::Drag(const wxMouseEvent& event) {
    if (!dragging_ || !OnDrag) return;
    const wxPoint place = GetPosition();
    const int edge = direction_ == Direction::LeftRight ? place.x + event.GetX() : place.y + event.GetY();
    OnDrag(ToTwips(*this, edge));
}

void SplitterBar::Drop() {
    if (!dragging_) return;
    dragging_ = false;
    if (HasCapture()) ReleaseMouse();
    SetBackgroundColour(FreeColour());
    Refresh();
    if (OnDrop) OnDrop();
}

}  // namespace qmtrain::ui
