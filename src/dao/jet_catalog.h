// Jet tables in the form in which the SQL room wants them.
#pragma once

#include <memory>
#include <vector>

#include "jet/database.h"
#include "sql/storage.h"

namespace qmtrain::dao {

struct Layout;

class JetCatalog : public sql::Catalog {
public:
    explicit JetCatalog(jet::Database& database) : database_(database) {}

    std::shared_ptr<sql::Table> FindTable(std::u16string_view name) override;
    std::optional<std::u16string> FindQuery(std::u16string_view name) override;
    void CreateTable(const sql::TableDefinition& definition) override;
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
    void CopyColumn(std::u16string_view table, int from, const sql::Column& wanted);

    // What has been made of a table, for as long as the table lives.
    struct Known {
        std::weak_ptr<jet::Table> table;
        std::shared_ptr<const Layout> layout;
    };

    jet::Database& database_;
    std::vector<Known> known_;
};

}  // namespace qmtrain::dao
