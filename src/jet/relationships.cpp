// Relationships between tables: their indexes on both sides, and their rows in the catalogue.
#include <algorithm>

#include "jet/definition_editor.h"
#include "jet/row_cursor.h"
#include "jet/system_tables.h"

namespace qmtrain::jet {
namespace {

// ".rB", ".rC" …: the name of a relationship's index on the side that is referred to.
std::u16string ReferencedIndexName(const TableDefinition& table) {
    for (char16_t first = u'B';; ++first) {
        std::u16string name = u".r";
        if (first > u'Z') name += static_cast<char16_t>(u'A' + (first - u'Z' - 1) / 26);
        name += first <= u'Z' ? first : static_cast<char16_t>(u'A' + (first - u'Z' - 1) % 26);
        if (table.FindLogicalIndex(name) == kNoPosition) return name;
    }
}

void CheckRelated(const Table& table, const Table& referenced, const Relationship& relationship, std::size_t own_index,
                  std::size_t referenced_index) {
    RowCursor rows(table);
    rows.Scan();
    std::vector<std::size_t> columns;
    for (const KeyColumn& part : table.Definition().real_indexes[own_index].columns) {
        columns.push_back(table.Definition().ColumnByNumber(part.number));
    }
    std::vector<Value> values(columns.size());
    RowCursor found(referenced);
    while (rows.Next()) {
        bool all_null = true;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            rows.Read(columns[i], values[i]);
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

void Database::CreateRelationship(const Relationship& relationship) {
    CheckName(relationship.name, *pager_);
    for (const Relationship& other : Relationships()) {
        if (EqualNames(other.name, relationship.name)) Raise(ErrorNumber::RelationshipExists, {relationship.name});
    }
    const auto own_page = RequireTable(*this, relationship.table).Page();
    const auto other_page = RequireTable(*this, relationship.referenced_table).Page();
    const std::shared_ptr<Table> own = TableAt(own_page);
    const std::shared_ptr<Table> other = TableAt(other_page);

    std::vector<KeyColumn> own_columns;
    std::vector<KeyColumn> other_columns;
    if (relationship.columns.empty() || relationship.columns.size() != relationship.referenced_columns.size()) {
        Raise(ErrorNumber::RelationshipMismatch, {relationship.name});
    }
    for (std::size_t i = 0; i < relationship.columns.size(); ++i) {
        const std::size_t a = own->Definition().FindColumn(relationship.columns[i]);
        const std::size_t b = other->Definition().FindColumn(relationship.referenced_columns[i]);
        if (a == kNoPosition) Raise(ErrorNumber::FieldNotFound, {relationship.columns[i]});
        if (b == kNoPosition) Raise(ErrorNumber::FieldNotFound, {relationship.referenced_columns[i]});
        const StoredColumn& from = own->Definition().columns[a];
        const StoredColumn& to = other->Definition().columns[b];
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
        if (own_editor.definition.FindLogicalIndex(relationship.name) != kNoPosition) {
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
    const auto own_page = RequireTable(*this, found->table).Page();
    DefinitionEditor own(*this, found->table, own_page);
    const std::size_t position = own.definition.FindLogicalIndex(found->name);
    if (found->enforced && position != kNoPosition) {
        const LogicalIndex index = own.definition.logical_indexes[position];
        own.RemoveLogical(position);
        own.Write();
        DefinitionEditor other(*this, found->referenced_table, index.other_table);
        const std::size_t other_position = other.definition.LogicalByNumber(index.other_number);
        if (other_position != kNoPosition) other.RemoveLogical(other_position);
        other.Write();
    }
    SystemCatalog(*this).RemoveRelationship(name);
}

}  // namespace qmtrain::jet
