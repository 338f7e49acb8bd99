#include "jet/found_journal.h"

#include <algorithm>
#include <cstring>

#include "core/error.h"
#include "core/log.h"
#include "core/message_text.h"
#include "core/text.h"
#include "jet/bytes.h"
#include "jet/commit_counter.h"
#include "jet/kept_journal.h"
#include "jet/network_path.h"
#include "jet/page_file.h"

namespace qmtrain::jet {

using namespace journal;

namespace {

// In the system's own form.
std::u16string FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return FromUtf8(std::string(text.begin(), text.end()));
}

}  // namespace

// Void and without a file when there is none.
FoundJournal::FoundJournal(FileSystem& system, const std::filesystem::path& journal, File* database) : path_(journal) {
    const FileKind kind = system.Look(path_);
    if (kind == FileKind::Other) state_ = State::Foreign;
    if (kind == FileKind::Other || kind == FileKind::None) return;
    try {
        file_ = OpenIfThere(system, path_, kind);
    } catch (const AutomationError&) {
        if (database == nullptr || system.IsByWriterOf(path_, *database)) throw;
        state_ = State::Foreign;
    }
}

FoundJournal::FoundJournal(FileSystem& system, PageFile& file)
    : FoundJournal(system, JournalPath(file.Path()), &file.Handle()) {
    if (file_) state_ = Judge(system, file);
}

FoundJournal::State FoundJournal::Judge(FileSystem& system, PageFile& file) {
    const bool by_writer = file_->IsByWriterOf(file.Handle());
    const bool whole = ReadHeader();
    if (!by_writer || (whole && !Belongs(JournalOwner::Of(file, file.Size())))) return State::Foreign;
    if (!whole) return state_;
    ReadRecords();
    if (decides_by_outcome_) common_.reset();  // it decides alone
    if (decides_by_outcome_ && outcome_.empty()) return State::Void;
    if (decides_by_outcome_ && IsComplete(file.Handle())) return State::Complete;
    if (!FitsSamples(file)) return State::Foreign;
    if (common_is_elsewhere_ && !file.MayAskNetwork()) {
        Raise(ErrorNumber::OperationNotSupported,
              {u"数据库“" + file.Name() + u"”的日志指向网络上的文件“" + FromNativePath(common_->path) +
               u"”，没有得到允许，不能确定上一次涉及多个文件的更改是否完成。"});
    }
    if (common_ && !CommonJournal::InForce(system, *common_, file.Handle(), *file_)) return State::Void;
    if (!file_->MoreMayWriteThan(file.Handle())) return State::InForce;
    Raise(ErrorNumber::DiskError, {FromNativePath(path_),
                                   u"日志未处理完，能写入它的用户却比能写入数据库的多。确信其内容可靠时，请使二者的权限"
                                   u"相同；否则请将日志移走。"});
}

// A reader without a lock may look just when a writer's commit ends.
std::optional<FoundJournal> FoundJournal::Find(FileSystem& system, PageFile& file) {
    FoundJournal found(system, file);
    if (!found.file_ && found.state_ != State::Foreign) return std::nullopt;
    return found;
}

std::optional<FoundJournal> FoundJournal::Find(FileSystem& system, PageFile& file, KeptJournal& kept,
                                               std::optional<std::uint64_t> disowned) {
    std::optional<FoundJournal> found = Find(system, file);
    if (found && found->nonce_ == disowned && found->CanBeDisowned(file)) found->state_ = State::InForce;
    if (!found || found->state_ != State::Ended) return found;
    if (found->file_->MoreMayWriteThan(file.Handle())) {
        found->RemoveUnlessReadOnly(system, file);
    } else {
        kept.Keep(std::move(found->file_), false, false);
    }
    return std::nullopt;
}

// Where the change is known to have failed, neither the completeness of the file counts nor the common journal, which
// may have been removed since the file was overwritten.
bool FoundJournal::CanBeDisowned(PageFile& file) const {
    if (state_ == State::Complete) return true;
    return state_ == State::Void && common_ && !file_->MoreMayWriteThan(file.Handle());
}

// The database has fewer rights than the journal by now. Sessions that may only read it leave this to others.
void FoundJournal::RemoveUnlessReadOnly(FileSystem& system, const PageFile& file) const noexcept {
    try {
        if (file.ReadOnlyReason().empty() && file_->IsAt(path_)) system.Remove(path_);
    } catch (const AutomationError&) {
        // As long as it has ended it does no harm.
    }
}

