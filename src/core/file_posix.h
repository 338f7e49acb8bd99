// An open file of a POSIX system.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include <fcntl.h>
#include <sys/stat.h>

#include "core/files.h"

namespace qmtrain {

// What a system call's error means for the file.
[[noreturn]] void RaiseSystemError(const std::filesystem::path& path, int code);

class PosixFile : public File {
public:
    PosixFile(int descriptor, std::filesystem::path path);
    PosixFile(const PosixFile&) = delete;
    PosixFile& operator=(const PosixFile&) = delete;
    ~PosixFile() override;

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override;
    std::size_t ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts) override;
    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
    std::uint64_t Size() override;
    void Resize(std::uint64_t size) override;
    void Sync() override;

    bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override;
    void Unlock(std::uint64_t offset, std::uint64_t length) override;

    // Asking needs no right to write, and one's own locks do not count.
    bool IsLocked(std::uint64_t offset, std::uint64_t length) override { return IsLockedByOthers(offset, length); }
    bool IsLockedByOthers(std::uint64_t offset, std::uint64_t length) override;

    std::optional<LockHolder> FindLockHolder(std::uint64_t offset, std::uint64_t length) override;
    void ShareLike(File& like, bool secret) override;
    bool HasRightsOf(File& other) override;
    bool MoreMayWriteThan(File& other) override;
    void LetAllRead() override;
    bool IsByWriterOf(File& other) override { return IsWriter(opened_, path_, other); }
    bool TryLockThrough(std::uint64_t gate) override;
    bool HasOneName() override;
    bool IsAt(const std::filesystem::path& path) override;

    // Whether the account that made what stands at the path may write the file.
    static bool IsWriter(const struct stat& made, const std::filesystem::path& path, File& file);

    // The status of the file when it was opened.
    const struct stat& Opened() const { return opened_; }

private:
    static struct flock Range(short type, std::uint64_t offset, std::uint64_t length);
    bool SetLock(short type, std::uint64_t offset, std::uint64_t length);
    [[noreturn]] void RaiseLockError(int code);
    static mode_t RightsOf(const struct stat& info);

    int descriptor_;
    std::filesystem::path path_;
    struct stat opened_ {};
};

}  // namespace qmtrain
