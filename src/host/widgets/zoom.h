// Larger and smaller question texts.
#pragma once

#include "document/rich_text.h"

namespace qmtrain::host {

inline constexpr int kLeastZoom = 75;  // percent
inline constexpr int kUsualZoom = 100;
inline constexpr int kMostZoom = 250;

// The next size, up (+1) or down (-1), or the same one at the end.
int NextZoom(int percent, int direction);

// The text with letters of that size.
document::RichText Zoomed(const document::RichText& text, int percent);

}  // namespace qmtrain::host
