// A picture inside a rich text: the bytes as they are stored, and the size at which it is shown.
#pragma once

#include <cstdint>
#include <optional>

#include "core/value.h"

namespace qmtrain::document {

constexpr int kTwipsPerInch = 1440;
constexpr int kTwipsPerPixel = 15;  // at 96 to the inch

struct Picture {
    enum class Kind : std::uint8_t {
        Png,
        Jpeg,
        Dib,       // a bitmap without the header of a .bmp file
        Metafile,  // drawing orders; kept so that nothing is lost when the text is written again
    };

    Kind kind = Kind::Png;
    Bytes bytes = {};
    int width = 0;  // twips
    int height = 0;

    bool operator==(const Picture&) const = default;
};

struct PixelSize {
    int width = 0;
    int height = 0;
    bool operator==(const PixelSize&) const = default;
};

// The most pixels of a picture that is taken in or shown: a file of a few bytes may claim a size that would fill the
// memory.
inline constexpr std::int64_t kMostPixels = 32'000'000;

// What the picture's own header says; nothing for metafiles and for damaged headers.
std::optional<PixelSize> SizeInPixels(const Picture& picture);

// The picture as a file of its kind: .png, .jpg, .bmp or .wmf.
Bytes PictureFile(const Picture& picture);

}  // namespace qmtrain::document
