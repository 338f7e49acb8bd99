#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <windows.h>

#include "core/error.h"
#include "core/file_windows.h"
#include "core/text.h"
#include "core/windows_calls.h"
#include "core/windows_text.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

// Whether the last call met a file that is deleted but still open somewhere. The error alone does not tell it from a
// missing right.
bool MetDeletedFile() {
    using LastStatus = LONG(WINAPI*)();
    constexpr LONG kDeletePending = static_cast<LONG>(0xC0000056);
    static const auto last_status = reinterpret_cast<LastStatus>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetLastNtStatus")));
    return last_status != nullptr && last_status() == kDeletePending;
}

// Repeats the attempt, which returns the system's error, while it says that another program has the file open: virus
// scanners and indexers read each new file for a moment.
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

    // A file whose owner cannot be read counts as one of another account: its maker may have hidden it on purpose.
    bool IsByWriterOf(const fs::path& path, File& other) override {
        const auto* database = dynamic_cast<const WindowsFile*>(&other);
        if (database == nullptr) return true;
        const Owner owner(Extended(path.native()));
        return owner.Account() != nullptr && database->MayBeWrittenBy(owner);
    }

    bool HasOwnerOf(const fs::path& path, File& other) override {
        const auto* file = dynamic_cast<const WindowsFile*>(&other);
        return file != nullptr && file->IsOwnedBy(Owner(Extended(path.native())));
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
        return counted && info.nNumberOfLinks > 1 ? FileKind::Linked : FileKind::Plain;
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
