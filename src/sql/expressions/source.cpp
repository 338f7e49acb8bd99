#include "sql/expressions/source.h"

#include "sql/expressions/make_expression.h"

namespace qmtrain::sql {

std::size_t Source::SlotFor(std::size_t column) {
    if (slot_of_column_.size() < infos_.size()) {
        slot_of_column_.resize(infos_.size(), kNoPosition);
        columns_.reserve(infos_.size());
    }
    std::size_t& slot = slot_of_column_[column];
    if (slot == kNoPosition) {
        slot = columns_.size();
        columns_.push_back(column);
    }
    return slot;
}

void Source::SetNull() {
    nulls_.resize(columns_.size(), Value(Null{}));
    row_ = nulls_.data();
    complete_ = true;
    null_row_ = true;
}

// ---- TableSource ----

TableSource::TableSource(std::shared_ptr<Table> table) : table_(std::move(table)) {
    infos_.reserve(table_->Columns().size());
    for (const Column& column : table_->Columns()) {
        infos_.push_back({column.name, ValueTypeOf(column.type), DataTypeOf(column)});
    }
}

sql::Cursor& TableSource::GetCursor() {
    if (cursor_ == nullptr) {
        cursor_ = table_->OpenCursor();
        values_.resize(SlotCount());
        stamps_.resize(SlotCount(), 0);
        only_numbers_ = true;
        for (std::size_t slot = 0; slot < SlotCount(); ++slot) {
            has_long_ = has_long_ || IsLong(slot);
            only_numbers_ = only_numbers_ && FamilyOf(infos_[ColumnOfSlot(slot)].type) == Family::Number;
        }
        kept_.Reset(SlotCount());
    }
    return *cursor_;
}

RowId TableSource::Row() const {
    if (IsNullRow()) return {};
    return current_ != 0 ? kept_ids_[current_ - 1] : cursor_->Row();
}

bool TableSource::MoveTo(RowId row) {
    if (!GetCursor().MoveTo(row)) return false;
    OnRow();
    return true;
}

RowIdentity& TableSource::IdentityOfRows() {
    if (!identity_) identity_.emplace(*table_);
    return *identity_;
}

std::uint64_t TableSource::Identity() {
    if (current_ != 0 && !cursor_->MoveTo(kept_ids_[current_ - 1])) return 0;
    return IdentityOfRows().Of(*cursor_);
}

bool TableSource::IsLong(std::size_t slot) const {
    const ColumnType type = infos_[ColumnOfSlot(slot)].data_type.type;
    return IsLongValue(type);
}

RowHandle TableSource::Keep() {
    if (IsNullRow()) return 0;
    if (current_ != 0) return current_;
    if (!keep_values_ || has_long_) cursor_->Keep();
    if (!keep_values_) return cursor_->Row().value;
    Value* row = kept_.Add();
    for (std::size_t slot = 0; slot < SlotCount(); ++slot) {
        if (!IsLong(slot)) row[slot] = Get(slot);
    }
    kept_ids_.push_back(cursor_->Row());
    return static_cast<RowHandle>(kept_ids_.size());
}

bool TableSource::Restore(RowHandle handle) {
    if (handle == 0) {
        SetNull();
    } else if (keep_values_) {
        current_ = handle;
        ++stamp_;
        if (has_long_)
            ShowPartly();
        else
            Show(kept_.At(handle - 1));
    } else {
        if (!GetCursor().MoveTo(RowId{handle})) return false;
        OnRow();
    }
    return true;
}

void TableSource::Forget() {
    kept_.Reset(SlotCount());
    kept_ids_.clear();
    current_ = 0;
}

// A value that has been read already is there as it is.
std::optional<std::string_view> TableSource::NarrowText(std::size_t slot) {
    if (IsNullRow() || current_ != 0 || stamps_[slot] == stamp_) return std::nullopt;
    return cursor_->NarrowText(ColumnOfSlot(slot));
}

const Value& TableSource::Load(std::size_t slot) {
    if (reads_ahead_ && current_ == 0) {
        cursor_->ReadColumns(SlotColumns(), values_.data());
        Show(values_.data());
        return values_[slot];
    }
    if (current_ != 0 && !IsLong(slot)) return kept_.At(current_ - 1)[slot];
    return stamps_[slot] == stamp_ ? values_[slot] : Read(slot);
}

const Value& TableSource::Read(std::size_t slot) {
    Value& value = values_[slot];
    if (current_ != 0 && !(cursor_->MoveTo(kept_ids_[current_ - 1])))
        value = Null{};
    else
        cursor_->Read(ColumnOfSlot(slot), value);
    stamps_[slot] = stamp_;
    if (BytesBeside(value) > kLongText) {
        std::size_t bytes = 0;
        for (const Value& read : values_) bytes += BytesBeside(read);
        long_values_.Cover(bytes);
    }
    return value;
}

// ---- RowsSource ----

RowsSource::RowsSource(const std::vector<ColumnInfo>& columns) {
    for (const ColumnInfo& column : columns) AddColumn(column);
}

std::size_t RowsSource::AddColumn(const ColumnInfo& column) {
    infos_.push_back(column);
    return SlotFor(infos_.size() - 1);
}

void RowsSource::Clear() {
    rows_.Reset(SlotCount());
    current_ = 0;
}

bool RowsSource::Restore(RowHandle handle) {
    if (handle == 0) {
        SetNull();
    } else {
        current_ = handle;
        Show(rows_.At(handle - 1));
    }
    return true;
}

const Value& RowsSource::Load(std::size_t) {
    static const Value kNone = Null{};
    return kNone;
}

}  // namespace qmtrain::sql
