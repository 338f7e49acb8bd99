#include "sql/planning/index_choice.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

#include "sql/running/table_access.h"

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;

constexpr double kOneEnd = 0.3;
constexpr double kTwoEnds = 0.1;
constexpr double kPrefixShare = 0.05;
constexpr double kIndexOnlyCost = 0.5;  // of a row that is not visited
constexpr double kCountCost = 0.01;     // of a row that is only counted
constexpr double kSortCost = 3;
constexpr double kTopCost = 1;       // of a row that may be among the first few
constexpr double kWorthALook = 200;  // rows from which on an estimate is checked in the index

bool IsUniqueColumn(const Table& table, int column) {
    return std::ranges::any_of(table.Indexes(), [column](const Index& index) {
        return index.unique && index.columns.size() == 1 && index.columns[0].column == column;
    });
}

bool CoversUniqueIndex(const Table& table, const std::vector<const Comparison*>& equalities) {
    const auto covered = [&](const IndexColumn& key) {
        return std::ranges::any_of(equalities, [&](const Comparison* equality) {
            const SlotExpression* column = equality->subject.expression->AsColumn();
            return column != nullptr && column->GetColumn() == key.column;
        });
    };
    return std::ranges::any_of(table.Indexes(), [&](const Index& index) {
        return index.unique && std::ranges::all_of(index.columns, covered);
    });
}

bool IsLiteral(const Expression* expression) {
    return expression == nullptr || dynamic_cast<const LiteralExpression*>(expression) != nullptr;
}

// Whether every key of the column is the value itself, and compares as it does.
bool HasExactKeys(const Table& table, int index, std::size_t place) {
    const IndexColumn& key = table.Indexes()[static_cast<std::size_t>(index)].columns[place];
    switch (table.Columns()[static_cast<std::size_t>(key.column)].type) {
        case ColumnType::Byte:
        case ColumnType::Integer:
        case ColumnType::Long:
        case ColumnType::Single:
        case ColumnType::Double:
        case ColumnType::Date: return true;
        case ColumnType::Text: return table.InOrder(index, place + 1);
        default: return false;
    }
}

// Whether a range of the column's values is a range of its keys.
bool HasRanges(const Table& table, int index, std::size_t place) {
    const IndexColumn& key = table.Indexes()[static_cast<std::size_t>(index)].columns[place];
    switch (table.Columns()[static_cast<std::size_t>(key.column)].type) {
        case ColumnType::Boolean:  // too few values to be worth while
        case ColumnType::Guid:
        case ColumnType::LongBinary:
        case ColumnType::Memo: return false;
        default: return table.InOrder(index, place + 1);
    }
}

// One way through one index.
struct Candidate {
    IndexAccess access;
    std::vector<const void*> used;  // comparisons and conditions that the access answers wholly
    std::vector<const Comparison*> equalities;
    double rows = 0;
    bool narrows = false;
};

class Chooser {
public:
    Chooser(TableSource& source, SourceSet available, const RowsWish& wish)
        : source_(source),
          table_(*source.GetTable()),
          available_(available),
          wish_(wish),
          all_rows_(std::max(1.0, static_cast<double>(table_.EstimatedRows()))) {}

    IndexChoice Run(const Conjuncts& conjuncts) {
        best_.rows = all_rows_;
        best_.cost = all_rows_ + SortCost(all_rows_ * Share(conjuncts, nullptr));
        if (wish_.count && conjuncts.empty()) best_.cost = 0;
        for (std::size_t i = 0; i < table_.Indexes().size(); ++i) {
            Candidate candidate = Make(static_cast<int>(i), conjuncts);
            if (!CanUse(candidate)) continue;
            Consider(std::move(candidate), conjuncts);
        }
        for (Conjunct* conjunct : conjuncts) ConsiderUnion(*conjunct, conjuncts);
        return std::move(best_);
    }

private:
    // ---- one index ----

    bool IsUsable(const Operand& other) const { return Contains(available_, other.sources); }

    bool IsColumn(const Operand& subject, int column) const {
        const SlotExpression* slot = AsColumnOf(subject.expression, source_);
        return slot != nullptr && slot->GetColumn() == column;
    }

