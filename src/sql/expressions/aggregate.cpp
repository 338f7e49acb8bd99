#include "sql/expressions/aggregate.h"

#include <array>
#include <cmath>

#include "core/convert.h"
#include "core/decimal.h"
#include "core/error.h"
#include "sql/values.h"

namespace qmtrain::sql {
namespace {

struct NamedAggregate {
    std::u16string_view name;
    AggregateKind kind;
};

constexpr std::array<NamedAggregate, 11> kNames = {{
    {u"COUNT", AggregateKind::Count},
    {u"SUM", AggregateKind::Sum},
    {u"AVG", AggregateKind::Avg},
    {u"MIN", AggregateKind::Min},
    {u"MAX", AggregateKind::Max},
    {u"FIRST", AggregateKind::First},
    {u"LAST", AggregateKind::Last},
    {u"STDEV", AggregateKind::StDev},
    {u"STDEVP", AggregateKind::StDevP},
    {u"VAR", AggregateKind::Var},
    {u"VARP", AggregateKind::VarP},
}};

double NumberOf(const Value& value) {
    switch (value.GetType()) {
        case Value::Type::Single: return value.As<float>();
        case Value::Type::Long: return value.As<std::int32_t>();
        case Value::Type::Text: Raise(ErrorNumber::CriteriaTypeMismatch);
        default: return ToDouble(value);
    }
}

// Welford's running mean keeps its digits where a sum of squares would lose them.
void AddToSpread(AggregateState& state, double number) {
    const double distance = number - state.sum;
    state.sum += distance / static_cast<double>(state.count);
    state.squares += distance * (number - state.sum);
}

}  // namespace

Aggregate::Aggregate(AggregateKind kind, Expression* argument)
    : kind_(kind),
      argument_(argument),
      adds_doubles_((kind == AggregateKind::Sum || kind == AggregateKind::Avg) && !AddsDecimals() && !AddsCurrency()) {}

bool FindAggregate(std::u16string_view name, AggregateKind& kind) {
    for (const NamedAggregate& entry : kNames) {
        if (entry.name != name) continue;
        kind = entry.kind;
        return true;
    }
    return false;
}

Value::Type Aggregate::ResultType() const {
    switch (kind_) {
        case AggregateKind::CountRows:
        case AggregateKind::Count: return Value::Type::Long;
        case AggregateKind::Sum:
        case AggregateKind::Avg:
            if (AddsDecimals()) return Value::Type::Decimal;
            return AddsCurrency() ? Value::Type::Currency : Value::Type::Double;
        case AggregateKind::Min:
        case AggregateKind::Max:
        case AggregateKind::First:
        case AggregateKind::Last: return argument_->Type();
        default: return Value::Type::Double;
    }
}

DataType Aggregate::ResultDataType() const {
    if (kind_ == AggregateKind::Sum && AddsDecimals()) {
        constexpr int kMostDigits = 28;
        return {ColumnType::Decimal, 0, kMostDigits, argument_->GetDataType().scale};
    }
    return KeepsValue() ? argument_->GetDataType() : DataTypeOf(ResultType());
}

void Aggregate::Step(AggregateState& state, Value& slot) {
    if (adds_doubles_) {  // by far the most frequent
        const Value& value = argument_->Evaluate();
        if (value.IsNull() || value.IsEmpty()) return;
        ++state.count;
        state.sum += NumberOf(value);
        return;
    }
    if (kind_ == AggregateKind::CountRows) {
        ++state.count;
        return;
    }
    const Value& value = argument_->Evaluate();
    // First and Last take what the row has, be it Null; the others pass Null over.
    if (kind_ == AggregateKind::First || kind_ == AggregateKind::Last) {
        if (state.count++ == 0 || kind_ == AggregateKind::Last) slot = value;
        return;
    }
    if (value.IsNull() || value.IsEmpty()) return;
    ++state.count;
    switch (kind_) {
        case AggregateKind::Count: break;
        case AggregateKind::Min:
            if (state.count == 1 || CompareValues(value, slot) < 0) slot = value;
            break;
        case AggregateKind::Max:
            if (state.count == 1 || CompareValues(value, slot) > 0) slot = value;
            break;
        case AggregateKind::Sum:
        case AggregateKind::Avg: AddTo(state, value, slot); break;
        default: AddToSpread(state, NumberOf(value));
    }
}

void Aggregate::AddTo(AggregateState& state, const Value& value, Value& slot) const {
    if (AddsDecimals()) {
        const Decimal more = ToDecimal(value);
        slot = state.count == 1 ? more : qmtrain::Add(slot.As<Decimal>(), more);
    } else if (__builtin_add_overflow(state.currency, ToCurrency(value).scaled, &state.currency)) {
        Raise(ErrorNumber::Overflow);
    }
}

void Aggregate::Finish(const AggregateState& state, Value& slot) const {
    const auto count = static_cast<double>(state.count);
    const auto set_spread = [&](double divisor, bool root) {
        if (divisor <= 0)
            slot = Null{};
        else
            slot = root ? std::sqrt(state.squares / divisor) : state.squares / divisor;
    };
    switch (kind_) {
        case AggregateKind::CountRows:
        case AggregateKind::Count: slot = static_cast<std::int32_t>(state.count); break;
        case AggregateKind::Sum:
            if (state.count == 0)
                slot = Null{};
            else if (AddsCurrency())
                slot = Currency{state.currency};
            else if (!AddsDecimals())
                slot = state.sum;
            break;
        case AggregateKind::Avg:
            if (state.count == 0)
                slot = Null{};
            else if (AddsDecimals())
                slot = Divide(slot.As<Decimal>(), ToDecimal(Value(static_cast<std::int32_t>(state.count))));
            else if (AddsCurrency())
                slot = Currency{static_cast<std::int64_t>(std::nearbyint(static_cast<double>(state.currency) / count))};
            else
                slot = state.sum / count;
            break;
        case AggregateKind::StDev: set_spread(count - 1, true); break;
        case AggregateKind::StDevP: set_spread(count, true); break;
        case AggregateKind::Var: set_spread(count - 1, false); break;
        case AggregateKind::VarP: set_spread(count, false); break;
        default:
            if (state.count == 0) slot = Null{};
    }
}

}  // namespace qmtrain::sql
