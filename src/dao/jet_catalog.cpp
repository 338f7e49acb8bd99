#include "dao/jet_catalog.h"

#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "core/work.h"
#include "dao/jet_columns.h"
#include "dao/jet_table.h"
#include "dao/odbc_links.h"
#include "dao/saved_query.h"
#include "sql/sql.h"

namespace qmtrain::dao {

std::shared_ptr<jet::Table> JetCatalog::Require(std::u16string_view name) {
    if (const auto link = links_.FindLink(name))
        Raise(ErrorNumber::OperationNotSupported, {u"链接表“" + link->name + u"”的结构只能在服务器上更改。"});
    auto table = database_.FindTable(name);
    if (!table) Raise(ErrorNumber::NoSuchTable, {name});
    return table;
}

std::shared_ptr<sql::Table> JetCatalog::FindTable(std::u16string_view name) {
    if (auto linked = links_.FindTable(name)) return linked;
    auto table = database_.FindTable(name);
    if (!table) return nullptr;
    std::erase_if(known_, [](const Known& known) { return known.table.expired(); });
    for (const Known& known : known_) {
        if (known.table.lock() == table) return ShowTable(std::move(table), known.layout);
    }
    known_.push_back({table, std::make_shared<const Layout>(*table)});
    return ShowTable(std::move(table), known_.back().layout);
}

std::optional<std::u16string> JetCatalog::FindQuery(std::u16string_view name) {
    return SelectOfQuery(database_, name);
}

// While the links analyse a statement, they use this catalogue themselves: no delegation within that.
std::shared_ptr<const sql::ast::Select> JetCatalog::Delegate(const sql::ast::Select& select) {
    if (delegating_) return nullptr;
    const Delegating now(delegating_);
    return links_.Delegate(*this, select);
}

std::optional<sql::DelegatedChange> JetCatalog::DelegateChange(const sql::ast::Statement& statement) {
    if (delegating_) return std::nullopt;
    const Delegating now(delegating_);
    return links_.DelegateChange(*this, statement);
}

void JetCatalog::CreateTable(const sql::TableSchema& schema) {
    jet::TableSpec spec{.name = schema.name, .validation = schema.validation};
    for (const sql::Column& column : schema.columns) spec.columns.push_back(column);
    for (const sql::Index& index : schema.indexes) spec.indexes.push_back(ToSpec(index, schema.columns));
    database_.CreateTable(spec);
    for (const sql::Reference& reference : schema.references) AddReference(schema.name, reference);
}

void JetCatalog::DropTable(std::u16string_view name) {
    database_.DropTable(name);
}

void JetCatalog::CreateIndex(std::u16string_view table, const sql::Index& index) {
    const jet::IndexSpec spec = ToSpec(index, Layout(*Require(table)).columns);
    database_.CreateIndex(table, spec);
}

void JetCatalog::DropIndex(std::u16string_view table, std::u16string_view index) {
    database_.DropIndex(table, index);
}

void JetCatalog::AddColumn(std::u16string_view table, const sql::Column& column) {
    database_.AddColumn(table, column);
}

void JetCatalog::DropColumn(std::u16string_view table, std::u16string_view column) {
    database_.DropColumn(table, column);
}

bool JetCatalog::DropReference(std::u16string_view table, std::u16string_view name) {
    for (const jet::Relationship& relationship : database_.Relationships()) {
        if (!EqualNames(relationship.name, name) || !EqualNames(relationship.table, table)) continue;
        database_.DropRelationship(name);
        return true;
    }
    return false;
}

// The values go over into a new column, which takes the old one's name, place and indexes.
void JetCatalog::AlterColumn(std::u16string_view name, const sql::Column& wanted) {
    const Layout layout(*Require(name));
    const std::size_t at = std::ranges::find(layout.columns, wanted.name, &sql::Column::name) - layout.columns.begin();
    const sql::Column& old = layout.columns[at];
    if (wanted.autonumber && !old.autonumber)
        Raise(ErrorNumber::OperationNotSupported, {u"把字段“" + wanted.name + u"”改为自动编号。"});
    if (wanted.autonumber) return;
    for (const jet::Relationship& relationship : database_.Relationships()) {
        const auto uses = [&](std::u16string_view table, const std::vector<std::u16string>& columns) {
            return EqualNames(table, name) && std::ranges::any_of(columns, [&](const std::u16string& column) {
                       return EqualNames(column, wanted.name);
                   });
        };
        if (uses(relationship.table, relationship.columns) ||
            uses(relationship.referenced_table, relationship.referenced_columns))
            Raise(ErrorNumber::UsedInRelationship, {relationship.name});
    }
    jet::RequireColumnType(database_.GetVersion(), wanted.type, wanted.name);
    std::vector<jet::IndexSpec> indexes;
    for (const sql::Index& index : layout.indexes) {
        const auto has = [&](const sql::IndexColumn& part) { return part.column == at; };
        if (std::ranges::any_of(index.columns, has)) indexes.push_back(ToSpec(index, layout.columns));
    }
    sql::Column added = wanted;
    added.name = u"~";
    for (int number = 1; std::ranges::find(layout.columns, added.name, &sql::Column::name) != layout.columns.end();)
        added.name = u"~" + ToText(number++);
    database_.AddColumn(name, added);
    CopyColumn(name, at, wanted);
    for (const jet::IndexSpec& index : indexes) database_.DropIndex(name, index.name);
    database_.DropColumn(name, wanted.name);
    database_.RenameColumn(name, added.name, wanted.name, layout.Ordinal(at));
    if (!old.validation.condition.empty()) {
        sql::Column ruled = wanted;
        ruled.validation = old.validation;
        database_.SetColumnSettings(name, ruled);
    }
    for (const jet::IndexSpec& index : indexes) database_.CreateIndex(name, index);
}

// Into the last column.
void JetCatalog::CopyColumn(std::u16string_view name, std::size_t from, const sql::Column& wanted) {
    const auto table = FindTable(name);
    const std::size_t to = table->Columns().size() - 1;
    const auto cursor = table->OpenCursor();
    std::vector<sql::RowId> rows;
    for (cursor->Scan(); cursor->Next();) rows.push_back(cursor->Row());
    Value value;
    WorkSteps steps;
    for (const sql::RowId row : rows) {
        steps.Next();
        if (!cursor->MoveTo(row)) continue;
        cursor->Read(from, value);
        if (value.IsNull() && wanted.required) Raise(ErrorNumber::FieldRequired, {wanted.name});
        const sql::Assignment change{to, sql::ConvertToColumn(value, wanted)};
        table->Update(row, {&change, 1});
    }
}

void JetCatalog::AddReference(std::u16string_view name, const sql::Reference& reference) {
    jet::Relationship relationship;
    relationship.name = reference.name.empty() ? reference.table + std::u16string(name) : reference.name;
    relationship.table = name;
    relationship.referenced_table = reference.table;
    relationship.referenced_columns = reference.referenced_columns;
    relationship.cascade_update = reference.cascade_update;
    relationship.cascade_delete = reference.cascade_delete;
    const Layout own(*Require(name));
    for (const std::size_t column : reference.columns) relationship.columns.push_back(own.columns[column].name);
    if (relationship.referenced_columns.empty()) {
        const Layout other(*Require(reference.table));
        for (const sql::Index& index : other.indexes) {
            if (!index.primary) continue;
            for (const sql::IndexColumn& part : index.columns) {
                relationship.referenced_columns.push_back(other.columns[part.column].name);
            }
        }
        if (relationship.referenced_columns.empty()) Raise(ErrorNumber::NoUniqueIndexForReference, {reference.table});
    }
    database_.CreateRelationship(relationship);
}

}  // namespace qmtrain::dao
