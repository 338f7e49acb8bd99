// Who may read and write a database now: byte locks on the ".ldb" file beside it.
//
// Readers share; one writer prepares its changes while they read; to bring them into the file it waits until the last
// reader is gone and keeps new ones out. Of those who wait to write one is next, so that the one who has just written
// does not overtake them all again. A process that dies loses its locks. The file goes with its last user.
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
    // `writable` false: a file that cannot be created (read-only folder) is done without.
    LockFile(FileSystem& system, const std::filesystem::path& database, bool writable,
             std::chrono::milliseconds timeout);
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;
    ~LockFile();

    // The time limit holds for all waits of an operation together.
    void BeginOperation() { waited_ = {}; }

    // Each raises LockedByOther when the time limit passes. Asking for what is held already does nothing.
    void LockShared();     // to read
    void LockReserved();   // to prepare changes: one at a time. Requires: not shared, or reserved already
    void LockExclusive();  // to write the file. Requires: reserved

    void UnlockExclusive();  // back to reserved and shared
    void UnlockAll() noexcept;

    // Whether a session of another engine has the database open. It knows nothing of our locks, but each of its users
    // locks a byte of the same file. A single look may be wrong, for another session of ours may be looking just then;
    // a long one looks again for a while before it says yes.
    bool SeesOtherEngine(bool long_look = false);

    bool IsReserved() const { return reserved_; }

    // False in a folder in which nothing may be made: then nobody is kept out.
    bool CanLock() const { return file_ != nullptr; }

private:
    void Open();
    void WaitFor(std::uint64_t byte, File::Lock kind);
    template <class Try>
    void WaitUntil(Try locks);

    FileSystem& system_;
    std::filesystem::path path_;
    std::u16string database_name_;
    std::chrono::milliseconds timeout_;
    std::chrono::steady_clock::duration waited_{};  // in this operation
    std::unique_ptr<File> file_;                    // empty: no locking possible, nobody writes here
    bool shared_ = false;
    bool reserved_ = false;
    bool exclusive_ = false;
};

}  // namespace qmtrain::jet
