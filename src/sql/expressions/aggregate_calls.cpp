#include "sql/aggregate_calls.h"

#include "core/text.h"
#include "sql/expression_parts.h"
#include "sql/expressions/aggregate.h"

namespace qmtrain::sql {

bool IsAggregate(std::u16string_view name) {
    AggregateKind kind = AggregateKind::Count;
    return FindAggregate(name, kind);
}

bool IsAggregate(const ast::Expression& expression) {
    return expression.kind == ast::ExpressionKind::Call && IsAggregate(ToUpper(As<ast::Call>(expression).name));
}

bool ContainsAggregate(const ast::Expression& expression) {
    bool found = IsAggregate(expression);
    ForParts(expression, [&](const ast::ExpressionPtr& part) { found = found || ContainsAggregate(*part); });
    return found;
}

}  // namespace qmtrain::sql
