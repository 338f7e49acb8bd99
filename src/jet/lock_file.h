// Who may read and write a database now: byte locks on the ".ldb" file beside it.
//
// Readers share; one writer prepares its changes while they read; to bring them into the file it waits until the last
// reader is gone and keeps new ones out. Of those who wait to write one is next, so that the one who has just written
// does not overtake them all again. A process that dies loses its locks. The file goes with its last user.
//
// Who may only read the lock file, or have none, may still read the database: without a lock file readers lock bytes
// of the database itself, which writers lock as well before they write to it. Databases whose names differ in their
// extensions only have one lock file and keep apart in it.
//
// Whoever opens the database for himself alone keeps all others from opening it, those of another engine too.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "core/files.h"

namespace qmtrain::jet {

class LockFile {
public:
    // `database`: the open file at the path. Raises LockedByOther, and OpenedExclusively when somebody has it for
    // himself alone. `alone` asks for that: FileInUse is raised when somebody has it open, OperationNotSupported when
    // others cannot be kept out.
    LockFile(FileSystem& system, const std::filesystem::path& path, File& database, std::chrono::milliseconds timeout,
             bool alone = false);
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;
    ~LockFile();

    // The time limit holds for all waits of an operation together.
    void BeginOperation() { waited_ = {}; }

    // Why nobody may write the database here; empty when they may.
    std::u16string_view Problem() const;

    // Each raises LockedByOther when the time limit passes, and OperationCancelled. Asking for what is held already
    // does nothing.
    void LockShared();    // to read
    void LockReserved();  // to prepare changes: one at a time. Requires: no Problem(); not shared, or reserved already

    // To write the file. `database`: the same file, open for writing, which outlives the lock. Requires: reserved.
    void LockExclusive(File& database);

    // As LockReserved, without waiting: false when another one has it, or when nobody may.
    bool TryReserve() noexcept;

    void UnlockExclusive();  // back to reserved and shared
    void UnlockAll() noexcept;

    // Whether a session of another engine has the database open. It knows nothing of our locks, but each of its users
    // locks a byte of the same file. A single look may be wrong, for another session of ours may be looking just then;
    // a long one looks again for a while before it says yes. Where nobody can tell, and where no locks can be had, one
    // may be there.
    bool SeesOtherEngine(bool long_look = false);

    bool IsReserved() const { return reserved_; }

    // Whether nobody else has the database open. False where nobody can tell.
    bool IsAlone() const noexcept;

private:
    enum class Kind : std::uint8_t {
        Full,        // all locks, in the lock file
        SharedOnly,  // the lock file may only be read
        InDatabase,  // there is none: readers lock the database
        None,        // nothing can be locked
    };

    void Open();
    void Enter();
    void EnterAlone();
    void TakeAlone(File& file, std::uint64_t byte, std::uint64_t length);
    bool OpenFile(OpenMode mode);
    bool TryOpen(OpenMode mode);
    void RemoveIfOurs();
    void LockBehind(File& file, std::uint64_t gate);
    void UnlockDatabase();
    void WaitFor(File& file, std::uint64_t byte, File::Lock kind);
    template <class Try>
    void WaitUntil(File& file, std::uint64_t byte, Try locks);

    FileSystem& system_;
    std::filesystem::path path_;
    std::filesystem::path database_path_;
    std::u16string database_name_;
    std::uint64_t first_byte_;  // of those in the lock file that are this database's
    File& database_;
    std::chrono::milliseconds timeout_;
    std::chrono::steady_clock::duration waited_{};  // in this operation
    Kind kind_ = Kind::None;
    std::unique_ptr<File> file_;   // of the first two kinds
    std::unique_ptr<File> alone_;  // the database once more, when others are kept out
    File* writing_ = nullptr;      // the database in which bytes are locked exclusively
    bool shared_ = false;
    bool reserved_ = false;
    bool exclusive_ = false;
};

}  // namespace qmtrain::jet
