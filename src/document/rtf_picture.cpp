#include "document/rtf_picture.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "document/metafile.h"
#include "document/rtf_lexer.h"

namespace qmtrain::document {
namespace {

constexpr int kPixelsOfUnknown = 32;
constexpr std::int64_t kHundredthsPerInch = 2540;

std::int64_t FromRaw(std::int64_t raw, Picture::Kind kind) {
    return kind == Picture::Kind::Metafile ? raw * kTwipsPerInch / kHundredthsPerInch : raw * kTwipsPerPixel;
}

// The size in twips from the best source there is.
int Twips(const RtfPicture::Size& size, int own_pixels, Picture::Kind kind) {
    std::int64_t twips = std::int64_t{own_pixels} * kTwipsPerPixel;
    if (size.raw > 0) twips = FromRaw(size.raw, kind);
    if (size.goal > 0) twips = size.goal;
    twips = std::clamp<std::int64_t>(twips, 1, kMostTwips);
    if (size.scale > 0) twips = twips * size.scale / 100;
    return static_cast<int>(std::clamp<std::int64_t>(twips, 1, kMostTwips));
}

}  // namespace

void RtfPicture::AddHex(std::u16string_view digits) {
    for (const char16_t unit : digits) {
        const int digit = HexDigit(unit);
        if (digit < 0) continue;
        if (high_digit_ < 0) {
            high_digit_ = digit;
        } else {
            bytes_.push_back(static_cast<std::uint8_t>(std::exchange(high_digit_, -1) << 4 | digit));
        }
    }
}

void RtfPicture::AddBinary(std::u16string_view bytes) {
    for (const char16_t unit : bytes) bytes_.push_back(static_cast<std::uint8_t>(unit));
}

std::optional<Picture> RtfPicture::Take() {
    if (!kind || bytes_.empty()) return std::nullopt;
    Picture picture{.kind = *kind, .bytes = std::move(bytes_)};
    if (*kind == Picture::Kind::Metafile) {
        if (const auto bitmap = BitmapInMetafile(picture.bytes)) {
            picture.bytes = Bytes(bitmap->begin(), bitmap->end());
            picture.kind = Picture::Kind::Dib;
        }
    }
    const PixelSize own = SizeInPixels(picture).value_or(PixelSize{kPixelsOfUnknown, kPixelsOfUnknown});
    picture.width = Twips(width, own.width, *kind);
    picture.height = Twips(height, own.height, *kind);
    return picture;
}

}  // namespace qmtrain::document
