#include "sql/planning/index_choice.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "sql/planning/index_candidate.h"
#include "sql/planning/selectivity.h"

namespace qmtrain::sql {
namespace {

constexpr double kIndexOnlyCost = 0.5;  // of a row that is not visited
constexpr double kCountCost = 0.01;     // of a row that is only counted
constexpr double kSortCost = 3;
constexpr double kTopCost = 1;  // of a row that may be among the first few

class Chooser {
public:
    Chooser(TableSource& source, SourceSet available, const RowsWish& wish)
        : source_(source),
          table_(*source.GetTable()),
          wish_(wish),
          all_rows_(std::max(1.0, static_cast<double>(table_.EstimatedRows()))),
          candidates_(source, available, all_rows_) {}

    IndexChoice Run(const Conjuncts& conjuncts) {
        best_.rows = all_rows_;
        best_.cost = all_rows_ + SortCost(all_rows_ * Share(conjuncts, nullptr));
        if (wish_.count && conjuncts.empty()) best_.cost = 0;
        for (std::size_t i = 0; i < table_.Indexes().size(); ++i) {
            IndexCandidate candidate = candidates_.Make(i, conjuncts);
            if (!CanUse(candidate)) continue;
            Consider(std::move(candidate), conjuncts);
        }
        for (Conjunct* conjunct : conjuncts) ConsiderUnion(*conjunct, conjuncts);
        return std::move(best_);
    }

private:
    // Whether the rows that the candidate comes to are known to meet the condition.
    static bool Follows(const Conjunct& conjunct, const IndexCandidate& candidate) {
        if (std::ranges::find(candidate.answered_lists, &conjunct) != candidate.answered_lists.end()) return true;
        const auto answered = std::ranges::count_if(conjunct.comparisons, [&](const Comparison& comparison) {
            return std::ranges::find(candidate.answered, &comparison) != candidate.answered.end();
        });
        return answered > (conjunct.is_range ? 1 : 0);
    }

    static bool Concerns(const Conjunct& conjunct, const IndexCandidate* candidate) {
        if (candidate == nullptr) return false;
        const IndexAccess& access = candidate->access;
        const auto is_end = [&](const Comparison& comparison) {
            const Expression* other = comparison.other.expression;
            return other == access.low.value || other == access.high.value ||
                   std::ranges::find(access.equal, other) != access.equal.end();
        };
        return Follows(conjunct, *candidate) || std::ranges::any_of(conjunct.comparisons, is_end) ||
               (access.pattern != nullptr && conjunct.pattern.expression == access.pattern) ||
               (access.list != nullptr && conjunct.membership.list == access.list);
    }

    // The share of the rows that is left by the conditions that the candidate does not use.
    static double Share(const Conjuncts& conjuncts, const IndexCandidate* candidate) {
        double share = 1;
        for (const Conjunct* conjunct : conjuncts) {
            if (!Concerns(*conjunct, candidate)) share *= Selectivity(*conjunct);
        }
        return share;
    }

    double SortCost(double rows) const {
        if (wish_.order.empty()) return 0;
        return rows * (wish_.limit > 0 ? kTopCost : kSortCost);
    }

    // All columns that the statement looks at are in the index.
    bool IsCovering(std::size_t number) const {
        const Index& index = table_.IndexAt(number);
        for (std::size_t slot = 0; slot < source_.SlotCount(); ++slot) {
            const std::size_t column = source_.ColumnOfSlot(slot);
            const auto key =
                std::ranges::find_if(index.columns, [column](const IndexColumn& key) { return key.column == column; });
            if (key == index.columns.end()) return false;
            if (!table_.HoldsValues(number, key - index.columns.begin())) return false;
        }
        return true;
    }

    // ---- order ----

    // Columns that are fixed to one value do not count.
    bool SetOrder(IndexCandidate& candidate) const {
        if (wish_.order.empty()) return false;
        const Index& index = table_.IndexAt(candidate.access.index);
        const IndexAccess& access = candidate.access;
        // Several ranges come in the order of their keys if each is for one value.
        const bool has_ends = access.low.value != nullptr || access.high.value != nullptr || access.pattern != nullptr;
        if (access.list != nullptr && has_ends) return false;
        const std::size_t fixed = access.list != nullptr ? access.list_at : access.equal.size();
        std::size_t place = fixed;
        bool forwards = true;
        bool backwards = true;
        for (const SortKey& key : wish_.order) {
            const SlotExpression* column = AsColumnOf(key.expression, source_);
            if (column == nullptr) return false;
            if (IsFixed(index, fixed, column->GetColumn())) continue;
            if (place >= index.columns.size() || index.columns[place].column != column->GetColumn()) return false;
            const bool same = index.columns[place].descending == key.descending;
            forwards = forwards && same;
            backwards = backwards && !same;
            ++place;
        }
        // Whatever happens, the whole of the index must be in that order.
        const std::size_t columns = std::max(place, access.equal.size());
        if (!(forwards || backwards) || !table_.InOrder(access.index, columns)) return false;
        candidate.access.backwards = !forwards;
        return true;
    }

    static bool IsFixed(const Index& index, std::size_t fixed, std::size_t column) {
        const auto end = index.columns.begin() + fixed;
        return std::any_of(index.columns.begin(), end,
                           [column](const IndexColumn& key) { return key.column == column; });
    }

    bool CanUse(IndexCandidate& candidate) const {
        const Index& index = table_.IndexAt(candidate.access.index);
        // Without a condition on it, an index without entries for Nulls does not have every row.
        return candidate.narrows || (!index.ignore_nulls && !wish_.order.empty());
    }

