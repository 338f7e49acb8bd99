#include "dao/table_defs.h"

#include <memory>

#include "core/error.h"
#include "core/text.h"
#include "dao/column_types.h"
#include "jet/connect_text.h"
#include "jet/database.h"
#include "jet/row_cursor.h"

namespace qmtrain::dao {

struct Details::Impl {
    const jet::FileFormat& format;
    int code_page;
    int language;
    jet::Properties properties;
    std::shared_ptr<jet::Table> table;
};

Details::Details(jet::Database& database, std::u16string_view name) {
    const jet::Pager& pager = database.GetPager();
    const auto object = database.FindObject(name);
    const bool is_table = object && object->type == jet::CatalogObject::kTable;
    impl_ = std::make_shared<const Impl>(Impl{
        pager.GetFormat(), pager.GetHeader().code_page, pager.GetHeader().sort_order,
        object ? database.ReadProperties(name) : jet::Properties(), is_table ? database.FindTable(name) : nullptr});
}

std::u16string Details::Text(std::u16string_view owner, std::u16string_view property) const {
    const jet::Property* found = impl_->properties.Find(owner, property);
    return found == nullptr ? std::u16string() : found->AsText(impl_->format, impl_->code_page);
}

int Details::CollatingOrder(std::u16string_view column) const {
    if (impl_->table != nullptr) {
        const jet::TableDefinition& definition = impl_->table->Definition();
        const std::size_t position = definition.FindColumn(column);
        if (position != kNoPosition && definition.columns[position].sort_order != 0)
            return definition.columns[position].sort_order;
    }
    return impl_->language;
}

ObjectDates DatesOf(jet::Database& database, const jet::CatalogObject& object) {
    const auto objects = database.SystemTable(jet::kObjectsPage);
    jet::RowCursor cursor(*objects);
    ObjectDates dates;
    if (!cursor.MoveTo(object.row)) return dates;
    const auto read = [&](std::u16string_view column, Date& date) {
        const std::size_t position = objects->Definition().FindColumn(column);
        Value value;
        if (position != kNoPosition) cursor.Read(position, value);
        if (value.GetType() == Value::Type::Date) date = value.As<Date>();
    };
    read(u"DateCreate", dates.created);
    read(u"DateUpdate", dates.updated);
    return dates;
}

ObjectDates DatesOf(jet::Database& database, std::u16string_view name) {
    const auto object = database.FindObject(name);
    if (!object) Raise(ErrorNumber::ObjectNotFound, {name});
    return DatesOf(database, *object);
}

FieldDef FieldDefOf(const sql::Column& column, const Details& details) {
    FieldDef field;
    field.name = column.name;
    field.type = FieldTypeOf(column.type);
    field.size = FieldSizeOf(column.type, column.size);
    const bool varies = column.type == ColumnType::Text || column.type == ColumnType::Memo ||
                        column.type == ColumnType::Binary || column.type == ColumnType::LongBinary;
    field.attributes =
        (varies ? kVariableField : kFixedField) | kUpdatableField | (column.autonumber ? kAutoIncrField : 0);
    field.required = column.required;
    field.allow_zero_length = column.allow_zero_length;
    field.default_value = column.default_expression;
    field.validation_rule = column.validation.condition;
    field.validation_text = column.validation.text;
    field.collating_order = details.CollatingOrder(column.name);
    field.precision = column.precision;
    field.scale = column.scale;
    return field;
}

namespace {

std::vector<IndexDef> IndexesOf(const sql::Table& table, const jet::Table* stored) {
    std::vector<IndexDef> indexes;
    for (std::size_t i = 0; i < table.Indexes().size(); ++i) {
        const sql::Index& index = table.Indexes()[i];
        IndexDef& made = indexes.emplace_back();
        made.name = index.name;
        made.primary = index.primary;
        made.unique = index.unique;
        made.required = index.required;
        made.ignore_nulls = index.ignore_nulls;
        for (const sql::IndexColumn& part : index.columns) {
            made.fields.push_back({table.Columns()[part.column].name, part.descending});
        }
        if (stored == nullptr) continue;
        made.distinct_count = static_cast<std::int32_t>(stored->DistinctKeys(i));
        bool other_role = false;
        for (const jet::LogicalIndex& logical : stored->Definition().logical_indexes) {
            if (logical.real != i) continue;
            made.foreign = made.foreign || logical.side == jet::LogicalIndex::Side::Referencing;
            other_role = other_role || logical.side == jet::LogicalIndex::Side::None;
        }
        made.foreign = made.foreign && !other_role;
    }
    return indexes;
}

TableDef TableDefOf(jet::Database& database, sql::Catalog& catalog, const jet::CatalogObject& object) {
    TableDef table;
    table.name = object.name;
    table.system = object.IsSystem();
    table.linked = object.IsLink();
    const ObjectDates dates = DatesOf(database, object);
    table.created = dates.created;
    table.updated = dates.updated;
    if (table.linked) {
        table.connect = object.type == jet::CatalogObject::kLinkedOdbc
                            ? u"ODBC;" + object.connect
                            : object.connect + u";DATABASE=" + object.database;
        table.source_table = object.foreign_name;
        return table;
    }
    const Details details(database, object.name);
    table.validation_rule = details.Text({}, u"ValidationRule");
    table.validation_text = details.Text({}, u"ValidationText");
    const auto opened = catalog.FindTable(object.name);
    if (!opened) return table;
    table.indexes = IndexesOf(*opened, database.FindTable(object.name).get());
    for (const sql::Column& column : opened->Columns()) {
        FieldDef& field = table.fields.emplace_back(FieldDefOf(column, details));
        field.ordinal = static_cast<int>(table.fields.size()) - 1;
        field.source_table = object.name;
        field.source_field = column.name;
    }
    return table;
}

}  // namespace

std::vector<TableDef> ReadTableDefs(jet::Database& database, sql::Catalog& catalog) {
    std::vector<TableDef> tables;
    for (const jet::CatalogObject& object : database.Objects()) {
        if (object.type != jet::CatalogObject::kTable && !object.IsLink()) continue;
        tables.push_back(TableDefOf(database, catalog, object));
    }
    return tables;
}

std::vector<RelationDef> ReadRelations(jet::Database& database) {
    std::vector<RelationDef> relations;
    for (const jet::Relationship& found : database.Relationships()) {
        RelationDef& relation = relations.emplace_back();
        relation.name = found.name;
        relation.table = found.referenced_table;
        relation.foreign_table = found.table;
        relation.attributes = (found.enforced ? 0 : RelationDef::kDontEnforce) |
                              (found.cascade_update ? RelationDef::kUpdateCascade : 0) |
                              (found.cascade_delete ? RelationDef::kDeleteCascade : 0);
        for (std::size_t i = 0; i < found.columns.size(); ++i)
            relation.fields.push_back({found.referenced_columns[i], found.columns[i]});
    }
    return relations;
}

}  // namespace qmtrain::dao
