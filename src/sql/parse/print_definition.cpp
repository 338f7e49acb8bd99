#include "core/enum_table.h"
#include "core/text.h"
#include "sql/parse/printer.h"

namespace qmtrain::sql::ast {

void Printer::PutParameters(const std::vector<Parameter>& parameters) {
    if (parameters.empty()) return;
    out += u"PARAMETERS ";
    PutList(parameters, [this](const Parameter& parameter) {
        out += Bracketed(parameter.column.name) + u" ";
        if (parameter.typed)
            PutType(parameter.column);
        else
            out += u"VALUE";
    });
    out += u"; ";
}

void Printer::Put(const CreateTable& create) {
    out += u"CREATE TABLE " + Bracketed(create.name) + u" (";
    PutList(create.columns, [this](const ColumnDefinition& column) { PutDefinition(column); });
    for (const Constraint& constraint : create.constraints) {
        out += u", ";
        PutConstraint(constraint);
    }
    out += u")";
}

void Printer::Put(const CreateIndex& create) {
    const IndexDefinition& index = create.index;
    out += index.unique ? u"CREATE UNIQUE INDEX " : u"CREATE INDEX ";
    out += Bracketed(index.name) + u" ON " + Bracketed(create.table) + u" ";
    PutKeys(index);
    if (index.primary)
        out += u" WITH PRIMARY";
    else if (index.required)
        out += u" WITH DISALLOW NULL";
    else if (index.ignore_nulls)
        out += u" WITH IGNORE NULL";
}

void Printer::Put(const DropTable& drop) {
    out += u"DROP TABLE " + Bracketed(drop.name);
}

void Printer::Put(const DropIndex& drop) {
    out += u"DROP INDEX " + Bracketed(drop.name) + u" ON " + Bracketed(drop.table);
}

void Printer::Put(const AlterTable& alter) {
    out += u"ALTER TABLE " + Bracketed(alter.table);
    if (const auto* column = std::get_if<ColumnDefinition>(&alter.action)) {
        out += u" ADD COLUMN ";
        PutDefinition(*column);
    } else if (const auto* constraint = std::get_if<Constraint>(&alter.action)) {
        out += u" ADD ";
        PutConstraint(*constraint);
    } else if (const auto* dropped = std::get_if<AlterTable::DropColumn>(&alter.action)) {
        out += u" DROP COLUMN " + Bracketed(dropped->name);
    } else if (const auto* changed = std::get_if<AlterTable::AlterColumn>(&alter.action)) {
        out += u" ALTER COLUMN ";
        PutDefinition(changed->definition);
    } else {
        out += u" DROP CONSTRAINT " + Bracketed(std::get<AlterTable::DropConstraint>(alter.action).name);
    }
}

std::u16string Printer::NameList(const std::vector<std::u16string>& names) {
    std::u16string list = u"(";
    for (const std::u16string& name : names) list += (list.size() > 1 ? u", " : u"") + Bracketed(name);
    return list + u")";
}

void Printer::PutType(const Column& column) {
    constexpr EnumTable<ColumnType, std::u16string_view, 14> kTypes = {
        u"YESNO",    u"BYTE",   u"SHORT", u"LONG",       u"CURRENCY", u"SINGLE", u"DOUBLE",
        u"DATETIME", u"BINARY", u"TEXT",  u"LONGBINARY", u"MEMO",     u"GUID",   u"DECIMAL"};
    out += column.autonumber ? u"COUNTER" : kTypes[column.type];
    if (column.size > 0) out += u"(" + ToText(column.size) + u")";
    if (column.type == ColumnType::Decimal) {
        out += u"(" + ToText(column.precision) + u", " + ToText(column.scale) + u")";
    }
}

void Printer::PutDefinition(const ColumnDefinition& definition) {
    const Column& column = definition.column;
    out += Bracketed(column.name) + u" ";
    PutType(column);
    if (!column.default_expression.empty()) out += u" DEFAULT " + column.default_expression;
    if (column.required) out += u" NOT NULL";
    for (const Constraint& constraint : definition.constraints) {
        out += u" ";
        PutConstraintName(constraint);
        if (const auto* index = std::get_if<IndexDefinition>(&constraint)) {
            out += index->primary ? u"PRIMARY KEY" : u"UNIQUE";
        } else {
            PutReference(std::get<ReferenceDefinition>(constraint));
        }
    }
}

void Printer::PutConstraintName(const Constraint& constraint) {
    const std::u16string& name = std::visit([](const auto& c) -> const std::u16string& { return c.name; }, constraint);
    if (!name.empty()) out += u"CONSTRAINT " + Bracketed(name) + u" ";
}

void Printer::PutConstraint(const Constraint& constraint) {
    PutConstraintName(constraint);
    if (const auto* index = std::get_if<IndexDefinition>(&constraint)) {
        out += index->primary ? u"PRIMARY KEY " : u"UNIQUE ";
        return PutKeys(*index);
    }
    const auto& reference = std::get<ReferenceDefinition>(constraint);
    out += u"FOREIGN KEY " + NameList(reference.columns) + u" ";
    PutReference(reference);
}

void Printer::PutReference(const ReferenceDefinition& reference) {
    out += u"REFERENCES " + Bracketed(reference.table);
    if (!reference.referenced_columns.empty()) out += u" " + NameList(reference.referenced_columns);
    if (reference.cascade_update) out += u" ON UPDATE CASCADE";
    if (reference.cascade_delete) out += u" ON DELETE CASCADE";
}

void Printer::PutKeys(const IndexDefinition& index) {
    out += u"(";
    PutList(index.keys, [this](const IndexDefinition::Key& key) {
        out += Bracketed(key.column);
        if (key.descending) out += u" DESC";
    });
    out += u")";
}

}  // namespace qmtrain::sql::ast