    void Consider(IndexCandidate candidate, const Conjuncts& conjuncts) {
        const bool ordered = SetOrder(candidate);
        if (!candidate.narrows && !ordered) return;
        const double share = Share(conjuncts, &candidate);
        const bool exact =
            std::ranges::all_of(conjuncts, [&](const Conjunct* conjunct) { return Follows(*conjunct, candidate); });
        double read = candidate.rows;
        if (ordered && wish_.limit > 0) {
            read = std::min(read, (static_cast<double>(wish_.limit) + 1) / std::max(share, 1e-6));
        }
        const double of_row = wish_.count && exact                 ? kCountCost
                              : IsCovering(candidate.access.index) ? kIndexOnlyCost
                                                                   : kIndexRowCost;
        const double seeks = candidate.access.list != nullptr ? candidate.access.list->ExpectedSize() : 1;
        const double cost = seeks * kSeekCost + read * of_row + (ordered ? 0 : SortCost(candidate.rows * share));
        // A unique key and the like: no other path can be better, even where a scan of a small table seems cheap.
        const bool single = candidate.rows <= 1 && !candidate.access.equal.empty();
        const bool better = cost < best_.cost || (single && !best_.UsesIndex());
        if (!better) return;
        best_.path = {};
        for (const Conjunct* conjunct : conjuncts) {
            if (Follows(*conjunct, candidate)) best_.path.met.push_back(conjunct->test);
        }
        best_.path.parts.push_back(std::move(candidate.access));
        best_.path.exact = exact;
        best_.path.ordered = ordered;
        best_.rows = candidate.rows;
        best_.cost = cost;
    }

    // ---- several indexes, or one several times ----

    void ConsiderUnion(Conjunct& conjunct, const Conjuncts& conjuncts) {
        if (conjunct.alternatives.empty()) return;
        AccessPath path;
        double rows = 0;
        double cost = 0;
        if (!AddAlternatives(conjunct, conjuncts, path, rows, cost)) return;
        rows = std::min(rows, all_rows_);
        path.ordered = OrdersUnion(path);
        if (!path.ordered) cost += SortCost(rows);
        if (cost >= best_.cost) return;
        best_.path = std::move(path);
        best_.rows = std::max(1.0, rows);
        best_.cost = cost;
    }

    bool AddAlternatives(Conjunct& conjunct, const Conjuncts& around, AccessPath& path, double& rows, double& cost) {
        for (std::vector<Conjunct>& alternative : conjunct.alternatives) {
            Conjuncts conditions;
            for (Conjunct& condition : alternative) conditions.push_back(&condition);
            if (AddNested(conditions, path, rows, cost)) continue;
            // The conditions around it hold as well, and may help.
            conditions.insert(conditions.end(), around.begin(), around.end());
            std::optional<IndexCandidate> best;
            for (std::size_t i = 0; i < table_.Indexes().size(); ++i) {
                IndexCandidate candidate = candidates_.Make(i, conditions);
                if (candidate.narrows && (!best || candidate.rows < best->rows)) best = std::move(candidate);
            }
            if (!best) return false;
            const double seeks = best->access.list != nullptr ? best->access.list->ExpectedSize() : 1;
            cost += seeks * kSeekCost + best->rows * kIndexRowCost;
            rows += best->rows;
            path.parts.push_back(std::move(best->access));
            if (cost >= best_.cost) return false;
        }
        return true;
    }

    // An alternative that has alternatives itself, and nothing better to go by.
    bool AddNested(const Conjuncts& conditions, AccessPath& path, double& rows, double& cost) {
        const auto nested = std::ranges::find_if(
            conditions, [](const Conjunct* condition) { return !condition->alternatives.empty(); });
        if (nested == conditions.end()) return false;
        Conjuncts others = conditions;
        std::erase(others, *nested);
        AccessPath added;
        double its_rows = 0;
        double its_cost = 0;
        if (!AddAlternatives(**nested, others, added, its_rows, its_cost)) return false;
        std::ranges::move(added.parts, std::back_inserter(path.parts));
        rows += its_rows;
        cost += its_cost;
        return true;
    }

    // Single keys of one index are visited in its order.
    bool OrdersUnion(AccessPath& path) const {
        if (wish_.order.empty()) return false;
        const std::size_t number = path.parts[0].index;
        for (const IndexAccess& part : path.parts) {
            const bool has_ends = part.low.value != nullptr || part.high.value != nullptr || part.pattern != nullptr;
            if (part.index != number || has_ends || part.equal.size() != path.parts[0].equal.size()) return false;
        }
        IndexCandidate walk;
        walk.access.index = number;
        if (!SetOrder(walk) || !table_.InOrder(number, path.parts[0].equal.size())) return false;
        for (IndexAccess& part : path.parts) part.backwards = walk.access.backwards;
        return !table_.IndexAt(number).ignore_nulls;
    }

    TableSource& source_;
    Table& table_;
    const RowsWish& wish_;
    double all_rows_;
    IndexCandidates candidates_;
    IndexChoice best_;
};

}  // namespace

bool IndexChoice::IsLookup() const {
    return path.parts.size() == 1 && !path.parts[0].equal.empty() && path.parts[0].list == nullptr;
}

IndexChoice ChooseIndex(TableSource& source, const std::vector<Conjunct*>& conjuncts, SourceSet available,
                        const RowsWish& wish) {
    return Chooser(source, available, wish).Run(conjuncts);
}

}  // namespace qmtrain::sql
