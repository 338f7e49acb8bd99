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
constexpr std::uint64_t kPresentByte = 0x0FFFFF00;  // shared by everybody who has the file open

// Bytes of each database whose lock file it is, by their places behind the first one.
constexpr std::uint64_t kReserved = 0;  // the one writer
constexpr std::uint64_t kGate = 1;      // keeps new readers out while the writer waits
constexpr std::uint64_t kReaders = 2;   // the readers, who come to it through the gate
constexpr std::uint64_t kNext = 3;      // the writer whose turn it is when the present one is done
constexpr std::uint64_t kOpen = 4;      // shared by those who have the database open; or one has it alone

// "Client.mdb" and "Client.mde" have one lock file. The first of its bytes for a database of that name, as folded
// names tell: others than ".mdb" have places of their own before those of that one.
std::uint64_t FirstByteOf(const std::filesystem::path& database) {
    constexpr std::uint64_t kFirstOfMdb = 0x0FFFFF01;
    constexpr std::uint64_t kFirstOfOthers = 0x0E000000;
    constexpr std::uint64_t kPlaces = 1 << 20;
    constexpr std::uint64_t kBytes = 8;
    const std::u16string extension = FoldName(FromNativePath(database.extension()));
    if (extension == u".MDB") return kFirstOfMdb;
    std::uint64_t hash = 0;
    for (const char16_t unit : extension) hash = hash * 31 + unit;
    return kFirstOfOthers + hash % kPlaces * kBytes;
}

// Where the users of Jet each lock a byte for being there.
constexpr std::uint64_t kOtherUsers = 0x10000001;
constexpr std::uint64_t kOtherUserSlots = 255;
constexpr std::chrono::milliseconds kLongLook(250);

// Of the database itself, far beyond its end: the same for readers who have no lock file.
constexpr std::uint64_t kGateInDatabase = std::uint64_t{1} << 40;
constexpr std::uint64_t kReadersInDatabase = kGateInDatabase + 1;
constexpr std::uint64_t kOpenInDatabase = kGateInDatabase + 2;
static_assert(kReaders == kGate + 1);

// Tries again for a moment: others open a database, or try to have it alone, and let go of it at once.
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
    try {
        if (!file.TryLock(kReadersInDatabase, 1, File::Lock::Shared)) return true;  // a writer has it
        const bool keeps = system.KeepsLocks(file, path, kReadersInDatabase);
        file.Unlock(kReadersInDatabase, 1);
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
                   std::chrono::milliseconds timeout, bool alone)
    : system_(system),
      path_(path),
      database_path_(path),
      database_name_(FromNativePath(path)),
      first_byte_(FirstByteOf(path)),
      database_(database),
      timeout_(timeout) {
    path_.replace_extension(".ldb");
    if (FoldName(FromNativePath(path_)) == FoldName(database_name_)) {
        Raise(ErrorNumber::UnknownFormat, {database_name_, u"扩展名“.ldb”属于锁文件。"});
    }
    Open();
    if (alone)
        EnterAlone();
    else
        Enter();
}

void LockFile::Enter() {
    if (kind_ == Kind::None) return;
    File& file = kind_ == Kind::InDatabase ? database_ : *file_;
    const std::uint64_t byte = kind_ == Kind::InDatabase ? kOpenInDatabase : first_byte_ + kOpen;
    if (SucceedsSoon([&] { return file.TryLock(byte, 1, File::Lock::Shared); })) return;
    Raise(ErrorNumber::OpenedExclusively, {database_name_, Describe(file.FindLockHolder(byte, 1))});
}

