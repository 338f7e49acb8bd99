// Changing the structure: tables, columns, indexes, relationships.
//
// Each operation works on a fresh reading of the definitions it changes. Writing one drops the loaded Table object.

#include <algorithm>
#include <set>

#include "jet/code_page_text.h"
#include "jet/connect_text.h"
#include "jet/data_page.h"
#include "jet/database.h"
#include "jet/map_rows.h"
#include "jet/row_cursor.h"
#include "jet/system_tables.h"

namespace qmtrain::jet {
namespace {

constexpr int kMaxTextSize = 255;

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

class DefinitionEditor {
public:
    // `page` 0: a new table.
    DefinitionEditor(Database& database, std::u16string table_name, PageNumber page)
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

    Column& AddColumn(const ColumnSpec& spec) {
        CheckName(spec.name, pager_);
        if (definition.FindColumn(spec.name) >= 0) Raise(ErrorNumber::FieldExists, {spec.name});
        if (definition.max_columns >= kMaxColumns) Raise(ErrorNumber::TooManyFields, {name_});
        Column column;
        column.name = spec.name;
        column.type = spec.type;
        column.number = definition.max_columns++;
        for (const Column& other : definition.columns)  // which need not be in that order
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

    // Adds the logical index and, unless one with the same columns and rules is there, its tree. True when the tree is
    // new and has to be filled.
    bool AddIndex(const IndexSpec& spec) {
        CheckName(spec.name, pager_);
        if (definition.FindLogicalIndex(spec.name) >= 0) Raise(ErrorNumber::IndexExists, {name_, spec.name});
        if (definition.logical_indexes.size() >= kMaxIndexes) Raise(ErrorNumber::TooManyIndexes, {name_});
        const auto is_primary = [](const LogicalIndex& index) { return index.role == IndexRole::Primary; };
        if (spec.primary &&
            std::any_of(definition.logical_indexes.begin(), definition.logical_indexes.end(), is_primary)) {
            Raise(ErrorNumber::PrimaryKeyExists, {name_});
        }
        std::vector<KeyColumn> columns;
        for (const IndexColumnSpec& part : spec.columns)
            columns.push_back({KeyColumnNumber(part.column), part.ascending});
        if (columns.empty() || columns.size() > kMaxKeyColumns) Raise(ErrorNumber::InvalidName, {spec.name});
        const auto flags = static_cast<std::uint8_t>(pager_.GetFormat().index_flags |
                                                     (spec.unique || spec.primary ? RealIndex::kUnique : 0) |
                                                     (spec.required || spec.primary ? RealIndex::kRequired : 0) |
                                                     (spec.ignore_nulls ? RealIndex::kIgnoreNulls : 0));
        LogicalIndex logical;
        logical.name = spec.name;
        logical.role = spec.primary ? IndexRole::Primary : IndexRole::Ordinary;
        return AddLogical(logical, columns, flags);
    }

    // `flags` must match to share a tree; -1: any will do.
    bool AddLogical(LogicalIndex logical, const std::vector<KeyColumn>& columns, int flags) {
        logical.number = 0;
        for (const LogicalIndex& other : definition.logical_indexes)
            logical.number = std::max(logical.number, other.number + 1);
        std::size_t real = 0;
        while (real < definition.real_indexes.size() &&
               (definition.real_indexes[real].columns != columns ||
                (flags >= 0 && definition.real_indexes[real].flags != flags))) {
            ++real;
        }
        const bool fresh = real == definition.real_indexes.size();
        if (fresh) AddTree(columns, flags >= 0 ? static_cast<std::uint8_t>(flags) : pager_.GetFormat().index_flags);
        logical.real = static_cast<std::uint32_t>(real);
        definition.logical_indexes.push_back(std::move(logical));
        return fresh;
    }

    // Removes a logical index, and its tree when no other name stands for it.
    void RemoveLogical(std::size_t position) {
        const std::uint32_t real = definition.logical_indexes[position].real;
        definition.logical_indexes.erase(definition.logical_indexes.begin() + static_cast<std::ptrdiff_t>(position));
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

    void RemoveColumn(std::size_t position) {
        const Column column = definition.columns[position];
        database_.TableAt(definition.page)->FreeLongValues(position);
        maps_.Remove(column.owned_map);
        maps_.Remove(column.free_map);
        definition.columns.erase(definition.columns.begin() + static_cast<std::ptrdiff_t>(position));
    }

    void RemoveMaps() {
        maps_.Remove(definition.owned_map);
        maps_.Remove(definition.free_map);
        for (const RealIndex& index : definition.real_indexes) maps_.Remove(index.map);
        for (const Column& column : definition.columns) {
            maps_.Remove(column.owned_map);
            maps_.Remove(column.free_map);
        }
    }

    void Write() {
        if (EncodedLength(definition, pager_.GetFormat(), {}) > pager_.GetFormat().max_row)
            Raise(ErrorNumber::RecordTooLarge, {name_});
        WriteDefinition(pager_, database_.Allocator(), definition);
        database_.Forget(definition.page);
    }

    TableDefinition definition;

private:
    std::uint16_t KeyColumnNumber(const std::u16string& name) const {
        const int position = definition.FindColumn(name);
        if (position < 0) Raise(ErrorNumber::FieldNotFound, {name});
        if (definition.columns[position].type == ColumnType::LongBinary) {
            Raise(ErrorNumber::OperationNotSupported, {u"OLE 字段“" + name + u"”不能建立索引。"});
        }
        return definition.columns[position].number;
    }

    void SetLayout(Column& column, const ColumnSpec& spec) {
        const Format& format = pager_.GetFormat();
        const std::size_t size = FixedSize(spec.type);
        if (size == 0) {
            column.variable_index = definition.variable_columns++;
            if (spec.type == ColumnType::Text) {
                const int characters = spec.size == 0 ? kMaxTextSize : spec.size;
                if (characters < 0 || characters > kMaxTextSize) Raise(ErrorNumber::FieldTooLarge, {spec.name});
                column.length = static_cast<std::uint16_t>(characters * format.text_unit);
                if (format.version == Version::Jet4) column.extended_flags = Column::kCompressed;
            } else if (spec.type == ColumnType::Binary) {
                const auto most = static_cast<int>(format.max_binary);
                const int bytes = spec.size == 0 ? most : spec.size;
                if (bytes < 0 || bytes > most) Raise(ErrorNumber::FieldTooLarge, {spec.name});
                column.length = static_cast<std::uint16_t>(bytes);
            }
            return;
        }
        column.flags |= Column::kFixed;
        column.length = static_cast<std::uint16_t>(size);
        SetFixedSize(column);
        if (spec.autonumber) {
            const auto counter = [](const Column& other) { return other.IsAutonumber(); };
            const bool second = std::any_of(definition.columns.begin(), definition.columns.end(), counter);
            if (spec.type != ColumnType::Long || second)
                Raise(ErrorNumber::OperationNotSupported, {u"自动编号字段“" + spec.name + u"”。"});
            column.flags |= Column::kAutonumber;
        }
        if (spec.type == ColumnType::Decimal) {
            if (format.version == Version::Jet3) {
                Raise(ErrorNumber::OperationNotSupported,
                      {u"Jet 3（Access 97）格式没有小数字段“" + spec.name + u"”。"});
            }
            if (spec.precision < 1 || spec.precision > 28 || spec.scale < 0 || spec.scale > spec.precision) {
                Raise(ErrorNumber::FieldTooLarge, {spec.name});
            }
            column.precision = static_cast<std::uint8_t>(spec.precision);
            column.scale = static_cast<std::uint8_t>(spec.scale);
        }
        if (spec.type == ColumnType::Boolean) return;
        for (const Column& other : definition.columns) {
            if (!other.IsFixed() || other.type == ColumnType::Boolean) continue;
            column.fixed_offset =
                std::max(column.fixed_offset, static_cast<std::uint16_t>(other.fixed_offset + other.fixed_size));
        }
    }

    void AddTree(const std::vector<KeyColumn>& columns, std::uint8_t flags) {
        if (definition.real_indexes.size() >= kMaxIndexes) Raise(ErrorNumber::TooManyIndexes, {name_});
        RealIndex real;
        real.columns = columns;
        real.flags = flags;
        AddTreeFor(definition, real, maps_, database_);
        definition.real_indexes.push_back(std::move(real));
    }

    Database& database_;
    Pager& pager_;
    MapRows maps_;
    std::u16string name_;
};

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

void AddColumnProperties(const ColumnSpec& spec, const Pager& pager, Properties& properties) {
    if (spec.required) properties.Set(spec.name, BooleanProperty(u"Required", true));
    const bool text = IsText(spec.type);
    if (text) properties.Set(spec.name, BooleanProperty(u"AllowZeroLength", spec.allow_zero_length));
    SetText(properties, spec.name, u"DefaultValue", spec.default_value, pager);
    SetValidation(properties, spec.name, spec.validation, pager);
}

// ".rB", ".rC" …: the name of a relationship's index on the side that is referred to.
std::u16string ReferencedIndexName(const TableDefinition& table) {
    for (char16_t first = u'B';; ++first) {
        std::u16string name = u".r";
        if (first > u'Z') name += static_cast<char16_t>(u'A' + (first - u'Z' - 1) / 26);
        name += first <= u'Z' ? first : static_cast<char16_t>(u'A' + (first - u'Z' - 1) % 26);
        if (table.FindLogicalIndex(name) < 0) return name;
    }
}

CatalogObject RequireTable(Database& database, std::u16string_view name) {
    const std::optional<CatalogObject> object = database.FindObject(name);
    if (!object || object->type != CatalogObject::kTable) Raise(ErrorNumber::NoSuchTable, {name});
    if (object->IsSystem()) Raise(ErrorNumber::ReadOnly, {name, u"它是系统表。"});
    return *object;
}

void CheckRelated(const Table& table, const Table& referenced, const Relationship& relationship, std::size_t own_index,
                  std::size_t referenced_index) {
    RowCursor rows(table);
    rows.Scan();
    std::vector<int> columns;
    for (const KeyColumn& part : table.Definition().real_indexes[own_index].columns) {
        columns.push_back(table.Definition().ColumnByNumber(part.number));
    }
    std::vector<Value> values(columns.size());
    RowCursor found(referenced);
    while (rows.Next()) {
        bool all_null = true;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            rows.Read(static_cast<std::size_t>(columns[i]), values[i]);
            all_null = all_null && values[i].IsNull();
        }
        if (all_null) continue;
        Bytes key;
        referenced.AppendKey(referenced_index, values, key);
        found.Range(referenced_index, key, SuccessorOf(key));
        if (!found.Next()) Raise(ErrorNumber::RelatedRecordRequired, {relationship.referenced_table});
    }
}

}  // namespace

// Writes a new table's definition.
PageNumber Database::AddTable(const TableSpec& spec, Properties& properties) {
    CheckName(spec.name, *pager_);
    if (FindObject(spec.name)) Raise(ErrorNumber::TableExists, {spec.name});
    if (spec.columns.empty()) Raise(ErrorNumber::SyntaxInCreateTable, {spec.name});
    DefinitionEditor editor(*this, spec.name, 0);
    for (const ColumnSpec& column : spec.columns) {
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
    const auto page = static_cast<PageNumber>(object.id);
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
    const auto page = static_cast<PageNumber>(RequireTable(*this, name).id);
    DefinitionEditor editor(*this, std::u16string(name), page);
    const bool fresh = editor.AddIndex(spec);
    editor.Write();
    if (fresh) TableAt(page)->BuildIndex(editor.definition.real_indexes.size() - 1);
}

void Database::DropIndex(std::u16string_view name, std::u16string_view index) {
    const auto page = static_cast<PageNumber>(RequireTable(*this, name).id);
    DefinitionEditor editor(*this, std::u16string(name), page);
    const int position = editor.definition.FindLogicalIndex(index);
    if (position < 0) Raise(ErrorNumber::ObjectNotFound, {index});
    if (editor.definition.logical_indexes[position].side != LogicalIndex::Side::None) {
        Raise(ErrorNumber::UsedInRelationship, {index});
    }
    editor.RemoveLogical(static_cast<std::size_t>(position));
    editor.Write();
}

void Database::AddColumn(std::u16string_view name, const ColumnSpec& spec) {
    const CatalogObject object = RequireTable(*this, name);
    const auto page = static_cast<PageNumber>(object.id);
    Properties properties = ReadProperties(name);
    DefinitionEditor editor(*this, object.name, page);
    const bool fixed_only = editor.definition.variable_columns == 0;
    editor.AddColumn(spec);
    if (fixed_only && editor.definition.variable_columns > 0) TableAt(page)->WriteRowsFor(editor.definition);
    editor.Write();
    AddColumnProperties(spec, *pager_, properties);
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
    if (!spec.autonumber) return;
    // A counter numbers the rows that are there.
    const std::shared_ptr<Table> table = TableAt(page);
    std::vector<RowPointer> rows;
    RowCursor cursor(*table);
    for (cursor.Scan(); cursor.Next();) rows.push_back(cursor.Row());
    std::int32_t number = 0;
    for (const RowPointer row : rows) {
        const ColumnChange change{static_cast<int>(table->Definition().columns.size()) - 1, ++number};
        table->Update(row, std::span(&change, 1));
    }
    Put(pager_->Write(page).Data() + pager_->GetFormat().definition_autonumber, number);
}

void Database::DropColumn(std::u16string_view name, std::u16string_view column) {
    const CatalogObject object = RequireTable(*this, name);
    const auto page = static_cast<PageNumber>(object.id);
    Properties properties = ReadProperties(name);
    DefinitionEditor editor(*this, object.name, page);
    const int position = editor.definition.FindColumn(column);
    if (position < 0) Raise(ErrorNumber::FieldNotFound, {column});
    const std::uint16_t number = editor.definition.columns[position].number;
    for (const RealIndex& index : editor.definition.real_indexes) {
        for (const KeyColumn& part : index.columns) {
            if (part.number == number) Raise(ErrorNumber::FieldInIndex, {column});
        }
    }
    if (editor.definition.columns.size() == 1) Raise(ErrorNumber::OperationNotSupported, {u"表至少要有一个字段。"});
    std::erase_if(properties.owners, [&](const auto& owner) { return EqualNames(owner.first, column); });
    editor.RemoveColumn(static_cast<std::size_t>(position));
    editor.Write();
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
}

// `ordinal`: where it is shown.
void Database::RenameColumn(std::u16string_view table, std::u16string_view column, std::u16string_view name,
                            std::uint16_t ordinal) {
    const CatalogObject object = RequireTable(*this, table);
    CheckName(std::u16string(name), *pager_);
    Properties properties = ReadProperties(table);
    DefinitionEditor editor(*this, object.name, static_cast<PageNumber>(object.id));
    const int position = editor.definition.FindColumn(column);
    if (position < 0) Raise(ErrorNumber::FieldNotFound, {column});
    if (editor.definition.FindColumn(name) >= 0) Raise(ErrorNumber::FieldExists, {name});
    editor.definition.columns[position].name = name;
    editor.definition.columns[position].ordinal = ordinal;
    editor.Write();
    auto owner = properties.owners.extract(std::u16string(column));
    if (owner.empty()) return;
    owner.key() = name;
    properties.owners.insert(std::move(owner));
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
}

void Database::SetColumnSettings(std::u16string_view table, const ColumnSpec& column) {
    const CatalogObject object = RequireTable(*this, table);
    Properties properties = ReadProperties(table);
    for (const std::u16string_view name :
         {u"Required", u"AllowZeroLength", u"DefaultValue", u"ValidationRule", u"ValidationText"})
        properties.Remove(column.name, name);
    AddColumnProperties(column, *pager_, properties);
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
    Forget(static_cast<PageNumber>(object.id));
}

void Database::SetTableRule(std::u16string_view table, const ValidationRule& rule) {
    const CatalogObject object = RequireTable(*this, table);
    Properties properties = ReadProperties(table);
    for (const std::u16string_view name : {u"ValidationRule", u"ValidationText"}) properties.Remove({}, name);
    SetValidation(properties, {}, rule, *pager_);
    SystemCatalog(*this).WriteProperties(object, BlobOf(properties));
    Forget(static_cast<PageNumber>(object.id));
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

void Database::CreateRelationship(const Relationship& relationship) {
    CheckName(relationship.name, *pager_);
    for (const Relationship& other : Relationships()) {
        if (EqualNames(other.name, relationship.name)) Raise(ErrorNumber::RelationshipExists, {relationship.name});
    }
    const auto own_page = static_cast<PageNumber>(RequireTable(*this, relationship.table).id);
    const auto other_page = static_cast<PageNumber>(RequireTable(*this, relationship.referenced_table).id);
    const std::shared_ptr<Table> own = TableAt(own_page);
    const std::shared_ptr<Table> other = TableAt(other_page);

    std::vector<KeyColumn> own_columns;
    std::vector<KeyColumn> other_columns;
    if (relationship.columns.empty() || relationship.columns.size() != relationship.referenced_columns.size()) {
        Raise(ErrorNumber::RelationshipMismatch, {relationship.name});
    }
    for (std::size_t i = 0; i < relationship.columns.size(); ++i) {
        const int a = own->Definition().FindColumn(relationship.columns[i]);
        const int b = other->Definition().FindColumn(relationship.referenced_columns[i]);
        if (a < 0) Raise(ErrorNumber::FieldNotFound, {relationship.columns[i]});
        if (b < 0) Raise(ErrorNumber::FieldNotFound, {relationship.referenced_columns[i]});
        const Column& from = own->Definition().columns[a];
        const Column& to = other->Definition().columns[b];
        if (from.type != to.type || from.scale != to.scale) {
            Raise(ErrorNumber::RelationshipMismatch, {relationship.name});
        }
        own_columns.push_back({own->Definition().columns[a].number, true});
        other_columns.push_back({other->Definition().columns[b].number, true});
    }
    if (relationship.enforced) {
        std::size_t key = 0;
        const std::vector<RealIndex>& indexes = other->Definition().real_indexes;
        while (key < indexes.size() && !(indexes[key].IsUnique() && indexes[key].columns == other_columns)) ++key;
        if (key == indexes.size()) Raise(ErrorNumber::NoUniqueIndexForReference, {relationship.referenced_table});

        const auto actions = [&](LogicalIndex& index) {
            index.role = IndexRole::Foreign;
            index.update_action = relationship.cascade_update ? 1 : 0;
            index.delete_action = relationship.cascade_delete ? 1 : 0;
        };
        LogicalIndex referencing;
        referencing.name = relationship.name;
        referencing.side = LogicalIndex::Side::Referencing;
        referencing.other_table = other_page;
        actions(referencing);
        DefinitionEditor own_editor(*this, relationship.table, own_page);
        if (own_editor.definition.FindLogicalIndex(relationship.name) >= 0) {
            Raise(ErrorNumber::IndexExists, {relationship.table, relationship.name});
        }
        const bool fresh = own_editor.AddLogical(referencing, own_columns, -1);
        const LogicalIndex added = own_editor.definition.logical_indexes.back();
        own_editor.Write();

        DefinitionEditor other_editor(*this, relationship.referenced_table, other_page);
        LogicalIndex referenced;
        referenced.name = ReferencedIndexName(other_editor.definition);
        referenced.side = LogicalIndex::Side::Referenced;
        referenced.other_table = own_page;
        referenced.other_number = added.number;
        actions(referenced);
        other_editor.AddLogical(referenced, other_columns, other_editor.definition.real_indexes[key].flags);
        const std::uint32_t other_number = other_editor.definition.logical_indexes.back().number;
        other_editor.Write();

        DefinitionEditor back(*this, relationship.table, own_page);
        back.definition.logical_indexes[back.definition.LogicalByNumber(added.number)].other_number = other_number;
        back.Write();
        const std::shared_ptr<Table> filled = TableAt(own_page);
        if (fresh) filled->BuildIndex(added.real);
        CheckRelated(*filled, *TableAt(other_page), relationship, added.real, key);
    }
    SystemCatalog(*this).AddRelationship(relationship);
}

void Database::DropRelationship(std::u16string_view name) {
    const std::vector<Relationship> all = Relationships();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const Relationship& other) { return EqualNames(other.name, name); });
    if (found == all.end()) Raise(ErrorNumber::ObjectNotFound, {name});
    const auto own_page = static_cast<PageNumber>(RequireTable(*this, found->table).id);
    DefinitionEditor own(*this, found->table, own_page);
    const int position = own.definition.FindLogicalIndex(found->name);
    if (found->enforced && position >= 0) {
        const LogicalIndex index = own.definition.logical_indexes[position];
        own.RemoveLogical(static_cast<std::size_t>(position));
        own.Write();
        DefinitionEditor other(*this, found->referenced_table, index.other_table);
        const int other_position = other.definition.LogicalByNumber(index.other_number);
        if (other_position >= 0) other.RemoveLogical(static_cast<std::size_t>(other_position));
        other.Write();
    }
    SystemCatalog(*this).RemoveRelationship(name);
}

}  // namespace qmtrain::jet
