#include "dao/column_types.h"

namespace qmtrain::dao {

FieldType FieldTypeOf(sql::ColumnType type) {
    switch (type) {
        case sql::ColumnType::Boolean: return FieldType::Boolean;
        case sql::ColumnType::Byte: return FieldType::Byte;
        case sql::ColumnType::Integer: return FieldType::Integer;
        case sql::ColumnType::Long: return FieldType::Long;
        case sql::ColumnType::Currency: return FieldType::Currency;
        case sql::ColumnType::Single: return FieldType::Single;
        case sql::ColumnType::Double: return FieldType::Double;
        case sql::ColumnType::Date: return FieldType::Date;
        case sql::ColumnType::Binary: return FieldType::Binary;
        case sql::ColumnType::Text: return FieldType::Text;
        case sql::ColumnType::LongBinary: return FieldType::LongBinary;
        case sql::ColumnType::Memo: return FieldType::Memo;
        case sql::ColumnType::Guid: return FieldType::Guid;
        case sql::ColumnType::Decimal: break;
    }
    return FieldType::Decimal;
}

std::optional<sql::ColumnType> ColumnTypeOf(FieldType type) {
    constexpr auto kLast = static_cast<int>(sql::ColumnType::Decimal);
    for (int i = 0; i <= kLast; ++i) {
        const auto column = static_cast<sql::ColumnType>(i);
        if (FieldTypeOf(column) == type) return column;
    }
    return std::nullopt;
}

int FieldSizeOf(sql::ColumnType type, int size) {
    switch (type) {
        case sql::ColumnType::Boolean:
        case sql::ColumnType::Byte: return 1;
        case sql::ColumnType::Integer: return 2;
        case sql::ColumnType::Long:
        case sql::ColumnType::Single: return 4;
        case sql::ColumnType::Currency:
        case sql::ColumnType::Double:
        case sql::ColumnType::Date: return 8;
        case sql::ColumnType::Guid:
        case sql::ColumnType::Decimal: return 16;
        default: return size;
    }
}

}  // namespace qmtrain::dao
