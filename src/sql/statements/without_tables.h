// Binding of expressions that stand alone, as a column's default and rule do.
#pragma once

#include "sql/binding/binder.h"

namespace qmtrain::sql {

class NoTables : public Catalog {
public:
    std::shared_ptr<Table> FindTable(std::u16string_view) override { return nullptr; }
    std::optional<std::u16string> FindQuery(std::u16string_view) override { return std::nullopt; }
    void CreateTable(const TableSchema&) override {}
    void DropTable(std::u16string_view) override {}
    void CreateIndex(std::u16string_view, const Index&) override {}
    void DropIndex(std::u16string_view, std::u16string_view) override {}
    void AddColumn(std::u16string_view, const Column&) override {}
    void DropColumn(std::u16string_view, std::u16string_view) override {}
    void AddReference(std::u16string_view, const Reference&) override {}
};

// Every name in them must be one of the scope.
class WithoutTables {
public:
    ExpressionPtr Bind(const ast::Expression& expression, Scope& scope) {
        return ExpressionBinder(context_, scope).Bind(expression);
    }

private:
    const ast::Statement no_statement_{};
    const ParameterValues no_values_{};
    NoTables catalog_;
    Parameters parameters_{no_statement_, no_values_};
    BindContext context_{catalog_, parameters_};
};

}  // namespace qmtrain::sql