// False when the journal was not begun, or ended; a file that never was a journal is foreign. Zeros are what a power
// cut leaves of a beginning that has not reached the disk.
bool FoundJournal::ReadHeader() {
    std::array<std::uint8_t, kHeaderSize> header{};
    const std::size_t size = file_->ReadAt(0, header);
    const bool is_void = header[0] == kVoid[0];
    if (std::all_of(header.begin(), header.end(), [](std::uint8_t byte) { return byte == 0; })) {
        state_ = State::Ended;
        return false;
    }
    if (is_void) header[0] = kMagic[0];
    const std::uint8_t kind = header[kKindAt];
    is_earlier_ = kind == kEarlierByImages || kind == kEarlierByOutcome;
    decides_by_outcome_ = kind == kByOutcome || kind == kEarlierByOutcome;
    std::array<std::uint8_t, sizeof kMagic> magic{};
    std::copy_n(header.begin(), magic.size(), magic.begin());
    if (decides_by_outcome_ || is_earlier_) magic[kKindAt] = kByImages;
    nonce_ = Get<std::uint64_t>(&header[kNonceAt]);
    const bool ours =
        std::memcmp(magic.data(), kMagic, std::min(size, sizeof kMagic)) == 0 &&
        (size < kHeaderSize || Get<std::uint32_t>(&header[kChecksumAt]) == HeaderChecksum(nonce_, header));
    if (!ours) state_ = State::Foreign;
    if (ours && is_void) state_ = State::Ended;
    if (!ours || is_void || size < kHeaderSize) return false;
    owner_.page_size = Get<std::uint32_t>(&header[kPageSizeAt]);
    owner_.length = Get<std::uint64_t>(&header[kLengthAt]);
    std::copy_n(header.begin() + kStampAt, owner_.stamp.size(), owner_.stamp.begin());
    owner_.counters = Get<std::uint32_t>(&header[kCountersAt]);
    owner_.samples = Get<std::uint32_t>(&header[kSamplesAt]);
    if (owner_.page_size == kJet3.page_size || owner_.page_size == kJet4.page_size) return true;
    state_ = State::Foreign;
    return false;
}

// A file only grows until a commit, which raises the commit counter once.
bool FoundJournal::Belongs(const JournalOwner& now) const {
    const std::uint32_t raised =
        is_earlier_ ? RaisedWithoutNonce(owner_.counters) : RaisedCounters(owner_.counters, nonce_);
    return owner_.page_size == now.page_size && owner_.stamp == now.stamp && owner_.length <= now.length &&
           owner_.length >= std::uint64_t{3} * owner_.page_size &&
           (now.counters == owner_.counters || now.counters == raised);
}

// What has been overwritten since is in the journal.
bool FoundJournal::FitsSamples(PageFile& file) const {
    std::vector<std::uint8_t> image(owner_.page_size);
    const auto read = [&](PageNumber page, std::span<std::uint8_t> bytes) {
        if (!Has(page)) return ReadSample(file, page, bytes);
        ReadImage(page, image);
        std::copy(image.end() - bytes.size(), image.end(), bytes.begin());
    };
    return owner_.samples == SampleChecksum(nonce_, PageCount(), read);
}

// Whether the file holds what the outcome says.
bool FoundJournal::IsComplete(File& file) const {
    std::vector<std::uint8_t> image(owner_.page_size);
    for (std::size_t i = 0; i < OutcomeCount(); ++i) {
        const auto [page, checksum] = OutcomeOf(i);
        if (file.ReadAt(std::uint64_t{page} * owner_.page_size, image) != image.size()) return false;
        if (checksum != ImageChecksum(nonce_, page, image)) return false;
    }
    return OutcomeCount() > 0;
}

std::size_t FoundJournal::OutcomeCount() const {
    return std::min<std::size_t>(Get<std::uint32_t>(outcome_.data()), (outcome_.size() - kOutcomeHead) / kOutcomePage);
}

// A page, and the checksum of its image.
std::array<std::uint32_t, 2> FoundJournal::OutcomeOf(std::size_t number) const {
    const std::uint8_t* entry = &outcome_[kOutcomeHead + number * kOutcomePage];
    return {Get<std::uint32_t>(entry), Get<std::uint32_t>(entry + 4)};
}

void FoundJournal::ReadRecords() {
    std::vector<std::uint8_t> record(kRecordHead + owner_.page_size);
    const auto image = std::span(record).subspan(kRecordHead);
    std::uint32_t place = 0;
    for (std::uint64_t at = kHeaderSize; file_->ReadAt(at, record) == record.size(); at += record.size()) {
        ++place;
        const auto page = Get<std::uint32_t>(record.data());
        if (Get<std::uint32_t>(&record[4]) != ImageChecksum(nonce_, page, image)) break;
        if (page == kCommonRecord) {
            if (!TakeCommon(image)) break;
            continue;
        }
        if (page == kOutcomeRecord && place == 1) {
            outcome_.assign(image.begin(), image.end());
            continue;
        }
        if (page >= PageCount()) break;  // no journal of ours says this
        if (places_.size() <= page) places_.resize(page + 1);
        if (places_[page] == 0) places_[page] = place;
    }
}

