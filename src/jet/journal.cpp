#include "jet/journal.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "core/error.h"
#include "core/files.h"
#include "core/log.h"
#include "core/message_text.h"
#include "core/text.h"
#include "jet/bytes.h"
#include "jet/checksum.h"
#include "jet/commit_counter.h"
#include "jet/network_path.h"
#include "jet/page_file.h"

namespace qmtrain::jet {
namespace {

constexpr char kMagic[8] = {'Q', 'm', 'T', 'r', 'n', 'J', 'n', '2'};
constexpr std::array<std::uint8_t, 1> kVoid = {0};  // in the place of the first letter
constexpr std::size_t kHeaderSize = 48;
constexpr std::size_t kChecksumAt = 12;
constexpr std::size_t kRecordHead = 8;
constexpr std::size_t kFlushAt = 1 << 20;
constexpr std::uint64_t kMostToKeep = 1 << 20;  // bytes of a file that stays
constexpr std::uint32_t kCommonRecord = 0xFFFFFFFF;
constexpr std::size_t kCommonPath = 8;  // in its record
constexpr std::size_t kStampAt = 0x72;  // on page 0
constexpr std::size_t kSamplesAt = 44;
constexpr std::size_t kSamples = 8;
constexpr std::size_t kSampleBytes = 512;  // the end of a page, where its first rows lie

std::uint32_t RecordChecksum(std::uint64_t nonce, std::uint32_t page, std::span<const std::uint8_t> image) {
    return Checksum(nonce + page * 0xC2B2AE3D27D4EB4FULL, image);
}

std::uint32_t HeaderChecksum(std::uint64_t nonce, std::span<const std::uint8_t> header) {
    std::array<std::uint8_t, kHeaderSize> copy{};
    std::copy_n(header.begin(), kHeaderSize, copy.begin());
    Put(&copy[kChecksumAt], std::uint32_t{0});
    return Checksum(nonce, copy);
}

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

void ReadSample(File& file, std::uint32_t page_size, PageNumber page, std::span<std::uint8_t> bytes) {
    file.ReadAt((std::uint64_t{page} + 1) * page_size - bytes.size(), bytes);
}

// In the system's own form.
std::u16string FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return FromUtf8(std::string(text.begin(), text.end()));
}

}  // namespace

JournalOwner JournalOwner::Of(PageFile& file, std::uint64_t length) {
    JournalOwner owner{file.GetFormat().page_size, length, {}, 0, 0};
    file.Handle().ReadAt(kStampAt, owner.stamp);
    owner.counters = Get<std::uint32_t>(file.ReadCommitCounters().data());
    return owner;
}

std::filesystem::path Journal::PathFor(const std::filesystem::path& database) {
    std::filesystem::path path = database;
    return path += "-journal";
}

Journal::Journal(FileSystem& system, PageFile& database, std::uint64_t length, bool durable,
                 std::unique_ptr<File> ended)
    : system_(system),
      path_(PathFor(database.Path())),
      page_size_(database.GetFormat().page_size),
      durable_(durable),
      file_(std::move(ended)),
      header_(kHeaderSize),
      folder_synced_(file_ != nullptr) {
    if (!file_) file_ = system.OpenPlain(path_, OpenMode::CreateNew);
    file_->ShareLike(database.Handle(), true);
    const JournalOwner owner = JournalOwner::Of(database, length);
    std::random_device random;
    nonce_ = static_cast<std::uint64_t>(random()) << 32 | random();
    std::memcpy(header_.data(), kMagic, sizeof kMagic);
    Put(&header_[8], owner.page_size);
    Put(&header_[16], owner.length);
    Put(&header_[24], nonce_);
    std::copy(owner.stamp.begin(), owner.stamp.end(), header_.begin() + 32);
    Put(&header_[40], owner.counters);
    Put(&header_[kSamplesAt], SampleChecksum(nonce_, static_cast<PageNumber>(length / page_size_),
                                             [&](PageNumber page, std::span<std::uint8_t> bytes) {
                                                 ReadSample(database.Handle(), page_size_, page, bytes);
                                             }));
    Put(&header_[kChecksumAt], HeaderChecksum(nonce_, header_));
    buffer_ = header_;
}

void Journal::Add(PageNumber page, std::span<const std::uint8_t> image) {
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
    const auto write = [&](std::span<const std::uint8_t> bytes) {
        file_->WriteAt(0, bytes);
        if (durable_) file_->Sync();
    };
    try {
        write(kVoid);
    } catch (const AutomationError&) {
        write(header_);  // the whole header is written anew, so this sync speaks of it again
        throw;
    }
}

