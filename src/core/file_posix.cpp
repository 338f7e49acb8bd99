#include "core/file_posix.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include <grp.h>
#include <pwd.h>
#include <sys/uio.h>
#include <unistd.h>

#include "core/access_list_posix.h"
#include "core/error.h"
#include "core/text.h"

namespace qmtrain {

namespace fs = std::filesystem;

namespace {

// Whether the error means that the file, or its file system, does not support the operation.
bool IsUnsupported(int code) {
    return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == ENOLCK;
}

// Whether the owner of the file at the path belongs to the group. The system's lists need not have the accounts of
// other machines; then the group of the file itself is the evidence, since only its members can give a file to a group.
// In a folder with the set-group-ID bit it is none: such a folder gives its group to all files made in it.
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

// Whether the system's description of a descriptor ("lock: 1: OFDLCK ADVISORY WRITE -1 08:01:77 10 10") has a lock
// there.
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

}  // namespace

void RaiseSystemError(const fs::path& path, int code) {
    const std::u16string name = FromNativePath(path);
    switch (code) {
        case ENOENT:
            if (!path.parent_path().empty() && !fs::exists(path.parent_path())) Raise(ErrorNumber::InvalidPath, {name});
            Raise(ErrorNumber::FileNotFound, {name});
        case ENAMETOOLONG:
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

PosixFile::PosixFile(int descriptor, fs::path path) : descriptor_(descriptor), path_(std::move(path)) {
    if (fstat(descriptor_, &opened_) != 0) opened_ = {};
}

PosixFile::~PosixFile() {
    close(descriptor_);
}

std::size_t PosixFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    std::size_t done = 0;
    while (done < out.size()) {
        const ssize_t count =
            pread(descriptor_, out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) RaiseSystemError(path_, errno);
        if (count == 0) break;
        done += count;
    }
    return done;
}

std::size_t PosixFile::ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts) {
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

void PosixFile::WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            pwrite(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) RaiseSystemError(path_, errno);
        done += count;
    }
}

std::uint64_t PosixFile::Size() {
    struct stat info {};
    if (fstat(descriptor_, &info) != 0) RaiseSystemError(path_, errno);
    return static_cast<std::uint64_t>(info.st_size);
}

void PosixFile::Resize(std::uint64_t size) {
    if (ftruncate(descriptor_, static_cast<off_t>(size)) != 0) RaiseSystemError(path_, errno);
}

void PosixFile::Sync() {
    if (fdatasync(descriptor_) == 0) return;
    if (!IsUnsupported(errno)) RaiseSystemError(path_, errno);
    Raise(ErrorNumber::ReadOnly, {FromNativePath(path_), u"它所在的文件系统不能保证写入的内容到达磁盘。"});
}

// Locks of the open file description: unlike process locks they also keep two handles of one process apart, and closing
// another handle of the file does not drop them.
bool PosixFile::TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) {
    return SetLock(kind == Lock::Exclusive ? F_WRLCK : F_RDLCK, offset, length);
}

void PosixFile::Unlock(std::uint64_t offset, std::uint64_t length) {
    SetLock(F_UNLCK, offset, length);
}

// Takes both locks with one system call.
bool PosixFile::TryLockThrough(std::uint64_t gate) {
    return SetLock(F_RDLCK, gate, 2) && SetLock(F_UNLCK, gate, 1);
}

bool PosixFile::IsLockedByOthers(std::uint64_t offset, std::uint64_t length) {
    struct flock lock = Range(F_WRLCK, offset, length);
    if (fcntl(descriptor_, F_OFD_GETLK, &lock) != 0) RaiseLockError(errno);
    return lock.l_type != F_UNLCK;
}