    const Comparison* Find(const Conjuncts& conjuncts, int column, BinaryOperator op, BinaryOperator other_op) const {
        for (const Conjunct* conjunct : conjuncts) {
            for (const Comparison& comparison : conjunct->comparisons) {
                const bool fits = comparison.op == op || comparison.op == other_op;
                if (fits && IsUsable(comparison.other) && IsColumn(comparison.subject, column)) return &comparison;
            }
        }
        return nullptr;
    }

    const Conjunct* FindList(const Conjuncts& conjuncts, int column) const {
        for (const Conjunct* conjunct : conjuncts) {
            const Membership& membership = conjunct->membership;
            if (membership.list == nullptr || !Contains(available_, membership.sources)) continue;
            if (IsColumn(membership.subject, column)) return conjunct;
        }
        return nullptr;
    }

    const Conjunct* FindPattern(const Conjuncts& conjuncts, int column) const {
        for (const Conjunct* conjunct : conjuncts) {
            if (conjunct->liked.expression == nullptr || !IsUsable(conjunct->pattern)) continue;
            if (IsColumn(conjunct->liked, column)) return conjunct;
        }
        return nullptr;
    }

    Candidate Make(int number, const Conjuncts& conjuncts) {
        const Index& index = table_.Indexes()[static_cast<std::size_t>(number)];
        Candidate candidate;
        candidate.access.index = number;
        std::size_t place = 0;
        for (; place < index.columns.size(); ++place) {
            const int column = index.columns[place].column;
            const Comparison* equality = Find(conjuncts, column, BinaryOperator::Equal, BinaryOperator::Equal);
            if (equality != nullptr) {
                candidate.access.equal.push_back(equality->other.expression);
                candidate.equalities.push_back(equality);
                if (HasExactKeys(table_, number, place)) candidate.used.push_back(equality);
                continue;
            }
            const Conjunct* list = candidate.access.list == nullptr ? FindList(conjuncts, column) : nullptr;
            if (list == nullptr) break;
            candidate.access.list = list->membership.list;
            candidate.access.list_at = static_cast<int>(place);
            candidate.access.equal.push_back(nullptr);
            if (HasExactKeys(table_, number, place)) candidate.used.push_back(list);
        }
        candidate.narrows = place > 0;
        if (place < index.columns.size()) AddEnds(number, place, conjuncts, candidate);
        candidate.rows = Estimate(candidate);
        return candidate;
    }

    void AddEnds(int number, std::size_t place, const Conjuncts& conjuncts, Candidate& candidate) const {
        const int column = table_.Indexes()[static_cast<std::size_t>(number)].columns[place].column;
        IndexAccess& access = candidate.access;
        const Comparison* low = Find(conjuncts, column, BinaryOperator::Greater, BinaryOperator::GreaterEqual);
        const Comparison* high = Find(conjuncts, column, BinaryOperator::Less, BinaryOperator::LessEqual);
        if ((low != nullptr || high != nullptr) && HasRanges(table_, number, place)) {
            const bool exact = HasExactKeys(table_, number, place);
            const auto add = [&](const Comparison* comparison, BinaryOperator inclusive, RangeEnd& end) {
                if (comparison == nullptr) return;
                end.value = comparison->other.expression;
                end.inclusive = comparison->op == inclusive;
                if (exact) candidate.used.push_back(comparison);
            };
            add(low, BinaryOperator::GreaterEqual, access.low);
            add(high, BinaryOperator::LessEqual, access.high);
        }
        const bool ended = access.low.value != nullptr || access.high.value != nullptr;
        const bool is_text = table_.Columns()[static_cast<std::size_t>(column)].type == ColumnType::Text;
        const Conjunct* like = !ended && is_text ? FindPattern(conjuncts, column) : nullptr;
        if (like != nullptr && table_.HasPrefixes(number, place)) access.pattern = like->pattern.expression;
        candidate.narrows = candidate.narrows || ended || access.pattern != nullptr;
    }

    // ---- estimates ----

