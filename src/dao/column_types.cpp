#include "dao/column_types.h"

namespace qmtrain::dao {

FieldType FieldTypeOf(ColumnType type) {
    switch (type) {
        case ColumnType::Boolean: return FieldType::Boolean;
        case ColumnType::Byte: return FieldType::Byte;
        case ColumnType::Integer: return FieldType::Integer;
        case ColumnType::Long: return FieldType::Long;
        case ColumnType::Currency: return FieldType::Currency;
        case ColumnType::Single: return FieldType::Single;
        case ColumnType::Double: return FieldType::Double;
        case ColumnType::Date: return FieldType::Date;
        case ColumnType::Binary: return FieldType::Binary;
        case ColumnType::Text: return FieldType::Text;
        case ColumnType::LongBinary: return FieldType::LongBinary;
        case ColumnType::Memo: return FieldType::Memo;
        case ColumnType::Guid: return FieldType::Guid;
        case ColumnType::Decimal: break;
    }
    return FieldType::Decimal;
}

std::optional<ColumnType> ColumnTypeOf(FieldType type) {
    constexpr auto kLast = static_cast<int>(ColumnType::Decimal);
    for (int i = 0; i <= kLast; ++i) {
        const auto column = static_cast<ColumnType>(i);
        if (FieldTypeOf(column) == type) return column;
    }
    return std::nullopt;
}

int FieldSizeOf(ColumnType type, int size) {
    switch (type) {
        case ColumnType::Boolean:
        case ColumnType::Byte: return 1;
        case ColumnType::Integer: return 2;
        case ColumnType::Long:
        case ColumnType::Single: return 4;
        case ColumnType::Currency:
        case ColumnType::Double:
        case ColumnType::Date: return 8;
        case ColumnType::Guid:
        case ColumnType::Decimal: return 16;
        default: return size;
    }
}

}  // namespace qmtrain::dao
