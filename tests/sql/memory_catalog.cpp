#include "sql/memory_catalog.h"

#include <algorithm>

#include "core/collation.h"
#include "core/convert.h"
#include "core/decimal.h"
#include "core/error.h"
#include "core/text.h"

namespace qmtrain::sql {
namespace {

// Null first, then numbers, texts and bytes, each by its own order.
int CompareKeys(const Value& a, const Value& b) {
    const auto rank = [](const Value& value) {
        if (value.IsNull() || value.IsEmpty()) return 0;
        return value.IsText() ? 2 : value.GetType() == Value::Type::Binary ? 3 : 1;
    };
    if (rank(a) != rank(b)) return rank(a) - rank(b);
    switch (rank(a)) {
        case 0: return 0;
        case 1:
            if (a.GetType() == Value::Type::Decimal && b.GetType() == Value::Type::Decimal) {
                const auto order = Compare(a.As<Decimal>(), b.As<Decimal>());
                return order < 0 ? -1 : order > 0 ? 1 : 0;
            }
            return ToDouble(a) < ToDouble(b) ? -1 : ToDouble(a) > ToDouble(b) ? 1 : 0;
        case 2: return collation::Compare(a.Text(), b.Text());
        default: return a.Binary() < b.Binary() ? -1 : a.Binary() > b.Binary() ? 1 : 0;
    }
}

}  // namespace

// ---- MemoryCursor ----

class MemoryCursor : public Cursor {
public:
    explicit MemoryCursor(MemoryTable& table) : table_(table) {}

    void Scan() override {
        ++table_.reads.scans;
        in_range_ = false;
        row_ = 0;
        limit_ = table_.rows_.size();
    }

    void Range(std::size_t index, const KeyRange& range, bool backwards) override {
        ++table_.reads.ranges;
        in_range_ = true;
        place_ = 0;
        found_ = table_.RowsOf(index, range);
        if (backwards) std::ranges::reverse(found_);
    }

    bool Next() override {
        while (in_range_ ? place_ < found_.size() : row_ < limit_) {
            row_ = in_range_ ? found_[place_++] : row_ + 1;
            if (!table_.rows_[row_ - 1]) continue;
            ++table_.reads.rows;
            return true;
        }
        return false;
    }

    bool MoveTo(RowId row) override {
        ++table_.reads.moves;
        limit_ = 0;
        place_ = found_.size();
        row_ = row.value;
        const bool alive = row_ > 0 && row_ <= table_.rows_.size() && table_.rows_[row_ - 1];
        if (alive) ++table_.reads.rows;
        return alive;
    }

    RowId Row() const override { return {static_cast<std::uint32_t>(row_)}; }

