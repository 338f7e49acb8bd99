// Pictures of the kinds that documents hold: PNG, JPEG, bitmaps.
#pragma once

#include <wx/image.h>

#include "document/picture.h"

namespace qmtrain::ui {

// The most that is decoded: a picture of a few bytes may say of itself that it fills the memory.
inline constexpr std::int64_t kMostPixels = 32'000'000;

// The picture, for an area of that size: where the decoder can, a large one comes as small as it will be shown. Not
// IsOk() when it cannot be read or has too many pixels.
wxImage DecodePicture(const document::Picture& picture, wxSize shown);

}  // namespace qmtrain::ui
