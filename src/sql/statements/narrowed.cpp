// A record set's filter and order, put into the select that its rows come from.
#include <algorithm>

#include "core/error.h"
#include "sql/parse/parser.h"
#include "sql/sql.h"

namespace qmtrain::sql {
namespace {

using ast::Select;

// A condition in the select itself says the same as one over its rows, and its rows stay those of tables.
bool IsPlain(const Select& select) {
    const ast::SelectPart& part = select.parts.front();
    const bool grouped = !part.group_by.empty() || part.having != nullptr;
    const auto renames = [](const ast::SelectItem& item) { return !item.alias.empty(); };
    return select.crosstab == nullptr && select.parts.size() == 1 && !grouped && !part.distinct && !part.top &&
           !part.from.empty() && std::ranges::none_of(part.items, renames);
}

Select RowsOf(Select select) {
    Select around;
    ast::DerivedTable derived;
    derived.select = std::make_unique<Select>(std::move(select));
    derived.alias = u"Rows";
    ast::SelectPart& part = around.parts.emplace_back();
    part.items.emplace_back().star = true;
    part.from.emplace_back().node = std::move(derived);
    return around;
}

}  // namespace

Statement Narrowed(const Statement& statement, std::u16string_view condition, std::u16string_view order) {
    const std::u16string text = statement.ToSql();
    std::unique_ptr<ast::Statement> tree = Parser(text).ParseStatement();
    auto& select = std::get<Select>(tree->node);
    if (!IsPlain(select)) select = RowsOf(std::move(select));
    if (!condition.empty()) {
        ast::ExpressionPtr added = Parser(condition).ParseWholeExpression();
        ast::ExpressionPtr& where = select.parts.front().where;
        where = where == nullptr
                    ? std::move(added)
                    : std::make_unique<ast::Binary>(ast::BinaryOperator::And, std::move(where), std::move(added));
    }
    if (!order.empty()) {
        const std::u16string ordered = u"SELECT * FROM [Rows] ORDER BY " + std::u16string(order);
        Parser parser(ordered);
        std::unique_ptr<ast::Statement> other = parser.ParseStatement();
        parser.ExpectEnd();
        select.order_by = std::move(std::get<Select>(other->node).order_by);
    }
    return sql::Statement(std::move(tree));
}

}  // namespace qmtrain::sql
