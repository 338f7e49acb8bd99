// An open file of Windows.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <utility>
#include <vector>

#include <windows.h>

#include "core/files.h"
#include "core/windows_calls.h"

namespace qmtrain {

class WindowsFile : public File {
public:
    WindowsFile(Handle handle, std::filesystem::path path) : handle_(std::move(handle)), path_(std::move(path)) {}
    WindowsFile(const WindowsFile&) = delete;
    WindowsFile& operator=(const WindowsFile&) = delete;

    ~WindowsFile() override;
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override;

    std::size_t ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts) override;
    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
    std::uint64_t Size() override;
    void Resize(std::uint64_t size) override;
    void Sync() override { Check(FlushFileBuffers(handle_.Get())); }

    bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override;
    void Unlock(std::uint64_t offset, std::uint64_t length) override;
    bool IsByWriterOf(File& other) override;
    bool MayBeWrittenBy(const Owner& account) const { return MayWrite(account, handle_.Get()); }

    bool IsOwnedBy(const Owner& account) const;

    DWORD Volume() const;

    bool HasOneName() override;
    bool IsOnDisk() const { return GetFileType(handle_.Get()) == FILE_TYPE_DISK; }

    // Whether it is a regular file: no pipe, folder or link.
    bool IsPlain() const;

    // Windows does not tell, nor who else has the file open: so no file is kept for others.
    bool HasRightsOf(File&) override { return false; }

    bool IsAt(const std::filesystem::path& path) override;

private:
    struct Range {
        std::uint64_t offset;
        std::uint64_t length;
        Lock kind;
    };

    void Check(BOOL done) const;
    std::vector<Range>::iterator FindHeld(std::uint64_t offset, std::uint64_t length);
    bool Take(const Range& range) const;
    void Release(const Range& range) const;
    bool Weaken(Range& held);
    bool Strengthen(std::vector<Range>::iterator held);

    Handle handle_;
    std::filesystem::path path_;
    std::vector<Range> held_;
};

}  // namespace qmtrain
