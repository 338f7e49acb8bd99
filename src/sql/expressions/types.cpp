#include "sql/expressions/types.h"

#include <algorithm>

#include "core/convert.h"
#include "core/decimal.h"

namespace qmtrain::sql {

bool FitsPrecision(const Decimal& value, const Column& column) {
    const Decimal above = Rescale(Decimal{false, 0, 0, 1}, column.precision - column.scale);
    const Decimal magnitude{false, value.scale, value.high, value.low};
    return Compare(magnitude, Decimal{false, 0, above.high, above.low}) < 0;
}

DataType DataTypeOf(Value::Type type) {
    switch (type) {
        case Value::Type::Boolean: return {ColumnType::Boolean};
        case Value::Type::Byte: return {ColumnType::Byte};
        case Value::Type::Integer: return {ColumnType::Integer};
        case Value::Type::Long: return {ColumnType::Long};
        case Value::Type::Single: return {ColumnType::Single};
        case Value::Type::Double: return {ColumnType::Double};
        case Value::Type::Currency: return {ColumnType::Currency};
        case Value::Type::Date: return {ColumnType::Date};
        case Value::Type::Decimal: return {ColumnType::Decimal, 0, 28, 10};
        case Value::Type::Binary: return {ColumnType::LongBinary};
        default: return {ColumnType::Text, 255};
    }
}

DataType DataTypeOf(const Column& column) {
    return {column.type, column.size, column.precision, column.scale};
}

Value::Type CommonType(Value::Type a, Value::Type b) {
    if (a == b || b == Value::Type::Null) return a;
    if (a == Value::Type::Null) return b;
    if (!IsNumberType(a) || !IsNumberType(b)) return Value::Type::Empty;
    const bool whole = a <= Value::Type::Long && b <= Value::Type::Long;
    if (whole) return std::max({a, b, Value::Type::Integer});
    const Value::Type other = a == Value::Type::Currency ? b : a;
    if ((a == Value::Type::Currency || b == Value::Type::Currency) && other <= Value::Type::Long) {
        return Value::Type::Currency;
    }
    const bool decimal = a == Value::Type::Decimal || b == Value::Type::Decimal;
    return decimal && !IsInexact(a) && !IsInexact(b) ? Value::Type::Decimal : Value::Type::Double;
}

}  // namespace qmtrain::sql
