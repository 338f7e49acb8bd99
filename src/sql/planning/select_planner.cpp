#include "sql/planning/select_planner.h"

#include <algorithm>
#include <set>
#include <utility>

#include "sql/planning/editable_join.h"
#include "sql/planning/join_planner.h"
#include "sql/running/access_path.h"
#include "sql/running/distinct_access.h"
#include "sql/running/group.h"
#include "sql/running/index_ends.h"
#include "sql/running/limit.h"

namespace qmtrain::sql {
namespace {

class SelectPlanner {
public:
    SelectPlanner(Plan& plan, BoundSelect& select) : plan_(plan), select_(select) {}

    void Run() {
        if (CanBeEdited()) FindEditable();
        PlanRows();
        if (select_.grouped) AddGroup();
        AddDistinct();
        AddOrderAndTop();
    }

private:
    void PlanRows() {
        if (select_.joins == nullptr) {
            // Without tables a condition still counts.
            std::vector<Expression*> tests;
            for (const Conjunct& conjunct : select_.where) tests.push_back(conjunct.test);
            plan_.root = std::make_unique<Filter>(std::make_unique<SingleRow>(), std::move(tests));
            return;
        }
        RowsWish wish;
        if (!select_.grouped && !select_.distinct) {
            wish.order = select_.order;
            if (select_.top && !select_.top->percent) wish.limit = static_cast<std::size_t>(select_.top->count);
        }
        wish.count = select_.grouped && OnlyCounts();
        JoinPlan joins = PlanJoins(plan_, select_.tables, *select_.joins, select_.where, wish);
        plan_.root = std::move(joins.rows);
        ordered_ = joins.ordered;
        if (select_.where.empty()) UseIndexAlone();
    }

    // The table when there is but one.
    TableSource* OnlyTable() const {
        return select_.tables.size() == 1 ? dynamic_cast<TableSource*>(select_.tables[0]) : nullptr;
    }

    // Where only the different values of one column are wanted, an index can jump from one to the next.
    void UseIndexAlone() {
        TableSource* source = OnlyTable();
        const bool only_values =
            select_.grouped ? select_.aggregates.empty() && !select_.keys.empty() : select_.distinct;
        if (source == nullptr || !only_values || source->SlotCount() != 1) return;
        Table& table = *source->GetTable();
        const std::size_t index = IndexOrderedBy(table, source->ColumnOfSlot(0));
        if (index == kNoPosition || table.IndexAt(index).ignore_nulls) return;
        const double keys = table.DistinctKeys(index);
        if (keys < 1 || keys * kSeekCost > static_cast<double>(table.EstimatedRows())) return;
        plan_.root = std::make_unique<DistinctAccess>(*source, index);
        plan_.root->SetEstimatedRows(keys);
        const auto rises = [&](const SortKey& key) {
            return !key.descending && AsColumnOf(key.expression, *source) != nullptr;
        };
        ordered_ = !select_.grouped && !table.IndexAt(index).columns[0].descending &&
                   AsColumnOf(plan_.outputs[0].expression, *source) != nullptr &&
                   std::ranges::all_of(select_.order, rises);
    }

    void AddGroup() {
        TableSource* only = OnlyTable();
        const bool ends = select_.keys.empty() && select_.where.empty() && only != nullptr &&
                          !select_.aggregates.empty() && CanReadEnds(*only->GetTable(), *only, select_.aggregates);
        if (ends)
            plan_.root = std::make_unique<IndexEnds>(*only, *select_.groups, select_.aggregates);
        else
            AddGroups();
        if (select_.having != nullptr) {
            plan_.root = std::make_unique<Filter>(std::move(plan_.root), std::vector<Expression*>{select_.having});
        }
    }

    void AddGroups() {
        auto group = std::make_unique<Group>(std::move(plan_.root), *select_.groups, select_.keys, select_.aggregates);
        if (Source* source = CommonKeySource()) group->SetKeySource(*source);
        if (OnlyCounts()) group->SetOnlyCounts();
        plan_.root = std::move(group);
    }

    // The one table all keys belong to, if its rows are held in memory and come again and again.
    Source* CommonKeySource() const {
        TableSource* common = nullptr;
        for (const Expression* key : select_.keys) {
            const SlotExpression* column = key->AsColumn();
            auto* table = column != nullptr ? dynamic_cast<TableSource*>(&column->GetSource()) : nullptr;
            if (table == nullptr || !table->KeepsValues() || (common != nullptr && common != table)) return nullptr;
            common = table;
        }
        return common;
    }

