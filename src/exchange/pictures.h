// Pictures in question files: what their bytes are, and how large they are shown.
#pragma once

#include <optional>

#include "core/value.h"
#include "document/rich_text.h"

namespace qmtrain::exchange {

constexpr int kLongestSide = 31680;  // twips, as rich texts store it

// A picture of these bytes at its own size; nothing when they are no whole picture of a kind that texts have.
std::optional<document::Picture> MakePicture(Bytes bytes);

}  // namespace qmtrain::exchange
