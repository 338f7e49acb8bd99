#include <algorithm>
#include <cerrno>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void RaiseSystemError(const fs::path& path, int code) {
    const std::u16string name = FromNativePath(path);
    switch (code) {
        case ENOENT:
            if (!path.parent_path().empty() && !fs::exists(path.parent_path())) Raise(ErrorNumber::InvalidPath, {name});
            Raise(ErrorNumber::FileNotFound, {name});
        case ENOTDIR: Raise(ErrorNumber::InvalidPath, {name});
        case EACCES:
        case EPERM:
        case EROFS:
        case ETXTBSY:
        case EISDIR:
        case ELOOP:
        case ENXIO:
        case EEXIST: Raise(ErrorNumber::CannotOpenFile, {name});
        case ENOSPC:
        case EDQUOT:
        case EFBIG: Raise(ErrorNumber::DiskFull, {name});
        default: Raise(ErrorNumber::DiskError, {name, FromUtf8(std::system_category().message(code))});
    }
}

class PosixFile : public File {
public:
    PosixFile(int descriptor, fs::path path) : descriptor_(descriptor), path_(std::move(path)) {}
    PosixFile(const PosixFile&) = delete;
    PosixFile& operator=(const PosixFile&) = delete;
    ~PosixFile() override { close(descriptor_); }

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
        std::size_t done = 0;
        while (done < out.size()) {
            const ssize_t count =
                pread(descriptor_, out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) RaiseSystemError(path_, errno);
            if (count == 0) break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }

    std::size_t ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts) override {
        std::vector<iovec> vectors;
        std::size_t wanted = 0;
        for (const std::span<std::uint8_t> part : parts) {
            vectors.push_back({part.data(), part.size()});
            wanted += part.size();
        }
        const ssize_t count =
            preadv(descriptor_, vectors.data(), static_cast<int>(vectors.size()), static_cast<off_t>(offset));
        if (count >= 0 && static_cast<std::size_t>(count) == wanted) return wanted;
        return File::ReadParts(offset, parts);  // interrupted, or at the end of the file
    }

    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t count =
                pwrite(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) RaiseSystemError(path_, errno);
            done += static_cast<std::size_t>(count);
        }
    }

    std::uint64_t Size() override {
        struct stat info {};
        if (fstat(descriptor_, &info) != 0) RaiseSystemError(path_, errno);
        return static_cast<std::uint64_t>(info.st_size);
    }

    void Resize(std::uint64_t size) override {
        if (ftruncate(descriptor_, static_cast<off_t>(size)) != 0) RaiseSystemError(path_, errno);
    }

    void Sync() override {
        if (fdatasync(descriptor_) != 0) RaiseSystemError(path_, errno);
    }

    // Locks of the open file description: unlike process locks they also keep two handles of one process apart, and
    // closing another handle of the file does not drop them.
    bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
        return SetLock(kind == Lock::Exclusive ? F_WRLCK : F_RDLCK, offset, length);
    }

    void Unlock(std::uint64_t offset, std::uint64_t length) override { SetLock(F_UNLCK, offset, length); }

    // Both at one stroke: a system call less than one after the other.
    bool TryLockThrough(std::uint64_t gate) override { return SetLock(F_RDLCK, gate, 2) && SetLock(F_UNLCK, gate, 1); }

    bool HasOneName() override {
        struct stat info {};
        return fstat(descriptor_, &info) == 0 && info.st_nlink <= 1;
    }

    // What the file is, of which this much never changes, and whether it has one name only.
    struct Kind {
        bool plain = false;
        bool one_name = false;
    };
    Kind Identify() {
        struct stat info {};
        if (fstat(descriptor_, &info) != 0) return {};
        device_ = info.st_dev;
        node_ = info.st_ino;
        return {S_ISREG(info.st_mode), info.st_nlink <= 1};
    }

    bool IsAt(const fs::path& path) override {
        struct stat other {};
        return stat(path.c_str(), &other) == 0 && device_ == other.st_dev && node_ == other.st_ino;
    }

