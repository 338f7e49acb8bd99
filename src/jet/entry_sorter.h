// Sorts any number of index entries in bounded memory: in runs, which wait on a temporary file and are merged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "core/files.h"
#include "core/value.h"

namespace qmtrain::jet {

class EntrySorter {
public:
    explicit EntrySorter(FileSystem& system, std::size_t memory = std::size_t{8} << 20);
    ~EntrySorter();

    // At most 64 KiB. Raises DiskFull or DiskError when the temporary file does not take a run.
    void Add(std::span<const std::uint8_t> entry);

    // The entries in the order of their bytes; false at the end. No more are added then.
    bool Next(Bytes& entry);

private:
    class Run;

    void SortMemory();
    void WriteRun();

    FileSystem& system_;
    std::size_t memory_;
    Bytes bytes_;                         // of the entries in memory, each after its u16 length
    std::vector<std::uint32_t> entries_;  // where each begins
    std::size_t next_ = 0;                // when all of them fit into memory
    std::unique_ptr<File> file_;
    std::uint64_t written_ = 0;
    std::vector<std::unique_ptr<Run>> runs_;  // the ones not at their end, as a heap with the least entry first
    bool sorted_ = false;
};

}  // namespace qmtrain::jet
