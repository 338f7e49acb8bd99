#include "dao/jet_table.h"

#include <algorithm>

#include "core/error.h"
#include "jet/database.h"
#include "jet/row_cursor.h"
#include "sql/row_rules.h"

namespace qmtrain::dao {
namespace {

sql::RowId ToRowId(jet::RowPointer row) {
    return {row.ToStored()};
}
jet::RowPointer ToPointer(sql::RowId row) {
    return jet::RowPointer::FromStored(row.value);
}

// A range of keys as the bytes between which its entries stand.
struct ByteRange {
    Bytes from;
    std::optional<Bytes> to;
    bool empty = false;

    void Set(const jet::StoredTable& table, std::size_t index, const sql::KeyRange& range) {
        constexpr std::size_t kUsualKey = 32;
        from.clear();
        from.reserve(kUsualKey);
        to.reset();
        empty = false;
        if (range.kind == sql::KeyRange::Kind::Prefix) {
            SetPrefix(table, index, range.low->values);
            to = jet::SuccessorOf(from);
            return;
        }
        if (range.kind == sql::KeyRange::Kind::Equal) {
            table.AppendKey(index, range.low->values, from);
            to = jet::SuccessorOf(from);
            return;
        }
        if (range.low) {
            table.AppendKey(index, range.low->values, from);
            if (!range.low->inclusive) {
                auto next = jet::SuccessorOf(from);
                empty = !next;
                if (next) from = std::move(*next);
            }
        }
        if (range.high) {
            to.emplace().reserve(kUsualKey);
            table.AppendKey(index, range.high->values, *to);
            if (range.high->inclusive) to = jet::SuccessorOf(std::move(*to));
        }
    }

private:
    void SetPrefix(const jet::StoredTable& table, std::size_t index, std::span<const Value> values) {
        table.AppendPrefix(index, values, from);
    }
};

class JetCursor : public sql::Cursor {
public:
    JetCursor(std::shared_ptr<const jet::Table> table, const Layout& layout)
        : table_(std::move(table)), cursor_(*table_), layout_(layout) {}

    void Scan() override {
        empty_ = false;
        cursor_.Scan();
    }

    void Range(std::size_t index, const sql::KeyRange& range, bool backwards) override {
        bytes_.Set(cursor_.GetTable(), index, range);
        empty_ = bytes_.empty;
        cursor_.Range(index, bytes_.from, bytes_.to, backwards);
    }

    bool Next() override { return !empty_ && cursor_.Next(); }
    std::int64_t CountRest() override { return empty_ ? 0 : cursor_.CountRest(); }
    bool MoveTo(sql::RowId row) override { return cursor_.MoveTo(ToPointer(row)); }
    sql::RowId Row() const override { return ToRowId(cursor_.Row()); }
    void Read(std::size_t column, Value& value) override { cursor_.Read(layout_.positions[column], value); }
    void ReadColumns(std::span<const std::size_t> columns, Value* values) override {
        if (!numbers_) numbers_.emplace(NumbersOf(columns));
        if (!cursor_.ReadNumbers(*numbers_, values)) Cursor::ReadColumns(columns, values);
    }
    std::optional<std::string_view> NarrowText(std::size_t column) override {
        return cursor_.NarrowText(layout_.positions[column]);
    }
    std::span<const std::uint8_t> Image() override { return cursor_.Image().Span(); }

private:
    jet::NumberColumns NumbersOf(std::span<const std::size_t> columns) const {
        std::vector<std::size_t> positions;
        for (const std::size_t column : columns) positions.push_back(layout_.positions[column]);
        return {table_->Definition(), table_->GetPager().GetFormat(), positions};
    }

    std::shared_ptr<const jet::Table> table_;
    jet::RowCursor cursor_;
    std::optional<jet::NumberColumns> numbers_;  // that ReadColumns() reads
    const Layout& layout_;
    ByteRange bytes_;
    bool empty_ = false;
};

class JetTable : public sql::Table {
public:
    JetTable(std::shared_ptr<jet::Table> table, std::shared_ptr<const Layout> layout)
        : table_(std::move(table)), hold_(table_->Owner().Hold(*table_)), layout_(std::move(layout)) {}

