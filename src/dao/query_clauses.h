// How MSysQueries keeps the clauses of a statement.
#pragma once

#include <cstdint>

namespace qmtrain::dao {

// The clause that a row of MSysQueries belongs to.
enum class Clause : std::uint8_t {
    Start = 0,
    Kind = 1,
    Parameter = 2,
    Options = 3,
    Table = 5,
    Output = 6,
    Join = 7,
    Where = 8,
    GroupBy = 9,
    Having = 10,
    OrderBy = 11,
    End = 255
};

// Bits of an Options row.
inline constexpr int kAllColumns = 0x1;
inline constexpr int kDistinct = 0x2;
inline constexpr int kDistinctRow = 0x8;
inline constexpr int kTop = 0x10;
inline constexpr int kPercent = 0x20;

// Of a Kind row.
inline constexpr int kSelectQuery = 1;

}  // namespace qmtrain::dao
