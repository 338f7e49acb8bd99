#include "jet/pager.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <utility>

#include "jet/whole_page.h"

namespace qmtrain::jet {

struct Page::Frame {
    PageNumber number = 0;
    std::size_t place = 0;  // in Pager::frames_
    std::shared_ptr<FramePool> pool;
    std::uint8_t* data = nullptr;
    int pins = 0;
    bool used = false;  // stands in Pager::index_
    bool dirty = false;
    bool referenced = false;  // since the clock hand last passed
    bool orphan = false;      // forgotten by the pager while a Page still looked at it

    Frame(std::shared_ptr<FramePool> from, std::size_t at) : place(at), pool(std::move(from)), data(pool->Take()) {}
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    ~Frame() { pool->Give(data); }
};

namespace {

constexpr std::size_t kMinimumFrames = 64;
constexpr std::size_t kWriteBuffer = std::size_t{256} << 10;
constexpr PageNumber kMaxReadAhead = 32;

// How often scopes that read look for another engine, and how long a page that it may be writing is read again.
constexpr std::chrono::milliseconds kLookForEnginesEvery(50);
constexpr std::chrono::milliseconds kReadAgainFor(250);

FileSystem*& FilesInPlace() {
    static FileSystem* files = nullptr;
    return files;
}

}  // namespace

bool SyncsByDefault() {
    const char* setting = std::getenv("QMTRAININFO_SYNC");
    return setting == nullptr || std::string_view(setting) != "off";
}

FileSystem& DefaultFiles() {
    return FilesInPlace() != nullptr ? *FilesInPlace() : FileSystem::Native();
}

void SetDefaultFiles(FileSystem* files) {
    FilesInPlace() = files;
}

// Page

Page::Page(Frame* frame, const Pager* pager) : frame_(frame), pager_(pager) {
    ++frame_->pins;
}

Page& Page::operator=(Page&& other) noexcept {
    if (this != &other) {
        Release();
        frame_ = std::exchange(other.frame_, nullptr);
        pager_ = other.pager_;
    }
    return *this;
}

void Page::Release() {
    if (frame_ == nullptr) return;
    Frame* frame = std::exchange(frame_, nullptr);
    if (--frame->pins == 0 && frame->orphan) delete frame;
}

PageNumber Page::Number() const {
    return frame_->number;
}
const std::uint8_t* Page::Data() const {
    return frame_->data;
}
std::uint8_t* MutablePage::Data() {
    return frame_->data;
}

ByteView Page::View() const {
    return {Data(), pager_->GetFormat().page_size, pager_->FileName(), frame_->number};
}

// Opening and closing

Pager::Pager(std::filesystem::path path, const PagerOptions& options)
    : path_(std::move(path)),
      file_name_(FromNativePath(path_)),
      system_(options.system != nullptr ? *options.system : DefaultFiles()),
      durable_(options.durable) {
    OpenFile(options);
    locks_ = std::make_unique<LockFile>(system_, path_, read_only_reason_.empty(), options.lock_timeout);
    ReadFileHeader();
    pool_ = std::make_shared<FramePool>(GetFormat().page_size);
    max_frames_ = std::max(kMinimumFrames, options.cache_bytes / GetFormat().page_size);
    const ReadScope recovers_and_looks(*this);
}

Pager::~Pager() {
    if (!levels_.empty()) {
        levels_.resize(1);
        RollbackWrite();
    }
    for (auto& frame : frames_) {
        if (frame && frame->pins > 0) {
            frame->orphan = true;
            static_cast<void>(frame.release());
        }
    }
}

void Pager::OpenFile(const PagerOptions& options) {
    if (options.read_only) {
        read_only_reason_ = u"它以只读方式打开。";
    } else {
        try {
            file_ = system_.Open(path_, OpenMode::ReadWrite);
            return;
        } catch (const AutomationError& error) {
            if (!error.Is(ErrorNumber::CannotOpenFile)) throw;
            read_only_reason_ = u"文件或文件夹没有写入权限。";
        }
    }
    file_ = system_.Open(path_, OpenMode::ReadOnly);
}

void Pager::ReadFileHeader() {
    std::vector<std::uint8_t> head(512);
    head.resize(file_->ReadAt(0, head));
    header_ = ReadHeader(head, file_name_);
    if (header_.has_password) Raise(ErrorNumber::PasswordInvalid, {file_name_});
    if (header_.format->version == Version::Jet3) read_only_reason_ = u"Jet 3（Access 97）格式的数据库只能读取。";
    if (!header_.pointers_as_expected) read_only_reason_ = u"文件头中的指针异常。";
}

void Pager::Damaged(PageNumber page, std::u16string_view what) const {
    Raise(ErrorNumber::FileDamaged, {file_name_, u"第 " + ToText(page) + u" 页：" + std::u16string(what) + u"。"});
}

void Pager::RequireUsable() const {
    if (half_undone_ && (readers_ > 0 || !levels_.empty())) {
        Raise(ErrorNumber::DiskError, {file_name_, u"上一次操作没有能够撤销，请重试。"});
    }
}

// Scopes

void Pager::BeginRead() {
    RequireUsable();
    if (readers_++ > 0 || !levels_.empty()) return;
    try {
        locks_->LockShared();
        RecoverIfNeeded();
        NoticeOtherEngines();
        NoticeOtherCommits();
    } catch (...) {
        --readers_;
        locks_->UnlockAll();
        throw;
    }
}

void Pager::EndRead() noexcept {
    if (--readers_ == 0 && levels_.empty()) locks_->UnlockAll();
}

void Pager::BeginWrite() {
    RequireUsable();
    if (!read_only_reason_.empty()) Raise(ErrorNumber::ReadOnly, {file_name_, read_only_reason_});
    if (levels_.empty()) {
        // A reader that waits here for the writer would wait for ever: the writer waits for the readers.
        assert(readers_ == 0);
        try {
            locks_->LockReserved();
            RequireNoOtherEngine();
            locks_->LockShared();
            RecoverIfNeeded();
            NoticeOtherCommits();
        } catch (...) {
            locks_->UnlockAll();
            throw;
        }
        committed_pages_ = page_count_;
    }
    levels_.push_back({{}, page_count_});
}

void Pager::CommitWrite() {
    if (levels_.size() > 1) {
        Level done = std::move(levels_.back());
        levels_.pop_back();
        if (levels_.size() == 1) return;  // the file itself holds what the outermost scope goes back to
        Level& outer = levels_.back();
        done.page_count = outer.page_count;
        for (auto& [number, image] : done.images) {
            if (number < outer.page_count) outer.images.try_emplace(number, std::move(image));
        }
        return;
    }
    try {
        FinishCommit();
    } catch (...) {
        UndoOutermost();
        throw;
    }
    levels_.clear();
    if (readers_ == 0) locks_->UnlockAll();
}

void Pager::RollbackWrite() noexcept {
    if (levels_.size() == 1) {
        UndoOutermost();
        return;
    }
    UndoLevel(levels_.back());
    levels_.pop_back();
}

void Pager::UndoLevel(Level& level) {
    for (auto& frame : frames_) {
        if (frame && frame->used && frame->number >= level.page_count) Forget(frame.get());
    }
    page_count_ = level.page_count;
    for (auto& [number, image] : level.images) {
        Frame* frame = Find(number);
        if (frame == nullptr) frame = PutFrame(AddFrame(), number);  // to make room could mean to write, and to fail
        std::copy(image.begin(), image.end(), frame->data);
        MarkDirty(*frame);
    }
    ++generation_;
    ++change_count_;
}

void Pager::UndoOutermost() {
    for (auto& frame : frames_) {
        if (frame && frame->used && frame->dirty) Forget(frame.get());
    }
    try {
        if (journal_) {
            // What was written out early is in the file, and in clean frames.
            ForgetAll();
            journal_.reset();
            Journal::PlayBack(system_, path_, *file_);
            Journal::Discard(system_, path_, durable_);
        }
    } catch (const AutomationError&) {
        half_undone_ = true;  // the journal stays for the next scope, here or in another process
    }
    page_count_ = committed_pages_;
    levels_.clear();
    ++generation_;
    ++change_count_;
    if (readers_ == 0) locks_->UnlockAll();
}

// Other processes

void Pager::RecoverIfNeeded() {
    while (system_.Exists(Journal::PathFor(path_))) {
        if (!read_only_reason_.empty()) {
            Raise(ErrorNumber::ReadOnly, {file_name_, u"它有一个未完成的事务，必须先以可写方式打开一次。"});
        }
        // Nobody writes while we may read, so the journal's owner is dead.
        const bool reserved = locks_->IsReserved();
        if (!reserved) {
            locks_->UnlockAll();
            locks_->LockReserved();
        }
        RequireNoOtherEngine();
        locks_->LockExclusive();
        if (system_.Exists(Journal::PathFor(path_))) {
            Journal::PlayBack(system_, path_, *file_);
            Journal::Discard(system_, path_, durable_);
        }
        locks_->UnlockExclusive();
        if (!reserved) locks_->UnlockAll();
        locks_->LockShared();
    }
    half_undone_ = false;
}

void Pager::NoticeOtherEngines() {
    const auto now = std::chrono::steady_clock::now();
    if (now - looked_for_engines_ >= kLookForEnginesEvery) {
        looked_for_engines_ = now;
        if (std::exchange(careful_, locks_->SeesOtherEngine())) counters_.clear();
    }
    if (careful_) counters_.clear();
}

// Nobody could keep the two apart.
void Pager::RequireNoOtherEngine() {
    if (locks_->SeesOtherEngine(true)) Raise(ErrorNumber::FileInUse, {file_name_});
    if (std::exchange(careful_, false)) counters_.clear();
}

void Pager::NoticeOtherCommits() {
    std::vector<std::uint8_t> counters(512);
    file_->ReadAt(GetFormat().commit_counters, counters);
    const std::uint64_t size = file_->Size();
    if (counters == counters_ && size == seen_size_) return;
    ForgetAll();
    TakeSize(size);
    if (page_count_ < 3) Raise(ErrorNumber::FileDamaged, {file_name_, u"文件不完整。"});
    counters_ = std::move(counters);
    ++generation_;
    ++change_count_;
}

void Pager::TakeSize(std::uint64_t size) {
    if (size > GetFormat().max_file_size) Raise(ErrorNumber::UnknownFormat, {file_name_, u"文件太长。"});
    seen_size_ = size;
    page_count_ = static_cast<PageNumber>(size / GetFormat().page_size);  // a torn last page does not count
    index_.resize(page_count_, nullptr);
}

// The first commit counter tells every other user, ours or not, that cached pages are old. It is never 0.
void Pager::RaiseCommitCounter() {
    MutablePage page(Load(0), this);
    KeepImage(*page.frame_);
    MarkDirty(*page.frame_);
    std::uint8_t* counter = page.Data() + GetFormat().commit_counters;
    auto value = static_cast<std::uint16_t>(Get<std::uint16_t>(counter) + 1);
    if (value == 0) {
        value = 1;
        Put(counter + 2, static_cast<std::uint16_t>(Get<std::uint16_t>(counter + 2) + 1));
    }
    Put(counter, value);
}

// The cache

Page Pager::Read(PageNumber number) {
    if (careful_ && number >= page_count_ && levels_.empty()) TakeSize(std::max(file_->Size(), seen_size_));
    if (number == 0 || number >= page_count_) Damaged(number, u"页号超出文件范围");
    return {Load(number), this};
}

MutablePage Pager::Write(PageNumber number) {
    assert(!levels_.empty());
    if (number == 0 || number >= page_count_) Damaged(number, u"页号超出文件范围");
    Frame* frame = Load(number);
    KeepImage(*frame);
    MarkDirty(*frame);
    ++change_count_;
    return {frame, this};
}

MutablePage Pager::Extend() {
    assert(!levels_.empty());
    if (static_cast<std::uint64_t>(page_count_ + 1) * GetFormat().page_size > GetFormat().max_file_size) {
        Raise(ErrorNumber::DatabaseTooLarge, {file_name_});
    }
    const PageNumber number = page_count_++;
    index_.resize(std::max<std::size_t>(index_.size(), page_count_), nullptr);
    Frame* frame = TakeFrame(number);
    std::fill_n(frame->data, GetFormat().page_size, static_cast<std::uint8_t>(0));
    MarkDirty(*frame);
    ++change_count_;
    return {frame, this};
}

Pager::Frame* Pager::Find(PageNumber number) {
    return number < index_.size() ? index_[number] : nullptr;
}

Pager::Frame* Pager::Load(PageNumber number) {
    if (Frame* frame = Find(number)) {
        frame->referenced = true;
        return frame;
    }
    read_ahead_ = number == expected_miss_ && !careful_ ? std::min(read_ahead_ * 2, kMaxReadAhead) : 1;
    PageNumber count = 1;
    while (count < read_ahead_ && number + count < page_count_ && Find(number + count) == nullptr) ++count;
    ReadAhead(number, count);
    expected_miss_ = number + count;
    return Find(number);
}

// Reads pages that are not in the cache, all at once.
void Pager::ReadAhead(PageNumber number, PageNumber count) {
    const std::uint32_t page_size = GetFormat().page_size;
    std::vector<Frame*> frames;
    std::vector<std::span<std::uint8_t>> parts;
    try {
        for (PageNumber i = 0; i < count; ++i) {
            frames.push_back(TakeFrame(number + i));
            ++frames.back()->pins;  // so that the next ones do not take its place
            parts.emplace_back(frames.back()->data, page_size);
        }
        const std::uint64_t at = static_cast<std::uint64_t>(number) * page_size;
        if (file_->ReadParts(at, parts) != std::size_t{count} * page_size) Damaged(number, u"文件在此页之前结束");
    } catch (...) {
        for (Frame* frame : frames) {
            --frame->pins;
            Forget(frame);
        }
        throw;
    }
    for (PageNumber i = 0; i < count; ++i) {
        --frames[i]->pins;
        ApplyPageCipher(number + i, parts[i]);
    }
    if (careful_) ReadUntilWhole(number, parts.front());
}

void Pager::ApplyPageCipher(PageNumber number, std::span<std::uint8_t> page) const {
    if (header_.page_key != 0 && number != 0) ApplyCipher(header_.page_key ^ number, page);
}

// A page that another engine may be writing: it counts when two readings agree and it fits together. What never does is
// left to those who use it.
void Pager::ReadUntilWhole(PageNumber number, std::span<std::uint8_t> page) {
    std::vector<std::uint8_t> again(page.size());
    const auto deadline = std::chrono::steady_clock::now() + kReadAgainFor;
    do {
        file_->ReadAt(static_cast<std::uint64_t>(number) * page.size(), again);
        ApplyPageCipher(number, again);
        const bool still = std::equal(again.begin(), again.end(), page.begin());
        if (still && IsWhole(ByteView(page.data(), page.size(), file_name_, number), GetFormat())) return;
        std::copy(again.begin(), again.end(), page.begin());
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    } while (std::chrono::steady_clock::now() < deadline);
}

std::unique_ptr<Page::Frame> Pager::NewFrame(std::size_t place) {
    return std::make_unique<Frame>(pool_, place);
}

Pager::Frame* Pager::TakeFrame(PageNumber number) {
    Frame* frame = frames_.size() >= max_frames_ ? EvictOne() : nullptr;
    return PutFrame(frame != nullptr ? frame : AddFrame(), number);
}

Pager::Frame* Pager::AddFrame() {
    frames_.push_back(NewFrame(frames_.size()));
    return frames_.back().get();
}

Pager::Frame* Pager::PutFrame(Frame* frame, PageNumber number) {
    frame->number = number;
    frame->used = true;
    frame->referenced = true;
    if (index_.size() <= number) index_.resize(number + 1, nullptr);
    index_[number] = frame;
    return frame;
}

// Frees a frame by the clock algorithm; null when all are pinned, and the cache grows for a while.
Pager::Frame* Pager::EvictOne() {
    if (dirty_count_ > max_frames_ / 4 * 3) WriteOut();
    for (std::size_t step = 0; step < frames_.size() * 2; ++step) {
        clock_hand_ = (clock_hand_ + 1) % frames_.size();
        auto& frame = frames_[clock_hand_];
        if (!frame) {
            frame = NewFrame(clock_hand_);
            return frame.get();
        }
        if (frame->pins > 0 || frame->dirty) continue;
        if (std::exchange(frame->referenced, false) && frame->used) continue;
        if (frame->used) Forget(frame.get());
        return frame.get();
    }
    return nullptr;
}

void Pager::Forget(Frame* frame) {
    if (frame->number < index_.size()) index_[frame->number] = nullptr;
    if (frame->dirty) --dirty_count_;
    frame->dirty = false;
    frame->used = false;
    if (frame->pins > 0) {
        frame->orphan = true;
        static_cast<void>(frames_[frame->place].release());
    }
}

void Pager::ForgetAll() {
    for (auto& frame : frames_) {
        if (frame && frame->used) Forget(frame.get());
    }
}

void Pager::MarkDirty(Frame& frame) {
    if (!frame.dirty) ++dirty_count_;
    frame.dirty = true;
}

void Pager::KeepImage(const Frame& frame) {
    if (levels_.size() < 2) return;
    Level& level = levels_.back();
    if (frame.number >= level.page_count) return;
    const auto [entry, added] = level.images.try_emplace(frame.number);
    if (added) entry->second.assign(frame.data, frame.data + GetFormat().page_size);
}

// Commit

void Pager::FinishCommit() {
    if (dirty_count_ == 0 && !journal_) return;
    RaiseCommitCounter();
    WriteOut();
    const std::uint64_t size = static_cast<std::uint64_t>(page_count_) * GetFormat().page_size;
    if (file_->Size() > size) file_->Resize(size);
    if (durable_) file_->Sync();
    const std::uint8_t* counters = Load(0)->data + GetFormat().commit_counters;
    std::vector<std::uint8_t> written(counters, counters + 512);
    journal_->Finish();
    // The change stands: nothing may fail from here on.
    journal_.reset();
    counters_ = std::move(written);
    seen_size_ = size;
    locks_->UnlockExclusive();
}

// Brings all changes into the file, their old content safe in the journal: at a commit, or early when the cache is
// full.
void Pager::WriteOut() {
    std::vector<Frame*> dirty;
    for (auto& frame : frames_) {
        if (frame && frame->used && frame->dirty) dirty.push_back(frame.get());
    }
    std::sort(dirty.begin(), dirty.end(), [](const Frame* a, const Frame* b) { return a->number < b->number; });
    locks_->LockExclusive();
    const std::uint32_t page_size = GetFormat().page_size;
    if (!journal_) {
        RequireNoOtherEngine();
        const std::uint64_t length = static_cast<std::uint64_t>(committed_pages_) * page_size;
        journal_ = std::make_unique<Journal>(system_, path_, page_size, length, durable_);
    }
    std::vector<std::uint8_t> image(page_size);
    for (const Frame* frame : dirty) {
        if (frame->number >= committed_pages_ || !journal_->NeedsImage(frame->number)) continue;
        file_->ReadAt(static_cast<std::uint64_t>(frame->number) * page_size, image);
        journal_->Add(frame->number, image);
    }
    journal_->Sync();
    WriteToDatabase(dirty);
}

void Pager::WriteToDatabase(std::vector<Frame*>& dirty) {
    const std::uint32_t page_size = GetFormat().page_size;
    std::vector<std::uint8_t> run;
    std::vector<Frame*> frames;  // of the run
    PageNumber first = 0;
    const auto flush = [&] {
        if (!run.empty()) file_->WriteAt(static_cast<std::uint64_t>(first) * page_size, run);
        for (Frame* frame : frames) {
            if (frame->pins > 0) continue;  // a page in somebody's hands may change after this moment
            frame->dirty = false;
            --dirty_count_;
        }
        run.clear();
        frames.clear();
    };
    for (Frame* frame : dirty) {
        if (run.size() >= kWriteBuffer || frame->number != first + run.size() / page_size) flush();
        if (run.empty()) first = frame->number;
        run.insert(run.end(), frame->data, frame->data + page_size);
        ApplyPageCipher(frame->number, std::span(run).last(page_size));
        frames.push_back(frame);
    }
    flush();
}

}  // namespace qmtrain::jet
