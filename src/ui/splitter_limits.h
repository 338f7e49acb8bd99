// How far a splitter bar may be dragged. Measures are twips.
#pragma once

namespace qmtrain::ui {

// No pane becomes smaller than about this.
inline constexpr int kLeastPane = 600;

// Whether the bar's left or top edge may go there, in an area of that width or height.
constexpr bool AcceptsEdge(int edge, int extent) {
    return edge > kLeastPane && edge <= extent - kLeastPane;
}

// Whether it stays away from both sides by more than `least`.
constexpr bool StaysAway(int edge, int extent, int least) {
    return edge > least && edge < extent - least;
}

}  // namespace qmtrain::ui
