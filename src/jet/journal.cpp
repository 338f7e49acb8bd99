#include "jet/journal.h"

#include <array>
#include <cstring>
#include <random>

#include "core/error.h"
#include "jet/bytes.h"

namespace qmtrain::jet {
namespace {

constexpr char kMagic[8] = {'Q', 'm', 'T', 'r', 'n', 'J', 'n', 'l'};
constexpr std::size_t kRecordHead = 8;
constexpr std::size_t kFlushAt = 1 << 20;

std::uint32_t Checksum(std::uint64_t seed, std::span<const std::uint8_t> bytes) {
    std::uint64_t sum = seed ^ 0x9E3779B97F4A7C15ULL;
    for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
        sum = (sum ^ Get<std::uint64_t>(&bytes[i])) * 0xFF51AFD7ED558CCDULL;
        sum ^= sum >> 32;
    }
    for (std::size_t i = bytes.size() / 8 * 8; i < bytes.size(); ++i) sum = (sum ^ bytes[i]) * 0x100000001B3ULL;
    return static_cast<std::uint32_t>(sum ^ sum >> 29);
}

std::uint32_t RecordChecksum(std::uint64_t nonce, PageNumber page, std::span<const std::uint8_t> image) {
    return Checksum(nonce + page * 0xC2B2AE3D27D4EB4FULL, image);
}

}  // namespace

std::filesystem::path Journal::PathFor(const std::filesystem::path& database) {
    std::filesystem::path path = database;
    return path += "-journal";
}

Journal::Journal(FileSystem& system, const std::filesystem::path& database, std::uint32_t page_size,
                 std::uint64_t length, bool durable)
    : system_(system), path_(PathFor(database)), durable_(durable), file_(system.Open(path_, OpenMode::Create)) {
    file_->Resize(0);
    std::random_device random;
    nonce_ = static_cast<std::uint64_t>(random()) << 32 | random();
    std::memcpy(header_.data(), kMagic, sizeof kMagic);
    Put(&header_[8], page_size);
    Put(&header_[12], length);
    Put(&header_[20], nonce_);
    Put(&header_[28], Checksum(nonce_, std::span(header_).first(28)));
    buffer_.assign(header_.begin(), header_.end());
}

void Journal::Add(PageNumber page, std::span<const std::uint8_t> image) {
    if (kept_.size() <= page) kept_.resize(page + 1);
    kept_[page] = true;
    const std::size_t at = buffer_.size();
    buffer_.resize(at + kRecordHead);
    Put(&buffer_[at], page);
    Put(&buffer_[at + 4], RecordChecksum(nonce_, page, image));
    buffer_.insert(buffer_.end(), image.begin(), image.end());
    if (buffer_.size() >= kFlushAt) Flush();
}

void Journal::Flush() {
    file_->WriteAt(written_, buffer_);
    written_ += buffer_.size();
    buffer_.clear();
}

void Journal::Sync() {
    if (sync_failed_) Raise(ErrorNumber::DiskError, {FromNativePath(path_), u"上一次写入没有到达磁盘。"});
    Flush();
    if (!durable_) return;
    sync_failed_ = true;
    file_->Sync();
    if (!folder_synced_) system_.SyncFolder(path_.parent_path());
    folder_synced_ = true;
    sync_failed_ = false;
}

void Journal::Finish() {
    if (!durable_) return system_.Remove(path_);
    try {
        file_->WriteAt(0, std::array<std::uint8_t, kHeaderSize>{});
        file_->Sync();
    } catch (const AutomationError&) {
        file_->WriteAt(0, header_);  // the whole header is written anew, so this sync speaks of it again
        file_->Sync();
        throw;
    }
    try {
        file_.reset();
        system_.Remove(path_);
    } catch (const AutomationError&) {
        // Whoever finds it there removes it.
    }
}

void Journal::Discard(FileSystem& system, const std::filesystem::path& database, bool durable) {
    const std::filesystem::path path = PathFor(database);
    if (durable) {
        const auto journal = system.Open(path, OpenMode::ReadWrite);
        journal->WriteAt(0, std::array<std::uint8_t, kHeaderSize>{});
        journal->Sync();
    }
    system.Remove(path);
}

void Journal::PlayBack(FileSystem& system, const std::filesystem::path& database, File& file) {
    const auto journal = system.Open(PathFor(database), OpenMode::ReadOnly);
    std::array<std::uint8_t, kHeaderSize> header{};
    if (journal->ReadAt(0, header) != header.size() || std::memcmp(header.data(), kMagic, sizeof kMagic) != 0) return;
    const auto page_size = Get<std::uint32_t>(&header[8]);
    const auto length = Get<std::uint64_t>(&header[12]);
    const auto nonce = Get<std::uint64_t>(&header[20]);
    if (Get<std::uint32_t>(&header[28]) != Checksum(nonce, std::span(header).first(28))) return;
    if (page_size != kJet4.page_size && page_size != kJet3.page_size) return;

    std::vector<std::uint8_t> record(kRecordHead + page_size);
    const auto image = std::span(record).subspan(kRecordHead);
    for (std::uint64_t at = kHeaderSize; journal->ReadAt(at, record) == record.size(); at += record.size()) {
        const auto page = Get<PageNumber>(record.data());
        if (Get<std::uint32_t>(&record[4]) != RecordChecksum(nonce, page, image)) break;
        file.WriteAt(static_cast<std::uint64_t>(page) * page_size, image);
    }
    if (file.Size() > length) file.Resize(length);
    file.Sync();
}

}  // namespace qmtrain::jet
