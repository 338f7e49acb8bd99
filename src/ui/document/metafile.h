// Windows metafiles, as far as they only carry a bitmap: that is how rich-text boxes store pasted pictures.
#pragma once

#include <optional>

#include "ui/document/picture_bytes.h"

namespace qmtrain::ui {

// Whether the bytes begin as a metafile does.
bool IsMetafile(ByteSpan bytes);

// Without the header that files alone have.
ByteSpan WithoutFileHeader(ByteSpan metafile);

// The largest bitmap that the metafile draws (a mask comes before its picture and is smaller); nothing when it draws
// none. A view into `metafile`.
std::optional<ByteSpan> BitmapInMetafile(ByteSpan metafile);

}  // namespace qmtrain::ui
