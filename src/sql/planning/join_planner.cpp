#include "sql/planning/join_planner.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <optional>

#include "sql/expressions/make_expression.h"
#include "sql/planning/index_choice.h"
#include "sql/running/derived.h"
#include "sql/running/join.h"
#include "sql/running/table_access.h"

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;

// What things cost, in rows read by a plain scan.
constexpr double kHashRowCost = 2;
constexpr double kProbeCost = 0.7;

// Above this many tables only one order is tried for each leading table that looks small.
constexpr std::size_t kMaxLeaders = 12;

struct Planned {
    RowOperatorPtr rows;
    double count = 0;
    bool ordered = false;
};

// A member of an inner join: a table, or an outer join as a whole.
struct Unit {
    JoinNode* node = nullptr;
    TableSource* table = nullptr;  // null for anything but a table of the catalogue
    double all_rows = 1;
    double rows = 1;         // after its own conditions
    double access_cost = 1;  // of reading those
};

enum class Method : std::uint8_t { Index, Hash };

struct Step {
    std::size_t unit = 0;
    Method method = Method::Hash;
};

struct Order {
    std::size_t leader = 0;
    std::vector<Step> steps;
    double cost = 0;
    double rows = 0;
};

std::vector<Expression*> Tests(const Conjuncts& conjuncts) {
    std::vector<Expression*> tests;
    for (const Conjunct* conjunct : conjuncts) tests.push_back(conjunct->test);
    return tests;
}

// Puts the conditions last that the rows of an access path satisfy by themselves, as far as the path says so when it is
// opened; returns how many these are.
std::size_t PutLast(std::vector<Expression*>& tests, const std::vector<const Expression*>& met) {
    const auto open = [&](const Expression* test) { return std::ranges::find(met, test) == met.end(); };
    return static_cast<std::size_t>(tests.end() - std::stable_partition(tests.begin(), tests.end(), open));
}

RowOperatorPtr WithFilter(RowOperatorPtr rows, const Conjuncts& conjuncts,
                          const std::vector<const Expression*>& met = {}) {
    if (conjuncts.empty()) return rows;
    double share = 1;
    for (const Conjunct* conjunct : conjuncts) share *= Selectivity(*conjunct);
    const double estimated = std::max(1.0, rows->EstimatedRows() * share);
    std::vector<Expression*> tests = Tests(conjuncts);
    const std::size_t last = PutLast(tests, met);
    auto filter = std::make_unique<Filter>(std::move(rows), std::move(tests), last);
    filter->SetEstimatedRows(estimated);
    return filter;
}

class JoinPlanner {
public:
    JoinPlanner(Plan& plan, std::span<Source* const> tables) : plan_(plan), tables_(tables) {}

    Planned PlanNode(JoinNode& node, Conjuncts conjuncts, const RowsWish& wish = {}) {
        if (node.kind == JoinNode::Kind::Left) return PlanLeft(node, conjuncts);
        std::vector<Unit> units;
        Flatten(node, units, conjuncts);
        return PlanInner(units, conjuncts, wish);
    }

private:
    // Tables, and outer joins as a whole, that are inner joined; what joins them becomes plain conditions.
    void Flatten(JoinNode& node, std::vector<Unit>& units, Conjuncts& conjuncts) {
        if (node.kind != JoinNode::Kind::Inner) {
            Unit unit;
            unit.node = &node;
            if (node.kind == JoinNode::Kind::Table) unit.table = dynamic_cast<TableSource*>(tables_[node.table]);
            units.push_back(unit);
            return;
        }
        for (Conjunct& conjunct : node.on) conjuncts.push_back(&conjunct);
        for (const auto& child : node.children) Flatten(*child, units, conjuncts);
    }

    // From "a = b" and "a = 5" follows "b = 5", by which b may be found in an index.
    void AddImplied(Conjuncts& conjuncts) {
        const std::size_t known = conjuncts.size();
        for (std::size_t i = 0; i < known; ++i) {
            for (const Comparison& link : conjuncts[i]->comparisons) {
                const bool columns = IsPlain(link.subject) && IsPlain(link.other);
                if (!columns || link.op != BinaryOperator::Equal || !IsTransitive(link)) continue;
                if (link.subject.outer || link.other.outer) continue;
                for (std::size_t j = 0; j < known; ++j) AddImplied(link, *conjuncts[j], conjuncts);
            }
        }
    }

