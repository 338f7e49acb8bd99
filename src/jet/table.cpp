#include "jet/table.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "jet/code_page_text.h"
#include "jet/entry_sorter.h"
#include "jet/references.h"
#include "jet/row_cursor.h"

namespace qmtrain::jet {
namespace {

constexpr int kMaxHops = 8;

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
      hints_(definition_.real_indexes.size()),
      row_(definition_.columns.size()),
      fields_(definition_.columns.size()),
      keys_(definition_.real_indexes.size()) {}

namespace {

// The index that has an entry for each row and the shortest keys, -1 when there is none.
int ShortestIndex(const TableDefinition& definition) {
    int best = -1;
    std::size_t best_size = 0;
    for (std::size_t i = 0; i < definition.real_indexes.size(); ++i) {
        const RealIndex& real = definition.real_indexes[i];
        if (real.IgnoresNulls()) continue;
        std::size_t size = 0;
        for (const KeyColumn& part : real.columns) {
            const Column& column = definition.columns[definition.ColumnByNumber(part.number)];
            size += HasReadableKey(column.type) ? 1 + KeySize(column.type) : 1 + std::size_t{column.length};
        }
        if (best >= 0 && size >= best_size) continue;
        best = static_cast<int>(i);
        best_size = size;
    }
    return best;
}

}  // namespace

std::int64_t Table::ExactRowCount() const {
    if (counted_at_ == pager_.Generation()) return RowCount();
    std::int64_t rows = 0;
    if (const int index = ShortestIndex(definition_); index >= 0) {
        IndexCursor entries(Tree(static_cast<std::size_t>(index)));
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

LongValueWriter Table::LongValues(const Column& column) const {
    return {pager_, allocator_, column};
}

// Keys

// False when the row has no entry in this index.
bool Table::KeyOf(std::size_t index, const Row& row, Bytes& key) const {
    const RealIndex& real = definition_.real_indexes[index];
    key.clear();
    for (const KeyColumn& part : real.columns) {
        const int position = definition_.ColumnByNumber(part.number);
        AppendKeyPart(definition_.columns[position], part.ascending, row[position], pager_.GetHeader(), key);
    }
    return !(real.IgnoresNulls() && AllNull(index, row));
}

void Table::CheckLength(const Bytes& key) const {
    if (key.size() > pager_.GetFormat().MaxKey()) Raise(ErrorNumber::RecordTooLarge, {name_});
}

std::vector<bool> Table::KeyColumns() const {
    std::vector<bool> wanted(definition_.columns.size());
    for (const RealIndex& real : definition_.real_indexes) {
        for (const KeyColumn& part : real.columns) wanted[definition_.ColumnByNumber(part.number)] = true;
    }
    return wanted;
}

// Refuses a row whose entry cannot be computed.
void Table::CheckTextOrder(std::size_t index, const Row& row) {
    for (const KeyColumn& part : definition_.real_indexes[index].columns) {
        const int position = definition_.ColumnByNumber(part.number);
        const Column& column = definition_.columns[position];
        if (!IsText(column.type)) continue;
        const TextOrder order = TextOrderOf(column, pager_.GetHeader());
        if (order == TextOrder::General) continue;
        if (order == TextOrder::AsciiOnly || order == TextOrder::Jet3Ascii) CheckStoredOrder(index);
        if (order == TextOrder::Jet3Ascii) CheckCatalogueOrder();
        if (HasKey(column, row[position], pager_.GetHeader())) continue;
        Raise(ErrorNumber::TextOrderUnsupported, {name_, IndexName(index), u"字段“" + column.name + u"”的文本。"});
    }
}

// An index may have no entries yet that show the file's order; the names of its tables do.
void Table::CheckCatalogueOrder() {
    if (definition_.page == kObjectsPage) return;
    const std::shared_ptr<Table> objects = tables_.TableAt(kObjectsPage);
    for (std::size_t i = 0; i < objects->Definition().real_indexes.size(); ++i) objects->CheckStoredOrder(i);
}

bool Table::AllNull(std::size_t index, const Row& row) const {
    const std::vector<KeyColumn>& parts = definition_.real_indexes[index].columns;
    return std::all_of(parts.begin(), parts.end(),
                       [&](const KeyColumn& part) { return row[definition_.ColumnByNumber(part.number)].IsNull(); });
}

void Table::CheckRequired(std::size_t index, const Row& row) const {
    const RealIndex& real = definition_.real_indexes[index];
    const bool any_null = std::any_of(real.columns.begin(), real.columns.end(), [&](const KeyColumn& part) {
        return row[definition_.ColumnByNumber(part.number)].IsNull();
    });
    if (real.IsRequired() && any_null) Raise(ErrorNumber::IndexKeyNull, {IndexName(index)});
}

void Table::CheckUnique(std::size_t index, const Row& row, const Bytes& key, RowPointer except) const {
    const RealIndex& real = definition_.real_indexes[index];
    if (!real.IsUnique() || AllNull(index, row)) return;
    if (Tree(index).ContainsKey(key, except)) Raise(ErrorNumber::DuplicateKey, {IndexName(index)});
}

void Table::AddEntry(std::size_t index, const Bytes& key, RowPointer where) {
    Bytes entry = key;
    AppendRowPointer(where, entry);
    if (TreeToChange(index).Insert(entry)) CountNewKeys(index, 1);
}

void Table::CountNewKeys(std::size_t index, std::size_t keys) {
    if (keys == 0) return;
    MutablePage definition = pager_.Write(definition_.page);
    const Format& format = pager_.GetFormat();
    std::uint8_t* distinct = definition.Data() + format.definition_header + format.statistics_block * index + 4;
    Put(distinct, Get<std::uint32_t>(distinct) + static_cast<std::uint32_t>(keys));
}

// Bulk insertion

void Table::BeginInserts() {
    // What refers to rows must find them at once.
    const auto relates = [](const LogicalIndex& logical) { return logical.role == IndexRole::Foreign; };
    inserts_later_ = std::ranges::none_of(definition_.logical_indexes, relates);
    pending_.resize(definition_.real_indexes.size());
}

void Table::EndInserts() {
    AddPending();
    inserts_later_ = false;
}

void Table::CancelInserts() {
    for (auto& entries : pending_) entries.clear();
    pending_bytes_.clear();
    inserts_later_ = false;
}

void Table::AddLater(std::size_t index, const Bytes& key, RowPointer where, bool exempt) {
    PendingEntry entry{0, static_cast<std::uint32_t>(pending_bytes_.size()), 0, exempt};
    pending_bytes_.insert(pending_bytes_.end(), key.begin(), key.end());
    AppendRowPointer(where, pending_bytes_);
    entry.size = static_cast<std::uint16_t>(pending_bytes_.size() - entry.at);
    for (std::size_t i = 0; i < 8; ++i) {
        entry.head = entry.head << 8 | (i < entry.size ? pending_bytes_[entry.at + i] : 0);
    }
    pending_[index].push_back(entry);
}

// In the order of their keys, leaf by leaf.
void Table::AddPending() {
    std::vector<IndexTree::SortedEntry> sorted;
    for (std::size_t index = 0; index < pending_.size(); ++index) {
        std::vector<PendingEntry>& entries = pending_[index];
        const auto less = [&](const PendingEntry& a, const PendingEntry& b) {
            if (a.head != b.head) return a.head < b.head;
            const std::uint8_t* bytes = pending_bytes_.data();
            const int order = std::memcmp(bytes + a.at, bytes + b.at, std::min(a.size, b.size));
            return order != 0 ? order < 0 : a.size < b.size;
        };
        if (!std::ranges::is_sorted(entries, less)) std::ranges::sort(entries, less);
        const bool unique = definition_.real_indexes[index].IsUnique();
        sorted.clear();
        for (const PendingEntry& entry : entries) {
            sorted.push_back({{pending_bytes_.data() + entry.at, entry.size}, unique && !entry.exempt});
        }
        const std::optional<std::size_t> new_keys = TreeToChange(index).InsertSorted(sorted);
        if (!new_keys) Raise(ErrorNumber::DuplicateKey, {IndexName(index)});
        CountNewKeys(index, *new_keys);
        entries.clear();
    }
    pending_bytes_.clear();
}

void Table::EraseEntry(std::size_t index, const Row& row, RowPointer where) {
    Bytes entry;
    if (!KeyOf(index, row, entry)) return;
    AppendRowPointer(where, entry);
    std::vector<Value> values;
    for (const KeyColumn& part : definition_.real_indexes[index].columns) {
        values.push_back(row[definition_.ColumnByNumber(part.number)]);
    }
    IndexTree tree = TreeToChange(index);
    if (HasKeys(index, values) && tree.Erase(entry)) return;
    if (!tree.EraseByRow(where)) {
        pager_.Damaged(where.page, u"表“" + name_ + u"”的索引“" + IndexName(index) + u"”缺少一行的索引项");
    }
}

void Table::BuildIndex(std::size_t index) {
    std::vector<bool> wanted(definition_.columns.size());
    for (const KeyColumn& part : definition_.real_indexes[index].columns) {
        wanted[definition_.ColumnByNumber(part.number)] = true;
    }
    RowCursor cursor(*this);
    cursor.Scan();
    Row row(definition_.columns.size());
    EntrySorter entries(pager_.Files());
    Bytes entry;
    while (cursor.Next()) {
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            if (wanted[i]) cursor.Read(i, row[i]);
        }
        CheckTextOrder(index, row);
        if (!KeyOf(index, row, entry)) continue;
        CheckLength(entry);
        CheckRequired(index, row);
        AppendRowPointer(cursor.Row(), entry);
        entry.push_back(AllNull(index, row) ? 1 : 0);  // such a key may stand in a unique index many times
        entries.Add(entry);
    }
    constexpr std::size_t kBatch = std::size_t{256} << 10;
    const bool unique = definition_.real_indexes[index].IsUnique();
    Bytes bytes;
    std::vector<std::size_t> ends;
    std::vector<bool> exempt;
    std::vector<IndexTree::SortedEntry> batch;
    for (bool more = true; more;) {
        bytes.clear();
        ends.clear();
        exempt.clear();
        batch.clear();
        while (bytes.size() < kBatch && (more = entries.Next(entry))) {
            bytes.insert(bytes.end(), entry.begin(), entry.end() - 1);
            ends.push_back(bytes.size());
            exempt.push_back(entry.back() != 0);
        }
        for (std::size_t i = 0; i < ends.size(); ++i) {
            const std::size_t begin = i == 0 ? 0 : ends[i - 1];
            batch.push_back({std::span(bytes).subspan(begin, ends[i] - begin), unique && !exempt[i]});
        }
        const std::optional<std::size_t> new_keys = TreeToChange(index).InsertSorted(batch);
        if (!new_keys) Raise(ErrorNumber::DuplicateKey, {IndexName(index)});
        CountNewKeys(index, *new_keys);
    }
}

// Values

void Table::AssignAutonumber(Row& row) {
    last_autonumber_ = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const Column& column = definition_.columns[i];
        if (!column.IsAutonumber()) continue;
        const std::size_t at = pager_.GetFormat().definition_autonumber;
        const auto stored = pager_.Read(definition_.page).View().Read<std::int32_t>(at);
        if (row[i].IsNull() || row[i].IsEmpty()) {
            if (stored == std::numeric_limits<std::int32_t>::max()) Raise(ErrorNumber::Overflow);
            row[i] = stored + 1;
        }
        last_autonumber_ = row[i].As<std::int32_t>();
    }
}

std::int32_t Table::TakeAutonumber() {
    MutablePage definition = pager_.Write(definition_.page);
    std::uint8_t* stored = definition.Data() + pager_.GetFormat().definition_autonumber;
    const auto last = Get<std::int32_t>(stored);
    if (last == std::numeric_limits<std::int32_t>::max()) Raise(ErrorNumber::Overflow);
    Put(stored, last + 1);
    return last + 1;
}

void Table::CheckValue(const Column& column, const Value& value) const {
    if (value.IsNull()) {
        if (column.required) Raise(ErrorNumber::FieldRequired, {name_ + u"." + column.name});
        return;
    }
    if (value.GetType() != ValueTypeOf(column.type)) Raise(ErrorNumber::DataTypeConversion, {column.name});
    if (!IsText(column.type)) return;
    if (value.Text().empty() && !column.allow_zero_length)
        Raise(ErrorNumber::ZeroLengthNotAllowed, {name_ + u"." + column.name});
    // Before any long value is written.
    if (pager_.GetFormat().version == Version::Jet3) {
        ToStored(value.Text(), CodePageOf(column, pager_.GetHeader()), ErrorNumber::DataTypeConversion, column.name);
    }
}

// Writes a long value out already: what is stored for it in the row is a reference.
void Table::EncodeField(std::size_t position, const Value& value, RowField& field) {
    const Column& column = definition_.columns[position];
    field.present = !value.IsNull();
    field.bytes.clear();
    if (!field.present) return;
    if (column.type == ColumnType::Boolean) {
        field.present = value.As<bool>();
    } else if (column.type == ColumnType::Memo) {
        Bytes text;
        EncodeMemo(value.Text(), pager_, column, text);
        field.bytes = LongValues(column).Write(text);
    } else if (column.type == ColumnType::LongBinary) {
        field.bytes = LongValues(column).Write(value.Binary());
    } else {
        EncodeValue(column, value, pager_.GetFormat(), CodePageOf(column, pager_.GetHeader()), field.bytes);
    }
}

// Moves inline long values out, the longest first, until the row fits on a page.
void Table::FitRow(std::vector<RowField>& fields) {
    while (EncodedLength(definition_, pager_.GetFormat(), fields) > pager_.GetFormat().max_row) {
        std::size_t longest = fields.size();
        for (std::size_t i = 0; i < fields.size(); ++i) {
            if (!IsLongValue(definition_.columns[i].type) || !fields[i].present || fields[i].bytes.size() <= 12)
                continue;
            if (longest == fields.size() || fields[i].bytes.size() > fields[longest].bytes.size()) longest = i;
        }
        if (longest == fields.size()) Raise(ErrorNumber::RecordTooLarge, {name_});
        const Column& column = definition_.columns[longest];
        Bytes& bytes = fields[longest].bytes;
        Bytes value;
        LongValueReader(pager_, ByteView(bytes.data(), bytes.size(), pager_.FileName(), definition_.page)).Read(value);
        if (column.type == ColumnType::Memo && pager_.GetFormat().version == Version::Jet4) {  // it may be compressed
            std::u16string text;
            DecodeMemo(value, pager_, column, text);
            EncodeMemo(text, pager_, column, value);
        }
        bytes = LongValues(column).Write(value, false);
    }
}

// Rows

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
        const Column& column = definition_.columns[i];
        if (row_[i].IsEmpty()) row_[i] = Null{};
        if (column.type == ColumnType::Boolean && row_[i].IsNull()) row_[i] = false;
        DropByteOrderMark(row_[i]);
        CheckValue(column, row_[i]);
    }
    CheckReferencedRows(*this, tables_, row_, nullptr);
    std::vector<bool> in_index(keys_.size());
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        CheckTextOrder(i, row_);
        in_index[i] = KeyOf(i, row_, keys_[i]);
        CheckLength(keys_[i]);
        CheckRequired(i, row_);
        if (!inserts_later_) CheckUnique(i, row_, keys_[i], {});
    }
    for (std::size_t i = 0; i < row_.size(); ++i) EncodeField(i, row_[i], fields_[i]);
    FitRow(fields_);
    EncodeRow(definition_, pager_.GetFormat(), name_, fields_, encoded_);
    const RowPointer where = store_.Add(encoded_);
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        if (!in_index[i]) continue;
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
    fields.assign(definition_.columns.size(), {});
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const Column& column = definition_.columns[i];
        if (column.type == ColumnType::Boolean) {
            fields[i].present = row.Boolean(column);
        } else if (const auto stored = row.Find(column)) {
            fields[i].present = true;
            fields[i].bytes.assign(stored->Data(), stored->Data() + stored->Size());
        }
    }
}

