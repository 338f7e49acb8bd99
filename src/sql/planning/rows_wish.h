// What a SELECT wants of the rows of its tables.
#pragma once

#include <cstddef>
#include <vector>

#include "sql/running/sort.h"

namespace qmtrain::sql {

// What is asked for beyond the rows themselves.
struct RowsWish {
    std::vector<SortKey> order;  // the order in which they are wanted
    std::size_t limit = 0;       // no more than the first so many of them will be read; 0: all
    bool count = false;          // only their number
};

}  // namespace qmtrain::sql