void LockFile::EnterAlone() {
    if (kind_ != Kind::Full)
        Raise(ErrorNumber::OperationNotSupported, {u"以独占方式打开数据库。" + std::u16string(Problem())});
    TakeAlone(*file_, first_byte_ + kOpen, 1);
    try {
        alone_ = system_.Open(database_path_, OpenMode::ReadWrite);
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::CannotOpenFile)) throw;
        Raise(ErrorNumber::OperationNotSupported, {u"以独占方式打开数据库。文件没有写入权限。"});
    }
    TakeAlone(*alone_, kOpenInDatabase, 1);
    TakeAlone(*file_, kOtherUsers, kOtherUserSlots);
}

void LockFile::TakeAlone(File& file, std::uint64_t byte, std::uint64_t length) {
    if (SucceedsSoon([&] { return file.TryLock(byte, length, File::Lock::Exclusive); })) return;
    Raise(ErrorNumber::FileInUse, {database_name_, u"不能以独占方式打开，因为已有其他用户打开它。" +
                                                       Describe(file.FindLockHolder(byte, length))});
}

void LockFile::Open() {
    // In a folder where all may make files, to make what is there already may be forbidden where to write it is not;
    // by then it may be gone.
    if (TryOpen(OpenMode::Create) || TryOpen(OpenMode::ReadWrite) || TryOpen(OpenMode::Create)) {
        kind_ = Kind::Full;
    } else if (TryOpen(OpenMode::ReadOnly)) {
        kind_ = Kind::SharedOnly;
    } else if (KeepsLockIn(system_, database_, database_path_)) {
        kind_ = Kind::InDatabase;
    }
}

bool LockFile::TryOpen(OpenMode mode) {
    try {
        if (OpenFile(mode)) return true;
        if (mode == OpenMode::Create) RemoveIfOurs();
    } catch (const AutomationError& error) {
        if (error.Is(ErrorNumber::LockedByOther) || error.Is(ErrorNumber::OperationCancelled)) throw;
    }
    file_.reset();
    return false;
}

// False when its locks are none. Between our opening and our locking the last user may have removed the file: then it
// is opened anew.
bool LockFile::OpenFile(OpenMode mode) {
    do {
        file_ = system_.OpenPlain(path_, mode);
        if (mode == OpenMode::Create) file_->ShareLike(database_, false);
        try {
            WaitFor(*file_, kPresentByte, File::Lock::Shared);
        } catch (const AutomationError& error) {
            if (!error.Is(ErrorNumber::OperationNotSupported)) throw;
            return false;
        }
    } while (!file_->IsAt(path_));
    return system_.KeepsLocks(*file_, path_, kPresentByte);
}

LockFile::~LockFile() {
    if (!file_) return;
    try {
        UnlockAll();
        if (alone_) file_->Unlock(kOtherUsers, kOtherUserSlots);
        alone_.reset();
        const bool last = kind_ == Kind::Full && file_->TryLock(kPresentByte, 1, File::Lock::Exclusive);
        if (last && !SeesOtherEngine()) RemoveIfOurs();
    } catch (const AutomationError&) {
        // A lock file that stays behind is harmless: its locks are gone.
        file_.reset();
    }
}

// Ours have no content: what has some belongs to somebody else.
void LockFile::RemoveIfOurs() {
    if (file_->Size() == 0) system_.Remove(path_);
}

std::u16string_view LockFile::Problem() const {
    switch (kind_) {
        case Kind::Full: return {};
        case Kind::SharedOnly: return u"锁文件（.ldb）没有写入权限。";
        case Kind::InDatabase: return u"在文件夹中不能建立或打开锁文件（.ldb）。";
        case Kind::None: break;
    }
    return u"文件系统不能锁定文件，读取时其他用户可能正在更改它。";
}

void LockFile::WaitFor(File& file, std::uint64_t byte, File::Lock kind) {
    WaitUntil(file, byte, [&] { return file.TryLock(byte, 1, kind); });
}

