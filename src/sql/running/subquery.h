// Sub-queries within expressions. One that depends on nothing outside is run only once.
#pragma once

#include <memory>

#include "sql/ast.h"
#include "sql/running/plan.h"

namespace qmtrain::sql {

// The single value of the single row, Null when there is no row. Raises SubqueryManyRows while evaluating.
ExpressionPtr MakeSubqueryValue(std::unique_ptr<Plan> plan);

ExpressionPtr MakeExists(std::unique_ptr<Plan> plan);

// `subject op` every value of the plan, or any of them.
ExpressionPtr MakeQuantified(ast::BinaryOperator op, ExpressionPtr subject, std::unique_ptr<Plan> plan, bool all);
ExpressionPtr MakeInSelect(ExpressionPtr subject, std::unique_ptr<Plan> plan, bool negated);

}  // namespace qmtrain::sql