    const std::u16string& Name() const override { return table_->Name(); }
    const std::vector<sql::Column>& Columns() const override { return layout_->columns; }
    const std::vector<sql::Index>& Indexes() const override { return layout_->indexes; }

    std::int64_t RowCount() override { return table_->ExactRowCount(); }
    std::int64_t EstimatedRows() override { return table_->RowCount(); }

    double EstimatedRows(std::size_t index, const sql::KeyRange& range) override {
        ByteRange bytes;
        bytes.Set(*table_, index, range);
        if (bytes.empty) return 0;
        const jet::IndexTree tree = table_->Tree(index);
        const double from = bytes.from.empty() ? 0 : tree.Position(bytes.from);
        const double to = bytes.to ? tree.Position(*bytes.to) : 1;
        return std::max(0.0, to - from) * static_cast<double>(table_->RowCount());
    }

    double DistinctKeys(std::size_t index) override { return table_->DistinctKeys(index); }

    std::unique_ptr<sql::Cursor> OpenCursor() override { return std::make_unique<JetCursor>(table_, *layout_); }

    bool HasImages() const override { return true; }
    void ShowImage(std::span<const std::uint8_t> image) override {
        const jet::TableDefinition& definition = table_->Definition();
        const jet::Pager& pager = table_->GetPager();
        const jet::ByteView bytes(image.data(), image.size(), pager.FileName(), definition.page);
        image_.emplace(definition, pager.GetFormat(), bytes);
    }
    void ReadImage(std::size_t column, Value& value) const override {
        jet::ReadValue(*table_, *image_, layout_->positions[column], value);
    }

    bool CanSeek(std::size_t index, std::span<const Value> values) const override {
        const jet::TableDefinition& definition = table_->Definition();
        const auto& parts = definition.real_indexes[index].columns;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const std::size_t at = definition.ColumnByNumber(parts[i].number);
            const jet::StoredColumn& column = definition.columns[at];
            // An order that only some files show to be right is not relied on: it would hide rows where it is not.
            const bool sure = !IsText(column.type) || table_->OrderOf(column) != jet::TextOrder::Jet3Ascii;
            if (!sure || !jet::HasKeyOfEquals(column, values[i], table_->GetPager().GetHeader())) return false;
        }
        return true;
    }

    // Texts must be in the General order. Keys of memos end early, those of GUIDs are no texts, and in descending
    // decimals the negative ones come first.
    bool InOrder(std::size_t index, std::size_t columns) const override {
        const jet::TableDefinition& definition = table_->Definition();
        const auto& parts = definition.real_indexes[index].columns;
        return std::all_of(parts.begin(), parts.begin() + columns, [&](const jet::KeyColumn& part) {
            return IsInOrder(definition.columns[definition.ColumnByNumber(part.number)], part.ascending);
        });
    }

    bool HoldsValues(std::size_t index, std::size_t column) const override {
        const jet::TableDefinition& definition = table_->Definition();
        const auto& parts = definition.real_indexes[index].columns;
        return std::all_of(parts.begin(), parts.begin() + column + 1, [&](const jet::KeyColumn& part) {
            const std::size_t position = definition.ColumnByNumber(part.number);
            return jet::HasReadableKey(definition.columns[position].type);
        });
    }

    bool HasPrefixes(std::size_t index, std::size_t column) const override {
        const jet::TableDefinition& definition = table_->Definition();
        const jet::KeyColumn& part = definition.real_indexes[index].columns[column];
        const auto order = table_->OrderOf(definition.columns[definition.ColumnByNumber(part.number)]);
        return order == jet::TextOrder::General || order == jet::TextOrder::Jet3General;
    }

    sql::RowId Insert(std::span<const Value> values) override {
        jet::Table& current = Current();
        if (HasRules()) Rules().Check(values);
        inserted_.resize(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) inserted_[layout_->positions[i]] = values[i];
        return ToRowId(current.Insert(inserted_));
    }

