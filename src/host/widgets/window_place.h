// The size of a window when it was last open.
#pragma once

#include <string>
#include <string_view>

#include <wx/toplevel.h>

#include "ui/layout.h"

namespace qmtrain::host {

// Gives the window the size it is known to have had, its first one otherwise, in the middle of the screen and within
// it.
void Place(wxTopLevelWindow& window, std::u16string_view known, const ui::WindowSizes& sizes);

std::u16string PlaceOf(const wxTopLevelWindow& window);

}  // namespace qmtrain::host
