// TRANSFORM: a grouped select, and beside its columns one for each value of a further expression.
//
// Two selects make it: the one that is written, for the rows, and one that groups by the pivot as well, for the cells.
// A cell belongs to the row whose groups have the same values.
#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "sql/aggregate_calls.h"
#include "sql/binding/binder.h"
#include "sql/expression_parts.h"
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

// Null in the place of aggregates and of the pivot: neither has a value where a cell has no rows.
void Blank(ast::ExpressionPtr& expression, const std::u16string& pivot) {
    if (IsAggregate(*expression) || Print(*expression) == pivot)
        expression = std::make_unique<ast::Literal>(Value(Null{}));
    else
        ForParts(*expression, [&](ast::ExpressionPtr& part) { Blank(part, pivot); });
}

// Whether cells without rows may show another value than Null, as those of "Nz(Sum(x), 0)" do.
bool FillsCells(const ast::Crosstab& crosstab) {
    return !IsAggregate(*crosstab.value) && ContainsAggregate(*crosstab.value);
}

// The select that is written, with its groups as further columns, and the value of a cell without rows.
ast::Select RowsSelect(const ast::Select& select) {
    ast::Select rows = CopyOf(select);
    std::vector<ast::SelectItem>& items = rows.parts[0].items;
    const std::size_t own = items.size();
    for (const ast::ExpressionPtr& key : select.parts[0].group_by) items.push_back(ItemOf(*key));
    if (FillsCells(*select.crosstab)) {
        items.push_back(ItemOf(*select.crosstab->value));
        Blank(items.back().expression, Print(*select.crosstab->pivot));
    }
    // Names of their own, which cannot clash with the written ones.
    for (std::size_t i = own; i < items.size(); ++i) items[i].alias = u"~" + ToText(i);
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

// A heading that is written, as the pivot has it. Raises CriteriaTypeMismatch for what the pivot never is.
Value AsPivot(const Value& heading, Value::Type pivot) {
    if (pivot == Value::Type::Text) return heading.IsNull() ? heading : Value(ToText(heading));
    // A Single is not what is written, but what comes nearest to it.
    const bool may_differ = heading.IsText() || (pivot == Value::Type::Single && !heading.IsNull());
    if (!may_differ || FamilyOf(pivot) != Family::Number) return heading;
    try {
        if (pivot == Value::Type::Date) return ToDate(heading);
        const bool wide = pivot != Value::Type::Boolean && pivot != Value::Type::Single && IsExactAsDouble(pivot);
        return Convert(heading, wide ? Value::Type::Double : pivot);
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::TypeMismatch)) throw;
        Raise(ErrorNumber::CriteriaTypeMismatch, {heading.Text()});
    }
}

std::vector<Value> WrittenHeadings(BindContext& context, const ast::Crosstab& crosstab) {
    std::vector<Value> headings;
    Scope scope(nullptr);
    ExpressionBinder binder(context, scope);
    for (const ast::ExpressionPtr& heading : crosstab.headings) headings.push_back(binder.Bind(*heading)->Evaluate());
    return headings;
}

// The headings that occur, Null first.
std::vector<Value> FoundHeadings(Plan& cells, std::size_t groups) {
    std::vector<Value> headings;
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
    const bool written = !select.crosstab->headings.empty();
    std::vector<Value> headings = written ? WrittenHeadings(context, *select.crosstab) : FoundHeadings(*cells, groups);
    const bool fills = FillsCells(*select.crosstab);
    const std::size_t own = rows->outputs.size() - groups - (fills ? 1 : 0);
    if (own + headings.size() > kMostColumns) Raise(ErrorNumber::TooManyFields, {u"TRANSFORM"});

    auto plan = std::make_unique<Plan>();
    plan->depth = std::max(rows->depth, cells->depth);
    plan->outputs.resize(own + headings.size());
    std::vector<ColumnInfo> infos;
    for (std::size_t i = 0; i < plan->outputs.size(); ++i) {
        const PlanOutput& from = i < own ? rows->outputs[i] : cells->outputs[groups + 1];
        OutputColumn& column = plan->outputs[i].column;
        column = from.column;
        column.table = column.column = kNoPosition;
        if (i >= own) column.name = headings[i - own].IsNull() ? u"<>" : ToText(headings[i - own]);
        infos.push_back({column.name, from.expression->Type(), DataTypeOf(column)});
    }
    const Value::Type pivot = cells->outputs[groups].expression->Type();
    KeyTable given;
    for (Value& heading : headings) {
        heading = AsPivot(heading, pivot);
        std::vector<std::uint8_t> key;
        bool added = false;
        AppendKey(heading, key, true);
        given.FindOrAdd(key, added);
        if (!added) Raise(ErrorNumber::FieldExists, {heading.IsNull() ? u"<>" : ToText(heading)});
    }
    auto source = std::make_unique<RowsSource>(std::move(infos));
    std::vector<SlotExpression>& columns = plan->OwnColumns(*source);
    for (std::size_t i = 0; i < plan->outputs.size(); ++i) plan->outputs[i].expression = &columns[i];
    plan->root = std::make_unique<CrosstabRows>(*source, std::move(rows), std::move(cells), groups, fills, headings);
    plan->sources.push_back(std::move(source));
    return plan;
}

}  // namespace qmtrain::sql
