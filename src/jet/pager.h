// Pages of one database file, as the rest of the room sees them: read, changed, added.
//
// All work on a file happens inside a scope of its Session. The first look at a page inside a scope joins the file to
// it: then the file is locked, what others have left unfinished is rolled back, and old pages are forgotten. So a file
// that no statement needs is never waited for.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/files.h"
#include "jet/file_share.h"
#include "jet/file_transaction.h"
#include "jet/found_journal.h"
#include "jet/page_cache.h"
#include "jet/page_file.h"
#include "jet/session.h"

namespace qmtrain::jet {

struct PagerOptions {
    std::size_t cache_bytes = std::size_t{32} << 20;
    std::chrono::milliseconds lock_timeout{10000};
    bool read_only = false;
    bool exclusive = false;  // nobody else may have it open; not the databases that links lead to

    // Whether commits wait for the disk. Where they do not, a power cut may lose some or tear one; a process that dies
    // does no more harm than otherwise.
    bool durable = true;
    std::u16string password = {};  // of a database that has one
    FileSystem* system = &FileSystem::Native();
    std::shared_ptr<Session> session = nullptr;  // empty: one of its own

    // Of the databases that links lead to.
    bool links_read_only = false;
    bool links_in_network = false;  // whether another machine may be asked for them, and for journals of several files
};

class Pager : public SessionFile, private PageSupply {
public:
    // Opens an existing file. `home`: the pager through whose links this one was reached; null: itself. Raises
    // FileNotFound, UnknownFormat, OpenedExclusively, for exclusive use FileInUse, OperationNotSupported … Whether the
    // password is right shows with the first look at a page, when what others have left unfinished is rolled back: that
    // raises PasswordInvalid.
    Pager(std::filesystem::path path, const PagerOptions& options, const Pager* home = nullptr);
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;
    ~Pager() override;

    const FileFormat& GetFormat() const { return file_.GetFormat(); }
    const Header& GetHeader() const { return file_.GetHeader(); }
    const std::filesystem::path& Path() const override { return file_.Path(); }
    const std::u16string& FileName() const { return file_.Name(); }
    FileSystem& Files() const { return system_; }
    File& Handle() { return file_.Handle(); }
    Session& GetSession() const { return *session_; }
    const std::shared_ptr<Session>& SharedSession() const { return session_; }
    const Pager& Home() const override { return *home_; }

    // Why the file is not to be written; empty when it is.
    const std::u16string& ReadOnlyReason() const { return file_.ReadOnlyReason(); }

    // Grows with each change of this file, and of those that were reached through it, as far as it is known here. Needs
    // no scope, and may be asked by any thread.
    std::uint64_t KnownChanges() const { return known_changes_.load(std::memory_order_acquire); }

    // Whatever follows needs a scope of the session, and joins the file to it.

    PageNumber PageCount() const;

    // A page other than 0. Raises FileDamaged when the number lies outside the file.
    Page Read(PageNumber number);

    // The same for changing it. Raises ReadOnly when the file cannot be changed in this scope.
    MutablePage Write(PageNumber number);

    // Changes the header's password. Raises PasswordInvalid for one that cannot be kept, InvalidOperation in an inner
    // level.
    void SetPassword(std::u16string_view password);

    // A new page of zeros at the end of the file. Raises DatabaseTooLarge.
    MutablePage Extend();

    // Grows whenever anything learnt from pages earlier may be wrong: another process committed, a scope was undone.
    std::uint64_t Generation() const;

    // Grows with every Write of this pager and with the generation: a position in a page must be found again.
    std::uint64_t ChangeCount() const;

    [[noreturn]] void Damaged(PageNumber page, std::u16string_view what) const { file_.Damaged(page, what); }

private:
    bool MayChange() const override { return ReadOnlyReason().empty(); }
    bool TakesPart() const override { return joined_; }
    bool IsChanging() const override { return change_.IsOpen(); }
    void BeginReading() override;
    void BeginChanging() override;
    void End() noexcept override;
    void OpenLevel() override;
    void MergeLevel() override { change_.MergeLevel(); }
    void CommitLevel() noexcept override { change_.CommitLevel(); }
    void UndoLevel() noexcept override;
    bool HasChanges() const override;
    CommonJournal StartCommon(const std::vector<std::filesystem::path>& databases) override;
    void WriteChanges(bool decides, const CommonJournal* common) override;
    void RequireInPlace() override { file_.RequireInPlace(); }
    void Finish() override { change_.Finish(); }
    void FinishInCommon() noexcept override { change_.FinishInCommon(); }
    void Close() noexcept override;
    bool UndoAll() noexcept override;
    void Abandon() noexcept override;

    void Fetch(PageNumber first, std::span<const std::span<std::uint8_t>> parts) override;
    bool MayReadAhead(PageNumber page) const override;
    void WriteBack() override { change_.WriteBack(); }

    void Join() const {
        if (!joined_) JoinScope();
    }
    void JoinScope() const;
    void RequireChange() const;
    void Invalidate();
    void CountChange();
    void RestoreHeader() noexcept;
    void NoticeUnfinished(bool to_change);
    std::optional<FoundJournal> FindJournal();
    void ResolveJournal(File& file);
    // `lock` locks the file and looks for its journal. When anything fails, nothing is locked.
    template <class Lock>
    void Begin(Lock lock);
    void NoticeChanges();
    void RequirePassword();
    void TakeSize(std::uint64_t size);
    Frame* Load(PageNumber number);
    void RaiseCommitCounter();

    FileSystem& system_;
    std::shared_ptr<Session> session_;
    const Pager* home_;
    bool durable_;
    PageFile file_;
    std::optional<std::u16string> password_;  // given, and not compared yet
    std::optional<Header> old_header_;        // before a change of the password that may be undone
    std::filesystem::path journal_path_;
    FileShare share_;
    PageCache cache_;
    FileTransaction change_;
    std::optional<FoundJournal> unfinished_;  // of a file that cannot be rolled back: it is read through the old images

    bool joined_ = false;  // takes part in the scope that is open
    PageNumber page_count_ = 0;
    std::uint64_t generation_ = 0;
    std::uint64_t change_count_ = 0;
    mutable std::atomic<std::uint64_t> known_changes_ = 0;
    CommitCounters own_counters_{};  // that a commit under way has written
};

}  // namespace qmtrain::jet
