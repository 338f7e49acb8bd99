#include "jet/file_share.h"

#include <utility>

#include "core/error.h"

namespace qmtrain::jet {
namespace {

constexpr std::chrono::milliseconds kLookForEnginesEvery(50);

}  // namespace

FileShare::FileShare(FileSystem& system, PageFile& file, std::chrono::milliseconds timeout, LockFile::Waited& waited,
                     bool alone)
    : file_(file), locks_(system, file.Path(), file.Handle(), timeout, waited, alone) {}

// A writer asks for his lock before he reads, so a reader never waits for a writer that waits for readers.
void FileShare::LockToChange() {
    locks_.LockReserved(file_.Handle());
    RequireNoOtherEngine();
    locks_.LockShared();
}

bool FileShare::NoticeChanges() {
    const CommitCounters counters = file_.ReadCommitCounters();
    const std::uint64_t size = file_.Size();
    if (counters_ && counters == *counters_ && size == size_) return false;
    counters_ = counters;
    size_ = size;
    return true;
}

void FileShare::NoticeOtherEngines() {
    const auto now = std::chrono::steady_clock::now();
    if (now - looked_for_engines_ >= kLookForEnginesEvery) {
        // At the first look the lock file has just been opened.
        if (std::exchange(looked_for_engines_, now) != std::chrono::steady_clock::time_point()) locks_.ReturnToPlace();
        if (std::exchange(with_other_engine_, locks_.SeesOtherEngine())) counters_.reset();
    }
    if (with_other_engine_) counters_.reset();
}

void FileShare::RequireNoOtherEngine() {
    locks_.ReturnToPlace();
    if (!locks_.Problem().empty()) Raise(ErrorNumber::ReadOnly, {file_.Name(), locks_.Problem()});
    if (locks_.SeesOtherEngine(true)) {
        Raise(ErrorNumber::FileInUse,
              {file_.Name(), u"它正被另一种数据库程序打开，现在不能写入；请先关闭那个程序。" + locks_.OtherEngine()});
    }
    if (std::exchange(with_other_engine_, false)) counters_.reset();
}

void FileShare::Committed(const CommitCounters& counters, std::uint64_t size) noexcept {
    counters_ = counters;
    size_ = size;
}

}  // namespace qmtrain::jet
