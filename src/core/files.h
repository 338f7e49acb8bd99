// Files of the operating system behind an interface, so that a test can count calls and make them fail.
//
// Paths arrive as the caller wrote them; only this room turns them into the operating system's form.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qmtrain {

// The path in the system's form. On Windows a path of any length can be opened. Elsewhere "\" separates like "/", and
// where a name does not exist as written, a name that differs in letter case only is taken: the folders come from
// Windows machines.
std::filesystem::path ToNativePath(std::u16string_view path);

// The path as the user wrote it, for messages.
std::u16string FromNativePath(const std::filesystem::path& path);

// The file in the folder: "\" stands between the two unless the folder ends in one.
std::u16string InFolder(std::u16string_view folder, std::u16string_view file);

// A name that no other file has: the two parts with 16 random hexadecimal digits between them.
std::string UniqueName(std::string_view before, std::string_view after);

// The path with the ending appended. A name that would be too long for the system loses its end before that. `room`:
// bytes to leave for a longer ending of a companion file.
std::filesystem::path WithEnding(const std::filesystem::path& path, std::string_view ending, std::size_t room = 0);

// Whether no file can have the path's name.
bool IsTooLongName(const std::filesystem::path& path);

// Whether a file, not a folder, stands there.
bool FileExists(std::u16string_view path);

// Appends the bytes whole: those of another process come before or after them, nothing of them stays when the disk is
// full. Makes a missing file. Only a plain file of one name is taken, no link. Raises what File and FileSystem raise.
void AppendToFile(const std::filesystem::path& path, std::string_view bytes);

// The folder of the program that runs.
std::filesystem::path ProgramFolder();

// A process that keeps others from locking a file.
struct LockHolder {
    std::int64_t process = 0;
    std::u16string program;
};

enum class OpenMode : std::uint8_t { ReadOnly, ReadWrite, Create, CreateNew };

// Every operation raises DiskFull or DiskError when the system refuses it, naming the file.
class File {
public:
    enum class Lock : std::uint8_t { Shared, Exclusive };

    virtual ~File() = default;

    // Fills `out`; returns the number of bytes read, fewer only at the end of the file.
    virtual std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) = 0;

    // Fills the parts one after the other from consecutive bytes of the file.
    virtual std::size_t ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts);

    virtual void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) = 0;
    virtual std::uint64_t Size() = 0;
    virtual void Resize(std::uint64_t size) = 0;

    // Returns when what was written has reached the disk. Raises ReadOnly when the file system says that it cannot see
    // to that.
    virtual void Sync() = 0;

    // Locks a range for this open file, replacing a lock of the other kind that it holds there; false when another open
    // file, of this process or another, stands in the way, and what was held is held still. A shared lock cannot be
    // upgraded atomically on every system: another process may take a lock in between, and CannotLockFile is raised
    // when the shared one is lost to it. A lock ends with the file or its process. Others may be kept from
    // reading and writing in the range. Raises OperationNotSupported when the file system knows no locks. Requires:
    // ranges that this file holds are equal or apart, and are given back whole; a file that is locked exclusively may
    // be written.
    virtual bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) = 0;
    virtual void Unlock(std::uint64_t offset, std::uint64_t length) = 0;

    // Whether an exclusive lock of the range would be refused. Requires: this file holds no lock there.
    virtual bool IsLocked(std::uint64_t offset, std::uint64_t length) {
        if (!TryLock(offset, length, Lock::Exclusive)) return true;
        Unlock(offset, length);
        return false;
    }

    // Whether another open file has a lock of any kind in the range, where this one may have a shared one. True where
    // the system does not tell.
    virtual bool IsLockedByOthers(std::uint64_t, std::uint64_t) { return true; }

    // Who has locked something in the range, as far as the system tells.
    virtual std::optional<LockHolder> FindLockHolder(std::uint64_t, std::uint64_t) { return std::nullopt; }

    // Gives this file, which has just been made beside the other one, its owner (where possible), group and rights.
    // Where that cannot be done exactly, fewer people get rights to a file with secret content; of any other file the
    // other one's owner gets his rights in any case.
    // A file that has content is left as it is.
    virtual void ShareLike(File&, bool /*secret*/) {}

    // Whether all who may write the other file may write this one, which lies beside it. A system may say no for all
    // its files.
    virtual bool HasRightsOf(File&) { return true; }

    // Whether somebody may write this one who may not write the other. False where the system does not tell.
    virtual bool MoreMayWriteThan(File&) { return false; }

    // Everybody may read the file, which has just been made.
    virtual void LetAllRead() {}

    // Whether the file belongs to somebody who may write the other one, or to oneself. True where the system does not
    // tell.
    virtual bool IsByWriterOf(File&) { return true; }

    // Takes a shared lock on the byte after `gate`, passing through `gate`; false while another handle holds either
    // exclusively.
    virtual bool TryLockThrough(std::uint64_t gate) {
        if (!TryLock(gate, 1, Lock::Shared)) return false;
        const bool locked = TryLock(gate + 1, 1, Lock::Shared);
        Unlock(gate, 1);
        return locked;
    }

    // Whether the open file is still the one at `path`; a link to it does not count.
    virtual bool IsAt(const std::filesystem::path& path) = 0;

    // False when hard links give the file more names than one.
    virtual bool HasOneName() { return true; }
};

