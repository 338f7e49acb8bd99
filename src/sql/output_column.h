// A column of a query's result.
#pragma once

#include <string>

#include "core/column.h"

namespace qmtrain::sql {

struct OutputColumn {
    std::u16string name;  // alias, column name, "Table.Column" where two have one name, else "Expr1000", "Expr1001" …
    ColumnType type = ColumnType::Text;
    int size = 0;  // Text: characters, Binary: bytes; else 0
    int precision = 0;
    int scale = 0;
    bool qualified = false;  // the name is "Table.Column"

    // Where the column is a plain column of a table: the position in Query::Tables(), and in that table's Columns().
    // Else both are kNoPosition.
    std::size_t table = kNoPosition;
    std::size_t column = kNoPosition;
};

}  // namespace qmtrain::sql
