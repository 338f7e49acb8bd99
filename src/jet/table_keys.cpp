// Keys of a table's rows, and their entries in its indexes.
#include <algorithm>
#include <cstring>

#include "jet/entry_sorter.h"
#include "jet/row_cursor.h"
#include "jet/table.h"
namespace qmtrain::jet {

// False when the row has no entry in this index.
bool Table::KeyOf(std::size_t index, const Row& row, Bytes& key) const {
    const RealIndex& real = definition_.real_indexes[index];
    key.clear();
    for (const KeyColumn& part : real.columns) {
        const std::size_t position = definition_.ColumnByNumber(part.number);
        AppendKeyPart(definition_.columns[position], part.ascending, row[position], pager_.GetHeader(), key);
    }
    return !(real.IgnoresNulls() && AllNull(index, row));
}

void Table::CheckLength(const Bytes& key) const {
    if (key.size() > pager_.GetFormat().MaxKey()) Raise(ErrorNumber::RecordTooLarge, {name_});
}

// Refuses a row whose entry cannot be computed.
void Table::CheckTextOrder(std::size_t index, const Row& row) {
    for (const KeyColumn& part : definition_.real_indexes[index].columns) {
        const std::size_t position = definition_.ColumnByNumber(part.number);
        const StoredColumn& column = definition_.columns[position];
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
    if (!real.IsRequired()) return;
    const bool any_null = std::any_of(real.columns.begin(), real.columns.end(), [&](const KeyColumn& part) {
        return row[definition_.ColumnByNumber(part.number)].IsNull();
    });
    if (any_null) Raise(ErrorNumber::IndexKeyNull, {IndexName(index)});
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
    const FileFormat& format = pager_.GetFormat();
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

}  // namespace qmtrain::jet
