#include "dao/odbc_table.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"
#include "core/work.h"

namespace qmtrain::dao {
namespace {

std::u16string Joined(std::u16string text, std::u16string_view between, std::u16string_view more) {
    if (!text.empty()) text += between;
    return text.append(more);
}

bool IsLong(const sql::Column& column) {
    return column.type == sql::ColumnType::Memo || column.type == sql::ColumnType::LongBinary;
}

template <class T>
std::u16string ShortestText(T number) {
    if (!std::isfinite(number)) Raise(ErrorNumber::Overflow);
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, number);
    return FromUtf8({digits, static_cast<std::size_t>(end.ptr - digits)});
}

std::u16string HexText(const Bytes& bytes) {
    constexpr std::u16string_view kDigits = u"0123456789abcdef";
    std::u16string text = u"\\x";
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::u16string PlainText(const Value& value) {
    switch (value.GetType()) {
        case Value::Type::Boolean: return value.As<bool>() ? u"true" : u"false";
        case Value::Type::Single: return ShortestText(value.As<float>());
        case Value::Type::Double: return ShortestText(value.As<double>());
        case Value::Type::Date: return Format(value.As<Date>(), u"yyyy-mm-dd hh:nn:ss");
        case Value::Type::Binary: return HexText(value.Binary());
        default: return ToText(value);
    }
}

// ---- cursors ----

// Reads a request's rows, each whole: a value can be had from the library only once.
class RequestCursor : public sql::Cursor {
public:
    RequestCursor(OdbcServer& server, const std::vector<sql::Column>& columns) : server_(server), columns_(columns) {}

    void Range(int, const sql::KeyRange&, bool) override { Raise(ErrorNumber::NoCurrentIndex); }
    void Read(int column, Value& value) override { value = (*shown_)[static_cast<std::size_t>(column)]; }

protected:
    void Ask(std::u16string_view request) {
        answer_.rows.reset();
        answer_ = server_.Query(request);
        std::vector<odbc::Shape> shapes;
        for (const sql::Column& column : columns_) shapes.push_back({column.type, column.size});
        answer_.rows->Expect(std::move(shapes));
    }

    bool Take() {
        steps_.Next();
        if (!answer_.rows || !answer_.rows->Next()) {
            answer_.rows.reset();
            return false;
        }
        row_.resize(columns_.size());
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            answer_.rows->Read(static_cast<int>(i), columns_[i].type, row_[i]);
        }
        shown_ = &row_;
        return true;
    }

    OdbcServer& server_;
    const std::vector<sql::Column>& columns_;
    std::vector<Value> row_;
    const std::vector<Value>* shown_ = &row_;

private:
    OdbcServer::Answer answer_;
    WorkSteps steps_;
};

class ResultCursor : public RequestCursor {
public:
    ResultCursor(std::shared_ptr<OdbcServer> server, std::u16string request, const std::vector<sql::Column>& columns)
        : RequestCursor(*server, columns), kept_alive_(std::move(server)), request_(std::move(request)) {}

    void Scan() override {
        rows_.clear();
        number_ = 0;
        Ask(request_);
    }
    bool Next() override {
        if (!Take()) return false;
        ++number_;
        return true;
    }
    void Keep() override { rows_.try_emplace(number_, *shown_); }
    sql::RowId Row() const override { return {number_}; }
    bool MoveTo(sql::RowId row) override {
        const auto kept = rows_.find(row.value);
        if (kept == rows_.end()) return false;
        number_ = row.value;
        shown_ = &kept->second;
        return true;
    }

private:
    std::shared_ptr<OdbcServer> kept_alive_;
    std::u16string request_;
    std::map<std::uint32_t, std::vector<Value>> rows_;
    std::uint32_t number_ = 0;
};

std::u16string KeyText(const OdbcLink& link, const std::vector<Value>& row) {
    std::u16string text;
    for (const int column : link.key) {
        text = Joined(std::move(text), u", ", QuotedValue(row[static_cast<std::size_t>(column)]));
    }
    return text;
}

class LinkCursor : public RequestCursor {
public:
    // `in_pages`: a whole table is not asked for at once. Most who open one look at its beginning, or add to it.
    LinkCursor(std::shared_ptr<OdbcLink> link, std::u16string request, bool in_pages)
        : RequestCursor(*link->server, link->columns),
          link_(std::move(link)),
          request_(std::move(request)),
          in_pages_(in_pages) {}

