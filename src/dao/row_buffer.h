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

    void Add(const std::vector<Value>& row);

    // Requires: the row is there, and `row` is as wide as it was.
    void Get(std::size_t number, std::vector<Value>& row) const;

private:
    std::uint8_t* Room(std::size_t size);

    std::vector<std::unique_ptr<std::uint8_t[]>> blocks_;
    std::size_t free_ = 0;  // bytes left in the last block
    std::uint8_t* next_ = nullptr;
    std::vector<const std::uint8_t*> rows_;
};

}  // namespace qmtrain::dao
