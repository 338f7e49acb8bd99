// The expressions that an expression is made of. Those of its sub-queries are not among them.
#pragma once

#include "sql/ast.h"

namespace qmtrain::sql {

// Calls `visit` with each part that there is. Of a constant expression the parts are constant too.
template <class Tree, class Visit>
void ForParts(Tree& expression, Visit visit) {
    using ast::ExpressionKind;
    const auto visit_all = [&](auto&... parts) { ((parts != nullptr ? visit(parts) : void()), ...); };
    switch (expression.kind) {
        case ExpressionKind::Literal:
        case ExpressionKind::ColumnName:
        case ExpressionKind::Exists:
        case ExpressionKind::SubSelect: return;
        case ExpressionKind::Unary: return visit_all(As<ast::Unary>(expression).operand);
        case ExpressionKind::Binary: {
            auto& binary = As<ast::Binary>(expression);
            return visit_all(binary.left, binary.right);
        }
        case ExpressionKind::Between: {
            auto& between = As<ast::Between>(expression);
            return visit_all(between.subject, between.low, between.high);
        }
        case ExpressionKind::IsNull: return visit_all(As<ast::IsNull>(expression).subject);
        case ExpressionKind::InSelect: return visit_all(As<ast::InSelect>(expression).subject);
        case ExpressionKind::Quantified: return visit_all(As<ast::Quantified>(expression).subject);
        case ExpressionKind::InList: {
            auto& in = As<ast::InList>(expression);
            visit_all(in.subject);
            for (auto& item : in.items) visit_all(item);
            return;
        }
        case ExpressionKind::Call:
            for (auto& argument : As<ast::Call>(expression).arguments) visit_all(argument);
            return;
    }
}

}  // namespace qmtrain::sql
