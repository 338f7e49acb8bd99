// Chooses how the rows of a SELECT come about: how its tables are reached, whether the rows of a join can be edited,
// what groups, sorts and cuts off.
#pragma once

#include <optional>
#include <vector>

#include "sql/ast.h"
#include "sql/expressions/aggregate.h"
#include "sql/planning/conditions.h"
#include "sql/planning/join_tree.h"
#include "sql/running/plan.h"
#include "sql/running/sort.h"

namespace qmtrain::sql {

// A SELECT whose names are known. The plan keeps what is only pointed to here.
struct BoundSelect {
    std::vector<Source*> tables;      // of the FROM clause, in its order
    std::unique_ptr<JoinNode> joins;  // null without tables
    std::vector<Conjunct> where;
    bool distinct = false;
    bool distinct_row = false;
    std::optional<ast::Top> top;
    std::vector<SortKey> order;

    bool grouped = false;
    RowsSource* groups = nullptr;  // a row for each group: the keys, followed by the aggregates
    std::vector<Expression*> keys;
    std::vector<Aggregate> aggregates;
    Expression* having = nullptr;
};

// Adds the rows to a plan that has its sources and outputs.
void PlanSelect(Plan& plan, BoundSelect& select);

}  // namespace qmtrain::sql