    void Scan() override {
        constexpr std::int64_t kFirstPage = 256;
        kept_.clear();
        if (!in_pages_) return Ask(request_);
        page_ = left_in_page_ = kFirstPage;
        Ask(request_ + link_->Page({}, page_));
    }
    bool Next() override {
        constexpr std::int64_t kLargestPage = 4096;
        row_id_ = {};
        if (in_pages_ && left_in_page_ == 0) {
            page_ = left_in_page_ = std::min(page_ * 4, kLargestPage);
            Ask(request_ + link_->Page(KeyText(*link_, row_), page_));
        }
        if (!Take()) return false;
        --left_in_page_;
        return true;
    }

    // Without a key a row is known by its place among those kept.
    void Keep() override {
        if (link_->key.empty()) row_id_ = {static_cast<std::uint32_t>(kept_.size() + 1)};
        kept_.try_emplace(Row().value, *shown_);
    }
    sql::RowId Row() const override {
        if (row_id_.value == 0 && !link_->key.empty()) row_id_ = link_->rows.NumberOf(KeyText(*link_, *shown_));
        return row_id_;
    }

    // A row that was kept is shown as it was; of any other the server is asked.
    bool MoveTo(sql::RowId row) override {
        row_id_ = row;
        if (const auto kept = kept_.find(row.value); kept != kept_.end()) {
            shown_ = &kept->second;
            return true;
        }
        if (link_->key.empty()) return false;
        if (const auto fetched = fetched_.find(row.value); fetched != fetched_.end()) {
            const std::optional<std::vector<Value>> values = std::move(fetched->second);
            fetched_.erase(fetched);
            if (!values) return false;
            row_ = *values;
            shown_ = &row_;
            return true;
        }
        Ask(OdbcTable::SelectFrom(*link_, u" WHERE " + link_->IsRow(row)));
        return Take();
    }

    void Prefetch(std::span<const sql::RowId> rows) override {
        fetched_.clear();
        if (rows.empty()) return;
        Ask(OdbcTable::SelectFrom(*link_, u" WHERE " + link_->IsOneOf(rows)));
        for (const sql::RowId row : rows) fetched_[row.value];
        while (Take()) fetched_[link_->rows.NumberOf(KeyText(*link_, row_)).value] = row_;
    }

private:
    std::shared_ptr<OdbcLink> link_;
    std::u16string request_;
    bool in_pages_;
    std::int64_t page_ = 0;
    std::int64_t left_in_page_ = 0;
    std::map<std::uint32_t, std::vector<Value>> kept_;
    std::map<std::uint32_t, std::optional<std::vector<Value>>> fetched_;  // nothing: the row is no longer there
    mutable sql::RowId row_id_;                                           // none: it is not known yet
};

}  // namespace

std::u16string QuotedName(std::u16string_view name) {
    std::u16string text = u"\"";
    for (const char16_t unit : name) text.append(unit == u'"' ? 2 : 1, unit);
    return text + u"\"";
}

std::u16string QuotedValue(const Value& value) {
    if (value.IsNull() || value.IsEmpty()) return u"NULL";
    std::u16string text = u"'";
    for (const char16_t unit : PlainText(value)) text.append(unit == u'\'' ? 2 : 1, unit);
    return text + u"'";
}

// ---- OdbcRowNumbers, OdbcLink ----

sql::RowId OdbcRowNumbers::NumberOf(std::u16string key) {
    const auto next = static_cast<std::uint32_t>(keys_.size() + 1);
    const auto [known, added] = numbers_.try_emplace(std::move(key), next);
    if (added) keys_.push_back(&known->first);
    return {known->second};
}

void OdbcRowNumbers::SetKey(sql::RowId row, std::u16string key) {
    const auto known = numbers_.insert_or_assign(std::move(key), row.value).first;
    keys_[row.value - 1] = &known->first;
}

