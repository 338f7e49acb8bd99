// A bar between two panes that can be dragged: grey while it is held, otherwise in the colour of window borders.
#pragma once

#include <functional>

#include <wx/panel.h>

namespace qmtrain::ui {

class SplitterBar : public wxPanel {
public:
    enum class Direction : std::uint8_t { LeftRight, TopBottom };

    // Made after the panes that it stands between, so that it is drawn above them while it is dragged.
    SplitterBar(wxWindow* parent, Direction direction);
    ~SplitterBar() override;

    // A bar may be turned round with what it stands between.
    void SetDirection(Direction direction);

    // Called while the bar is dragged, with the edge (left or top, twips) where it is wanted. The owner moves the bar
    // there, above the panes, or leaves it where it is.
    std::function<void(int edge)> OnDrag;
    // Called when the bar is released: the owner lays the panes out around it.
    std::function<void()> OnDrop;

    static constexpr int kThickness = 6;  // pixels of an unscaled screen

private:
    void Drag(const wxMouseEvent& event);
    void Drop();

    Direction direction_ = Direction::LeftRight;
    bool dragging_ = false;
};

}  // namespace qmtrain::ui
