#include "jet/table.h"

#include <algorithm>

#include "jet/references.h"
#include "jet/row_cursor.h"

namespace qmtrain::jet {
namespace {

constexpr int kMaxHops = 8;

std::vector<bool> KeyColumns(const TableDefinition& definition) {
    std::vector<bool> columns(definition.columns.size());
    for (const RealIndex& real : definition.real_indexes) {
        for (const KeyColumn& part : real.columns) columns[definition.ColumnByNumber(part.number)] = true;
    }
    return columns;
}

// Stored text that begins with U+FEFF is read as compressed. The character shows nothing: it is left out.
void DropByteOrderMark(Value& value) {
    if (!value.IsText() || !value.Text().starts_with(u'\xFEFF')) return;
    std::u16string& text = value.ReuseText();
    text.erase(0, text.find_first_not_of(u'\xFEFF'));
}

}  // namespace

Table::Table(Tables& tables, Pager& pager, PageAllocator& allocator, PageNumber page, std::u16string name,
             const Bytes& properties)
    : StoredTable(pager, allocator, page, std::move(name), properties),
      tables_(tables),
      key_columns_(KeyColumns(definition_)),
      hints_(definition_.real_indexes.size()),
      row_(definition_.columns.size()),
      fields_(definition_.columns.size()),
      keys_(definition_.real_indexes.size()) {}

namespace {

// The index that has an entry for each row and the shortest keys, kNoPosition when there is none.
std::size_t ShortestIndex(const TableDefinition& definition) {
    std::size_t best = kNoPosition;
    std::size_t best_size = 0;
    for (std::size_t i = 0; i < definition.real_indexes.size(); ++i) {
        const RealIndex& real = definition.real_indexes[i];
        if (real.IgnoresNulls()) continue;
        std::size_t size = 0;
        for (const KeyColumn& part : real.columns) {
            const StoredColumn& column = definition.columns[definition.ColumnByNumber(part.number)];
            size += HasReadableKey(column.type) ? 1 + KeySize(column.type) : 1 + std::size_t{column.length};
        }
        if (best != kNoPosition && size >= best_size) continue;
        best = i;
        best_size = size;
    }
    return best;
}

}  // namespace

std::int64_t Table::ExactRowCount() const {
    if (counted_at_ == pager_.Generation()) return RowCount();
    std::int64_t rows = 0;
    if (const std::size_t index = ShortestIndex(definition_); index != kNoPosition) {
        IndexCursor entries(Tree(index));
        entries.StartForward({});
        rows = entries.CountRest();
    } else {
        RowCursor cursor(*this);
        cursor.Scan();
        rows = cursor.CountRest();
    }
    if (rows == RowCount()) counted_at_ = pager_.Generation();
    return rows;
}

IndexTree Table::TreeToChange(std::size_t index) {
    return {pager_, allocator_, definition_.page, definition_.real_indexes[index], &hints_, index};
}

LongValueWriter Table::LongValues(const StoredColumn& column) const {
    return {pager_, allocator_, column};
}

RowPointer Table::Locate(RowPointer row) const {
    for (int hop = 0; hop <= kMaxHops; ++hop) {
        const Page page = pager_.Read(row.page);
        const DataPage data = store_.ViewOf(page);
        if (data.Kind(row.slot) != SlotKind::Header) return row;
        row = RowPointer::FromStored(data.Row(row.slot).U32(0));
    }
    pager_.Damaged(row.page, u"行的溢出链太长");
}

void Table::ReadColumns(RowPointer row, const std::vector<bool>& wanted, Row& values) const {
    RowCursor cursor(*this);
    if (!cursor.MoveTo(row)) Raise(ErrorNumber::RecordDeleted);
    values.resize(wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (wanted[i]) cursor.Read(i, values[i]);
    }
}

void Table::CountRows(int change) {
    MutablePage definition = pager_.Write(definition_.page);
    std::uint8_t* rows = definition.Data() + pager_.GetFormat().definition_rows;
    Put(rows, static_cast<std::uint32_t>(Get<std::int32_t>(rows) + change));
}

RowPointer Table::Insert(std::span<const Value> values) {
    row_.assign(values.begin(), values.end());
    AssignAutonumber(row_);
    for (std::size_t i = 0; i < row_.size(); ++i) {
        const StoredColumn& column = definition_.columns[i];
        if (row_[i].IsEmpty()) row_[i] = Null{};
        if (column.type == ColumnType::Boolean && row_[i].IsNull()) row_[i] = false;
        DropByteOrderMark(row_[i]);
        CheckValue(column, row_[i]);
    }
    CheckReferencedRows(*this, tables_, row_, nullptr);
    in_index_.assign(keys_.size(), false);
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        CheckTextOrder(i, row_);
        in_index_[i] = KeyOf(i, row_, keys_[i]);
        CheckLength(keys_[i]);
        CheckRequired(i, row_);
        if (!inserts_later_) CheckUnique(i, row_, keys_[i], {});
    }
    for (std::size_t i = 0; i < row_.size(); ++i) EncodeField(i, row_[i], fields_[i]);
    FitRow(fields_);
    EncodeRow(definition_, pager_.GetFormat(), name_, fields_, encoded_);
    const RowPointer where = store_.Add(encoded_);
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        if (!in_index_[i]) continue;
        if (inserts_later_)
            AddLater(i, keys_[i], where, AllNull(i, row_));
        else
            AddEntry(i, keys_[i], where);
    }
    constexpr std::size_t kMostPending = std::size_t{2} << 20;
    if (pending_bytes_.size() > kMostPending) AddPending();
    CountRows(1);
    if (last_autonumber_ != 0) {
        MutablePage definition = pager_.Write(definition_.page);
        std::uint8_t* stored = definition.Data() + pager_.GetFormat().definition_autonumber;
        if (last_autonumber_ > Get<std::int32_t>(stored)) Put(stored, last_autonumber_);
    }
    return where;
}

