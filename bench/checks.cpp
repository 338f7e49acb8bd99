// What the questions about files and folders, which keep strangers out, cost of opening a database and of a commit.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "core/files.h"
#include "jet/database.h"
#include "measure.h"

namespace {

using namespace qmtrain;
using namespace qmtrain::jet;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// The system's files; the questions are timed, whatever else is asked of them is not.
class TimedFiles : public FileSystem {
public:
    template <class Body>
    auto Timed(Body body) {
        const auto start = Clock::now();
        auto result = body();
        seconds += std::chrono::duration<double>(Clock::now() - start).count();
        ++questions;
        return result;
    }

    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) override {
        return std::make_unique<Opened>(*this, base_.Open(path, mode));
    }
    std::unique_ptr<File> OpenPlain(const fs::path& path, OpenMode mode) override {
        return std::make_unique<Opened>(*this, base_.OpenPlain(path, mode));
    }
    bool Exists(const fs::path& path) override { return base_.Exists(path); }
    void Remove(const fs::path& path) override { base_.Remove(path); }
    void Rename(const fs::path& from, const fs::path& to) override { base_.Rename(from, to); }
    void RenameToNew(const fs::path& from, const fs::path& to) override { base_.RenameToNew(from, to); }
    void SyncFolder(const fs::path& folder) override { base_.SyncFolder(folder); }

    bool KeepsLocks(File& file, const fs::path& path, std::uint64_t offset) override {
        return Timed([&] { return base_.KeepsLocks(Inner(file), path, offset); });
    }
    std::optional<bool> KnownToKeepLocks(File& file) override {
        return Timed([&] { return base_.KnownToKeepLocks(Inner(file)); });
    }
    bool IsByWriterOf(const fs::path& path, File& file) override {
        return Timed([&] { return base_.IsByWriterOf(path, Inner(file)); });
    }
    bool HasOwnerOf(const fs::path& path, File& file) override {
        return Timed([&] { return base_.HasOwnerOf(path, Inner(file)); });
    }
    FileKind Look(const fs::path& path) override {
        return Timed([&] { return base_.Look(path); });
    }
    fs::path RealPath(const fs::path& path) override {
        return Timed([&] { return base_.RealPath(path); });
    }

    double seconds = 0;
    int questions = 0;

private:
    class Opened : public File {
    public:
        Opened(TimedFiles& system, std::unique_ptr<File> file) : system_(system), file_(std::move(file)) {}

        File& Inner() { return *file_; }

        // A database is told from its twins by samples of its content; pages are read whole.
        std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
            if (out.size() > kSample) return file_->ReadAt(offset, out);
            return system_.Timed([&] { return file_->ReadAt(offset, out); });
        }
        std::size_t ReadParts(std::uint64_t offset, std::span<const std::span<std::uint8_t>> parts) override {
            return file_->ReadParts(offset, parts);
        }
        void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
            file_->WriteAt(offset, bytes);
        }
        std::uint64_t Size() override { return file_->Size(); }
        void Resize(std::uint64_t size) override { file_->Resize(size); }
        void Sync() override { file_->Sync(); }
        bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
            return file_->TryLock(offset, length, kind);
        }
        void Unlock(std::uint64_t offset, std::uint64_t length) override { file_->Unlock(offset, length); }
        bool IsLocked(std::uint64_t offset, std::uint64_t length) override { return file_->IsLocked(offset, length); }
        bool IsLockedByOthers(std::uint64_t offset, std::uint64_t length) override {
            return file_->IsLockedByOthers(offset, length);
        }
        std::optional<LockHolder> FindLockHolder(std::uint64_t offset, std::uint64_t length) override {
            return file_->FindLockHolder(offset, length);
        }
        bool TryLockThrough(std::uint64_t gate) override { return file_->TryLockThrough(gate); }
        void LetAllRead() override { file_->LetAllRead(); }

        void ShareLike(File& other, bool secret) override {
            system_.Timed([&] {
                file_->ShareLike(system_.Inner(other), secret);
                return true;
            });
        }
        bool HasRightsOf(File& other) override {
            return system_.Timed([&] { return file_->HasRightsOf(system_.Inner(other)); });
        }
        bool MoreMayWriteThan(File& other) override {
            return system_.Timed([&] { return file_->MoreMayWriteThan(system_.Inner(other)); });
        }
        bool IsByWriterOf(File& other) override {
            return system_.Timed([&] { return file_->IsByWriterOf(system_.Inner(other)); });
        }
        bool IsAt(const fs::path& path) override {
            return system_.Timed([&] { return file_->IsAt(path); });
        }
        bool HasOneName() override {
            return system_.Timed([&] { return file_->HasOneName(); });
        }

    private:
        static constexpr std::size_t kSample = 512;

        TimedFiles& system_;
        std::unique_ptr<File> file_;
    };

    static File& Inner(File& file) { return dynamic_cast<Opened&>(file).Inner(); }

    FileSystem& base_ = Native();
};

void Print(const char* what, const TimedFiles& files, double seconds, int times) {
    std::printf("%-24s %7.1f us, of which %2d questions %5.2f us: %.1f %%\n", what, seconds / times * 1e6,
                files.questions / times, files.seconds / times * 1e6, 100 * files.seconds / seconds);
}

void Run(const fs::path& folder) {
    constexpr int kOpenings = 2000;
    constexpr int kCommits = 1000;
    const fs::path path = folder / "checks.mdb";
    {
        const auto database = Database::Create(path);
        Database::Writing writing(*database);
        database->CreateTable({.name = u"T",
                               .columns = {{.name = u"N", .type = ColumnType::Long}},
                               .indexes = {{.name = u"PrimaryKey", .columns = {{u"N"}}, .primary = true}}});
        writing.Commit();
    }
    TimedFiles opening;
    const double opened = bench::Seconds([&] {
        for (int i = 0; i < kOpenings; ++i) {
            const auto database = Database::Open(path, {.system = &opening});
            const Database::Reading reading(*database);
            database->FindTable(u"T");
        }
    });
    Print("open, find a table", opening, opened, kOpenings);

    TimedFiles committing;
    const auto database = Database::Open(path, {.system = &committing});
    {
        const Database::Reading reading(*database);
        database->FindTable(u"T");
    }
    committing.seconds = 0;
    committing.questions = 0;
    const double committed = bench::Seconds([&] {
        for (int i = 0; i < kCommits; ++i) {
            Database::Writing writing(*database);
            database->FindTable(u"T")->Insert(std::vector<Value>{i});
            writing.Commit();
        }
    });
    Print("a row in a transaction", committing, committed, kCommits);
}

}  // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / "qmtrain-bench-checks";
    int result = EXIT_SUCCESS;
    try {
        fs::remove_all(folder);
        fs::create_directories(folder);
        Run(folder);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        result = EXIT_FAILURE;
    }
    fs::remove_all(folder);
    return result;
}
