// What all windows have in common in how they are laid out: distances, captions, rows of buttons, sizes.
#pragma once

#include <initializer_list>
#include <string_view>

#include <wx/button.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/toplevel.h>

namespace qmtrain::ui {

// Distances in pixels of an unscaled screen.
inline constexpr int kTiny = 4;     // between a caption and what it stands for
inline constexpr int kNarrow = 6;   // within a pane that a splitter bar makes smaller
inline constexpr int kGap = 8;      // between neighbouring controls
inline constexpr int kMargin = 12;  // around the content of a window
inline constexpr int kWide = 16;    // around the content of a dialog, and between groups of controls

// The insides of windows, in pixels of an unscaled screen.
struct WindowSizes {
    wxSize least;
    wxSize first;
};
inline const WindowSizes kLargeWindow{{680, 460}, {980, 660}};   // lists and questions beside each other
inline const WindowSizes kMediumWindow{{600, 420}, {820, 560}};  // one list
void SetSizes(wxTopLevelWindow& window, const WindowSizes& sizes);

// Buttons and other controls in a row: the first ones at its left end, the others at its right end.
wxBoxSizer* ControlRow(const wxWindow& window, std::initializer_list<wxWindow*> left,
                       std::initializer_list<wxWindow*> right);

// As wide as what stands on it, with a margin on either side. To be called again when that changes.
void FitToCaption(wxButton& button, int margin = kMargin);

// A caption in bold. An "&" in its text is one.
wxStaticText* BoldCaption(wxWindow* parent, std::u16string_view text = {});

}  // namespace qmtrain::ui
