#include "dao/row_edit.h"

#include <optional>

#include "core/error.h"
#include "jet/database.h"

namespace qmtrain::dao {
namespace {

// A scope in which a row is changed: the file is locked for writing. For a row on a server the file is not used.
class ChangeScope {
public:
    ChangeScope(jet::Database& storage, const sql::Table& table) {
        if (table.IsRemote())
            lock_ = storage.SharedSession()->Lock();
        else
            writing_.emplace(storage);
    }
    void Commit() {
        if (writing_) writing_->Commit();
    }

private:
    std::unique_lock<std::recursive_mutex> lock_;
    std::optional<jet::Database::Writing> writing_;
};

}  // namespace

sql::Table& RowEdit::EditedTable() const {
    return *Query().Tables()[Query().EditableTable()];
}

// Of the table that is edited; null for any other.
const sql::Column* RowEdit::ColumnOf(std::size_t column) const {
    const sql::OutputColumn& output = Query().Columns()[column];
    if (output.column == kNoPosition || output.table != Query().EditableTable()) return nullptr;
    return &EditedTable().Columns()[output.column];
}

bool RowEdit::CanSet(std::size_t column) const {
    return ColumnOf(column) != nullptr;
}

void RowEdit::Add() {
    values_.assign(Width(), Null{});
    originals_.assign(Width(), Value());
    changed_.assign(Width(), false);
    for (std::size_t i = 0; i < Width(); ++i) {
        const sql::Column* column = ColumnOf(i);
        if (column == nullptr) continue;
        const Value value = sql::DefaultValue(*column);
        if (!value.IsEmpty()) values_[i] = value;
    }
    mode_ = EditMode::Add;
}

// The edit begins with the row as it is now, with the changes of others.
void RowEdit::Change() {
    {
        std::optional<jet::Database::Reading> reading;
        if (!EditedTable().IsRemote()) reading.emplace(source_.Storage());
        rows_.Recognise();
        rows_.ReadAll(values_);
    }
    originals_.assign(Width(), Value());
    changed_.assign(Width(), false);
    mode_ = EditMode::InProgress;
}

const Value& RowEdit::Get(std::size_t column) {
    if (mode_ == EditMode::Add && !changed_[column]) {
        const sql::Column* stored = ColumnOf(column);
        if (stored != nullptr && stored->autonumber) TakeAutonumber(column);
    }
    return values_[column];
}

void RowEdit::TakeAutonumber(std::size_t place) {
    if (EditedTable().IsRemote()) return;  // the server gives its numbers when the row is added
    const Work work = source_.database->Begin();
    jet::Database::Writing writing(source_.Storage());
    const auto number = EditedTable().TakeAutonumber();
    writing.Commit();
    if (!number) return;
    values_[place] = *number;
    changed_[place] = true;
}

const Value& RowEdit::Original(std::size_t column) const {
    return changed_[column] ? originals_[column] : values_[column];
}

void RowEdit::Set(std::size_t position, const Value& value) {
    if (!IsActive()) Raise(ErrorNumber::UpdateWithoutEdit);
    const sql::OutputColumn& output = Query().Columns()[position];
    if (output.column == kNoPosition) Raise(ErrorNumber::ReadOnly, {output.name, u"它是计算出来的。"});
    const sql::Column* column = ColumnOf(position);
    if (column == nullptr) Raise(ErrorNumber::ReadOnly, {output.name, u"它属于联接中“一”方的表。"});
    Value converted = sql::ConvertToColumn(value, *column);
    if (!changed_[position]) originals_[position] = values_[position];
    values_[position] = std::move(converted);
    changed_[position] = true;
}

void RowEdit::Update() {
    if (!IsActive()) Raise(ErrorNumber::UpdateWithoutEdit);
    const Work work = source_.database->Begin();
    if (mode_ == EditMode::InProgress)
        UpdateRow(EditedTable());
    else
        InsertRow(EditedTable());
    mode_ = EditMode::None;
}

// The values at the beginning of the edit: no lock has kept the row unchanged since.
std::vector<sql::Assignment> RowEdit::Seen() const {
    std::vector<sql::Assignment> seen;
    for (std::size_t i = 0; i < Width(); ++i) {
        if (CanSet(i)) seen.push_back({Query().Columns()[i].column, Original(i)});
    }
    return seen;
}

// Reads the fields that are written once more. False when one of them is not as it was when the edit began.
bool RowEdit::TakeOriginals(sql::Table& table, sql::RowId row) {
    const auto cursor = table.OpenCursor();
    bool same = true;
    Value now;
    if (!cursor->MoveTo(row)) return true;
    for (std::size_t i = 0; i < Width(); ++i) {
        if (!changed_[i]) continue;
        cursor->Read(Query().Columns()[i].column, now);
        Value& original = originals_[i];
        const bool are_no_numbers = now != now && original != original;
        same = same && (now == original || are_no_numbers);
        original = now;
    }
    return same;
}

// Once the caller has been told that the row was changed, the next Update may overwrite it.
sql::RowId RowEdit::RequireUnchanged(sql::Table& table) {
    sql::RowId row;
    try {
        row = rows_.Recognise();
    } catch (const AutomationError& error) {
        if (error.Is(ErrorNumber::RecordChanged)) TakeOriginals(table, rows_.Recognise());
        throw;
    }
    if (!TakeOriginals(table, row)) Raise(ErrorNumber::RecordChanged);
    return row;
}

void RowEdit::UpdateRow(sql::Table& table) {
    std::vector<sql::Assignment> changes;
    for (std::size_t i = 0; i < Width(); ++i) {
        if (changed_[i]) changes.push_back({Query().Columns()[i].column, values_[i]});
    }
    std::uint64_t identity = 0;
    {
        ChangeScope writing(source_.Storage(), table);
        sql::RowId row;
        if (table.IsRemote()) {
            row = rows_.Recognise();
            table.UpdateSeen(row, changes, Seen());
        } else {
            row = RequireUnchanged(table);
            table.Update(row, changes);
        }
        identity = rows_.IdentityOf(row);
        writing.Commit();
    }
    rows_.Changed(identity);
    last_modified_ = rows_.Bookmark();
}

void RowEdit::InsertRow(sql::Table& table) {
    std::vector<Value> row;
    for (const sql::Column& column : table.Columns()) row.push_back(sql::DefaultValue(column));
    for (std::size_t i = 0; i < Width(); ++i) {
        if (changed_[i]) row[Query().Columns()[i].column] = values_[i];
    }
    sql::RowId added;
    std::uint64_t identity = 0;
    {
        ChangeScope writing(source_.Storage(), table);
        added = table.Insert(row);
        identity = rows_.IdentityOf(added);
        writing.Commit();
    }
    last_modified_ = rows_.Added(added, identity);
}

// The deleted row stays current until the record set moves, but can no longer be read.
void RowEdit::Delete() {
    Cancel();
    const Work work = source_.database->Begin();
    {
        ChangeScope writing(source_.Storage(), EditedTable());
        EditedTable().Delete(rows_.Recognise());
        writing.Commit();
    }
    rows_.Deleted();
}

const Bytes& RowEdit::LastModified() const {
    if (last_modified_.empty()) Raise(ErrorNumber::NoCurrentRecord);
    return last_modified_;
}

}  // namespace qmtrain::dao