    void BeginInserts() override { Current().BeginInserts(); }
    void EndInserts() override { table_->EndInserts(); }
    void CancelInserts() override { table_->CancelInserts(); }

    void Update(sql::RowId row, std::span<const sql::Assignment> changes) override {
        jet::Table& current = Current();
        if (HasRules() && Rules().Concern(changes)) CheckChange(row, changes);
        std::vector<jet::ColumnChange> stored;
        for (const sql::Assignment& change : changes) {
            stored.push_back({layout_->positions[change.column], change.value});
        }
        current.Update(ToPointer(row), stored);
    }

    void Delete(sql::RowId row) override { Current().Delete(ToPointer(row)); }

    std::optional<std::int32_t> TakeAutonumber() override { return Current().TakeAutonumber(); }
    std::int32_t LastAutonumber() const override { return table_->LastAutonumber(); }

private:
    bool IsInOrder(const jet::StoredColumn& column, bool ascending) const {
        if (column.foreign_type) return false;
        switch (column.type) {
            case ColumnType::Text: return table_->OrderOf(column) == jet::TextOrder::General;
            case ColumnType::Memo:
            case ColumnType::Guid: return false;
            case ColumnType::Decimal: return ascending;
            default: return true;
        }
    }

    bool HasRules() {
        const auto has_rule = [](const sql::Column& column) { return !column.validation.condition.empty(); };
        if (!has_rules_) {
            has_rules_ = !table_->Definition().validation.condition.empty() ||
                         std::ranges::any_of(rules_layout_->columns, has_rule);
        }
        return *has_rules_;
    }

    sql::RowRules& Rules() {
        const ValidationRule& of_rows = table_->Definition().validation;
        if (!rules_) rules_ = std::make_unique<sql::RowRules>(Name(), rules_layout_->columns, of_rows);
        return *rules_;
    }

    void CheckChange(sql::RowId row, std::span<const sql::Assignment> changes) {
        const auto cursor = OpenCursor();
        if (!cursor->MoveTo(row)) Raise(ErrorNumber::RecordDeleted);
        std::vector<Value> values(layout_->columns.size());
        for (std::size_t i = 0; i < values.size(); ++i) cursor->Read(i, values[i]);
        for (const sql::Assignment& change : changes) values[change.column] = change.value;
        Rules().CheckChange(values, changes);
    }

    // The table as the file has it now. Another process may have changed its structure since it was opened here; then
    // positions mean other columns, and the object is no longer good.
    jet::Table& Current() {
        auto current = table_->Owner().TableAt(table_->Definition().page);
        if (current != table_) {
            const auto same = [](const jet::StoredColumn& a, const jet::StoredColumn& b) {
                return a.number == b.number && a.type == b.type;
            };
            const auto& was = table_->Definition().columns;
            const auto& is = current->Definition().columns;
            if (!std::equal(was.begin(), was.end(), is.begin(), is.end(), same)) Raise(ErrorNumber::ObjectInvalid);
            table_ = std::move(current);
            rules_.reset();
            has_rules_.reset();
            rules_layout_ = std::make_shared<const Layout>(*table_);
        }
        return *table_;
    }

    std::shared_ptr<jet::Table> table_;
    std::shared_ptr<const void> hold_;
    std::shared_ptr<const Layout> layout_;
    std::shared_ptr<const Layout> rules_layout_ = layout_;  // as the file has it now
    std::optional<bool> has_rules_;
    std::unique_ptr<sql::RowRules> rules_;  // once they are needed
    std::optional<jet::RowView> image_;
    std::vector<Value> inserted_;  // kept, so that a row costs no allocations
};

}  // namespace

std::shared_ptr<sql::Table> ShowTable(std::shared_ptr<jet::Table> table, std::shared_ptr<const Layout> layout) {
    return std::make_shared<JetTable>(std::move(table), std::move(layout));
}

}  // namespace qmtrain::dao
