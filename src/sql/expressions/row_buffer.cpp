#include "sql/expressions/row_buffer.h"

namespace qmtrain::sql {

void RowBuffer::Reset(std::size_t width) {
    blocks_.clear();
    held_.Release();
    width_ = width;
    size_ = 0;
    bytes_ = 0;
}

Value* RowBuffer::Add() {
    const bool first = size_ == 0;
    if (!first) {
        const Value* last = At(size_ - 1);
        for (std::size_t i = 0; i < width_; ++i) bytes_ += BytesBeside(last[i]);
        held_.Cover(bytes_);
    }
    if (first || (size_ >= kFirstRows && (size_ - kFirstRows) % kBlockRows == 0)) {
        const std::size_t rows = first ? kFirstRows : kBlockRows;
        Grown(rows * width_ * sizeof(Value));
        blocks_.push_back(std::make_unique<Value[]>(rows * width_));
    }
    return At(size_++);
}

}  // namespace qmtrain::sql
