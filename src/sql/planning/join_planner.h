// Chooses how the rows of a FROM clause are brought together: which table leads, which index is used, and which side
// of a join is held in memory.
#pragma once

#include <span>
#include <vector>

#include "sql/planning/conditions.h"
#include "sql/planning/join_tree.h"
#include "sql/planning/rows_wish.h"
#include "sql/running/plan.h"

namespace qmtrain::sql {

struct JoinPlan {
    RowOperatorPtr rows;
    bool ordered = false;  // the rows come in the order that was wished for
};

// `tables`: the sources of the FROM clause, in its order. The order wished for may be satisfied by an index when there
// is a single table; otherwise it is not looked at. The plan keeps what expressions are made.
JoinPlan PlanJoins(Plan& plan, std::span<Source* const> tables, JoinNode& root, std::vector<Conjunct>& where,
                   const RowsWish& wish);

}  // namespace qmtrain::sql
