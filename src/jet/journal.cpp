#include "jet/journal.h"

#include <algorithm>
#include <cstring>

#include "core/error.h"
#include "jet/bytes.h"
#include "jet/journal_format.h"
#include "jet/page_file.h"

namespace qmtrain::jet {

using namespace journal;

namespace {

constexpr std::size_t kFlushAt = std::size_t{64} << 10;  // memory that is written at once stays in the caches

}  // namespace

Journal::Journal(FileSystem& system, PageFile& database, std::uint64_t length, std::uint64_t nonce, bool durable,
                 std::unique_ptr<File> kept, bool named)
    : system_(system),
      path_(JournalPath(database.Path())),
      page_size_(database.GetFormat().page_size),
      durable_(durable),
      file_(std::move(kept)),
      nonce_(nonce),
      header_(kHeaderSize),
      folder_synced_(file_ != nullptr && named) {
    if (!file_) {
        file_ = system.OpenPlain(path_, OpenMode::CreateNew);
        file_->ShareLike(database.Handle(), true);
    }
    const JournalOwner owner = JournalOwner::Of(database, length);
    std::memcpy(header_.data(), kMagic, sizeof kMagic);
    Put(&header_[kPageSizeAt], owner.page_size);
    Put(&header_[kLengthAt], owner.length);
    Put(&header_[kNonceAt], nonce_);
    std::copy(owner.stamp.begin(), owner.stamp.end(), header_.begin() + kStampAt);
    Put(&header_[kCountersAt], owner.counters);
    Put(&header_[kSamplesAt],
        SampleChecksum(nonce_, static_cast<PageNumber>(length / page_size_),
                       [&](PageNumber page, std::span<std::uint8_t> bytes) { ReadSample(database, page, bytes); }));
    SealHeader();
    buffer_ = header_;
}

void Journal::SealHeader() {
    Put(&header_[kChecksumAt], HeaderChecksum(nonce_, header_));
}

std::size_t Journal::MostOutcomes(std::uint32_t page_size) {
    return (page_size - kOutcomeHead) / kOutcomePage;
}

void Journal::AddOutcomes(std::span<const PageNumber> pages, std::span<const std::uint8_t> images) {
    if (outcome_.empty()) outcome_.resize(kOutcomeHead);
    const std::size_t at = outcome_.size();
    outcome_.resize(at + pages.size() * kOutcomePage);
    ImageChecksums(
        nonce_, pages.size(), page_size_, [&](std::size_t i) { return pages[i]; },
        [&](std::size_t i) { return &images[i * page_size_]; },
        [&](std::size_t i, std::uint32_t checksum) {
            Put(&outcome_[at + i * kOutcomePage], pages[i]);
            Put(&outcome_[at + i * kOutcomePage + 4], checksum);
        });
}

// To be called once all outcomes are known, before any other record.
void Journal::AddOutcomeRecord() {
    if (!HasOutcomes() || header_[kKindAt] == kByOutcome) return;
    Put(outcome_.data(), static_cast<std::uint32_t>((outcome_.size() - kOutcomeHead) / kOutcomePage));
    outcome_.resize(page_size_);
    header_[kKindAt] = kByOutcome;
    SealHeader();
    buffer_ = header_;
    AddRecord(kOutcomeRecord, outcome_);
}

void Journal::Add(PageNumber page, std::span<const std::uint8_t> image) {
    AddOutcomeRecord();
    if (kept_.size() <= page) kept_.resize(page + 1);
    kept_[page] = true;
    AddRecord(page, image);
}

void Journal::AddCommon(const CommonJournal::Name& name) {
    const std::u8string text = PathFrom(path_, name.path).u8string();
    std::vector<std::uint8_t> record(page_size_);
    if (text.size() + kCommonPath >= record.size()) Raise(ErrorNumber::InvalidPath, {FromNativePath(name.path)});
    Put(record.data(), name.nonce);
    std::copy(text.begin(), text.end(), record.begin() + kCommonPath);
    AddRecord(kCommonRecord, record);
}

void Journal::AddRecord(std::uint32_t page, std::span<const std::uint8_t> image) {
    const std::size_t at = buffer_.size();
    buffer_.resize(at + kRecordHead);
    Put(&buffer_[at], page);
    buffer_.insert(buffer_.end(), image.begin(), image.end());
    if (buffer_.size() >= kFlushAt) Flush();
}

// The checksums of the records that are about to be written.
void Journal::SealRecords() {
    const std::size_t record = kRecordHead + page_size_;
    std::uint8_t* first = buffer_.data() + buffer_.size() % record;  // after the header, if there is one
    ImageChecksums(
        nonce_, buffer_.size() / record, page_size_,
        [&](std::size_t i) { return Get<std::uint32_t>(first + i * record); },
        [&](std::size_t i) { return first + i * record + kRecordHead; },
        [&](std::size_t i, std::uint32_t checksum) { Put(first + i * record + 4, checksum); });
}

void Journal::Flush() {
    SealRecords();
    file_->WriteAt(written_, buffer_);
    written_ += buffer_.size();
    buffer_.clear();
}

void Journal::Sync() {
    if (sync_failed_) Raise(ErrorNumber::DiskError, {FromNativePath(path_), u"上一次写入没有到达磁盘。"});
    AddOutcomeRecord();
    Flush();
    if (!durable_) return;
    sync_failed_ = true;
    file_->Sync();
    if (!folder_synced_) system_.SyncFolder(path_.parent_path());
    folder_synced_ = true;
    sync_failed_ = false;
}

void Journal::Finish() {
    const auto write = [&](std::span<const std::uint8_t> bytes) {
        file_->WriteAt(0, bytes);
        if (durable_ && !HasOutcomes()) file_->Sync();
    };
    try {
        write(kVoid);
    } catch (const AutomationError&) {
        if (HasOutcomes()) return;  // the next session that finds it sees that the file is complete
        write(header_);             // the whole header is written again, so that this sync covers it
        throw;
    }
}

void Journal::Disown() noexcept {
    if (!HasOutcomes()) return;
    header_[kKindAt] = kByImages;
    SealHeader();
    try {
        file_->WriteAt(0, header_);
        if (durable_) file_->Sync();
    } catch (const AutomationError&) {
        // Whether the transaction was committed is seen by the next session that finds the journal.
    }
}

std::unique_ptr<File> Journal::Release() noexcept {
    try {
        if (written_ > kMostToKeep) file_->Resize(0);
    } catch (const AutomationError&) {
        // It stays as long as it is.
    }
    return std::move(file_);
}

void Journal::Remove() noexcept {
    try {
        const bool in_place = file_ && file_->IsAt(path_);
        file_.reset();
        if (in_place) system_.Remove(path_);
    } catch (const AutomationError&) {
        // The next session that finds it ends it.
    }
}

}  // namespace qmtrain::jet