// False when it names what can be no common journal.
bool FoundJournal::TakeCommon(std::span<const std::uint8_t> content) {
    const auto end = std::find(content.begin() + kCommonPath, content.end(), 0);
    const std::filesystem::path stored(std::u8string(content.begin() + kCommonPath, end));
    if (!CommonJournal::MayBeName(stored)) return false;
    const std::u16string text = FromUtf8(std::string(content.begin() + kCommonPath, end));
    common_is_elsewhere_ = IsInNetwork(text) && !IsOnMachineOf(text, FromPath(path_));
    common_ = {path_.parent_path() / stored.lexically_normal(), Get<std::uint64_t>(content.data())};
    return true;
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
    if (found.state_ == State::Complete) found.WriteAgain(file);
    // A file that has taken its place meanwhile is another journal.
    if (found.file_ && !found.file_->IsAt(found.path_)) return;
    if (found.state_ == State::Foreign) {
        const std::filesystem::path aside = WithEnding(found.path_, UniqueName("-", ""));
        system.Rename(found.path_, aside);
        return WriteLog(kLogError,
                        u"“" + ForMessage(FromNativePath(found.path_)) + u"”不是此数据库的日志，已改名为“" +
                            FromNativePath(aside.filename()) + u"”。",
                        u"");
    }
    found.End(system, durable);
    if (found.common_) RemoveUnusedCommon(system, found.common_->path, file, false);
}

// After a failed sync, what the system returns may never have reached the disk.
void FoundJournal::WriteAgain(File& file) const {
    std::vector<std::uint8_t> image(owner_.page_size);
    for (std::size_t i = 0; i < OutcomeCount(); ++i) {
        const std::uint64_t at = std::uint64_t{OutcomeOf(i)[0]} * owner_.page_size;
        if (file.ReadAt(at, image) == image.size()) file.WriteAt(at, image);
    }
    file.Sync();
}

// One that may not be written is removed, which its folder may allow.
void FoundJournal::End(FileSystem& system, bool durable) const {
    std::unique_ptr<File> journal;
    try {
        journal = system.OpenPlain(path_, OpenMode::ReadWrite);
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::CannotOpenFile)) throw;
        if (file_->IsAt(path_)) system.Remove(path_);
        if (durable) system.SyncFolder(path_.parent_path());
        return;
    }
    if (!journal->IsAt(path_) || !file_->IsAt(path_)) return;  // not the same file
    journal->WriteAt(0, kVoid);
    if (durable) journal->Sync();
    try {
        if (journal->Size() > kMostToKeep) journal->Resize(0);  // where the disk is full, others need the space
    } catch (const AutomationError&) {
        // It stays as long as it is.
    }
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

// A journal is trusted only in what it says of its own database: the file that it names must prove to be a common
// journal of that database. At the usual path, one that was never finished is removed too.
void FoundJournal::RemoveUnusedCommon(FileSystem& system, const std::filesystem::path& common, File& database,
                                      bool is_usual_path) noexcept {
    try {
        if (system.Look(common) != FileKind::Plain || !system.IsByWriterOf(common, database)) return;
        const auto file = CommonJournal::TakeLeft(system, common);
        if (!file) return;
        const auto content = CommonJournal::Read(*file, common);
        if (content ? !IsUnused(system, *content, common, database) : !is_usual_path || !CommonJournal::IsBegun(*file))
            return;
        system.Remove(common);
    } catch (const AutomationError&) {
        // It stays, and does no harm.
    }
}

// Whether no journal of its databases names it any more, and the database at hand is one of them.
bool FoundJournal::IsUnused(FileSystem& system, const CommonJournal::Content& content,
                            const std::filesystem::path& common, File& database) {
    bool is_of_database = false;
    for (const std::filesystem::path& path : content.databases) {
        const std::u16string text = FromPath(path);
        if (IsInNetwork(text) && !IsOnMachineOf(text, FromPath(common))) return false;
        if (!content.is_over && Names(system, path, content.nonce)) return false;
        is_of_database = is_of_database || database.IsAt(path);
    }
    return is_of_database;
}

// Whether the database's journal names the common journal with this nonce. One that is out of reach may.
bool FoundJournal::Names(FileSystem& system, const std::filesystem::path& database, std::uint64_t nonce) {
    const FileKind kind = system.Look(JournalPath(database));
    if (kind == FileKind::None) return !system.Exists(database);
    if (kind == FileKind::Other) return false;
    FoundJournal found(system, JournalPath(database), nullptr);
    if (!found.file_ || !found.ReadHeader()) return false;
    found.ReadRecords();
    return found.common_ && found.common_->nonce == nonce;
}

}  // namespace qmtrain::jet
