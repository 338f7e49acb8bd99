#include "jet/file_transaction.h"

#include <algorithm>
#include <random>

#include "core/error.h"
#include "core/work.h"
#include "jet/found_journal.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kMaxRestored = 4;
constexpr std::size_t kAtOnce = 16;  // pages that go into the journal together
constexpr int kTries = 100;          // to make a journal while another process makes files of its name

std::uint64_t NewNonce() {
    std::random_device random;
    return static_cast<std::uint64_t>(random()) << 32 | random();
}

}  // namespace

void FileTransaction::OpenLevel(PageNumber page_count) {
    while (restored_.size() > kMaxRestored) MergeRestored();
    if (levels_.empty()) nonce_ = NewNonce();
    levels_.push_back({spare_ ? *std::move(spare_) : ImageStore(system_, file_.GetFormat().page_size), page_count});
    spare_.reset();
}

void FileTransaction::CommitLevel() noexcept {
    if (levels_.back().images.Clear()) spare_ = std::move(levels_.back().images);
    levels_.pop_back();
}

void FileTransaction::KeepImage(const Frame& frame) {
    if (levels_.size() < 2) return;
    Level& level = levels_.back();
    if (frame.number >= level.page_count || level.images.Has(frame.number)) return;
    level.images.Keep(frame.number, {frame.data, file_.GetFormat().page_size});
}

bool FileTransaction::HasRestored(PageNumber page) const {
    return std::any_of(restored_.begin(), restored_.end(), [&](const ImageStore& store) { return store.Has(page); });
}

void FileTransaction::TakeRestored(PageNumber page, std::span<std::uint8_t> bytes) {
    for (ImageStore& store : restored_) {
        if (!store.Has(page)) continue;
        store.Read(page, bytes);
        store.Drop(page);
    }
}

void FileTransaction::DropRestored(PageNumber page) {
    for (ImageStore& store : restored_) store.Drop(page);
}

// Each undone level leaves a store, of which a long transaction may get many: the last two become one.
void FileTransaction::MergeRestored() {
    const ImageStore& last = restored_.back();
    ImageStore& before = restored_[restored_.size() - 2];
    std::vector<std::uint8_t> image(file_.GetFormat().page_size);
    for (const PageNumber page : last.Pages()) {
        last.Read(page, image);
        before.Drop(page);
        before.Keep(page, image);
    }
    restored_.pop_back();
}

std::vector<PageNumber> FileTransaction::Restored() const {
    std::vector<PageNumber> pages;
    for (const ImageStore& store : restored_) {
        const std::vector<PageNumber> own = store.Pages();
        pages.insert(pages.end(), own.begin(), own.end());
    }
    return pages;
}

void FileTransaction::MergeLevel() {
    if (levels_.size() == 2) return;
    const Level& done = levels_.back();
    Level& outer = levels_[levels_.size() - 2];
    std::vector<std::uint8_t> image(file_.GetFormat().page_size);
    for (const PageNumber page : done.images.Pages()) {
        if (page >= outer.page_count || outer.images.Has(page)) continue;
        done.images.Read(page, image);
        outer.images.Keep(page, image);
    }
}

PageNumber FileTransaction::UndoLevel() noexcept {
    Level level = std::move(levels_.back());
    levels_.pop_back();
    const PageNumber page_count = level.page_count;
    for (const PageNumber page : level.images.Pages()) {
        if (Frame* frame = cache_.Find(page)) cache_.Forget(frame);
    }
    cache_.ForgetFrom(page_count);
    restored_.push_back(std::move(level.images));
    for (ImageStore& store : restored_) {
        for (const PageNumber page : store.Pages()) {
            if (page >= page_count) store.Drop(page);
        }
    }
    std::erase_if(restored_, [](const ImageStore& store) { return store.Empty(); });
    return page_count;
}

void FileTransaction::WriteBack(bool decides, const CommonJournal* common) {
    const std::vector<Frame*> dirty = cache_.DirtyInOrder();
    share_.LockToWrite();
    file_.RequireInPlace();  // others may have had it while this one waited, or had no scope open
    const std::uint32_t page_size = file_.GetFormat().page_size;
    const PageNumber old_pages = levels_.front().page_count;
    if (!journal_) {
        share_.RequireNoOtherEngine();
        const std::uint64_t length = std::uint64_t{old_pages} * page_size;
        journal_ = BeginJournal(length);
        overwritten_ = false;
        if (decides) AddOutcomes(dirty);
    }
    KeepStored(dirty, old_pages);
    if (common != nullptr) journal_->AddCommon(common->GetName());
    journal_->Sync();
    file_.RequireInPlace();  // the disk may have taken its time
    if (common != nullptr) common->RequireInPlace();
    overwritten_ = true;
    file_.Write(dirty);
    for (Frame* frame : dirty) {
        if (frame->pins == 0) cache_.MarkClean(*frame);  // a pinned page may change after this moment
    }
}

