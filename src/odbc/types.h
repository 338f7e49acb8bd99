// What a server says of its tables, in the types of Access.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/column.h"

namespace qmtrain::odbc {

struct ServerColumn {
    std::u16string name;
    ColumnType type = ColumnType::Text;
    int size = 0;  // Text: characters, Binary: bytes; else 0
    int precision = 0;
    int scale = 0;
    bool required = false;
    bool autonumber = false;  // the server numbers it

    // As ODBC has it.
    std::int16_t odbc_type = 0;
    std::uint32_t odbc_size = 0;
    std::int16_t odbc_scale = 0;
};

// Whether it holds times of which the values here have the whole seconds alone.
bool IsFineTime(std::int16_t odbc_type, std::int16_t odbc_scale);

// A column of a result, as it will be read.
struct ResultColumn {
    ColumnType type = ColumnType::Text;
    int size = 0;  // Text: characters; 0 when nobody knows
    std::u16string_view name{};
};

struct TableDescription {
    std::u16string schema;
    std::u16string name;
    std::vector<ServerColumn> columns;
    std::u16string key_name;

    // Positions of columns; empty: no unique index by whose values here rows are told apart.
    std::vector<std::size_t> key;
};

}  // namespace qmtrain::odbc
