#include "core/column_type.h"

namespace qmtrain {

Value::Type ValueTypeOf(ColumnType type) {
    switch (type) {
        case ColumnType::Boolean: return Value::Type::Boolean;
        case ColumnType::Byte: return Value::Type::Byte;
        case ColumnType::Integer: return Value::Type::Integer;
        case ColumnType::Long: return Value::Type::Long;
        case ColumnType::Currency: return Value::Type::Currency;
        case ColumnType::Single: return Value::Type::Single;
        case ColumnType::Double: return Value::Type::Double;
        case ColumnType::Date: return Value::Type::Date;
        case ColumnType::Decimal: return Value::Type::Decimal;
        case ColumnType::Binary:
        case ColumnType::LongBinary: return Value::Type::Binary;
        case ColumnType::Text:
        case ColumnType::Memo:
        case ColumnType::Guid: return Value::Type::Text;
    }
    return Value::Type::Empty;
}

}  // namespace qmtrain
