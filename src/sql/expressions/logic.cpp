// And, Or, Not and their kin, in three-valued logic.
#include "core/error.h"
#include "sql/expressions/make_expression.h"

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;

Truth Not(Truth a) {
    return a == Truth::Unknown ? a : MakeTruth(a == Truth::False);
}

Truth Or(Truth a, Truth b) {
    if (a == Truth::True || b == Truth::True) return Truth::True;
    return a == Truth::False && b == Truth::False ? Truth::False : Truth::Unknown;
}

Truth Combine(BinaryOperator op, Truth a, Truth b) {
    const bool unknown = a == Truth::Unknown || b == Truth::Unknown;
    switch (op) {
        case BinaryOperator::And: return Not(Or(Not(a), Not(b)));
        case BinaryOperator::Or: return Or(a, b);
        case BinaryOperator::Imp: return Or(Not(a), b);
        case BinaryOperator::Xor: return unknown ? Truth::Unknown : MakeTruth(a != b);
        default: return unknown ? Truth::Unknown : MakeTruth(a == b);
    }
}

class Logic : public Condition {
public:
    Logic(BinaryOperator op, ExpressionPtr left, ExpressionPtr right)
        : op_(op), left_(std::move(left)), right_(std::move(right)) {}

    Truth Test() override {
        const Truth left = left_->Test();
        if (op_ == BinaryOperator::And && left == Truth::False) return left;
        if (op_ == BinaryOperator::Or && left == Truth::True) return left;
        return Combine(op_, left, right_->Test());
    }

private:
    BinaryOperator op_;
    ExpressionPtr left_;
    ExpressionPtr right_;
};

class Negation : public Condition {
public:
    explicit Negation(ExpressionPtr operand) : operand_(std::move(operand)) {}
    Truth Test() override { return Not(operand_->Test()); }

private:
    ExpressionPtr operand_;
};

void CheckCondition(const Expression& expression) {
    const Family family = FamilyOf(expression.Type());
    if (family == Family::Text || family == Family::Binary) Raise(ErrorNumber::CriteriaTypeMismatch);
}

}  // namespace

ExpressionPtr MakeLogic(BinaryOperator op, ExpressionPtr left, ExpressionPtr right) {
    CheckCondition(*left);
    CheckCondition(*right);
    return std::make_unique<Logic>(op, std::move(left), std::move(right));
}

ExpressionPtr MakeUnary(ast::UnaryOperator op, ExpressionPtr operand) {
    switch (op) {
        case ast::UnaryOperator::Not: CheckCondition(*operand); return std::make_unique<Negation>(std::move(operand));
        case ast::UnaryOperator::Minus: {
            const bool literal = dynamic_cast<const LiteralExpression*>(operand.get()) != nullptr;
            ExpressionPtr negation = MakeNegation(std::move(operand));
            // A negated number such as "-5" is a literal too.
            return literal ? std::make_unique<LiteralExpression>(negation->Evaluate()) : std::move(negation);
        }
        default: return operand;
    }
}

ExpressionPtr MakeBinary(BinaryOperator op, ExpressionPtr left, ExpressionPtr right) {
    if (IsComparison(op)) return MakeComparison(op, std::move(left), std::move(right));
    if (op == BinaryOperator::Like) return MakeLike(std::move(left), std::move(right));
    if (op >= BinaryOperator::And) return MakeLogic(op, std::move(left), std::move(right));
    return MakeArithmetic(op, std::move(left), std::move(right));
}

}  // namespace qmtrain::sql