    double Estimate(const Candidate& candidate) {
        const IndexAccess& access = candidate.access;
        if (!candidate.narrows) return all_rows_;
        const Index& index = table_.Indexes()[static_cast<std::size_t>(access.index)];
        double rows = all_rows_;
        if (!access.equal.empty()) {
            const bool unique = index.unique && access.equal.size() == index.columns.size();
            rows = unique ? 1 : MatchesOfKey(access.index, access.equal.size(), candidate.equalities);
            if (access.list != nullptr) rows *= access.list->ExpectedSize();
        }
        const bool two = access.low.value != nullptr && access.high.value != nullptr;
        const bool one = access.low.value != nullptr || access.high.value != nullptr;
        if (one) rows *= two ? kTwoEnds : kOneEnd;
        if (access.pattern != nullptr) rows *= kPrefixShare;
        rows = std::clamp(rows, 1.0, all_rows_);
        const bool literal = access.list == nullptr && std::ranges::all_of(access.equal, IsLiteral) &&
                             IsLiteral(access.low.value) && IsLiteral(access.high.value) && IsLiteral(access.pattern);
        if (rows < kWorthALook || !literal) return rows;
        return std::max(1.0, TableAccess::CountInIndex(source_, access).value_or(rows));
    }

    // The definition says how many keys there are; a part of a key has fewer.
    double MatchesOfKey(int index, std::size_t columns, const std::vector<const Comparison*>& equalities) {
        const double keys = table_.DistinctKeys(index);
        if (keys < 1) return ExpectedMatches(source_, equalities);
        const auto all = static_cast<double>(table_.Indexes()[static_cast<std::size_t>(index)].columns.size());
        return std::max(1.0, all_rows_ / std::pow(std::min(keys, all_rows_), static_cast<double>(columns) / all));
    }

    static bool IsUsed(const Candidate* candidate, const void* what) {
        return candidate != nullptr && std::ranges::find(candidate->used, what) != candidate->used.end();
    }

    // Whether the rows that the candidate comes to are known to meet the condition.
    static bool Follows(const Conjunct& conjunct, const Candidate* candidate) {
        if (IsUsed(candidate, &conjunct)) return true;
        std::size_t used = 0;
        for (const Comparison& comparison : conjunct.comparisons) used += IsUsed(candidate, &comparison) ? 1 : 0;
        return used > (conjunct.is_range ? 1U : 0U);
    }

    static bool Concerns(const Conjunct& conjunct, const Candidate* candidate) {
        if (candidate == nullptr) return false;
        const IndexAccess& access = candidate->access;
        const auto is_end = [&](const Comparison& comparison) {
            const Expression* other = comparison.other.expression;
            return other == access.low.value || other == access.high.value ||
                   std::ranges::find(access.equal, other) != access.equal.end();
        };
        return Follows(conjunct, candidate) || std::ranges::any_of(conjunct.comparisons, is_end) ||
               (access.pattern != nullptr && conjunct.pattern.expression == access.pattern) ||
               (access.list != nullptr && conjunct.membership.list == access.list);
    }

