// Files in memory, for tests that open thousands of them. Locks are always granted: one handle at a time.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

#include "core/error.h"
#include "core/files.h"

namespace qmtrain::test {

class MemoryFiles : public FileSystem {
public:
    using Content = std::vector<std::uint8_t>;

    Content& At(const std::filesystem::path& path) {
        return *files_.try_emplace(path, std::make_shared<Content>()).first->second;
    }

    const Content& At(const std::filesystem::path& path) const { return *files_.at(path); }

    // How many files hold just this.
    std::size_t CountOf(const Content& content) const {
        return static_cast<std::size_t>(
            std::count_if(files_.begin(), files_.end(), [&](const auto& file) { return *file.second == content; }));
    }

    std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) override {
        const bool may_create = mode == OpenMode::Create || mode == OpenMode::CreateNew;
        if (!may_create && !Exists(path)) Raise(ErrorNumber::FileNotFound, {FromNativePath(path)});
        At(path);
        return std::make_unique<Opened>(files_[path]);
    }
    // A folder is there when a file in it is.
    bool Exists(const std::filesystem::path& path) override {
        return files_.contains(path) || std::any_of(files_.begin(), files_.end(),
                                                    [&](const auto& file) { return file.first.parent_path() == path; });
    }
    void Remove(const std::filesystem::path& path) override { files_.erase(path); }
    void Rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
        files_[to] = files_[from];
        files_.erase(from);
    }
    void SyncFolder(const std::filesystem::path&) override {}

private:
    class Opened : public File {
    public:
        explicit Opened(std::shared_ptr<Content> content) : content_(std::move(content)) {}
        std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
            if (offset >= content_->size()) return 0;
            const std::size_t count = std::min(out.size(), content_->size() - static_cast<std::size_t>(offset));
            std::copy_n(content_->begin() + static_cast<std::ptrdiff_t>(offset), count, out.begin());
            return count;
        }
        void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
            content_->resize(std::max(content_->size(), static_cast<std::size_t>(offset) + bytes.size()));
            std::copy(bytes.begin(), bytes.end(), content_->begin() + static_cast<std::ptrdiff_t>(offset));
        }
        std::uint64_t Size() override { return content_->size(); }
        void Resize(std::uint64_t size) override { content_->resize(static_cast<std::size_t>(size)); }
        void Sync() override {}
        bool TryLock(std::uint64_t, std::uint64_t, Lock) override { return true; }
        void Unlock(std::uint64_t, std::uint64_t) override {}
        bool IsLockedByOthers(std::uint64_t, std::uint64_t) override { return false; }
        bool IsAt(const std::filesystem::path&) override { return true; }

    private:
        std::shared_ptr<Content> content_;
    };

    std::map<std::filesystem::path, std::shared_ptr<Content>> files_;
};

}  // namespace qmtrain::test
