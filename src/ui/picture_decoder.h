// Pictures of the kinds that documents hold: PNG, JPEG, bitmaps.
#pragma once

#include <wx/image.h>

#include "document/picture.h"

namespace qmtrain::ui {

// The picture, for an area of that size: where the decoder can, a large one comes as small as it will be shown. Not
// IsOk() when it cannot be read or has more than kMostPixels.
wxImage DecodePicture(const document::Picture& picture, wxSize shown);

}  // namespace qmtrain::ui