std::u16string OdbcLink::KeyList() const {
    std::u16string names;
    for (const int column : key) {
        names = Joined(std::move(names), u", ", QuotedName(columns[static_cast<std::size_t>(column)].name));
    }
    return names;
}

std::u16string OdbcLink::KeyNames() const {
    return u"(" + KeyList() + u")";
}

std::u16string OdbcLink::IsRow(sql::RowId row) const {
    return KeyNames() + u" = (" + rows.KeyOf(row) + u")";
}

std::u16string OdbcLink::IsOneOf(std::span<const sql::RowId> wanted) const {
    std::u16string keys;
    for (const sql::RowId row : wanted) keys = Joined(std::move(keys), u", ", u"(" + rows.KeyOf(row) + u")");
    return KeyNames() + u" IN (" + keys + u")";
}

std::u16string OdbcLink::Page(std::u16string_view after, std::int64_t wanted) const {
    std::u16string text;
    if (!after.empty()) text = (u" WHERE " + KeyNames() + u" > (").append(after).append(u")");
    return text + u" ORDER BY " + KeyList() + u" LIMIT " + ToText(wanted);
}

// ---- OdbcTable ----

std::u16string OdbcTable::SelectFrom(const OdbcLink& link, std::u16string_view rest) {
    std::u16string columns;
    for (const sql::Column& column : link.columns) columns = Joined(std::move(columns), u", ", QuotedName(column.name));
    return (u"SELECT " + columns + u" FROM " + link.remote).append(rest);
}

OdbcTable::OdbcTable(std::shared_ptr<OdbcLink> link, std::u16string_view narrowed, Extent extent)
    : link_(std::move(link)), request_(SelectFrom(*link_, narrowed)), extent_(extent) {}

std::int64_t OdbcTable::RowCount() {
    const auto answer = link_->server->Query(u"SELECT count(*) FROM (" + request_ + u") AS rows");
    Value count;
    if (answer.rows->Next()) answer.rows->Read(0, sql::ColumnType::Double, count);
    return static_cast<std::int64_t>(ToDouble(count));
}

std::unique_ptr<sql::Cursor> OdbcTable::OpenCursor() {
    return std::make_unique<LinkCursor>(link_, request_, extent_ == Extent::Whole && !link_->key.empty());
}

std::u16string OdbcTable::ColumnList(std::span<const int> columns) const {
    std::u16string names;
    for (const int column : columns) {
        names = Joined(std::move(names), u", ", QuotedName(link_->columns[static_cast<std::size_t>(column)].name));
    }
    return names;
}

void OdbcTable::RequireKey() const {
    if (link_->key.empty()) Raise(ErrorNumber::ReadOnly, {link_->name, u"服务器上的表没有主键或唯一索引。"});
}

sql::RowId OdbcTable::Insert(std::span<const Value> values) {
    RequireKey();
    std::vector<int> given;
    std::u16string row;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].IsEmpty()) continue;
        given.push_back(static_cast<int>(i));
        row = Joined(std::move(row), u", ", QuotedValue(values[i]));
    }
    if (collecting_) {
        Collect(std::move(given), std::move(row));
        return {};
    }
    std::vector<int> wanted = link_->key;
    const auto counter = std::ranges::find_if(link_->columns, &sql::Column::counter);
    const int counted = counter == link_->columns.end() ? -1 : static_cast<int>(counter - link_->columns.begin());
    if (counted >= 0 && std::ranges::find(wanted, counted) == wanted.end()) wanted.push_back(counted);
    const std::u16string what =
        given.empty() ? u" DEFAULT VALUES" : u" (" + ColumnList(given) + u") VALUES (" + row + u")";
    const auto answer =
        link_->server->Query(u"INSERT INTO " + link_->remote + what + u" RETURNING " + ColumnList(wanted),
                             {ErrorNumber::OdbcInsertFailed, link_->name});
    link_->server->NoteChange();
    std::u16string key;
    if (!answer.rows->Next()) return {};
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const sql::Column& column = link_->columns[static_cast<std::size_t>(wanted[i])];
        Value value;
        answer.rows->Read(static_cast<int>(i), column.type, value);
        if (i < link_->key.size()) key = Joined(std::move(key), u", ", QuotedValue(value));
        if (column.counter && !value.IsNull()) last_counter_ = ToLong(value);
    }
    return link_->rows.NumberOf(std::move(key));
}

