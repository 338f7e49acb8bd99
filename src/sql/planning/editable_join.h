// Joins whose rows can be edited: each row of one table, the many side, is in one row of the join at most, because the
// rows of all other tables are found by their unique keys.
#pragma once

#include <span>
#include <vector>

#include "sql/planning/join_tree.h"
#include "sql/running/row_lookup.h"

namespace qmtrain::sql {

struct EditableJoin {
    std::size_t table = kNoPosition;  // the many side, in the order of the sources; none: the join cannot be edited
    std::vector<RowLookup> lookups;
};

// Requires: all sources are tables.
EditableJoin FindEditableJoin(std::span<TableSource* const> sources, const JoinNode& root,
                              const std::vector<Conjunct>& where);

}  // namespace qmtrain::sql
