// Pictures of the kinds that documents hold: PNG, JPEG, bitmaps.
#pragma once

#include <wx/image.h>

#include "core/value.h"

namespace qmtrain::ui {

// The picture in a file's content; not IsOk() when it cannot be read.
wxImage DecodePicture(const Bytes& file);

}  // namespace qmtrain::ui