    void AddImplied(const Comparison& link, const Conjunct& fixed, Conjuncts& conjuncts) {
        if (fixed.comparisons.empty() || fixed.comparisons[0].op != BinaryOperator::Equal) return;
        for (const Comparison& equality : fixed.comparisons) {
            const auto* literal = dynamic_cast<LiteralExpression*>(equality.other.expression);
            if (literal == nullptr || !SameColumn(equality.subject, link.other)) continue;
            const auto& column = static_cast<const SlotExpression&>(*link.subject.expression);
            auto subject = std::make_unique<SlotExpression>(column.GetSource(), column.GetColumn());
            auto value = std::make_unique<LiteralExpression>(literal->GetValue());
            Conjunct implied;
            implied.sources = link.subject.sources;
            implied.comparisons = {
                {{subject.get(), implied.sources, false}, BinaryOperator::Equal, {value.get(), 0, false}}};
            implied.test = plan_.Own(MakeComparison(BinaryOperator::Equal, std::move(subject), std::move(value)));
            implied_.push_back(std::move(implied));
            conjuncts.push_back(&implied_.back());
        }
    }

    static bool SameColumn(const Operand& a, const Operand& b) {
        const SlotExpression* left = a.expression->AsColumn();
        const SlotExpression* right = b.expression->AsColumn();
        return left != nullptr && right != nullptr && &left->GetSource() == &right->GetSource() &&
               left->GetColumn() == right->GetColumn();
    }

    // Whether equality with both sides is equality of both sides.
    static bool IsTransitive(const Comparison& link) {
        const Value::Type a = link.subject.expression->Type();
        const Value::Type b = link.other.expression->Type();
        return (IsExactAsDouble(a) && IsExactAsDouble(b)) || (a == Value::Type::Text && b == Value::Type::Text);
    }

    // ---- estimates ----

    double EstimateAll(const JoinNode& node) const {
        if (node.kind == JoinNode::Kind::Table) {
            const auto* table = dynamic_cast<TableSource*>(tables_[node.table]);
            constexpr double kUnknown = 1000;
            return table != nullptr ? std::max(1.0, static_cast<double>(table->GetTable()->EstimatedRows())) : kUnknown;
        }
        double rows = 1;
        for (const auto& child : node.children) rows = std::max(rows, EstimateAll(*child));
        return rows;
    }

