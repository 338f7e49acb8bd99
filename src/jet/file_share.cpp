#include "jet/file_share.h"

#include <utility>

namespace qmtrain::jet {
namespace {

constexpr std::chrono::milliseconds kLookForEnginesEvery(50);

}  // namespace

FileShare::FileShare(FileSystem& system, PageFile& file, std::chrono::milliseconds timeout)
    : file_(file), locks_(system, file.Path(), file.Handle(), timeout) {}

// A writer asks for his lock before he reads, so a reader never waits for a writer that waits for readers.
void FileShare::LockToChange() {
    locks_.LockReserved();
    RequireNoOtherEngine();
    locks_.LockShared();
}

bool FileShare::NoticeChanges() {
    std::vector<std::uint8_t> counters = file_.CommitCounters();
    const std::uint64_t size = file_.Size();
    if (counters == counters_ && size == size_) return false;
    counters_ = std::move(counters);
    size_ = size;
    return true;
}

void FileShare::NoticeOtherEngines() {
    const auto now = std::chrono::steady_clock::now();
    if (now - looked_for_engines_ >= kLookForEnginesEvery) {
        looked_for_engines_ = now;
        if (std::exchange(with_other_engine_, locks_.SeesOtherEngine())) counters_.clear();
    }
    if (with_other_engine_) counters_.clear();
}

void FileShare::RequireNoOtherEngine() {
    if (locks_.SeesOtherEngine(true)) Raise(ErrorNumber::FileInUse, {file_.Name()});
    if (std::exchange(with_other_engine_, false)) counters_.clear();
}

void FileShare::Committed(std::vector<std::uint8_t> counters, std::uint64_t size) noexcept {
    counters_ = std::move(counters);
    size_ = size;
}

}  // namespace qmtrain::jet
