#include "dao/column_types.h"

#include "jet/table_definition.h"

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
    if (type == ColumnType::Decimal) return 16;  // without the sign, which is stored as well
    const std::size_t fixed = jet::FixedSize(type);
    return fixed != 0 ? static_cast<int>(fixed) : size;
}

}  // namespace qmtrain::dao
