// SELECT as a whole: from the join of its tables up to TOP.
#include <algorithm>
#include <set>
#include <utility>

#include "core/error.h"
#include "core/text.h"
#include "sql/aggregate_calls.h"
#include "sql/binding/binder.h"
#include "sql/expressions/make_expression.h"
#include "sql/planning/editable_join.h"
#include "sql/planning/index_choice.h"
#include "sql/planning/join_planner.h"
#include "sql/running/group.h"
#include "sql/running/index_ends.h"
#include "sql/running/limit.h"
#include "sql/running/sort.h"
#include "sql/running/table_access.h"
#include "sql/running/union.h"

namespace qmtrain::sql {
namespace {

void SetShape(OutputColumn& column, const Shape& shape) {
    column.type = shape.type;
    column.size = shape.size;
    column.precision = shape.precision;
    column.scale = shape.scale;
}

std::vector<Expression*> OutputExpressions(const Plan& plan) {
    std::vector<Expression*> expressions;
    for (const PlanOutput& output : plan.outputs) expressions.push_back(output.expression.get());
    return expressions;
}

// Number of the output that an ORDER BY item names by position, -1 when it does not.
int OrdinalOf(const ast::OrderItem& item, std::size_t outputs) {
    if (item.expression->kind != ast::ExpressionKind::Literal) return -1;
    const Value& value = static_cast<const ast::Literal&>(*item.expression).value;
    if (value.GetType() != Value::Type::Long) return -1;
    const std::int32_t ordinal = value.As<std::int32_t>();
    if (ordinal < 1 || ordinal > static_cast<std::int32_t>(outputs)) Raise(ErrorNumber::SyntaxInOrderBy);
    return ordinal - 1;
}

// ---- one SELECT ----

class PartBinder {
public:
    PartBinder(BindContext& context, const ast::SelectPart& part, const std::vector<ast::OrderItem>& order_by,
               Scope* parent)
        : part_(part), order_by_(order_by), context_(context), scope_(parent), binder_(context, scope_) {}

    std::unique_ptr<Plan> Run() {
        joins_ = BindFrom(context_, part_.from, scope_, *plan_);
        if (part_.where != nullptr) binder_.BindConjuncts(*part_.where, *plan_, where_);
        if (IsGrouped()) BindGroupKeys();
        binder_.SetAliases(&part_.items);
        BindOutputs();
        Expression* having = BindHaving();
        BindOrder();
        scope_.grouping = nullptr;

        if (CanBeEdited()) FindEditable();
        PlanRows();
        if (grouped_) AddGroup(having);
        FinishOutputs();
        AddDistinct();
        AddOrderAndTop();
        plan_->correlated = scope_.outer_used;
        return std::move(plan_);
    }

private:
    // ---- binding ----

    bool IsGrouped() const {
        if (!part_.group_by.empty() || part_.having != nullptr) return true;
        const auto aggregates = [](const auto& item) { return ContainsAggregate(item.expression); };
        return std::ranges::any_of(part_.items, aggregates) || std::ranges::any_of(order_by_, aggregates);
    }

