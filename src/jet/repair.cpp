#include "jet/repair.h"

#include <algorithm>
#include <map>
#include <set>

#include "jet/check.h"
#include "jet/database.h"
#include "jet/map_rows.h"
#include "jet/row_cursor.h"

namespace qmtrain::jet {
namespace {

bool HasKnownOrder(const Table& table, const RealIndex& index) {
    return std::ranges::all_of(index.columns, [&](const KeyColumn& part) {
        const StoredColumn& column = table.Definition().columns[table.Definition().ColumnByNumber(part.number)];
        if (!IsText(column.type)) return true;
        const TextOrder order = table.OrderOf(column);
        return order == TextOrder::General || order == TextOrder::Jet3General;
    });
}

// The pages of the table's trees, whatever the trees say of them.
std::set<PageNumber> IndexPagesOf(Database& database, PageNumber table) {
    std::set<PageNumber> pages;
    for (PageNumber number = kRelationshipsPage + 1; number < database.PageCount(); ++number) {
        if (database.Allocator().IsFree(number)) continue;
        const Page page = database.GetPager().Read(number);
        const bool index = page.Type() == PageType::IndexLeaf || page.Type() == PageType::IndexNode;
        if (index && page.View().U32(4) == table) pages.insert(number);
    }
    return pages;
}

// How often each map is named in the definitions. What a damaged definition names may be another's.
using MapUse = std::map<RowPointer, int>;

MapUse UsedMaps(Database& database, const std::vector<CatalogObject>& objects) {
    MapUse use;
    for (const CatalogObject& object : objects) {
        if (object.type != CatalogObject::kTable) continue;
        const TableDefinition table = ReadDefinition(database.GetPager(), object.Page());
        ++use[table.owned_map];
        ++use[table.free_map];
        for (const StoredColumn& column : table.columns) {
            ++use[column.owned_map];
            ++use[column.free_map];
        }
        for (const RealIndex& index : table.real_indexes) ++use[index.map];
    }
    return use;
}

// Where the map is in doubt it stays.
void RemoveMap(Database& database, RowPointer map, const MapUse& use, MapRows& maps) {
    if (map.page <= kRelationshipsPage || use.at(map) != 1) return;
    try {
        const Page page = database.GetPager().Read(map.page);
        if (page.Type() != PageType::Data || page.View().U32(4) != 0) return;
        const UsageMap pages(database.GetPager(), database.Allocator(), map);
        pages.Check();
        if (!pages.MapPages().empty()) return;
    } catch (const AutomationError&) {
        return;
    }
    maps.Remove(map);
}

void RepairTable(Database& database, const CatalogObject& object, const MapUse& use) {
    Pager& pager = database.GetPager();
    const auto page = object.Page();
    TableDefinition definition = ReadDefinition(pager, page);
    std::vector<std::size_t> rebuilt;
    std::set<PageNumber> old_pages;
    {
        const Table table(database, pager, database.Allocator(), page, object.name, Bytes());
        RowCursor cursor(table);
        cursor.Scan();
        definition.rows = static_cast<std::uint32_t>(cursor.CountRest());
        for (std::size_t i = 0; i < definition.real_indexes.size(); ++i) {
            if (HasKnownOrder(table, definition.real_indexes[i])) rebuilt.push_back(i);
        }
    }
    if (rebuilt.size() == definition.real_indexes.size()) old_pages = IndexPagesOf(database, page);
    MapRows maps(database);
    for (const std::size_t i : rebuilt) {
        RemoveMap(database, definition.real_indexes[i].map, use, maps);
        definition.real_indexes[i].distinct_keys = 0;
        AddTreeFor(definition, definition.real_indexes[i], maps, database);
    }
    WriteDefinition(pager, database.Allocator(), definition);
    database.Forget(page);
    for (const PageNumber old : old_pages) database.Allocator().Free(old, PageType::Unwritten);
    Table table(database, pager, database.Allocator(), page, object.name, Bytes());
    for (const std::size_t i : rebuilt) table.BuildIndex(i);
}

}  // namespace

void Repair(Database& database) {
    Database::Writing writing(database);
    const std::vector<CatalogObject> objects = database.Objects();
    const MapUse use = UsedMaps(database, objects);
    for (const CatalogObject& object : objects) {
        if (object.type == CatalogObject::kTable) RepairTable(database, object, use);
    }
    const CheckReport report = CheckDatabase(database);
    if (!report.defects.empty()) Raise(ErrorNumber::FileDamaged, {database.FileName(), report.defects.front()});
    writing.Commit();
}

}  // namespace qmtrain::jet