// The lock itself names no process, for it belongs to an open file: the process that has that open is looked for, among
// those that this one may inspect.
std::optional<LockHolder> PosixFile::FindLockHolder(std::uint64_t offset, std::uint64_t length) {
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

void PosixFile::ShareLike(File& like, bool secret) {
    const auto* other = dynamic_cast<const PosixFile*>(&like);
    struct stat model {};
    struct stat own = opened_;
    if (own.st_size > 0) return;  // it was in use before, perhaps under another name
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

bool PosixFile::HasRightsOf(File& other) {
    const auto* like = dynamic_cast<const PosixFile*>(&other);
    struct stat model {};
    struct stat own {};
    if (like == nullptr || fstat(like->descriptor_, &model) != 0 || fstat(descriptor_, &own) != 0) return true;
    const bool same_owner = own.st_uid == model.st_uid || (own.st_mode & S_IWGRP) != 0;
    return same_owner && own.st_gid == model.st_gid && RightsOf(own) == RightsOf(model) &&
           !AccessList::Of(like->descriptor_);
}

// The right of the owner is checked elsewhere. With an access list, the group bits of the mode are the most that any of
// its entries grants.
bool PosixFile::MoreMayWriteThan(File& other) {
    const auto* like = dynamic_cast<const PosixFile*>(&other);
    struct stat model {};
    struct stat own {};
    if (like == nullptr || fstat(like->descriptor_, &model) != 0 || fstat(descriptor_, &own) != 0) return false;
    if ((model.st_mode & S_IWOTH) != 0) return false;
    if ((own.st_mode & S_IWOTH) != 0) return true;
    if ((own.st_mode & S_IWGRP) == 0) return false;
    if ((model.st_mode & S_IWGRP) == 0) return true;
    if (AccessList::Of(like->descriptor_)) return false;
    return own.st_gid != model.st_gid || AccessList::Of(descriptor_);
}

void PosixFile::LetAllRead() {
    struct stat info {};
    if (fstat(descriptor_, &info) == 0) [[maybe_unused]]
        const int ignored = fchmod(descriptor_, RightsOf(info) | S_IRUSR | S_IRGRP | S_IROTH);
}

bool PosixFile::IsWriter(const struct stat& made, const fs::path& path, File& file) {
    const auto* target = dynamic_cast<const PosixFile*>(&file);
    struct stat info {};
    if (target == nullptr || fstat(target->descriptor_, &info) != 0) return true;
    if (made.st_uid == info.st_uid || made.st_uid == geteuid() || made.st_uid == 0) return true;
    const auto is_in = [&](gid_t group) { return IsInGroup(made, path, group); };
    if (const auto list = AccessList::Of(target->descriptor_)) return list->MayWrite(made.st_uid, info.st_gid, is_in);
    return (info.st_mode & S_IWOTH) != 0 || ((info.st_mode & S_IWGRP) != 0 && is_in(info.st_gid));
}

bool PosixFile::HasOneName() {
    struct stat info {};
    return fstat(descriptor_, &info) == 0 && info.st_nlink <= 1;
}

bool PosixFile::IsAt(const fs::path& path) {
    struct stat other {};
    return lstat(path.c_str(), &other) == 0 && opened_.st_dev == other.st_dev && opened_.st_ino == other.st_ino;
}

struct flock PosixFile::Range(short type, std::uint64_t offset, std::uint64_t length) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(offset);
    lock.l_len = static_cast<off_t>(length);
    return lock;
}

bool PosixFile::SetLock(short type, std::uint64_t offset, std::uint64_t length) {
    struct flock lock = Range(type, offset, length);
    while (fcntl(descriptor_, F_OFD_SETLK, &lock) != 0) {
        if (errno == EINTR) continue;
        if (errno == EAGAIN || errno == EACCES) return false;
        RaiseLockError(errno);
    }
    return true;
}

void PosixFile::RaiseLockError(int code) {
    if (!IsUnsupported(code)) RaiseSystemError(path_, code);
    Raise(ErrorNumber::OperationNotSupported, {u"“" + FromNativePath(path_) + u"”所在的文件系统不能锁定文件。"});
}

mode_t PosixFile::RightsOf(const struct stat& info) {
    return info.st_mode & mode_t{S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH};
}

}  // namespace qmtrain
