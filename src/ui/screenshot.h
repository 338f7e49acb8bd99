// Pictures of windows as users see them.
#pragma once

#include <filesystem>

class wxWindow;

namespace qmtrain::ui {

// Writes what the screen shows of the window's inside. ImageMagick takes the picture, of the screen itself; false when
// it is not there.
bool SaveScreenshot(const wxWindow& window, const std::filesystem::path& file);

}  // namespace qmtrain::ui
