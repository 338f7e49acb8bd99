// Files that follow a script: they count the calls that change something, do something else at a chosen one, and note
// what has happened to them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "core/error.h"
#include "core/files.h"

namespace qmtrain::test {

// A call that changes a file or a folder.
struct Change {
    enum class Kind : std::uint8_t { Write, Resize, Sync, Create, Remove, Rename, SyncFolder };

    Kind kind;
    std::filesystem::path path;
    int file = 0;                          // the same number for one file, whatever its name
    std::uint64_t offset = 0;              // of a write; the new size
    std::vector<std::uint8_t> bytes = {};  // those that were written
    std::filesystem::path to = {};         // the new name
    bool failed = false;

    bool IsSync() const { return kind == Kind::Sync || kind == Kind::SyncFolder; }
    bool IsOfFile() const { return kind == Kind::Write || kind == Kind::Resize; }
};

class ScriptedFiles : public FileSystem {
public:
    enum class After : std::uint8_t { Dead, GoesOn };  // whether every later call fails too

    explicit ScriptedFiles(FileSystem& base = Native()) : base_(base) {}

    int calls = 0;
    int strike_at = 0;  // the call at which it strikes; 0: never
    After after = After::GoesOn;
    std::function<void(const Change&)> strike = Fail;  // raises, or never returns; half of a write has happened
    std::function<void(const Change&)> before;         // called before each of them; does what others do meanwhile
    std::vector<Change> changes;                       // noted while `notes`; those of lock files are not
    bool notes = false;

    // A full disk, or one that does not take what was written.
    [[noreturn]] static void Fail(const Change& change) {
        if (change.IsSync()) Raise(ErrorNumber::DiskError, {FromNativePath(change.path), u"测试"});
        Raise(ErrorNumber::DiskFull, {FromNativePath(change.path)});
    }

    std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) override {
        if ((mode == OpenMode::Create || mode == OpenMode::CreateNew) && !base_.Exists(path)) {
            names_.erase(path);
            Do({Change::Kind::Create, path, NumberOf(path)}, [] {});
        }
        return std::make_unique<Opened>(*this, path, NumberOf(path), base_.Open(path, mode));
    }
    bool Exists(const std::filesystem::path& path) override { return base_.Exists(path); }
    void Remove(const std::filesystem::path& path) override {
        if (!base_.Exists(path)) return;
        Do({Change::Kind::Remove, path, NumberOf(path)}, [&] { base_.Remove(path); });
        names_.erase(path);
    }
    void Rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
        const int file = NumberOf(from);
        Do({.kind = Change::Kind::Rename, .path = from, .file = file, .to = to}, [&] { base_.Rename(from, to); });
        names_.erase(from);
        names_[to] = file;
    }
    void SyncFolder(const std::filesystem::path& folder) override {
        Do({Change::Kind::SyncFolder, folder}, [&] { base_.SyncFolder(folder); });
    }

private:
    int NumberOf(const std::filesystem::path& path) { return names_.try_emplace(path, ++last_number_).first->second; }

    // Locks are no part of what must survive.
    void Do(
        Change change, const std::function<void()>& body, const std::function<void()>& half = [] {}) {
        if (change.path.extension() == ".ldb") return body();
        ++calls;
        if (before) before(change);
        const bool strikes = strike_at != 0 && (calls == strike_at || (after == After::Dead && calls > strike_at));
        change.failed = strikes;
        if (strikes) change.bytes.resize(change.bytes.size() / 2);
        if (notes) changes.push_back(change);
        if (!strikes) return body();
        if (calls == strike_at) half();
        strike(change);
    }

    class Opened : public File {
    public:
        Opened(ScriptedFiles& system, std::filesystem::path path, int number, std::unique_ptr<File> file)
            : system_(system), path_(std::move(path)), number_(number), file_(std::move(file)) {}
        std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
            return file_->ReadAt(offset, out);
        }
        void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
            Change change{Change::Kind::Write, path_, number_, offset};
            if (system_.notes) change.bytes.assign(bytes.begin(), bytes.end());
            system_.Do(
                std::move(change), [&] { file_->WriteAt(offset, bytes); },
                [&] { file_->WriteAt(offset, bytes.first(bytes.size() / 2)); });
        }
        std::uint64_t Size() override { return file_->Size(); }
        void Resize(std::uint64_t size) override {
            system_.Do({Change::Kind::Resize, path_, number_, size}, [&] { file_->Resize(size); });
        }
        void Sync() override {
            system_.Do({Change::Kind::Sync, path_, number_}, [&] { file_->Sync(); });
        }
        bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
            return file_->TryLock(offset, length, kind);
        }
        void Unlock(std::uint64_t offset, std::uint64_t length) override { file_->Unlock(offset, length); }
        bool TryLockThrough(std::uint64_t gate) override { return file_->TryLockThrough(gate); }
        bool IsLockedByOthers(std::uint64_t offset, std::uint64_t length) override {
            return file_->IsLockedByOthers(offset, length);
        }
        bool IsAt(const std::filesystem::path& path) override { return file_->IsAt(path); }

    private:
        ScriptedFiles& system_;
        std::filesystem::path path_;
        int number_;
        std::unique_ptr<File> file_;
    };

    FileSystem& base_;
    std::map<std::filesystem::path, int> names_;
    int last_number_ = 0;
};

}  // namespace qmtrain::test
