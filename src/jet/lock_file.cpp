#include "jet/lock_file.h"

#include <algorithm>
#include <thread>

#include "core/error.h"
#include "core/text.h"

namespace qmtrain::jet {
namespace {

// Far beyond any record of the file, and apart from the ranges that Jet itself is said to lock there.
constexpr std::uint64_t kPresentByte = 0x0FFFFF00;   // shared by everybody who has the file open
constexpr std::uint64_t kReservedByte = 0x0FFFFF01;  // the one writer
constexpr std::uint64_t kPendingByte = 0x0FFFFF02;   // keeps new readers out while the writer waits
constexpr std::uint64_t kSharedByte = 0x0FFFFF03;    // the readers, who come to it through the one before
constexpr std::uint64_t kNextByte = 0x0FFFFF04;      // the writer whose turn it is when the present one is done

// Where the users of Jet each lock a byte for being there.
constexpr std::uint64_t kOtherUsers = 0x10000001;
constexpr std::uint64_t kOtherUserSlots = 255;
constexpr std::chrono::milliseconds kLongLook(250);

}  // namespace

LockFile::LockFile(FileSystem& system, const std::filesystem::path& database, bool writable,
                   std::chrono::milliseconds timeout)
    : system_(system), path_(database), database_name_(FromNativePath(database)), timeout_(timeout) {
    path_.replace_extension(".ldb");
    if (FoldName(FromNativePath(path_)) == FoldName(FromNativePath(database))) {
        Raise(ErrorNumber::UnknownFormat, {database_name_, u"扩展名“.ldb”属于锁文件。"});
    }
    try {
        Open();
    } catch (const AutomationError&) {
        if (writable) throw;
    }
}

// Between our opening and our locking the last user may have removed the file: then it is opened anew.
void LockFile::Open() {
    do {
        file_ = system_.OpenPlain(path_, OpenMode::Create);
        WaitFor(kPresentByte, File::Lock::Shared);
    } while (!file_->IsAt(path_));
}

LockFile::~LockFile() {
    if (!file_) return;
    try {
        UnlockAll();
        // Ours have no content: what has some belongs to somebody else.
        const bool alone = file_->TryLock(kPresentByte, 1, File::Lock::Exclusive) && !SeesOtherEngine();
        if (alone && file_->Size() == 0) system_.Remove(path_);
    } catch (const AutomationError&) {
        // A lock file that stays behind is harmless: its locks are gone.
        file_.reset();
    }
}

void LockFile::WaitFor(std::uint64_t byte, File::Lock kind) {
    WaitUntil([&] { return file_->TryLock(byte, 1, kind); });
}

template <class Try>
void LockFile::WaitUntil(Try locks) {
    if (locks()) return;
    const auto start = std::chrono::steady_clock::now();
    const auto waited_before = waited_;
    std::chrono::milliseconds pause(1);
    do {
        waited_ = waited_before + (std::chrono::steady_clock::now() - start);
        if (waited_ >= timeout_) Raise(ErrorNumber::LockedByOther, {database_name_});
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(5));
    } while (!locks());
    waited_ = waited_before + (std::chrono::steady_clock::now() - start);
}

void LockFile::LockShared() {
    if (shared_ || !file_) return;
    static_assert(kSharedByte == kPendingByte + 1);
    WaitUntil([&] { return file_->TryLockThrough(kPendingByte); });
    shared_ = true;
}

void LockFile::LockReserved() {
    if (reserved_ || !file_) return;
    WaitFor(kNextByte, File::Lock::Exclusive);
    try {
        WaitFor(kReservedByte, File::Lock::Exclusive);
    } catch (...) {
        file_->Unlock(kNextByte, 1);
        throw;
    }
    file_->Unlock(kNextByte, 1);
    reserved_ = true;
}

void LockFile::LockExclusive() {
    if (exclusive_ || !file_) return;
    WaitFor(kPendingByte, File::Lock::Exclusive);
    try {
        WaitFor(kSharedByte, File::Lock::Exclusive);
    } catch (...) {
        file_->Unlock(kPendingByte, 1);
        throw;
    }
    exclusive_ = true;
}

void LockFile::UnlockExclusive() {
    if (!exclusive_) return;
    if (shared_) {
        file_->TryLock(kSharedByte, 1, File::Lock::Shared);
    } else {
        file_->Unlock(kSharedByte, 1);
    }
    file_->Unlock(kPendingByte, 1);
    exclusive_ = false;
}

void LockFile::UnlockAll() noexcept {
    if (!file_) return;
    try {
        if (exclusive_ || shared_) file_->Unlock(kSharedByte, 1);
        if (exclusive_) file_->Unlock(kPendingByte, 1);
        if (reserved_) file_->Unlock(kReservedByte, 1);
    } catch (const AutomationError&) {
        // The system keeps the locks until the file is closed; the next one that asks for them gets its error.
    }
    shared_ = reserved_ = exclusive_ = false;
}

// Without a lock file of our own (a folder we may not write to) its presence is all there is to see.
bool LockFile::SeesOtherEngine(bool long_look) {
    if (!file_) return system_.Exists(path_);
    const auto deadline = std::chrono::steady_clock::now() + (long_look ? kLongLook : std::chrono::milliseconds(0));
    while (!file_->TryLock(kOtherUsers, kOtherUserSlots, File::Lock::Exclusive)) {
        if (std::chrono::steady_clock::now() >= deadline) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    file_->Unlock(kOtherUsers, kOtherUserSlots);
    return false;
}

}  // namespace qmtrain::jet
