#include "dao/jet_catalog.h"

#include <algorithm>
#include <map>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "core/work.h"
#include "dao/jet_columns.h"
#include "dao/odbc_links.h"
#include "dao/saved_query.h"
#include "jet/row_cursor.h"
#include "sql/row_rules.h"
#include "sql/sql.h"

namespace qmtrain::dao {
namespace {

// Both rooms name the types alike.
constexpr std::pair<jet::ColumnType, sql::ColumnType> kTypes[] = {
    {jet::ColumnType::Boolean, sql::ColumnType::Boolean},
    {jet::ColumnType::Byte, sql::ColumnType::Byte},
    {jet::ColumnType::Integer, sql::ColumnType::Integer},
    {jet::ColumnType::Long, sql::ColumnType::Long},
    {jet::ColumnType::Currency, sql::ColumnType::Currency},
    {jet::ColumnType::Single, sql::ColumnType::Single},
    {jet::ColumnType::Double, sql::ColumnType::Double},
    {jet::ColumnType::Date, sql::ColumnType::Date},
    {jet::ColumnType::Binary, sql::ColumnType::Binary},
    {jet::ColumnType::Text, sql::ColumnType::Text},
    {jet::ColumnType::LongBinary, sql::ColumnType::LongBinary},
    {jet::ColumnType::Memo, sql::ColumnType::Memo},
    {jet::ColumnType::Guid, sql::ColumnType::Guid},
    {jet::ColumnType::Decimal, sql::ColumnType::Decimal},
    {jet::ColumnType::Internal, sql::ColumnType::Binary},
};

sql::ColumnType ToSql(jet::ColumnType type) {
    for (const auto& [own, other] : kTypes) {
        if (own == type) return other;
    }
    return sql::ColumnType::Binary;  // opaque bytes
}

}  // namespace

jet::ColumnType ToJet(sql::ColumnType type) {
    for (const auto& [own, other] : kTypes) {
        if (other == type) return own;
    }
    return jet::ColumnType::Binary;
}

namespace {

sql::RowId ToRowId(jet::RowPointer row) {
    return {row.ToStored()};
}
jet::RowPointer ToPointer(sql::RowId row) {
    return jet::RowPointer::FromStored(row.value);
}

sql::Column ToSql(const jet::Column& column, bool jet4) {
    sql::Column out;
    out.name = column.name;
    out.type = ToSql(column.type);
    if (column.type == jet::ColumnType::Text) out.size = jet4 ? column.length / 2 : column.length;
    if (out.type == sql::ColumnType::Binary) out.size = column.length;
    out.precision = column.precision;
    out.scale = column.scale;
    out.counter = column.IsAutonumber();
    out.required = column.required;
    out.allow_zero_length = column.allow_zero_length;
    out.default_expression = column.default_value;
    if (!out.default_expression.empty() && out.default_expression.front() == u'=') out.default_expression.erase(0, 1);
    out.validation = column.validation;
    return out;
}

jet::ColumnSpec ToSpec(const sql::Column& column) {
    return {.name = column.name,
            .type = ToJet(column.type),
            .size = column.size,
            .precision = column.precision == 0 ? 18 : column.precision,
            .scale = column.scale,
            .autonumber = column.counter,
            .required = column.required,
            .allow_zero_length = column.allow_zero_length,
            .default_value = column.default_expression,
            .validation = column.validation};
}

jet::IndexSpec ToSpec(const sql::Index& index, const std::vector<sql::Column>& columns) {
    jet::IndexSpec spec{.name = index.name,
                        .columns = {},
                        .unique = index.unique,
                        .primary = index.primary,
                        .required = index.required,
                        .ignore_nulls = index.ignore_nulls};
    for (const sql::IndexColumn& part : index.columns) {
        spec.columns.push_back({columns[static_cast<std::size_t>(part.column)].name, !part.descending});
    }
    return spec;
}

}  // namespace

Layout::Layout(const jet::Table& table) {
    const jet::TableDefinition& definition = table.Definition();
    for (std::size_t i = 0; i < definition.columns.size(); ++i) positions.push_back(i);
    std::stable_sort(positions.begin(), positions.end(), [&](std::size_t a, std::size_t b) {
        return definition.columns[a].ordinal < definition.columns[b].ordinal;
    });
    const bool jet4 = table.GetVersion() == jet::Version::Jet4;
    for (const std::size_t position : positions) {
        columns.push_back(ToSql(definition.columns[position], jet4));
        ordinals.push_back(definition.columns[position].ordinal);
    }
    for (std::size_t i = 0; i < definition.real_indexes.size(); ++i) {
        const jet::RealIndex& real = definition.real_indexes[i];
        sql::Index index;
        index.name = table.IndexName(i);
        index.unique = real.IsUnique();
        index.required = real.IsRequired();
        index.ignore_nulls = real.IgnoresNulls();
        for (const jet::LogicalIndex& logical : definition.logical_indexes) {
            if (logical.real == i && logical.role == jet::IndexRole::Primary) index.primary = true;
        }
        for (const jet::KeyColumn& part : real.columns) {
            const auto position = static_cast<std::size_t>(definition.ColumnByNumber(part.number));
            const auto at = std::find(positions.begin(), positions.end(), position) - positions.begin();
            index.columns.push_back({static_cast<int>(at), !part.ascending});
        }
        indexes.push_back(std::move(index));
    }
}

namespace {

// A range of keys as the bytes between which its entries stand.
struct ByteRange {
    Bytes from;
    std::optional<Bytes> to;
    bool empty = false;

