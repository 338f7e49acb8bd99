// A database's structure: what there is, and changes of it.
#include "core/error.h"
#include "core/text.h"
#include "dao/column_types.h"
#include "dao/jet_database.h"
#include "dao/query_parts.h"
#include "dao/saved_query.h"
#include "dao/table_defs.h"
#include "jet/database.h"

namespace qmtrain::dao {
namespace {

sql::Column ColumnOf(const FieldDef& field) {
    sql::Column column;
    const auto type = ColumnTypeOf(field.type);
    if (!type) Raise(ErrorNumber::InvalidFieldType, {field.name});
    column.name = field.name;
    column.type = *type;
    if (*type == sql::ColumnType::Text || *type == sql::ColumnType::Binary) column.size = field.size;
    column.precision = field.precision;
    column.scale = field.scale;
    column.counter = field.IsAutonumber();
    column.required = field.required;
    column.allow_zero_length = field.allow_zero_length;
    column.default_expression = field.default_value;
    column.validation = {field.validation_rule, field.validation_text};
    return column;
}

sql::Index IndexOf(const IndexDef& index, const std::vector<sql::Column>& columns) {
    if (index.fields.empty()) Raise(ErrorNumber::NoFieldDefined, {index.name});
    sql::Index made{index.name, {}, index.unique, index.primary, index.required, index.ignore_nulls};
    for (const IndexDef::Part& part : index.fields) {
        int at = -1;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (EqualNames(columns[i].name, part.name)) at = static_cast<int>(i);
        }
        if (at < 0) Raise(ErrorNumber::FieldNotFound, {part.name});
        made.columns.push_back({at, part.descending});
    }
    return made;
}

}  // namespace

std::vector<TableDef> JetDatabase::TableDefs() {
    const jet::Database::Reading reading(Storage());
    return ReadTableDefs(*storage_, *catalog_);
}

std::vector<RelationDef> JetDatabase::Relations() {
    const jet::Database::Reading reading(Storage());
    return ReadRelations(*storage_);
}

std::vector<std::u16string> JetDatabase::QueryNames() {
    const jet::Database::Reading reading(Storage());
    std::vector<std::u16string> names;
    for (const jet::CatalogObject& object : storage_->Objects()) {
        if (object.type == jet::CatalogObject::kQuery) names.push_back(object.name);
    }
    return names;
}

std::u16string JetDatabase::QueryText(std::u16string_view name) {
    const jet::Database::Reading reading(Storage());
    const auto text = SelectOfQuery(*storage_, name);
    if (!text) Raise(ErrorNumber::ObjectNotFound, {name});
    return *text;
}

void JetDatabase::SaveQuery(std::u16string_view name, std::u16string_view text) {
    const std::vector<jet::QueryPart> parts = PartsOfSelect(sql::Parse(text));
    jet::Database::Writing writing(Storage());
    const auto known = storage_->FindObject(name);
    if (known && known->type == jet::CatalogObject::kQuery) storage_->DropQuery(name);
    storage_->CreateQuery(name, parts);
    writing.Commit();
}

void JetDatabase::DropQuery(std::u16string_view name) {
    jet::Database::Writing writing(Storage());
    storage_->DropQuery(name);
    writing.Commit();
}

void JetDatabase::CreateTable(const TableDef& table) {
    if (table.fields.empty()) Raise(ErrorNumber::NoFieldDefined, {table.name});
    sql::TableDefinition definition{table.name, {}, {}, {}, {table.validation_rule, table.validation_text}};
    for (const FieldDef& field : table.fields) definition.columns.push_back(ColumnOf(field));
    for (const IndexDef& index : table.indexes) definition.indexes.push_back(IndexOf(index, definition.columns));
    jet::Database::Writing writing(Storage());
    catalog_->CreateTable(definition);
    writing.Commit();
}

void JetDatabase::AddField(std::u16string_view table, const FieldDef& field) {
    jet::Database::Writing writing(Storage());
    catalog_->AddColumn(table, ColumnOf(field));
    writing.Commit();
}

void JetDatabase::CreateIndex(std::u16string_view name, const IndexDef& index) {
    jet::Database::Writing writing(Storage());
    const auto table = catalog_->FindTable(name);
    if (!table) Raise(ErrorNumber::NoSuchTable, {name});
    catalog_->CreateIndex(name, IndexOf(index, table->Columns()));
    writing.Commit();
}

void JetDatabase::CreateRelation(const RelationDef& relation) {
    jet::Relationship made;
    made.name = relation.name;
    made.table = relation.foreign_table;
    made.referenced_table = relation.table;
    made.enforced = (relation.attributes & RelationDef::kDontEnforce) == 0;
    made.cascade_update = (relation.attributes & RelationDef::kUpdateCascade) != 0;
    made.cascade_delete = (relation.attributes & RelationDef::kDeleteCascade) != 0;
    for (const RelationDef::Part& part : relation.fields) {
        made.columns.push_back(part.foreign_name);
        made.referenced_columns.push_back(part.name);
    }
    if (made.columns.empty()) Raise(ErrorNumber::NoFieldDefined, {relation.name});
    jet::Database::Writing writing(Storage());
    storage_->CreateRelationship(made);
    writing.Commit();
}

void JetDatabase::DropTable(std::u16string_view name) {
    jet::Database::Writing writing(Storage());
    storage_->DropTable(name);
    writing.Commit();
}

void JetDatabase::DropField(std::u16string_view table, std::u16string_view field) {
    jet::Database::Writing writing(Storage());
    storage_->DropColumn(table, field);
    writing.Commit();
}

void JetDatabase::DropIndex(std::u16string_view table, std::u16string_view index) {
    jet::Database::Writing writing(Storage());
    storage_->DropIndex(table, index);
    writing.Commit();
}

void JetDatabase::DropRelation(std::u16string_view name) {
    jet::Database::Writing writing(Storage());
    storage_->DropRelationship(name);
    writing.Commit();
}

}  // namespace qmtrain::dao
