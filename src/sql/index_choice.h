// Which index of a table serves a set of conditions best.
#pragma once

#include <vector>

#include "sql/planner.h"
#include "sql/table_access.h"

namespace qmtrain::sql {

struct IndexChoice {
    IndexAccess access;
    double rows = 0;       // expected for one set of values
    bool ordered = false;  // in the order that was wished for
};

// The best choice among the conditions whose other side depends on `available` only (and on outer queries). No index
// when none fits.
IndexChoice ChooseIndex(TableSource& source, const std::vector<Conjunct*>& conjuncts, SourceSet available,
                        const std::vector<SortKey>& order = {});

// How many rows a value of these columns is expected to have: 1 when they are unique, fewer the more columns.
double ExpectedMatches(TableSource& source, const std::vector<const Comparison*>& equalities);

// A column of the source, or null when the expression is something else.
const SlotExpression* AsColumnOf(const Expression* expression, const Source& source);

}  // namespace qmtrain::sql
