// Tables in memory, with indexes: what the SQL room is tested over.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sql/storage.h"

namespace qmtrain::sql {

// What cursors have done, for tests of plans.
struct Reads {
    int scans = 0;
    int ranges = 0;
    int moves = 0;
    std::int64_t rows = 0;    // that Next() and MoveTo() came to
    std::int64_t values = 0;  // that Read() decoded
};

class MemoryTable : public Table {
public:
    explicit MemoryTable(TableSchema schema);

    const std::u16string& Name() const override { return schema_.name; }
    const std::vector<Column>& Columns() const override { return schema_.columns; }
    const std::vector<Index>& Indexes() const override { return schema_.indexes; }
    std::int64_t RowCount() override { return count_; }
    std::int64_t EstimatedRows() override { return count_; }
    double EstimatedRows(std::size_t index, const KeyRange& range) override;
    double DistinctKeys(std::size_t index) override;
    std::unique_ptr<Cursor> OpenCursor() override;
    bool InOrder(std::size_t, std::size_t) const override { return seeks_; }
    bool HasPrefixes(std::size_t, std::size_t) const override { return seeks_; }
    bool CanSeek(std::size_t index, std::span<const Value> values) const override;
    RowId Insert(std::span<const Value> values) override;
    void Update(RowId row, std::span<const Assignment> changes) override;
    void Delete(RowId row) override;
    std::int32_t LastAutonumber() const override { return last_autonumber_; }

    void AddIndex(const Index& index);
    void DropIndex(std::u16string_view name);
    void AddColumn(const Column& column);
    void DropColumn(std::u16string_view name);
    const std::vector<Reference>& References() const { return schema_.references; }
    void AddReference(const Reference& reference) { schema_.references.push_back(reference); }

    // No index can be used from now on, as with a text order that is not known.
    void RefuseSeeks() { seeks_ = false; }

    Reads reads;

private:
    friend class MemoryCursor;
    using Row = std::vector<Value>;

    // Index entries in order: the key's values, then the row.
    struct Entry {
        Row key;
        std::uint32_t row = 0;
    };
    struct EntryLess {
        std::vector<bool> descending;
        bool operator()(const Entry& a, const Entry& b) const;
        int Compare(const Row& a, const Row& b, std::size_t columns) const;
    };
    using Entries = std::set<Entry, EntryLess>;

    std::vector<std::uint32_t> RowsOf(std::size_t index, const KeyRange& range) const;
    std::optional<Entry> MakeEntry(std::size_t index, std::uint32_t row) const;
    void CheckRow(const Row& row) const;
    void AddEntries(std::uint32_t row);
    void RemoveEntries(std::uint32_t row);
    Entries MakeEntries(const Index& index) const;

    TableSchema schema_;
    std::vector<std::optional<Row>> rows_;  // by row number - 1
    std::vector<Entries> entries_;          // by index
    std::int64_t count_ = 0;
    std::int32_t last_autonumber_ = 0;
    bool seeks_ = true;
};

class MemoryCatalog : public Catalog {
public:
    std::shared_ptr<Table> FindTable(std::u16string_view name) override;
    std::optional<std::u16string> FindQuery(std::u16string_view name) override;
    void CreateTable(const TableSchema& schema) override;
    void DropTable(std::u16string_view name) override;
    void CreateIndex(std::u16string_view table, const Index& index) override;
    void DropIndex(std::u16string_view table, std::u16string_view index) override;
    void AddColumn(std::u16string_view table, const Column& column) override;
    void DropColumn(std::u16string_view table, std::u16string_view column) override;
    void AddReference(std::u16string_view table, const Reference& reference) override;

    void SaveQuery(std::u16string_view name, std::u16string_view text);

    // Requires: there is such a table.
    MemoryTable& At(std::u16string_view name);

private:
    std::map<std::u16string, std::shared_ptr<MemoryTable>> tables_;
    std::map<std::u16string, std::u16string> queries_;
};

}  // namespace qmtrain::sql
