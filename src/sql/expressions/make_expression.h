// Expressions made of others by the operators: arithmetic, comparison, logic.
#pragma once

#include "sql/ast.h"
#include "sql/expressions/expression.h"

namespace qmtrain::sql {

// Work on a longer text (in UTF-16 units) checks for cancellation itself: the checks between rows would come too late.
inline constexpr std::size_t kLongText = 4096;

// Raises CriteriaTypeMismatch when no two values of these types could be compared.
void CheckComparable(Value::Type a, Value::Type b);

bool IsComparison(ast::BinaryOperator op);

// `a op b` for any binary operator. Raises CriteriaTypeMismatch when the types already show that it cannot work.
ExpressionPtr MakeBinary(ast::BinaryOperator op, ExpressionPtr left, ExpressionPtr right);
ExpressionPtr MakeUnary(ast::UnaryOperator op, ExpressionPtr operand);

ExpressionPtr MakeComparison(ast::BinaryOperator op, ExpressionPtr left, ExpressionPtr right);
ExpressionPtr MakeArithmetic(ast::BinaryOperator op, ExpressionPtr left, ExpressionPtr right);
ExpressionPtr MakeNegation(ExpressionPtr operand);
ExpressionPtr MakeLogic(ast::BinaryOperator op, ExpressionPtr left, ExpressionPtr right);
ExpressionPtr MakeLike(ExpressionPtr subject, ExpressionPtr pattern);
ExpressionPtr MakeBetween(ExpressionPtr subject, ExpressionPtr low, ExpressionPtr high, bool negated);
ExpressionPtr MakeIsNull(ExpressionPtr subject, bool negated);
ExpressionPtr MakeInList(ExpressionPtr subject, std::vector<ExpressionPtr> items, bool negated);

}  // namespace qmtrain::sql
