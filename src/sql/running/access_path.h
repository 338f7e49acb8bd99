// Access paths to the rows of a table: a scan, or ranges of its indexes.
#pragma once

#include <vector>

#include "sql/expressions/expression.h"

namespace qmtrain::sql {

// One end of a range on the column after the fixed ones. `value` belongs to the plan.
struct RangeEnd {
    Expression* value = nullptr;
    bool inclusive = true;
};

// Which part of which index. The values are computed each time the access is opened, so that they may come from the
// left side of a join or from an outer query.
struct IndexAccess {
    std::size_t index = kNoPosition;
    std::vector<Expression*> equal;  // for the first columns of the index
    ValueList* list = nullptr;       // the column at `list_at`, null in `equal`, has one of these values
    std::size_t list_at = kNoPosition;
    RangeEnd low;
    RangeEnd high;
    Expression* pattern = nullptr;  // a LIKE pattern for the column after the fixed ones
    bool backwards = false;
};

// The rows found include all that satisfy the conditions it was made from; the conditions themselves are tested above.
struct AccessPath {
    std::vector<IndexAccess> parts;      // rows that are in any of them; none: all rows
    std::vector<const Expression*> met;  // conditions that the rows found are known to satisfy
    bool exact = false;                  // these are all of them
    bool ordered = false;                // in the order of the one index
};

// The index that has this column first, in the order of comparisons; kNoPosition when there is none.
std::size_t IndexOrderedBy(const Table& table, std::size_t column);

// What access costs, in rows read by a plain scan.
inline constexpr double kSeekCost = 6;
inline constexpr double kIndexRowCost = 3;

}  // namespace qmtrain::sql
