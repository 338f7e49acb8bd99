// Field types of SQL's columns.
#pragma once

#include <optional>

#include "dao/types.h"
#include "sql/storage.h"

namespace qmtrain::dao {

FieldType FieldTypeOf(ColumnType type);

// Nothing where no column has that type.
std::optional<ColumnType> ColumnTypeOf(FieldType type);

// Bytes of a number, characters of a text; 0 for memo and OLE.
int FieldSizeOf(ColumnType type, int size);

}  // namespace qmtrain::dao
