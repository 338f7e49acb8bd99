// A file system that stops working at a chosen call: the n-th write, sync, resize or removal raises an error. "Dead"
// means that every later call fails too, as after the end of a process; else only that one call does.
#pragma once

#include <memory>
#include <utility>

#include "core/error.h"
#include "core/files.h"

namespace qmtrain::test {

class FailingFiles : public FileSystem {
public:
    enum class After : std::uint8_t { Dead, GoesOn };

    int calls = 0;
    int fail_at = 0;  // 0: never
    After after = After::Dead;

    // Counts a call that changes something; raises where it is to fail.
    void Touch(const std::filesystem::path& path) {
        ++calls;
        const bool fails = fail_at != 0 && (calls == fail_at || (after == After::Dead && calls > fail_at));
        if (fails) Raise(ErrorNumber::DiskFull, {FromNativePath(path)});
    }

    std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) override {
        return std::make_unique<Opened>(*this, path, Native().Open(path, mode));
    }
    bool Exists(const std::filesystem::path& path) override { return Native().Exists(path); }
    void Remove(const std::filesystem::path& path) override {
        Touch(path);
        Native().Remove(path);
    }
    void Rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
        Touch(to);
        Native().Rename(from, to);
    }
    void SyncFolder(const std::filesystem::path& folder) override {
        Touch(folder);
        Native().SyncFolder(folder);
    }

private:
    class Opened : public File {
    public:
        Opened(FailingFiles& system, std::filesystem::path path, std::unique_ptr<File> file)
            : system_(system), path_(std::move(path)), file_(std::move(file)) {}
        std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
            return file_->ReadAt(offset, out);
        }
        // A write that fails may have written a part.
        void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
            try {
                system_.Touch(path_);
            } catch (const AutomationError&) {
                if (system_.calls == system_.fail_at) file_->WriteAt(offset, bytes.first(bytes.size() / 2));
                throw;
            }
            file_->WriteAt(offset, bytes);
        }
        std::uint64_t Size() override { return file_->Size(); }
        void Resize(std::uint64_t size) override {
            system_.Touch(path_);
            file_->Resize(size);
        }
        void Sync() override {
            system_.Touch(path_);
            file_->Sync();
        }
        bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
            return file_->TryLock(offset, length, kind);
        }
        void Unlock(std::uint64_t offset, std::uint64_t length) override { file_->Unlock(offset, length); }
        bool IsAt(const std::filesystem::path& path) override { return file_->IsAt(path); }

    private:
        FailingFiles& system_;
        std::filesystem::path path_;
        std::unique_ptr<File> file_;
    };
};

}  // namespace qmtrain::test
