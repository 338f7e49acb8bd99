// One table as it is stored: its definition, where its rows and indexes are, and the keys of its indexes.
//
// A table belongs to its database and is used inside that database's scopes. Positions of columns and indexes are those
// in Definition().columns and Definition().real_indexes.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/value.h"
#include "jet/index_key.h"
#include "jet/index_tree.h"
#include "jet/row_store.h"
#include "jet/table_definition.h"

namespace qmtrain::jet {

struct ColumnChange {
    std::size_t column = 0;
    Value value;
};

class StoredTable {
public:
    StoredTable(Pager& pager, PageAllocator& allocator, PageNumber page, std::u16string name, const Bytes& properties);

    const std::u16string& Name() const { return name_; }
    const TableDefinition& Definition() const { return definition_; }
    Version GetVersion() const { return pager_.GetFormat().version; }

    // As the definition says, which is exact in files of our own making.
    std::int64_t RowCount() const;

    // How many different keys the index had, as the definition says: about as many as it has.
    std::uint32_t DistinctKeys(std::size_t index) const;

    // The order of a column's texts in an index.
    TextOrder OrderOf(const StoredColumn& column) const;

    // Whether the keys of these leading columns of an index can be computed.
    bool HasKeys(std::size_t index, std::span<const Value> values) const;

    // The key bytes of the leading columns of an index.
    void AppendKey(std::size_t index, std::span<const Value> values, Bytes& key) const;

    // The same, but of the last value, a text, only what the keys of all texts that begin with it have in common.
    void AppendPrefix(std::size_t index, std::span<const Value> values, Bytes& key) const;

    // Before something relies on an index of a partly known text order, the entries that are there must be as we would
    // have made them. They are compared once. Raises TextOrderUnsupported.
    void CheckStoredOrder(std::size_t index) const;

    IndexTree Tree(std::size_t index) const;
    UsageMap OwnedMap() const { return store_.OwnedMap(); }

    // The name under which an index is known; that of its first role.
    std::u16string IndexName(std::size_t index) const;

    // For the storage engine alone.
    Pager& GetPager() const { return pager_; }
    PageAllocator& Allocator() const { return allocator_; }

protected:
    Pager& pager_;
    PageAllocator& allocator_;
    std::u16string name_;
    TableDefinition definition_;
    RowStore store_;

private:
    mutable std::vector<bool> order_checked_;  // by index
};

// The tables of a database, by the page where their definition starts.
class StoredTables {
public:
    virtual ~StoredTables() = default;
    virtual std::shared_ptr<const StoredTable> FindStored(PageNumber page) = 0;
};

}  // namespace qmtrain::jet
