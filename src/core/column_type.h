// The types of columns, as CREATE TABLE names them.
#pragma once

#include <cstdint>

#include "core/value.h"

namespace qmtrain {

enum class ColumnType : std::uint8_t {
    Boolean,
    Byte,
    Integer,  // 16 bits
    Long,
    Currency,
    Single,
    Double,
    Date,
    Binary,
    Text,
    LongBinary,
    Memo,
    Guid,  // its values are texts "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"
    Decimal,
};

inline bool IsLongValue(ColumnType type) {
    return type == ColumnType::Memo || type == ColumnType::LongBinary;
}
inline bool IsText(ColumnType type) {
    return type == ColumnType::Text || type == ColumnType::Memo;
}

// The type of the values that a column holds.
Value::Type ValueTypeOf(ColumnType type);

}  // namespace qmtrain