std::unique_ptr<File> Journal::Release() noexcept {
    return durable_ && written_ <= kMostToKeep ? std::move(file_) : nullptr;
}

void Journal::Remove() noexcept {
    if (!file_) return;
    try {
        file_.reset();
        system_.Remove(path_);
    } catch (const AutomationError&) {
        // Whoever finds it there removes it.
    }
}

void Journal::RemoveUnusedCommon(FileSystem& system, const std::filesystem::path& common, File& database) noexcept {
    try {
        if (system.Look(common) != FileKind::Plain || !CommonJournal::IsByWriter(system, common, database)) return;
        if (const auto content = CommonJournal::Read(system, common)) {
            for (const std::filesystem::path& database : content->databases) {
                const std::u16string text = FromPath(database);
                if (IsInNetwork(text) && !IsOnMachineOf(text, FromPath(common))) return;
                if (Names(system, database, content->nonce)) return;
            }
        }
        system.Remove(common);
    } catch (const AutomationError&) {
        // It stays, and does no harm.
    }
}

// Whether the database's journal names the common journal with this nonce. One that is out of reach may.
bool Journal::Names(FileSystem& system, const std::filesystem::path& database, std::uint64_t nonce) {
    const FileKind kind = system.Look(PathFor(database));
    if (kind == FileKind::None) return !system.Exists(database);
    if (kind != FileKind::Plain) return false;
    FoundJournal found(system, PathFor(database), nullptr);
    if (!found.file_ || !found.ReadHeader()) return false;
    found.ReadRecords();
    return found.common_ && found.common_->nonce == nonce;
}

// FoundJournal

// Void and without a file when there is none.
FoundJournal::FoundJournal(FileSystem& system, const std::filesystem::path& journal, File* database) : path_(journal) {
    const FileKind kind = system.Look(path_);
    if (kind == FileKind::Other) state_ = State::Foreign;
    if (kind != FileKind::Plain) return;
    try {
        file_ = OpenIfThere(system, path_, OpenMode::ReadOnly);
    } catch (const AutomationError&) {
        if (database == nullptr || system.IsByWriterOf(path_, *database)) throw;
        state_ = State::Foreign;
    }
}

FoundJournal::FoundJournal(FileSystem& system, PageFile& file)
    : FoundJournal(system, Journal::PathFor(file.Path()), &file.Handle()) {
    if (!file_) return;
    const bool by_writer = file_->IsByWriterOf(file.Handle());
    const bool whole = ReadHeader();
    if (!by_writer || (whole && !Belongs(JournalOwner::Of(file, file.Size())))) state_ = State::Foreign;
    if (!whole || state_ == State::Foreign) return;
    ReadRecords();
    if (!FitsSamples(file.Handle())) {
        state_ = State::Foreign;
        return;
    }
    if (common_is_elsewhere_ && !file.MayAskNetwork()) {
        Raise(ErrorNumber::OperationNotSupported,
              {u"数据库“" + file.Name() + u"”的日志指向网络上的文件“" + FromNativePath(common_->path) +
               u"”，没有得到允许，不能确定上一次涉及多个文件的更改是否完成。"});
    }
    state_ = !common_ || CommonJournal::InForce(system, *common_, file.Handle()) ? State::InForce : State::Void;
}

// A reader who can have no lock may look while a writer's commit comes to its end.
std::optional<FoundJournal> FoundJournal::Find(FileSystem& system, PageFile& file) {
    FoundJournal found(system, file);
    if (!found.file_ && found.state_ != State::Foreign) return std::nullopt;
    return found;
}

// False when the journal was not begun, or voided; a file that never was a journal is foreign. Zeros are what a power
// cut leaves of a beginning that has not reached the disk.
bool FoundJournal::ReadHeader() {
    std::array<std::uint8_t, kHeaderSize> header{};
    const std::size_t size = file_->ReadAt(0, header);
    if (std::all_of(header.begin(), header.end(), [](std::uint8_t byte) { return byte == 0; })) return false;
    const bool is_void = header[0] == kVoid[0];
    if (is_void) header[0] = kMagic[0];
    nonce_ = Get<std::uint64_t>(&header[24]);
    const bool ours =
        std::memcmp(header.data(), kMagic, std::min(size, sizeof kMagic)) == 0 &&
        (size < kHeaderSize || Get<std::uint32_t>(&header[kChecksumAt]) == HeaderChecksum(nonce_, header));
    if (!ours) state_ = State::Foreign;
    if (!ours || is_void || size < kHeaderSize) return false;
    owner_.page_size = Get<std::uint32_t>(&header[8]);
    owner_.length = Get<std::uint64_t>(&header[16]);
    std::copy_n(header.begin() + 32, owner_.stamp.size(), owner_.stamp.begin());
    owner_.counters = Get<std::uint32_t>(&header[40]);
    owner_.samples = Get<std::uint32_t>(&header[kSamplesAt]);
    if (owner_.page_size == kJet3.page_size || owner_.page_size == kJet4.page_size) return true;
    state_ = State::Foreign;
    return false;
}