    void Read(std::size_t column, Value& value) override {
        ++table_.reads.values;
        value = (*table_.rows_[row_ - 1])[column];
    }

private:
    MemoryTable& table_;
    bool in_range_ = false;
    std::size_t row_ = 0;
    std::size_t limit_ = 0;
    std::vector<std::uint32_t> found_;
    std::size_t place_ = 0;
};

// ---- MemoryTable ----

int MemoryTable::EntryLess::Compare(const Row& a, const Row& b, std::size_t columns) const {
    for (std::size_t i = 0; i < columns; ++i) {
        const int order = CompareKeys(a[i], b[i]);
        if (order != 0) return descending[i] ? -order : order;
    }
    return 0;
}

bool MemoryTable::EntryLess::operator()(const Entry& a, const Entry& b) const {
    const int order = Compare(a.key, b.key, descending.size());
    return order != 0 ? order < 0 : a.row < b.row;
}

MemoryTable::MemoryTable(TableSchema schema) : schema_(std::move(schema)) {
    for (const Index& index : schema_.indexes) entries_.push_back(MakeEntries(index));
}

MemoryTable::Entries MemoryTable::MakeEntries(const Index& index) const {
    EntryLess less;
    for (const IndexColumn& column : index.columns) less.descending.push_back(column.descending);
    return Entries(less);
}

std::vector<std::uint32_t> MemoryTable::RowsOf(std::size_t index, const KeyRange& range) const {
    std::vector<std::uint32_t> rows;
    const auto& entries = entries_[index];
    const auto& order = entries.key_comp();
    for (const Entry& entry : entries) {
        bool fits = true;
        if (range.kind != KeyRange::Kind::Between) {
            const Row& values = range.low->values;
            const bool prefix = range.kind == KeyRange::Kind::Prefix;
            const std::size_t whole = values.size() - (prefix ? 1 : 0);
            fits = order.Compare(entry.key, values, whole) == 0;
            if (prefix && fits) {
                const std::u16string& begin = values.back().Text();
                fits = entry.key[whole].IsText() && ToUpper(entry.key[whole].Text()).starts_with(ToUpper(begin));
            }
        }
        if (fits && range.kind == KeyRange::Kind::Between && range.low) {
            const int low = order.Compare(entry.key, range.low->values, range.low->values.size());
            fits = low > 0 || (low == 0 && range.low->inclusive);
        }
        if (fits && range.high) {
            const int high = order.Compare(entry.key, range.high->values, range.high->values.size());
            fits = high < 0 || (high == 0 && range.high->inclusive);
        }
        if (fits) rows.push_back(entry.row);
    }
    return rows;
}

double MemoryTable::EstimatedRows(std::size_t index, const KeyRange& range) {
    return static_cast<double>(RowsOf(index, range).size());
}

double MemoryTable::DistinctKeys(std::size_t index) {
    const auto& entries = entries_[index];
    double keys = 0;
    const Entry* last = nullptr;
    for (const Entry& entry : entries) {
        if (last == nullptr || entries.key_comp().Compare(last->key, entry.key, entry.key.size()) != 0) ++keys;
        last = &entry;
    }
    return keys;
}

std::unique_ptr<Cursor> MemoryTable::OpenCursor() {
    return std::make_unique<MemoryCursor>(*this);
}

bool MemoryTable::CanSeek(std::size_t index, std::span<const Value> values) const {
    return seeks_ && values.size() <= schema_.indexes[index].columns.size();
}

std::optional<MemoryTable::Entry> MemoryTable::MakeEntry(std::size_t index, std::uint32_t row) const {
    const Index& definition = schema_.indexes[index];
    Entry entry{{}, row};
    bool all_null = true;
    for (const IndexColumn& column : definition.columns) {
        const Value& value = (*rows_[row - 1])[column.column];
        if (value.IsNull() && definition.required) Raise(ErrorNumber::IndexKeyNull, {definition.name});
        all_null = all_null && value.IsNull();
        entry.key.push_back(value);
    }
    if (all_null && definition.ignore_nulls) return std::nullopt;
    return entry;
}

void MemoryTable::AddEntries(std::uint32_t row) {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const auto entry = MakeEntry(i, row);
        if (!entry) continue;
        const bool has_null = std::ranges::any_of(entry->key, [](const Value& value) { return value.IsNull(); });
        const auto next = entries_[i].lower_bound(Entry{entry->key, 0});
        const bool taken =
            next != entries_[i].end() && entries_[i].key_comp().Compare(next->key, entry->key, entry->key.size()) == 0;
        if (schema_.indexes[i].unique && taken && !has_null) {
            RemoveEntries(row);
            Raise(ErrorNumber::DuplicateKey, {schema_.indexes[i].name});
        }
        entries_[i].insert(*entry);
    }
}

void MemoryTable::RemoveEntries(std::uint32_t row) {
    for (Entries& entries : entries_) std::erase_if(entries, [row](const Entry& entry) { return entry.row == row; });
}

void MemoryTable::CheckRow(const Row& row) const {
    for (std::size_t i = 0; i < row.size(); ++i) {
        const Column& column = schema_.columns[i];
        if (column.required && row[i].IsNull()) Raise(ErrorNumber::FieldRequired, {column.name});
    }
}

