#include "dao/odbc_table.h"

#include <algorithm>
#include <optional>

#include "core/convert.h"
#include "core/error.h"

namespace qmtrain::dao {
namespace {

bool IsLong(const sql::Column& column) {
    return column.type == sql::ColumnType::Memo || column.type == sql::ColumnType::LongBinary;
}

// Adds that a column still holds what was seen in it. Texts that differ in case alone are others here, whatever the
// column's order says, and there may be more of a time than its seconds.
void AddIsStill(odbc::Request& request, const OdbcLink& link, const sql::Assignment& seen) {
    const std::u16string& name = link.Quoted(seen.column);
    if (seen.value.IsNull()) {
        request.text.append(name).append(u" IS NULL");
        return;
    }
    switch (link.columns[static_cast<std::size_t>(seen.column)].type) {
        case sql::ColumnType::Text: request.text.append(name).append(u" COLLATE \"C\" = "); break;
        case sql::ColumnType::Date: request.text.append(u"date_trunc('second', ").append(name).append(u") = "); break;
        default: request.text.append(name).append(u" = ");
    }
    request.Add(QuotedValue(seen.value));
}

}  // namespace

OdbcTable::OdbcTable(std::shared_ptr<OdbcLink> link, odbc::Request narrowed, Extent extent)
    : link_(std::move(link)), request_(std::move(narrowed)), extent_(extent) {
    request_.text.insert(0, link_->Select());
}

std::int64_t OdbcTable::RowCount() {
    const auto answer =
        link_->server->Query({u"SELECT count(*) FROM (" + request_.text + u") AS rows", request_.values});
    Value count;
    if (answer.rows->Next()) answer.rows->Read(0, sql::ColumnType::Double, count);
    return static_cast<std::int64_t>(ToDouble(count));
}

std::unique_ptr<sql::Cursor> OdbcTable::OpenCursor() {
    return CursorOverLink(link_, request_, extent_);
}

void OdbcTable::RequireKey() const {
    if (link_->key.empty()) Raise(ErrorNumber::ReadOnly, {link_->name, u"服务器上的表没有主键或唯一索引。"});
}

sql::RowId OdbcTable::Insert(std::span<const Value> values) {
    RequireKey();
    std::vector<int> given;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!values[i].IsEmpty()) given.push_back(static_cast<int>(i));
    }
    if (collecting_) {
        Collect(std::move(given), values);
        return {};
    }
    std::vector<int> wanted = link_->key;
    const auto counter = std::ranges::find_if(link_->columns, &sql::Column::counter);
    const int counted = counter == link_->columns.end() ? -1 : static_cast<int>(counter - link_->columns.begin());
    if (counted >= 0 && std::ranges::find(wanted, counted) == wanted.end()) wanted.push_back(counted);
    odbc::Request request{u"INSERT INTO " + link_->remote, {}};
    request.text += given.empty() ? u" DEFAULT VALUES" : u" (" + link_->QuotedList(given) + u") VALUES (";
    for (const int column : given) {
        request.Add(QuotedValue(values[static_cast<std::size_t>(column)]));
        request.text += column == given.back() ? u")" : u", ";
    }
    request.text += u" RETURNING " + link_->QuotedList(wanted);
    const auto answer = link_->server->Query(request, {ErrorNumber::OdbcInsertFailed, link_->name});
    link_->server->NoteChange();
    std::vector<Value> row(link_->columns.size());
    if (!answer.rows->Next()) return {};
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const auto place = static_cast<std::size_t>(wanted[i]);
        const sql::Column& column = link_->columns[place];
        answer.rows->Read(static_cast<int>(i), column.type, row[place]);
        if (column.counter && !row[place].IsNull()) last_counter_ = ToLong(row[place]);
    }
    return link_->rows.NumberOf(link_->KeyText(row));
}

// Rows of one statement travel together.
void OdbcTable::Collect(std::vector<int> given, std::span<const Value> values) {
    constexpr int kMostRows = 500;
    constexpr std::size_t kMostUnits = 256 << 10;
    if (given != collected_columns_ || collected_rows_ == kMostRows || collected_.size() > kMostUnits ||
        given.empty()) {
        SendCollected();
        collected_columns_ = std::move(given);
    }
    std::u16string row;
    for (const int column : collected_columns_) {
        row += (row.empty() ? u"" : u", ") + QuotedValue(values[static_cast<std::size_t>(column)]);
    }
    collected_ += (collected_.empty() ? u"(" : u", (") + row + u")";
    ++collected_rows_;
    if (collected_columns_.empty()) SendCollected();
}

