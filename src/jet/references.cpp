#include "jet/references.h"

#include <algorithm>
#include <memory>

#include "jet/row_cursor.h"

namespace qmtrain::jet {
namespace {

using Row = std::vector<Value>;

std::vector<std::size_t> Positions(const StoredTable& table, std::size_t real) {
    std::vector<std::size_t> positions;
    for (const KeyColumn& part : table.Definition().real_indexes[real].columns) {
        positions.push_back(table.Definition().ColumnByNumber(part.number));
    }
    return positions;
}

// One relationship, seen from one of its tables.
struct Relation {
    const LogicalIndex* own;
    std::shared_ptr<const StoredTable> other;
    std::size_t other_real = 0;
    std::vector<std::size_t> own_columns;
    std::vector<std::size_t> other_columns;  // in the same order
};

std::vector<Relation> RelationsOf(const StoredTable& table, StoredTables& tables, LogicalIndex::Side side) {
    std::vector<Relation> relations;
    for (const LogicalIndex& logical : table.Definition().logical_indexes) {
        if (logical.side != side || logical.role != IndexRole::Foreign) continue;
        Relation relation{&logical, tables.FindStored(logical.other_table), 0, {}, {}};
        const TableDefinition& other = relation.other->Definition();
        const std::size_t position = other.LogicalByNumber(logical.other_number);
        if (position == kNoPosition)
            table.GetPager().Damaged(table.Definition().page, u"关系“" + logical.name + u"”只有一边");
        relation.other_real = other.logical_indexes[position].real;
        if (!SidesFit(table, logical.real, *relation.other, relation.other_real)) {
            table.GetPager().Damaged(table.Definition().page, u"关系“" + logical.name + u"”两边的字段不符");
        }
        relation.own_columns = Positions(table, logical.real);
        relation.other_columns = Positions(*relation.other, relation.other_real);
        relations.push_back(std::move(relation));
    }
    return relations;
}

bool AnyDiffers(const std::vector<std::size_t>& columns, const Row& a, const Row& b) {
    return std::any_of(columns.begin(), columns.end(), [&](std::size_t column) { return a[column] != b[column]; });
}

Row KeyValues(const std::vector<std::size_t>& columns, const Row& row) {
    Row values;
    for (const std::size_t column : columns) values.push_back(row[column]);
    return values;
}

// Moves over the rows of the other table whose key is the one in `row`. False when the key is all Null and so refers to
// nothing.
bool FindRelated(const Relation& relation, const Row& row, RowCursor& cursor) {
    const Row values = KeyValues(relation.own_columns, row);
    if (std::all_of(values.begin(), values.end(), [](const Value& value) { return value.IsNull(); })) return false;
    const StoredTable& other = *relation.other;
    if (!other.HasKeys(relation.other_real, values)) {
        Raise(ErrorNumber::TextOrderUnsupported, {other.Name(), other.IndexName(relation.other_real), u"关系的键。"});
    }
    for (const std::size_t column : relation.other_columns) {
        const StoredColumn& part = other.Definition().columns[column];
        const bool unsure = IsText(part.type) && other.OrderOf(part) == TextOrder::Jet3Ascii;
        if (unsure) other.CheckStoredOrder(relation.other_real);
    }
    Bytes key;
    other.AppendKey(relation.other_real, values, key);
    cursor.Range(relation.other_real, key, SuccessorOf(key));
    return true;
}

std::vector<RowPointer> RelatedRows(const Relation& relation, const Row& row) {
    std::vector<RowPointer> found;
    RowCursor cursor(*relation.other);
    if (!FindRelated(relation, row, cursor)) return found;
    while (cursor.Next()) found.push_back(cursor.Row());
    return found;
}

std::vector<ColumnChange> KeyChanges(const Relation& relation, const Row& values) {
    std::vector<ColumnChange> changes;
    for (std::size_t i = 0; i < values.size(); ++i) changes.push_back({relation.other_columns[i], values[i]});
    return changes;
}

}  // namespace

bool SidesFit(const StoredTable& table, std::size_t real, const StoredTable& other, std::size_t other_real) {
    const std::vector<std::size_t> own = Positions(table, real);
    const std::vector<std::size_t> others = Positions(other, other_real);
    return std::equal(own.begin(), own.end(), others.begin(), others.end(), [&](int a, int b) {
        const StoredColumn& first = table.Definition().columns[a];
        const StoredColumn& second = other.Definition().columns[b];
        return ValueTypeOf(first.type) == ValueTypeOf(second.type) && first.scale == second.scale;
    });
}

void CheckReferencedRows(const StoredTable& table, StoredTables& tables, const Row& new_row, const Row* old_row) {
    for (const Relation& relation : RelationsOf(table, tables, LogicalIndex::Side::Referencing)) {
        if (old_row != nullptr && !AnyDiffers(relation.own_columns, *old_row, new_row)) continue;
        RowCursor cursor(*relation.other);
        if (!FindRelated(relation, new_row, cursor) || cursor.Next()) continue;
        // A row may refer to itself.
        const bool own = relation.other.get() == &table &&
                         KeyValues(relation.own_columns, new_row) == KeyValues(relation.other_columns, new_row);
        if (!own) Raise(ErrorNumber::RelatedRecordRequired, {relation.other->Name()});
    }
}

void CheckReferencingRows(const StoredTable& table, StoredTables& tables, const Row& old_row, const Row* new_row) {
    for (const Relation& relation : RelationsOf(table, tables, LogicalIndex::Side::Referenced)) {
        if (new_row != nullptr && !AnyDiffers(relation.own_columns, old_row, *new_row)) continue;
        const bool cascades = new_row != nullptr ? relation.own->CascadesUpdates()
                                                 : relation.own->CascadesDeletes() || relation.own->NullsOnDelete();
        if (cascades) continue;
        RowCursor cursor(*relation.other);
        if (!FindRelated(relation, old_row, cursor) || !cursor.Next()) continue;
        // A row that only refers to itself may be deleted.
        if (relation.other.get() == &table &&
            KeyValues(relation.own_columns, old_row) == KeyValues(relation.other_columns, old_row) && !cursor.Next()) {
            continue;
        }
        Raise(ErrorNumber::RelatedRecordsExist, {relation.other->Name()});
    }
}

std::vector<Cascade> CascadesOfDelete(const StoredTable& table, StoredTables& tables, const Row& row) {
    std::vector<Cascade> cascades;
    for (const Relation& relation : RelationsOf(table, tables, LogicalIndex::Side::Referenced)) {
        Cascade cascade{relation.own->other_table, RelatedRows(relation, row), {}};
        if (relation.own->NullsOnDelete()) {
            cascade.changes = KeyChanges(relation, Row(relation.other_columns.size(), Null{}));
        }
        cascades.push_back(std::move(cascade));
    }
    return cascades;
}

std::vector<Cascade> CascadesOfUpdate(const StoredTable& table, StoredTables& tables, const Row& old_row,
                                      const Row& new_row) {
    std::vector<Cascade> cascades;
    for (const Relation& relation : RelationsOf(table, tables, LogicalIndex::Side::Referenced)) {
        if (!AnyDiffers(relation.own_columns, old_row, new_row)) continue;
        cascades.push_back({relation.own->other_table, RelatedRows(relation, old_row),
                            KeyChanges(relation, KeyValues(relation.own_columns, new_row))});
    }
    return cascades;
}

}  // namespace qmtrain::jet
