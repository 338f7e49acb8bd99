#include "document/metafile.h"

#include <algorithm>

namespace qmtrain::document {
namespace {

constexpr std::uint32_t kPlaceableKey = 0x9AC6CDD7;  // begins the 22 bytes that files have before the header proper
constexpr std::size_t kPlaceableHeader = 22;
constexpr std::size_t kHeaderWords = 9;
constexpr std::size_t kRecordHeader = 6;
constexpr std::size_t kLeastBitmap = 12;

// Records that draw a bitmap, and where it begins in them, after the raster operation and the coordinates.
struct DrawingRecord {
    std::uint32_t function;
    std::size_t bitmap_at;
};
constexpr DrawingRecord kDrawingRecords[] = {
    {0x0F43, 28},  // StretchDIBits
    {0x0D33, 24},  // SetDIBitsToDevice
    {0x0B41, 26},  // DIBStretchBlt
    {0x0940, 22},  // DIBBitBlt
};

ByteSpan BitmapInRecord(ByteSpan record) {
    for (const auto& [function, bitmap_at] : kDrawingRecords) {
        if (U16(record, 4) == function && record.size() >= bitmap_at + kLeastBitmap) return record.subspan(bitmap_at);
    }
    return {};
}

// The first header gives its own length in words.
std::size_t FirstRecord(ByteSpan metafile) {
    return std::size_t{2} * U16(metafile, 2);
}

}  // namespace

// The header: type (1: in memory, 2: of a file), its own length in words.
bool IsMetafile(ByteSpan bytes) {
    const ByteSpan header = WithoutFileHeader(bytes);
    const std::uint32_t type = U16(header, 0);
    return (type == 1 || type == 2) && U16(header, 2) == kHeaderWords && header.size() >= 2 * kHeaderWords;
}

ByteSpan WithoutFileHeader(ByteSpan metafile) {
    if (U32(metafile, 0) != kPlaceableKey || metafile.size() < kPlaceableHeader) return metafile;
    return metafile.subspan(kPlaceableHeader);
}

// A record: its length in words, its function, its parameters.
std::optional<ByteSpan> BitmapInMetafile(ByteSpan metafile) {
    metafile = WithoutFileHeader(metafile);
    ByteSpan largest;
    for (std::size_t at = FirstRecord(metafile); at + kRecordHeader <= metafile.size();) {
        const std::size_t length = std::min<std::size_t>(2 * std::size_t{U32(metafile, at)}, metafile.size() - at);
        if (length < kRecordHeader) break;
        const ByteSpan bitmap = BitmapInRecord(metafile.subspan(at, length));
        if (bitmap.size() > largest.size()) largest = bitmap;
        at += length;
    }
    if (largest.empty()) return std::nullopt;
    return largest;
}

}  // namespace qmtrain::document