RowId MemoryTable::Insert(std::span<const Value> values) {
    Row row(values.begin(), values.end());
    std::int32_t autonumber = last_autonumber_;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (schema_.columns[i].autonumber) {
            autonumber = row[i].IsEmpty() ? last_autonumber_ + 1 : row[i].As<std::int32_t>();
            row[i] = autonumber;
        } else if (row[i].IsEmpty()) {
            if (schema_.columns[i].type == ColumnType::Boolean)
                row[i] = false;
            else
                row[i] = Null{};
        }
    }
    CheckRow(row);
    rows_.push_back(std::move(row));
    const auto number = static_cast<std::uint32_t>(rows_.size());
    try {
        AddEntries(number);
    } catch (...) {
        rows_.pop_back();
        throw;
    }
    last_autonumber_ = std::max(last_autonumber_, autonumber);
    ++count_;
    return {number};
}

void MemoryTable::Update(RowId row, std::span<const Assignment> changes) {
    const Row old = *rows_[row.value - 1];
    Row changed = old;
    for (const Assignment& change : changes) changed[change.column] = change.value;
    CheckRow(changed);
    RemoveEntries(row.value);
    rows_[row.value - 1] = std::move(changed);
    try {
        AddEntries(row.value);
    } catch (...) {
        rows_[row.value - 1] = old;
        AddEntries(row.value);
        throw;
    }
}

void MemoryTable::Delete(RowId row) {
    RemoveEntries(row.value);
    rows_[row.value - 1].reset();
    --count_;
}

void MemoryTable::AddIndex(const Index& index) {
    schema_.indexes.push_back(index);
    entries_.push_back(MakeEntries(index));
    for (std::uint32_t row = 1; row <= rows_.size(); ++row) {
        if (!rows_[row - 1]) continue;
        if (const auto entry = MakeEntry(entries_.size() - 1, row)) entries_.back().insert(*entry);
    }
}

void MemoryTable::DropIndex(std::u16string_view name) {
    for (std::size_t i = 0; i < schema_.indexes.size(); ++i) {
        if (!EqualNames(schema_.indexes[i].name, name)) continue;
        schema_.indexes.erase(schema_.indexes.begin() + i);
        entries_.erase(entries_.begin() + i);
        return;
    }
    Raise(ErrorNumber::ObjectNotFound, {name});
}

void MemoryTable::AddColumn(const Column& column) {
    schema_.columns.push_back(column);
    for (auto& row : rows_) {
        if (row) row->push_back(Null{});
    }
}

void MemoryTable::DropColumn(std::u16string_view name) {
    const auto found = std::ranges::find_if(schema_.columns, [&](const Column& c) { return EqualNames(c.name, name); });
    const auto place = found - schema_.columns.begin();
    schema_.columns.erase(found);
    for (auto& row : rows_) {
        if (row) row->erase(row->begin() + place);
    }
}

// ---- MemoryCatalog ----

std::shared_ptr<Table> MemoryCatalog::FindTable(std::u16string_view name) {
    const auto found = tables_.find(FoldName(name));
    return found == tables_.end() ? nullptr : found->second;
}

MemoryTable& MemoryCatalog::At(std::u16string_view name) {
    return *tables_.at(FoldName(name));
}

std::optional<std::u16string> MemoryCatalog::FindQuery(std::u16string_view name) {
    const auto found = queries_.find(FoldName(name));
    return found == queries_.end() ? std::nullopt : std::optional(found->second);
}

void MemoryCatalog::SaveQuery(std::u16string_view name, std::u16string_view text) {
    queries_[FoldName(name)] = text;
}

void MemoryCatalog::CreateTable(const TableSchema& schema) {
    tables_[FoldName(schema.name)] = std::make_shared<MemoryTable>(schema);
}

void MemoryCatalog::DropTable(std::u16string_view name) {
    tables_.erase(FoldName(name));
}

void MemoryCatalog::CreateIndex(std::u16string_view table, const Index& index) {
    At(table).AddIndex(index);
}

void MemoryCatalog::DropIndex(std::u16string_view table, std::u16string_view index) {
    At(table).DropIndex(index);
}

void MemoryCatalog::AddColumn(std::u16string_view table, const Column& column) {
    At(table).AddColumn(column);
}

void MemoryCatalog::DropColumn(std::u16string_view table, std::u16string_view column) {
    At(table).DropColumn(column);
}

void MemoryCatalog::AddReference(std::u16string_view table, const Reference& reference) {
    At(table).AddReference(reference);
}

}  // namespace qmtrain::sql
