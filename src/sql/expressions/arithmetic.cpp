// Arithmetic and "&". Whole numbers give a Long and overflow as one; nothing wraps around.
#include <cmath>
#include <limits>

#include "core/convert.h"
#include "core/decimal.h"
#include "core/error.h"
#include "core/work.h"
#include "sql/expressions/functions.h"
#include "sql/expressions/make_expression.h"

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;

// How a value takes part in arithmetic. Texts count as Doubles.
enum class ArithmeticType : std::uint8_t { Unknown, Whole, Single, Double, Currency, Decimal, Date };

ArithmeticType ArithmeticTypeOf(Value::Type type) {
    switch (type) {
        case Value::Type::Boolean:
        case Value::Type::Byte:
        case Value::Type::Integer:
        case Value::Type::Long: return ArithmeticType::Whole;
        case Value::Type::Single: return ArithmeticType::Single;
        case Value::Type::Currency: return ArithmeticType::Currency;
        case Value::Type::Decimal: return ArithmeticType::Decimal;
        case Value::Type::Date: return ArithmeticType::Date;
        case Value::Type::Empty:
        case Value::Type::Null: return ArithmeticType::Unknown;
        default: return ArithmeticType::Double;
    }
}

ArithmeticType ResultType(BinaryOperator op, ArithmeticType a, ArithmeticType b) {
    if (a == ArithmeticType::Unknown || b == ArithmeticType::Unknown) return ArithmeticType::Unknown;
    if (op == BinaryOperator::Power) return ArithmeticType::Double;
    if (op == BinaryOperator::IntegerDivide || op == BinaryOperator::Modulo) return ArithmeticType::Whole;
    const bool additive = op == BinaryOperator::Add || op == BinaryOperator::Subtract;
    if (a == ArithmeticType::Date || b == ArithmeticType::Date) {
        const bool difference = op == BinaryOperator::Subtract && a == b;
        return additive && !difference ? ArithmeticType::Date : ArithmeticType::Double;
    }
    const bool inexact = a == ArithmeticType::Double || b == ArithmeticType::Double || a == ArithmeticType::Single ||
                         b == ArithmeticType::Single;
    if (a == ArithmeticType::Decimal || b == ArithmeticType::Decimal)
        return inexact ? ArithmeticType::Double : ArithmeticType::Decimal;
    if (op == BinaryOperator::Divide)
        return a == ArithmeticType::Single && b == ArithmeticType::Single ? ArithmeticType::Single
                                                                          : ArithmeticType::Double;
    if (a == b) return a;
    if (a == ArithmeticType::Double || b == ArithmeticType::Double) return ArithmeticType::Double;
    if (a == ArithmeticType::Single || b == ArithmeticType::Single) {
        return a == ArithmeticType::Currency || b == ArithmeticType::Currency ? ArithmeticType::Double
                                                                              : ArithmeticType::Single;
    }
    return ArithmeticType::Currency;
}

Value::Type TypeOf(ArithmeticType kind) {
    switch (kind) {
        case ArithmeticType::Unknown: return Value::Type::Empty;
        case ArithmeticType::Whole: return Value::Type::Long;
        case ArithmeticType::Single: return Value::Type::Single;
        case ArithmeticType::Double: return Value::Type::Double;
        case ArithmeticType::Currency: return Value::Type::Currency;
        case ArithmeticType::Decimal: return Value::Type::Decimal;
        case ArithmeticType::Date: return Value::Type::Date;
    }
    return Value::Type::Empty;
}

std::int32_t CheckedLong(std::int64_t number) {
    if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max()) {
        Raise(ErrorNumber::Overflow);
    }
    return static_cast<std::int32_t>(number);
}

double CheckedDouble(double number) {
    if (!std::isfinite(number)) Raise(ErrorNumber::Overflow);
    return number;
}