    void Estimate(Unit& unit, const Conjuncts& conjuncts) const {
        unit.all_rows = unit.rows = unit.access_cost = EstimateAll(*unit.node);
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

    static Conjuncts OwnConjuncts(const Unit& unit, const Conjuncts& conjuncts) {
        Conjuncts own;
        for (Conjunct* conjunct : conjuncts) {
            if (conjunct->sources != 0 && Contains(unit.node->sources, conjunct->sources)) own.push_back(conjunct);
        }
        return own;
    }

    // Equalities between the unit and what is there already.
    static std::vector<const Comparison*> Links(SourceSet unit, const Conjuncts& conjuncts, SourceSet placed) {
        std::vector<const Comparison*> links;
        for (const Conjunct* conjunct : conjuncts) {
            for (const Comparison& comparison : conjunct->comparisons) {
                const bool own = comparison.subject.sources != 0 && Contains(unit, comparison.subject.sources);
                const bool other = comparison.other.sources != 0 && Contains(placed, comparison.other.sources);
                const bool hashable = !comparison.subject.outer;
                if (comparison.op == BinaryOperator::Equal && own && other && hashable) links.push_back(&comparison);
            }
        }
        return links;
    }

    // Rows of the join with the unit. Where no key is known to be unique, it is taken for one of the smaller side.
    static double JoinedRows(const Unit& unit, const std::vector<const Comparison*>& links, double rows) {
        if (links.empty()) return rows * unit.rows;
        const bool unique = unit.table != nullptr && ExpectedMatches(*unit.table, links) <= 1;
        const double all = unique ? rows : std::max(rows, unit.all_rows);
        return std::max(1.0, all * unit.rows / unit.all_rows);
    }

    // ---- the order of an inner join ----

    Order ChooseOrder(const std::vector<Unit>& units, const Conjuncts& conjuncts) const {
        std::vector<std::size_t> leaders(units.size());
        for (std::size_t i = 0; i < units.size(); ++i) leaders[i] = i;
        std::ranges::sort(leaders, {}, [&](std::size_t i) { return units[i].rows; });
        if (leaders.size() > kMaxLeaders) leaders.erase(leaders.begin() + 1, leaders.end());
        std::optional<Order> best;
        for (const std::size_t leader : leaders) {
            Order order = OrderFrom(leader, units, conjuncts);
            if (!best || order.cost < best->cost) best = std::move(order);
        }
        return *best;
    }

    Order OrderFrom(std::size_t leader, const std::vector<Unit>& units, const Conjuncts& conjuncts) const {
        Order order;
        order.leader = leader;
        order.cost = units[leader].access_cost;
        order.rows = units[leader].rows;
        SourceSet placed = units[leader].node->sources;
        std::vector<bool> done(units.size(), false);
        done[leader] = true;
        for (std::size_t left = units.size() - 1; left > 0; --left) {
            const Candidate next = NextUnit(units, done, conjuncts, placed, order.rows);
            order.steps.push_back(next.step);
            order.cost += next.cost;
            order.rows = next.rows;
            done[next.step.unit] = true;
            placed |= units[next.step.unit].node->sources;
        }
        return order;
    }

    struct Candidate {
        Step step;
        bool linked = false;
        double cost = 0;
        double rows = 0;  // of the join so far, with it
    };

    Candidate NextUnit(const std::vector<Unit>& units, const std::vector<bool>& done, const Conjuncts& conjuncts,
                       SourceSet placed, double rows) const {
        std::optional<Candidate> best;
        for (std::size_t i = 0; i < units.size(); ++i) {
            if (done[i]) continue;
            Candidate candidate = Try(units[i], conjuncts, placed, rows);
            candidate.step.unit = i;
            // Tables that nothing links come last: each row would meet each row.
            const bool better =
                !best || (candidate.linked && !best->linked) ||
                (candidate.linked == best->linked && candidate.cost + candidate.rows < best->cost + best->rows);
            if (better) best = candidate;
        }
        return *best;
    }

    Candidate Try(const Unit& unit, const Conjuncts& conjuncts, SourceSet placed, double rows) const {
        Candidate candidate;
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
            candidate.step.method = Method::Index;
        }
        return candidate;
    }

    // ---- building ----

    Planned PlanInner(std::vector<Unit>& units, Conjuncts& conjuncts, const RowsWish& wish) {
        if (units.size() == 1) return PlanSingle(units[0], conjuncts, wish);
        AddImplied(conjuncts);
        for (Unit& unit : units) Estimate(unit, conjuncts);
        const Order order = ChooseOrder(units, conjuncts);
        Unit& leader = units[order.leader];
        Conjuncts first = OwnConjuncts(leader, conjuncts);
        for (Conjunct* conjunct : conjuncts) {
            if (conjunct->sources == 0) first.push_back(conjunct);
        }
        Planned planned = PlanUnit(leader, first, {});
        SourceSet placed = leader.node->sources;
        Conjuncts waiting = Without(conjuncts, first);
        for (const Step& step : order.steps) {
            AddStep(units[step.unit], step.method, placed, planned, waiting);
            placed |= units[step.unit].node->sources;
            planned.rows->SetEstimatedRows(order.rows);
        }
        planned.count = order.rows;
        return planned;
    }

    // All conditions are its own, or of nothing.
    Planned PlanSingle(Unit& unit, Conjuncts& conjuncts, const RowsWish& wish) {
        AddImplied(conjuncts);
        unit.all_rows = EstimateAll(*unit.node);
        double share = 1;
        for (const Conjunct* conjunct : conjuncts) share *= Selectivity(*conjunct);
        unit.rows = std::max(1.0, unit.all_rows * share);
        Conjuncts own = OwnConjuncts(unit, conjuncts);
        for (Conjunct* conjunct : conjuncts) {
            if (conjunct->sources == 0) own.push_back(conjunct);
        }
        return PlanUnit(unit, own, wish);
    }

    static Conjuncts Without(const Conjuncts& all, const Conjuncts& some) {
        Conjuncts rest;
        for (Conjunct* conjunct : all) {
            if (std::ranges::find(some, conjunct) == some.end()) rest.push_back(conjunct);
        }
        return rest;
    }

