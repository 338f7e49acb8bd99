// Rows packed into bytes: what a record set keeps of the rows it has seen. A row is any number of values, and may begin
// with bytes of the caller's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/value.h"

namespace qmtrain::dao {

class PackedRows {
public:
    std::size_t Size() const { return rows_.size(); }

    // Adds a row piece by piece.
    void Begin() { pending_.clear(); }
    void AppendBytes(std::span<const std::uint8_t> bytes);
    void Append(const Value& value) { Append(value, pending_); }
    void End();

    // Adds a value to bytes from which Take() takes it.
    static void Append(const Value& value, std::vector<std::uint8_t>& bytes);

    // Adds a row that is one piece of bytes.
    void AddBytes(std::span<const std::uint8_t> bytes);

    // Where a row begins, and from one piece of it to the next. Good until Clear().
    const std::uint8_t* At(std::size_t number) const { return rows_[number]; }
    static const std::uint8_t* Take(const std::uint8_t* at, std::span<const std::uint8_t>& bytes);
    static const std::uint8_t* Take(const std::uint8_t* at, Value& value);

    // The bytes of all rows.
    std::size_t Bytes() const { return bytes_; }

    // Drops all rows; the memory is kept for others.
    void Clear();

private:
    std::uint8_t* NewRow(std::size_t size);

    std::vector<std::unique_ptr<std::uint8_t[]>> blocks_;
    std::size_t block_size_ = 0;  // of the last block
    std::size_t free_ = 0;        // bytes left in it
    std::size_t bytes_ = 0;
    std::vector<std::uint8_t> pending_;
    std::vector<const std::uint8_t*> rows_;
};

}  // namespace qmtrain::dao