std::int32_t WholeResult(BinaryOperator op, const Value& a, const Value& b) {
    const std::int64_t left = ToLong(a);
    const std::int64_t right = ToLong(b);
    switch (op) {
        case BinaryOperator::Add: return CheckedLong(left + right);
        case BinaryOperator::Subtract: return CheckedLong(left - right);
        case BinaryOperator::Multiply: return CheckedLong(left * right);
        default: break;
    }
    if (right == 0) Raise(ErrorNumber::DivisionByZero);
    return op == BinaryOperator::Modulo ? static_cast<std::int32_t>(left % right) : CheckedLong(left / right);
}

double DoubleResult(BinaryOperator op, double a, double b) {
    switch (op) {
        case BinaryOperator::Add: return a + b;
        case BinaryOperator::Subtract: return a - b;
        case BinaryOperator::Multiply: return a * b;
        case BinaryOperator::Divide:
            if (b == 0) Raise(ErrorNumber::DivisionByZero);
            return a / b;
        default: {
            const double power = std::pow(a, b);
            if (std::isnan(power) || (a == 0 && b < 0)) Raise(ErrorNumber::InvalidProcedureCall);
            return power;
        }
    }
}

Currency CurrencyResult(BinaryOperator op, const Value& a, const Value& b) {
    constexpr long double kScale = 10000.0L;
    const std::int64_t left = ToCurrency(a).scaled;
    const std::int64_t right = ToCurrency(b).scaled;
    std::int64_t result = 0;
    bool overflow = false;
    if (op == BinaryOperator::Add) {
        overflow = __builtin_add_overflow(left, right, &result);
    } else if (op == BinaryOperator::Subtract) {
        overflow = __builtin_sub_overflow(left, right, &result);
    } else {
        const long double product =
            std::nearbyint(static_cast<long double>(left) * static_cast<long double>(right) / kScale);
        overflow = product < -9223372036854775807.0L || product > 9223372036854775807.0L;
        if (!overflow) result = static_cast<std::int64_t>(product);
    }
    if (overflow) Raise(ErrorNumber::Overflow);
    return {result};
}

Decimal DecimalResult(BinaryOperator op, const Decimal& a, const Decimal& b) {
    switch (op) {
        case BinaryOperator::Add: return Add(a, b);
        case BinaryOperator::Subtract: return Subtract(a, b);
        case BinaryOperator::Multiply: return Multiply(a, b);
        default: return Divide(a, b);
    }
}

float SingleResult(BinaryOperator op, const Value& a, const Value& b) {
    const auto single = static_cast<float>(CheckedDouble(DoubleResult(op, DoubleOf(a), DoubleOf(b))));
    if (std::isinf(single)) Raise(ErrorNumber::Overflow);
    return single;
}

class Arithmetic : public Expression {
public:
    Arithmetic(BinaryOperator op, ExpressionPtr left, ExpressionPtr right)
        : Expression(StaticType(op, left->Type(), right->Type())),
          op_(op),
          left_(std::move(left)),
          right_(std::move(right)) {}

    const Value& Evaluate() override {
        const Value& left = left_->Evaluate();
        const Value& right = right_->Evaluate();
        if (op_ == BinaryOperator::Add && left.IsText() && right.IsText()) {
            JoinTexts(left.Text(), right.Text());
            return result_;
        }
        switch (TypeFor(left.GetType(), right.GetType())) {
            case ArithmeticType::Unknown: result_ = Null{}; break;
            case ArithmeticType::Whole: result_.SetNumber(WholeResult(op_, left, right)); break;
            case ArithmeticType::Single: result_.SetNumber(SingleResult(op_, left, right)); break;
            case ArithmeticType::Double:
                result_.SetNumber(CheckedDouble(DoubleResult(op_, DoubleOf(left), DoubleOf(right))));
                break;
            case ArithmeticType::Currency: result_.SetNumber(CurrencyResult(op_, left, right)); break;
            case ArithmeticType::Decimal: result_ = DecimalResult(op_, ToDecimal(left), ToDecimal(right)); break;
            case ArithmeticType::Date:
                result_.SetNumber(ToDate(Value(DoubleResult(op_, DoubleOf(left), DoubleOf(right)))));
                break;
        }
        return result_;
    }

private:
    // Rows mostly have the types of the one before.
    ArithmeticType TypeFor(Value::Type left, Value::Type right) {
        if (left != left_type_ || right != right_type_) {
            kind_ = ResultType(op_, ArithmeticTypeOf(left), ArithmeticTypeOf(right));
            left_type_ = left;
            right_type_ = right;
        }
        return kind_;
    }

