// Databases that change together. A session has the scopes that are open over any number of files, and commits what
// they have changed as one.
//
// A ReadScope sees one state of each file that it looks at, from the first look on. A WriteScope is all or nothing:
// without Commit() it leaves no trace in any file. Write scopes nest; the outermost one brings the changes into the
// files, an inner one can be undone alone. Scopes are short (one statement); transactions, which a host begins and
// ends, span many of them.
//
// A file takes part in a scope from the first look at one of its pages on. It is locked for changing when it is reached
// through the links of a file that is being changed, else for reading.
//
// Several threads may use the databases of one session: a scope that is open keeps the others waiting. Objects of their
// own (cursors, tables, record sets) each belong to one thread at a time.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <mutex>
#include <vector>

#include "jet/common_journal.h"

namespace qmtrain::jet {

// A file as its session sees it.
class SessionFile {
public:
    virtual ~SessionFile() = default;

    virtual const std::filesystem::path& Path() const = 0;

    // The file through whose links this one was reached; itself when it was opened directly.
    virtual const SessionFile& Home() const = 0;
    virtual bool MayChange() const = 0;

    // To begin raises LockedByOther …; nothing is locked then. After BeginChanging comes an OpenLevel for each level.
    virtual bool TakesPart() const = 0;
    virtual bool IsChanging() const = 0;
    virtual void BeginReading() = 0;
    virtual void BeginChanging() = 0;
    virtual void End() noexcept = 0;

    // A commit of an inner level is MergeLevel, then CommitLevel. Until then it can be undone.
    virtual void OpenLevel() = 0;
    virtual void MergeLevel() = 0;
    virtual void CommitLevel() noexcept = 0;
    virtual void UndoLevel() noexcept = 0;

    // The outermost level. A commit is WriteChanges, then one of the two Finish, then Close. `decides`: nobody else
    // takes part, and the change stands when WriteChanges returns. `common`: the journal of the commit when other files
    // take part; null: none do.
    virtual bool HasChanges() const = 0;
    virtual CommonJournal StartCommon(const std::vector<std::filesystem::path>& databases) = 0;
    virtual void WriteChanges(bool decides, const CommonJournal* common) = 0;
    virtual void RequireInPlace() = 0;  // raises when another file stands there
    virtual void Finish() = 0;
    virtual void FinishInCommon() noexcept = 0;
    virtual void Close() noexcept = 0;

    // False when it is left to the next scope.
    virtual bool UndoAll() noexcept = 0;

    // Abandons a commit of which nobody knows yet whether it stands.
    virtual void Abandon() noexcept = 0;
};

// Somebody else's part in what a session changes, such as a server's. It knows the levels by their number: those that
// it has not met yet do not concern it.
class SessionPartner {
public:
    virtual ~SessionPartner() = default;

    // Only so many levels are left, and what it did in those beyond them is kept, or undone.
    virtual void Merge(std::size_t levels) noexcept = 0;
    virtual void Undo(std::size_t levels) noexcept = 0;

    // Whether it has changed anything that is not undone.
    virtual bool HasChanges() const = 0;

    // The end of the outermost level: all files are safe on the disk and can still be undone. When it raises they are.
    // Where several partners have changes each is asked to prepare first, and raises when it already knows that it
    // could not commit.
    virtual void Prepare() = 0;
    virtual void Commit() = 0;
};

class Session {
public:
    Session() = default;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Transactions over all files of the session; they nest. Files are locked when they are first changed.
    void BeginTransaction();

    // Each raises TransactionNotStarted when none is open, or it was begun outside a scope that is still open. A commit
    // that fails has undone the transaction in all files. `other`: another engine's part of it, done when all of ours
    // is safe on the disk and can still be undone; when it raises, ours is. Raises OdbcCallFailed when one server or
    // engine had committed before the next one failed.
    void CommitTransaction(const std::function<void()>& other = {});
    void RollbackTransaction();

    bool IsInTransaction();

    // For what ends outside a scope and refers to pages, as cursors do: another thread may be in a scope.
    [[nodiscard]] std::unique_lock<std::recursive_mutex> Lock() { return std::unique_lock(mutex_); }

    // For files: the first look inside a scope, and the end of the file.
    void Join(SessionFile& file);
    void Remove(SessionFile& file) noexcept;

    // For partners: the first change inside a level, until the outermost one ends; and the partner's own end.
    void Join(SessionPartner& partner);
    void Remove(SessionPartner& partner) noexcept;

    // What the operation under way has spent waiting for others, in all files: it has one limit. An operation is the
    // outermost scope, or the end of a transaction.
    std::chrono::steady_clock::duration& Waited() { return waited_; }

    // How many levels are open, scopes of change among them. Requires: inside a scope.
    std::size_t Levels() const { return levels_.size(); }

private:
    friend class ReadScope;
    friend class WriteScope;

    // A level of change. `home`: the file through which it changes others; null: a transaction.
    struct Level {
        const SessionFile* home;
    };

    void JoinReading(SessionFile& file);
    void JoinChanging(SessionFile& file);
    void RequireReading(SessionFile& file);
    void RequireChanging(SessionFile& file);
    void LetGo(const SessionFile& home) noexcept;
    bool IsChanging(const SessionFile& home) const;

    // Levels are ended from the innermost; to end one undoes those that are still open inside it.
    std::size_t OpenLevel(const SessionFile* home);
    void CommitLevel(std::size_t level, const std::function<void()>& other = {});
    void UndoLevel(std::size_t level) noexcept;
    void CommitFiles(const std::function<void()>& other);
    void CommitPartners(const std::function<void()>& other, bool in_files);
    bool UndoFiles() noexcept;
    void LeaveChanging() noexcept;

    void OpenScope() noexcept;
    void CloseScope() noexcept;

    std::recursive_mutex mutex_;
    std::vector<Level> levels_;           // outermost first
    std::vector<SessionFile*> changing_;  // files with as many levels as there are here
    std::vector<SessionPartner*> partners_;
    std::vector<SessionFile*> reading_;  // files locked for reading until the last scope ends
    std::chrono::steady_clock::duration waited_{};
    int scopes_ = 0;       // ReadScopes and WriteScopes that are open
    int read_scopes_ = 0;  // the ReadScopes among them
};

class ReadScope {
public:
    ReadScope(Session& session, SessionFile& file);
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;
    ~ReadScope() { Close(); }

private:
    void Close() noexcept;

    Session& session_;
    std::scoped_lock<std::recursive_mutex> lock_;
};

class WriteScope {
public:
    // Raises ReadOnly, LockedByOther, FileInUse …
    WriteScope(Session& session, SessionFile& file);
    WriteScope(const WriteScope&) = delete;
    WriteScope& operator=(const WriteScope&) = delete;
    ~WriteScope();

    // Raises DiskFull, LockedByOther …; then the scope is undone.
    void Commit();

private:
    Session& session_;
    std::scoped_lock<std::recursive_mutex> lock_;
    std::size_t level_ = 0;
    bool open_ = true;
};

}  // namespace qmtrain::jet
