#include "sql/expressions/row_buffer.h"

#include "core/work.h"

namespace qmtrain::sql {

void RowBuffer::Reset(std::size_t width) {
    blocks_.clear();
    width_ = width;
    size_ = 0;
}

Value* RowBuffer::Add() {
    const bool first = size_ == 0;
    if (first || (size_ >= kFirstRows && (size_ - kFirstRows) % kBlockRows == 0)) {
        const std::size_t rows = first ? kFirstRows : kBlockRows;
        Work::Hold((size_ + rows) * width_ * sizeof(Value));
        blocks_.push_back(std::make_unique<Value[]>(rows * width_));
    }
    return At(size_++);
}

}  // namespace qmtrain::sql
