// The pieces of BindSelect().
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "sql/binding/binder.h"

namespace qmtrain::sql {

// One SELECT by itself, in the order of the ORDER BY that follows it or the whole UNION.
std::unique_ptr<Plan> BindPart(BindContext& context, const ast::SelectPart& part,
                               const std::vector<ast::OrderItem>& order_by, Scope* parent);

std::unique_ptr<Plan> BindUnion(BindContext& context, const ast::Select& select, Scope* parent);

// The output that an ORDER BY item names by position; nothing when it is no position. Raises SyntaxInOrderBy when there
// is no such output.
std::optional<std::size_t> OrdinalOf(const ast::OrderItem& item, std::size_t outputs);

}  // namespace qmtrain::sql
