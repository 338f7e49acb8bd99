#include <cerrno>
#include <map>
#include <mutex>
#include <system_error>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/error.h"
#include "core/file_posix.h"
#include "core/files.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

class PosixFileSystem : public FileSystem {
public:
    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) override {
        return OpenWith(O_NONBLOCK, path, mode);
    }

    std::unique_ptr<File> OpenPlain(const fs::path& path, OpenMode mode) override {
        // What is new is its maker's alone until it is shared like the file it stands beside.
        auto file = OpenWith(O_NONBLOCK | O_NOFOLLOW, path, mode, mode == OpenMode::CreateNew ? 0600 : 0666);
        if (file->Opened().st_nlink > 1) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        return file;
    }

    std::optional<bool> KnownToKeepLocks(File& file) override {
        const auto* opened = dynamic_cast<const PosixFile*>(&file);
        if (opened == nullptr) return std::nullopt;
        const std::scoped_lock lock(mutex_);
        const auto known = keeps_locks_.find(opened->Opened().st_dev);
        return known == keeps_locks_.end() ? std::nullopt : std::optional(known->second);
    }

    // Once for each device: it costs more than a lock.
    bool KeepsLocks(File& file, const fs::path& path, std::uint64_t offset) override {
        if (const auto known = KnownToKeepLocks(file)) return *known;
        const auto* locked = dynamic_cast<const PosixFile*>(&file);
        if (locked == nullptr) return true;
        const dev_t device = locked->Opened().st_dev;
        const std::scoped_lock lock(mutex_);
        try {
            const auto second = OpenWith(O_NONBLOCK | O_NOFOLLOW, path, OpenMode::ReadOnly);
            if (!second->IsAt(path) || !file.IsAt(path)) return true;
            return keeps_locks_[device] = second->IsLocked(offset, 1);
        } catch (const AutomationError& error) {
            return !error.Is(ErrorNumber::OperationNotSupported);  // else it has just been removed, or may not be read
        }
    }

    bool IsByWriterOf(const fs::path& path, File& other) override {
        struct stat info {};
        return lstat(path.c_str(), &info) != 0 || PosixFile::IsWriter(info, path, other);
    }

    bool HasOwnerOf(const fs::path& path, File& other) override {
        const auto* file = dynamic_cast<const PosixFile*>(&other);
        struct stat info {};
        return file != nullptr && lstat(path.c_str(), &info) == 0 && info.st_uid == file->Opened().st_uid;
    }

    FileKind Look(const fs::path& path) override {
        struct stat info {};
        if (lstat(path.c_str(), &info) != 0) {
            if (errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG) return FileKind::None;
            RaiseSystemError(path, errno);
        }
        if (!S_ISREG(info.st_mode)) return FileKind::Other;
        return info.st_nlink <= 1 ? FileKind::Plain : FileKind::Linked;
    }

    fs::path RealPath(const fs::path& path) override {
        std::error_code failed;
        fs::path real = fs::canonical(path, failed);
        return failed ? path : real;
    }

    bool Exists(const fs::path& path) override { return access(path.c_str(), F_OK) == 0; }

    void Remove(const fs::path& path) override {
        if (unlink(path.c_str()) != 0 && errno != ENOENT) RaiseSystemError(path, errno);
    }

    void Rename(const fs::path& from, const fs::path& to) override {
        if (rename(from.c_str(), to.c_str()) != 0) RaiseSystemError(to, errno);
    }

    // Where the file system has no renaming that spares an existing file, the file gets a second name and loses the
    // first.
    void RenameToNew(const fs::path& from, const fs::path& to) override {
        if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
        if (errno == EINVAL || errno == ENOSYS) {
            if (link(from.c_str(), to.c_str()) == 0) return Remove(from);
        }
        if (errno == EEXIST) Raise(ErrorNumber::DatabaseExists, {FromNativePath(to)});
        RaiseSystemError(to, errno);
    }

    void SyncFolder(const fs::path& folder) override {
        const fs::path place = folder.empty() ? fs::path(".") : folder;
        const int descriptor = open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor < 0) RaiseSystemError(place, errno);
        const bool synced = fsync(descriptor) == 0 || errno == EINVAL;  // some file systems have nothing to sync
        const int code = errno;
        close(descriptor);
        if (!synced) RaiseSystemError(place, code);
    }

private:
    // Opens regular files only: a pipe would keep the caller waiting, a device may do anything.
    static std::unique_ptr<PosixFile> OpenWith(int flags, const fs::path& path, OpenMode mode, mode_t rights = 0666) {
        flags |= O_CLOEXEC | O_NOCTTY;
        switch (mode) {
            case OpenMode::ReadOnly: flags |= O_RDONLY; break;
            case OpenMode::ReadWrite: flags |= O_RDWR; break;
            case OpenMode::Create: flags |= O_RDWR | O_CREAT; break;
            case OpenMode::CreateNew: flags |= O_RDWR | O_CREAT | O_EXCL; break;
        }
        const int descriptor = open(path.c_str(), flags, rights);
        if (descriptor < 0) RaiseSystemError(path, errno);
        auto file = std::make_unique<PosixFile>(descriptor, path);
        if (!S_ISREG(file->Opened().st_mode)) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        return file;
    }

    std::mutex mutex_;
    std::map<dev_t, bool> keeps_locks_;
};

}  // namespace

FileSystem& FileSystem::Native() {
    static auto& system = *new PosixFileSystem;  // for as long as anything may use it, at the process's end too
    return system;
}

}  // namespace qmtrain
