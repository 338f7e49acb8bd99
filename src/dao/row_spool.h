// Any number of rows in bounded memory: beyond some MiB they wait on a temporary file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/files.h"
#include "core/value.h"

namespace qmtrain::dao {

class RowSpool {
public:
    std::size_t Size() const { return size_; }

    // Adds a row value by value; one that was not ended is none. End() raises DiskFull or DiskError when the temporary
    // file does not take it.
    void Begin() { pending_.clear(); }
    void Append(const Value& value);
    void End();

    // Requires: the row is there, and `row` is as wide as it was.
    void Get(std::size_t number, std::vector<Value>& row) const;

    // Of all rows; of those in memory.
    std::size_t Bytes() const { return bytes_; }
    std::size_t HeldBytes() const { return held_; }

    void Clear();

private:
    // Consecutive rows, in memory or in the file.
    struct Chunk {
        std::size_t first_row = 0;
        std::vector<std::uint32_t> begins;  // of the rows
        std::vector<std::uint8_t> bytes;
        std::uint64_t place = 0;
        std::uint32_t rows_in_file = 0;  // none: it is in memory
        std::uint32_t bytes_in_file = 0;
    };

    void WriteOut(Chunk& chunk);
    const Chunk& Load(std::size_t chunk) const;

    std::vector<std::uint8_t> pending_;
    std::vector<Chunk> chunks_;
    std::size_t size_ = 0;
    std::size_t bytes_ = 0;
    std::size_t held_ = 0;
    std::unique_ptr<File> file_;
    std::uint64_t file_size_ = 0;
    mutable Chunk loaded_;  // the one that was last read from the file
    mutable std::size_t loaded_from_ = 0;
    mutable std::size_t looked_at_ = 0;  // the chunk of the last row that was got
};

}  // namespace qmtrain::dao
