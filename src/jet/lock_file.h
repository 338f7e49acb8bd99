// Who may read and write a database now: locks of bytes of the database itself, far beyond its end, and the ".ldb" file
// beside it.
//
// Readers share; one writer prepares its changes while they read; to bring them into the file it waits until the last
// reader is gone and keeps new ones out. Of those who wait to write one is next, so that the one who has just written
// does not overtake them all again. A process that dies loses its locks. They lie in the database so that they hold
// whatever becomes of other files, and by whatever way the database was reached.
//
// The lock file is where other engines lock, and see ours. It goes with its last user. Who cannot have one, or may only
// read it, may read the database, but not write it.
//
// A session that opens the database exclusively keeps all others from opening it, those of another engine too.
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
    // The time that an operation has spent waiting, in all of its files.
    using Waited = std::chrono::steady_clock::duration;

    // `database`: the open file at the path. `waited`: when that has reached the limit, there is no waiting. Raises
    // OpenedExclusively when another session has opened the database exclusively. `alone` asks for that: FileInUse is
    // raised when another one has it open, OperationNotSupported when others cannot be kept out.
    LockFile(FileSystem& system, const std::filesystem::path& path, File& database, std::chrono::milliseconds timeout,
             Waited& waited, bool alone = false);
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;
    ~LockFile();

    // Why the database may not be written here; empty when it may.
    std::u16string_view Problem() const;

    // Each raises LockedByOther when the time limit passes, and OperationCancelled. Asking for what is held already
    // does nothing.
    void LockShared();  // to read

    // To prepare changes: one at a time. `database`: the same file, open for writing, which outlives the lock.
    // Requires: no Problem(); not shared by another handle, or reserved already
    void LockReserved(File& database);
    void LockExclusive();  // to write the file. Requires: reserved

    // As LockReserved, by the file that reads, without waiting: false when another one holds it, or when none may.
    bool TryReserve() noexcept;

    void UnlockExclusive();  // back to reserved and shared
    void UnlockAll() noexcept;

    // Whether a session of another engine has the database open. It knows nothing of our locks, but each of its users
    // locks a byte of the same file. A single look may be wrong, for another session of ours may be looking just then;
    // a long one looks again for a while before it says yes. True as well where the system does not tell, and where no
    // locks can be taken.
    bool SeesOtherEngine(bool long_look = false);

    // Which process that is, for messages; empty where the system does not tell.
    std::u16string OtherEngine();

    // Opens the lock file anew when it was removed or replaced: another engine uses the one that is there. Problem()
    // may change. Raises OperationCancelled.
    void ReturnToPlace();

    bool IsReserved() const { return writing_ != nullptr; }

    // Whether no other session has the database open. False where the system does not tell.
    bool IsAlone() const noexcept;

private:
    enum class Access : std::uint8_t {
        Full,      // the lock file can be written
        ReadOnly,  // it may only be read
        None,      // there is none for us
    };

    void Open();
    void Enter();
    void EnterAlone(const std::filesystem::path& database);
    void TakeAlone(File& file, std::uint64_t byte, std::uint64_t length);
    bool OpenFile(OpenMode mode);
    bool TryOpen(OpenMode mode);
    bool LockPresent();
    void RemoveIfOurs();
    // The handle that has the locks.
    File& Locked() { return writing_ != nullptr ? *writing_ : database_; }
    void WaitFor(File& file, std::uint64_t byte, File::Lock kind);
    template <class Try>
    void WaitUntil(File& file, std::uint64_t byte, Try locks);

    FileSystem& system_;
    std::filesystem::path path_;
    std::u16string database_name_;
    File& database_;
    std::chrono::milliseconds timeout_;
    Waited& waited_;
    bool locks_hold_ = false;  // in the database; else they keep no one out
    Access access_ = Access::None;
    std::u16string keeper_;        // the error text when another process holds the lock file exclusively; else empty
    std::unique_ptr<File> file_;   // of the first two kinds
    std::unique_ptr<File> alone_;  // the database once more, when others are kept out
    File* writing_ = nullptr;      // the database by which it is reserved
    bool shared_ = false;
    bool exclusive_ = false;
};

}  // namespace qmtrain::jet