// What a name stands for; links are not followed.
enum class FileKind : std::uint8_t {
    None,
    Plain,   // with one name
    Linked,  // a file with several names
    Other,   // a folder, a link, a pipe
};

class FileSystem {
public:
    virtual ~FileSystem() = default;

    // The operating system's.
    static FileSystem& Native();

    // Raises FileNotFound, InvalidPath (no such folder) or CannotOpenFile (no permission).
    virtual std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) = 0;
    virtual bool Exists(const std::filesystem::path& path) = 0;

    // For the files that we make beside a database, in folders where others may write too: only a FileKind::Plain is
    // opened, else CannotOpenFile is raised. No link is followed, and no pipe is waited for.
    virtual std::unique_ptr<File> OpenPlain(const std::filesystem::path& path, OpenMode mode) {
        return Open(path, mode);
    }
    // Whether the lock that `file`, the one at the path, holds there keeps other open files out: not every file system
    // that grants locks does.
    virtual bool KeepsLocks(File& /*file*/, const std::filesystem::path&, std::uint64_t /*offset*/) { return true; }

    // What KeepsLocks has found out about the place of the file, without a lock; nothing if it was never asked there.
    virtual std::optional<bool> KnownToKeepLocks(File& /*file*/) { return std::nullopt; }

    // As File::IsByWriterOf, for a file that cannot be opened.
    virtual bool IsByWriterOf(const std::filesystem::path&, File&) { return true; }

    // Whether what stands there has the file's owner. False where the system does not tell.
    virtual bool HasOwnerOf(const std::filesystem::path&, File&) { return false; }

    // Raises CannotOpenFile where the system does not let this process see whether anything stands there.
    virtual FileKind Look(const std::filesystem::path& path) { return Exists(path) ? FileKind::Plain : FileKind::None; }

    // The one path of the file that a path leads to, through links and short names. The path itself when there is none.
    virtual std::filesystem::path RealPath(const std::filesystem::path& path) { return path; }

    // The name is free afterwards, even while the file is open somewhere. Removing a missing file does nothing.
    virtual void Remove(const std::filesystem::path& path) = 0;

    // Replaces the file that stands at `to`.
    virtual void Rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

    // Raises DatabaseExists when something stands at `to`; that stays as it is.
    virtual void RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to);

    // Makes creations and removals in the folder durable.
    virtual void SyncFolder(const std::filesystem::path& folder) = 0;
};

}  // namespace qmtrain
