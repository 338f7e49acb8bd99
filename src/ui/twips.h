// Twips (1440 to the inch) and a window's pixels.
#pragma once

#include <wx/window.h>

#include "document/picture.h"

namespace qmtrain::ui {

inline int ToPixels(const wxWindow& window, int twips) {
    return window.FromDIP(twips / document::kTwipsPerPixel);
}

inline int ToTwips(const wxWindow& window, int pixels) {
    return window.ToDIP(pixels) * document::kTwipsPerPixel;
}

}  // namespace qmtrain::ui
