// Chooses how the rows of a FROM clause are brought together: which table leads, which index is used, and which side
// of a join is held in memory.
#pragma once

#include <vector>

#include "sql/planning/join_order.h"
#include "sql/planning/rows_wish.h"
#include "sql/running/plan.h"

namespace qmtrain::sql {

struct JoinPlan {
    RowOperatorPtr rows;
    bool ordered = false;  // the rows come in the order that was wished for
};

// An index may provide the wished order when there is a single table. The plan owns the expressions that are created.
JoinPlan PlanJoins(Plan& plan, Tables tables, JoinNode& root, std::vector<Conjunct>& where, const RowsWish& wish);

}  // namespace qmtrain::sql
