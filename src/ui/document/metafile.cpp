#include "ui/document/metafile.h"

#include <algorithm>

namespace qmtrain::ui {
namespace {

constexpr std::uint32_t kPlaceableKey = 0x9AC6CDD7;  // begins the 22 bytes that files have before the header proper
constexpr std::size_t kPlaceableHeader = 22;
constexpr std::size_t kRecordHeader = 6;
constexpr std::size_t kLeastBitmap = 12;

// Records that draw a bitmap, and where it begins in them, behind raster operation and coordinates.
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
    const std::size_t start = U32(metafile, 0) == kPlaceableKey ? kPlaceableHeader : 0;
    return start + std::size_t{2} * U16(metafile, start + 2);
}

}  // namespace

// A record: its length in words, its function, its parameters.
std::optional<ByteSpan> BitmapInMetafile(ByteSpan metafile) {
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

}  // namespace qmtrain::ui
