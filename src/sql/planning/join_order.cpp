#include "sql/planning/join_order.h"

#include <algorithm>
#include <optional>

#include "sql/planning/index_choice.h"
#include "sql/planning/selectivity.h"

namespace qmtrain::sql {
namespace {

// Above this many tables only one order is tried for each leading table that looks small.
constexpr std::size_t kMaxLeaders = 12;

// Expected rows of the join with the unit. Where no key is known to be unique, that of the smaller side is taken to be.
double JoinedRows(const JoinMember& unit, const std::vector<const Comparison*>& links, double rows) {
    if (links.empty()) return rows * unit.rows;
    const bool unique = unit.table != nullptr && ExpectedMatches(*unit.table, links) <= 1;
    const double all = unique ? rows : std::max(rows, unit.all_rows);
    return std::max(1.0, all * unit.rows / unit.all_rows);
}

struct JoinCandidate {
    JoinStep step;
    bool linked = false;
    double cost = 0;
    double rows = 0;  // of the join so far, with it
};

JoinCandidate Try(const JoinMember& unit, const Conjuncts& conjuncts, SourceSet placed, double rows) {
    JoinCandidate candidate;
    const auto links = Links(unit.node->sources, conjuncts, placed);
    candidate.linked = !links.empty();
    candidate.rows = JoinedRows(unit, links, rows);
    candidate.cost = unit.access_cost + unit.rows * kHashRowCost + rows * kProbeCost + candidate.rows;
    if (unit.table == nullptr || !candidate.linked) return candidate;
    const IndexChoice choice = ChooseIndex(*unit.table, conjuncts, placed);
    if (!choice.IsLookup()) return candidate;
    const double cost = rows * choice.cost;
    if (cost < candidate.cost) {
        candidate.cost = cost;
        candidate.step.method = JoinMethod::Index;
    }
    return candidate;
}

JoinCandidate NextUnit(const std::vector<JoinMember>& units, const std::vector<bool>& done, const Conjuncts& conjuncts,
                       SourceSet placed, double rows) {
    std::optional<JoinCandidate> best;
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (done[i]) continue;
        JoinCandidate candidate = Try(units[i], conjuncts, placed, rows);
        candidate.step.unit = i;
        // Tables that no condition links come last: theirs is a Cartesian product.
        const bool better =
            !best || (candidate.linked && !best->linked) ||
            (candidate.linked == best->linked && candidate.cost + candidate.rows < best->cost + best->rows);
        if (better) best = candidate;
    }
    return *best;
}

JoinOrder OrderFrom(std::size_t leader, const std::vector<JoinMember>& units, const Conjuncts& conjuncts) {
    JoinOrder order;
    order.leader = leader;
    order.cost = units[leader].access_cost;
    order.rows = units[leader].rows;
    SourceSet placed = units[leader].node->sources;
    std::vector<bool> done(units.size(), false);
    done[leader] = true;
    for (std::size_t left = units.size() - 1; left > 0; --left) {
        const JoinCandidate next = NextUnit(units, done, conjuncts, placed, order.rows);
        order.steps.push_back(next.step);
        order.cost += next.cost;
        order.rows = next.rows;
        done[next.step.unit] = true;
        placed |= units[next.step.unit].node->sources;
    }
    return order;
}

}  // namespace

double EstimateRows(Tables tables, const JoinNode& node) {
    if (node.kind == JoinNode::Kind::Table) {
        const auto* table = dynamic_cast<TableSource*>(tables[node.table]);
        constexpr double kUnknown = 1000;
        return table != nullptr ? std::max(1.0, static_cast<double>(table->GetTable()->EstimatedRows())) : kUnknown;
    }
    double rows = 1;
    for (const auto& child : node.children) rows = std::max(rows, EstimateRows(tables, *child));
    return rows;
}

void Estimate(Tables tables, JoinMember& unit, const Conjuncts& conjuncts) {
    unit.all_rows = unit.rows = unit.access_cost = EstimateRows(tables, *unit.node);
    const Conjuncts own = OwnConjuncts(unit, conjuncts);
    double share = 1;
    for (const Conjunct* conjunct : own) share *= Selectivity(*conjunct);
    unit.rows = std::max(1.0, unit.all_rows * share);
    if (unit.table == nullptr) return;
    const IndexChoice choice = ChooseIndex(*unit.table, own, 0);
    if (!choice.UsesIndex()) return;
    unit.rows = std::max(1.0, std::min(unit.rows, choice.rows));
    unit.access_cost = std::min(unit.access_cost, choice.cost);
}

Conjuncts OwnConjuncts(const JoinMember& unit, const Conjuncts& conjuncts) {
    Conjuncts own;
    for (Conjunct* conjunct : conjuncts) {
        if (conjunct->sources != 0 && Contains(unit.node->sources, conjunct->sources)) own.push_back(conjunct);
    }
    return own;
}

std::vector<const Comparison*> Links(SourceSet unit, const Conjuncts& conjuncts, SourceSet placed) {
    std::vector<const Comparison*> links;
    for (const Conjunct* conjunct : conjuncts) {
        for (const Comparison& comparison : conjunct->comparisons) {
            const bool own = comparison.subject.sources != 0 && Contains(unit, comparison.subject.sources);
            const bool other = comparison.other.sources != 0 && Contains(placed, comparison.other.sources);
            const bool hashable = !comparison.subject.outer;
            if (comparison.op == ast::BinaryOperator::Equal && own && other && hashable) links.push_back(&comparison);
        }
    }
    return links;
}

JoinOrder ChooseOrder(const std::vector<JoinMember>& units, const Conjuncts& conjuncts) {
    std::vector<std::size_t> leaders(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) leaders[i] = i;
    std::ranges::sort(leaders, {}, [&](std::size_t i) { return units[i].rows; });
    if (leaders.size() > kMaxLeaders) leaders.erase(leaders.begin() + 1, leaders.end());
    std::optional<JoinOrder> best;
    for (const std::size_t leader : leaders) {
        JoinOrder order = OrderFrom(leader, units, conjuncts);
        if (!best || order.cost < best->cost) best = std::move(order);
    }
    return *best;
}

}  // namespace qmtrain::sql
