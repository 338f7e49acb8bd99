#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "core/access_list_posix.h"
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

// Whether the error means that the file, or its file system, does not support the operation.
bool IsUnsupported(int code) {
    return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == ENOLCK;
}

// Whether the account that made what stands at the path belongs to the group. The system's lists need not know the
// accounts of other machines: then the group of what it made speaks for it, for nobody but its members can give a file
// a group; but the folder can, to files of anybody's.
bool IsInGroup(const struct stat& made, const fs::path& path, gid_t group) {
    std::vector<char> buffer(std::size_t{1} << 16);
    passwd entry{};
    passwd* found = nullptr;
    const bool is_known =
        getpwuid_r(made.st_uid, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr;
    std::vector<gid_t> groups(1024);
    int count = static_cast<int>(groups.size());
    if (is_known && getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) >= 0) {
        return std::find(groups.begin(), groups.begin() + count, group) != groups.begin() + count;
    }
    struct stat folder {};
    const fs::path parent = path.parent_path();
    const bool folder_gives_groups =
        stat(parent.empty() ? "." : parent.c_str(), &folder) != 0 || (folder.st_mode & S_ISGID) != 0;
    return made.st_gid == group && !folder_gives_groups;
}

std::string FirstLine(const fs::path& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

// Whether the system's account of a descriptor ("lock: 1: OFDLCK ADVISORY WRITE -1 08:01:77 10 10") has a lock there.
bool HasLock(const fs::path& account, std::uint64_t offset, std::uint64_t length) {
    std::ifstream file(account);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("lock:")) continue;
        std::istringstream words(line);
        std::string word;
        std::string from;
        std::string to;
        while (words >> word) {
            from = std::move(to);
            to = word;
        }
        const std::uint64_t first = std::strtoull(from.c_str(), nullptr, 10);
        const std::uint64_t last = to == "EOF" ? UINT64_MAX : std::strtoull(to.c_str(), nullptr, 10);
        if (first < offset + length && offset <= last) return true;
    }
    return false;
}

