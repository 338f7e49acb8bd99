// Changing the structure: tables, columns, indexes, links and queries.
//
// Each operation works on a fresh reading of the definitions it changes. Writing one drops the loaded Table object.

#include "jet/connect_text.h"
#include "jet/definition_editor.h"
#include "jet/row_cursor.h"
#include "jet/system_tables.h"

namespace qmtrain::jet {
namespace {

void SetText(Properties& properties, const std::u16string& owner, std::u16string name, const std::u16string& value,
             const Pager& pager) {
    if (value.empty()) return;
    properties.Set(owner, TextProperty(std::move(name), value, pager.GetFormat(), pager.GetHeader().code_page));
}

void SetValidation(Properties& properties, const std::u16string& owner, const ValidationRule& rule,
                   const Pager& pager) {
    SetText(properties, owner, u"ValidationRule", rule.condition, pager);
    SetText(properties, owner, u"ValidationText", rule.text, pager);
}

void AddColumnProperties(const Column& spec, const Pager& pager, Properties& properties) {
    if (spec.required) properties.Set(spec.name, BooleanProperty(u"Required", true));
    const bool text = IsText(spec.type);
    if (text) properties.Set(spec.name, BooleanProperty(u"AllowZeroLength", spec.allow_zero_length));
    SetText(properties, spec.name, u"DefaultValue", spec.default_expression, pager);
    SetValidation(properties, spec.name, spec.validation, pager);
}

}  // namespace

// Writes a new table's definition.
PageNumber Database::AddTable(const TableSpec& spec, Properties& properties) {
    CheckName(spec.name, *pager_);
    if (FindObject(spec.name)) Raise(ErrorNumber::TableExists, {spec.name});
    if (spec.columns.empty()) Raise(ErrorNumber::SyntaxInCreateTable, {spec.name});
    DefinitionEditor editor(*this, spec.name, 0);
    for (const Column& column : spec.columns) {
        editor.AddColumn(column);
        AddColumnProperties(column, *pager_, properties);
    }
    SetValidation(properties, {}, spec.validation, *pager_);
    for (const IndexSpec& index : spec.indexes) editor.AddIndex(index);
    editor.Write();
    return editor.definition.page;
}

void Database::CreateTable(const TableSpec& spec) {
    Properties properties;
    CatalogObject object;
    object.id = static_cast<std::int32_t>(AddTable(spec, properties));
    SystemCatalog catalog(*this);
    object.parent = kTablesContainer;
    object.name = spec.name;
    object.type = CatalogObject::kTable;
    catalog.AddObject(object, catalog.UserId(User::Admin), BlobOf(properties));
    catalog.InheritAces(object.id, kTablesContainer);
}

// The other file and the table in it must be there.
void Database::CreateLink(std::u16string_view name, std::u16string_view connect, std::u16string_view source_table) {
    CatalogObject link;
    link.name = name;
    link.type = CatalogObject::kLinkedTable;
    link.flags = CatalogObject::kLinkFlag;
    link.parent = kTablesContainer;
    if (NamesAccess(connect)) link.database = ConnectValue(connect, u"DATABASE").value_or(std::u16string());
    if (const auto password = ConnectValue(connect, u"PWD")) link.connect = u"MS Access;PWD=" + *password;
    link.foreign_name = source_table;
    CheckName(link.name, *pager_);
    if (FindObject(name)) Raise(ErrorNumber::TableExists, {name});
    if (link.database.empty()) {
        Raise(ErrorNumber::OperationNotSupported, {u"链接表“" + link.name + u"”没有指明 Access 文件。"});
    }
    if (!LinkedTable(link)) Raise(ErrorNumber::NoSuchTable, {source_table});
    SystemCatalog catalog(*this);
    link.id = catalog.NewId();
    catalog.AddObject(link, catalog.UserId(User::Admin), {});
    catalog.InheritAces(link.id, kTablesContainer);
}

void Database::CreateOdbcLink(const TableSpec& spec, std::u16string_view connect, std::u16string_view source_table,
                              bool saved_password, const Bytes& remote_columns) {
    Properties properties;
    CatalogObject link;
    link.id = static_cast<std::int32_t>(AddTable(spec, properties));
    link.parent = kTablesContainer;
    link.name = spec.name;
    link.type = CatalogObject::kLinkedOdbc;
    link.flags = CatalogObject::kOdbcLinkFlag | (saved_password ? CatalogObject::kSavedPasswordFlag : 0);
    link.connect = connect;
    link.foreign_name = source_table;
    link.remote_columns = remote_columns;
    SystemCatalog catalog(*this);
    catalog.AddObject(link, catalog.UserId(User::Admin), BlobOf(properties));
    catalog.InheritAces(link.id, kTablesContainer);
}

void Database::DropTable(std::u16string_view name) {
    const auto link = FindObject(name);
    if (link && link->type == CatalogObject::kLinkedTable) return SystemCatalog(*this).RemoveObject(*link);
    const bool linked = link && link->type == CatalogObject::kLinkedOdbc && link->id > 0;
    const CatalogObject object = linked ? *link : RequireTable(*this, name);
    const auto page = object.Page();
    {
        const std::shared_ptr<Table> table = linked ? LinkDefinition(object) : TableAt(page);
        if (IsHeld(page)) Raise(ErrorNumber::ObjectInUse, {name});
        for (const LogicalIndex& index : table->Definition().logical_indexes) {
            if (index.side != LogicalIndex::Side::None) Raise(ErrorNumber::UsedInRelationship, {name});
        }
        SystemCatalog(*this).RemoveObject(object);
        table->FreeAllPages();
    }
    DefinitionEditor editor(*this, object.name, page);
    editor.RemoveMaps();
    Forget(page);
    for (const PageNumber part : editor.definition.pages) allocator_.Free(part, PageType::FreedDefinition);
}

void Database::CreateIndex(std::u16string_view name, const IndexSpec& spec) {
    const auto page = RequireTable(*this, name).Page();
    DefinitionEditor editor(*this, std::u16string(name), page);
    const bool fresh = editor.AddIndex(spec);
    editor.Write();
    if (fresh) TableAt(page)->BuildIndex(editor.definition.real_indexes.size() - 1);
}

void Database::DropIndex(std::u16string_view name, std::u16string_view index) {
    const auto page = RequireTable(*this, name).Page();
    DefinitionEditor editor(*this, std::u16string(name), page);
    const std::size_t position = editor.definition.FindLogicalIndex(index);
    if (position == kNoPosition) Raise(ErrorNumber::ObjectNotFound, {index});
    const auto& indexes = editor.definition.logical_indexes;
    const LogicalIndex& dropped = indexes[position];
    const auto needs = [&](const LogicalIndex& other) {
        return other.side == LogicalIndex::Side::Referenced && other.real == dropped.real;
    };
    if (dropped.side != LogicalIndex::Side::None || std::any_of(indexes.begin(), indexes.end(), needs)) {
        Raise(ErrorNumber::UsedInRelationship, {index});
    }
    editor.RemoveLogical(position);
    editor.Write();
}

void Database::AddColumn(std::u16string_view name, const Column& spec) {
    const CatalogObject object = RequireTable(*this, name);
    const auto page = object.Page();
    Properties properties = ReadProperties(name);
    DefinitionEditor editor(*this, object.name, page);
    const bool fixed_only = editor.definition.variable_columns == 0;
    editor.AddColumn(spec);
    if (fixed_only && editor.definition.variable_columns > 0) TableAt(page)->WriteRowsFor(editor.definition);
    editor.Write();
    AddColumnProperties(spec, *pager_, properties);
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
    if (!spec.autonumber) return;
    // An autonumber column numbers the rows that are there.
    const std::shared_ptr<Table> table = TableAt(page);
    std::vector<RowPointer> rows;
    RowCursor cursor(*table);
    for (cursor.Scan(); cursor.Next();) rows.push_back(cursor.Row());
    std::int32_t number = 0;
    for (const RowPointer row : rows) {
        const ColumnChange change{table->Definition().columns.size() - 1, ++number};
        table->Update(row, std::span(&change, 1));
    }
    Put(pager_->Write(page).Data() + pager_->GetFormat().definition_autonumber, number);
}

void Database::DropColumn(std::u16string_view name, std::u16string_view column) {
    const CatalogObject object = RequireTable(*this, name);
    const auto page = object.Page();
    Properties properties = ReadProperties(name);
    DefinitionEditor editor(*this, object.name, page);
    const std::size_t position = editor.definition.FindColumn(column);
    if (position == kNoPosition) Raise(ErrorNumber::FieldNotFound, {column});
    const std::uint16_t number = editor.definition.columns[position].number;
    for (const RealIndex& index : editor.definition.real_indexes) {
        for (const KeyColumn& part : index.columns) {
            if (part.number == number) Raise(ErrorNumber::FieldInIndex, {column});
        }
    }
    if (editor.definition.columns.size() == 1) Raise(ErrorNumber::OperationNotSupported, {u"表至少要有一个字段。"});
    std::erase_if(properties.owners, [&](const auto& owner) { return EqualNames(owner.first, column); });
    editor.RemoveColumn(position);
    editor.Write();
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
}

// `ordinal`: where it is shown.
void Database::RenameColumn(std::u16string_view table, std::u16string_view column, std::u16string_view name,
                            std::uint16_t ordinal) {
    const CatalogObject object = RequireTable(*this, table);
    CheckName(std::u16string(name), *pager_);
    Properties properties = ReadProperties(table);
    DefinitionEditor editor(*this, object.name, object.Page());
    const std::size_t position = editor.definition.FindColumn(column);
    if (position == kNoPosition) Raise(ErrorNumber::FieldNotFound, {column});
    if (editor.definition.FindColumn(name) != kNoPosition) Raise(ErrorNumber::FieldExists, {name});
    editor.definition.columns[position].name = name;
    editor.definition.columns[position].ordinal = ordinal;
    editor.Write();
    auto owner = properties.owners.extract(std::u16string(column));
    if (owner.empty()) return;
    owner.key() = name;
    properties.owners.insert(std::move(owner));
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
}

void Database::SetColumnSettings(std::u16string_view table, const Column& column) {
    const CatalogObject object = RequireTable(*this, table);
    Properties properties = ReadProperties(table);
    for (const std::u16string_view name :
         {u"Required", u"AllowZeroLength", u"DefaultValue", u"ValidationRule", u"ValidationText"})
        properties.Remove(column.name, name);
    AddColumnProperties(column, *pager_, properties);
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
    Forget(object.Page());
}

void Database::SetTableRule(std::u16string_view table, const ValidationRule& rule) {
    const CatalogObject object = RequireTable(*this, table);
    Properties properties = ReadProperties(table);
    for (const std::u16string_view name : {u"ValidationRule", u"ValidationText"}) properties.Remove({}, name);
    SetValidation(properties, {}, rule, *pager_);
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
    Forget(object.Page());
}

void Database::CreateQuery(std::u16string_view name, const std::vector<QueryPart>& parts) {
    CatalogObject object;
    object.name = name;
    CheckName(object.name, *pager_);
    if (FindObject(name)) Raise(ErrorNumber::TableExists, {name});
    SystemCatalog catalog(*this);
    object.id = catalog.NewId();
    object.parent = kTablesContainer;
    object.type = CatalogObject::kQuery;
    catalog.AddObject(object, catalog.UserId(User::Admin), {});
    catalog.InheritAces(object.id, kTablesContainer);
    catalog.AddQueryParts(object.id, parts);
}

void Database::DropQuery(std::u16string_view name) {
    const std::optional<CatalogObject> object = FindObject(name);
    if (!object || object->type != CatalogObject::kQuery) Raise(ErrorNumber::ObjectNotFound, {name});
    SystemCatalog catalog(*this);
    catalog.RemoveObject(*object);
    catalog.RemoveQueryParts(object->id);
}

}  // namespace qmtrain::jet