void Table::ReplaceRow(RowPointer row, const Bytes& bytes) {
    const RowPointer place = Locate(row);
    const bool overflow = place != row;
    if (store_.Replace(place, bytes, overflow ? SlotKind::Overflow : SlotKind::Row)) return;
    const RowPointer moved = store_.Add(bytes, SlotKind::Overflow);
    std::array<std::uint8_t, 4> pointer{};
    Put(pointer.data(), moved.ToStored());
    if (!store_.Replace(row, pointer, SlotKind::Header)) pager_.Damaged(row.page, u"行太短，不能移动");
    if (overflow) store_.Delete(place);
}

// The parts of a row as they are stored.
void Table::StoredFields(const RowView& row, std::vector<RowField>& fields) const {
    fields.resize(definition_.columns.size());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const StoredColumn& column = definition_.columns[i];
        fields[i].present = false;
        fields[i].bytes.clear();
        if (column.type == ColumnType::Boolean) {
            fields[i].present = row.Boolean(column);
        } else if (const auto stored = row.Find(column)) {
            fields[i].present = true;
            fields[i].bytes.assign(stored->Data(), stored->Data() + stored->Size());
        }
    }
}

void Table::Update(RowPointer where, std::span<const ColumnChange> changes) {
    // The old values of what indexes and relationships need, if any of that changes, and the new ones.
    const bool changes_keys =
        std::ranges::any_of(changes, [&](const ColumnChange& change) { return key_columns_[change.column]; });
    Row old_row(definition_.columns.size());
    if (changes_keys) ReadColumns(where, key_columns_, old_row);
    Row new_row = old_row;
    std::vector<bool> changed(definition_.columns.size());
    for (const ColumnChange& change : changes) {
        const StoredColumn& column = definition_.columns[change.column];
        Value value = change.value;
        if (column.type == ColumnType::Boolean && value.IsNull()) value = false;
        DropByteOrderMark(value);
        CheckValue(column, value);
        new_row[change.column] = std::move(value);
        changed[change.column] = true;
    }
    if (changes_keys) {
        CheckReferencedRows(*this, tables_, new_row, &old_row);
        CheckReferencingRows(*this, tables_, old_row, &new_row);
    }
    const std::size_t index_count = changes_keys ? keys_.size() : 0;
    std::vector<Bytes> keys(index_count);
    std::vector<bool> in_index(index_count);
    std::vector<bool> index_changed(index_count);
    Bytes old_key;
    for (std::size_t i = 0; i < index_count; ++i) {
        const RealIndex& real = definition_.real_indexes[i];
        if (std::none_of(real.columns.begin(), real.columns.end(),
                         [&](const KeyColumn& part) { return changed[definition_.ColumnByNumber(part.number)]; })) {
            continue;
        }
        CheckTextOrder(i, new_row);
        const bool was_in = KeyOf(i, old_row, old_key);
        in_index[i] = KeyOf(i, new_row, keys[i]);
        index_changed[i] = was_in != in_index[i] || old_key != keys[i];
        if (!index_changed[i]) continue;
        CheckLength(keys[i]);
        CheckRequired(i, new_row);
        CheckUnique(i, new_row, keys[i], where);
    }
    // Values that stay are taken over as they are stored.
    std::vector<std::pair<std::size_t, Bytes>> replaced;  // references of long values to be given back
    {
        RowCursor cursor(*this);
        if (!cursor.MoveTo(where)) Raise(ErrorNumber::RecordDeleted);
        const RowView& view = cursor.View();
        stored_.assign(view.Bytes().Data(), view.Bytes().Data() + view.Bytes().Size());
        StoredFields(view, fields_);
    }
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (!changed[i]) continue;
        RowField& field = fields_[i];
        if (IsLongValue(definition_.columns[i].type) && field.present) replaced.emplace_back(i, field.bytes);
        EncodeField(i, new_row[i], field);
    }
    FitRow(fields_);
    EncodeRow(definition_, pager_.GetFormat(), name_, fields_, encoded_);
    if (encoded_ != stored_) ReplaceRow(where, encoded_);  // what stays as it is needs no writing
    for (std::size_t i = 0; i < index_count; ++i) {
        if (!index_changed[i]) continue;
        EraseEntry(i, old_row, where);
        if (in_index[i]) AddEntry(i, keys[i], where);
    }
    for (const auto& [column, reference] : replaced) {
        LongValues(definition_.columns[column])
            .Free(ByteView(reference.data(), reference.size(), pager_.FileName(), where.page));
    }
    if (changes_keys) Follow(CascadesOfUpdate(*this, tables_, old_row, new_row));
}

