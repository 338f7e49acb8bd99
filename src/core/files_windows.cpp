#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <windows.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "core/windows_calls.h"
#include "core/windows_text.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPiece = std::size_t{16} << 20;  // shares refuse much longer ones

// Whether the last call met a file that is deleted but still open somewhere. The error alone does not tell it from a
// missing right.
bool MetDeletedFile() {
    using LastStatus = LONG(WINAPI*)();
    constexpr LONG kDeletePending = static_cast<LONG>(0xC0000056);
    static const auto last_status = reinterpret_cast<LastStatus>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetLastNtStatus")));
    return last_status != nullptr && last_status() == kDeletePending;
}

// Repeats the attempt, which returns the system's error, while it says that another program has the file in its hands:
// guards against viruses and indexers look at each new file for a moment.
template <class Attempt>
DWORD Patiently(const Attempt& attempt) {
    constexpr auto kPatience = std::chrono::milliseconds(300);
    const auto give_up = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        const DWORD code = attempt();
        const bool may_pass = code == ERROR_SHARING_VIOLATION || code == ERROR_DELETE_PENDING ||
                              (code == ERROR_ACCESS_DENIED && MetDeletedFile());
        if (!may_pass || std::chrono::steady_clock::now() > give_up) return code;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

class WindowsFile : public File {
public:
    WindowsFile(Handle handle, fs::path path) : handle_(std::move(handle)), path_(std::move(path)) {}
    WindowsFile(const WindowsFile&) = delete;
    WindowsFile& operator=(const WindowsFile&) = delete;

    // The system gives locks of a closed file back at its leisure.
    ~WindowsFile() override {
        for (const Range& range : held_) Release(range);
    }

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
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
    std::size_t ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts) override {
        if (parts.size() == 1) return ReadAt(offset, parts.front());
        std::size_t wanted = 0;
        for (const std::span<std::uint8_t> part : parts) wanted += part.size();
        std::vector<std::uint8_t> whole(wanted);
        const std::size_t count = ReadAt(offset, whole);
        std::size_t done = 0;
        for (const std::span<std::uint8_t> part : parts) {
            const std::size_t length = std::min(part.size(), count - done);
            std::copy_n(whole.begin() + static_cast<std::ptrdiff_t>(done), length, part.begin());
            done += length;
        }
        return count;
    }

    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
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

    std::uint64_t Size() override {
        LARGE_INTEGER size{};
        Check(GetFileSizeEx(handle_.Get(), &size));
        return static_cast<std::uint64_t>(size.QuadPart);
    }

    void Resize(std::uint64_t size) override {
        LARGE_INTEGER place{};
        place.QuadPart = static_cast<LONGLONG>(size);
        Check(SetFilePointerEx(handle_.Get(), place, nullptr, FILE_BEGIN));
        Check(SetEndOfFile(handle_.Get()));
    }

    void Sync() override { Check(FlushFileBuffers(handle_.Get())); }

    bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
        const auto held = FindHeld(offset, length);
        if (held == held_.end()) {
            if (!Take({offset, length, kind})) return false;
            held_.push_back({offset, length, kind});
            return true;
        }
        if (held->kind == kind) return true;
        return kind == Lock::Shared ? Weaken(*held) : Strengthen(held);
    }

    void Unlock(std::uint64_t offset, std::uint64_t length) override {
        const auto held = FindHeld(offset, length);
        if (held == held_.end()) return;
        Release(*held);
        held_.erase(held);
    }

    bool IsByWriterOf(File& other) override {
        const auto* database = dynamic_cast<const WindowsFile*>(&other);
        return database == nullptr || database->MayBeWrittenBy(Owner(handle_.Get()));
    }

    bool MayBeWrittenBy(const Owner& account) const { return MayWrite(account, handle_.Get()); }

    DWORD Volume() const {
        BY_HANDLE_FILE_INFORMATION info{};
        return GetFileInformationByHandle(handle_.Get(), &info) != FALSE ? info.dwVolumeSerialNumber : 0;
    }

    bool HasOneName() override {
        BY_HANDLE_FILE_INFORMATION info{};
        return GetFileInformationByHandle(handle_.Get(), &info) == FALSE || info.nNumberOfLinks <= 1;
    }

    bool IsOnDisk() const { return GetFileType(handle_.Get()) == FILE_TYPE_DISK; }

    // No pipe, folder or link.
    bool IsPlain() const {
        BY_HANDLE_FILE_INFORMATION info{};
        constexpr DWORD kOther = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
        return IsOnDisk() && GetFileInformationByHandle(handle_.Get(), &info) != FALSE &&
               (info.dwFileAttributes & kOther) == 0;
    }

    // Nobody can tell here; nor who else has it open, so that nothing is kept for others.
    bool HasRightsOf(File&) override { return false; }

    bool IsAt(const fs::path& path) override {
        Handle other;
        TryOpen(Extended(path.native()), FILE_READ_ATTRIBUTES, OPEN_EXISTING, other, FILE_FLAG_OPEN_REPARSE_POINT);
        BY_HANDLE_FILE_INFORMATION ours{};
        BY_HANDLE_FILE_INFORMATION theirs{};
        return other.IsOpen() && GetFileInformationByHandle(handle_.Get(), &ours) != FALSE &&
               GetFileInformationByHandle(other.Get(), &theirs) != FALSE &&
               ours.dwVolumeSerialNumber == theirs.dwVolumeSerialNumber &&
               ours.nFileIndexHigh == theirs.nFileIndexHigh && ours.nFileIndexLow == theirs.nFileIndexLow;
    }

