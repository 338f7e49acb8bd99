// Which calls in a tree are aggregates.
#pragma once

#include <string_view>

#include "sql/ast.h"

namespace qmtrain::sql {

// Requires: the name is in capital letters.
bool IsAggregate(std::u16string_view name);

// Whether the expression itself is a call of one.
bool IsAggregate(const ast::Expression& expression);

// Whether an expression of a select has an aggregate of that select in it; sub-queries have aggregates of their own,
// which do not count.
bool ContainsAggregate(const ast::Expression& expression);

}  // namespace qmtrain::sql
