// Panels with rounded corners.
#pragma once

class wxWindow;

namespace qmtrain::ui {

// Rounds the window's corners wherever the toolkit's border does not.
void RoundCorners(wxWindow& window);

}  // namespace qmtrain::ui