    // A unit by itself with its own conditions.
    Planned PlanUnit(const Unit& unit, const Conjuncts& own, const RowsWish& wish) {
        if (unit.node->kind == JoinNode::Kind::Left) return PlanLeft(*unit.node, own);
        Planned planned;
        std::vector<const Expression*> met;
        planned.count = unit.rows;
        if (unit.table != nullptr) {
            IndexChoice choice = ChooseIndex(*unit.table, own, 0, wish);
            if (!choice.UsesIndex() && HasOuterLink(*unit.node, own)) return PlanOuterLookup(unit, own);
            planned.ordered = choice.path.ordered;
            if (choice.UsesIndex()) planned.count = std::max(1.0, std::min(planned.count, choice.rows));
            met = choice.path.met;
            planned.rows = Access(*unit.table, std::move(choice));
        } else {
            auto& derived = static_cast<DerivedSource&>(*tables_[unit.node->table]);
            planned.rows = std::make_unique<DerivedAccess>(derived);
        }
        planned.rows = WithFilter(std::move(planned.rows), own, met);
        return planned;
    }

    static RowOperatorPtr Access(TableSource& table, IndexChoice choice) {
        auto access = std::make_unique<TableAccess>(table, std::move(choice.path));
        access->SetEstimatedRows(choice.rows);
        return access;
    }

    static bool IsOuterLink(const JoinNode& node, const Comparison& comparison) {
        const bool own = comparison.subject.sources == node.sources && !comparison.subject.outer;
        const bool other = comparison.other.sources == 0 && comparison.other.outer;
        return comparison.op == BinaryOperator::Equal && own && other && IsPlain(comparison.subject);
    }

    static bool HasOuterLink(const JoinNode& node, const Conjuncts& own) {
        return std::ranges::any_of(own, [&](const Conjunct* conjunct) {
            return std::ranges::any_of(conjunct->comparisons,
                                       [&](const Comparison& comparison) { return IsOuterLink(node, comparison); });
        });
    }

    // A table that is looked up again and again for rows of an outer query, and has no index for it, is read once.
    Planned PlanOuterLookup(const Unit& unit, const Conjuncts& own) {
        Conjuncts inner;
        std::vector<HashKey> keys;
        for (Conjunct* conjunct : own) {
            if (!conjunct->outer) inner.push_back(conjunct);
            for (const Comparison& comparison : conjunct->comparisons) {
                if (!IsOuterLink(*unit.node, comparison)) continue;
                keys.push_back({comparison.subject.expression, comparison.other.expression});
            }
        }
        unit.table->KeepValues();
        Planned planned = PlanUnit(unit, inner, {});
        planned.rows = std::make_unique<HashLookup>(std::move(planned.rows), std::vector<Source*>{unit.table}, keys);
        planned.rows = WithFilter(std::move(planned.rows), Without(own, inner));
        return planned;
    }

    void AddStep(const Unit& unit, Method method, SourceSet placed, Planned& planned, Conjuncts& waiting) {
        const SourceSet now = placed | unit.node->sources;
        Conjuncts ready;
        for (Conjunct* conjunct : waiting) {
            if (Contains(now, conjunct->sources)) ready.push_back(conjunct);
        }
        waiting = Without(waiting, ready);
        RowOperatorPtr right;
        std::vector<const Expression*> met;
        if (method == Method::Index) {
            IndexChoice choice = ChooseIndex(*unit.table, ready, placed);
            met = choice.path.met;
            right = Access(*unit.table, std::move(choice));
        } else {
            right = MakeHashLookup(*unit.node, placed, ready);
        }
        std::vector<Expression*> tests = Tests(ready);
        const std::size_t last = PutLast(tests, met);
        planned.rows = std::make_unique<LookupJoin>(std::move(planned.rows), std::move(right), std::move(tests), last,
                                                    std::vector<Source*>());
        planned.ordered = false;
    }

    // Conditions that the lookup takes care of leave `conjuncts`.
    RowOperatorPtr MakeHashLookup(JoinNode& node, SourceSet placed, Conjuncts& conjuncts) {
        Conjuncts inner;
        for (Conjunct* conjunct : conjuncts) {
            // What an outer query changes from time to time cannot be built in.
            if (conjunct->sources != 0 && Contains(node.sources, conjunct->sources) && !conjunct->outer)
                inner.push_back(conjunct);
        }
        conjuncts = Without(conjuncts, inner);
        const std::vector<HashKey> keys = TakeHashKeys(node.sources, placed, conjuncts);
        Planned child = PlanNode(node, std::move(inner));
        std::vector<Source*> sources = SourcesOf(node);
        for (Source* source : sources) {
            if (auto* table = dynamic_cast<TableSource*>(source)) table->KeepValues();
        }
        return std::make_unique<HashLookup>(std::move(child.rows), std::move(sources), keys);
    }

