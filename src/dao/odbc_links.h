// The links of one database to tables on servers: what they are, what is asked of the servers, and what is asked here.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dao/odbc_link.h"
#include "dao/remote_sql.h"
#include "dao/types.h"
#include "jet/database.h"
#include "sql/ast.h"
#include "sql/sql.h"
#include "sql/storage.h"

namespace qmtrain::dao {

class OdbcLinks : public LinkFinder {
public:
    OdbcLinks(jet::Database& database, LinkRights rights) : database_(database), rights_(rights) {}

    // Whether the file has such links. Requires: a scope.
    bool Any();

    // The same as far as it is known without a scope; true when it is not.
    bool MayHaveAny() const { return any_; }

    // Whether it has nothing else: then nobody needs the file's locks.
    bool HasOnlyLinks();

    // Raises OperationNotSupported when the host has not granted links to servers.
    std::shared_ptr<OdbcLink> FindLink(std::u16string_view name) override;

    // The table of a link, null for any other name.
    std::shared_ptr<sql::Table> FindTable(std::u16string_view name);

    // See sql::Catalog. `catalog` is the one that asks, and does not ask again meanwhile.
    std::shared_ptr<const sql::ast::Select> Delegate(sql::Catalog& catalog, const sql::ast::Select& select);
    std::optional<sql::DelegatedChange> DelegateChange(sql::Catalog& catalog, const sql::ast::Statement& statement);

    // Whether a statement changes tables on servers alone.
    bool ChangesOnlyServers(const sql::ast::Statement& statement);

    // `connect`: "ODBC;…". Columns and key come from the server. No scope is needed.
    void Create(std::u16string_view name, std::u16string_view connect, std::u16string_view source_table,
                bool save_password, bool replace = false);

    // Takes columns and key from the server anew, from another one when `connect` says so.
    void Refresh(std::u16string_view name, std::u16string_view connect);

    // Grows with each change made through the links.
    std::uint64_t Changes();

    void TimeLimit(std::chrono::milliseconds limit) { time_limit_ = limit; }

    // User and password for the links that have none of their own, "ODBC;UID=…;PWD=…". Who gives them for a link's
    // place allows it to lead there.
    void Login(std::u16string_view connect) { login_.emplace(connect); }

    // While it lives, transactions that begin are as if each had been alone.
    class Serial {
    public:
        explicit Serial(OdbcLinks& links) : links_(links) { links_.serial_ = true; }
        Serial(const Serial&) = delete;
        Serial& operator=(const Serial&) = delete;
        ~Serial() { links_.serial_ = false; }

    private:
        OdbcLinks& links_;
    };

    // From any thread.
    void Cancel() noexcept;

    // Lets go of the servers; the database is closed.
    void Close();

private:
    struct KnownServer {
        std::u16string connect;
        std::shared_ptr<OdbcServer> server;
    };

    odbc::ConnectString WithLogin(odbc::ConnectString connect) const;
    void Prepare(OdbcServer& server) const { server.Use(this, time_limit_, serial_); }
    std::shared_ptr<OdbcServer> ServerFor(const odbc::ConnectString& connect);
    odbc::TableDescription Describe(const odbc::ConnectString& connect, std::u16string_view table) const;
    const jet::CatalogObject* Find(std::u16string_view name);
    std::shared_ptr<OdbcLink> Load(const jet::CatalogObject& object);
    std::shared_ptr<OdbcLink> LinkOf(const sql::ast::TableExpression& table);
    bool NamesLink(const sql::ast::TableExpression& table);

    std::shared_ptr<const sql::ast::Select> DelegateTable(const sql::ast::Select& select);
    std::shared_ptr<const sql::ast::Select> DelegateWhole(sql::Catalog& catalog, const sql::ast::Select& select);
    std::shared_ptr<const sql::ast::Select> DelegateConditions(const sql::ast::Select& select);
    void Narrow(sql::ast::TableExpression& table, std::vector<sql::ast::ExpressionPtr>& conditions);

    jet::Database& database_;
    LinkRights rights_;
    std::chrono::milliseconds time_limit_{0};
    std::optional<odbc::ConnectString> login_;
    std::mutex servers_mutex_;
    std::vector<KnownServer> servers_;
    std::atomic<bool> has_servers_ = false;  // told without the lock: each row that is read asks for their changes
    std::vector<std::shared_ptr<OdbcLink>> links_;  // those that have been used
    std::atomic<bool> any_ = true;
    bool serial_ = false;
};

}  // namespace qmtrain::dao
