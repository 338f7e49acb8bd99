// A database's structure: what there is, and changes of it.
#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "dao/column_types.h"
#include "dao/jet_columns.h"
#include "dao/jet_database.h"
#include "dao/query_parts.h"
#include "dao/saved_query.h"
#include "dao/table_defs.h"
#include "jet/database.h"
#include "sql/row_rules.h"

namespace qmtrain::dao {
namespace {

sql::Column ColumnOf(const FieldDef& field) {
    sql::Column column;
    const auto type = ColumnTypeOf(field.type);
    if (!type) Raise(ErrorNumber::InvalidFieldType, {field.name});
    column.name = field.name;
    column.type = *type;
    if (*type == ColumnType::Text || *type == ColumnType::Binary) column.size = field.size;
    if (*type == ColumnType::Text && (column.size < 0 || column.size > jet::kMaxTextSize))
        Raise(ErrorNumber::InvalidArgument,
              {u"文本字段“" + field.name + u"”的长度最多为 " + ToText(jet::kMaxTextSize) + u" 个字符。"});
    column.precision = field.precision;
    column.scale = field.scale;
    column.autonumber = field.IsAutonumber();
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
        std::size_t at = kNoPosition;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (EqualNames(columns[i].name, part.name)) at = i;
        }
        if (at == kNoPosition) Raise(ErrorNumber::FieldNotFound, {part.name});
        made.columns.push_back({at, part.descending});
    }
    return made;
}

// Raises SyntaxInExpression and the like for a rule that cannot be parsed.
void CheckRules(const std::u16string& table, const std::vector<sql::Column>& columns, const ValidationRule& of_rows) {
    const sql::RowRules rules(table, columns, of_rows);
}

// The rule of a column that the table has, or is to have; those of others may be what they are.
void CheckRules(sql::Catalog& catalog, std::u16string_view name, const sql::Column& column) {
    const auto table = catalog.FindTable(name);
    if (!table) Raise(ErrorNumber::NoSuchTable, {name});
    std::vector<sql::Column> columns = table->Columns();
    for (sql::Column& other : columns) other.validation = {};
    const auto own =
        std::ranges::find_if(columns, [&](const sql::Column& other) { return EqualNames(other.name, column.name); });
    if (own != columns.end())
        own->validation = column.validation;
    else
        columns.push_back(column);
    CheckRules(std::u16string(name), columns, {});
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
    sql::TableSchema schema{table.name, {}, {}, {}, {table.validation_rule, table.validation_text}};
    for (const FieldDef& field : table.fields) schema.columns.push_back(ColumnOf(field));
    for (const IndexDef& index : table.indexes) schema.indexes.push_back(IndexOf(index, schema.columns));
    CheckRules(table.name, schema.columns, schema.validation);
    jet::Database::Writing writing(Storage());
    catalog_->CreateTable(schema);
    writing.Commit();
}

void JetDatabase::AddField(std::u16string_view table, const FieldDef& field) {
    jet::Database::Writing writing(Storage());
    const sql::Column column = ColumnOf(field);
    CheckRules(*catalog_, table, column);
    catalog_->AddColumn(table, column);
    writing.Commit();
}

void JetDatabase::ChangeField(std::u16string_view table, const FieldDef& field) {
    jet::Database::Writing writing(Storage());
    const sql::Column column = ColumnOf(field);
    CheckRules(*catalog_, table, column);
    sql::DefaultValue(column);
    storage_->SetColumnSettings(table, column);
    writing.Commit();
}

void JetDatabase::ChangeRule(std::u16string_view name, const ValidationRule& rule) {
    jet::Database::Writing writing(Storage());
    const auto table = catalog_->FindTable(name);
    if (!table) Raise(ErrorNumber::NoSuchTable, {name});
    std::vector<sql::Column> columns = table->Columns();
    for (sql::Column& column : columns) column.validation = {};
    CheckRules(std::u16string(name), columns, rule);
    storage_->SetTableRule(name, rule);
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
