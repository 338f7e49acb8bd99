// How one file is shared: its locks, the commits of others, and sessions of other database engines.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "jet/lock_file.h"
#include "jet/page_file.h"

namespace qmtrain::jet {

class FileShare {
public:
    // `waited`, `alone`: see LockFile.
    FileShare(FileSystem& system, PageFile& file, std::chrono::milliseconds timeout, LockFile::Waited& waited,
              bool alone);

    // Each raises LockedByOther when the time limit passes; what was locked before is then still locked.
    void LockToRead() { locks_.LockShared(); }
    void LockToChange();  // one at a time. Raises FileInUse when another engine has the file open
    void LockToWrite() { locks_.LockExclusive(); }
    void Unlock() noexcept { locks_.UnlockAll(); }

    // Without waiting: whether no other writer is at work, nor will be before Unlock().
    bool TryReserve() noexcept { return locks_.TryReserve(); }

    bool IsAlone() const noexcept { return locks_.IsAlone(); }

    // Why the file may not be changed here; empty when it may.
    std::u16string_view Problem() const { return locks_.Problem(); }

    // To be called when reading or changing may begin. True when what was read from the file earlier may be stale.
    bool NoticeChanges();

    // Looks whether another engine has the file open, now and then only.
    void NoticeOtherEngines();

    // Raises FileInUse when another engine has the file open, since two engines that write cannot be kept apart;
    // ReadOnly where another one could not be seen.
    void RequireNoOtherEngine();

    // Another engine has the file open and writes as it likes.
    bool IsWithOtherEngine() const { return with_other_engine_; }

    // The bytes of the file when it was last looked at.
    std::uint64_t Size() const { return size_; }

    // Forgets what was seen: the next NoticeChanges() returns true.
    void ForgetSeen() { counters_.reset(); }

    // After a commit of our own, which is no change to be noticed.
    void Committed(const CommitCounters& counters, std::uint64_t size) noexcept;

    // Calls `body` under an exclusive lock of the file, which is `handle`, open for writing; then returns to the lock
    // that was held. Without a call when the file cannot be locked so.
    template <class Body>
    void Alone(File& handle, Body body);

private:
    PageFile& file_;
    LockFile locks_;
    std::optional<CommitCounters> counters_;  // as last seen
    std::uint64_t size_ = 0;
    bool with_other_engine_ = false;
    std::chrono::steady_clock::time_point looked_for_engines_;
};

template <class Body>
void FileShare::Alone(File& handle, Body body) {
    if (!locks_.Problem().empty()) return;
    const bool reserved = locks_.IsReserved();
    if (!reserved) {
        locks_.UnlockAll();
        locks_.LockReserved(handle);
    }
    RequireNoOtherEngine();
    locks_.LockExclusive();
    body();
    locks_.UnlockExclusive();
    if (!reserved) locks_.UnlockAll();
    locks_.LockShared();
}

}  // namespace qmtrain::jet