    void BindGroupKeys() {
        grouped_ = true;
        std::vector<ColumnInfo> columns;
        for (const ast::ExpressionPtr& item : part_.group_by) {
            ExpressionPtr key = binder_.Bind(*item);
            grouping_.key_texts.push_back(scope_.CanonicalText(*item));
            columns.push_back({{}, key->Type(), key->GetShape()});
            keys_.push_back(plan_->Own(std::move(key)));
        }
        auto output = std::make_unique<RowsSource>(std::move(columns));
        grouping_.output = output.get();
        grouping_.plan = plan_.get();
        group_source_ = output.get();
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
        if (grouped_) Raise(ErrorNumber::AggregateMissing, {u"*"});
        for (const Scope::Entry& entry : scope_.Entries()) {
            if (!item.table.empty() && !EqualNames(entry.name, item.table)) continue;
            found = true;
            const std::vector<ColumnInfo>& columns = entry.source->Columns();
            plan_->outputs.reserve(plan_->outputs.size() + columns.size());
            for (std::size_t i = 0; i < columns.size(); ++i) {
                PlanOutput& output = plan_->outputs.emplace_back();
                output.column.name = columns[i].name;
                output.expression = std::make_unique<SlotExpression>(*entry.source, static_cast<int>(i));
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
        output.expression = binder_.Bind(*item.expression);
        std::u16string qualified;
        if (!item.alias.empty()) {
            output.column.name = item.alias;
        } else if (item.expression->kind == ast::ExpressionKind::ColumnName) {
            const auto& name = static_cast<const ast::ColumnName&>(*item.expression);
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
        return scope_.Entries()[match.entry].source->Columns()[static_cast<std::size_t>(match.column)].name;
    }

    Expression* BindHaving() {
        if (part_.having == nullptr) return nullptr;
        ExpressionPtr having = binder_.Bind(*part_.having);
        CheckComparable(having->Type(), Value::Type::Boolean);
        return plan_->Own(std::move(having));
    }

    void BindOrder() {
        for (const ast::OrderItem& item : order_by_) order_.push_back({BindOrderItem(item), item.descending});
    }

    // A position, an alias, or an expression.
    Expression* BindOrderItem(const ast::OrderItem& item) {
        const int ordinal = OrdinalOf(item, plan_->outputs.size());
        if (ordinal >= 0) return plan_->outputs[static_cast<std::size_t>(ordinal)].expression.get();
        if (item.expression->kind == ast::ExpressionKind::ColumnName) {
            const auto& name = static_cast<const ast::ColumnName&>(*item.expression);
            if (Expression* output = FindAlias(name)) return output;
        }
        return plan_->Own(binder_.Bind(*item.expression));
    }

    Expression* FindAlias(const ast::ColumnName& name) const {
        if (!name.table.empty()) return nullptr;
        std::size_t output = 0;
        for (const ast::SelectItem& item : part_.items) {
            if (item.star) return nullptr;
            if (!item.alias.empty() && EqualNames(item.alias, name.name))
                return plan_->outputs[output].expression.get();
            ++output;
        }
        return nullptr;
    }

    // ---- rows ----

    void PlanRows() {
        if (joins_ == nullptr) {
            // Without tables a condition still counts.
            std::vector<Expression*> tests;
            for (const Conjunct& conjunct : where_) tests.push_back(conjunct.test);
            plan_->root = std::make_unique<Filter>(std::make_unique<SingleRow>(), std::move(tests));
            return;
        }
        RowsWish wish;
        if (!grouped_ && !part_.distinct) {
            wish.order = order_;
            if (part_.top && !part_.top->percent) wish.limit = static_cast<std::size_t>(part_.top->count);
        }
        wish.count = grouped_ && OnlyCounts();
        JoinPlan joins = PlanJoins(*plan_, scope_.Sources(), *joins_, where_, wish);
        plan_->root = std::move(joins.rows);
        ordered_ = joins.ordered;
        if (where_.empty()) UseIndexAlone();
    }

    // The table when there is but one.
    TableSource* OnlyTable() const {
        return scope_.Entries().size() == 1 ? dynamic_cast<TableSource*>(scope_.Entries()[0].source) : nullptr;
    }

    // Nothing of the table counts but which values one column has: an index can jump from one to the next.
    void UseIndexAlone() {
        TableSource* source = OnlyTable();
        const bool only_values = grouped_ ? grouping_.aggregates.empty() && !keys_.empty() : part_.distinct;
        if (source == nullptr || !only_values || source->SlotCount() != 1) return;
        Table& table = *source->GetTable();
        const int index = IndexOrderedBy(table, source->ColumnOfSlot(0));
        if (index < 0 || table.Indexes()[static_cast<std::size_t>(index)].ignore_nulls) return;
        const double keys = table.DistinctKeys(index);
        if (keys < 1 || keys * kSeekCost > static_cast<double>(table.EstimatedRows())) return;
        plan_->root = std::make_unique<DistinctAccess>(*source, index);
        plan_->root->SetEstimatedRows(keys);
        const auto rises = [&](const SortKey& key) {
            return !key.descending && AsColumnOf(key.expression, *source) != nullptr;
        };
        ordered_ = !grouped_ && !table.Indexes()[static_cast<std::size_t>(index)].columns[0].descending &&
                   AsColumnOf(plan_->outputs[0].expression.get(), *source) != nullptr &&
                   std::ranges::all_of(order_, rises);
    }

    void AddGroup(Expression* having) {
        TableSource* only = OnlyTable();
        const bool ends = keys_.empty() && where_.empty() && only != nullptr && !grouping_.aggregates.empty() &&
                          CanReadEnds(*only->GetTable(), *only, grouping_.aggregates);
        if (ends)
            plan_->root = std::make_unique<IndexEnds>(*only, *group_source_, grouping_.aggregates);
        else
            AddGroups();
        if (having != nullptr) {
            plan_->root = std::make_unique<Filter>(std::move(plan_->root), std::vector<Expression*>{having});
        }
    }

    void AddGroups() {
        auto group = std::make_unique<Group>(std::move(plan_->root), *group_source_, keys_, grouping_.aggregates);
        if (Source* source = CommonKeySource()) group->SetKeySource(*source);
        if (OnlyCounts()) group->SetOnlyCounts();
        plan_->root = std::move(group);
    }

    // The one table all keys belong to, if its rows are held in memory and come again and again.
    Source* CommonKeySource() const {
        TableSource* common = nullptr;
        for (const Expression* key : keys_) {
            const SlotExpression* column = key->AsColumn();
            auto* table = column != nullptr ? dynamic_cast<TableSource*>(&column->GetSource()) : nullptr;
            if (table == nullptr || !table->KeepsValues() || (common != nullptr && common != table)) return nullptr;
            common = table;
        }
        return common;
    }

    bool OnlyCounts() const {
        const auto counts = [](const Aggregate& aggregate) { return aggregate.Kind() == AggregateKind::CountRows; };
        return keys_.empty() && std::ranges::all_of(grouping_.aggregates, counts);
    }

    // The rows are those of tables, each as it is.
    bool CanBeEdited() const {
        const std::size_t tables = plan_->tables.size();
        const bool merged = part_.distinct || (part_.distinct_row && tables > 1);
        return !grouped_ && !merged && tables > 0 && plan_->sources.size() == tables &&
               std::ranges::all_of(plan_->tables, [](const auto& table) { return table->IsUpdatable(); });
    }

    void FindEditable() {
        if (plan_->tables.size() == 1) {
            plan_->editable = 0;
            return;
        }
        EditableJoin join = FindEditableJoin(plan_->table_sources, *joins_, where_);
        plan_->editable = join.table;
        plan_->lookups = std::move(join.lookups);
    }

    void AddDistinct() {
        if (part_.distinct) {
            plan_->root =
                std::make_unique<Distinct>(std::move(plan_->root), OutputExpressions(*plan_), std::vector<Source*>());
        } else if (part_.distinct_row && !grouped_) {
            AddDistinctRow();
        }
    }

    // DISTINCTROW looks at whole rows of the tables that columns are taken from, and means something only when that is
    // not all of them.
    void AddDistinctRow() {
        std::set<Source*> shown;
        for (const PlanOutput& output : plan_->outputs) {
            const SlotExpression* column = output.expression->AsColumn();
            auto* table = column != nullptr ? dynamic_cast<TableSource*>(&column->GetSource()) : nullptr;
            if (table == nullptr) return;
            shown.insert(table);
        }
        if (shown.size() == scope_.Entries().size()) return;
        plan_->root = std::make_unique<Distinct>(std::move(plan_->root), std::vector<Expression*>(),
                                                 std::vector<Source*>(shown.begin(), shown.end()));
    }

    std::vector<Source*> RowSources() const {
        if (grouped_) return {group_source_};
        return scope_.Sources();
    }

    // Groups come in the order of their keys, and distinct rows in that of their columns, when nothing else is said.
    std::vector<SortKey> SortKeys() const {
        std::vector<SortKey> keys = order_;
        if (grouped_) {
            for (std::size_t i = 0; i < keys_.size(); ++i) keys.push_back({group_keys_[i], false});
        } else if (part_.distinct && order_.empty()) {
            for (Expression* output : OutputExpressions(*plan_)) keys.push_back({output, false});
        }
        return keys;
    }

    void AddOrderAndTop() {
        for (std::size_t i = 0; grouped_ && i < keys_.size(); ++i) {
            group_keys_.push_back(plan_->Own(std::make_unique<SlotExpression>(*group_source_, static_cast<int>(i))));
        }
        const std::vector<SortKey> keys = SortKeys();
        const bool percent = part_.top && part_.top->percent;
        Sort* sort = nullptr;
        if ((!keys.empty() && !ordered_) || percent) {
            auto owned =
                std::make_unique<Sort>(std::move(plan_->root), RowSources(), ordered_ ? std::vector<SortKey>() : keys);
            sort = owned.get();
            plan_->root = std::move(owned);
        }
        if (part_.top) AddTop(sort);
    }

    void AddTop(Sort* sort) {
        const auto count = static_cast<std::size_t>(part_.top->count);
        std::vector<Expression*> ties;
        for (const SortKey& key : order_) ties.push_back(key.expression);
        if (sort != nullptr && !part_.top->percent) sort->SetLimit(count, ties.size());
        auto limit = std::make_unique<Limit>(std::move(plan_->root), count, std::move(ties));
        if (part_.top->percent) limit->SetPercent(*sort);
        plan_->root = std::move(limit);
    }

    // ---- what the columns are ----

    void FinishOutputs() {
        for (std::size_t i = 0; i < plan_->outputs.size(); ++i) {
            PlanOutput& output = plan_->outputs[i];
            SetShape(output.column, output.expression->GetShape());
            const SlotExpression* column = output.expression->AsColumn();
            if (column == nullptr || grouped_) continue;
            const auto& sources = plan_->table_sources;
            const auto place = std::ranges::find(sources, &column->GetSource());
            if (place == sources.end()) continue;
            output.column.table = static_cast<int>(place - sources.begin());
            output.column.column = column->GetColumn();
        }
        QualifyDoubles();
    }

    // Columns of one name from two tables are told apart by their tables' names.
    void QualifyDoubles() {
        if (!HasSeveralTables()) return;
        std::vector<std::u16string> folded;
        for (const PlanOutput& output : plan_->outputs) folded.push_back(FoldName(output.column.name));
        for (std::size_t i = 0; i < folded.size(); ++i) {
            if (qualified_names_[i].empty()) continue;
            if (std::ranges::count(folded, folded[i]) > 1) plan_->outputs[i].column.name = qualified_names_[i];
        }
    }

    const ast::SelectPart& part_;
    const std::vector<ast::OrderItem>& order_by_;
    BindContext& context_;
    Scope scope_;
    ExpressionBinder binder_;
    std::unique_ptr<Plan> plan_ = std::make_unique<Plan>();

    std::unique_ptr<JoinNode> joins_;
    std::vector<Conjunct> where_;
    std::vector<SortKey> order_;
    bool ordered_ = false;                         // the rows come in that order by themselves
    std::vector<std::u16string> qualified_names_;  // of the outputs, when there are several tables

    bool grouped_ = false;
    Grouping grouping_;
    RowsSource* group_source_ = nullptr;
    std::vector<Expression*> keys_;
    std::vector<Expression*> group_keys_;  // the keys again, of the groups' rows
};

// ---- UNION ----

class UnionBinder {
public:
    UnionBinder(BindContext& context, const ast::Select& select, Scope* parent)
        : context_(context), select_(select), parent_(parent) {}

    std::unique_ptr<Plan> Run() {
        BindParts();
        auto plan = std::make_unique<Plan>();
        for (const auto& part : parts_) plan->correlated = plan->correlated || part->correlated;
        auto source = std::make_unique<UnionSource>(std::move(parts_), Columns());
        plan->root = std::make_unique<UnionRows>(*source, DistinctUntil());
        AddOutputs(*plan, *source);
        AddOrder(*plan, *source);
        plan->sources.push_back(std::move(source));
        return plan;
    }

private:
    void BindParts() {
        static const std::vector<ast::OrderItem> kNoOrder;
        for (const ast::SelectPart& part : select_.parts) {
            parts_.push_back(PartBinder(context_, part, kNoOrder, parent_).Run());
            if (parts_.back()->outputs.size() != parts_.front()->outputs.size())
                Raise(ErrorNumber::ColumnCountMismatch);
        }
        for (const auto& part : parts_) TakeColumns(*part);
    }

    // As many digits behind the point as either has.
    static Shape WidestDecimal(const Shape& a, const Shape& b) {
        const auto scale = [](const Shape& shape) {
            constexpr int kOfCurrency = 4;
            return shape.type == ColumnType::Decimal    ? shape.scale
                   : shape.type == ColumnType::Currency ? kOfCurrency
                                                        : 0;
        };
        Shape widest = ShapeOf(Value::Type::Decimal);
        widest.scale = std::max(scale(a), scale(b));
        return widest;
    }

    // Types that have nothing in common meet as text.
    void TakeColumns(const Plan& part) {
        for (std::size_t i = 0; i < part.outputs.size(); ++i) {
            const PlanOutput& output = part.outputs[i];
            const Value::Type type = output.expression->Type();
            if (i == columns_.size()) {
                columns_.push_back({output.column.name, type, output.expression->GetShape()});
                continue;
            }
            ColumnInfo& column = columns_[i];
            Value::Type common = CommonType(column.type, type);
            if (common == Value::Type::Empty) common = Value::Type::Text;
            const bool same_shape = column.type == type && column.shape.type == output.column.type;
            if (common == Value::Type::Decimal)
                column.shape = WidestDecimal(column.shape, output.expression->GetShape());
            else if (same_shape)
                column.shape.size = std::max(column.shape.size, output.column.size);
            else
                column.shape = common == type          ? output.expression->GetShape()
                               : common == column.type ? column.shape
                                                       : ShapeOf(common);
            column.type = common;
        }
    }

    std::vector<ColumnInfo> Columns() { return std::move(columns_); }

    int DistinctUntil() const {
        for (std::size_t i = select_.parts.size(); i-- > 1;) {
            if (!select_.parts[i].union_all) return static_cast<int>(i);
        }
        return -1;
    }

    static void AddOutputs(Plan& plan, UnionSource& source) {
        for (std::size_t i = 0; i < source.Columns().size(); ++i) {
            PlanOutput output;
            output.column.name = source.Columns()[i].name;
            SetShape(output.column, source.Columns()[i].shape);
            output.expression = std::make_unique<SlotExpression>(source, static_cast<int>(i));
            plan.outputs.push_back(std::move(output));
        }
    }

    void AddOrder(Plan& plan, UnionSource& source) {
        Scope scope(nullptr);
        scope.Add({}, source);
        ExpressionBinder binder(context_, scope);
        std::vector<SortKey> keys;
        for (const ast::OrderItem& item : select_.order_by) {
            const int ordinal = OrdinalOf(item, plan.outputs.size());
            Expression* key = ordinal >= 0 ? plan.outputs[static_cast<std::size_t>(ordinal)].expression.get()
                                           : plan.Own(binder.Bind(*item.expression));
            keys.push_back({key, item.descending});
        }
        if (keys.empty() && DistinctUntil() == static_cast<int>(select_.parts.size()) - 1) {
            for (Expression* output : OutputExpressions(plan)) keys.push_back({output, false});
        }
        if (!keys.empty()) {
            plan.root = std::make_unique<Sort>(std::move(plan.root), std::vector<Source*>{&source}, std::move(keys));
        }
    }

    BindContext& context_;
    const ast::Select& select_;
    Scope* parent_;
    std::vector<std::unique_ptr<Plan>> parts_;
    std::vector<ColumnInfo> columns_;
};

}  // namespace

std::unique_ptr<Plan> BindSelect(BindContext& context, const ast::Select& written, Scope* parent) {
    if (written.crosstab != nullptr) return BindCrosstab(context, written);
    const auto delegated = parent == nullptr ? context.catalog.Delegate(written) : nullptr;
    const ast::Select& select = delegated != nullptr ? *delegated : written;
    const int depth_before = std::exchange(context.depth, 0);
    const int deepest_before = std::exchange(context.deepest, 0);
    std::unique_ptr<Plan> plan = select.parts.size() > 1
                                     ? UnionBinder(context, select, parent).Run()
                                     : PartBinder(context, select.parts[0], select.order_by, parent).Run();
    plan->depth = context.deepest + 1;
    context.depth = depth_before;
    context.deepest = deepest_before;
    context.Reach(plan->depth);
    return plan;
}

}  // namespace qmtrain::sql