    static Value::Type StaticType(BinaryOperator op, Value::Type a, Value::Type b) {
        if (op == BinaryOperator::Add && a == Value::Type::Text && b == Value::Type::Text) return Value::Type::Text;
        return TypeOf(ResultType(op, ArithmeticTypeOf(a), ArithmeticTypeOf(b)));
    }

    void JoinTexts(const std::u16string& left, const std::u16string& right) {
        const std::size_t length = left.size() + right.size();
        if (length > kLongText) {
            CheckLength(length);
            held_.Cover(length * sizeof(char16_t));
        }
        std::u16string& text = result_.ReuseText();
        text.assign(left);
        text += right;
    }

    BinaryOperator op_;
    ExpressionPtr left_;
    ExpressionPtr right_;
    Value::Type left_type_ = Value::Type::Empty;
    Value::Type right_type_ = Value::Type::Empty;
    ArithmeticType kind_ = ArithmeticType::Unknown;  // of those two
    Value result_;
    HeldMemory held_;
};

// Null counts as "" unless both are Null.
class Concatenation : public Expression {
public:
    Concatenation(ExpressionPtr left, ExpressionPtr right)
        : Expression(Value::Type::Text), left_(std::move(left)), right_(std::move(right)) {}

    const Value& Evaluate() override {
        const Value& left = left_->Evaluate();
        const Value& right = right_->Evaluate();
        if (left.IsNull() && right.IsNull()) {
            result_ = Null{};
            return result_;
        }
        std::u16string& text = result_.ReuseText();
        text.clear();
        if (!left.IsNull()) AppendText(left, text);
        if (!right.IsNull()) AppendText(right, text);
        if (text.size() > kLongText) {
            CheckLength(text.size());
            held_.Cover(text.capacity() * sizeof(char16_t));
            Work::Look();
        }
        return result_;
    }

private:
    ExpressionPtr left_;
    ExpressionPtr right_;
    Value result_;
    HeldMemory held_;
};

Value::Type NegatedType(Value::Type type) {
    return TypeOf(ArithmeticTypeOf(type));
}

class Minus : public Expression {
public:
    explicit Minus(ExpressionPtr operand) : Expression(NegatedType(operand->Type())), operand_(std::move(operand)) {}

    const Value& Evaluate() override {
        const Value& value = operand_->Evaluate();
        switch (ArithmeticTypeOf(value.GetType())) {
            case ArithmeticType::Unknown: result_ = Null{}; break;
            case ArithmeticType::Whole: result_ = CheckedLong(-std::int64_t{ToLong(value)}); break;
            case ArithmeticType::Single: result_ = -value.As<float>(); break;
            case ArithmeticType::Double: result_ = -ToDouble(value); break;
            case ArithmeticType::Currency:
                result_ = CurrencyResult(BinaryOperator::Subtract, Value(Currency{}), value);
                break;
            case ArithmeticType::Decimal: result_ = Subtract(Decimal{}, value.As<Decimal>()); break;
            case ArithmeticType::Date: result_ = ToDate(Value(-ToDouble(value))); break;
        }
        return result_;
    }

private:
    ExpressionPtr operand_;
    Value result_;
};

}  // namespace

ExpressionPtr MakeArithmetic(BinaryOperator op, ExpressionPtr left, ExpressionPtr right) {
    if (op == BinaryOperator::Concatenate) return std::make_unique<Concatenation>(std::move(left), std::move(right));
    return std::make_unique<Arithmetic>(op, std::move(left), std::move(right));
}

ExpressionPtr MakeNegation(ExpressionPtr operand) {
    return std::make_unique<Minus>(std::move(operand));
}

}  // namespace qmtrain::sql
