// TRANSFORM: a grouped select, and beside its columns one for each value of a further expression.
//
// Two selects make it: the one that is written, for the rows, and one that groups by the pivot as well, for the cells.
// A cell belongs to the row whose groups have the same values.
#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "sql/binder.h"
#include "sql/key.h"
#include "sql/operators.h"
#include "sql/parser.h"
#include "sql/printer.h"

namespace qmtrain::sql {
namespace {

class CrosstabRows : public RowOperator {
public:
    // Both selects show the row's groups: `rows` behind its columns, `cells` before the pivot and the value.
    CrosstabRows(RowsSource& source, std::unique_ptr<Plan> rows, std::unique_ptr<Plan> cells, std::size_t groups,
                 const std::vector<Value>& headings)
        : source_(source), rows_(std::move(rows)), cells_(std::move(cells)), groups_(groups), width_(headings.size()) {
        bool added = false;
        for (const Value& heading : headings) {
            key_.clear();
            AppendKey(heading, key_, true);
            headings_.FindOrAdd(key_, added);
        }
    }

    void Open() override {
        source_.Clear();
        ReadCells();
        rows_->Start();
    }

    bool Next() override {
        steps_.Next();
        if (!rows_->root->Next()) return false;
        const std::size_t columns = rows_->outputs.size() - groups_;
        Value* row = source_.Rows().Add();
        for (std::size_t i = 0; i < columns; ++i) row[i] = rows_->outputs[i].expression->Evaluate();
        SetKey(*rows_, columns);
        const std::uint32_t number = keys_.Find(key_);
        for (std::size_t i = 0; i < width_; ++i)
            row[columns + i] = number == KeyTable::kNone ? Value(Null{}) : values_[number * width_ + i];
        source_.Restore(static_cast<Place>(source_.Rows().Size()));
        return true;
    }

    void Explain(Explanation& out) const override {
        out.Add(u"crosstab", *this);
        out.AddChild(*rows_->root);
        out.AddChild(*cells_->root);
    }

private:
    void SetKey(Plan& plan, std::size_t first) {
        key_.clear();
        for (std::size_t i = 0; i < groups_; ++i) AppendKey(plan.outputs[first + i].expression->Evaluate(), key_, true);
    }

    void ReadCells() {
        keys_.Clear();
        values_.clear();
        beside_ = 0;
        cells_->Start();
        while (cells_->root->Next()) {
            steps_.Next();
            bool added = false;
            SetKey(*cells_, 0);
            const std::uint32_t row = keys_.FindOrAdd(key_, added);
            if (added) values_.resize(values_.size() + width_, Value(Null{}));
            key_.clear();
            AppendKey(cells_->outputs[groups_].expression->Evaluate(), key_, true);
            const std::uint32_t heading = headings_.Find(key_);
            if (heading != KeyTable::kNone) {
                const Value& value = cells_->outputs[groups_ + 1].expression->Evaluate();
                values_[row * width_ + heading] = value;
                beside_ += BytesBeside(value);
            }
            held_.Cover(values_.capacity() * sizeof(Value) + beside_);
        }
    }

    RowsSource& source_;
    std::unique_ptr<Plan> rows_;
    std::unique_ptr<Plan> cells_;
    std::size_t groups_;
    std::size_t width_;
    KeyTable headings_;
    KeyTable keys_;
    std::vector<Value> values_;  // as many as headings for each key
    std::size_t beside_ = 0;     // the bytes of their texts
    HeldMemory held_;
    std::vector<std::uint8_t> key_;
    WorkSteps steps_;
};

ast::ExpressionPtr CopyOf(const ast::Expression& expression) {
    const std::u16string text = Print(expression);
    return Parser(text).ParseWholeExpression();
}

ast::SelectItem ItemOf(const ast::Expression& expression) {
    ast::SelectItem item;
    item.expression = CopyOf(expression);
    return item;
}

// The select that is written, with its groups as further columns.
std::unique_ptr<ast::Statement> RowsSelect(const ast::Select& select) {
    const std::u16string text = PrintRows(select);
    auto statement = Parser(text).ParseStatement();
    for (const ast::ExpressionPtr& key : select.parts[0].group_by)
        std::get<ast::Select>(statement->node).parts[0].items.push_back(ItemOf(*key));
    return statement;
}

std::unique_ptr<ast::Statement> CellsSelect(const ast::Select& select) {
    const std::u16string text = PrintRows(select);
    auto statement = Parser(text).ParseStatement();
    auto& cells = std::get<ast::Select>(statement->node);
    ast::SelectPart& part = cells.parts[0];
    cells.order_by.clear();
    part.having = nullptr;
    part.top.reset();
    part.items.clear();
    for (const ast::ExpressionPtr& key : select.parts[0].group_by) part.items.push_back(ItemOf(*key));
    part.items.push_back(ItemOf(*select.crosstab->pivot));
    part.items.push_back(ItemOf(*select.crosstab->value));
    part.group_by.push_back(CopyOf(*select.crosstab->pivot));
    return statement;
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
    const auto rows_tree = RowsSelect(select);
    const auto cells_tree = CellsSelect(select);
    const std::size_t groups = select.parts[0].group_by.size();
    auto rows = BindSelect(context, std::get<ast::Select>(rows_tree->node), nullptr);
    auto cells = BindSelect(context, std::get<ast::Select>(cells_tree->node), nullptr);
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
