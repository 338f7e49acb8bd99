#include "jet/definition_editor.h"

#include <algorithm>

#include "core/text.h"
#include "jet/code_page_text.h"

namespace qmtrain::jet {
namespace {

constexpr int kUsualPrecision = 18;

}  // namespace

void CheckName(const std::u16string& name, const Pager& pager) {
    const bool bad =
        name.empty() || name.size() > kMaxNameLength || name.front() == u' ' ||
        std::any_of(name.begin(), name.end(), [](char16_t unit) {
            return unit < 0x20 || unit == u'.' || unit == u'!' || unit == u'[' || unit == u']' || unit == u'`';
        });
    if (bad) Raise(ErrorNumber::InvalidName, {name});
    if (pager.GetFormat().version == Version::Jet3) {
        ToStored(name, pager.GetHeader().code_page, ErrorNumber::InvalidName, name);
    }
}

CatalogObject RequireTable(Database& database, std::u16string_view name) {
    const std::optional<CatalogObject> object = database.FindObject(name);
    if (!object || object->type != CatalogObject::kTable) Raise(ErrorNumber::NoSuchTable, {name});
    if (object->IsSystem()) Raise(ErrorNumber::ReadOnly, {name, u"它是系统表。"});
    return *object;
}

DefinitionEditor::DefinitionEditor(Database& database, std::u16string table_name, PageNumber page)
    : database_(database), pager_(database.GetPager()), maps_(database), name_(std::move(table_name)) {
    if (page != 0) {
        definition = ReadDefinition(pager_, page);
        return;
    }
    definition.page = database.Allocator().Allocate().Number();
    definition.pages = {definition.page};
    definition.owned_map = maps_.Add(0);
    definition.free_map = maps_.Add(0);
}

StoredColumn& DefinitionEditor::AddColumn(const Column& spec) {
    CheckName(spec.name, pager_);
    if (definition.FindColumn(spec.name) != kNoPosition) Raise(ErrorNumber::FieldExists, {spec.name});
    if (definition.max_columns >= kMaxColumns) Raise(ErrorNumber::TooManyFields, {name_});
    StoredColumn column;
    column.name = spec.name;
    column.type = spec.type;
    column.number = definition.max_columns++;
    for (const StoredColumn& other : definition.columns)  // which need not be in that order
        column.ordinal = std::max(column.ordinal, static_cast<std::uint16_t>(other.ordinal + 1));
    column.sort_order = pager_.GetHeader().sort_order;
    column.sort_version = pager_.GetHeader().sort_version;
    column.code_page = pager_.GetHeader().code_page;
    SetLayout(column, spec);
    if (IsLongValue(spec.type)) {
        column.owned_map = maps_.Add(definition.owned_map.page);
        column.free_map = maps_.Add(definition.owned_map.page);
    }
    definition.columns.push_back(std::move(column));
    return definition.columns.back();
}

bool DefinitionEditor::AddIndex(const IndexSpec& spec) {
    CheckName(spec.name, pager_);
    if (definition.FindLogicalIndex(spec.name) != kNoPosition) Raise(ErrorNumber::IndexExists, {name_, spec.name});
    if (definition.logical_indexes.size() >= kMaxIndexes) Raise(ErrorNumber::TooManyIndexes, {name_});
    const auto is_primary = [](const LogicalIndex& index) { return index.role == IndexRole::Primary; };
    if (spec.primary && std::any_of(definition.logical_indexes.begin(), definition.logical_indexes.end(), is_primary)) {
        Raise(ErrorNumber::PrimaryKeyExists, {name_});
    }
    std::vector<KeyColumn> columns;
    for (const IndexColumnSpec& part : spec.columns) columns.push_back({KeyColumnNumber(part.column), part.ascending});
    if (columns.empty()) Raise(ErrorNumber::NoFieldDefined, {spec.name});
    if (columns.size() > kMaxKeyColumns)
        Raise(ErrorNumber::InvalidArgument,
              {u"索引“" + spec.name + u"”最多可以有 " + ToText(kMaxKeyColumns) + u" 个字段。"});
    const auto flags = static_cast<std::uint8_t>(
        pager_.GetFormat().index_flags | (spec.unique || spec.primary ? RealIndex::kUnique : 0) |
        (spec.required || spec.primary ? RealIndex::kRequired : 0) | (spec.ignore_nulls ? RealIndex::kIgnoreNulls : 0));
    LogicalIndex logical;
    logical.name = spec.name;
    logical.role = spec.primary ? IndexRole::Primary : IndexRole::Ordinary;
    return AddLogical(logical, columns, flags);
}

bool DefinitionEditor::AddLogical(LogicalIndex logical, const std::vector<KeyColumn>& columns, int flags) {
    logical.number = 0;
    for (const LogicalIndex& other : definition.logical_indexes)
        logical.number = std::max(logical.number, other.number + 1);
    std::size_t real = 0;
    while (real < definition.real_indexes.size() && (definition.real_indexes[real].columns != columns ||
                                                     (flags >= 0 && definition.real_indexes[real].flags != flags))) {
        ++real;
    }
    const bool fresh = real == definition.real_indexes.size();
    if (fresh) AddTree(columns, flags >= 0 ? static_cast<std::uint8_t>(flags) : pager_.GetFormat().index_flags);
    logical.real = static_cast<std::uint32_t>(real);
    definition.logical_indexes.push_back(std::move(logical));
    return fresh;
}

void DefinitionEditor::RemoveLogical(std::size_t position) {
    const std::uint32_t real = definition.logical_indexes[position].real;
    definition.logical_indexes.erase(definition.logical_indexes.begin() + position);
    for (const LogicalIndex& other : definition.logical_indexes) {
        if (other.real == real) return;
    }
    database_.TableAt(definition.page)->FreeIndexPages(real);
    maps_.Remove(definition.real_indexes[real].map);
    definition.real_indexes.erase(definition.real_indexes.begin() + real);
    for (LogicalIndex& other : definition.logical_indexes) {
        if (other.real > real) --other.real;
    }
}

void DefinitionEditor::RemoveColumn(std::size_t position) {
    const StoredColumn column = definition.columns[position];
    database_.TableAt(definition.page)->FreeLongValues(position);
    maps_.Remove(column.owned_map);
    maps_.Remove(column.free_map);
    definition.columns.erase(definition.columns.begin() + position);
}

void DefinitionEditor::RemoveMaps() {
    maps_.Remove(definition.owned_map);
    maps_.Remove(definition.free_map);
    for (const RealIndex& index : definition.real_indexes) maps_.Remove(index.map);
    for (const StoredColumn& column : definition.columns) {
        maps_.Remove(column.owned_map);
        maps_.Remove(column.free_map);
    }
}

void DefinitionEditor::Write() {
    if (EncodedLength(definition, pager_.GetFormat(), {}) > pager_.GetFormat().max_row)
        Raise(ErrorNumber::RecordTooLarge, {name_});
    WriteDefinition(pager_, database_.Allocator(), definition);
    database_.Forget(definition.page);
}

std::uint16_t DefinitionEditor::KeyColumnNumber(const std::u16string& name) const {
    const std::size_t position = definition.FindColumn(name);
    if (position == kNoPosition) Raise(ErrorNumber::FieldNotFound, {name});
    if (definition.columns[position].type == ColumnType::LongBinary) {
        Raise(ErrorNumber::OperationNotSupported, {u"OLE 字段“" + name + u"”不能建立索引。"});
    }
    return definition.columns[position].number;
}

void DefinitionEditor::SetLayout(StoredColumn& column, const Column& spec) {
    const FileFormat& format = pager_.GetFormat();
    const std::size_t size = FixedSize(spec.type);
    if (size == 0) {
        column.variable_index = definition.variable_columns++;
        if (spec.type == ColumnType::Text) {
            const int characters = spec.size == 0 ? kMaxTextSize : spec.size;
            if (characters < 0 || characters > kMaxTextSize) Raise(ErrorNumber::FieldTooLarge, {spec.name});
            column.length = static_cast<std::uint16_t>(characters * format.text_unit);
            if (format.version == Version::Jet4) column.extended_flags = StoredColumn::kCompressed;
        } else if (spec.type == ColumnType::Binary) {
            const auto most = static_cast<int>(format.max_binary);
            const int bytes = spec.size == 0 ? most : spec.size;
            if (bytes < 0 || bytes > most) Raise(ErrorNumber::FieldTooLarge, {spec.name});
            column.length = static_cast<std::uint16_t>(bytes);
        }
        return;
    }
    column.flags |= StoredColumn::kFixed;
    column.length = static_cast<std::uint16_t>(size);
    SetFixedSize(column);
    if (spec.autonumber) {
        const auto numbered = [](const StoredColumn& other) { return other.IsAutonumber(); };
        const bool second = std::any_of(definition.columns.begin(), definition.columns.end(), numbered);
        if (spec.type != ColumnType::Long || second)
            Raise(ErrorNumber::OperationNotSupported, {u"自动编号字段“" + spec.name + u"”。"});
        column.flags |= StoredColumn::kAutonumber;
    }
    if (spec.type == ColumnType::Decimal) {
        RequireColumnType(format.version, spec.type, spec.name);
        const int precision = spec.precision == 0 ? kUsualPrecision : spec.precision;
        if (precision < 1 || precision > 28 || spec.scale < 0 || spec.scale > precision) {
            Raise(ErrorNumber::FieldTooLarge, {spec.name});
        }
        column.precision = static_cast<std::uint8_t>(precision);
        column.scale = static_cast<std::uint8_t>(spec.scale);
    }
    if (spec.type == ColumnType::Boolean) return;
    for (const StoredColumn& other : definition.columns) {
        if (!other.IsFixed() || other.type == ColumnType::Boolean) continue;
        column.fixed_offset =
            std::max(column.fixed_offset, static_cast<std::uint16_t>(other.fixed_offset + other.fixed_size));
    }
}

void DefinitionEditor::AddTree(const std::vector<KeyColumn>& columns, std::uint8_t flags) {
    if (definition.real_indexes.size() >= kMaxIndexes) Raise(ErrorNumber::TooManyIndexes, {name_});
    RealIndex real;
    real.columns = columns;
    real.flags = flags;
    AddTreeFor(definition, real, maps_, database_);
    definition.real_indexes.push_back(std::move(real));
}

}  // namespace qmtrain::jet
