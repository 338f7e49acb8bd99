// Whether a row is still the one that it was: a row's place may have been given to another row.
#pragma once

#include <cstdint>
#include <vector>

#include "sql/storage.h"

namespace qmtrain::sql {

// A number that identifies a row, made of the values of its primary key, or another unique index without Nulls; of all
// its values where the table has neither. A server's row is identified by its RowId.
class RowIdentity {
public:
    explicit RowIdentity(const Table& table);

    // Whether it stays the same when other columns change.
    bool IsByKey() const { return by_place_ || !columns_.empty(); }

    // Of the row that the cursor stands on; never 0.
    std::uint64_t Of(Cursor& cursor);

private:
    std::uint64_t HashOf(const Value& value);

    bool by_place_;
    bool has_images_;
    std::size_t width_;
    std::vector<std::size_t> columns_;
    Value value_;
    std::vector<std::uint8_t> bytes_;
};

}  // namespace qmtrain::sql
