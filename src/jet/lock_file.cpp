#include "jet/lock_file.h"

#include <algorithm>
#include <optional>
#include <thread>
#include <utility>

#include "core/error.h"
#include "core/text.h"
#include "core/work.h"

namespace qmtrain::jet {
namespace {

// Far beyond any record of the file, and apart from the ranges that Jet itself is said to lock there.
constexpr std::uint64_t kPresentByte = 0x0FFFFF00;  // shared by all sessions that have a database of the name open

// Where each user of Jet locks a byte while the database is open.
constexpr std::uint64_t kOtherUsers = 0x10000001;
constexpr std::uint64_t kOtherUserSlots = 255;
constexpr std::chrono::milliseconds kLongLook(250);

// Of the database, far beyond its end.
constexpr std::uint64_t kGate = std::uint64_t{1} << 40;  // keeps new readers out while the writer waits
constexpr std::uint64_t kReaders = kGate + 1;            // the readers, who come to it through the gate
constexpr std::uint64_t kReserved = kGate + 2;           // the one writer
constexpr std::uint64_t kNext = kGate + 3;               // the writer whose turn it is when the present one is done
constexpr std::uint64_t kOpen = kGate + 4;               // shared by those who have it open; or one has it alone

// Tries again for a moment: others open a database, or try to open it exclusively, and release it at once.
template <class Try>
bool SucceedsSoon(Try attempt) {
    const auto deadline = std::chrono::steady_clock::now() + kLongLook;
    while (!attempt()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        Work::Look();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Whether locks in the file itself hold.
bool KeepsLockIn(FileSystem& system, File& file, const std::filesystem::path& path) {
    if (const auto known = system.KnownToKeepLocks(file)) return *known;
    try {
        if (!file.TryLock(kReaders, 1, File::Lock::Shared)) return true;  // a writer has it
        const bool keeps = system.KeepsLocks(file, path, kReaders);
        file.Unlock(kReaders, 1);
        return keeps;
    } catch (const AutomationError&) {
        return false;
    }
}

std::u16string Describe(const std::optional<LockHolder>& holder) {
    if (!holder) return {};
    return u"占用它的是进程 " + ToText(holder->process) + u"（" + holder->program + u"）。";
}

}  // namespace

LockFile::LockFile(FileSystem& system, const std::filesystem::path& path, File& database,
                   std::chrono::milliseconds timeout, Waited& waited, bool alone)
    : system_(system),
      path_(path),
      database_name_(FromNativePath(path)),
      database_(database),
      timeout_(timeout),
      waited_(waited) {
    path_.replace_extension(".ldb");
    if (FoldName(FromNativePath(path_)) == FoldName(database_name_)) {
        Raise(ErrorNumber::UnknownFormat, {database_name_, u"扩展名“.ldb”属于锁文件。"});
    }
    locks_hold_ = KeepsLockIn(system_, database_, path);
    if (locks_hold_) Open();
    if (alone)
        EnterAlone(path);
    else
        Enter();
}

void LockFile::Enter() {
    if (!locks_hold_ || SucceedsSoon([&] { return database_.TryLock(kOpen, 1, File::Lock::Shared); })) return;
    Raise(ErrorNumber::OpenedExclusively, {database_name_, Describe(database_.FindLockHolder(kOpen, 1))});
}

void LockFile::EnterAlone(const std::filesystem::path& database) {
    if (!Problem().empty())
        Raise(ErrorNumber::OperationNotSupported, {u"以独占方式打开数据库。" + std::u16string(Problem())});
    try {
        alone_ = system_.Open(database, OpenMode::ReadWrite);
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::CannotOpenFile)) throw;
        Raise(ErrorNumber::OperationNotSupported, {u"以独占方式打开数据库。文件没有写入权限。"});
    }
    TakeAlone(*alone_, kOpen, 1);
    TakeAlone(*file_, kOtherUsers, kOtherUserSlots);
}

void LockFile::TakeAlone(File& file, std::uint64_t byte, std::uint64_t length) {
    if (SucceedsSoon([&] { return file.TryLock(byte, length, File::Lock::Exclusive); })) return;
    Raise(ErrorNumber::FileInUse, {database_name_, u"不能以独占方式打开，因为已有其他用户打开它。" +
                                                       Describe(file.FindLockHolder(byte, length))});
}

void LockFile::Open() {
    access_ = Access::None;
    // In a folder where all may make files, to make what is there already may be forbidden where to write it is not;
    // by then it may be gone.
    for (const OpenMode mode : {OpenMode::Create, OpenMode::ReadWrite, OpenMode::Create, OpenMode::ReadOnly}) {
        if (TryOpen(mode)) {
            access_ = mode == OpenMode::ReadOnly ? Access::ReadOnly : Access::Full;
            return;
        }
        if (!keeper_.empty()) return;
    }
}

bool LockFile::TryOpen(OpenMode mode) {
    try {
        if (OpenFile(mode)) return true;
        if (mode == OpenMode::Create && keeper_.empty()) RemoveIfOurs();
    } catch (const AutomationError& error) {
        if (error.Is(ErrorNumber::OperationCancelled)) throw;
    }
    file_.reset();
    return false;
}

// False when locks on it do not hold, or another process has it exclusively. Between our opening and our locking the
// last user may have removed the file: then it is opened anew.
bool LockFile::OpenFile(OpenMode mode) {
    do {
        file_ = system_.OpenPlain(path_, mode);
        if (mode == OpenMode::Create) file_->ShareLike(database_, false);
        try {
            if (!LockPresent()) return false;
        } catch (const AutomationError& error) {
            if (!error.Is(ErrorNumber::OperationNotSupported)) throw;
            return false;
        }
    } while (!file_->IsAt(path_));
    return system_.KeepsLocks(*file_, path_, kPresentByte);
}

// A session that ends holds the byte exclusively for a moment. One that does not release it keeps no other from
// reading, and is not waited for again until it has.
bool LockFile::LockPresent() {
    const auto lock = [&] { return file_->TryLock(kPresentByte, 1, File::Lock::Shared); };
    if (keeper_.empty() ? SucceedsSoon(lock) : lock()) {
        keeper_.clear();
    } else if (keeper_.empty()) {
        keeper_ = u"锁文件（.ldb）被其他程序独占。" + Describe(file_->FindLockHolder(kPresentByte, 1));
    }
    return keeper_.empty();
}

LockFile::~LockFile() {
    UnlockAll();
    try {
        if (locks_hold_ && !alone_) database_.Unlock(kOpen, 1);
        if (!file_) return;
        if (alone_) file_->Unlock(kOtherUsers, kOtherUserSlots);
        alone_.reset();
        const bool last = access_ == Access::Full && file_->TryLock(kPresentByte, 1, File::Lock::Exclusive);
        if (last && !SeesOtherEngine()) RemoveIfOurs();
    } catch (const AutomationError&) {
        // A lock file that stays behind is harmless: its locks are gone.
        file_.reset();
    }
}

// Our lock files are empty: one with content belongs to another engine, as does a file that has taken the place of
// ours.
void LockFile::RemoveIfOurs() {
    if (file_->Size() == 0 && file_->IsAt(path_)) system_.Remove(path_);
}

void LockFile::ReturnToPlace() {
    if (locks_hold_ && (!file_ || !file_->IsAt(path_))) Open();
}

std::u16string_view LockFile::Problem() const {
    if (!locks_hold_) return u"文件系统不能锁定文件，读取时其他用户可能正在更改它。";
    if (access_ == Access::None && !keeper_.empty()) return keeper_;
    switch (access_) {
        case Access::Full: break;
        case Access::ReadOnly: return u"锁文件（.ldb）没有写入权限。";
        case Access::None: return u"在文件夹中不能建立或打开锁文件（.ldb）。";
    }
    return {};
}

void LockFile::WaitFor(File& file, std::uint64_t byte, File::Lock kind) {
    WaitUntil(file, byte, [&] { return file.TryLock(byte, 1, kind); });
}

// `byte`: the one that is waited for, for the error that names its holder.
template <class Try>
void LockFile::WaitUntil(File& file, std::uint64_t byte, Try locks) {
    if (locks()) return;
    const auto start = std::chrono::steady_clock::now();
    const Waited waited_before = waited_;
    std::chrono::milliseconds pause(1);
    do {
        waited_ = waited_before + (std::chrono::steady_clock::now() - start);
        if (waited_ >= timeout_)
            Raise(ErrorNumber::LockedByOther, {database_name_, Describe(file.FindLockHolder(byte, 1))});
        Work::Look();
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(5));
    } while (!locks());
    waited_ = waited_before + (std::chrono::steady_clock::now() - start);
}