void OdbcTable::SendCollected() {
    if (collected_rows_ == 0) return;
    const bool none = collected_columns_.empty();
    const std::u16string what =
        none ? u" DEFAULT VALUES" : u" (" + link_->QuotedList(collected_columns_) + u") VALUES " + collected_;
    collected_.clear();
    collected_rows_ = 0;
    link_->server->Execute({u"INSERT INTO " + link_->remote + what, {}}, {ErrorNumber::OdbcInsertFailed, link_->name});
}

void OdbcTable::EndInserts() {
    collecting_ = false;
    SendCollected();
}

void OdbcTable::CancelInserts() {
    collecting_ = false;
    collected_.clear();
    collected_rows_ = 0;
}

void OdbcTable::RaiseNotThere(sql::RowId row) {
    odbc::Request request{u"SELECT 1 FROM " + link_->remote + u" WHERE ", {}};
    link_->AddIsRow(request, row);
    const auto answer = link_->server->Query(request);
    Raise(answer.rows->Next() ? ErrorNumber::RecordChanged : ErrorNumber::RecordDeleted);
}

// Only if the row is as it was seen; long values are not compared.
void OdbcTable::UpdateSeen(sql::RowId row, std::span<const sql::Assignment> changes,
                           std::span<const sql::Assignment> seen) {
    RequireKey();
    if (changes.empty()) return;
    odbc::Request request{u"UPDATE " + link_->remote, {}};
    for (const sql::Assignment& change : changes) {
        request.text.append(&change == changes.data() ? u" SET " : u", ").append(link_->Quoted(change.column));
        request.text += u" = ";
        request.Add(QuotedValue(change.value));
    }
    request.text += u" WHERE ";
    link_->AddIsRow(request, row);
    for (const sql::Assignment& known : seen) {
        const sql::Column& column = link_->columns[static_cast<std::size_t>(known.column)];
        const bool is_number_of_key = std::ranges::find(link_->key, known.column) != link_->key.end() &&
                                      column.type == sql::ColumnType::Long;  // by which the row is found
        if (IsLong(column) || is_number_of_key) continue;
        request.text += u" AND ";
        AddIsStill(request, *link_, known);
    }
    const std::int64_t affected = link_->server->Execute(request, {ErrorNumber::OdbcUpdateFailed, link_->name});
    if (affected == 0) RaiseNotThere(row);
    FollowKey(row, changes, seen);
}

// A row whose key was changed is the same row for those who have its number.
void OdbcTable::FollowKey(sql::RowId row, std::span<const sql::Assignment> changes,
                          std::span<const sql::Assignment> seen) {
    const auto find = [](std::span<const sql::Assignment> among, int column) {
        const auto found = std::ranges::find(among, column, &sql::Assignment::column);
        return found == among.end() ? nullptr : &found->value;
    };
    bool moved = false;
    std::u16string key;
    for (const int column : link_->key) {
        const Value* changed = find(changes, column);
        const Value* value = changed != nullptr ? changed : find(seen, column);
        if (value == nullptr) return;
        moved = moved || changed != nullptr;
        key += (key.empty() ? u"" : u", ") + QuotedValue(*value);
    }
    if (moved) link_->rows.SetKey(row, std::move(key));
}

void OdbcTable::Delete(sql::RowId row) {
    RequireKey();
    odbc::Request request{u"DELETE FROM " + link_->remote + u" WHERE ", {}};
    link_->AddIsRow(request, row);
    const std::int64_t affected = link_->server->Execute(request, {ErrorNumber::OdbcDeleteFailed, link_->name});
    if (affected == 0) RaiseNotThere(row);
}

// ---- OdbcResult ----

std::int64_t OdbcResult::RowCount() {
    const auto cursor = OpenCursor();
    cursor->Scan();
    return cursor->CountRest();
}

std::unique_ptr<sql::Cursor> OdbcResult::OpenCursor() {
    return CursorOverResult(server_, request_, extent_, columns_);
}

sql::RowId OdbcResult::Insert(std::span<const Value>) {
    Raise(ErrorNumber::ReadOnly, {name_});
}
void OdbcResult::Update(sql::RowId, std::span<const sql::Assignment>) {
    Raise(ErrorNumber::ReadOnly, {name_});
}
void OdbcResult::Delete(sql::RowId) {
    Raise(ErrorNumber::ReadOnly, {name_});
}

}  // namespace qmtrain::dao
