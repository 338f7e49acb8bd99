// Where the maps of a table stand: rows on data pages of their own.
#pragma once

#include "jet/pager.h"
#include "jet/table_definition.h"
#include "jet/usage_map.h"

namespace qmtrain::jet {

class Database;

class MapRows {
public:
    explicit MapRows(Database& database);

    // An empty map, on `page` if it has room; else on another map page, or a new one.
    RowPointer Add(PageNumber page);
    void Remove(RowPointer map);

private:
    bool HasRoom(PageNumber number, std::size_t length);
    RowPointer AddTo(MutablePage page, const Bytes& row);

    Pager& pager_;
    PageAllocator& allocator_;
    PageNumber last_ = 0;
};

// Gives an index of the table an empty tree: its root, and the map that has it.
void AddTreeFor(const TableDefinition& table, RealIndex& index, MapRows& maps, Database& database);

}  // namespace qmtrain::jet