void LockFile::LockShared() {
    if (shared_ || !locks_hold_) return;
    File& file = Locked();
    WaitUntil(file, kGate, [&] { return file.TryLockThrough(kGate); });
    shared_ = true;
}

void LockFile::LockReserved(File& database) {
    if (IsReserved()) return;
    WaitFor(database, kNext, File::Lock::Exclusive);
    try {
        WaitFor(database, kReserved, File::Lock::Exclusive);
    } catch (...) {
        database.Unlock(kNext, 1);
        throw;
    }
    database.Unlock(kNext, 1);
    writing_ = &database;
}

bool LockFile::TryReserve() noexcept {
    if (IsReserved() || !Problem().empty()) return IsReserved();
    try {
        if (database_.TryLock(kReserved, 1, File::Lock::Exclusive)) writing_ = &database_;
    } catch (const AutomationError&) {
        return false;
    }
    return IsReserved();
}

bool LockFile::IsAlone() const noexcept {
    try {
        return access_ == Access::Full && (alone_ || !database_.IsLockedByOthers(kOpen, 1));
    } catch (const AutomationError&) {
        return false;
    }
}

// Closes the gate, and waits until the readers that passed it before have finished.
void LockFile::LockExclusive() {
    if (exclusive_) return;
    WaitFor(*writing_, kGate, File::Lock::Exclusive);
    try {
        WaitFor(*writing_, kReaders, File::Lock::Exclusive);
    } catch (...) {
        writing_->Unlock(kGate, 1);
        throw;
    }
    exclusive_ = true;
}

