// A link to a table on a server, and the pieces of the statements that the server is sent.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "dao/odbc_server.h"
#include "sql/storage.h"

namespace qmtrain::dao {

// The rows of a link that somebody has to go back to. A row is known by its key, written as the server is given it, and
// has a number for as long as the database is open.
class OdbcRowNumbers {
public:
    sql::RowId NumberOf(std::u16string key);
    const std::u16string& KeyOf(sql::RowId row) const { return *keys_[row.value - 1]; }

    // What is no row's key.
    void NoKey(std::u16string key) { no_key_ = std::move(key); }

    // The row has another key from now on. A row that had this one until now is gone: its number is returned, else 0.
    sql::RowId SetKey(sql::RowId row, std::u16string key);

private:
    std::unordered_map<std::u16string, std::uint32_t> numbers_;
    std::vector<const std::u16string*> keys_;  // of numbers_, or no_key_
    std::u16string no_key_;
};

// What a statement of one table calls it.
inline constexpr std::u16string_view kTableAlias = u"t0";

class OdbcLink {
public:
    OdbcLink(std::u16string_view source, std::vector<sql::Column> columns_there, std::vector<std::size_t> key_there);

    std::u16string name;
    std::int32_t id = 0;
    std::u16string connect;
    std::u16string source;
    std::u16string remote;  // schema and table in quotes
    std::shared_ptr<OdbcServer> server;
    std::vector<sql::Column> columns;
    std::vector<std::size_t> key;  // empty: none, and nothing can be changed
    OdbcRowNumbers rows;

    // The order of a column's texts, by its name there; empty when it has none, or that of the database. The server is
    // asked the first time.
    const std::u16string& OrderOf(std::size_t column) const;

    // Whether a column may hold times with fractions of seconds.
    void FineTimes(std::vector<bool> columns_with_them) { fine_ = std::move(columns_with_them); }
    bool IsFine(std::size_t column) const { return !fine_.empty() && fine_[column]; }

    // The column's name in quotes.
    const std::u16string& Quoted(std::size_t column) const { return quoted_[column]; }
    std::u16string QuotedList(std::span<const std::size_t> columns) const;

    // The same as what is selected: times as texts, for the driver has no place for all that the server has.
    std::u16string SelectedList(std::span<const std::size_t> columns) const;

    // "SELECT" of all columns, up to the table's name.
    const std::u16string& Select() const { return select_; }

    // Adds what stands after WHERE for one row; for some of them.
    void AddIsRow(odbc::Request& request, sql::RowId row) const;
    std::u16string IsOneOf(std::span<const sql::RowId> wanted) const;

    // A page of the rows in the order of their keys, after the one with this key; empty: the first. The table goes by
    // kTableAlias there. Of a table whose key has gone since the link was made no page follows the first: the server
    // says that it divides by zero.
    std::u16string Page(std::u16string_view after, std::int64_t rows) const;

    // The server's table has lost it: nothing can be changed from now on. Raises what tells so.
    [[noreturn]] void LoseKey();

    // A row's key as OdbcRowNumbers has it.
    std::u16string KeyText(std::span<const Value> row) const;

    // The key of a row is another one now, unless the server's open transaction is undone.
    static void MoveRow(const std::shared_ptr<OdbcLink>& link, sql::RowId row, std::u16string key);

private:
    std::u16string HasKey() const;

    std::vector<bool> fine_;
    mutable std::vector<std::u16string> orders_;  // empty: not yet asked
    std::vector<std::u16string> quoted_;
    std::u16string key_list_;
    std::u16string page_list_;  // the same with the alias: else these would be the names of what is selected
    std::u16string has_key_;    // a condition that fails where the table has no such key
    std::u16string select_;
};

std::u16string QuotedName(std::u16string_view name);

// An expression as it is selected, see OdbcLink::SelectedList.
std::u16string Selected(std::u16string_view text, sql::ColumnType type);

// The server's widest type of the values that a column of ours holds: for one that is given to a column of the
// server's, which makes its own of it, whatever type it has by now.
std::u16string_view GivenType(sql::ColumnType type);

// A value between single quotes, from which the server makes the type that it needs there.
std::u16string QuotedValue(const Value& value);

}  // namespace qmtrain::dao
