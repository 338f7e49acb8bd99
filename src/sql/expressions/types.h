// Types as the binder reasons about them before any value is seen.
#pragma once

#include <string_view>
#include <vector>

#include "core/convert.h"
#include "core/value.h"
#include "sql/storage.h"

namespace qmtrain::sql {

// The type of an expression, as exact as a table made of its values needs it.
struct DataType {
    ColumnType type = ColumnType::Text;
    int size = 0;
    int precision = 0;
    int scale = 0;
};

// A column of anything that can stand in a FROM clause. `type` is Empty where it is known only row by row.
struct ColumnInfo {
    std::u16string_view name;  // belongs to the table or plan that the column comes from
    Value::Type type = Value::Type::Empty;
    DataType data_type;
};

// Values compare within a family, never across. Any stands for Null and for types not known yet.
enum class Family : std::uint8_t { Any, Number, Text, Binary };

inline Family FamilyOf(Value::Type type) {
    switch (type) {
        case Value::Type::Empty:
        case Value::Type::Null: return Family::Any;
        case Value::Type::Text: return Family::Text;
        case Value::Type::Binary: return Family::Binary;
        default: return Family::Number;
    }
}

// ToDouble, the quicker for the types that are common.
inline double DoubleOf(const Value& value) {
    switch (value.GetType()) {
        case Value::Type::Long: return value.As<std::int32_t>();
        case Value::Type::Single: return value.As<float>();
        case Value::Type::Double: return value.As<double>();
        case Value::Type::Date: return value.As<Date>().days;
        default: return ToDouble(value);
    }
}

// Whether a decimal has no more digits before the point than a column of decimals holds.
bool FitsPrecision(const Decimal& value, const Column& column);

// The column that holds a type of value.
DataType DataTypeOf(Value::Type type);
DataType DataTypeOf(const Column& column);

// The type that values of both types can be shown in: the same, the wider number, or Empty when there is none.
Value::Type CommonType(Value::Type a, Value::Type b);

// Whether equality of two values of the type is equality of their numbers as a Double.
inline bool IsExactAsDouble(Value::Type type) {
    return (type >= Value::Type::Boolean && type <= Value::Type::Double) || type == Value::Type::Date;
}

// Whether numbers of the type are Doubles of some kind: a decimal is compared with one as a Double, with any other
// number exactly.
inline bool IsInexact(Value::Type type) {
    return type == Value::Type::Single || type == Value::Type::Double || type == Value::Type::Date;
}

// Whether keys of such values have to tell numbers apart that have the same Double. Empty: of any type.
inline bool NeedsExactKeys(Value::Type type) {
    return type == Value::Type::Decimal || type == Value::Type::Currency || type == Value::Type::Empty;
}

}  // namespace qmtrain::sql
