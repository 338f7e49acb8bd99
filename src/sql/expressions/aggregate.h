// Count, Sum, Avg and the other functions over the rows of a group.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/value.h"
#include "sql/expressions/expression.h"

namespace qmtrain::sql {

enum class AggregateKind : std::uint8_t { CountRows, Count, Sum, Avg, Min, Max, First, Last, StDev, StDevP, Var, VarP };

// The function of that name; false when there is none. Requires: the name is in capital letters.
bool FindAggregate(std::u16string_view name, AggregateKind& kind);

// Numbers an aggregate has seen so far. Min, Max, First and Last, and sums of decimals, keep theirs in the group's row
// instead.
struct AggregateState {
    std::int64_t count = 0;
    std::int64_t currency = 0;  // the sum of amounts, kept apart from `sum` so that it stays exact
    double sum = 0;             // or, for StDev and Var, the mean
    double squares = 0;         // the sum of squared distances from the mean
};

class Aggregate {
public:
    Aggregate(AggregateKind kind, Expression* argument);

    AggregateKind Kind() const { return kind_; }
    const Expression* Argument() const { return argument_; }
    Value::Type ResultType() const;

    // Whether the result is one of the values, which stands in the group's row meanwhile.
    bool KeepsValue() const { return kind_ >= AggregateKind::Min && kind_ <= AggregateKind::Last; }

    DataType ResultDataType() const;

    // Takes in the current row.
    void Step(AggregateState& state, Value& slot);

    // Puts the result into the group's row.
    void Finish(const AggregateState& state, Value& slot) const;

private:
    bool AddsDecimals() const { return argument_ != nullptr && argument_->Type() == Value::Type::Decimal; }
    bool AddsCurrency() const { return argument_ != nullptr && argument_->Type() == Value::Type::Currency; }
    void AddTo(AggregateState& state, const Value& value, Value& slot) const;

    AggregateKind kind_;
    Expression* argument_;  // null for Count(*)
    bool adds_doubles_;
};

}  // namespace qmtrain::sql
