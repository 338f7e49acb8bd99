// What a column of a table is like, wherever the table is kept.
#pragma once

#include <cstddef>
#include <limits>
#include <string>

#include "core/column_type.h"
#include "core/validation_rule.h"

namespace qmtrain {

// Stands for "none" where the position of a column, slot, table or index is expected.
inline constexpr std::size_t kNoPosition = std::numeric_limits<std::size_t>::max();

struct Column {
    std::u16string name = {};
    ColumnType type = ColumnType::Text;
    int size = 0;             // Text: characters, Binary: bytes; 0: the most possible, or another type
    int precision = 0;        // Decimal: digits in all, 0: 18
    int scale = 0;            // Decimal: digits after the point
    bool autonumber = false;  // numbers itself
    bool required = false;    // refuses Null
    bool allow_zero_length = true;
    std::u16string default_expression = {};  // in SQL, empty when there is none
    ValidationRule validation = {};          // about this column alone, which need not be named in it
};

}  // namespace qmtrain