class PosixFile : public File {
public:
    PosixFile(int descriptor, fs::path path) : descriptor_(descriptor), path_(std::move(path)) {
        if (fstat(descriptor_, &opened_) != 0) opened_ = {};
    }
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
        if (fdatasync(descriptor_) == 0) return;
        if (!IsUnsupported(errno)) RaiseSystemError(path_, errno);
        Raise(ErrorNumber::ReadOnly, {FromNativePath(path_), u"它所在的文件系统不能保证写入的内容到达磁盘。"});
    }

    // Locks of the open file description: unlike process locks they also keep two handles of one process apart, and
    // closing another handle of the file does not drop them.
    bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
        return SetLock(kind == Lock::Exclusive ? F_WRLCK : F_RDLCK, offset, length);
    }

    void Unlock(std::uint64_t offset, std::uint64_t length) override { SetLock(F_UNLCK, offset, length); }

    // Asking needs no right to write, and one's own locks do not count.
    bool IsLocked(std::uint64_t offset, std::uint64_t length) override { return IsLockedByOthers(offset, length); }

    bool IsLockedByOthers(std::uint64_t offset, std::uint64_t length) override {
        struct flock lock = Range(F_WRLCK, offset, length);
        if (fcntl(descriptor_, F_OFD_GETLK, &lock) != 0) RaiseLockError(errno);
        return lock.l_type != F_UNLCK;
    }

    // The lock itself names no process, for it belongs to an open file: whoever has that open is looked for, among the
    // processes that this one may look into.
    std::optional<LockHolder> FindLockHolder(std::uint64_t offset, std::uint64_t length) override {
        struct stat own {};
        if (fstat(descriptor_, &own) != 0) return std::nullopt;
        std::error_code ignored;
        for (const fs::directory_entry& process : fs::directory_iterator("/proc", ignored)) {
            const std::string number = process.path().filename();
            if (number.find_first_not_of("0123456789") != std::string::npos) continue;
            const bool ours = number == std::to_string(getpid());
            for (const fs::directory_entry& open : fs::directory_iterator(process.path() / "fd", ignored)) {
                const fs::path name = open.path().filename();
                struct stat other {};
                if (ours && name == std::to_string(descriptor_)) continue;
                if (stat(open.path().c_str(), &other) != 0 || other.st_dev != own.st_dev || other.st_ino != own.st_ino)
                    continue;
                if (!HasLock(process.path() / "fdinfo" / name, offset, length)) continue;
                return LockHolder{std::stoll(number), FromUtf8(FirstLine(process.path() / "comm"))};
            }
        }
        return std::nullopt;
    }

    void ShareLike(File& like, bool secret) override {
        const auto* other = dynamic_cast<const PosixFile*>(&like);
        struct stat model {};
        struct stat own = opened_;
        if (own.st_size > 0) return;  // somebody has had it before, under whatever name
        if (other == nullptr || fstat(other->descriptor_, &model) != 0) return;
        if (own.st_uid == model.st_uid && own.st_gid == model.st_gid && RightsOf(own) == RightsOf(model)) return;
        if (own.st_uid != geteuid() && geteuid() != 0) return;
        if (own.st_uid != model.st_uid && fchown(descriptor_, model.st_uid, static_cast<gid_t>(-1)) == 0) {
            own.st_uid = model.st_uid;
        }
        if (own.st_gid != model.st_gid && fchown(descriptor_, static_cast<uid_t>(-1), model.st_gid) == 0) {
            own.st_gid = model.st_gid;
        }
        mode_t mode = RightsOf(model);
        if (own.st_gid != model.st_gid) mode = (mode & ~mode_t{S_IRWXG}) | (mode & S_IRWXO) << 3U;
        if (own.st_uid != model.st_uid && !secret) mode |= (mode & S_IRWXU) >> 6U;
        mode |= S_IRUSR | S_IWUSR;
        if (auto list = AccessList::Of(other->descriptor_)) {
            if (own.st_uid != model.st_uid) list->LetUser(model.st_uid, list->OwnersRights());
            if (own.st_gid != model.st_gid) list->MoveGroup(model.st_gid);
            list->LetOwner(S_IROTH | S_IWOTH);
            if (list->GiveTo(descriptor_)) return;
        }
        if (mode != (own.st_mode & mode_t{07777})) [[maybe_unused]]
            const int ignored = fchmod(descriptor_, mode);
    }

    bool HasRightsOf(File& other) override {
        const auto* like = dynamic_cast<const PosixFile*>(&other);
        struct stat model {};
        struct stat own {};
        if (like == nullptr || fstat(like->descriptor_, &model) != 0 || fstat(descriptor_, &own) != 0) return true;
        const bool same_owner = own.st_uid == model.st_uid || (own.st_mode & S_IWGRP) != 0;
        return same_owner && own.st_gid == model.st_gid && RightsOf(own) == RightsOf(model) &&
               !AccessList::Of(like->descriptor_);
    }

    void LetAllRead() override {
        struct stat info {};
        if (fstat(descriptor_, &info) == 0) [[maybe_unused]]
            const int ignored = fchmod(descriptor_, RightsOf(info) | S_IRUSR | S_IRGRP | S_IROTH);
    }

    bool IsByWriterOf(File& other) override { return IsWriter(opened_, path_, other); }

    // Whether the account that made something, which stands at the path, may write the file.
    static bool IsWriter(const struct stat& made, const fs::path& path, File& file) {
        const auto* target = dynamic_cast<const PosixFile*>(&file);
        struct stat info {};
        if (target == nullptr || fstat(target->descriptor_, &info) != 0) return true;
        if (made.st_uid == info.st_uid || made.st_uid == geteuid() || made.st_uid == 0) return true;
        const auto is_in = [&](gid_t group) { return IsInGroup(made, path, group); };
        if (const auto list = AccessList::Of(target->descriptor_))
            return list->MayWrite(made.st_uid, info.st_gid, is_in);
        return (info.st_mode & S_IWOTH) != 0 || ((info.st_mode & S_IWGRP) != 0 && is_in(info.st_gid));
    }

    // As it was when it was opened.
    const struct stat& Opened() const { return opened_; }
    // Both at one stroke: a system call less than one after the other.
    bool TryLockThrough(std::uint64_t gate) override { return SetLock(F_RDLCK, gate, 2) && SetLock(F_UNLCK, gate, 1); }

    bool HasOneName() override {
        struct stat info {};
        return fstat(descriptor_, &info) == 0 && info.st_nlink <= 1;
    }

    bool IsAt(const fs::path& path) override {
        struct stat other {};
        return lstat(path.c_str(), &other) == 0 && opened_.st_dev == other.st_dev && opened_.st_ino == other.st_ino;
    }

private:
    static struct flock Range(short type, std::uint64_t offset, std::uint64_t length) {
        struct flock lock {};
        lock.l_type = type;
        lock.l_whence = SEEK_SET;
        lock.l_start = static_cast<off_t>(offset);
        lock.l_len = static_cast<off_t>(length);
        return lock;
    }

    bool SetLock(short type, std::uint64_t offset, std::uint64_t length) {
        struct flock lock = Range(type, offset, length);
        while (fcntl(descriptor_, F_OFD_SETLK, &lock) != 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN || errno == EACCES) return false;
            RaiseLockError(errno);
        }
        return true;
    }

    [[noreturn]] void RaiseLockError(int code) {
        if (!IsUnsupported(code)) RaiseSystemError(path_, code);
        Raise(ErrorNumber::OperationNotSupported, {u"“" + FromNativePath(path_) + u"”所在的文件系统不能锁定文件。"});
    }

    static mode_t RightsOf(const struct stat& info) {
        return info.st_mode & mode_t{S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH};
    }

    int descriptor_;
    fs::path path_;
    struct stat opened_ {};
};

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
            if (error.Is(ErrorNumber::OperationNotSupported)) return false;
            return true;  // it has just been removed, or may not be read
        }
    }

    bool IsByWriterOf(const fs::path& path, File& other) override {
        struct stat info {};
        return lstat(path.c_str(), &info) != 0 || PosixFile::IsWriter(info, path, other);
    }

    FileKind Look(const fs::path& path) override {
        struct stat info {};
        if (lstat(path.c_str(), &info) != 0) {
            if (errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG) return FileKind::None;
            RaiseSystemError(path, errno);
        }
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
