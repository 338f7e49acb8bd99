// Changing the rows of a table, with all that a change brings with it: constraints, keys, counts, related tables.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/value.h"
#include "jet/long_value.h"
#include "jet/references.h"
#include "jet/row.h"
#include "jet/stored_table.h"

namespace qmtrain::jet {

class Table;

// The tables of a database, to be changed.
class Tables : public StoredTables {
public:
    // The table whose definition starts at this page.
    virtual std::shared_ptr<Table> TableAt(PageNumber page) = 0;

    // As long as the returned object is kept, the table cannot be dropped.
    virtual std::shared_ptr<const void> Hold(const StoredTable& table) = 0;
};

class Table : public StoredTable {
public:
    Table(Tables& tables, Pager& pager, PageAllocator& allocator, PageNumber page, std::u16string name,
          const Bytes& properties);

    Tables& Owner() const { return tables_; }

    // Counted in an index or on the pages, since other programs may leave a wrong number in the definition. Once that
    // number has been found right it is used, as long as no other session changes the file.
    std::int64_t ExactRowCount() const;

    // One value per column: of the column's type, Null, or Empty for "not given" (an autonumber column then numbers
    // itself). Raises DuplicateKey, FieldRequired, RelatedRecordRequired, FieldTooLarge, TextOrderUnsupported …;
    // everything that can be refused is refused before anything changes.
    RowPointer Insert(std::span<const Value> values);
    void Update(RowPointer row, std::span<const ColumnChange> changes);
    void Delete(RowPointer row);

    // Takes the next number of the autonumber column, for a row that comes later.
    std::int32_t TakeAutonumber();

    // The number that the last Insert gave to the autonumber column; 0 when it gave none.
    std::int32_t LastAutonumber() const { return last_autonumber_; }

    // Many rows one after the other: until EndInserts, their entries may be put into the indexes later than the rows
    // into the table, in the order of their keys. Meanwhile the table must not be read, and a duplicate key may be
    // reported late.
    void BeginInserts();
    void EndInserts();
    void CancelInserts();

    // Fills an index, which must be empty, from the rows. Raises DuplicateKey and the like.
    void BuildIndex(std::size_t index);

    // Writes the rows as another definition wants them: this one with further columns at its end. Needed before a table
    // gets its first column of variable length: whether a row has the part that lists such columns is known from the
    // definition alone, so every row must have it then.
    void WriteRowsFor(const TableDefinition& definition);

    // Gives back all pages of rows, long values and indexes. The definition then names none of them any more.
    void FreeAllPages();
    void FreeLongValues(std::size_t column);
    void FreeIndexPages(std::size_t index);

private:
    using Row = std::vector<Value>;

    RowPointer Locate(RowPointer row) const;
    void ReadColumns(RowPointer row, const std::vector<bool>& wanted, Row& values) const;

    void AssignAutonumber(Row& row);
    void CheckValue(const StoredColumn& column, const Value& value) const;
    void CheckTextOrder(std::size_t index, const Row& row);
    void CheckCatalogueOrder();
    bool KeyOf(std::size_t index, const Row& row, Bytes& key) const;
    void CheckLength(const Bytes& key) const;
    bool AllNull(std::size_t index, const Row& row) const;
    void CheckRequired(std::size_t index, const Row& row) const;
    void CountNewKeys(std::size_t index, std::size_t keys);
    void CheckUnique(std::size_t index, const Row& row, const Bytes& key, RowPointer except) const;

    void EncodeField(std::size_t column, const Value& value, RowField& field);
    void FitRow(std::vector<RowField>& fields);
    void StoredFields(const RowView& row, std::vector<RowField>& fields) const;
    void ReplaceRow(RowPointer row, const Bytes& bytes);
    void EraseEntry(std::size_t index, const Row& row, RowPointer where);
    IndexTree TreeToChange(std::size_t index);
    void AddEntry(std::size_t index, const Bytes& key, RowPointer where);
    void AddLater(std::size_t index, const Bytes& key, RowPointer where, bool exempt);
    void AddPending();
    void CountRows(int change);
    void Follow(const std::vector<Cascade>& cascades);
    LongValueWriter LongValues(const StoredColumn& column) const;

    Tables& tables_;
    mutable std::optional<std::uint64_t>
        counted_at_;  // the pager's generation in which the definition's count was right
    std::int32_t last_autonumber_ = 0;

    // Entries that are to be put into the indexes, of rows that are there already.
    struct PendingEntry {
        std::uint64_t head = 0;  // its first bytes, big end first
        std::uint32_t at = 0;    // in pending_bytes_
        std::uint16_t size = 0;
        bool exempt = false;  // may be a duplicate in a unique index
    };
    std::vector<bool> key_columns_;  // those that indexes and relationships need
    LeafHints hints_;
    bool inserts_later_ = false;
    std::vector<std::vector<PendingEntry>> pending_;  // by index
    Bytes pending_bytes_;

    // Kept between calls so that a row costs no allocations.
    Row row_;
    std::vector<RowField> fields_;
    std::vector<Bytes> keys_;
    std::vector<bool> in_index_;  // whether there is an entry for that key
    Bytes encoded_;
    Bytes stored_;
};

}  // namespace qmtrain::jet
