// The journal file as it lies on the disk.
//
//   header   "QmTrnJn4" or "QmTrnJn5" | u32 page size | u32 checksum | u64 old file length | u64 nonce |
//            8 bytes creation stamp | u32 commit counters before | u32 checksum of samples of the pages as they were
//            before
//   record   u32 page | u32 checksum | page image as it stood in the file
//   record   u32 0xFFFFFFFF | u32 checksum | u64 nonce of the common journal | its path, UTF-8, ended by a zero byte,
//            filled up to a page
//   record   u32 0xFFFFFFFE | u32 checksum | u32 count | for each page that is written: u32 page | u32 checksum of its
//            image as it is afterwards; filled up to a page. The first record, if any
//
// A record counts when its checksum fits the nonce; the first one that does not ends the journal. A zero in the place
// of the header's first letter ends the journal's effect; one byte cannot be written in part.
//
// The last kind of record is the outcome: under the header "QmTrnJn5" the transaction is committed as soon as all its
// pages are in the file. Then neither a torn outcome nor the lack of one leaves anything to roll back: the file was not
// touched yet, or the journal is being overwritten by the next one, and the file not yet.
//
// The commit counters that the transaction leaves follow from the nonce. Journals of earlier versions, "QmTrnJn2" and
// "QmTrnJn3", are the same but for that: their transactions have raised the first counter alone.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>

#include "jet/checksum.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

class PageFile;

namespace journal {

inline constexpr char kMagic[8] = {'Q', 'm', 'T', 'r', 'n', 'J', 'n', '4'};
inline constexpr std::size_t kKindAt = 7;  // the last letter of the magic
inline constexpr std::uint8_t kByImages = '4';
inline constexpr std::uint8_t kByOutcome = '5';
inline constexpr std::uint8_t kEarlierByImages = '2';
inline constexpr std::uint8_t kEarlierByOutcome = '3';
inline constexpr std::array<std::uint8_t, 1> kVoid = {0};  // in the place of the first letter
inline constexpr std::uint64_t kMostToKeep = 16
                                             << 20;  // bytes of a file that stays: to write over it takes no new blocks
inline constexpr std::size_t kHeaderSize = 48;
inline constexpr std::size_t kPageSizeAt = 8;
inline constexpr std::size_t kChecksumAt = 12;
inline constexpr std::size_t kLengthAt = 16;
inline constexpr std::size_t kNonceAt = 24;
inline constexpr std::size_t kStampAt = 32;
inline constexpr std::size_t kCountersAt = 40;
inline constexpr std::size_t kSamplesAt = 44;
inline constexpr std::size_t kRecordHead = 8;
inline constexpr std::uint32_t kCommonRecord = 0xFFFFFFFF;
inline constexpr std::size_t kCommonPath = 8;  // in its record
inline constexpr std::uint32_t kOutcomeRecord = 0xFFFFFFFE;
inline constexpr std::size_t kOutcomeHead = 4;
inline constexpr std::size_t kOutcomePage = 8;  // bytes of a page in it
inline constexpr std::size_t kSamples = 8;
inline constexpr std::size_t kSampleBytes = 512;  // the end of a page, where its first rows lie

inline std::uint64_t ImageSeed(std::uint64_t nonce, std::uint32_t page) {
    return nonce + page * 0xC2B2AE3D27D4EB4FULL;
}

inline std::uint32_t ImageChecksum(std::uint64_t nonce, std::uint32_t page, std::span<const std::uint8_t> image) {
    return Checksum(ImageSeed(nonce, page), image);
}

// Calls `take(i, checksum)` for each of `count` images of `size` bytes; `page(i)` and `image(i)` say which page the
// i-th one is of and where it lies.
template <class PageOf, class ImageOf, class Take>
void ImageChecksums(std::uint64_t nonce, std::size_t count, std::size_t size, const PageOf& page, const ImageOf& image,
                    const Take& take) {
    std::size_t i = 0;
    const auto seed = [&](std::size_t number) { return ImageSeed(nonce, page(number)); };
    for (; i + 4 <= count; i += 4) {
        const auto sums = Checksums<4>({seed(i), seed(i + 1), seed(i + 2), seed(i + 3)},
                                       {image(i), image(i + 1), image(i + 2), image(i + 3)}, size);
        for (std::size_t k = 0; k < sums.size(); ++k) take(i + k, sums[k]);
    }
    for (; i < count; ++i) take(i, Checksums<1>({seed(i)}, {image(i)}, size).front());
}

std::uint32_t HeaderChecksum(std::uint64_t nonce, std::span<const std::uint8_t> header);

// Stamp, counters and length may be those of another database too, made at the same time in the same way: the content
// tells the two apart. `read(page, bytes)` fills in the end of a page as it was before.
template <class Read>
std::uint32_t SampleChecksum(std::uint64_t nonce, PageNumber page_count, const Read& read) {
    std::array<std::uint8_t, kSamples * kSampleBytes> bytes{};
    for (std::size_t i = 0; i < kSamples; ++i) {  // pages 1, 2, the last one, and some between
        const std::uint64_t page = i == 0 ? 1 : 2 + (std::uint64_t{page_count} - 3) * (i - 1) / (kSamples - 2);
        read(static_cast<PageNumber>(page), std::span(bytes).subspan(i * kSampleBytes, kSampleBytes));
    }
    return Checksum(nonce, bytes);
}

// The part of the page in the database that is a sample.
void ReadSample(PageFile& file, PageNumber page, std::span<std::uint8_t> bytes);

}  // namespace journal

// What a journal says of the database it belongs to.
struct JournalOwner {
    std::uint32_t page_size = 0;
    std::uint64_t length = 0;             // bytes of the file before the transaction
    std::array<std::uint8_t, 8> stamp{};  // when the database was made, as page 0 stores it
    std::uint32_t counters = 0;           // the first commit counters
    std::uint32_t samples = 0;            // a checksum of parts of pages; 0 as the file is now

    // As the file is now.
    static JournalOwner Of(PageFile& file, std::uint64_t length);
};

// Where the journal of a database lies.
inline constexpr std::string_view kJournalEnding = "-journal";
std::filesystem::path JournalPath(const std::filesystem::path& database);

}  // namespace qmtrain::jet