private:
    struct Range {
        std::uint64_t offset;
        std::uint64_t length;
        Lock kind;
    };

    void Check(BOOL done) const {
        if (done == FALSE) RaiseSystemError(path_, GetLastError());
    }

    std::vector<Range>::iterator FindHeld(std::uint64_t offset, std::uint64_t length) {
        return std::find_if(held_.begin(), held_.end(),
                            [&](const Range& range) { return range.offset == offset && range.length == length; });
    }

    bool Take(const Range& range) const {
        OVERLAPPED place = At(range.offset);
        const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (range.kind == Lock::Exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
        const DWORD code = ErrorUnless(LockFileEx(handle_.Get(), flags, 0, static_cast<DWORD>(range.length),
                                                  static_cast<DWORD>(range.length >> 32), &place));
        if (code == ERROR_LOCK_VIOLATION || code == ERROR_IO_PENDING) return false;
        if (code == ERROR_NOT_SUPPORTED || code == ERROR_INVALID_FUNCTION) {
            Raise(ErrorNumber::OperationNotSupported,
                  {u"“" + FromNativePath(path_) + u"”所在的文件系统不能锁定文件。"});
        }
        if (code != kSuccess) RaiseSystemError(path_, code);
        return true;
    }

    void Release(const Range& range) const {
        OVERLAPPED place = At(range.offset);
        UnlockFileEx(handle_.Get(), 0, static_cast<DWORD>(range.length), static_cast<DWORD>(range.length >> 32),
                     &place);
    }

    // A shared lock may lie over the owner's exclusive one, and it is the exclusive one that the first release ends:
    // nobody can step in between.
    bool Weaken(Range& held) {
        const Range wanted = {held.offset, held.length, Lock::Shared};
        if (!Take(wanted)) return false;
        Release(wanted);
        held = wanted;
        return true;
    }

    // The other way round the owner's shared lock stands in the way of the exclusive one and must go first.
    bool Strengthen(std::vector<Range>::iterator held) {
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

    Handle handle_;
    fs::path path_;
    std::vector<Range> held_;
};

// Removes the name at once even while the file is open elsewhere; not every Windows and not every volume can.
bool RemoveAtOnce(const std::wstring& path) {
    constexpr auto kDispositionEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
    constexpr DWORD kDelete = 1;
    constexpr DWORD kPosixSemantics = 2;
    Handle file;
    if (TryOpen(path, DELETE, OPEN_EXISTING, file) != kSuccess) return false;
    DWORD flags = kDelete | kPosixSemantics;
    return SetFileInformationByHandle(file.Get(), kDispositionEx, &flags, sizeof flags) != FALSE;
}

// The name is free afterwards: a file that is only marked for removal would keep it until it is closed everywhere.
DWORD RemoveByRenaming(const std::wstring& path) {
    static std::atomic<unsigned> count = 0;
    const std::wstring aside =
        path + L"." + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count) + L".gone";
    const DWORD code = Patiently([&] { return ErrorUnless(MoveFileExW(path.c_str(), aside.c_str(), 0)); });
    if (code == kSuccess) Patiently([&] { return ErrorUnless(DeleteFileW(aside.c_str())); });
    return code;
}