    void Set(const jet::StoredTable& table, std::size_t index, const sql::KeyRange& range) {
        from.clear();
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
            to.emplace();
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

    void Range(int index, const sql::KeyRange& range, bool backwards) override {
        bytes_.Set(cursor_.GetTable(), static_cast<std::size_t>(index), range);
        empty_ = bytes_.empty;
        cursor_.Range(static_cast<std::size_t>(index), bytes_.from, bytes_.to, backwards);
    }

    bool Next() override { return !empty_ && cursor_.Next(); }
    std::int64_t CountRest() override { return empty_ ? 0 : cursor_.CountRest(); }
    bool MoveTo(sql::RowId row) override { return cursor_.MoveTo(ToPointer(row)); }
    sql::RowId Row() const override { return ToRowId(cursor_.Row()); }
    void Read(int column, Value& value) override {
        cursor_.Read(layout_.positions[static_cast<std::size_t>(column)], value);
    }
    std::optional<std::string_view> NarrowText(int column) override {
        return cursor_.NarrowText(layout_.positions[static_cast<std::size_t>(column)]);
    }
    std::span<const std::uint8_t> Image() override { return cursor_.Image().Span(); }

private:
    std::shared_ptr<const jet::Table> table_;
    jet::RowCursor cursor_;
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

    double EstimatedRows(int index, const sql::KeyRange& range) override {
        ByteRange bytes;
        bytes.Set(*table_, static_cast<std::size_t>(index), range);
        if (bytes.empty) return 0;
        const jet::IndexTree tree = table_->Tree(static_cast<std::size_t>(index));
        const double from = bytes.from.empty() ? 0 : tree.Position(bytes.from);
        const double to = bytes.to ? tree.Position(*bytes.to) : 1;
        return std::max(0.0, to - from) * static_cast<double>(table_->RowCount());
    }

    double DistinctKeys(int index) override { return table_->DistinctKeys(static_cast<std::size_t>(index)); }

    std::unique_ptr<sql::Cursor> OpenCursor() override { return std::make_unique<JetCursor>(table_, *layout_); }

    bool HasImages() const override { return true; }
    void ShowImage(std::span<const std::uint8_t> image) override {
        const jet::TableDefinition& definition = table_->Definition();
        const jet::Pager& pager = table_->GetPager();
        const jet::ByteView bytes(image.data(), image.size(), pager.FileName(), definition.page);
        image_.emplace(definition, pager.GetFormat(), bytes);
    }
    void ReadImage(int column, Value& value) const override {
        jet::ReadValue(*table_, *image_, layout_->positions[static_cast<std::size_t>(column)], value);
    }

    bool CanSeek(int index, std::span<const Value> values) const override {
        const jet::TableDefinition& definition = table_->Definition();
        const auto& parts = definition.real_indexes[static_cast<std::size_t>(index)].columns;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const auto at = static_cast<std::size_t>(definition.ColumnByNumber(parts[i].number));
            const jet::Column& column = definition.columns[at];
            // An order that only some files show to be right is not relied on: it would hide rows where it is not.
            const bool sure = !jet::IsText(column.type) || table_->OrderOf(column) != jet::TextOrder::Jet3Ascii;
            if (!sure || !jet::HasKeyOfEquals(column, values[i], table_->GetPager().GetHeader())) return false;
        }
        return true;
    }

    // Texts must be in the General order. Keys of memos end early, those of GUIDs are no texts, and in descending
    // decimals the negative ones come first.
    bool InOrder(int index, std::size_t columns) const override {
        const jet::TableDefinition& definition = table_->Definition();
        const auto& parts = definition.real_indexes[static_cast<std::size_t>(index)].columns;
        return std::all_of(
            parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(columns), [&](const jet::KeyColumn& part) {
                return IsInOrder(definition.columns[static_cast<std::size_t>(definition.ColumnByNumber(part.number))],
                                 part.ascending);
            });
    }