// What the file holds in the place of the frames. Consecutive pages are read at once.
void FileTransaction::KeepStored(std::span<Frame* const> frames, PageNumber old_pages) {
    const std::uint32_t page_size = file_.GetFormat().page_size;
    const auto wanted = [&](const Frame* frame) {
        return frame->number < old_pages && journal_->NeedsImage(frame->number);
    };
    std::vector<std::uint8_t> images(kAtOnce * page_size);
    while (!frames.empty()) {
        const PageNumber first = frames.front()->number;
        PageNumber count = 0;
        const std::size_t most = std::min(kAtOnce, frames.size());
        while (count < most && frames[count]->number == first + count && wanted(frames[count])) ++count;
        if (count > 0) file_.ReadStored(first, std::span(images).first(std::size_t{count} * page_size));
        for (PageNumber i = 0; i < count; ++i) {
            journal_->Add(first + i, std::span(images).subspan(std::size_t{i} * page_size, page_size));
        }
        frames = frames.subspan(std::max<std::size_t>(count, 1));
    }
}

// Tells the journal what the file will hold, if the pages are few enough for that.
void FileTransaction::AddOutcomes(std::span<Frame* const> frames) {
    const std::uint32_t page_size = file_.GetFormat().page_size;
    if (!durable_ || frames.size() > Journal::MostOutcomes(page_size)) return;
    std::vector<PageNumber> pages;
    std::vector<std::uint8_t> images;
    for (; !frames.empty(); frames = frames.subspan(pages.size())) {
        pages.clear();
        images.clear();
        for (const Frame* frame : frames.first(std::min(kAtOnce, frames.size()))) {
            pages.push_back(frame->number);
            images.insert(images.end(), frame->data, frame->data + page_size);
            file_.ApplyPageCipher(frame->number, std::span(images).last(page_size));
        }
        journal_->AddOutcomes(pages, images);
    }
}

// Any account that may make files in the folder can put one under the journal's name at any moment: it is set aside.
// One that another account has left, and that may not be written, makes room.
std::unique_ptr<Journal> FileTransaction::BeginJournal(std::uint64_t length) {
    const bool named = kept_journal_.IsNamed();
    std::unique_ptr<File> kept = kept_journal_.Take();
    if (kept && !kept->HasRightsOf(file_.Handle())) {  // the database has lost or got some since
        kept.reset();
        system_.Remove(JournalPath(file_.Path()));
    }
    for (int tries = 1;; ++tries) {
        has_rights_ = kept != nullptr;
        try {
            return std::make_unique<Journal>(system_, file_, length, nonce_, durable_, std::move(kept), named);
        } catch (const AutomationError& error) {
            if (!error.Is(ErrorNumber::CannotOpenFile) || tries == kTries) throw;
            Work::Look();
        }
        auto found = FoundJournal::Find(system_, file_);
        if (!found) continue;
        if (found->GetState() == FoundJournal::State::Foreign) {
            FoundJournal::Resolve(std::move(*found), system_, file_.Handle(), durable_);
        } else if (found->GetState() == FoundJournal::State::Ended) {
            system_.Remove(JournalPath(file_.Path()));
        }
    }
}

void FileTransaction::CompleteFile(PageNumber page_count) {
    const std::uint64_t size = std::uint64_t{page_count} * file_.GetFormat().page_size;
    if (file_.Size() > size) file_.Resize(size);
    if (durable_) file_.Sync();
}

void FileTransaction::Finish() {
    journal_->Finish();
    KeepJournal();
}

// Its file stays where all who may write the database may write it.
void FileTransaction::KeepJournal() noexcept {
    const bool named = journal_->IsNamed();
    if (!has_rights_ && !journal_->HasRightsOf(file_.Handle())) return journal_->Remove();
    kept_journal_.Keep(journal_->Release(), true, named);
}

// Only the last session does, and only where no other writer can have put its own journal there meanwhile. Most
// sessions find none, so that is checked first.
void FileTransaction::RemoveKeptJournal() noexcept {
    try {
        const bool there = system_.Look(JournalPath(file_.Path())) == FileKind::Plain && file_.IsInPlace();
        const auto others_keep_it = [&] { return !share_.IsAlone() && file_.Handle().HasRightsOf(file_.Handle()); };
        if (there && !others_keep_it() && share_.TryReserve()) {
            FindJournal();
            kept_journal_.Remove();
        }
    } catch (const AutomationError&) {
        // The next session that finds it ends it.
    }
    share_.Unlock();
}

void FileTransaction::Close() {
    for (Frame* frame : cache_.DirtyInOrder()) cache_.MarkClean(*frame);
    journal_.reset();
    levels_.clear();
    restored_.clear();
}

FileTransaction::Undone FileTransaction::UndoAll() noexcept {
    Undone undone{levels_.front().page_count, true};
    cache_.ForgetDirty();
    levels_.clear();
    restored_.clear();
    if (!journal_) return undone;
    if (!overwritten_) {  // the disk may be full, and need not take anything for this
        journal_->Remove();
        journal_.reset();
        return undone;
    }
    cache_.ForgetAll();  // what was written back early is in the file, and in clean frames
    journal_->Disown();
    disowned_ = nonce_;
    journal_.reset();
    try {
        auto found = FindJournal();
        const bool ours = found && found->Nonce() == nonce_;
        undone.complete = ours && found->GetState() == FoundJournal::State::InForce;
        if (undone.complete && file_.IsInPlace()) {
            FoundJournal::Resolve(std::move(*found), system_, file_.Handle(), durable_);
        } else if (undone.complete) {
            found->PlayBack(file_.Handle());  // the file that stands there by now may need it as well
        }
    } catch (const AutomationError&) {
        undone.complete = false;
    }
    return undone;
}

}  // namespace qmtrain::jet
