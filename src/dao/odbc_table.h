// Tables on a server as the SQL room wants them.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "dao/odbc_cursor.h"
#include "dao/odbc_link.h"
#include "sql/storage.h"

namespace qmtrain::dao {

// " AS " and kTableAlias.
std::u16string AliasText();

// Rows of a link, all or those that a request asks for.
class OdbcTable : public sql::Table {
public:
    // `narrowed`: what stands after FROM and the table, which begins with AliasText().
    OdbcTable(std::shared_ptr<OdbcLink> link, odbc::Request narrowed, Extent extent);

    const std::u16string& Name() const override { return link_->name; }
    const std::vector<sql::Column>& Columns() const override { return link_->columns; }
    const std::vector<sql::Index>& Indexes() const override { return no_indexes_; }
    bool IsUpdatable() const override { return !link_->key.empty(); }
    bool IsRemote() const override { return true; }
    std::u16string Request() const override { return request_.Whole(); }
    std::int64_t RowCount() override;
    std::int64_t EstimatedRows() override { return kUsualRows; }
    double EstimatedRows(std::size_t, const sql::KeyRange&) override { return 0; }
    std::unique_ptr<sql::Cursor> OpenCursor() override;
    bool CanSeek(std::size_t, std::span<const Value>) const override { return false; }
    bool InOrder(std::size_t, std::size_t) const override { return false; }
    bool HasPrefixes(std::size_t, std::size_t) const override { return false; }
    sql::RowId Insert(std::span<const Value> values) override;
    void BeginInserts() override { collecting_ = true; }
    void EndInserts() override;
    void CancelInserts() override;
    void Update(sql::RowId row, std::span<const sql::Assignment> changes) override { UpdateSeen(row, changes, {}); }
    void UpdateSeen(sql::RowId row, std::span<const sql::Assignment> changes,
                    std::span<const sql::Assignment> seen) override;
    void Delete(sql::RowId row) override;
    std::int32_t LastAutonumber() const override { return last_autonumber_; }

private:
    static constexpr std::int64_t kUsualRows = 1000;  // nobody knows without asking

    void Collect(std::vector<std::size_t> given, std::span<const Value> values);
    void SendCollected();
    void FollowKey(sql::RowId row, std::span<const sql::Assignment> changes, std::span<const sql::Assignment> seen);
    void RequireKey() const;
    void ChangeRow(odbc::Request change, std::u16string_view is_row, ErrorNumber failure);

    std::shared_ptr<OdbcLink> link_;
    odbc::Request request_;
    Extent extent_;
    std::vector<sql::Index> no_indexes_;
    std::int32_t last_autonumber_ = 0;

    bool collecting_ = false;
    std::vector<std::size_t> collected_columns_;
    std::u16string collected_;
    int collected_rows_ = 0;
};

// What a request yields that is no rows of one table.
class OdbcResult : public sql::Table {
public:
    OdbcResult(std::shared_ptr<OdbcServer> server, odbc::Request request, Extent extent,
               std::vector<sql::Column> columns)
        : server_(std::move(server)), request_(std::move(request)), extent_(extent), columns_(std::move(columns)) {}

    const std::u16string& Name() const override { return name_; }
    const std::vector<sql::Column>& Columns() const override { return columns_; }
    const std::vector<sql::Index>& Indexes() const override { return indexes_; }
    bool IsUpdatable() const override { return false; }
    bool IsRemote() const override { return true; }
    std::u16string Request() const override { return request_.Whole(); }
    std::int64_t RowCount() override;
    std::int64_t EstimatedRows() override { return 1; }
    double EstimatedRows(std::size_t, const sql::KeyRange&) override { return 0; }
    std::unique_ptr<sql::Cursor> OpenCursor() override;
    bool CanSeek(std::size_t, std::span<const Value>) const override { return false; }
    bool InOrder(std::size_t, std::size_t) const override { return false; }
    bool HasPrefixes(std::size_t, std::size_t) const override { return false; }
    sql::RowId Insert(std::span<const Value>) override;
    void Update(sql::RowId, std::span<const sql::Assignment>) override;
    void Delete(sql::RowId) override;
    std::int32_t LastAutonumber() const override { return 0; }

private:
    std::shared_ptr<OdbcServer> server_;
    odbc::Request request_;
    Extent extent_;
    std::vector<sql::Column> columns_;
    std::vector<sql::Index> indexes_;
    std::u16string name_ = u"server";
};

}  // namespace qmtrain::dao
