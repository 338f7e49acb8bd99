#include "exchange/pictures.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "document/metafile.h"
#include "document/picture_bytes.h"

namespace qmtrain::exchange {
namespace {

constexpr document::PixelSize kSizeOfDrawing{96, 96};

// Signature, then chunks of length (big-endian), name, content, checksum, the last one IEND.
bool IsWholePng(document::ByteSpan bytes) {
    static constexpr std::array<std::uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (bytes.size() < 33 || !std::equal(kSignature.begin(), kSignature.end(), bytes.begin())) return false;
    for (std::uint64_t at = kSignature.size(); at + 12 <= bytes.size();) {
        const auto chunk = static_cast<std::size_t>(at);
        if (document::Big32(bytes, chunk + 4) == 0x49454E44) return true;
        at += std::uint64_t{12} + document::Big32(bytes, chunk);
    }
    return false;
}

// Segments of FF, marker, length (big-endian, with its own two bytes) and content up to the one that begins the data;
// the end marker follows it. A small picture within a segment has an end too.
bool IsWholeJpeg(document::ByteSpan bytes) {
    static constexpr std::array<std::uint8_t, 2> kEnd = {0xFF, 0xD9};
    if (document::Big16(bytes, 0) != 0xFFD8) return false;
    for (std::size_t at = 2; document::U8(bytes, at) == 0xFF;) {
        const std::uint32_t marker = document::U8(bytes, at + 1);
        if (marker == 0xDA) {
            return std::search(bytes.begin() + at, bytes.end(), kEnd.begin(), kEnd.end()) != bytes.end();
        }
        if (marker == kEnd[1]) return false;
        at += marker == 0xFF ? 1 : 2 + document::Big16(bytes, at + 2);
    }
    return false;
}

std::optional<document::Picture::Kind> KindOf(Bytes& bytes) {
    constexpr std::size_t kBitmapFileHeader = 14;
    if (IsWholePng(bytes)) return document::Picture::Kind::Png;
    if (IsWholeJpeg(bytes)) return document::Picture::Kind::Jpeg;
    if (bytes.size() > kBitmapFileHeader + 40 && document::Big16(bytes, 0) == 0x424D) {
        bytes.erase(bytes.begin(), bytes.begin() + kBitmapFileHeader);
        return document::Picture::Kind::Dib;
    }
    if (document::IsMetafile(bytes)) {
        const auto bitmap = document::BitmapInMetafile(bytes);
        const document::ByteSpan kept = bitmap ? *bitmap : document::WithoutFileHeader(bytes);
        bytes = Bytes(kept.begin(), kept.end());
        return bitmap ? document::Picture::Kind::Dib : document::Picture::Kind::Metafile;
    }
    return std::nullopt;
}

}  // namespace

std::optional<document::Picture> MakePicture(Bytes bytes) {
    const std::optional<document::Picture::Kind> kind = KindOf(bytes);
    if (!kind) return std::nullopt;
    document::Picture picture{*kind, std::move(bytes)};
    std::optional<document::PixelSize> size = document::SizeInPixels(picture);
    if (*kind == document::Picture::Kind::Metafile) size = kSizeOfDrawing;  // the tag tells its own
    if (!size || std::int64_t{size->width} * size->height > document::kMostPixels) return std::nullopt;
    const auto twips = [](int pixels) {
        return std::min(pixels, kLongestSide / document::kTwipsPerPixel) * document::kTwipsPerPixel;
    };
    picture.width = twips(size->width);
    picture.height = twips(size->height);
    return picture;
}

}  // namespace qmtrain::exchange
