// Pages of one database file: a bounded cache, the page cipher, locks, and atomic commit.
//
// All work on a file happens inside a scope. A ReadScope sees one state of the file throughout; a WriteScope is all or
// nothing: without Commit() it leaves no trace. Write scopes nest; the outermost one brings the changes into the file,
// an inner one can be undone alone. Scopes are short (one statement), except that BeginTransaction of the database
// keeps an outermost write scope open.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/files.h"
#include "jet/bytes.h"
#include "jet/format.h"
#include "jet/frame_pool.h"
#include "jet/header.h"
#include "jet/journal.h"
#include "jet/lock_file.h"

namespace qmtrain::jet {

// Whether commits wait for the disk: yes, unless the environment variable QMTRAININFO_SYNC says "off". That is for bulk
// work: a power cut may then lose commits or tear one; a process that dies does no more harm than otherwise.
bool SyncsByDefault();

// The files that options without a system mean: the operating system's. A test puts others in their place; null ends
// that.
FileSystem& DefaultFiles();
void SetDefaultFiles(FileSystem* files);

struct PagerOptions {
    std::size_t cache_bytes = std::size_t{32} << 20;
    std::chrono::milliseconds lock_timeout{10000};
    bool read_only = false;
    bool durable = SyncsByDefault();
    FileSystem* system = nullptr;  // empty: DefaultFiles()
};

class Pager;

// A page in the cache. It stays where it is while a Page refers to it.
class Page {
public:
    Page() = default;
    Page(Page&& other) noexcept : frame_(other.frame_), pager_(other.pager_) { other.frame_ = nullptr; }
    Page& operator=(Page&& other) noexcept;
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;
    ~Page() { Release(); }

    explicit operator bool() const { return frame_ != nullptr; }
    PageNumber Number() const;
    const std::uint8_t* Data() const;
    PageType Type() const { return static_cast<PageType>(Data()[0]); }
    ByteView View() const;

protected:
    friend class Pager;
    struct Frame;
    Page(Frame* frame, const Pager* pager);
    void Release();

    Frame* frame_ = nullptr;
    const Pager* pager_ = nullptr;
};

// A page that is being changed in the present write scope.
class MutablePage : public Page {
public:
    MutablePage() = default;
    std::uint8_t* Data();
    const std::uint8_t* Data() const { return Page::Data(); }

private:
    friend class Pager;
    using Page::Page;
};

class Pager {
public:
    // Opens an existing file; rolls back what a killed process left half done. Falls back to reading only where the
    // system or the version does not allow writing. Raises FileNotFound, UnknownFormat, PasswordInvalid …
    Pager(std::filesystem::path path, const PagerOptions& options);
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;
    ~Pager();

    const Format& GetFormat() const { return *header_.format; }
    const Header& GetHeader() const { return header_; }
    const std::filesystem::path& Path() const { return path_; }
    const std::u16string& FileName() const { return file_name_; }
    PageNumber PageCount() const { return page_count_; }

    // Why the file is not to be written; empty when it is.
    const std::u16string& ReadOnlyReason() const { return read_only_reason_; }
    void SetReadOnly(std::u16string reason) { read_only_reason_ = std::move(reason); }

    // A page other than 0. Raises FileDamaged when the number lies outside the file.
    Page Read(PageNumber number);

    // The same for changing it. Requires: inside a WriteScope.
    MutablePage Write(PageNumber number);

    // A new page of zeros at the end of the file. Raises DatabaseTooLarge.
    MutablePage Extend();

    [[noreturn]] void Damaged(PageNumber page, std::u16string_view what) const;

    // Grows whenever anything learnt from pages earlier may be wrong: another process committed, a scope was undone.
    std::uint64_t Generation() const { return generation_; }

    // Grows with every Write of this pager and with the generation: a position in a page must be found again.
    std::uint64_t ChangeCount() const { return change_count_; }

