// Field types by DAO's numbers.
#pragma once

#include <cstdint>

#include "sql/storage.h"

namespace qmtrain::dao {

enum class FieldType : std::int16_t {
    Boolean = 1,
    Byte = 2,
    Integer = 3,
    Long = 4,
    Currency = 5,
    Single = 6,
    Double = 7,
    Date = 8,
    Binary = 9,
    Text = 10,
    LongBinary = 11,
    Memo = 12,
    Guid = 15,
    Decimal = 20,
};

FieldType FieldTypeOf(sql::ColumnType type);

// Bytes of a number, characters of a text; 0 for memo and OLE.
int FieldSizeOf(sql::ColumnType type, int size);

}  // namespace qmtrain::dao
