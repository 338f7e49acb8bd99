// Rows of values held in memory.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/value.h"

namespace qmtrain::sql {

// All rows have one width, and they never move.
class RowBuffer {
public:
    void Reset(std::size_t width);
    std::size_t Size() const { return size_; }

    // A new row of Empty values.
    Value* Add();

    Value* At(std::size_t row) {
        if (row < kFirstRows) return blocks_[0].get() + row * width_;
        row -= kFirstRows;
        return blocks_[1 + row / kBlockRows].get() + row % kBlockRows * width_;
    }

private:
    static constexpr std::size_t kFirstRows = 4;  // of the first block: many results are a row or two
    static constexpr std::size_t kBlockRows = 256;

    std::size_t width_ = 0;
    std::size_t size_ = 0;
    std::vector<std::unique_ptr<Value[]>> blocks_;
};

}  // namespace qmtrain::sql
