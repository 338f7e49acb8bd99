// UPDATE and DELETE: the rows are found first and changed afterwards, so that a changed row is not found again.
#include <algorithm>
#include <set>

#include "core/error.h"
#include "core/text.h"
#include "core/work.h"
#include "sql/planning/join_planner.h"
#include "sql/statements/execute.h"
#include "sql/values.h"

namespace qmtrain::sql {
namespace {

// A statement's tables, joined and narrowed down by its condition.
struct Target {
    Target(Catalog& catalog, Parameters& parameters) : context(catalog, parameters), scope(nullptr) {}

    void PlanRows(const ast::ExpressionPtr& condition) {
        if (condition != nullptr) ExpressionBinder(context, scope).BindConjuncts(*condition, plan, where);
        plan.root = PlanJoins(plan, scope.Sources(), *joins, where, {}).rows;
    }

    BindContext context;
    Scope scope;
    Plan plan;
    std::unique_ptr<JoinNode> joins;
    std::vector<Conjunct> where;
};

TableSource& RequireTableSource(const Target& target, std::size_t entry) {
    auto* source = dynamic_cast<TableSource*>(target.scope.Entries()[entry].source);
    if (source == nullptr) Raise(ErrorNumber::ReadOnly, {target.scope.Entries()[entry].name});
    return *source;
}

// ---- UPDATE ----

struct BoundItem {
    TableSource* source = nullptr;
    std::size_t column = 0;
    ExpressionPtr value;
};

class Updater {
public:
    Updater(Target& target, const ast::Update& update) : target_(target) {
        ExpressionBinder binder(target.context, target.scope);
        for (const ast::SetItem& item : update.items) {
            Scope::Match match;
            if (!target.scope.Find(*item.column, match)) Raise(ErrorNumber::MissingParameter, {item.column->name});
            TableSource* source = &RequireTableSource(target, match.entry);
            const auto same = [&](const BoundItem& other) {
                return other.source == source && other.column == match.column;
            };
            if (std::ranges::any_of(items_, same)) Raise(ErrorNumber::SyntaxInUpdate, {item.column->name});
            items_.push_back({source, match.column, binder.Bind(*item.value)});
        }
        for (const BoundItem& item : items_) {
            if (std::ranges::find(sources_, item.source) == sources_.end()) sources_.push_back(item.source);
        }
    }

    std::int64_t Run() {
        Collect();
        WorkSteps steps;
        for (const Change& change : changes_) {
            steps.Next();
            change.table->Update(change.row, change.values);
        }
        return rows_;
    }

    std::u16string TableNames() const {
        std::u16string names;
        for (const TableSource* source : sources_) {
            if (!names.empty()) names += u", ";
            names += source->GetTable()->Name();
        }
        return names;
    }

private:
    struct Change {
        Table* table = nullptr;
        RowId row;
        std::vector<Assignment> values;
    };

    void Collect() {
        target_.plan.root->Open();
        while (target_.plan.root->Next()) {
            bool any = false;
            for (TableSource* source : sources_) any = CollectRow(*source) || any;
            if (any) ++rows_;
        }
    }

    // False: an outer join has found no row to change.
    bool CollectRow(TableSource& source) {
        if (source.IsNullRow()) return false;
        Change change{source.GetTable().get(), source.Row(), {}};
        for (const BoundItem& item : items_) {
            if (item.source != &source) continue;
            const Column& column = change.table->Columns()[item.column];
            change.values.push_back({item.column, ConvertToColumn(item.value->Evaluate(), column)});
            bytes_ += sizeof(Assignment) + BytesBeside(change.values.back().value);
        }
        changes_.push_back(std::move(change));
        held_.Cover(bytes_ + changes_.capacity() * sizeof(Change));
        return true;
    }

    Target& target_;
    std::vector<BoundItem> items_;
    std::vector<TableSource*> sources_;
    std::vector<Change> changes_;
    std::size_t bytes_ = 0;  // of their values
    HeldMemory held_;
    std::int64_t rows_ = 0;
};

// ---- DELETE ----

// The table that rows are deleted from: the only one that is named, or that there is. Beside "T.*" columns of other
// tables may stand, on which there are conditions.
TableSource& FindDeleteTarget(const Target& target, const ast::Delete& statement) {
    const auto& entries = target.scope.Entries();
    std::set<std::size_t> whole;
    std::set<std::size_t> by_column;
    for (const ast::SelectItem& item : statement.items) {
        if (!item.star) {
            const auto& column = As<ast::ColumnName>(*item.expression);
            Scope::Match match;
            if (!target.scope.Find(column, match)) Raise(ErrorNumber::MissingParameter, {column.name});
            by_column.insert(match.entry);
            continue;
        }
        bool found = item.table.empty();
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (!item.table.empty() && !EqualNames(entries[i].name, item.table)) continue;
            whole.insert(i);
            found = true;
        }
        if (!found) Raise(ErrorNumber::NoSuchTable, {item.table});
    }
    for (std::size_t i = 0; statement.items.empty() && i < entries.size(); ++i) whole.insert(i);
    const std::set<std::size_t>& named = whole.empty() ? by_column : whole;
    if (named.size() == 1) return RequireTableSource(target, *named.begin());
    std::u16string names;
    for (const Scope::Entry& entry : entries) names += (names.empty() ? u"" : u", ") + entry.name;
    Raise(ErrorNumber::DeleteTargetMissing, {names});
}

}  // namespace

void Explain(Catalog& catalog, Parameters& parameters, const ast::Update& update, Explanation& out) {
    Target target(catalog, parameters);
    target.joins = BindFrom(target.context, update.from, target.scope, target.plan);
    const Updater updater(target, update);
    target.PlanRows(update.where);
    ExplainPlan(u"update of " + updater.TableNames(), target.plan, target.context, out);
}

void Explain(Catalog& catalog, Parameters& parameters, const ast::Delete& statement, Explanation& out) {
    Target target(catalog, parameters);
    target.joins = BindFrom(target.context, statement.from, target.scope, target.plan);
    const TableSource& source = FindDeleteTarget(target, statement);
    target.PlanRows(statement.where);
    ExplainPlan(u"deletion from " + source.GetTable()->Name(), target.plan, target.context, out);
}

std::int64_t Run(Catalog& catalog, Parameters& parameters, const ast::Update& update) {
    Target target(catalog, parameters);
    target.joins = BindFrom(target.context, update.from, target.scope, target.plan);
    Updater updater(target, update);
    target.PlanRows(update.where);
    return updater.Run();
}

std::int64_t Run(Catalog& catalog, Parameters& parameters, const ast::Delete& statement) {
    Target target(catalog, parameters);
    target.joins = BindFrom(target.context, statement.from, target.scope, target.plan);
    TableSource& source = FindDeleteTarget(target, statement);
    target.PlanRows(statement.where);

    std::vector<RowId> rows;
    HeldMemory held;
    target.plan.root->Open();
    while (target.plan.root->Next()) {
        if (!source.IsNullRow()) rows.push_back(source.Row());
        held.Cover(rows.capacity() * sizeof(RowId));
    }
    // A join may come to a row more than once.
    if (target.scope.Entries().size() > 1) {
        std::ranges::sort(rows);
        rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    }
    WorkSteps steps;
    for (const RowId row : rows) {
        steps.Next();
        source.GetTable()->Delete(row);
    }
    return static_cast<std::int64_t>(rows.size());
}

}  // namespace qmtrain::sql
