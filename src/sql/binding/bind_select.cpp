// SELECT: its FROM clause, conditions, groups, columns and order.
#include "sql/binding/bind_select.h"

#include <algorithm>
#include <utility>

#include "core/error.h"
#include "core/text.h"
#include "sql/aggregate_calls.h"
#include "sql/expressions/make_expression.h"
#include "sql/planning/select_planner.h"

namespace qmtrain::sql {
namespace {

class SelectBinder {
public:
    SelectBinder(BindContext& context, const ast::SelectPart& part, const std::vector<ast::OrderItem>& order_by,
                 Scope* parent)
        : part_(part), order_by_(order_by), context_(context), scope_(parent), binder_(context, scope_) {
        select_.distinct = part.distinct;
        select_.distinct_row = part.distinct_row;
        select_.top = part.top;
    }

    std::unique_ptr<Plan> Run() {
        select_.joins = BindFrom(context_, part_.from, scope_, *plan_);
        if (part_.where != nullptr) binder_.BindConjuncts(*part_.where, *plan_, select_.where);
        if (IsGrouped()) BindGroupKeys();
        binder_.SetAliases(&part_.items);
        BindOutputs();
        select_.having = BindHaving();
        BindOrder();
        scope_.grouping = nullptr;

        FinishOutputs();

        select_.tables = scope_.Sources();
        select_.aggregates = std::move(grouping_.aggregates);
        PlanSelect(*plan_, select_);
        plan_->correlated = scope_.outer_used;
        return std::move(plan_);
    }

private:
    bool IsGrouped() const {
        if (!part_.group_by.empty() || part_.having != nullptr) return true;
        const auto aggregates = [](const auto& item) {
            return item.expression != nullptr && ContainsAggregate(*item.expression);
        };
        return std::ranges::any_of(part_.items, aggregates) || std::ranges::any_of(order_by_, aggregates);
    }

    void BindGroupKeys() {
        select_.grouped = true;
        std::vector<ColumnInfo> columns;
        for (const ast::ExpressionPtr& item : part_.group_by) {
            ExpressionPtr key = binder_.Bind(*item);
            grouping_.key_texts.push_back(scope_.CanonicalText(*item));
            columns.push_back({{}, key->Type(), key->GetDataType()});
            select_.keys.push_back(plan_->Own(std::move(key)));
        }
        auto output = std::make_unique<RowsSource>(std::move(columns));
        grouping_.output = output.get();
        grouping_.plan = plan_.get();
        select_.groups = output.get();
        plan_->sources.push_back(std::move(output));
        scope_.grouping = &grouping_;
    }

    void BindOutputs() {
        plan_->outputs.reserve(part_.items.size());
        for (const ast::SelectItem& item : part_.items) {
            if (item.star)
                AddStar(item);
            else
                AddOutput(item);
        }
    }

    bool HasSeveralTables() const { return scope_.Entries().size() > 1; }

    void AddStar(const ast::SelectItem& item) {
        bool found = false;
        if (select_.grouped) Raise(ErrorNumber::AggregateMissing, {u"*"});
        for (const Scope::Entry& entry : scope_.Entries()) {
            if (!item.table.empty() && !EqualNames(entry.name, item.table)) continue;
            found = true;
            const std::vector<ColumnInfo>& columns = entry.source->Columns();
            plan_->outputs.reserve(plan_->outputs.size() + columns.size());
            std::vector<SlotExpression>& expressions = plan_->OwnColumns(*entry.source);
            for (std::size_t i = 0; i < columns.size(); ++i) {
                PlanOutput& output = plan_->outputs.emplace_back();
                output.column.name = std::u16string(columns[i].name);
                output.expression = &expressions[i];
                if (HasSeveralTables()) qualified_names_.push_back(QualifiedName(entry, columns[i].name));
            }
        }
        if (!found) Raise(item.table.empty() ? ErrorNumber::SyntaxInSelect : ErrorNumber::NoSuchTable, {item.table});
    }

    static std::u16string QualifiedName(const Scope::Entry& entry, std::u16string_view column) {
        std::u16string name = entry.name;
        name += u'.';
        return name += column;
    }

    void AddOutput(const ast::SelectItem& item) {
        PlanOutput output;
        output.expression = plan_->Own(binder_.Bind(*item.expression));
        std::u16string qualified;
        if (!item.alias.empty()) {
            output.column.name = item.alias;
        } else if (item.expression->kind == ast::ExpressionKind::ColumnName) {
            const auto& name = As<ast::ColumnName>(*item.expression);
            Scope::Match match;
            const bool own = scope_.Find(name, match);
            output.column.name = own ? ColumnNameOf(match) : name.name;
            if (own && HasSeveralTables()) {
                qualified = QualifiedName(scope_.Entries()[match.entry], output.column.name);
            }
        } else {
            constexpr std::int64_t kFirstNumber = 1000;
            output.column.name = u"Expr" + ToText(kFirstNumber + static_cast<std::int64_t>(plan_->outputs.size()));
        }
        plan_->outputs.push_back(std::move(output));
        if (HasSeveralTables()) qualified_names_.push_back(std::move(qualified));
    }

