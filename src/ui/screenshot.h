// Pictures of windows as users see them.
#pragma once

#include <filesystem>

class wxWindow;

namespace qmtrain::ui {

// Writes what the screen shows of the window's inside as PNG; false when that fails. Outside Windows ImageMagick takes
// the picture, which has to be there.
bool SaveScreenshot(const wxWindow& window, const std::filesystem::path& file);

}  // namespace qmtrain::ui
