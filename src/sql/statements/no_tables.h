// A catalogue without tables, for expressions that know none.
#pragma once

#include "sql/storage.h"

namespace qmtrain::sql {

class NoTables : public Catalog {
public:
    std::shared_ptr<Table> FindTable(std::u16string_view) override { return nullptr; }
    std::optional<std::u16string> FindQuery(std::u16string_view) override { return std::nullopt; }
    void CreateTable(const TableDefinition&) override {}
    void DropTable(std::u16string_view) override {}
    void CreateIndex(std::u16string_view, const Index&) override {}
    void DropIndex(std::u16string_view, std::u16string_view) override {}
    void AddColumn(std::u16string_view, const Column&) override {}
    void DropColumn(std::u16string_view, std::u16string_view) override {}
    void AddReference(std::u16string_view, const Reference&) override {}
};

}  // namespace qmtrain::sql
