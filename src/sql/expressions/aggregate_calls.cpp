#include "sql/aggregate_calls.h"

#include <algorithm>

#include "core/text.h"
#include "sql/expressions/aggregate.h"

namespace qmtrain::sql {
namespace {

bool ContainsAggregate(const ast::ExpressionPtr& expression) {
    return expression != nullptr && sql::ContainsAggregate(*expression);
}

}  // namespace

bool IsAggregate(std::u16string_view name) {
    AggregateKind kind = AggregateKind::Count;
    return FindAggregate(name, kind);
}

bool ContainsAggregate(const ast::Expression& expression) {
    using ast::ExpressionKind;
    switch (expression.kind) {
        case ExpressionKind::Unary: return ContainsAggregate(static_cast<const ast::Unary&>(expression).operand);
        case ExpressionKind::Binary: {
            const auto& binary = static_cast<const ast::Binary&>(expression);
            return ContainsAggregate(binary.left) || ContainsAggregate(binary.right);
        }
        case ExpressionKind::Between: {
            const auto& between = static_cast<const ast::Between&>(expression);
            return ContainsAggregate(between.subject) || ContainsAggregate(between.low) ||
                   ContainsAggregate(between.high);
        }
        case ExpressionKind::IsNull: return ContainsAggregate(static_cast<const ast::IsNull&>(expression).subject);
        case ExpressionKind::InSelect: return ContainsAggregate(static_cast<const ast::InSelect&>(expression).subject);
        case ExpressionKind::Quantified:
            return ContainsAggregate(static_cast<const ast::Quantified&>(expression).subject);
        case ExpressionKind::InList: {
            const auto& in = static_cast<const ast::InList&>(expression);
            const auto contains = [](const ast::ExpressionPtr& item) { return ContainsAggregate(item); };
            return ContainsAggregate(in.subject) || std::ranges::any_of(in.items, contains);
        }
        case ExpressionKind::Call: {
            const auto& call = static_cast<const ast::Call&>(expression);
            const auto contains = [](const ast::ExpressionPtr& item) { return ContainsAggregate(item); };
            return IsAggregate(ToUpper(call.name)) || std::ranges::any_of(call.arguments, contains);
        }
        default: return false;
    }
}

}  // namespace qmtrain::sql