    static bool IsPlain(const Operand& operand) { return operand.expression->AsColumn() != nullptr; }

    // Computed keys may fail for rows that a plain key would have passed over: they are used only without plain ones.
    static std::vector<HashKey> TakeHashKeys(SourceSet unit, SourceSet placed, Conjuncts& conjuncts) {
        std::vector<const Comparison*> links = Links(unit, conjuncts, placed);
        const auto plain = [](const Comparison* link) { return IsPlain(link->subject) && IsPlain(link->other); };
        if (std::ranges::any_of(links, plain))
            std::erase_if(links, [&](const Comparison* link) { return !plain(link); });
        std::vector<HashKey> keys;
        for (const Comparison* link : links) {
            keys.push_back({link->subject.expression, link->other.expression});
            const bool exact =
                IsExactAsDouble(link->subject.expression->Type()) && IsExactAsDouble(link->other.expression->Type());
            if (!exact) continue;
            std::erase_if(conjuncts, [&](const Conjunct* conjunct) {
                return std::ranges::any_of(conjunct->comparisons,
                                           [link](const Comparison& comparison) { return &comparison == link; });
            });
        }
        return keys;
    }

    std::vector<Source*> SourcesOf(const JoinNode& node) const {
        std::vector<Source*> sources;
        for (std::size_t i = 0; i < tables_.size(); ++i) {
            if ((node.sources >> i & 1U) != 0) sources.push_back(tables_[i]);
        }
        return sources;
    }

    // ---- outer joins ----

    // Conditions from above go below the join only on the side whose rows all stay.
    Planned PlanLeft(JoinNode& node, const Conjuncts& conjuncts) {
        JoinNode& left = *node.children[0];
        JoinNode& right = *node.children[1];
        Conjuncts pushed;
        for (Conjunct* conjunct : conjuncts) {
            if (Contains(left.sources, conjunct->sources)) pushed.push_back(conjunct);
        }
        const Conjuncts above = Without(conjuncts, pushed);
        Planned planned = PlanNode(left, std::move(pushed));

        Conjuncts on;
        for (Conjunct& conjunct : node.on) on.push_back(&conjunct);
        std::vector<const Expression*> met;
        RowOperatorPtr lookup = MakeOuterLookup(left, right, planned.count, on, met);
        std::vector<Expression*> tests = Tests(on);
        const std::size_t last = PutLast(tests, met);
        planned.rows = std::make_unique<LookupJoin>(std::move(planned.rows), std::move(lookup), std::move(tests), last,
                                                    SourcesOf(right));
        planned.rows = WithFilter(std::move(planned.rows), above);
        planned.count = std::max(planned.count, EstimateAll(right));
        planned.ordered = false;
        return planned;
    }

    RowOperatorPtr MakeOuterLookup(JoinNode& left, JoinNode& right, double left_rows, Conjuncts& on,
                                   std::vector<const Expression*>& met) {
        auto* table = right.kind == JoinNode::Kind::Table ? dynamic_cast<TableSource*>(tables_[right.table]) : nullptr;
        if (table != nullptr) {
            IndexChoice choice = ChooseIndex(*table, on, left.sources);
            const double by_index = left_rows * choice.cost;
            const double by_hash = EstimateAll(right) * (1 + kHashRowCost) + left_rows * kProbeCost;
            if (choice.IsLookup() && by_index < by_hash) {
                met = choice.path.met;
                return Access(*table, std::move(choice));
            }
        }
        return MakeHashLookup(right, left.sources, on);
    }

    Plan& plan_;
    std::span<Source* const> tables_;
    std::deque<Conjunct> implied_;
};

}  // namespace

JoinPlan PlanJoins(Plan& plan, std::span<Source* const> tables, JoinNode& root, std::vector<Conjunct>& where,
                   const RowsWish& wish) {
    Conjuncts conjuncts;
    for (Conjunct& conjunct : where) conjuncts.push_back(&conjunct);
    Planned planned = JoinPlanner(plan, tables).PlanNode(root, std::move(conjuncts), wish);
    return {std::move(planned.rows), planned.ordered};
}

}  // namespace qmtrain::sql
