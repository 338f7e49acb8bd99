// How the host's windows look: sizes of text, colours, names for screen readers, the program's icon.
#pragma once

#include <cstdint>
#include <string_view>

#include <wx/iconbndl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

namespace qmtrain::host {

enum class TextSize : std::uint8_t { Small, Body, Large };
wxFont FontOf(TextSize size, bool bold = false);

// Good, Bad and Caution carry meaning, and never without a word or a shape beside them.
enum class Tint : std::uint8_t { Text, Quiet, Accent, OnAccent, Good, Bad, Caution, Ground, Card, Line, Hover, Chosen };
wxColour Colour(Tint tint);

// `share` of the first, the rest of the second.
wxColour Mixed(const wxColour& first, const wxColour& second, double share);

// A line of text that ends with an ellipsis where it has no room.
wxStaticText* MakeLabel(wxWindow* parent, std::u16string_view text, TextSize size = TextSize::Body, bool bold = false,
                        Tint tint = Tint::Text);

// The accessible name and role of a control without a caption of its own, or of one that draws itself.
enum class Role : std::uint8_t { Own, RadioButton, CheckBox, List, Bar, Picture };
void SetSpokenName(wxWindow& window, std::u16string_view name, Role role = Role::Own);

// The mouse wheel over the part scrolls the whole.
void PassWheel(wxWindow& part, wxWindow& whole);

// Room between the frame of a large text box and its text.
void SetInnerMargin(wxTextCtrl& text);

wxIconBundle ProgramIcon();

}  // namespace qmtrain::host
