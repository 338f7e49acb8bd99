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

// As the column is given it. Yes or no is never Null in a file: it is "no" there, and so it is where Null is refused.
std::u16string GivenValue(const sql::Column& column, const Value& value) {
    const bool is_no = column.type == sql::ColumnType::Boolean && column.required && value.IsNull();
    return QuotedValue(is_no ? Value(false) : value);
}

// Adds that a column still shows what was seen in it, whatever its type there. Texts that differ in case alone are
// others here, whatever the column's order says, and there may be more of a time than its seconds.
void AddIsStill(odbc::Request& request, const OdbcLink& link, const sql::Assignment& seen) {
    const std::u16string& name = link.Quoted(seen.column);
    if (seen.value.IsNull()) {
        request.text.append(name).append(u" IS NULL");
        return;
    }
    const sql::ColumnType type = link.columns[seen.column].type;
    std::u16string_view given = GivenType(type);
    switch (type) {
        case sql::ColumnType::Text:
            // As it is shown, for it may be none of the server's texts. Of Null that would be "".
            if (seen.value.Text().empty()) request.text.append(name).append(u" IS NOT NULL AND ");
            request.text.append(u"concat(").append(name).append(u") COLLATE \"C\" = ");
            break;
        case sql::ColumnType::Date:
            request.text.append(u"date_trunc('second', CAST(").append(name).append(u" AS timestamp)) = ");
            break;
        case sql::ColumnType::Single:
            given = u"real";
            request.text.append(u"CAST(").append(name).append(u" AS real) = ");
            break;
        default: request.text.append(name).append(u" = ");
    }
    request.Add(QuotedValue(seen.value), given);
}

}  // namespace

std::u16string AliasText() {
    return u" AS " + std::u16string(kTableAlias);
}

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
    if (link_->key.empty())
        Raise(ErrorNumber::ReadOnly,
              {link_->name, u"服务器上的表没有可用的主键或唯一索引（比秒更细的时间不能作键）。"});
}

sql::RowId OdbcTable::Insert(std::span<const Value> values) {
    RequireKey();
    std::vector<std::size_t> given;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!values[i].IsEmpty()) given.push_back(i);
    }
    if (collecting_) {
        Collect(std::move(given), values);
        return {};
    }
    std::vector<std::size_t> wanted = link_->key;
    const auto autonumber = std::ranges::find_if(link_->columns, &sql::Column::autonumber);
    const std::size_t counted = autonumber - link_->columns.begin();
    if (autonumber != link_->columns.end() && std::ranges::find(wanted, counted) == wanted.end())
        wanted.push_back(counted);
    odbc::Request request{u"INSERT INTO " + link_->remote, {}};
    request.text += given.empty() ? u" DEFAULT VALUES" : u" (" + link_->QuotedList(given) + u") VALUES (";
    for (const std::size_t column : given) {
        request.Add(GivenValue(link_->columns[column], values[column]), GivenType(link_->columns[column].type));
        request.text += column == given.back() ? u")" : u", ";
    }
    request.text += u" RETURNING " + link_->SelectedList(wanted);
    const auto answer = link_->server->Query(request, {ErrorNumber::OdbcInsertFailed, link_->name});
    link_->server->NoteChange();
    std::vector<Value> row(link_->columns.size());
    if (!answer.rows->Next()) return {};
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const std::size_t place = wanted[i];
        const sql::Column& column = link_->columns[place];
        answer.rows->Read(i, column.type, row[place]);
        if (column.autonumber && !row[place].IsNull()) last_autonumber_ = ToLong(row[place]);
    }
    return link_->rows.NumberOf(link_->KeyText(row));
}

// Rows of one statement travel together.
void OdbcTable::Collect(std::vector<std::size_t> given, std::span<const Value> values) {
    constexpr int kMostRows = 500;
    constexpr std::size_t kMostUnits = 256 << 10;
    if (given != collected_columns_ || collected_rows_ == kMostRows || collected_.size() > kMostUnits ||
        given.empty()) {
        SendCollected();
        collected_columns_ = std::move(given);
    }
    std::u16string row;
    for (const std::size_t column : collected_columns_) {
        row += (row.empty() ? u"" : u", ") + GivenValue(link_->columns[column], values[column]);
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

// The server may have lost the key since the link was made: the subqueries fail there when they find several rows, and
// with them the change.
void OdbcTable::ChangeRow(odbc::Request change, std::u16string_view is_row, ErrorNumber failure) {
    change.text.insert(0, u"WITH qm_changed AS (");
    change.text.append(u" RETURNING 1) SELECT (SELECT 1 FROM ").append(link_->remote).append(u" WHERE ");
    change.text.append(is_row).append(u"), (SELECT 1 FROM qm_changed)");
    const auto answer = link_->server->Query(change, {failure, link_->name});
    Value there;
    Value changed;
    if (answer.rows->Next()) {
        answer.rows->Read(0, sql::ColumnType::Long, there);
        answer.rows->Read(1, sql::ColumnType::Long, changed);
    }
    if (changed.IsNull()) Raise(there.IsNull() ? ErrorNumber::RecordDeleted : ErrorNumber::RecordChanged);
    link_->server->NoteChange();
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
        const sql::Column& column = link_->columns[change.column];
        request.Add(GivenValue(column, change.value), GivenType(column.type));
    }
    request.text += u" WHERE ";
    const std::size_t before = request.text.size();
    link_->AddIsRow(request, row);
    const std::u16string is_row = request.text.substr(before);
    for (const sql::Assignment& known : seen) {
        const sql::Column& column = link_->columns[known.column];
        const bool is_number_of_key = std::ranges::find(link_->key, known.column) != link_->key.end() &&
                                      column.type == sql::ColumnType::Long;  // by which the row is found
        if (IsLong(column) || is_number_of_key) continue;
        request.text += u" AND ";
        AddIsStill(request, *link_, known);
    }
    ChangeRow(std::move(request), is_row, ErrorNumber::OdbcUpdateFailed);
    FollowKey(row, changes, seen);
}

// A row whose key was changed is the same row for those who have its number.
void OdbcTable::FollowKey(sql::RowId row, std::span<const sql::Assignment> changes,
                          std::span<const sql::Assignment> seen) {
    const auto find = [](std::span<const sql::Assignment> among, std::size_t column) {
        const auto found = std::ranges::find(among, column, &sql::Assignment::column);
        return found == among.end() ? nullptr : &found->value;
    };
    bool moved = false;
    std::u16string key;
    for (const std::size_t column : link_->key) {
        const Value* changed = find(changes, column);
        const Value* value = changed != nullptr ? changed : find(seen, column);
        if (value == nullptr) return;
        moved = moved || changed != nullptr;
        key += (key.empty() ? u"" : u", ") + QuotedValue(*value);
    }
    if (moved) OdbcLink::MoveRow(link_, row, std::move(key));
}

void OdbcTable::Delete(sql::RowId row) {
    RequireKey();
    odbc::Request request{u"DELETE FROM " + link_->remote + u" WHERE ", {}};
    const std::size_t before = request.text.size();
    link_->AddIsRow(request, row);
    const std::u16string is_row = request.text.substr(before);
    ChangeRow(std::move(request), is_row, ErrorNumber::OdbcDeleteFailed);
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
