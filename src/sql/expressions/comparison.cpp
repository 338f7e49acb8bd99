// Comparisons and the predicates made of them.
#include <algorithm>

#include "core/collation.h"
#include "core/convert.h"
#include "core/decimal.h"
#include "core/error.h"
#include "core/work.h"
#include "sql/expressions/key.h"
#include "sql/expressions/make_expression.h"
#include "sql/values.h"

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;

template <class T>
int Order(T a, T b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

int CompareNumbers(const Value& a, const Value& b) {
    if (a.GetType() == b.GetType()) {
        if (a.GetType() == Value::Type::Long) return Order(a.As<std::int32_t>(), b.As<std::int32_t>());
        if (a.GetType() == Value::Type::Currency) return Order(a.As<Currency>().scaled, b.As<Currency>().scaled);
    }
    const bool decimal = a.GetType() == Value::Type::Decimal || b.GetType() == Value::Type::Decimal;
    if (!decimal || IsInexact(a.GetType()) || IsInexact(b.GetType())) return Order(DoubleOf(a), DoubleOf(b));
    const auto order = Compare(ToDecimal(a), ToDecimal(b));
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

bool Holds(BinaryOperator op, int order) {
    switch (op) {
        case BinaryOperator::Equal: return order == 0;
        case BinaryOperator::NotEqual: return order != 0;
        case BinaryOperator::Less: return order < 0;
        case BinaryOperator::Greater: return order > 0;
        case BinaryOperator::LessEqual: return order <= 0;
        default: return order >= 0;
    }
}

Truth TestOrder(BinaryOperator op, const Value& a, const Value& b) {
    const Family family = FamilyOf(a.GetType());
    const Family other = FamilyOf(b.GetType());
    if (family == Family::Any || other == Family::Any) return Truth::Unknown;
    const bool numbers = family == Family::Number && other == Family::Number;
    return MakeTruth(Holds(op, numbers ? CompareNumbers(a, b) : CompareValues(a, b)));
}

class Comparison : public Condition {
public:
    Comparison(BinaryOperator op, ExpressionPtr left, ExpressionPtr right)
        : op_(op), left_(std::move(left)), right_(std::move(right)) {}

    Truth Test() override {
        const Value& left = left_->Evaluate();
        return TestOrder(op_, left, right_->Evaluate());
    }

private:
    BinaryOperator op_;
    ExpressionPtr left_;
    ExpressionPtr right_;
};

// A column compared with a literal text: for most rows a look at the stored bytes decides.
class TextComparison : public Condition {
public:
    TextComparison(BinaryOperator op, ExpressionPtr column, ExpressionPtr literal)
        : op_(op), column_(std::move(column)), literal_(std::move(literal)), text_(literal_->Evaluate().Text()) {}

    Truth Test() override {
        if (const auto narrow = column_->NarrowText()) return MakeTruth(Holds(op_, collation::Compare(*narrow, text_)));
        return TestOrder(op_, column_->Evaluate(), literal_->Evaluate());
    }

private:
    BinaryOperator op_;
    ExpressionPtr column_;
    ExpressionPtr literal_;
    std::u16string_view text_;
};

bool IsTextLiteral(const Expression& expression) {
    return expression.Type() == Value::Type::Text && dynamic_cast<const LiteralExpression*>(&expression) != nullptr;
}

Truth Both(Truth a, Truth b) {
    if (a == Truth::False || b == Truth::False) return Truth::False;
    return a == Truth::True && b == Truth::True ? Truth::True : Truth::Unknown;
}

Truth Negated(Truth truth, bool negated) {
    if (!negated || truth == Truth::Unknown) return truth;
    return MakeTruth(truth == Truth::False);
}

class BetweenCondition : public Condition {
public:
    BetweenCondition(ExpressionPtr subject, ExpressionPtr low, ExpressionPtr high, bool negated)
        : subject_(std::move(subject)), low_(std::move(low)), high_(std::move(high)), negated_(negated) {}

    // As in the dialect, the bounds may stand in either order.
    Truth Test() override {
        const Value& subject = subject_->Evaluate();
        const Value* low = &low_->Evaluate();
        const Value* high = &high_->Evaluate();
        if (TestOrder(BinaryOperator::Greater, *low, *high) == Truth::True) std::swap(low, high);
        const Truth above = TestOrder(BinaryOperator::GreaterEqual, subject, *low);
        return Negated(Both(above, TestOrder(BinaryOperator::LessEqual, subject, *high)), negated_);
    }

private:
    ExpressionPtr subject_;
    ExpressionPtr low_;
    ExpressionPtr high_;
    bool negated_;
};

class IsNullCondition : public Condition {
public:
    IsNullCondition(ExpressionPtr subject, bool negated) : subject_(std::move(subject)), negated_(negated) {}

    Truth Test() override {
        const Value& subject = subject_->Evaluate();
        return MakeTruth((subject.IsNull() || subject.IsEmpty()) != negated_);
    }

private:
    ExpressionPtr subject_;
    bool negated_;
};

class InListCondition : public Condition, public ValueList {
public:
    InListCondition(ExpressionPtr subject, std::vector<ExpressionPtr> items, bool negated)
        : subject_(std::move(subject)), items_(std::move(items)), negated_(negated) {
        KeepConstants();
    }

    bool Collect(std::size_t most, std::vector<Value>& values) override {
        if (items_.size() > most) return false;
        values.clear();
        for (const ExpressionPtr& item : items_) values.push_back(item->Evaluate());
        return true;
    }

    double ExpectedSize() const override { return static_cast<double>(items_.size()); }

    Truth Test() override {
        const Value& subject = subject_->Evaluate();
        if (numbers_only_ && FamilyOf(subject.GetType()) == Family::Number) {
            const bool is_there = numbers_.Find(NumberBits(subject)) != NumberTable::kNone;
            // Several decimals share the Double of a whole number, and only one of them is that number.
            if (!is_there || subject.GetType() != Value::Type::Decimal) return Negated(MakeTruth(is_there), negated_);
        }
        Truth found = Truth::False;
        for (const ExpressionPtr& item : items_) {
            const Truth same = TestOrder(BinaryOperator::Equal, subject, item->Evaluate());
            if (same == Truth::True) return Negated(same, negated_);
            if (same == Truth::Unknown) found = Truth::Unknown;
        }
        return Negated(found, negated_);
    }

private:
    // A value is looked up among many literal numbers rather than compared with one after the other.
    void KeepConstants() {
        constexpr std::size_t kFew = 4;
        if (items_.size() <= kFew) return;
        for (const ExpressionPtr& item : items_) {
            const auto* literal = dynamic_cast<const LiteralExpression*>(item.get());
            if (literal == nullptr || !IsExactAsDouble(literal->Type())) return;
        }
        bool added = false;
        for (const ExpressionPtr& item : items_) numbers_.FindOrAdd(NumberBits(item->Evaluate()), added);
        numbers_only_ = true;
    }

    ExpressionPtr subject_;
    std::vector<ExpressionPtr> items_;
    bool negated_;
    bool numbers_only_ = false;
    NumberTable numbers_;
};

}  // namespace

int CompareValues(const Value& a, const Value& b) {
    const Family family = FamilyOf(a.GetType());
    if (family != FamilyOf(b.GetType())) Raise(ErrorNumber::CriteriaTypeMismatch);
    switch (family) {
        case Family::Text:
            if (std::min(a.Text().size(), b.Text().size()) > kLongText) Work::Look();
            return collation::Compare(a.Text(), b.Text());
        case Family::Binary: return a.Binary() < b.Binary() ? -1 : a.Binary() > b.Binary() ? 1 : 0;
        default: return CompareNumbers(a, b);
    }
}

void CheckComparable(Value::Type a, Value::Type b) {
    const Family left = FamilyOf(a);
    const Family right = FamilyOf(b);
    if (left != Family::Any && right != Family::Any && left != right) Raise(ErrorNumber::CriteriaTypeMismatch);
}

bool IsComparison(BinaryOperator op) {
    return op >= BinaryOperator::Equal && op <= BinaryOperator::GreaterEqual;
}

ExpressionPtr MakeComparison(BinaryOperator op, ExpressionPtr left, ExpressionPtr right) {
    CheckComparable(left->Type(), right->Type());
    if (left->AsColumn() != nullptr && left->Type() == Value::Type::Text && IsTextLiteral(*right)) {
        return std::make_unique<TextComparison>(op, std::move(left), std::move(right));
    }
    return std::make_unique<Comparison>(op, std::move(left), std::move(right));
}

ExpressionPtr MakeBetween(ExpressionPtr subject, ExpressionPtr low, ExpressionPtr high, bool negated) {
    CheckComparable(subject->Type(), low->Type());
    CheckComparable(subject->Type(), high->Type());
    CheckComparable(low->Type(), high->Type());
    return std::make_unique<BetweenCondition>(std::move(subject), std::move(low), std::move(high), negated);
}

ExpressionPtr MakeIsNull(ExpressionPtr subject, bool negated) {
    return std::make_unique<IsNullCondition>(std::move(subject), negated);
}

ExpressionPtr MakeInList(ExpressionPtr subject, std::vector<ExpressionPtr> items, bool negated) {
    for (const ExpressionPtr& item : items) CheckComparable(subject->Type(), item->Type());
    return std::make_unique<InListCondition>(std::move(subject), std::move(items), negated);
}

}  // namespace qmtrain::sql
