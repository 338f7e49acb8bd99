#include "jet/stored_table.h"

#include <utility>

#include "jet/properties.h"
#include "jet/row_cursor.h"

namespace qmtrain::jet {
namespace {

// What the object's properties say of the table and its columns.
void ApplyProperties(TableDefinition& definition, const Properties& properties, const Pager& pager) {
    const auto text = [&](std::u16string_view owner, std::u16string_view name) {
        const Property* found = properties.Find(owner, name);
        return found == nullptr ? std::u16string() : found->AsText(pager.GetFormat(), pager.GetHeader().code_page);
    };
    const auto rule = [&](std::u16string_view owner) {
        return ValidationRule{text(owner, u"ValidationRule"), text(owner, u"ValidationText")};
    };
    if (properties.owners.empty()) return;
    definition.validation = rule({});
    for (StoredColumn& column : definition.columns) {
        if (const Property* required = properties.Find(column.name, u"Required"))
            column.required = required->AsBoolean();
        if (const Property* allowed = properties.Find(column.name, u"AllowZeroLength")) {
            column.allow_zero_length = allowed->AsBoolean();
        }
        column.default_expression = text(column.name, u"DefaultValue");
        column.validation = rule(column.name);
    }
}

TableDefinition LoadDefinition(Pager& pager, PageNumber page, const std::vector<std::uint8_t>& properties) {
    TableDefinition definition = ReadDefinition(pager, page);
    const ByteView blob(properties.data(), properties.size(), pager.FileName(), page);
    ApplyProperties(definition, Properties::Read(blob, pager.GetFormat(), pager.GetHeader().code_page), pager);
    return definition;
}

}  // namespace

StoredTable::StoredTable(Pager& pager, PageAllocator& allocator, PageNumber page, std::u16string name,
                         const Bytes& properties)
    : pager_(pager),
      allocator_(allocator),
      name_(std::move(name)),
      definition_(LoadDefinition(pager_, page, properties)),
      store_(pager_, allocator_, page, definition_.owned_map, definition_.free_map,
             definition_.HasKey() ? RowStore::Slots::Reused : RowStore::Slots::Kept),
      order_checked_(definition_.real_indexes.size()) {}

std::int64_t StoredTable::RowCount() const {
    return StoredRowCount(pager_.Read(definition_.page), pager_.GetFormat());
}

std::uint32_t StoredTable::DistinctKeys(std::size_t index) const {
    const FileFormat& format = pager_.GetFormat();
    const std::size_t at = format.definition_header + format.statistics_block * index + 4;
    return pager_.Read(definition_.page).View().U32(at);
}

IndexTree StoredTable::Tree(std::size_t index) const {
    return {pager_, allocator_, definition_.page, definition_.real_indexes[index]};
}

std::u16string StoredTable::IndexName(std::size_t index) const {
    for (const LogicalIndex& logical : definition_.logical_indexes) {
        if (logical.real == index && logical.side != LogicalIndex::Side::Referenced) return logical.name;
    }
    return u"#" + ToText(index);
}

TextOrder StoredTable::OrderOf(const StoredColumn& column) const {
    return TextOrderOf(column, pager_.GetHeader());
}

bool StoredTable::HasKeys(std::size_t index, std::span<const Value> values) const {
    const RealIndex& real = definition_.real_indexes[index];
    for (std::size_t i = 0; i < values.size(); ++i) {
        const StoredColumn& column = definition_.columns[definition_.ColumnByNumber(real.columns[i].number)];
        if (!HasKey(column, values[i], pager_.GetHeader())) return false;
    }
    return true;
}

void StoredTable::CheckStoredOrder(std::size_t index) const {
    if (order_checked_[index]) return;
    const std::vector<KeyColumn>& parts = definition_.real_indexes[index].columns;
    std::vector<Value> values(parts.size());
    Bytes key;
    IndexCursor entries(Tree(index));
    RowCursor row(*this);
    entries.StartForward({});
    while (entries.Next()) {
        const RowPointer where = RowPointerOf(entries.Entry());
        if (!row.MoveTo(where)) Raise(ErrorNumber::RecordDeleted);
        for (std::size_t i = 0; i < parts.size(); ++i) {
            row.Read(definition_.ColumnByNumber(parts[i].number), values[i]);
        }
        if (!HasKeys(index, values)) continue;
        key.clear();
        AppendKey(index, values, key);
        AppendRowPointer(where, key);
        if (key != entries.Entry()) {
            Raise(ErrorNumber::TextOrderUnsupported, {name_, IndexName(index), u"已有的索引项与计算结果不同。"});
        }
    }
    order_checked_[index] = true;
}

void StoredTable::AppendKey(std::size_t index, std::span<const Value> values, Bytes& key) const {
    const RealIndex& real = definition_.real_indexes[index];
    for (std::size_t i = 0; i < values.size(); ++i) {
        const StoredColumn& column = definition_.columns[definition_.ColumnByNumber(real.columns[i].number)];
        AppendKeyPart(column, real.columns[i].ascending, values[i], pager_.GetHeader(), key);
    }
}

void StoredTable::AppendPrefix(std::size_t index, std::span<const Value> values, Bytes& key) const {
    AppendKey(index, values.first(values.size() - 1), key);
    const KeyColumn& part = definition_.real_indexes[index].columns[values.size() - 1];
    AppendTextPrefix(part.ascending, values.back().Text(), pager_.GetHeader(), key);
}

}  // namespace qmtrain::jet
