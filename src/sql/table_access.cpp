#include "sql/table_access.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "core/convert.h"
#include "sql/plan.h"

namespace qmtrain::sql {
namespace {

// A value to look for in an index. Without one, no row can be equal.
enum class Find : std::uint8_t { Equal, AtLeast, AtMost };

template <class T>
std::optional<Value> WholeKey(double number, Find find) {
    const double wanted = find == Find::AtMost ? std::ceil(number) : std::floor(number);
    if (find == Find::Equal && wanted != number) return std::nullopt;
    const auto low = static_cast<double>(std::numeric_limits<T>::min());
    const auto high = static_cast<double>(std::numeric_limits<T>::max());
    if (find == Find::Equal && (wanted < low || wanted > high)) return std::nullopt;
    return Value(static_cast<T>(std::clamp(wanted, low, high)));
}

std::optional<Value> SingleKey(double number, Find find) {
    const auto single = static_cast<float>(
        std::clamp<double>(number, -std::numeric_limits<float>::max(), std::numeric_limits<float>::max()));
    const double back = single;
    if (find == Find::Equal) return back == number ? std::optional<Value>(Value(single)) : std::nullopt;
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    if (find == Find::AtLeast && back > number) return Value(std::nextafter(single, -kInfinity));
    if (find == Find::AtMost && back < number) return Value(std::nextafter(single, kInfinity));
    return Value(single);
}

std::optional<Value> CurrencyKey(const Value& value, Find find) {
    if (value.GetType() == Value::Type::Currency) return value;
    const double scaled = ToDouble(value) * 10000.0;
    constexpr double kLimit = 9.2e18;
    if (!(std::abs(scaled) < kLimit)) {
        if (find == Find::Equal) return std::nullopt;
        return Value(Currency{static_cast<std::int64_t>(std::copysign(kLimit, scaled))});
    }
    const double nearest = std::nearbyint(scaled);
    // Multiplying may have moved the number a little: ranges take one step more.
    if (find == Find::Equal) return Value(Currency{static_cast<std::int64_t>(nearest)});
    return Value(Currency{static_cast<std::int64_t>(nearest) + (find == Find::AtMost ? 1 : -1)});
}

// The key by which a column of this type holds what compares equal to the value, or the nearest one beyond it.
std::optional<Value> KeyFor(ColumnType type, const Value& value, Find find) {
    switch (type) {
        case ColumnType::Text:
        case ColumnType::Memo:
        case ColumnType::Guid:
        case ColumnType::Binary:
        case ColumnType::LongBinary: return value;
        case ColumnType::Currency: return CurrencyKey(value, find);
        case ColumnType::Decimal: return ToDecimal(value);
        default: break;
    }
    const double number = ToDouble(value);
    switch (type) {
        case ColumnType::Boolean: return Value(number != 0);
        case ColumnType::Byte: return WholeKey<std::uint8_t>(number, find);
        case ColumnType::Integer: return WholeKey<std::int16_t>(number, find);
        case ColumnType::Long: return WholeKey<std::int32_t>(number, find);
        case ColumnType::Single: return SingleKey(number, find);
        case ColumnType::Date: return Value(Date{number});
        default: return Value(number);
    }
}

}  // namespace

void TableAccess::Open() {
    cursor_ = &source_.GetCursor();
    KeyRange range;
    start_ = access_.index < 0 ? Start::Scan : MakeRange(range);
    if (start_ == Start::Range && !CanSeek(range)) start_ = Start::Scan;
    if (start_ == Start::Range) cursor_->Range(access_.index, range, access_.backwards);
    if (start_ == Start::Scan) cursor_->Scan();
}

bool TableAccess::Next() {
    if (start_ == Start::Nothing || !cursor_->Next()) return false;
    source_.OnRow();
    return true;
}

std::int64_t TableAccess::CountRows() {
    switch (start_) {
        case Start::Scan: return source_.GetTable()->RowCount();
        case Start::Range: return cursor_->CountRest();
        case Start::Nothing: break;
    }
    return 0;
}

const IndexColumn& TableAccess::KeyColumn(std::size_t place) const {
    return source_.GetTable()->Indexes()[static_cast<std::size_t>(access_.index)].columns[place];
}

TableAccess::Start TableAccess::MakeRange(KeyRange& range) {
    const Start fixed = AddFixed(range);
    return fixed == Start::Range ? AddEnds(range) : fixed;
}

TableAccess::Start TableAccess::AddFixed(KeyRange& range) {
    if (access_.equal.empty()) return Start::Range;
    KeyBound bound;
    for (std::size_t i = 0; i < access_.equal.size(); ++i) {
        const Value& value = access_.equal[i]->Evaluate();
        const ColumnType type = source_.GetTable()->Columns()[static_cast<std::size_t>(KeyColumn(i).column)].type;
        if (FamilyOf(value.GetType()) == Family::Any) return Start::Nothing;
        // A type that does not compare is an error, but only for a row that is there: let the condition find it.
        if (FamilyOf(value.GetType()) != FamilyOf(ValueTypeOf(type))) return Start::Scan;
        std::optional<Value> key = KeyFor(type, value, Find::Equal);
        if (!key) return Start::Nothing;
        bound.values.push_back(std::move(*key));
    }
    range.low = bound;
    range.high = std::move(bound);
    return Start::Range;
}

TableAccess::Start TableAccess::AddEnds(KeyRange& range) {
    if (access_.low.value == nullptr && access_.high.value == nullptr) return Start::Range;
    const IndexColumn& key_column = KeyColumn(access_.equal.size());
    const ColumnType type = source_.GetTable()->Columns()[static_cast<std::size_t>(key_column.column)].type;
    const auto add = [&](const RangeEnd& end, Find find, std::optional<KeyBound>& bound) {
        if (end.value == nullptr) return Start::Range;
        const Value& value = end.value->Evaluate();
        if (FamilyOf(value.GetType()) == Family::Any) return Start::Nothing;
        if (FamilyOf(value.GetType()) != FamilyOf(ValueTypeOf(type))) return Start::Scan;
        if (!bound) bound.emplace();
        bound->values.push_back(*KeyFor(type, value, find));
        return Start::Range;
    };
    const Start low = add(access_.low, Find::AtLeast, key_column.descending ? range.high : range.low);
    if (low != Start::Range) return low;
    return add(access_.high, Find::AtMost, key_column.descending ? range.low : range.high);
}

bool TableAccess::CanSeek(const KeyRange& range) const {
    const Table& table = *source_.GetTable();
    const bool low = !range.low || table.CanSeek(access_.index, range.low->values);
    const bool high = !range.high || table.CanSeek(access_.index, range.high->values);
    return low && high && (range.low || range.high || table.CanSeek(access_.index, {}));
}

void DerivedAccess::Open() {
    source_.Forget();
    source_.GetPlan().Start();
}

bool DerivedAccess::Next() {
    if (!source_.GetPlan().root->Next()) return false;
    source_.OnRow();
    return true;
}

void DerivedAccess::Reset() {
    source_.GetPlan().root->Reset();
}

}  // namespace qmtrain::sql
