// CREATE, DROP and ALTER: names of columns become positions, and the catalogue does the rest.
#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "sql/statements/execute.h"

namespace qmtrain::sql {
namespace {

std::size_t RequireColumn(const std::vector<Column>& columns, const std::u16string& name) {
    const auto found =
        std::ranges::find_if(columns, [&](const Column& column) { return EqualNames(column.name, name); });
    if (found == columns.end()) Raise(ErrorNumber::FieldNotFound, {name});
    return found - columns.begin();
}

Index MakeIndex(const ast::IndexDefinition& definition, const std::vector<Column>& columns) {
    Index index;
    index.name = definition.name;
    index.unique = definition.unique;
    index.primary = definition.primary;
    index.required = definition.required;
    index.ignore_nulls = definition.ignore_nulls;
    for (const ast::IndexDefinition::Key& key : definition.keys) {
        const std::size_t column = RequireColumn(columns, key.column);
        const auto same = [column](const IndexColumn& other) { return other.column == column; };
        if (std::ranges::any_of(index.columns, same)) Raise(ErrorNumber::FieldExists, {key.column});
        index.columns.push_back({column, key.descending});
    }
    return index;
}

Reference MakeReference(const ast::ReferenceDefinition& definition, const std::vector<Column>& columns) {
    Reference reference;
    reference.name = definition.name;
    reference.table = definition.table;
    reference.referenced_columns = definition.referenced_columns;
    reference.cascade_update = definition.cascade_update;
    reference.cascade_delete = definition.cascade_delete;
    for (const std::u16string& name : definition.columns) reference.columns.push_back(RequireColumn(columns, name));
    const auto& referenced = reference.referenced_columns;
    if (!referenced.empty() && referenced.size() != reference.columns.size()) {
        Raise(ErrorNumber::SyntaxInCreateTable, {definition.table});
    }
    return reference;
}

// An index without a name gets the one that designers are used to.
void NameIndex(const std::vector<Index>& others, Index& index) {
    if (!index.name.empty()) return;
    if (index.primary) {
        index.name = u"PrimaryKey";
        return;
    }
    for (std::int64_t number = 1;; ++number) {
        index.name = u"Index_" + ToText(number);
        const auto taken = [&](const Index& other) { return EqualNames(other.name, index.name); };
        if (std::ranges::none_of(others, taken)) return;
    }
}

void AddConstraint(TableSchema& table, const ast::Constraint& constraint) {
    if (const auto* reference = std::get_if<ast::ReferenceDefinition>(&constraint)) {
        table.references.push_back(MakeReference(*reference, table.columns));
        return;
    }
    Index index = MakeIndex(std::get<ast::IndexDefinition>(constraint), table.columns);
    NameIndex(table.indexes, index);
    for (const Index& other : table.indexes) {
        const bool two_primaries = index.primary && other.primary;
        if (two_primaries || EqualNames(other.name, index.name)) Raise(ErrorNumber::SyntaxInCreateTable, {index.name});
    }
    table.indexes.push_back(std::move(index));
}

void AddConstraint(Catalog& catalog, const std::u16string& name, const ast::Constraint& constraint) {
    const std::shared_ptr<Table> table = RequireTable(catalog, name);
    if (const auto* reference = std::get_if<ast::ReferenceDefinition>(&constraint)) {
        catalog.AddReference(name, MakeReference(*reference, table->Columns()));
        return;
    }
    Index index = MakeIndex(std::get<ast::IndexDefinition>(constraint), table->Columns());
    NameIndex(table->Indexes(), index);
    catalog.CreateIndex(name, index);
}

void AddColumn(Catalog& catalog, const std::u16string& table, const ast::ColumnDefinition& definition) {
    catalog.AddColumn(table, definition.column);
    for (const ast::Constraint& constraint : definition.constraints) AddConstraint(catalog, table, constraint);
}

// What the statement does not speak of stays.
void AlterColumn(Catalog& catalog, const Table& table, Column column) {
    const Column& old = table.ColumnAt(RequireColumn(table.Columns(), column.name));
    column.name = old.name;
    column.required = column.required || old.required;
    column.allow_zero_length = old.allow_zero_length;
    if (column.default_expression.empty()) column.default_expression = old.default_expression;
    catalog.AlterColumn(table.Name(), column);
}

}  // namespace

void Catalog::AlterColumn(std::u16string_view, const Column& column) {
    Raise(ErrorNumber::OperationNotSupported, {column.name});
}

std::int64_t Run(Catalog& catalog, const ast::CreateTable& create) {
    if (catalog.FindTable(create.name) != nullptr) Raise(ErrorNumber::TableExists, {create.name});
    TableSchema table;
    table.name = create.name;
    for (const ast::ColumnDefinition& definition : create.columns) {
        const auto same = [&](const Column& column) { return EqualNames(column.name, definition.column.name); };
        if (std::ranges::any_of(table.columns, same)) Raise(ErrorNumber::FieldExists, {definition.column.name});
        table.columns.push_back(definition.column);
    }
    for (const ast::ColumnDefinition& definition : create.columns) {
        for (const ast::Constraint& constraint : definition.constraints) AddConstraint(table, constraint);
    }
    for (const ast::Constraint& constraint : create.constraints) AddConstraint(table, constraint);
    catalog.CreateTable(table);
    return 0;
}

std::int64_t Run(Catalog& catalog, const ast::CreateIndex& create) {
    AddConstraint(catalog, create.table, create.index);
    return 0;
}

std::int64_t Run(Catalog& catalog, const ast::DropTable& drop) {
    RequireTable(catalog, drop.name);
    catalog.DropTable(drop.name);
    return 0;
}

std::int64_t Run(Catalog& catalog, const ast::DropIndex& drop) {
    RequireTable(catalog, drop.table);
    catalog.DropIndex(drop.table, drop.name);
    return 0;
}

std::int64_t Run(Catalog& catalog, const ast::AlterTable& alter) {
    const std::shared_ptr<Table> table = RequireTable(catalog, alter.table);
    if (const auto* column = std::get_if<ast::ColumnDefinition>(&alter.action)) {
        AddColumn(catalog, alter.table, *column);
    } else if (const auto* constraint = std::get_if<ast::Constraint>(&alter.action)) {
        AddConstraint(catalog, alter.table, *constraint);
    } else if (const auto* dropped = std::get_if<ast::AlterTable::DropColumn>(&alter.action)) {
        RequireColumn(table->Columns(), dropped->name);
        catalog.DropColumn(alter.table, dropped->name);
    } else if (const auto* changed = std::get_if<ast::AlterTable::AlterColumn>(&alter.action)) {
        AlterColumn(catalog, *table, changed->definition.column);
    } else {
        const std::u16string& name = std::get<ast::AlterTable::DropConstraint>(alter.action).name;
        if (!catalog.DropReference(alter.table, name)) catalog.DropIndex(alter.table, name);
    }
    return 0;
}

}  // namespace qmtrain::sql
