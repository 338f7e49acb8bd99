// Changes to the definition of a table, which are written as a whole.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "jet/database.h"
#include "jet/map_rows.h"

namespace qmtrain::jet {

// Raises InvalidName for a name that nothing in the file can have.
void CheckName(const std::u16string& name, const Pager& pager);

// Raises NoSuchTable, and ReadOnly for a table of the system.
CatalogObject RequireTable(Database& database, std::u16string_view name);

class DefinitionEditor {
public:
    // `page` 0: a new table.
    DefinitionEditor(Database& database, std::u16string table_name, PageNumber page);

    StoredColumn& AddColumn(const Column& spec);

    // Adds the logical index and, unless one with the same columns and rules is there, its tree. True when the tree is
    // new and has to be filled.
    bool AddIndex(const IndexSpec& spec);

    // `flags` must match to share a tree; -1: any will do.
    bool AddLogical(LogicalIndex logical, const std::vector<KeyColumn>& columns, int flags);

    // Removes a logical index, and its tree when no other name stands for it.
    void RemoveLogical(std::size_t position);

    void RemoveColumn(std::size_t position);
    void RemoveMaps();

    void Write();

    TableDefinition definition;

private:
    std::uint16_t KeyColumnNumber(const std::u16string& name) const;
    void SetLayout(StoredColumn& column, const Column& spec);
    void AddTree(const std::vector<KeyColumn>& columns, std::uint8_t flags);

    Database& database_;
    Pager& pager_;
    MapRows maps_;
    std::u16string name_;
};

}  // namespace qmtrain::jet