void LockFile::UnlockExclusive() {
    if (!exclusive_) return;
    if (shared_) {
        writing_->TryLock(kReaders, 1, File::Lock::Shared);
    } else {
        writing_->Unlock(kReaders, 1);
    }
    writing_->Unlock(kGate, 1);
    exclusive_ = false;
}

void LockFile::UnlockAll() noexcept {
    try {
        if (exclusive_ || shared_) Locked().Unlock(kReaders, 1);
        if (exclusive_) writing_->Unlock(kGate, 1);
        if (IsReserved()) writing_->Unlock(kReserved, 1);
    } catch (const AutomationError&) {
        // The system keeps the locks until the file is closed; the next one that asks for them gets its error.
    }
    writing_ = nullptr;
    shared_ = exclusive_ = false;
}

std::u16string LockFile::OtherEngine() {
    return file_ ? Describe(file_->FindLockHolder(kOtherUsers, kOtherUserSlots)) : std::u16string();
}

// Without a lock file of our own its presence is all there is to see.
bool LockFile::SeesOtherEngine(bool long_look) {
    if (alone_) return false;
    if (!file_) return !locks_hold_ || system_.Exists(path_);
    const auto deadline = std::chrono::steady_clock::now() + (long_look ? kLongLook : std::chrono::milliseconds(0));
    while (file_->IsLocked(kOtherUsers, kOtherUserSlots)) {
        if (std::chrono::steady_clock::now() >= deadline) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

}  // namespace qmtrain::jet
