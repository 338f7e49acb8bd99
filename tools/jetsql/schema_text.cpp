#include "schema_text.h"

#include <algorithm>

#include "core/text.h"
#include "dao/jet_columns.h"

namespace qmtrain::jetsql {
namespace {

std::u16string Quoted(std::u16string_view name) {
    return u"[" + std::u16string(name) + u"]";
}

template <class List, class Describe>
std::u16string Listed(const List& list, Describe describe) {
    std::u16string text;
    for (const auto& item : list) {
        if (!text.empty()) text += u", ";
        text += describe(item);
    }
    return u"(" + text + u")";
}

std::u16string TypeText(const jet::StoredColumn& column, jet::Version version) {
    switch (column.type) {
        case ColumnType::Boolean: return u"YESNO";
        case ColumnType::Byte: return u"BYTE";
        case ColumnType::Integer: return u"SHORT";
        case ColumnType::Long: return column.IsAutonumber() ? u"COUNTER" : u"LONG";
        case ColumnType::Currency: return u"CURRENCY";
        case ColumnType::Single: return u"SINGLE";
        case ColumnType::Double: return u"DOUBLE";
        case ColumnType::Date: return u"DATETIME";
        case ColumnType::Text: {
            const int bytes_each = version == jet::Version::Jet4 ? 2 : 1;
            return u"TEXT(" + ToText(std::int64_t{column.length / bytes_each}) + u")";
        }
        case ColumnType::LongBinary: return u"LONGBINARY";
        case ColumnType::Memo: return u"MEMO";
        case ColumnType::Guid: return u"GUID";
        case ColumnType::Decimal:
            return u"DECIMAL(" + ToText(std::int64_t{column.precision}) + u", " + ToText(std::int64_t{column.scale}) +
                   u")";
        default: return u"BINARY(" + ToText(std::int64_t{column.length}) + u")";
    }
}

class TableText {
public:
    TableText(const jet::Table& table, SchemaText& schema)
        : table_(table), definition_(table.Definition()), name_(Quoted(table.Name())), schema_(schema) {}

    void Describe() {
        std::u16string text = u"CREATE TABLE " + name_ + u" (\n";
        for (const std::size_t position : dao::Layout(table_).positions)
            text += u"  " + ColumnText(definition_.columns[position]) + u",\n";
        for (const jet::LogicalIndex& index : definition_.logical_indexes) {
            if (index.role != jet::IndexRole::Primary) continue;
            text += u"  CONSTRAINT " + Quoted(index.name) + u" PRIMARY KEY " + Keys(index) + u",\n";
        }
        text.resize(text.size() - 2);
        schema_.statements.push_back(text + u"\n);");
        for (const jet::LogicalIndex& index : definition_.logical_indexes) {
            if (index.role == jet::IndexRole::Ordinary) DescribeIndex(index);
        }
    }

private:
    std::u16string ColumnText(const jet::StoredColumn& column) const {
        std::u16string text = Quoted(column.name) + u" " + TypeText(column, table_.GetVersion());
        std::u16string_view value = column.default_expression;
        while (!value.empty() && (value.front() == u'=' || value.front() == u' ')) value.remove_prefix(1);
        if (!value.empty() && column.type != ColumnType::Guid) text += u" DEFAULT " + std::u16string(value);
        if (column.required) text += u" NOT NULL";
        return text;
    }

    std::u16string Keys(const jet::LogicalIndex& index) const {
        return Listed(definition_.real_indexes[index.real].columns, [this](const jet::KeyColumn& part) {
            return Quoted(definition_.columns[definition_.ColumnByNumber(part.number)].name) +
                   (part.ascending ? u"" : u" DESC");
        });
    }

    void DescribeIndex(const jet::LogicalIndex& index) {
        const jet::RealIndex& real = definition_.real_indexes[index.real];
        std::u16string text = real.IsUnique() ? u"CREATE UNIQUE INDEX " : u"CREATE INDEX ";
        text += Quoted(index.name) + u" ON " + name_ + u" " + Keys(index);
        if (real.IsRequired()) {
            text += u" WITH DISALLOW NULL";
        } else if (real.IgnoresNulls()) {
            text += u" WITH IGNORE NULL";
        }
        schema_.statements.push_back(text + u";");
    }

    const jet::Table& table_;
    const jet::TableDefinition& definition_;
    std::u16string name_;
    SchemaText& schema_;
};

void DescribeRelationship(const jet::Relationship& relationship, SchemaText& schema) {
    if (!relationship.enforced) {
        schema.left_out.push_back(u"relationship without integrity " + Quoted(relationship.name));
        return;
    }
    std::u16string text =
        u"ALTER TABLE " + Quoted(relationship.table) + u" ADD CONSTRAINT " + Quoted(relationship.name);
    text += u" FOREIGN KEY " + Listed(relationship.columns, Quoted) + u" REFERENCES " +
            Quoted(relationship.referenced_table) + u" " + Listed(relationship.referenced_columns, Quoted);
    if (relationship.cascade_update) text += u" ON UPDATE CASCADE";
    if (relationship.cascade_delete) text += u" ON DELETE CASCADE";
    schema.statements.push_back(text + u";");
}

}  // namespace

SchemaText DescribeSchema(jet::Database& database, const std::vector<std::u16string>& tables) {
    SchemaText schema;
    const auto listed = [&tables](const std::u16string& name) {
        return std::any_of(tables.begin(), tables.end(),
                           [&](const std::u16string& other) { return EqualNames(other, name); });
    };
    for (const std::u16string& name : tables) {
        const std::optional<jet::CatalogObject> object = database.FindObject(name);
        if (!object || object->type != jet::CatalogObject::kTable) {
            schema.left_out.push_back(u"linked table " + Quoted(name));
            continue;
        }
        TableText(*database.FindTable(name), schema).Describe();
    }
    for (const jet::Relationship& relationship : database.Relationships()) {
        if (listed(relationship.table) && listed(relationship.referenced_table))
            DescribeRelationship(relationship, schema);
    }
    return schema;
}

}  // namespace qmtrain::jetsql