private:
    bool SetLock(short type, std::uint64_t offset, std::uint64_t length) {
        struct flock lock {};
        lock.l_type = type;
        lock.l_whence = SEEK_SET;
        lock.l_start = static_cast<off_t>(offset);
        lock.l_len = static_cast<off_t>(length);
        while (fcntl(descriptor_, F_OFD_SETLK, &lock) != 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN || errno == EACCES) return false;
            RaiseSystemError(path_, errno);
        }
        return true;
    }

    int descriptor_;
    fs::path path_;
    dev_t device_ = 0;
    ino_t node_ = 0;
};

class PosixFileSystem : public FileSystem {
public:
    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) override {
        return OpenWith(O_NONBLOCK, path, mode, false);
    }

    std::unique_ptr<File> OpenPlain(const fs::path& path, OpenMode mode) override {
        return OpenWith(O_NONBLOCK | O_NOFOLLOW, path, mode, true);
    }

    FileKind Look(const fs::path& path) override {
        struct stat info {};
        if (lstat(path.c_str(), &info) != 0) return FileKind::None;
        return S_ISREG(info.st_mode) && info.st_nlink <= 1 ? FileKind::Plain : FileKind::Other;
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

    // A file system that cannot rename so can still give the file a second name, and take the first.
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
    // What is no file is not opened: a pipe would keep the caller waiting, a device may do anything.
    static std::unique_ptr<PosixFile> OpenWith(int flags, const fs::path& path, OpenMode mode, bool one_name) {
        flags |= O_CLOEXEC | O_NOCTTY;
        switch (mode) {
            case OpenMode::ReadOnly: flags |= O_RDONLY; break;
            case OpenMode::ReadWrite: flags |= O_RDWR; break;
            case OpenMode::Create: flags |= O_RDWR | O_CREAT; break;
            case OpenMode::CreateNew: flags |= O_RDWR | O_CREAT | O_EXCL; break;
        }
        const int descriptor = open(path.c_str(), flags, 0666);
        if (descriptor < 0) RaiseSystemError(path, errno);
        auto file = std::make_unique<PosixFile>(descriptor, path);
        const PosixFile::Kind kind = file->Identify();
        if (!kind.plain || (one_name && !kind.one_name)) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        return file;
    }
};

// The entry of `folder` whose name equals `name` without regard to case; `name` itself when there is none.
fs::path FindWithoutCase(const fs::path& folder, const fs::path& name) {
    const std::u16string wanted = FoldName(FromNativePath(name));
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.empty() ? fs::path(".") : folder, ignored)) {
        if (FoldName(FromNativePath(entry.path().filename())) == wanted) return entry.path().filename();
    }
    return name;
}

}  // namespace

fs::path ToNativePath(std::u16string_view path) {
    std::string text = ToUtf8(path);
    std::replace(text.begin(), text.end(), '\\', '/');
    fs::path written(text);
    std::error_code ignored;
    if (written.empty() || fs::exists(written, ignored)) return written;
    fs::path found;
    for (const fs::path& name : written) {
        const fs::path next = found / name;
        found = name.empty() || fs::exists(next, ignored) ? next : found / FindWithoutCase(found, name);
    }
    return found;
}

std::u16string FromNativePath(const fs::path& path) {
    return FromUtf8(path.string());
}

bool FileExists(std::u16string_view path) {
    std::error_code ignored;
    return !path.empty() && fs::is_regular_file(ToNativePath(path), ignored);
}

bool FolderExists(std::u16string_view path) {
    std::error_code ignored;
    return fs::is_directory(ToNativePath(path), ignored);
}

fs::path ProgramFolder() {
    std::error_code ignored;
    return fs::read_symlink("/proc/self/exe", ignored).parent_path();
}

FileSystem& FileSystem::Native() {
    static PosixFileSystem system;
    return system;
}

}  // namespace qmtrain
