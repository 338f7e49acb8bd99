#include "jet/journal_format.h"

#include <algorithm>

#include "jet/bytes.h"
#include "jet/page_file.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kStampOfDatabase = 0x72;  // on page 0

}  // namespace

std::uint32_t journal::HeaderChecksum(std::uint64_t nonce, std::span<const std::uint8_t> header) {
    std::array<std::uint8_t, kHeaderSize> copy{};
    std::copy_n(header.begin(), kHeaderSize, copy.begin());
    Put(&copy[kChecksumAt], std::uint32_t{0});
    return Checksum(nonce, copy);
}

void journal::ReadSample(PageFile& file, PageNumber page, std::span<std::uint8_t> bytes) {
    file.Handle().ReadAt((std::uint64_t{page} + 1) * file.GetFormat().page_size - bytes.size(), bytes);
}

JournalOwner JournalOwner::Of(PageFile& file, std::uint64_t length) {
    JournalOwner owner{file.GetFormat().page_size, length, {}, 0, 0};
    file.Handle().ReadAt(kStampOfDatabase, owner.stamp);
    owner.counters = Get<std::uint32_t>(file.ReadCommitCounters().data());
    return owner;
}

std::filesystem::path JournalPath(const std::filesystem::path& database) {
    std::filesystem::path path = database;
    return path += kJournalEnding;
}

}  // namespace qmtrain::jet