// A file only grows until a commit, which raises the commit counter once.
bool FoundJournal::Belongs(const JournalOwner& now) const {
    return owner_.page_size == now.page_size && owner_.stamp == now.stamp && owner_.length <= now.length &&
           owner_.length >= 3 * owner_.page_size &&
           (now.counters == owner_.counters || now.counters == RaisedCounters(owner_.counters));
}

// What has been overwritten since is in the journal.
bool FoundJournal::FitsSamples(File& file) const {
    std::vector<std::uint8_t> image(owner_.page_size);
    const auto read = [&](PageNumber page, std::span<std::uint8_t> bytes) {
        if (!Has(page)) return ReadSample(file, owner_.page_size, page, bytes);
        ReadImage(page, image);
        std::copy(image.end() - static_cast<std::ptrdiff_t>(bytes.size()), image.end(), bytes.begin());
    };
    return owner_.samples == SampleChecksum(nonce_, PageCount(), read);
}

void FoundJournal::ReadRecords() {
    std::vector<std::uint8_t> record(kRecordHead + owner_.page_size);
    const auto image = std::span(record).subspan(kRecordHead);
    std::uint32_t place = 0;
    for (std::uint64_t at = kHeaderSize; file_->ReadAt(at, record) == record.size(); at += record.size()) {
        ++place;
        const auto page = Get<std::uint32_t>(record.data());
        if (Get<std::uint32_t>(&record[4]) != RecordChecksum(nonce_, page, image)) break;
        if (page == kCommonRecord) {
            const auto end = std::find(image.begin() + kCommonPath, image.end(), 0);
            const std::filesystem::path stored(std::u8string(image.begin() + kCommonPath, end));
            const std::u16string text = FromUtf8(std::string(image.begin() + kCommonPath, end));
            common_is_elsewhere_ = IsInNetwork(text) && !IsOnMachineOf(text, FromPath(path_));
            common_ = {path_.parent_path() / stored.lexically_normal(), Get<std::uint64_t>(image.data())};
            continue;
        }
        if (page >= PageCount()) break;  // no journal of ours says this
        if (places_.size() <= page) places_.resize(page + 1);
        if (places_[page] == 0) places_[page] = place;
    }
}

PageNumber FoundJournal::PageCount() const {
    return static_cast<PageNumber>(owner_.length / owner_.page_size);
}

void FoundJournal::ReadImage(PageNumber page, std::span<std::uint8_t> image) const {
    const std::uint64_t record = kRecordHead + owner_.page_size;
    if (file_->ReadAt(kHeaderSize + (places_[page] - 1) * record + kRecordHead, image) != image.size()) {
        Raise(ErrorNumber::DiskError, {FromNativePath(path_), u"日志文件不完整。"});
    }
}

void FoundJournal::Resolve(FoundJournal found, FileSystem& system, File& file, bool durable) {
    if (found.state_ == State::InForce) found.PlayBack(file);
    found.file_.reset();
    if (found.state_ == State::Foreign) {
        std::filesystem::path aside = found.path_;
        system.Rename(found.path_, aside += UniqueName("-", ""));
        return WriteLog(kLogError,
                        u"“" + ForMessage(FromNativePath(found.path_)) + u"”不是此数据库的日志，已改名为“" +
                            FromNativePath(aside.filename()) + u"”。",
                        u"");
    }
    if (durable) {
        const auto journal = system.OpenPlain(found.path_, OpenMode::ReadWrite);
        journal->WriteAt(0, kVoid);
        journal->Sync();
    }
    system.Remove(found.path_);
    if (found.common_) Journal::RemoveUnusedCommon(system, found.common_->path, file);
}

void FoundJournal::PlayBack(File& file) const {
    std::vector<std::uint8_t> image(owner_.page_size);
    for (PageNumber page = 0; page < places_.size(); ++page) {
        if (places_[page] == 0) continue;
        ReadImage(page, image);
        file.WriteAt(static_cast<std::uint64_t>(page) * owner_.page_size, image);
    }
    if (file.Size() > owner_.length) file.Resize(owner_.length);
    file.Sync();
}

}  // namespace qmtrain::jet
