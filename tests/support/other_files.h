// Files of the system behind a wrapper, of which a test changes what it needs.
#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "core/files.h"

namespace qmtrain::test {

class WrappedFile : public File {
public:
    explicit WrappedFile(std::unique_ptr<File> file) : file_(std::move(file)) {}

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
        return file_->ReadAt(offset, out);
    }
    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override { file_->WriteAt(offset, bytes); }
    std::uint64_t Size() override { return file_->Size(); }
    void Resize(std::uint64_t size) override { file_->Resize(size); }
    void Sync() override { file_->Sync(); }
    bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
        return file_->TryLock(offset, length, kind);
    }
    void Unlock(std::uint64_t offset, std::uint64_t length) override { file_->Unlock(offset, length); }
    bool IsLockedByOthers(std::uint64_t offset, std::uint64_t length) override {
        return file_->IsLockedByOthers(offset, length);
    }
    bool IsAt(const std::filesystem::path& path) override { return file_->IsAt(path); }

private:
    std::unique_ptr<File> file_;
};

class WrappedFiles : public FileSystem {
public:
    std::vector<std::filesystem::path> opened;

    std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) override {
        {
            const std::scoped_lock lock(mutex_);  // several threads may share the files
            opened.push_back(path);
        }
        return Wrap(Native().Open(path, mode));
    }
    bool Exists(const std::filesystem::path& path) override { return Native().Exists(path); }
    void Remove(const std::filesystem::path& path) override { Native().Remove(path); }
    void Rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
        Native().Rename(from, to);
    }
    void SyncFolder(const std::filesystem::path& folder) override { Native().SyncFolder(folder); }

protected:
    virtual std::unique_ptr<File> Wrap(std::unique_ptr<File> file) { return file; }

private:
    std::mutex mutex_;
};

}  // namespace qmtrain::test
