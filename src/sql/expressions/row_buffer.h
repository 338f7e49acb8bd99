// Rows of values held in memory.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/value.h"
#include "core/work.h"

namespace qmtrain::sql {

// What a value holds besides itself.
inline std::size_t BytesBeside(const Value& value) {
    constexpr std::size_t kWithin = 8;
    if (value.IsText()) return value.Text().size() < kWithin ? 0 : value.Text().capacity() * sizeof(char16_t);
    return value.GetType() == Value::Type::Binary ? value.Binary().capacity() : 0;
}

// All rows have one width, and they never move.
class RowBuffer {
public:
    void Reset(std::size_t width);
    std::size_t Size() const { return size_; }

    // A new row of Empty values. The texts of the one before are counted now.
    Value* Add();

    // Accounts for bytes added to a row already counted.
    void Grown(std::size_t bytes) { held_.Cover(bytes_ += bytes); }

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
    std::size_t bytes_ = 0;  // of the rows, without the texts of the last one
    HeldMemory held_;
    std::vector<std::unique_ptr<Value[]>> blocks_;
};

}  // namespace qmtrain::sql