void Table::Update(RowPointer where, std::span<const ColumnChange> changes) {
    // The old values of what indexes and relationships need, and the new ones.
    std::vector<bool> wanted = KeyColumns();
    Row old_row(definition_.columns.size());
    ReadColumns(where, wanted, old_row);
    Row new_row = old_row;
    std::vector<bool> changed(definition_.columns.size());
    for (const ColumnChange& change : changes) {
        const Column& column = definition_.columns[change.column];
        Value value = change.value;
        if (column.type == ColumnType::Boolean && value.IsNull()) value = false;
        DropByteOrderMark(value);
        CheckValue(column, value);
        new_row[change.column] = std::move(value);
        changed[change.column] = true;
    }
    CheckReferencedRows(*this, tables_, new_row, &old_row);
    CheckReferencingRows(*this, tables_, old_row, &new_row);

    std::vector<Bytes> keys(keys_.size());
    std::vector<bool> in_index(keys_.size());
    std::vector<bool> index_changed(keys_.size());
    Bytes old_key;
    for (std::size_t i = 0; i < keys.size(); ++i) {
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
    std::vector<RowField> fields;
    Bytes before;
    std::vector<std::pair<std::size_t, Bytes>> replaced;  // references of long values to be given back
    {
        RowCursor cursor(*this);
        if (!cursor.MoveTo(where)) Raise(ErrorNumber::RecordDeleted);
        const RowView& view = cursor.View();
        before.assign(view.Bytes().Data(), view.Bytes().Data() + view.Bytes().Size());
        StoredFields(view, fields);
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (!changed[i]) continue;
        if (IsLongValue(definition_.columns[i].type) && fields[i].present) replaced.emplace_back(i, fields[i].bytes);
        EncodeField(i, new_row[i], fields[i]);
    }
    FitRow(fields);
    EncodeRow(definition_, pager_.GetFormat(), name_, fields, encoded_);
    if (encoded_ != before) ReplaceRow(where, encoded_);  // what stays as it is needs no writing
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (!index_changed[i]) continue;
        EraseEntry(i, old_row, where);
        if (in_index[i]) AddEntry(i, keys[i], where);
    }
    for (const auto& [column, reference] : replaced) {
        LongValues(definition_.columns[column])
            .Free(ByteView(reference.data(), reference.size(), pager_.FileName(), where.page));
    }
    Follow(CascadesOfUpdate(*this, tables_, old_row, new_row));
}

void Table::Delete(RowPointer where) {
    Row row(definition_.columns.size());
    ReadColumns(where, KeyColumns(), row);
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

// What related tables do after a change here. A row may have gone with an earlier one.
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