void Table::Delete(RowPointer where) {
    Row row(definition_.columns.size());
    ReadColumns(where, key_columns_, row);
    CheckReferencingRows(*this, tables_, row, nullptr);
    for (std::size_t i = 0; i < definition_.real_indexes.size(); ++i) EraseEntry(i, row, where);
    std::vector<std::pair<std::size_t, Bytes>> long_values;
    {
        RowCursor cursor(*this);
        if (!cursor.MoveTo(where)) Raise(ErrorNumber::RecordDeleted);
        for (std::size_t i = 0; i < definition_.columns.size(); ++i) {
            if (!IsLongValue(definition_.columns[i].type)) continue;
            if (const auto stored = cursor.View().Find(definition_.columns[i])) {
                long_values.emplace_back(i, Bytes(stored->Data(), stored->Data() + stored->Size()));
            }
        }
    }
    for (const auto& [column, reference] : long_values) {
        LongValues(definition_.columns[column])
            .Free(ByteView(reference.data(), reference.size(), pager_.FileName(), where.page));
    }
    const RowPointer place = Locate(where);
    if (place != where) store_.Delete(place);
    store_.Delete(where);
    CountRows(-1);
    Follow(CascadesOfDelete(*this, tables_, row));
}

void Table::WriteRowsFor(const TableDefinition& definition) {
    std::vector<RowPointer> rows;
    RowCursor cursor(*this);
    for (cursor.Scan(); cursor.Next();) rows.push_back(cursor.Row());
    std::vector<RowField> fields;
    for (const RowPointer row : rows) {
        if (!cursor.MoveTo(row)) continue;
        StoredFields(cursor.View(), fields);
        fields.resize(definition.columns.size());
        EncodeRow(definition, pager_.GetFormat(), name_, fields, encoded_);
        ReplaceRow(row, encoded_);
    }
}

// Applies a change to related tables. A row may already be gone because of an earlier one.
void Table::Follow(const std::vector<Cascade>& cascades) {
    for (const Cascade& cascade : cascades) {
        const std::shared_ptr<Table> other = tables_.TableAt(cascade.table);
        for (const RowPointer row : cascade.rows) {
            if (!RowCursor(*other).MoveTo(row)) continue;
            if (cascade.changes.empty()) {
                other->Delete(row);
            } else {
                other->Update(row, cascade.changes);
            }
        }
    }
}

// Giving pages back

namespace {

void FreeMapPages(Pager& pager, PageAllocator& allocator, RowPointer map, PageType type) {
    if (!map) return;
    const UsageMap pages(pager, allocator, map);
    for (PageNumber page = pages.Next(1); page != 0; page = pages.Next(page + 1)) allocator.Free(page, type);
    for (const PageNumber page : pages.MapPages()) allocator.Free(page, PageType::Unwritten);
}

void FreeExtraMapPages(Pager& pager, PageAllocator& allocator, RowPointer map) {
    if (!map) return;
    for (const PageNumber page : UsageMap(pager, allocator, map).MapPages()) allocator.Free(page, PageType::Unwritten);
}

}  // namespace

void Table::FreeAllPages() {
    for (std::size_t i = 0; i < definition_.columns.size(); ++i) FreeLongValues(i);
    for (std::size_t i = 0; i < definition_.real_indexes.size(); ++i) FreeIndexPages(i);
    FreeMapPages(pager_, allocator_, definition_.owned_map, PageType::FreedData);
    FreeExtraMapPages(pager_, allocator_, definition_.free_map);
}

void Table::FreeLongValues(std::size_t column) {
    if (!IsLongValue(definition_.columns[column].type)) return;
    FreeMapPages(pager_, allocator_, definition_.columns[column].owned_map, PageType::FreedData);
    FreeExtraMapPages(pager_, allocator_, definition_.columns[column].free_map);
}

void Table::FreeIndexPages(std::size_t index) {
    FreeMapPages(pager_, allocator_, definition_.real_indexes[index].map, PageType::Unwritten);
}

}  // namespace qmtrain::jet