    std::u16string_view ColumnNameOf(const Scope::Match& match) const {
        return scope_.Entries()[match.entry].source->ColumnAt(match.column).name;
    }

    Expression* BindHaving() {
        if (part_.having == nullptr) return nullptr;
        ExpressionPtr having = binder_.Bind(*part_.having);
        CheckComparable(having->Type(), Value::Type::Boolean);
        return plan_->Own(std::move(having));
    }

    void BindOrder() {
        for (const ast::OrderItem& item : order_by_) select_.order.push_back({BindOrderItem(item), item.descending});
    }

    // A position, an alias, or an expression.
    Expression* BindOrderItem(const ast::OrderItem& item) {
        if (const auto ordinal = OrdinalOf(item, plan_->outputs.size())) {
            return plan_->outputs[*ordinal].expression;
        }
        if (item.expression->kind == ast::ExpressionKind::ColumnName) {
            const auto& name = As<ast::ColumnName>(*item.expression);
            if (Expression* output = FindAlias(name)) return output;
        }
        return plan_->Own(binder_.Bind(*item.expression));
    }

    Expression* FindAlias(const ast::ColumnName& name) const {
        if (!name.table.empty()) return nullptr;
        std::size_t output = 0;
        for (const ast::SelectItem& item : part_.items) {
            if (item.star) return nullptr;
            if (!item.alias.empty() && EqualNames(item.alias, name.name)) return plan_->outputs[output].expression;
            ++output;
        }
        return nullptr;
    }

    void FinishOutputs() {
        for (std::size_t i = 0; i < plan_->outputs.size(); ++i) {
            PlanOutput& output = plan_->outputs[i];
            SetDataType(output.column, output.expression->GetDataType());
            const SlotExpression* column = output.expression->AsColumn();
            if (column == nullptr || select_.grouped) continue;
            const auto& sources = plan_->table_sources;
            const auto place = std::ranges::find(sources, &column->GetSource());
            if (place == sources.end()) continue;
            output.column.table = place - sources.begin();
            output.column.column = column->GetColumn();
        }
        QualifyDuplicates();
    }

    // Columns of one name from two tables are told apart by their tables' names.
    void QualifyDuplicates() {
        if (!HasSeveralTables()) return;
        std::vector<std::u16string> folded;
        for (const PlanOutput& output : plan_->outputs) folded.push_back(FoldName(output.column.name));
        for (std::size_t i = 0; i < folded.size(); ++i) {
            if (qualified_names_[i].empty()) continue;
            if (std::ranges::count(folded, folded[i]) < 2) continue;
            plan_->outputs[i].column.name = qualified_names_[i];
            plan_->outputs[i].column.qualified = true;
        }
    }

    const ast::SelectPart& part_;
    const std::vector<ast::OrderItem>& order_by_;
    BindContext& context_;
    Scope scope_;
    ExpressionBinder binder_;
    std::unique_ptr<Plan> plan_ = std::make_unique<Plan>();

    BoundSelect select_;
    Grouping grouping_;
    std::vector<std::u16string> qualified_names_;  // of the outputs, when there are several tables
};

}  // namespace

std::optional<std::size_t> OrdinalOf(const ast::OrderItem& item, std::size_t outputs) {
    if (item.expression->kind != ast::ExpressionKind::Literal) return std::nullopt;
    const Value& value = As<ast::Literal>(*item.expression).value;
    if (value.GetType() != Value::Type::Long) return std::nullopt;
    const std::int32_t ordinal = value.As<std::int32_t>();
    if (ordinal < 1 || ordinal > static_cast<std::int32_t>(outputs)) Raise(ErrorNumber::SyntaxInOrderBy);
    return static_cast<std::size_t>(ordinal - 1);
}

std::unique_ptr<Plan> BindPart(BindContext& context, const ast::SelectPart& part,
                               const std::vector<ast::OrderItem>& order_by, Scope* parent) {
    return SelectBinder(context, part, order_by, parent).Run();
}

std::unique_ptr<Plan> BindSelect(BindContext& context, const ast::Select& written, Scope* parent) {
    if (written.crosstab != nullptr) return BindCrosstab(context, written);
    const auto delegated = parent == nullptr ? context.catalog.Delegate(written) : nullptr;
    const ast::Select& select = delegated != nullptr ? *delegated : written;
    const int depth_before = std::exchange(context.depth, 0);
    const int deepest_before = std::exchange(context.deepest, 0);
    std::unique_ptr<Plan> plan = select.parts.size() > 1 ? BindUnion(context, select, parent)
                                                         : BindPart(context, select.parts[0], select.order_by, parent);
    plan->depth = context.deepest + 1;
    context.depth = depth_before;
    context.deepest = deepest_before;
    context.Reach(plan->depth);
    return plan;
}

}  // namespace qmtrain::sql