    bool InWriteScope() const { return !levels_.empty(); }

private:
    friend class ReadScope;
    friend class WriteScope;
    friend class Page;
    using Frame = Page::Frame;

    // The images of pages as they were when a nested write scope began, for those changed since.
    struct Level {
        std::unordered_map<PageNumber, std::vector<std::uint8_t>> images;
        PageNumber page_count = 0;
    };

    void BeginRead();
    void EndRead() noexcept;
    void BeginWrite();
    void CommitWrite();
    void RollbackWrite() noexcept;
    void RequireUsable() const;

    void OpenFile(const PagerOptions& options);
    void ReadFileHeader();
    void RecoverIfNeeded();
    void NoticeOtherCommits();
    void NoticeOtherEngines();
    void RequireNoOtherEngine();
    void TakeSize(std::uint64_t size);
    void RaiseCommitCounter();

    Frame* Find(PageNumber number);
    Frame* Load(PageNumber number);
    void ReadAhead(PageNumber number, PageNumber count);
    void ApplyPageCipher(PageNumber number, std::span<std::uint8_t> page) const;
    void ReadUntilWhole(PageNumber number, std::span<std::uint8_t> page);
    Frame* TakeFrame(PageNumber number);
    Frame* PutFrame(Frame* frame, PageNumber number);
    Frame* AddFrame();
    std::unique_ptr<Frame> NewFrame(std::size_t place);
    Frame* EvictOne();
    void Forget(Frame* frame);
    void ForgetAll();
    void MarkDirty(Frame& frame);
    void KeepImage(const Frame& frame);

    void WriteOut();
    void WriteToDatabase(std::vector<Frame*>& dirty);
    void FinishCommit();
    void UndoOutermost();
    void UndoLevel(Level& level);

    std::filesystem::path path_;
    std::u16string file_name_;
    FileSystem& system_;
    bool durable_;
    std::u16string read_only_reason_;
    std::unique_ptr<File> file_;
    std::unique_ptr<LockFile> locks_;
    Header header_;

    PageNumber page_count_ = 0;
    PageNumber committed_pages_ = 0;  // in the file when the outermost write scope began
    std::vector<Frame*> index_;       // by page number; null = not in the cache
    std::shared_ptr<FramePool> pool_;
    std::vector<std::unique_ptr<Frame>> frames_;
    std::size_t max_frames_;
    std::size_t clock_hand_ = 0;
    PageNumber expected_miss_ = 0;  // the page behind the last one that was read from the file
    PageNumber read_ahead_ = 1;     // pages to read at once when pages are missed in order
    std::size_t dirty_count_ = 0;

    std::vector<std::uint8_t> counters_;  // commit counters of page 0 as last seen
    std::uint64_t seen_size_ = 0;
    std::uint64_t generation_ = 0;
    std::uint64_t change_count_ = 0;
    int readers_ = 0;
    std::vector<Level> levels_;  // open write scopes, outermost first
    std::unique_ptr<Journal> journal_;
    bool half_undone_ = false;  // an undo failed; the next outermost scope rolls back from the journal

    bool careful_ = false;  // another engine has the file open and writes as it likes
    std::chrono::steady_clock::time_point looked_for_engines_;
};

class ReadScope {
public:
    explicit ReadScope(Pager& pager) : pager_(pager) { pager_.BeginRead(); }
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;
    ~ReadScope() { pager_.EndRead(); }

private:
    Pager& pager_;
};

class WriteScope {
public:
    explicit WriteScope(Pager& pager) : pager_(&pager) { pager.BeginWrite(); }
    WriteScope(const WriteScope&) = delete;
    WriteScope& operator=(const WriteScope&) = delete;
    ~WriteScope() {
        if (pager_ != nullptr) pager_->RollbackWrite();
    }

    // Raises DiskFull, LockedByOther …; then the scope is undone.
    void Commit() {
        Pager* pager = std::exchange(pager_, nullptr);
        pager->CommitWrite();
    }

private:
    Pager* pager_;
};

}  // namespace qmtrain::jet