    bool HoldsValues(int index, std::size_t column) const override {
        const jet::TableDefinition& definition = table_->Definition();
        const auto& parts = definition.real_indexes[static_cast<std::size_t>(index)].columns;
        return std::all_of(parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(column) + 1,
                           [&](const jet::KeyColumn& part) {
                               const auto position = static_cast<std::size_t>(definition.ColumnByNumber(part.number));
                               return jet::HasReadableKey(definition.columns[position].type);
                           });
    }

    bool HasPrefixes(int index, std::size_t column) const override {
        const jet::TableDefinition& definition = table_->Definition();
        const jet::KeyColumn& part = definition.real_indexes[static_cast<std::size_t>(index)].columns[column];
        const auto order =
            table_->OrderOf(definition.columns[static_cast<std::size_t>(definition.ColumnByNumber(part.number))]);
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
            stored.push_back(
                {static_cast<int>(layout_->positions[static_cast<std::size_t>(change.column)]), change.value});
        }
        current.Update(ToPointer(row), stored);
    }

    void Delete(sql::RowId row) override { Current().Delete(ToPointer(row)); }

    std::optional<std::int32_t> TakeCounter() override { return Current().TakeAutonumber(); }
    std::int32_t LastCounter() const override { return table_->LastAutonumber(); }

private:
    bool IsInOrder(const jet::Column& column, bool ascending) const {
        switch (column.type) {
            case jet::ColumnType::Text: return table_->OrderOf(column) == jet::TextOrder::General;
            case jet::ColumnType::Memo:
            case jet::ColumnType::Guid:
            case jet::ColumnType::Internal: return false;
            case jet::ColumnType::Decimal: return ascending;
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
        for (std::size_t i = 0; i < values.size(); ++i) cursor->Read(static_cast<int>(i), values[i]);
        for (const sql::Assignment& change : changes) values[static_cast<std::size_t>(change.column)] = change.value;
        Rules().CheckChange(values, changes);
    }

    // The table as the file has it now. Another process may have changed its structure since it was opened here; then
    // positions mean other columns, and the object is no longer good.
    jet::Table& Current() {
        auto current = table_->Owner().TableAt(table_->Definition().page);
        if (current != table_) {
            const auto same = [](const jet::Column& a, const jet::Column& b) {
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

std::shared_ptr<jet::Table> JetCatalog::Require(std::u16string_view name) {
    if (const auto link = links_.FindLink(name))
        Raise(ErrorNumber::OperationNotSupported, {u"链接表“" + link->name + u"”的结构只能在服务器上更改。"});
    auto table = database_.FindTable(name);
    if (!table) Raise(ErrorNumber::NoSuchTable, {name});
    return table;
}

std::shared_ptr<sql::Table> JetCatalog::FindTable(std::u16string_view name) {
    if (auto linked = links_.FindTable(name)) return linked;
    auto table = database_.FindTable(name);
    if (!table) return nullptr;
    std::erase_if(known_, [](const Known& known) { return known.table.expired(); });
    for (const Known& known : known_) {
        if (known.table.lock() == table) return std::make_shared<JetTable>(std::move(table), known.layout);
    }
    known_.push_back({table, std::make_shared<const Layout>(*table)});
    return std::make_shared<JetTable>(std::move(table), known_.back().layout);
}

std::optional<std::u16string> JetCatalog::FindQuery(std::u16string_view name) {
    return SelectOfQuery(database_, name);
}

// While the links look into a statement they ask this catalogue themselves.
std::shared_ptr<const sql::ast::Select> JetCatalog::Delegate(const sql::ast::Select& select) {
    if (delegating_) return nullptr;
    const Delegating now(delegating_);
    return links_.Delegate(*this, select);
}

std::optional<sql::DelegatedChange> JetCatalog::DelegateChange(const sql::ast::Statement& statement) {
    if (delegating_) return std::nullopt;
    const Delegating now(delegating_);
    return links_.DelegateChange(*this, statement);
}

void JetCatalog::CreateTable(const sql::TableDefinition& definition) {
    jet::TableSpec spec{.name = definition.name, .validation = definition.validation};
    for (const sql::Column& column : definition.columns) spec.columns.push_back(ToSpec(column));
    for (const sql::Index& index : definition.indexes) spec.indexes.push_back(ToSpec(index, definition.columns));
    database_.CreateTable(spec);
    for (const sql::Reference& reference : definition.references) AddReference(definition.name, reference);
}

void JetCatalog::DropTable(std::u16string_view name) {
    database_.DropTable(name);
}

void JetCatalog::CreateIndex(std::u16string_view table, const sql::Index& index) {
    const jet::IndexSpec spec = ToSpec(index, Layout(*Require(table)).columns);
    database_.CreateIndex(table, spec);
}

void JetCatalog::DropIndex(std::u16string_view table, std::u16string_view index) {
    database_.DropIndex(table, index);
}

void JetCatalog::AddColumn(std::u16string_view table, const sql::Column& column) {
    database_.AddColumn(table, ToSpec(column));
}

void JetCatalog::DropColumn(std::u16string_view table, std::u16string_view column) {
    database_.DropColumn(table, column);
}

bool JetCatalog::DropReference(std::u16string_view table, std::u16string_view name) {
    for (const jet::Relationship& relationship : database_.Relationships()) {
        if (!EqualNames(relationship.name, name) || !EqualNames(relationship.table, table)) continue;
        database_.DropRelationship(name);
        return true;
    }
    return false;
}

// The values go over into a new column, which takes the old one's name, place and indexes.
void JetCatalog::AlterColumn(std::u16string_view name, const sql::Column& wanted) {
    const Layout layout(*Require(name));
    const auto at =
        static_cast<int>(std::ranges::find(layout.columns, wanted.name, &sql::Column::name) - layout.columns.begin());
    const sql::Column& old = layout.columns[static_cast<std::size_t>(at)];
    if (wanted.counter && !old.counter)
        Raise(ErrorNumber::OperationNotSupported, {u"把字段“" + wanted.name + u"”改为自动编号。"});
    if (wanted.counter) return;
    for (const jet::Relationship& relationship : database_.Relationships()) {
        const auto uses = [&](std::u16string_view table, const std::vector<std::u16string>& columns) {
            return EqualNames(table, name) && std::ranges::any_of(columns, [&](const std::u16string& column) {
                       return EqualNames(column, wanted.name);
                   });
        };
        if (uses(relationship.table, relationship.columns) ||
            uses(relationship.referenced_table, relationship.referenced_columns))
            Raise(ErrorNumber::UsedInRelationship, {relationship.name});
    }
    std::vector<jet::IndexSpec> indexes;
    for (const sql::Index& index : layout.indexes) {
        const auto has = [&](const sql::IndexColumn& part) { return part.column == at; };
        if (std::ranges::any_of(index.columns, has)) indexes.push_back(ToSpec(index, layout.columns));
    }
    sql::Column added = wanted;
    added.name = u"~";
    for (int number = 1; std::ranges::find(layout.columns, added.name, &sql::Column::name) != layout.columns.end();)
        added.name = u"~" + ToText(std::int64_t{number++});
    database_.AddColumn(name, ToSpec(added));
    CopyColumn(name, at, wanted);
    for (const jet::IndexSpec& index : indexes) database_.DropIndex(name, index.name);
    database_.DropColumn(name, wanted.name);
    database_.RenameColumn(name, added.name, wanted.name, layout.Ordinal(at));
    if (!old.validation.condition.empty()) {
        sql::Column ruled = wanted;
        ruled.validation = old.validation;
        database_.SetColumnSettings(name, ToSpec(ruled));
    }
    for (const jet::IndexSpec& index : indexes) database_.CreateIndex(name, index);
}

// Into the last column.
void JetCatalog::CopyColumn(std::u16string_view name, int from, const sql::Column& wanted) {
    const auto table = FindTable(name);
    const auto to = static_cast<int>(table->Columns().size()) - 1;
    const auto cursor = table->OpenCursor();
    std::vector<sql::RowId> rows;
    for (cursor->Scan(); cursor->Next();) rows.push_back(cursor->Row());
    Value value;
    WorkSteps steps;
    for (const sql::RowId row : rows) {
        steps.Next();
        if (!cursor->MoveTo(row)) continue;
        cursor->Read(from, value);
        if (value.IsNull() && wanted.required) Raise(ErrorNumber::FieldRequired, {wanted.name});
        const sql::Assignment change{to, sql::ConvertToColumn(value, wanted)};
        table->Update(row, {&change, 1});
    }
}

void JetCatalog::AddReference(std::u16string_view name, const sql::Reference& reference) {
    jet::Relationship relationship;
    relationship.name = reference.name.empty() ? reference.table + std::u16string(name) : reference.name;
    relationship.table = name;
    relationship.referenced_table = reference.table;
    relationship.referenced_columns = reference.referenced_columns;
    relationship.cascade_update = reference.cascade_update;
    relationship.cascade_delete = reference.cascade_delete;
    const Layout own(*Require(name));
    for (const int column : reference.columns)
        relationship.columns.push_back(own.columns[static_cast<std::size_t>(column)].name);
    if (relationship.referenced_columns.empty()) {
        const Layout other(*Require(reference.table));
        for (const sql::Index& index : other.indexes) {
            if (!index.primary) continue;
            for (const sql::IndexColumn& part : index.columns) {
                relationship.referenced_columns.push_back(other.columns[static_cast<std::size_t>(part.column)].name);
            }
        }
        if (relationship.referenced_columns.empty()) Raise(ErrorNumber::NoUniqueIndexForReference, {reference.table});
    }
    database_.CreateRelationship(relationship);
}

}  // namespace qmtrain::dao
