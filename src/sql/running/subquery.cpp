#include "sql/running/subquery.h"

#include "core/error.h"
#include "sql/expressions/key.h"
#include "sql/expressions/make_expression.h"
#include "sql/values.h"

namespace qmtrain::sql {
namespace {

class SubqueryValue : public Expression {
public:
    explicit SubqueryValue(std::unique_ptr<Plan> plan)
        : Expression(plan->outputs[0].expression->Type()), plan_(std::move(plan)) {}

    const Value& Evaluate() override {
        if (known_ && !plan_->correlated) return result_;
        plan_->Start();
        if (plan_->root->Next()) {
            result_ = plan_->outputs[0].expression->Evaluate();
            if (plan_->root->Next()) Raise(ErrorNumber::SubqueryManyRows);
        } else {
            result_ = Null{};
        }
        known_ = true;
        return result_;
    }

    DataType GetDataType() const override { return DataTypeOf(plan_->outputs[0].column); }

private:
    std::unique_ptr<Plan> plan_;
    Value result_;
    bool known_ = false;
};

class ExistsCondition : public Condition {
public:
    explicit ExistsCondition(std::unique_ptr<Plan> plan) : plan_(std::move(plan)) {}

    Truth Test() override {
        if (known_ == Truth::Unknown || plan_->correlated) {
            plan_->Start();
            known_ = MakeTruth(plan_->root->Next());
        }
        return known_;
    }

private:
    std::unique_ptr<Plan> plan_;
    Truth known_ = Truth::Unknown;
};

class InSelectCondition : public Condition, public ValueList {
public:
    InSelectCondition(ExpressionPtr subject, std::unique_ptr<Plan> plan, bool negated)
        : subject_(std::move(subject)), plan_(std::move(plan)), negated_(negated) {
        const Value::Type items = plan_->outputs[0].expression->Type();
        const bool exact = NeedsExactKeys(subject_->Type()) || NeedsExactKeys(items);
        exact_ = exact && !IsInexact(subject_->Type()) && !IsInexact(items);
    }

    bool Collect(std::size_t most, std::vector<Value>& values) override {
        if (!built_) Build();
        if (too_many_ || values_.size() > most) return false;
        values = values_;
        return true;
    }

    // Assumed to be few; with many a scan would be as good, which is decided when they have been collected.
    double ExpectedSize() const override { return 20; }

    Truth Test() override {
        const Value& subject = subject_->Evaluate();
        const Truth found = plan_->correlated ? Search(subject) : LookUp(subject);
        if (found == Truth::Unknown) return found;
        return MakeTruth((found == Truth::True) != negated_);
    }

private:
    const Value& Item() const { return plan_->outputs[0].expression->Evaluate(); }

    Truth Search(const Value& subject) {
        Truth found = Truth::False;
        plan_->Start();
        while (plan_->root->Next()) {
            const Value& item = Item();
            if (subject.IsNull() || item.IsNull())
                found = Truth::Unknown;
            else if (CompareValues(subject, item) == 0)
                return Truth::True;
        }
        return found;
    }

    Truth LookUp(const Value& subject) {
        if (!built_) Build();
        if (empty_) return Truth::False;
        if (subject.IsNull()) return Truth::Unknown;
        key_.clear();
        AppendKey(subject, key_, exact_);
        if (items_.Find(key_) != KeyTable::kNone) return Truth::True;
        return has_null_ ? Truth::Unknown : Truth::False;
    }

    void Build() {
        bool added = false;
        plan_->Start();
        while (plan_->root->Next()) {
            const Value& item = Item();
            empty_ = false;
            has_null_ = has_null_ || item.IsNull();
            key_.clear();
            AppendKey(item, key_, exact_);
            if (item.IsNull()) continue;
            items_.FindOrAdd(key_, added);
            if (!added || too_many_) continue;
            too_many_ = values_.size() == kMostValues;
            if (too_many_)
                values_.clear();
            else
                values_.push_back(item);
        }
        built_ = true;
    }

    static constexpr std::size_t kMostValues = 10000;

    ExpressionPtr subject_;
    std::unique_ptr<Plan> plan_;
    bool negated_;
    bool exact_;                 // its keys
    std::vector<Value> values_;  // each once, as long as there are not too many
    bool too_many_ = false;
    bool built_ = false;
    bool empty_ = true;
    bool has_null_ = false;
    KeyTable items_;
    std::vector<std::uint8_t> key_;
};

class QuantifiedCondition : public Condition {
public:
    QuantifiedCondition(ast::BinaryOperator op, ExpressionPtr subject, std::unique_ptr<Plan> plan, bool all)
        : subject_(std::move(subject)),
          plan_(std::move(plan)),
          comparison_(MakeComparison(op, std::make_unique<Held>(left_, subject_->Type()),
                                     std::make_unique<Held>(right_, plan_->outputs[0].expression->Type()))),
          all_(all) {}

    // One comparison that is false settles ALL, one that is true ANY; one that is unknown leaves either open.
    Truth Test() override {
        left_ = subject_->Evaluate();
        const Truth settles = MakeTruth(!all_);
        Truth result = MakeTruth(all_);
        if (plan_->correlated) {
            plan_->Start();
            while (plan_->root->Next()) {
                if (Take(plan_->outputs[0].expression->Evaluate(), settles, result)) return settles;
            }
            return result;
        }
        if (!built_) Build();
        for (std::size_t i = 0; i < values_.Size(); ++i) {
            if (Take(*values_.At(i), settles, result)) return settles;
        }
        return result;
    }

private:
    // What stands for a value that is set from outside.
    class Held : public Expression {
    public:
        Held(const Value& value, Value::Type type) : Expression(type), value_(value) {}
        const Value& Evaluate() override { return value_; }

    private:
        const Value& value_;
    };

    bool Take(const Value& value, Truth settles, Truth& result) {
        right_ = value;
        const Truth truth = comparison_->Test();
        if (truth == Truth::Unknown) result = Truth::Unknown;
        return truth == settles;
    }

    void Build() {
        values_.Reset(1);
        plan_->Start();
        while (plan_->root->Next()) *values_.Add() = plan_->outputs[0].expression->Evaluate();
        built_ = true;
    }

    ExpressionPtr subject_;
    std::unique_ptr<Plan> plan_;
    Value left_;
    Value right_;
    ExpressionPtr comparison_;
    bool all_;
    bool built_ = false;
    RowBuffer values_;
};

}  // namespace

ExpressionPtr MakeQuantified(ast::BinaryOperator op, ExpressionPtr subject, std::unique_ptr<Plan> plan, bool all) {
    return std::make_unique<QuantifiedCondition>(op, std::move(subject), std::move(plan), all);
}

ExpressionPtr MakeSubqueryValue(std::unique_ptr<Plan> plan) {
    return std::make_unique<SubqueryValue>(std::move(plan));
}

ExpressionPtr MakeExists(std::unique_ptr<Plan> plan) {
    return std::make_unique<ExistsCondition>(std::move(plan));
}

ExpressionPtr MakeInSelect(ExpressionPtr subject, std::unique_ptr<Plan> plan, bool negated) {
    CheckComparable(subject->Type(), plan->outputs[0].expression->Type());
    return std::make_unique<InSelectCondition>(std::move(subject), std::move(plan), negated);
}

}  // namespace qmtrain::sql