// `byte`: the one that is waited for, for the error that names its holder.
template <class Try>
void LockFile::WaitUntil(File& file, std::uint64_t byte, Try locks) {
    if (locks()) return;
    const auto start = std::chrono::steady_clock::now();
    const auto waited_before = waited_;
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
    if (shared_ || kind_ == Kind::None) return;
    File& file = kind_ == Kind::InDatabase ? database_ : *file_;
    const std::uint64_t gate = kind_ == Kind::InDatabase ? kGateInDatabase : first_byte_ + kGate;
    WaitUntil(file, gate, [&] { return file.TryLockThrough(gate); });
    shared_ = true;
}

void LockFile::LockReserved() {
    if (reserved_) return;
    WaitFor(*file_, first_byte_ + kNext, File::Lock::Exclusive);
    try {
        WaitFor(*file_, first_byte_ + kReserved, File::Lock::Exclusive);
    } catch (...) {
        file_->Unlock(first_byte_ + kNext, 1);
        throw;
    }
    file_->Unlock(first_byte_ + kNext, 1);
    reserved_ = true;
}

bool LockFile::TryReserve() noexcept {
    if (reserved_ || kind_ != Kind::Full) return reserved_;
    try {
        reserved_ = file_->TryLock(first_byte_ + kReserved, 1, File::Lock::Exclusive);
    } catch (const AutomationError&) {
        return false;
    }
    return reserved_;
}

bool LockFile::IsAlone() const noexcept {
    try {
        return kind_ == Kind::Full && !file_->IsLockedByOthers(kPresentByte, 1);
    } catch (const AutomationError&) {
        return false;
    }
}

// Closes the gate, and waits until those behind it are gone.
void LockFile::LockBehind(File& file, std::uint64_t gate) {
    WaitFor(file, gate, File::Lock::Exclusive);
    try {
        WaitFor(file, gate + 1, File::Lock::Exclusive);
    } catch (...) {
        file.Unlock(gate, 1);
        throw;
    }
}

void LockFile::LockExclusive(File& database) {
    if (exclusive_) return;
    LockBehind(*file_, first_byte_ + kGate);
    exclusive_ = true;
    try {
        LockBehind(database, kGateInDatabase);
    } catch (...) {
        UnlockExclusive();
        throw;
    }
    writing_ = &database;
}

void LockFile::UnlockDatabase() {
    if (writing_ == nullptr) return;
    File& database = *std::exchange(writing_, nullptr);
    database.Unlock(kReadersInDatabase, 1);
    database.Unlock(kGateInDatabase, 1);
}

void LockFile::UnlockExclusive() {
    if (!exclusive_) return;
    UnlockDatabase();
    if (shared_) {
        file_->TryLock(first_byte_ + kReaders, 1, File::Lock::Shared);
    } else {
        file_->Unlock(first_byte_ + kReaders, 1);
    }
    file_->Unlock(first_byte_ + kGate, 1);
    exclusive_ = false;
}

void LockFile::UnlockAll() noexcept {
    try {
        UnlockDatabase();
        if (shared_ && kind_ == Kind::InDatabase) database_.Unlock(kReadersInDatabase, 1);
        if (file_ && (exclusive_ || shared_)) file_->Unlock(first_byte_ + kReaders, 1);
        if (exclusive_) file_->Unlock(first_byte_ + kGate, 1);
        if (reserved_) file_->Unlock(first_byte_ + kReserved, 1);
    } catch (const AutomationError&) {
        // The system keeps the locks until the file is closed; the next one that asks for them gets its error.
    }
    shared_ = reserved_ = exclusive_ = false;
}

// Without a lock file of our own its presence is all there is to see.
bool LockFile::SeesOtherEngine(bool long_look) {
    if (alone_) return false;
    if (!file_) return kind_ == Kind::None || system_.Exists(path_);
    const auto deadline = std::chrono::steady_clock::now() + (long_look ? kLongLook : std::chrono::milliseconds(0));
    while (file_->IsLocked(kOtherUsers, kOtherUserSlots)) {
        if (std::chrono::steady_clock::now() >= deadline) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

}  // namespace qmtrain::jet
