#include "dao/odbc_link.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/text.h"

namespace qmtrain::dao {
namespace {

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

std::u16string InQuotes(std::u16string_view text, char16_t quote) {
    std::u16string quoted;
    quoted.reserve(text.size() + 2);
    quoted += quote;
    for (const char16_t unit : text) quoted.append(unit == quote ? 2 : 1, unit);
    return quoted += quote;
}

// Takes the first of several values off their list.
std::u16string TakeValue(std::u16string_view& list) {
    bool inside = false;
    std::size_t end = 0;
    for (; end < list.size() && (inside || list[end] != u','); ++end) {
        if (list[end] == u'\'') inside = !inside;
    }
    std::u16string value(list.substr(0, end));
    list.remove_prefix(std::min(list.size(), end + 2));
    return value;
}

}  // namespace

std::u16string QuotedName(std::u16string_view name) {
    return InQuotes(name, u'"');
}

std::u16string Selected(std::u16string_view text, sql::ColumnType type) {
    return std::u16string(text) + (type == sql::ColumnType::Date ? u"::text" : u"");
}

std::u16string_view GivenType(sql::ColumnType type) {
    switch (type) {
        case sql::ColumnType::Boolean: return u"boolean";
        case sql::ColumnType::Byte:
        case sql::ColumnType::Integer:
        case sql::ColumnType::Long: return u"bigint";
        case sql::ColumnType::Single:
        case sql::ColumnType::Double: return u"double precision";
        case sql::ColumnType::Currency:
        case sql::ColumnType::Decimal: return u"numeric";
        case sql::ColumnType::Date: return u"timestamp";
        case sql::ColumnType::Binary:
        case sql::ColumnType::LongBinary: return u"bytea";
        case sql::ColumnType::Guid: return u"uuid";
        default: return u"text";
    }
}

std::u16string QuotedValue(const Value& value) {
    if (value.IsNull() || value.IsEmpty()) return u"NULL";
    if (value.IsText()) return InQuotes(value.Text(), u'\'');
    return InQuotes(PlainText(value), u'\'');
}

// ---- OdbcRowNumbers ----

sql::RowId OdbcRowNumbers::NumberOf(std::u16string key) {
    const auto next = static_cast<std::uint32_t>(keys_.size() + 1);
    const auto [known, added] = numbers_.try_emplace(std::move(key), next);
    if (added) keys_.push_back(&known->first);
    return {known->second};
}

sql::RowId OdbcRowNumbers::SetKey(sql::RowId row, std::u16string key) {
    if (key == KeyOf(row)) return {};
    if (const auto old = numbers_.find(KeyOf(row)); old != numbers_.end() && old->second == row.value)
        numbers_.erase(old);
    const auto [known, added] = numbers_.try_emplace(std::move(key), row.value);
    keys_[row.value - 1] = &known->first;
    if (added) return {};
    const sql::RowId gone{std::exchange(known->second, row.value)};
    keys_[gone.value - 1] = &no_key_;
    return gone;
}

// ---- OdbcLink ----

OdbcLink::OdbcLink(std::u16string_view source_there, std::vector<sql::Column> columns_there,
                   std::vector<std::size_t> key_there)
    : source(source_there), columns(std::move(columns_there)), key(std::move(key_there)) {
    const std::size_t point = source.find(u'.');
    remote = point == source.npos ? QuotedName(source)
                                  : QuotedName(source.substr(0, point)) + u"." + QuotedName(source.substr(point + 1));
    std::vector<std::size_t> all;
    for (const sql::Column& column : columns) {
        all.push_back(all.size());
        quoted_.push_back(QuotedName(column.name));
    }
    select_ = u"SELECT " + SelectedList(all) + u" FROM " + remote;
    key_list_ = QuotedList(key);
    rows.NoKey(KeyText(std::vector<Value>(columns.size())));  // Nulls are equal to nothing
    for (const std::size_t column : key) {
        if (!page_list_.empty()) page_list_ += u", ";
        page_list_.append(kTableAlias).append(u".").append(Quoted(column));
    }
    has_key_ = HasKey();
}

// The columns of one index that holds each of their values once, and no Null.
std::u16string OdbcLink::HasKey() const {
    std::u16string names;
    for (const std::size_t column : key) {
        if (!names.empty()) names += u", ";
        names += QuotedValue(Value(columns[column].name));
    }
    const std::u16string count = ToText(key.size());
    return u"1 = (SELECT 1 / least(count(*), 1) FROM pg_index AS i WHERE i.indrelid = CAST(" +
           QuotedValue(Value(remote)) + u" AS regclass) AND i.indisunique AND i.indisvalid AND i.indpred IS NULL AND " +
           u"i.indnkeyatts = " + count + u" AND " + count +
           u" = (SELECT count(*) FROM pg_attribute AS a WHERE a.attrelid = i.indrelid AND a.attnotnull AND " +
           u"a.attname IN (" + names + u") AND a.attnum = ANY (i.indkey)))";
}

void OdbcLink::LoseKey() {
    key.clear();
    Raise(ErrorNumber::ReadOnly, {name, u"服务器上的表已没有链接时的主键或唯一索引。重新打开后只能读；请更新链接。"});
}

const std::u16string& OdbcLink::OrderOf(std::size_t column) const {
    if (orders_.empty()) {
        std::vector<std::u16string> orders(columns.size());
        const auto answer = server->Query(
            {u"SELECT attname, CAST(CAST(attcollation AS regcollation) AS text) FROM pg_attribute WHERE "
             u"attnum > 0 AND attcollation NOT IN (0, CAST('\"default\"' AS regcollation)) AND attrelid = "
             u"CAST(" +
                 QuotedValue(Value(remote)) + u" AS regclass)",
             {}});
        Value name;
        Value order;
        while (answer.rows->Next()) {
            answer.rows->Read(0, sql::ColumnType::Memo, name);
            answer.rows->Read(1, sql::ColumnType::Memo, order);
            const auto known = std::ranges::find(columns, name.Text(), &sql::Column::name);
            if (known != columns.end()) orders[known - columns.begin()] = order.Text();
        }
        orders_ = std::move(orders);
    }
    return orders_[column];
}

std::u16string OdbcLink::QuotedList(std::span<const std::size_t> wanted) const {
    std::u16string names;
    for (const std::size_t column : wanted) {
        if (!names.empty()) names += u", ";
        names += Quoted(column);
    }
    return names;
}

std::u16string OdbcLink::SelectedList(std::span<const std::size_t> wanted) const {
    std::u16string list;
    for (const std::size_t column : wanted) {
        if (!list.empty()) list += u", ";
        list += Selected(Quoted(column), columns[column].type);
    }
    return list;
}

// The types of these values are such that the server's index serves.
void OdbcLink::AddIsRow(odbc::Request& request, sql::RowId row) const {
    request.text.append(u"(").append(key_list_).append(u") = (");
    std::u16string_view values = rows.KeyOf(row);
    for (std::size_t i = 0; i < key.size(); ++i) {
        if (i > 0) request.text += u", ";
        const sql::ColumnType type = columns[key[i]].type;
        const bool compares = type == sql::ColumnType::Date || type == sql::ColumnType::Long;
        request.Add(TakeValue(values), compares ? GivenType(type) : u"unknown");
    }
    request.text += u")";
}

std::u16string OdbcLink::IsOneOf(std::span<const sql::RowId> wanted) const {
    std::u16string text = u"(" + key_list_ + u") IN (";
    bool first = true;
    for (const sql::RowId row : wanted) {
        text.append(std::exchange(first, false) ? u"(" : u", (").append(rows.KeyOf(row)).append(u")");
    }
    return text + u")";
}

std::u16string OdbcLink::Page(std::u16string_view after, std::int64_t wanted) const {
    std::u16string text;
    if (!after.empty()) text = (u" WHERE (" + page_list_ + u") > (").append(after).append(u") AND ").append(has_key_);
    return text + u" ORDER BY " + page_list_ + u" LIMIT " + ToText(wanted);
}

std::u16string OdbcLink::KeyText(std::span<const Value> row) const {
    std::u16string text;
    for (const std::size_t column : key) {
        if (!text.empty()) text += u", ";
        text += QuotedValue(row[column]);
    }
    return text;
}

void OdbcLink::MoveRow(const std::shared_ptr<OdbcLink>& link, sql::RowId row, std::u16string key) {
    std::u16string old = link->rows.KeyOf(row);
    const sql::RowId gone = link->rows.SetKey(row, key);
    link->server->WhenUndone([weak = std::weak_ptr(link), row, gone, old = std::move(old), key = std::move(key)] {
        const auto still = weak.lock();
        if (still == nullptr) return;
        still->rows.SetKey(row, old);
        if (gone.value != 0) still->rows.SetKey(gone, key);
    });
}

}  // namespace qmtrain::dao