    bool OnlyCounts() const {
        const auto counts = [](const Aggregate& aggregate) { return aggregate.Kind() == AggregateKind::CountRows; };
        return select_.keys.empty() && std::ranges::all_of(select_.aggregates, counts);
    }

    // The rows are those of tables, each as it is.
    bool CanBeEdited() const {
        const std::size_t tables = plan_.tables.size();
        const bool merged = select_.distinct || (select_.distinct_row && tables > 1);
        return !select_.grouped && !merged && tables > 0 && plan_.sources.size() == tables &&
               std::ranges::all_of(plan_.tables, [](const auto& table) { return table->IsUpdatable(); });
    }

    void FindEditable() {
        if (plan_.tables.size() == 1) {
            plan_.editable = 0;
            return;
        }
        EditableJoin join = FindEditableJoin(plan_.table_sources, *select_.joins, select_.where);
        plan_.editable = join.table;
        plan_.lookups = std::move(join.lookups);
    }

    void AddDistinct() {
        if (select_.distinct) {
            plan_.root =
                std::make_unique<Distinct>(std::move(plan_.root), plan_.OutputExpressions(), std::vector<Source*>());
        } else if (select_.distinct_row && !select_.grouped) {
            AddDistinctRow();
        }
    }

    // DISTINCTROW looks at whole rows of the tables that columns are taken from, and means something only when that is
    // not all of them.
    void AddDistinctRow() {
        std::set<Source*> shown;
        for (const PlanOutput& output : plan_.outputs) {
            const SlotExpression* column = output.expression->AsColumn();
            auto* table = column != nullptr ? dynamic_cast<TableSource*>(&column->GetSource()) : nullptr;
            if (table == nullptr) return;
            shown.insert(table);
        }
        if (shown.size() == select_.tables.size()) return;
        plan_.root = std::make_unique<Distinct>(std::move(plan_.root), std::vector<Expression*>(),
                                                std::vector<Source*>(shown.begin(), shown.end()));
    }

    std::vector<Source*> RowSources() const {
        return select_.grouped ? std::vector<Source*>{select_.groups} : select_.tables;
    }

    // Groups come in the order of their keys, and distinct rows in that of their columns, when nothing else is said.
    std::vector<SortKey> SortKeys() const {
        std::vector<SortKey> keys = select_.order;
        if (select_.grouped) {
            for (std::size_t i = 0; i < select_.keys.size(); ++i) keys.push_back({group_keys_[i], false});
        } else if (select_.distinct && select_.order.empty()) {
            for (Expression* output : plan_.OutputExpressions()) keys.push_back({output, false});
        }
        return keys;
    }

    void AddOrderAndTop() {
        for (std::size_t i = 0; select_.grouped && i < select_.keys.size(); ++i) {
            group_keys_.push_back(plan_.Own(std::make_unique<SlotExpression>(*select_.groups, i)));
        }
        const std::vector<SortKey> keys = SortKeys();
        const bool percent = select_.top && select_.top->percent;
        Sort* sort = nullptr;
        if ((!keys.empty() && !ordered_) || percent) {
            auto owned =
                std::make_unique<Sort>(std::move(plan_.root), RowSources(), ordered_ ? std::vector<SortKey>() : keys);
            sort = owned.get();
            plan_.root = std::move(owned);
        }
        if (select_.top) AddTop(sort);
    }

    void AddTop(Sort* sort) {
        const std::size_t count = select_.top->count;
        std::vector<Expression*> ties;
        for (const SortKey& key : select_.order) ties.push_back(key.expression);
        if (sort != nullptr && !select_.top->percent) sort->SetLimit(count, ties.size());
        auto limit = std::make_unique<Limit>(std::move(plan_.root), count, std::move(ties));
        if (select_.top->percent) limit->SetPercent(*sort);
        plan_.root = std::move(limit);
    }

    Plan& plan_;
    BoundSelect& select_;
    bool ordered_ = false;                 // the rows come in the order wanted by themselves
    std::vector<Expression*> group_keys_;  // the keys again, of the groups' rows
};

}  // namespace

void PlanSelect(Plan& plan, BoundSelect& select) {
    SelectPlanner(plan, select).Run();
}

}  // namespace qmtrain::sql