    // Which part of the rows is left when the conditions have been tested that the candidate does not look at.
    static double Share(const Conjuncts& conjuncts, const Candidate* candidate) {
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
    bool IsCovering(int number) const {
        const Index& index = table_.Indexes()[static_cast<std::size_t>(number)];
        for (std::size_t slot = 0; slot < source_.SlotCount(); ++slot) {
            const int column = source_.ColumnOfSlot(static_cast<int>(slot));
            const auto key =
                std::ranges::find_if(index.columns, [column](const IndexColumn& key) { return key.column == column; });
            if (key == index.columns.end()) return false;
            if (!table_.HoldsValues(number, static_cast<std::size_t>(key - index.columns.begin()))) return false;
        }
        return true;
    }

    // ---- order ----

    // Columns that are fixed to one value do not count.
    bool SetOrder(Candidate& candidate) const {
        if (wish_.order.empty()) return false;
        const Index& index = table_.Indexes()[static_cast<std::size_t>(candidate.access.index)];
        const IndexAccess& access = candidate.access;
        // Several ranges come in the order of their keys if each is for one value.
        const bool has_ends = access.low.value != nullptr || access.high.value != nullptr || access.pattern != nullptr;
        if (access.list != nullptr && has_ends) return false;
        const std::size_t fixed =
            access.list != nullptr ? static_cast<std::size_t>(access.list_at) : access.equal.size();
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

    static bool IsFixed(const Index& index, std::size_t fixed, int column) {
        const auto end = index.columns.begin() + static_cast<std::ptrdiff_t>(fixed);
        return std::any_of(index.columns.begin(), end,
                           [column](const IndexColumn& key) { return key.column == column; });
    }

    bool CanUse(Candidate& candidate) const {
        const Index& index = table_.Indexes()[static_cast<std::size_t>(candidate.access.index)];
        // Without a condition on it, an index without entries for Nulls does not have every row.
        return candidate.narrows || (!index.ignore_nulls && !wish_.order.empty());
    }

    void Consider(Candidate candidate, const Conjuncts& conjuncts) {
        const bool ordered = SetOrder(candidate);
        if (!candidate.narrows && !ordered) return;
        const double share = Share(conjuncts, &candidate);
        const bool exact =
            std::ranges::all_of(conjuncts, [&](const Conjunct* conjunct) { return Follows(*conjunct, &candidate); });
        double read = candidate.rows;
        if (ordered && wish_.limit > 0) {
            read = std::min(read, (static_cast<double>(wish_.limit) + 1) / std::max(share, 1e-6));
        }
        const double of_row = wish_.count && exact                 ? kCountCost
                              : IsCovering(candidate.access.index) ? kIndexOnlyCost
                                                                   : kIndexRowCost;
        const double seeks = candidate.access.list != nullptr ? candidate.access.list->ExpectedSize() : 1;
        const double cost = seeks * kSeekCost + read * of_row + (ordered ? 0 : SortCost(candidate.rows * share));
        // A unique key and the like: nothing can be better, whatever is expected of a small table.
        const bool single = candidate.rows <= 1 && !candidate.access.equal.empty();
        const bool better = cost < best_.cost || (single && !best_.UsesIndex());
        if (!better) return;
        best_.path = {};
        for (const Conjunct* conjunct : conjuncts) {
            if (Follows(*conjunct, &candidate)) best_.path.met.push_back(conjunct->test);
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
            std::optional<Candidate> best;
            for (std::size_t i = 0; i < table_.Indexes().size(); ++i) {
                Candidate candidate = Make(static_cast<int>(i), conditions);
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
        const int number = path.parts[0].index;
        for (const IndexAccess& part : path.parts) {
            const bool has_ends = part.low.value != nullptr || part.high.value != nullptr || part.pattern != nullptr;
            if (part.index != number || has_ends || part.equal.size() != path.parts[0].equal.size()) return false;
        }
        Candidate walk;
        walk.access.index = number;
        if (!SetOrder(walk) || !table_.InOrder(number, path.parts[0].equal.size())) return false;
        for (IndexAccess& part : path.parts) part.backwards = walk.access.backwards;
        return !table_.Indexes()[static_cast<std::size_t>(number)].ignore_nulls;
    }

    TableSource& source_;
    Table& table_;
    SourceSet available_;
    const RowsWish& wish_;
    double all_rows_;
    IndexChoice best_;
};

}  // namespace

bool IndexChoice::IsLookup() const {
    return path.parts.size() == 1 && !path.parts[0].equal.empty() && path.parts[0].list == nullptr;
}

double Selectivity(const Conjunct& conjunct) {
    if (!conjunct.alternatives.empty()) return 0.3;
    if (conjunct.membership.list != nullptr) return 0.2;
    if (conjunct.comparisons.empty()) return 0.5;
    if (conjunct.is_range) return kTwoEnds;
    const BinaryOperator op = conjunct.comparisons[0].op;
    return op == BinaryOperator::Equal ? 0.1 : op == BinaryOperator::NotEqual ? 0.9 : kOneEnd;
}

double ExpectedMatches(TableSource& source, const std::vector<const Comparison*>& equalities) {
    Table& table = *source.GetTable();
    if (CoversUniqueIndex(table, equalities)) return 1;
    double rows = static_cast<double>(table.EstimatedRows());
    for (const Comparison* equality : equalities) {
        const SlotExpression* other = equality->other.expression->AsColumn();
        const auto* other_source = other != nullptr ? dynamic_cast<TableSource*>(&other->GetSource()) : nullptr;
        // The other side's key says how many different values there can be.
        if (other_source != nullptr && IsUniqueColumn(*other_source->GetTable(), other->GetColumn())) {
            rows /= std::max(1.0, static_cast<double>(other_source->GetTable()->EstimatedRows()));
        } else {
            rows = std::sqrt(rows);
        }
    }
    return std::max(1.0, rows);
}

IndexChoice ChooseIndex(TableSource& source, const std::vector<Conjunct*>& conjuncts, SourceSet available,
                        const RowsWish& wish) {
    return Chooser(source, available, wish).Run(conjuncts);
}

}  // namespace qmtrain::sql
