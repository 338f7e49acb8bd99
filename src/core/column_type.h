// The types of columns, as CREATE TABLE names them.
#pragma once

#include <cstdint>

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

}  // namespace qmtrain
