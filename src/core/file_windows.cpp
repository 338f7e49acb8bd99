#include "core/file_windows.h"

#include <algorithm>

#include "core/error.h"

namespace qmtrain {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPiece = std::size_t{16} << 20;  // shares refuse much longer ones

}  // namespace

// Windows releases the locks of a closed file with a delay, so release them first.
WindowsFile::~WindowsFile() {
    for (const Range& range : held_) Release(range);
}

std::size_t WindowsFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    std::size_t done = 0;
    while (done < out.size()) {
        OVERLAPPED place = At(offset + done);
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min(out.size() - done, kPiece));
        const DWORD code = ErrorUnless(ReadFile(handle_.Get(), out.data() + done, wanted, &count, &place));
        if (code == ERROR_HANDLE_EOF || (code == kSuccess && count == 0)) break;
        if (code != kSuccess) RaiseSystemError(path_, code);
        done += count;
    }
    return done;
}

// One call for all parts; to copy them costs less than a call for each.
std::size_t WindowsFile::ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts) {
    if (parts.size() == 1) return ReadAt(offset, parts.front());
    std::size_t wanted = 0;
    for (const std::span<std::uint8_t> part : parts) wanted += part.size();
    std::vector<std::uint8_t> whole(wanted);
    const std::size_t count = ReadAt(offset, whole);
    std::size_t done = 0;
    for (const std::span<std::uint8_t> part : parts) {
        const std::size_t length = std::min(part.size(), count - done);
        std::copy_n(whole.begin() + done, length, part.begin());
        done += length;
    }
    return count;
}

void WindowsFile::WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        OVERLAPPED place = At(offset + done);
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min(bytes.size() - done, kPiece));
        Check(WriteFile(handle_.Get(), bytes.data() + done, wanted, &count, &place));
        if (count == 0) RaiseSystemError(path_, ERROR_HANDLE_DISK_FULL);
        done += count;
    }
}

std::uint64_t WindowsFile::Size() {
    LARGE_INTEGER size{};
    Check(GetFileSizeEx(handle_.Get(), &size));
    return static_cast<std::uint64_t>(size.QuadPart);
}

void WindowsFile::Resize(std::uint64_t size) {
    LARGE_INTEGER place{};
    place.QuadPart = static_cast<LONGLONG>(size);
    Check(SetFilePointerEx(handle_.Get(), place, nullptr, FILE_BEGIN));
    Check(SetEndOfFile(handle_.Get()));
}

bool WindowsFile::TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) {
    const auto held = FindHeld(offset, length);
    if (held == held_.end()) {
        if (!Take({offset, length, kind})) return false;
        held_.push_back({offset, length, kind});
        return true;
    }
    if (held->kind == kind) return true;
    return kind == Lock::Shared ? Weaken(*held) : Strengthen(held);
}

void WindowsFile::Unlock(std::uint64_t offset, std::uint64_t length) {
    const auto held = FindHeld(offset, length);
    if (held == held_.end()) return;
    Release(*held);
    held_.erase(held);
}

bool WindowsFile::IsByWriterOf(File& other) {
    const auto* database = dynamic_cast<const WindowsFile*>(&other);
    return database == nullptr || database->MayBeWrittenBy(Owner(handle_.Get()));
}

bool WindowsFile::IsOwnedBy(const Owner& account) const {
    const Owner owner(handle_.Get());
    return owner.Account() != nullptr && account.Account() != nullptr &&
           EqualSid(owner.Account(), account.Account()) != FALSE;
}

DWORD WindowsFile::Volume() const {
    BY_HANDLE_FILE_INFORMATION info{};
    return GetFileInformationByHandle(handle_.Get(), &info) != FALSE ? info.dwVolumeSerialNumber : 0;
}

bool WindowsFile::HasOneName() {
    BY_HANDLE_FILE_INFORMATION info{};
    return GetFileInformationByHandle(handle_.Get(), &info) == FALSE || info.nNumberOfLinks <= 1;
}

bool WindowsFile::IsPlain() const {
    BY_HANDLE_FILE_INFORMATION info{};
    constexpr DWORD kOther = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    return IsOnDisk() && GetFileInformationByHandle(handle_.Get(), &info) != FALSE &&
           (info.dwFileAttributes & kOther) == 0;
}

bool WindowsFile::IsAt(const fs::path& path) {
    Handle other;
    TryOpen(Extended(path.native()), FILE_READ_ATTRIBUTES, OPEN_EXISTING, other, FILE_FLAG_OPEN_REPARSE_POINT);
    BY_HANDLE_FILE_INFORMATION ours{};
    BY_HANDLE_FILE_INFORMATION theirs{};
    return other.IsOpen() && GetFileInformationByHandle(handle_.Get(), &ours) != FALSE &&
           GetFileInformationByHandle(other.Get(), &theirs) != FALSE &&
           ours.dwVolumeSerialNumber == theirs.dwVolumeSerialNumber && ours.nFileIndexHigh == theirs.nFileIndexHigh &&
           ours.nFileIndexLow == theirs.nFileIndexLow;
}

void WindowsFile::Check(BOOL done) const {
    if (done == FALSE) RaiseSystemError(path_, GetLastError());
}

std::vector<WindowsFile::Range>::iterator WindowsFile::FindHeld(std::uint64_t offset, std::uint64_t length) {
    return std::find_if(held_.begin(), held_.end(),
                        [&](const Range& range) { return range.offset == offset && range.length == length; });
}

bool WindowsFile::Take(const Range& range) const {
    OVERLAPPED place = At(range.offset);
    const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (range.kind == Lock::Exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
    const DWORD code = ErrorUnless(LockFileEx(handle_.Get(), flags, 0, static_cast<DWORD>(range.length),
                                              static_cast<DWORD>(range.length >> 32), &place));
    if (code == ERROR_LOCK_VIOLATION || code == ERROR_IO_PENDING) return false;
    if (code == ERROR_NOT_SUPPORTED || code == ERROR_INVALID_FUNCTION) {
        Raise(ErrorNumber::OperationNotSupported, {u"“" + FromNativePath(path_) + u"”所在的文件系统不能锁定文件。"});
    }
    if (code != kSuccess) RaiseSystemError(path_, code);
    return true;
}

void WindowsFile::Release(const Range& range) const {
    OVERLAPPED place = At(range.offset);
    UnlockFileEx(handle_.Get(), 0, static_cast<DWORD>(range.length), static_cast<DWORD>(range.length >> 32), &place);
}

// A shared lock may lie over the owner's exclusive one, and the first release ends the exclusive one: no other process
// can take a lock in between.
bool WindowsFile::Weaken(Range& held) {
    const Range wanted = {held.offset, held.length, Lock::Shared};
    if (!Take(wanted)) return false;
    Release(wanted);
    held = wanted;
    return true;
}

// The other way round the owner's shared lock would refuse the exclusive one, so it is released first.
bool WindowsFile::Strengthen(std::vector<Range>::iterator held) {
    Release(*held);
    const Range wanted = {held->offset, held->length, Lock::Exclusive};
    if (Take(wanted)) {
        *held = wanted;
        return true;
    }
    if (Take(*held)) return false;
    held_.erase(held);
    Raise(ErrorNumber::CannotLockFile, {FromNativePath(path_)});
}

}  // namespace qmtrain
