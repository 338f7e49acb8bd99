// Rows of values packed into bytes: what a record set that is read-only keeps of each row it has seen.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/value.h"

namespace qmtrain::dao {

class RowBuffer {
public:
    std::size_t Size() const { return rows_.size(); }

    // Adds a row value by value.
    void Begin() { pending_.clear(); }
    void Append(const Value& value);
    void End();

    // Requires: the row is there, and `row` is as wide as it was.
    void Get(std::size_t number, std::vector<Value>& row) const;

    // The bytes of all rows.
    std::size_t Bytes() const { return bytes_; }

    // Drops all rows; the memory is kept for others.
    void Clear();

private:
    std::vector<std::unique_ptr<std::uint8_t[]>> blocks_;
    std::size_t block_size_ = 0;  // of the last block
    std::size_t free_ = 0;        // bytes left in it
    std::size_t bytes_ = 0;
    std::vector<std::uint8_t> pending_;
    std::vector<const std::uint8_t*> rows_;
};

}  // namespace qmtrain::dao
