#include "document/picture.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "document/picture_bytes.h"

namespace qmtrain::document {
namespace {

constexpr std::size_t kBitmapFileHeader = 14;
constexpr std::uint32_t kCoreHeader = 12;  // of OS/2, with 16-bit sizes and palette entries of three bytes
constexpr std::uint32_t kInfoHeader = 40;

std::optional<PixelSize> Size(std::int64_t width, std::int64_t height) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    if (width < 1 || height < 1 || width > kMost || height > kMost) return std::nullopt;
    return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}

// The header must be the first chunk after the signature and have its fixed length: a decoder that met another chunk
// there would go on to a header that was not checked.
std::optional<PixelSize> PngSize(ByteSpan bytes) {
    constexpr std::uint32_t kHeaderLength = 13;
    constexpr std::uint32_t kHeader = 0x49484452;  // IHDR
    if (Big32(bytes, 8) != kHeaderLength || Big32(bytes, 12) != kHeader) return std::nullopt;
    return Size(Big32(bytes, 16), Big32(bytes, 20));
}

bool IsFrameHeader(std::uint32_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// Of a segment with a length, such as stand before the frame header.
bool HasLength(std::uint32_t marker) {
    return marker >= 0xC0 && (marker < 0xD0 || marker > 0xD9);
}

// Segments after the two bytes of the start: any number of FF, marker, length (big-endian, with its own two bytes),
// content. The frame header's content is precision, height, width.
std::optional<PixelSize> JpegSize(ByteSpan bytes) {
    for (std::size_t at = 2; at + 9 <= bytes.size() && bytes[at] == 0xFF; at += 2 + Big16(bytes, at + 2)) {
        while (at + 9 < bytes.size() && bytes[at + 1] == 0xFF) ++at;
        if (IsFrameHeader(bytes[at + 1])) return Size(Big16(bytes, at + 7), Big16(bytes, at + 5));
        if (!HasLength(bytes[at + 1])) break;
    }
    return std::nullopt;
}

// A negative height means that the rows run downwards.
std::optional<PixelSize> DibSize(ByteSpan bytes) {
    if (U32(bytes, 0) == kCoreHeader) return Size(U16(bytes, 4), U16(bytes, 6));
    const auto height = static_cast<std::int32_t>(U32(bytes, 8));
    return Size(static_cast<std::int32_t>(U32(bytes, 4)), height < 0 ? -std::int64_t{height} : height);
}

std::uint64_t PaletteEntries(std::uint32_t bits, std::uint32_t used) {
    if (used != 0) return used;
    return bits <= 8 ? std::uint64_t{1} << bits : 0;
}

// The colour masks follow an info header; longer headers include them.
std::uint64_t MaskBytes(std::uint32_t header, std::uint32_t compression) {
    if (header != kInfoHeader) return 0;
    return compression == 3 ? 12 : compression == 6 ? 16 : 0;
}

// Where the pixels begin: header, masks, palette.
std::size_t PixelOffset(ByteSpan dib) {
    const std::uint32_t header = U32(dib, 0);
    const std::uint64_t offset = header == kCoreHeader ? header + 3 * PaletteEntries(U16(dib, 10), 0)
                                                       : header + MaskBytes(header, U32(dib, 16)) +
                                                             4 * PaletteEntries(U16(dib, 14), U32(dib, 32));
    return static_cast<std::size_t>(std::min<std::uint64_t>(offset, dib.size()));
}

// "BM", size of the file, two unused words, offset of the pixels.
Bytes BitmapFile(const Bytes& dib) {
    Bytes file = {'B', 'M'};
    file.reserve(kBitmapFileHeader + dib.size());
    const auto put = [&](std::size_t number) {
        for (int shift = 0; shift < 32; shift += 8) file.push_back(static_cast<std::uint8_t>(number >> shift));
    };
    put(kBitmapFileHeader + dib.size());
    put(0);
    put(kBitmapFileHeader + PixelOffset(dib));
    file.insert(file.end(), dib.begin(), dib.end());
    return file;
}

}  // namespace

std::optional<PixelSize> SizeInPixels(const Picture& picture) {
    switch (picture.kind) {
        case Picture::Kind::Png: return PngSize(picture.bytes);
        case Picture::Kind::Jpeg: return JpegSize(picture.bytes);
        case Picture::Kind::Dib: return DibSize(picture.bytes);
        case Picture::Kind::Metafile: break;
    }
    return std::nullopt;
}

Bytes PictureFile(const Picture& picture) {
    return picture.kind == Picture::Kind::Dib ? BitmapFile(picture.bytes) : picture.bytes;
}

}  // namespace qmtrain::document
