// TRANSFORM: a grouped select, and beside its columns one for each value of a further expression.
//
// Two selects make it: the one that is written, for the rows, and one that groups by the pivot as well, for the cells.
// A cell belongs to the row whose groups have the same values.
#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "sql/binding/binder.h"
#include "sql/expressions/key.h"
#include "sql/print.h"
#include "sql/running/crosstab.h"
#include "sql/values.h"

namespace qmtrain::sql {
namespace {

ast::SelectItem ItemOf(const ast::Expression& expression) {
    ast::SelectItem item;
    item.expression = CopyOf(expression);
    return item;
}

// The select that is written, with its groups as further columns.
ast::Select RowsSelect(const ast::Select& select) {
    ast::Select rows = CopyOf(select);
    for (const ast::ExpressionPtr& key : select.parts[0].group_by) rows.parts[0].items.push_back(ItemOf(*key));
    return rows;
}

ast::Select CellsSelect(const ast::Select& select) {
    ast::Select cells = CopyOf(select);
    ast::SelectPart& part = cells.parts[0];
    cells.order_by.clear();
    part.having = nullptr;
    part.top.reset();
    part.items.clear();
    for (const ast::ExpressionPtr& key : select.parts[0].group_by) part.items.push_back(ItemOf(*key));
    part.items.push_back(ItemOf(*select.crosstab->pivot));
    part.items.push_back(ItemOf(*select.crosstab->value));
    part.group_by.push_back(CopyOf(*select.crosstab->pivot));
    return cells;
}

// Those that are written, else those that there are, Null before all.
std::vector<Value> HeadingsOf(BindContext& context, const ast::Crosstab& crosstab, Plan& cells, std::size_t groups) {
    std::vector<Value> headings;
    if (!crosstab.headings.empty()) {
        Scope scope(nullptr);
        ExpressionBinder binder(context, scope);
        for (const ast::ExpressionPtr& heading : crosstab.headings)
            headings.push_back(binder.Bind(*heading)->Evaluate());
        return headings;
    }
    KeyTable seen;
    std::vector<std::uint8_t> key;
    cells.Start();
    while (cells.root->Next()) {
        const Value& heading = cells.outputs[groups].expression->Evaluate();
        bool added = false;
        key.clear();
        AppendKey(heading, key, true);
        seen.FindOrAdd(key, added);
        if (added) headings.push_back(heading);
    }
    std::ranges::sort(headings, [](const Value& a, const Value& b) {
        return a.IsNull() || b.IsNull() ? a.IsNull() && !b.IsNull() : CompareValues(a, b) < 0;
    });
    return headings;
}

}  // namespace

std::unique_ptr<Plan> BindCrosstab(BindContext& context, const ast::Select& select) {
    constexpr std::size_t kMostColumns = 255;
    const std::size_t groups = select.parts[0].group_by.size();
    auto rows = BindSelect(context, RowsSelect(select), nullptr);
    auto cells = BindSelect(context, CellsSelect(select), nullptr);
    const std::vector<Value> headings = HeadingsOf(context, *select.crosstab, *cells, groups);
    const std::size_t own = rows->outputs.size() - groups;
    if (own + headings.size() > kMostColumns) Raise(ErrorNumber::TooManyFields, {u"TRANSFORM"});

    auto plan = std::make_unique<Plan>();
    plan->depth = std::max(rows->depth, cells->depth);
    plan->outputs.resize(own + headings.size());
    std::vector<ColumnInfo> infos;
    for (std::size_t i = 0; i < plan->outputs.size(); ++i) {
        const PlanOutput& from = i < own ? rows->outputs[i] : cells->outputs[groups + 1];
        OutputColumn& column = plan->outputs[i].column;
        column = from.column;
        column.table = column.column = -1;
        if (i >= own) column.name = headings[i - own].IsNull() ? u"<>" : ToText(headings[i - own]);
        infos.push_back({column.name, from.expression->Type(), ShapeOf(column)});
    }
    auto source = std::make_unique<RowsSource>(std::move(infos));
    for (std::size_t i = 0; i < plan->outputs.size(); ++i)
        plan->outputs[i].expression = std::make_unique<SlotExpression>(*source, static_cast<int>(i));
    plan->root = std::make_unique<CrosstabRows>(*source, std::move(rows), std::move(cells), groups, headings);
    plan->sources.push_back(std::move(source));
    return plan;
}

}  // namespace qmtrain::sql