// Rows of one statement travel together.
void OdbcTable::Collect(std::vector<int> given, std::u16string row) {
    constexpr int kMostRows = 500;
    constexpr std::size_t kMostUnits = 256 << 10;
    if (given != collected_columns_ || collected_rows_ == kMostRows || collected_.size() > kMostUnits ||
        given.empty()) {
        SendCollected();
        collected_columns_ = std::move(given);
    }
    collected_ = Joined(std::move(collected_), u", ", u"(" + row + u")");
    ++collected_rows_;
    if (collected_columns_.empty()) SendCollected();
}

void OdbcTable::SendCollected() {
    if (collected_rows_ == 0) return;
    const bool none = collected_columns_.empty();
    const std::u16string what =
        none ? u" DEFAULT VALUES" : u" (" + ColumnList(collected_columns_) + u") VALUES " + collected_;
    collected_.clear();
    collected_rows_ = 0;
    link_->server->Execute(u"INSERT INTO " + link_->remote + what, {ErrorNumber::OdbcInsertFailed, link_->name});
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
    const auto answer = link_->server->Query(u"SELECT 1 FROM " + link_->remote + u" WHERE " + link_->IsRow(row));
    Raise(answer.rows->Next() ? ErrorNumber::RecordChanged : ErrorNumber::RecordDeleted);
}

namespace {

// Whether a column still holds what was seen in it. Texts that differ in case alone are others here, whatever the
// column's order says, and there may be more of a time than its seconds.
std::u16string IsStill(const sql::Column& column, const Value& value) {
    const std::u16string name = QuotedName(column.name);
    if (value.IsNull()) return name + u" IS NULL";
    switch (column.type) {
        case sql::ColumnType::Text: return name + u" COLLATE \"C\" = " + QuotedValue(value);
        case sql::ColumnType::Date: return u"date_trunc('second', " + name + u") = " + QuotedValue(value);
        default: return name + u" = " + QuotedValue(value);
    }
}

}  // namespace

// Only if the row is as it was seen; long values are not compared.
void OdbcTable::UpdateSeen(sql::RowId row, std::span<const sql::Assignment> changes,
                           std::span<const sql::Assignment> seen) {
    RequireKey();
    if (changes.empty()) return;
    std::u16string set;
    for (const sql::Assignment& change : changes) {
        const sql::Column& column = link_->columns[static_cast<std::size_t>(change.column)];
        set = Joined(std::move(set), u", ", QuotedName(column.name) + u" = " + QuotedValue(change.value));
    }
    std::u16string condition = link_->IsRow(row);
    for (const sql::Assignment& known : seen) {
        const sql::Column& column = link_->columns[static_cast<std::size_t>(known.column)];
        const bool is_number_of_key = std::ranges::find(link_->key, known.column) != link_->key.end() &&
                                      column.type == sql::ColumnType::Long;  // by which the row is found
        if (!IsLong(column) && !is_number_of_key) condition += u" AND " + IsStill(column, known.value);
    }
    const std::int64_t affected =
        link_->server->Execute(u"UPDATE " + link_->remote + u" SET " + set + u" WHERE " + condition,
                               {ErrorNumber::OdbcUpdateFailed, link_->name});
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
        key = Joined(std::move(key), u", ", QuotedValue(*value));
    }
    if (moved) link_->rows.SetKey(row, std::move(key));
}

void OdbcTable::Delete(sql::RowId row) {
    RequireKey();
    const std::int64_t affected = link_->server->Execute(
        u"DELETE FROM " + link_->remote + u" WHERE " + link_->IsRow(row), {ErrorNumber::OdbcDeleteFailed, link_->name});
    if (affected == 0) RaiseNotThere(row);
}

// ---- OdbcResult ----

std::unique_ptr<sql::Cursor> OdbcResult::OpenCursorOver() {
    auto cursor = std::make_unique<ResultCursor>(server_, request_, columns_);
    cursor->Scan();
    return cursor;
}

std::unique_ptr<sql::Cursor> OdbcResult::OpenCursor() {
    return std::make_unique<ResultCursor>(server_, request_, columns_);
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