class WindowsFileSystem : public FileSystem {
public:
    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) override { return OpenWith(0, path, mode); }

    std::unique_ptr<File> OpenPlain(const fs::path& path, OpenMode mode) override {
        auto file = OpenWith(FILE_FLAG_OPEN_REPARSE_POINT, path, mode);
        if (!file->IsPlain() || !file->HasOneName()) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        return file;
    }

    // What shows nobody its owner was made so that nobody sees it.
    bool IsByWriterOf(const fs::path& path, File& other) override {
        const auto* database = dynamic_cast<const WindowsFile*>(&other);
        if (database == nullptr) return true;
        const Owner owner(Extended(path.native()));
        return owner.Account() != nullptr && database->MayBeWrittenBy(owner);
    }

    std::optional<bool> KnownToKeepLocks(File& file) override {
        const auto* opened = dynamic_cast<const WindowsFile*>(&file);
        if (opened == nullptr) return std::nullopt;
        const std::scoped_lock lock(mutex_);
        const auto known = keeps_locks_.find(opened->Volume());
        return known == keeps_locks_.end() ? std::nullopt : std::optional(known->second);
    }

    // Once for each volume: it costs more than a lock.
    bool KeepsLocks(File& file, const fs::path& path, std::uint64_t offset) override {
        if (const auto known = KnownToKeepLocks(file)) return *known;
        const auto* locked = dynamic_cast<const WindowsFile*>(&file);
        if (locked == nullptr) return true;
        const DWORD volume = locked->Volume();
        const std::scoped_lock lock(mutex_);
        try {
            return keeps_locks_[volume] = OpenWith(0, path, OpenMode::ReadOnly)->IsLocked(offset, 1);
        } catch (const AutomationError& error) {
            return !error.Is(ErrorNumber::OperationNotSupported);  // else it has just been removed, or may not be read
        }
    }

    FileKind Look(const fs::path& path) override {
        const std::wstring name = Extended(path.native());
        DWORD attributes = INVALID_FILE_ATTRIBUTES;
        const DWORD code = Patiently([&] {
            attributes = GetFileAttributesW(name.c_str());
            return ErrorUnless(attributes != INVALID_FILE_ATTRIBUTES);
        });
        switch (code) {
            case kSuccess: break;
            case ERROR_FILE_NOT_FOUND:
            case ERROR_PATH_NOT_FOUND:
            case ERROR_INVALID_NAME:
            case ERROR_FILENAME_EXCED_RANGE: return FileKind::None;
            default: RaiseSystemError(path, code);
        }
        constexpr DWORD kOther = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
        if ((attributes & kOther) != 0) return FileKind::Other;
        Handle file;
        BY_HANDLE_FILE_INFORMATION info{};
        const bool counted =
            TryOpen(name, FILE_READ_ATTRIBUTES, OPEN_EXISTING, file, FILE_FLAG_OPEN_REPARSE_POINT) == kSuccess &&
            GetFileInformationByHandle(file.Get(), &info) != FALSE;
        return counted && info.nNumberOfLinks > 1 ? FileKind::Other : FileKind::Plain;
    }

    fs::path RealPath(const fs::path& path) override {
        Handle file;
        if (TryOpen(Extended(path.native()), FILE_READ_ATTRIBUTES, OPEN_EXISTING, file) != kSuccess) return path;
        const auto name = [&](wchar_t* text, DWORD size) {
            return GetFinalPathNameByHandleW(file.Get(), text, size, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
        };
        std::wstring real(name(nullptr, 0), L'\0');
        if (real.empty()) return path;
        real.resize(std::min<std::size_t>(real.size(), name(real.data(), static_cast<DWORD>(real.size()))));
        if (real.size() < kShortPath) real = ToWide(FromNativePath(real));
        return real;
    }

    bool Exists(const fs::path& path) override {
        return GetFileAttributesW(Extended(path.native()).c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    void Remove(const fs::path& path) override {
        const std::wstring name = Extended(path.native());
        if (RemoveAtOnce(name)) return;
        const DWORD code = RemoveByRenaming(name);
        if (code != kSuccess && code != ERROR_FILE_NOT_FOUND && code != ERROR_PATH_NOT_FOUND) {
            RaiseSystemError(path, code);
        }
    }

    void Rename(const fs::path& from, const fs::path& to) override {
        const std::wstring source = Extended(from.native());
        const std::wstring target = Extended(to.native());
        const auto move = [&] {
            return ErrorUnless(
                MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
        };
        DWORD code = Patiently(move);
        const DWORD attributes = GetFileAttributesW(target.c_str());
        const bool is_file = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
        if (code == ERROR_ACCESS_DENIED && is_file) {  // it is open elsewhere, and cannot be replaced as it stands
            Remove(to);
            code = Patiently(move);
        }
        if (code != kSuccess) RaiseSystemError(to, code);
    }

    void RenameToNew(const fs::path& from, const fs::path& to) override {
        const std::wstring source = Extended(from.native());
        const std::wstring target = Extended(to.native());
        const DWORD code =
            Patiently([&] { return ErrorUnless(MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_WRITE_THROUGH)); });
        if (code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS) {
            Raise(ErrorNumber::DatabaseExists, {FromNativePath(to)});
        }
        if (code != kSuccess) RaiseSystemError(to, code);
    }

    void SyncFolder(const fs::path&) override {}  // the system offers nothing of the kind

private:
    static std::unique_ptr<WindowsFile> OpenWith(DWORD flags, const fs::path& path, OpenMode mode) {
        DWORD access = GENERIC_READ | GENERIC_WRITE;
        DWORD disposition = OPEN_EXISTING;
        switch (mode) {
            case OpenMode::ReadOnly: access = GENERIC_READ; break;
            case OpenMode::ReadWrite: break;
            case OpenMode::Create: disposition = OPEN_ALWAYS; break;
            case OpenMode::CreateNew: disposition = CREATE_NEW; break;
        }
        const std::wstring name = Extended(path.native());
        Handle handle;
        const DWORD code = Patiently([&] { return TryOpen(name, access, disposition, handle, flags); });
        if (code != kSuccess) RaiseSystemError(path, code);
        auto file = std::make_unique<WindowsFile>(std::move(handle), path);
        if (!file->IsOnDisk()) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});  // a device may never answer
        return file;
    }

    std::mutex mutex_;
    std::map<DWORD, bool> keeps_locks_;
};

}  // namespace

FileSystem& FileSystem::Native() {
    static auto& system = *new WindowsFileSystem;  // for as long as anything may use it, at the process's end too
    return system;
}

}  // namespace qmtrain
