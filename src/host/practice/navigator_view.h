// The questions of a paper at a glance: a cell for each, grouped by kind, its state told by shape and colour.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <wx/scrolwin.h>

#include "host/practice/navigator.h"

namespace qmtrain::host {

class NavigatorView : public wxScrolled<wxWindow> {
public:
    struct Cell {
        Answered answered = Answered::No;
        bool marked = false;
        std::optional<Verdict> verdict = {};  // afterwards
        bool left_out = false;                // of those that are gone through
    };

    NavigatorView(wxWindow* parent, std::vector<NavigatorGroup> groups, std::size_t count);

    std::function<void(std::size_t index)> OnGo;

    void SetCell(std::size_t index, const Cell& cell);
    // None when there is no such cell.
    void SetCurrent(std::size_t index);

    // The cell that the keyboard is at.
    std::size_t Cursor() const { return cursor_; }

    // "3 题，部分作答，已标记" as a screen reader says it.
    std::u16string CellText(std::size_t index) const;

    // The middle of a cell, to be clicked on.
    wxPoint PlaceOf(std::size_t index) const;

private:
    void Arrange();
    void Paint();
    void PaintCell(wxDC& dc, std::size_t index);
    void OnKey(wxKeyEvent& event);
    void MoveCursor(std::size_t index);
    void ScrollTo(std::size_t index);
    std::optional<std::size_t> CellAt(wxPoint place) const;

    std::vector<NavigatorGroup> groups_;
    std::vector<Cell> cells_;
    NavigatorLayout layout_;
    std::size_t current_ = 0;
    std::size_t cursor_ = 0;
    std::optional<std::size_t> hovered_;
};

}  // namespace qmtrain::host
