// Jet tables in the form in which the SQL room wants them.
#pragma once

#include <memory>
#include <vector>

#include "jet/database.h"
#include "sql/ast.h"
#include "sql/storage.h"

namespace qmtrain::dao {

struct Layout;
class OdbcLinks;

class JetCatalog : public sql::Catalog {
public:
    JetCatalog(jet::Database& database, OdbcLinks& links) : database_(database), links_(links) {}

    std::shared_ptr<sql::Table> FindTable(std::u16string_view name) override;
    std::optional<std::u16string> FindQuery(std::u16string_view name) override;
    std::shared_ptr<const sql::ast::Select> Delegate(const sql::ast::Select& select) override;
    std::optional<sql::DelegatedChange> DelegateChange(const sql::ast::Statement& statement) override;
    void CreateTable(const sql::TableSchema& schema) override;
    void DropTable(std::u16string_view name) override;
    void CreateIndex(std::u16string_view table, const sql::Index& index) override;
    void DropIndex(std::u16string_view table, std::u16string_view index) override;
    void AddColumn(std::u16string_view table, const sql::Column& column) override;
    void DropColumn(std::u16string_view table, std::u16string_view column) override;
    void AddReference(std::u16string_view table, const sql::Reference& reference) override;
    bool DropReference(std::u16string_view table, std::u16string_view name) override;
    void AlterColumn(std::u16string_view table, const sql::Column& column) override;

private:
    std::shared_ptr<jet::Table> Require(std::u16string_view name);
    void CopyColumn(std::u16string_view table, std::size_t from, const sql::Column& wanted);

    // What has been made of a table, for as long as the table lives.
    struct Known {
        std::weak_ptr<jet::Table> table;
        std::shared_ptr<const Layout> layout;
    };

    class Delegating {
    public:
        explicit Delegating(bool& flag) : flag_(flag) { flag_ = true; }
        Delegating(const Delegating&) = delete;
        Delegating& operator=(const Delegating&) = delete;
        ~Delegating() { flag_ = false; }

    private:
        bool& flag_;
    };

    jet::Database& database_;
    OdbcLinks& links_;
    bool delegating_ = false;
    std::vector<Known> known_;
};

}  // namespace qmtrain::dao
