// Chooses the cheapest access path to the rows of a table for a set of conditions.
#pragma once

#include <vector>

#include "sql/planning/conditions.h"
#include "sql/planning/rows_wish.h"
#include "sql/running/access_path.h"

namespace qmtrain::sql {

struct IndexChoice {
    AccessPath path;  // without parts: all rows, by a scan
    double rows = 0;  // expected for one set of values
    double cost = 0;  // in rows of a scan

    bool UsesIndex() const { return !path.parts.empty(); }

    // Whether it is a search for one key or several, cheap enough to be repeated for each row of another table.
    bool IsLookup() const;
};

// The best choice among the conditions whose other side depends on `available` only (and on outer queries).
IndexChoice ChooseIndex(TableSource& source, const std::vector<Conjunct*>& conjuncts, SourceSet available,
                        const RowsWish& wish = {});

}  // namespace qmtrain::sql
