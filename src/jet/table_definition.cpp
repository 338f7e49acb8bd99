#include "jet/table_definition.h"

#include <algorithm>

#include "core/enum_table.h"
#include "core/error.h"

namespace qmtrain::jet {
namespace {

template <class List, class Matches>
std::size_t FindPosition(const List& list, Matches matches) {
    const auto found = std::find_if(list.begin(), list.end(), matches);
    return found == list.end() ? kNoPosition : found - list.begin();
}

constexpr EnumTable<ColumnType, std::uint8_t, 14> kStoredTypes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 15, 16};

}  // namespace

std::uint8_t StoredType(ColumnType type) {
    return kStoredTypes[type];
}

std::optional<ColumnType> TypeOfStored(std::uint8_t byte) {
    const auto* const found = std::ranges::find(kStoredTypes, byte);
    if (found == std::end(kStoredTypes)) return std::nullopt;
    return static_cast<ColumnType>(found - std::begin(kStoredTypes));
}

std::size_t FixedSize(ColumnType type) {
    switch (type) {
        case ColumnType::Boolean:
        case ColumnType::Byte: return 1;
        case ColumnType::Integer: return 2;
        case ColumnType::Long:
        case ColumnType::Single: return 4;
        case ColumnType::Currency:
        case ColumnType::Double:
        case ColumnType::Date: return 8;
        case ColumnType::Guid: return 16;
        case ColumnType::Decimal: return 17;
        default: return 0;
    }
}

void SetFixedSize(StoredColumn& column) {
    const std::size_t size = FixedSize(column.type);
    column.fixed_size = size != 0 ? static_cast<std::uint16_t>(size) : column.length;
}

std::size_t TableDefinition::FindColumn(std::u16string_view name) const {
    return FindPosition(columns, [&](const StoredColumn& column) { return EqualNames(column.name, name); });
}

bool TableDefinition::HasKey() const {
    for (std::size_t i = 0; i < real_indexes.size(); ++i) {
        const RealIndex& index = real_indexes[i];
        const bool primary = std::ranges::any_of(logical_indexes, [&](const LogicalIndex& logical) {
            return logical.real == i && logical.role == IndexRole::Primary;
        });
        const bool in_long_values = std::ranges::any_of(index.columns, [&](const KeyColumn& part) {
            const std::size_t column = ColumnByNumber(part.number);
            const ColumnType type = columns[column].type;
            return IsLongValue(type);
        });
        if (index.IsUnique() && (primary || index.IsRequired()) && !in_long_values) return true;
    }
    return false;
}

std::size_t TableDefinition::ColumnByNumber(std::uint16_t number) const {
    if (number < columns.size() && columns[number].number == number) return number;  // unless one has been dropped
    return FindPosition(columns, [&](const StoredColumn& column) { return column.number == number; });
}

std::size_t TableDefinition::FindLogicalIndex(std::u16string_view name) const {
    return FindPosition(logical_indexes, [&](const LogicalIndex& index) { return EqualNames(index.name, name); });
}

std::size_t TableDefinition::LogicalByNumber(std::uint32_t number) const {
    return FindPosition(logical_indexes, [&](const LogicalIndex& index) { return index.number == number; });
}

void RequireColumnType(Version version, ColumnType type, std::u16string_view column) {
    if (version != Version::Jet3 || type != ColumnType::Decimal) return;
    Raise(ErrorNumber::OperationNotSupported,
          {std::u16string(u"Jet 3（Access 97）格式没有小数字段“").append(column).append(u"”。")});
}

}  // namespace qmtrain::jet
