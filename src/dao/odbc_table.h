// Tables on a server as the SQL room wants them.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
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

    // The row has another key from now on.
    void SetKey(sql::RowId row, std::u16string key);

private:
    std::unordered_map<std::u16string, std::uint32_t> numbers_;
    std::vector<const std::u16string*> keys_;  // of numbers_
};

// A link.
struct OdbcLink {
    std::u16string name;
    std::int32_t id = 0;
    std::u16string connect;
    std::u16string source;
    std::u16string remote;  // schema and table in quotes
    std::shared_ptr<OdbcServer> server;
    std::vector<sql::Column> columns;
    std::vector<int> key;  // empty: none, and nothing can be changed
    OdbcRowNumbers rows;

    // What stands behind WHERE for one row, and for some of them.
    std::u16string IsRow(sql::RowId row) const;
    std::u16string IsOneOf(std::span<const sql::RowId> wanted) const;

    // A page of the rows in the order of their keys, behind the one with this key; empty: the first.
    std::u16string Page(std::u16string_view after, std::int64_t rows) const;

private:
    std::u16string KeyList() const;
    std::u16string KeyNames() const;
};

// Rows of a link, all or those that a request asks for.
class OdbcTable : public sql::Table {
public:
    // What stands behind FROM; empty: nothing. `Extent::Whole`: it asks for all rows, in whatever order.
    enum class Extent : std::uint8_t { Whole, Some };
    OdbcTable(std::shared_ptr<OdbcLink> link, std::u16string_view narrowed, Extent extent);

    const std::u16string& Name() const override { return link_->name; }
    const std::vector<sql::Column>& Columns() const override { return link_->columns; }
    const std::vector<sql::Index>& Indexes() const override { return no_indexes_; }
    bool IsUpdatable() const override { return !link_->key.empty(); }
    bool IsRemote() const override { return true; }
    std::u16string Request() const override { return request_; }
    std::int64_t RowCount() override;
    std::int64_t EstimatedRows() override { return kUsualRows; }
    double EstimatedRows(int, const sql::KeyRange&) override { return 0; }
    std::unique_ptr<sql::Cursor> OpenCursor() override;
    bool CanSeek(int, std::span<const Value>) const override { return false; }
    bool InOrder(int, std::size_t) const override { return false; }
    bool HasPrefixes(int, std::size_t) const override { return false; }
    sql::RowId Insert(std::span<const Value> values) override;
    void BeginInserts() override { collecting_ = true; }
    void EndInserts() override;
    void CancelInserts() override;
    void Update(sql::RowId row, std::span<const sql::Assignment> changes) override { UpdateSeen(row, changes, {}); }
    void UpdateSeen(sql::RowId row, std::span<const sql::Assignment> changes,
                    std::span<const sql::Assignment> seen) override;
    void Delete(sql::RowId row) override;
    std::int32_t LastCounter() const override { return last_counter_; }

    // All columns from the table, and what follows.
    static std::u16string SelectFrom(const OdbcLink& link, std::u16string_view rest);

private:
    static constexpr std::int64_t kUsualRows = 1000;  // nobody knows without asking

    std::u16string ColumnList(std::span<const int> columns) const;
    void Collect(std::vector<int> given, std::u16string row);
    void SendCollected();
    void FollowKey(sql::RowId row, std::span<const sql::Assignment> changes, std::span<const sql::Assignment> seen);
    void RequireKey() const;
    [[noreturn]] void RaiseNotThere(sql::RowId row);

    std::shared_ptr<OdbcLink> link_;
    std::u16string request_;
    Extent extent_;
    std::vector<sql::Index> no_indexes_;
    std::int32_t last_counter_ = 0;

    bool collecting_ = false;
    std::vector<int> collected_columns_;
    std::u16string collected_;
    int collected_rows_ = 0;
};

// What a request yields that is no rows of one table.
class OdbcResult : public sql::Table {
public:
    OdbcResult(std::shared_ptr<OdbcServer> server, std::u16string request, std::vector<sql::Column> columns)
        : server_(std::move(server)), request_(std::move(request)), columns_(std::move(columns)) {}

    const std::u16string& Name() const override { return name_; }
    const std::vector<sql::Column>& Columns() const override { return columns_; }
    const std::vector<sql::Index>& Indexes() const override { return indexes_; }
    bool IsUpdatable() const override { return false; }
    bool IsRemote() const override { return true; }
    std::u16string Request() const override { return request_; }
    std::int64_t RowCount() override { return OpenCursorOver()->CountRest(); }
    std::int64_t EstimatedRows() override { return 1; }
    double EstimatedRows(int, const sql::KeyRange&) override { return 0; }
    std::unique_ptr<sql::Cursor> OpenCursor() override;
    bool CanSeek(int, std::span<const Value>) const override { return false; }
    bool InOrder(int, std::size_t) const override { return false; }
    bool HasPrefixes(int, std::size_t) const override { return false; }
    sql::RowId Insert(std::span<const Value>) override;
    void Update(sql::RowId, std::span<const sql::Assignment>) override;
    void Delete(sql::RowId) override;
    std::int32_t LastCounter() const override { return 0; }

private:
    std::unique_ptr<sql::Cursor> OpenCursorOver();

    std::shared_ptr<OdbcServer> server_;
    std::u16string request_;
    std::vector<sql::Column> columns_;
    std::vector<sql::Index> indexes_;
    std::u16string name_ = u"server";
};

// Pieces of statements for the server.
std::u16string QuotedName(std::u16string_view name);

// A value between single quotes, from which the server makes the type that it needs there.
std::u16string QuotedValue(const Value& value);

}  // namespace qmtrain::dao
