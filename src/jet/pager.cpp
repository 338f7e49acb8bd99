#include "jet/pager.h"

#include <algorithm>
#include <utility>

#include "jet/commit_counter.h"

namespace qmtrain::jet {

Pager::Pager(std::filesystem::path path, const PagerOptions& options, const Pager* home)
    : system_(*options.system),
      session_(options.session ? options.session : std::make_shared<Session>()),
      home_(home != nullptr ? home : this),
      durable_(options.durable),
      file_(system_, std::move(path), options.read_only, options.links_in_network),
      password_(options.password),
      journal_path_(JournalPath(file_.Path())),
      share_(system_, file_, options.lock_timeout, session_->Waited(), options.exclusive),
      cache_(GetFormat().page_size, options.cache_bytes, *this),
      change_(system_, file_, share_, cache_, options.durable) {
    if (Pager::MayChange() && !share_.Problem().empty()) file_.SetReadOnly(share_.Problem());
    if (Pager::MayChange() && IsTooLongName(journal_path_)) file_.SetReadOnly(u"文件名太长，不能在旁边建立日志文件。");
}

Pager::~Pager() {
    session_->Remove(*this);
    change_.RemoveKeptJournal();
}

// Scopes

void Pager::JoinScope() const {
    session_->Join(const_cast<Pager&>(*this));  // what others see of the file is the same before and after
}

template <class Lock>
void Pager::Begin(Lock lock) {
    try {
        lock();
        NoticeChanges();
        RequirePassword();
    } catch (...) {
        share_.ForgetSeen();
        share_.Unlock();
        throw;
    }
    joined_ = true;
}

void Pager::BeginReading() {
    Begin([this] {
        share_.LockToRead();
        NoticeUnfinished(false);
        share_.NoticeOtherEngines();
    });
}

void Pager::BeginChanging() {
    if (!MayChange()) Raise(ErrorNumber::ReadOnly, {FileName(), ReadOnlyReason()});
    if (!file_.HasOneName()) Raise(ErrorNumber::ReadOnly, {FileName(), kManyNames});
    Begin([this] {
        share_.LockToChange();
        file_.RequireInPlace();  // the writer before may have put another file there
        NoticeUnfinished(true);
    });
}

void Pager::End() noexcept {
    joined_ = false;
    share_.Unlock();
}

void Pager::OpenLevel() {
    change_.OpenLevel(page_count_);
}

void Pager::UndoLevel() noexcept {
    page_count_ = change_.UndoLevel();
    Invalidate();
}

bool Pager::HasChanges() const {
    return cache_.HasDirty() || change_.HasWritten() || !change_.Restored().empty();
}

CommonJournal Pager::StartCommon(const std::vector<std::filesystem::path>& databases) {
    FoundJournal::RemoveUnusedCommon(system_, CommonJournal::UsualPath(databases.front()), file_.Handle(), true);
    return {system_, databases, durable_};
}

void Pager::WriteChanges(bool decides, const CommonJournal* common) {
    RaiseCommitCounter();
    for (const PageNumber page : change_.Restored()) Load(page);
    change_.WriteBack(decides, common);
    change_.CompleteFile(page_count_);
    const std::uint8_t* counters = cache_.Load(0)->data + GetFormat().commit_counters;
    std::copy_n(counters, own_counters_.size(), own_counters_.begin());
}

// The change is committed: nothing may fail from here on.
void Pager::Close() noexcept {
    if (change_.HasWritten()) {
        share_.Committed(own_counters_, std::uint64_t{page_count_} * GetFormat().page_size);
    }
    change_.Close();
    old_header_.reset();
}

bool Pager::UndoAll() noexcept {
    const FileTransaction::Undone undone = change_.UndoAll();
    page_count_ = undone.page_count;
    RestoreHeader();
    if (!undone.complete) share_.ForgetSeen();
    Invalidate();
    return undone.complete;
}

void Pager::Abandon() noexcept {
    change_.Close();
    old_header_.reset();  // the next look reads it anew
    share_.ForgetSeen();
    Invalidate();
}

void Pager::Invalidate() {
    ++generation_;
    CountChange();
}

// Only the thread that holds the session counts.
void Pager::CountChange() {
    ++change_count_;
    const std::uint64_t known = home_->known_changes_.load(std::memory_order_relaxed);
    home_->known_changes_.store(known + 1, std::memory_order_release);
}

// Others

// Deals with a journal that was left unfinished: its writer is dead, since no one writes while we may read. It is
// resolved if that is possible. A reader that cannot do so reads through the old images; a writer must do it.
void Pager::NoticeUnfinished(bool to_change) {
    std::optional<FoundJournal> found = FindJournal();
    if (!found && !unfinished_) return;
    const auto is_known = [&] { return found && unfinished_ && found->Nonce() == unfinished_->Nonce(); };
    const auto counts = [&] { return found && found->GetState() == FoundJournal::State::InForce; };
    // Of a file with several names others may look under another one. Where another file stands by now, the journal may
    // be that one's.
    const auto may_resolve = [&] {
        const bool may = MayChange() ? found->GetState() != FoundJournal::State::Foreign : counts();
        return may && file_.HasOneName() && file_.IsInPlace();
    };
    if (found && (to_change || (!is_known() && may_resolve()))) {
        found.reset();
        std::unique_ptr<File> own;
        try {
            if (!MayChange()) own = system_.Open(Path(), OpenMode::ReadWrite);
            File& file = own ? *own : file_.Handle();
            share_.Alone(file, [&] { ResolveJournal(file); });
        } catch (const AutomationError&) {
            if (to_change) throw;
            share_.Unlock();
            share_.LockToRead();
        }
        found = FindJournal();
    }
    if (is_known()) return;
    if (!counts()) found.reset();
    if (!found && !unfinished_) return;
    unfinished_ = std::move(found);
    share_.ForgetSeen();
}

std::optional<FoundJournal> Pager::FindJournal() {
    if (change_.GetKeptJournal().IsEnded() || system_.Look(journal_path_) == FileKind::None) return std::nullopt;
    return change_.FindJournal();
}

// The journal was compared with our file, but is applied to the one at the path, which is `file`.
void Pager::ResolveJournal(File& file) {
    file_.RequireInPlace();
    if (!file.IsAt(Path())) Raise(ErrorNumber::DiskError, {FileName(), kReplaced});
    if (auto found = FindJournal()) FoundJournal::Resolve(std::move(*found), system_, file, durable_);
}

void Pager::NoticeChanges() {
    if (!share_.NoticeChanges()) return;
    cache_.ForgetAll();
    TakeSize(share_.Size());
    if (page_count_ < 3) Raise(ErrorNumber::FileDamaged, {FileName(), u"文件不完整。"});
    file_.TakeHeader({Load(0)->data, GetFormat().page_size});
    Invalidate();
}

void Pager::RequirePassword() {
    if (password_ && !IsPassword(GetHeader(), *password_)) Raise(ErrorNumber::PasswordInvalid, {FileName()});
    password_.reset();
}

// A torn last page does not count.
void Pager::TakeSize(std::uint64_t size) {
    if (size > GetFormat().max_file_size) Raise(ErrorNumber::UnknownFormat, {FileName(), u"文件太长。"});
    page_count_ = unfinished_ ? unfinished_->PageCount() : static_cast<PageNumber>(size / GetFormat().page_size);
}

void Pager::RaiseCommitCounter() {
    Frame* frame = Load(0);
    cache_.MarkDirty(*frame);
    std::uint8_t* counters = frame->data + GetFormat().commit_counters;
    Put(counters, RaisedCounters(Get<std::uint32_t>(counters), change_.Nonce()));
}

// Pages

PageNumber Pager::PageCount() const {
    Join();
    return page_count_;
}

std::uint64_t Pager::Generation() const {
    Join();
    return generation_;
}

std::uint64_t Pager::ChangeCount() const {
    Join();
    return change_count_;
}

Page Pager::Read(PageNumber number) {
    Join();
    if (share_.IsWithOtherEngine() && number >= page_count_ && !change_.IsOpen()) {
        TakeSize(std::max(file_.Size(), share_.Size()));
    }
    if (number == 0 || number >= page_count_) Damaged(number, u"页号超出文件范围");
    return {Load(number), file_.Identity()};
}

// A file that can be written may have been read already by a scope around the one that changes.
void Pager::RequireChange() const {
    if (change_.IsOpen()) return;
    if (MayChange()) Raise(ErrorNumber::InvalidOperation);
    Raise(ErrorNumber::ReadOnly, {FileName(), ReadOnlyReason()});
}

MutablePage Pager::Write(PageNumber number) {
    Join();
    RequireChange();
    if (number == 0 || number >= page_count_) Damaged(number, u"页号超出文件范围");
    Frame* frame = Load(number);
    change_.KeepImage(*frame);
    cache_.MarkDirty(*frame);
    ++frame->changes;
    CountChange();
    return {frame, file_.Identity()};
}

void Pager::SetPassword(std::u16string_view password) {
    Join();
    RequireChange();
    if (change_.IsNested()) Raise(ErrorNumber::InvalidOperation);  // rolling it back would not restore the header
    Frame* frame = Load(0);
    WritePassword(password, {frame->data, GetFormat().page_size}, FileName());
    cache_.MarkDirty(*frame);
    CountChange();
    old_header_ = GetHeader();
    file_.TakeHeader({frame->data, GetFormat().page_size});
}

void Pager::RestoreHeader() noexcept {
    if (old_header_) file_.RestoreHeader(std::move(*old_header_));
    old_header_.reset();
}

MutablePage Pager::Extend() {
    Join();
    RequireChange();
    if (std::uint64_t{page_count_ + 1} * GetFormat().page_size > GetFormat().max_file_size) {
        Raise(ErrorNumber::DatabaseTooLarge, {u"数据库已达到格式允许的最大长度，不能再写入：" + FileName()});
    }
    Frame* frame = cache_.Take(page_count_);
    change_.DropRestored(page_count_++);
    std::fill_n(frame->data, GetFormat().page_size, static_cast<std::uint8_t>(0));
    cache_.MarkDirty(*frame);
    CountChange();
    return {frame, file_.Identity()};
}

Frame* Pager::Load(PageNumber number) {
    if (cache_.Find(number) != nullptr || !change_.HasRestored(number)) return cache_.Load(number);
    Frame* frame = cache_.Take(number);
    try {
        change_.TakeRestored(number, {frame->data, GetFormat().page_size});
    } catch (...) {
        cache_.Forget(frame);
        throw;
    }
    cache_.MarkDirty(*frame);  // the file may hold what was undone
    return frame;
}

void Pager::Fetch(PageNumber first, std::span<const std::span<std::uint8_t>> parts) {
    file_.Read(first, parts);
    if (share_.IsWithOtherEngine()) file_.ReadUntilWhole(first, parts.front());
    if (!unfinished_) return;
    PageNumber number = first;
    for (const std::span<std::uint8_t> part : parts) {
        if (unfinished_->Has(number)) {
            unfinished_->ReadImage(number, part);
            file_.ApplyPageCipher(number, part);
        }
        ++number;
    }
}

bool Pager::MayReadAhead(PageNumber page) const {
    return page < page_count_ && !share_.IsWithOtherEngine() && !change_.HasRestored(page);
}

}  // namespace qmtrain::jet
