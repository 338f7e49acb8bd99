#include "sql/planning/join_planner.h"

#include <algorithm>
#include <list>

#include "sql/expressions/make_expression.h"
#include "sql/planning/index_choice.h"
#include "sql/planning/join_order.h"
#include "sql/planning/selectivity.h"
#include "sql/running/derived.h"
#include "sql/running/join.h"
#include "sql/running/table_access.h"

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;

struct Planned {
    RowOperatorPtr rows;
    double count = 0;
    bool ordered = false;
};

std::vector<Expression*> Tests(const Conjuncts& conjuncts) {
    std::vector<Expression*> tests;
    for (const Conjunct* conjunct : conjuncts) tests.push_back(conjunct->test);
    return tests;
}

// Puts the conditions last that the rows of an access path satisfy by themselves, as far as the path says so when it is
// opened; returns how many these are.
std::size_t PutLast(std::vector<Expression*>& tests, const std::vector<const Expression*>& met) {
    if (met.empty()) return 0;
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
    JoinPlanner(Plan& plan, Tables tables) : plan_(plan), tables_(tables) {}

    Planned PlanNode(JoinNode& node, Conjuncts conjuncts, const RowsWish& wish = {}) {
        if (node.kind == JoinNode::Kind::Left) return PlanLeft(node, conjuncts);
        std::vector<JoinMember> units;
        Flatten(node, units, conjuncts);
        return PlanInner(units, conjuncts, wish);
    }

private:
    // Tables, and outer joins as a whole, that are inner joined; what joins them becomes plain conditions.
    void Flatten(JoinNode& node, std::vector<JoinMember>& units, Conjuncts& conjuncts) {
        if (node.kind != JoinNode::Kind::Inner) {
            JoinMember unit;
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

    Planned PlanInner(std::vector<JoinMember>& units, Conjuncts& conjuncts, const RowsWish& wish) {
        if (units.size() == 1) return PlanSingle(units[0], conjuncts, wish);
        AddImplied(conjuncts);
        for (JoinMember& unit : units) Estimate(tables_, unit, conjuncts);
        const JoinOrder order = ChooseOrder(units, conjuncts);
        JoinMember& leader = units[order.leader];
        Conjuncts first = OwnConjuncts(leader, conjuncts);
        for (Conjunct* conjunct : conjuncts) {
            if (conjunct->sources == 0) first.push_back(conjunct);
        }
        Planned planned = PlanUnit(leader, first, {});
        SourceSet placed = leader.node->sources;
        Conjuncts waiting = Without(conjuncts, first);
        for (const JoinStep& step : order.steps) {
            AddStep(units[step.unit], step.method, placed, planned, waiting);
            placed |= units[step.unit].node->sources;
            planned.rows->SetEstimatedRows(order.rows);
        }
        planned.count = order.rows;
        return planned;
    }

    // All conditions are on this unit, or on no table at all.
    Planned PlanSingle(JoinMember& unit, Conjuncts& conjuncts, const RowsWish& wish) {
        AddImplied(conjuncts);
        unit.all_rows = EstimateRows(tables_, *unit.node);
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
    Planned PlanUnit(const JoinMember& unit, const Conjuncts& own, const RowsWish& wish) {
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
            auto access = Access(*unit.table, std::move(choice));
            if (own.empty()) access->SetReadsAhead();
            planned.rows = std::move(access);
        } else {
            auto& derived = static_cast<DerivedSource&>(*tables_[unit.node->table]);
            planned.rows = std::make_unique<DerivedAccess>(derived);
        }
        planned.rows = WithFilter(std::move(planned.rows), own, met);
        return planned;
    }

    static std::unique_ptr<TableAccess> Access(TableSource& table, IndexChoice choice) {
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
    Planned PlanOuterLookup(const JoinMember& unit, const Conjuncts& own) {
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

    void AddStep(const JoinMember& unit, JoinMethod method, SourceSet placed, Planned& planned, Conjuncts& waiting) {
        const SourceSet now = placed | unit.node->sources;
        Conjuncts ready;
        for (Conjunct* conjunct : waiting) {
            if (Contains(now, conjunct->sources)) ready.push_back(conjunct);
        }
        waiting = Without(waiting, ready);
        RowOperatorPtr right;
        std::vector<const Expression*> met;
        if (method == JoinMethod::Index) {
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
            // A condition that depends on an outer query cannot be applied while the table is built.
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
        planned.count = std::max(planned.count, EstimateRows(tables_, right));
        planned.ordered = false;
        return planned;
    }

    RowOperatorPtr MakeOuterLookup(JoinNode& left, JoinNode& right, double left_rows, Conjuncts& on,
                                   std::vector<const Expression*>& met) {
        auto* table = right.kind == JoinNode::Kind::Table ? dynamic_cast<TableSource*>(tables_[right.table]) : nullptr;
        if (table != nullptr) {
            IndexChoice choice = ChooseIndex(*table, on, left.sources);
            const double by_index = left_rows * choice.cost;
            const double by_hash = EstimateRows(tables_, right) * (1 + kHashRowCost) + left_rows * kProbeCost;
            if (choice.IsLookup() && by_index < by_hash) {
                met = choice.path.met;
                return Access(*table, std::move(choice));
            }
        }
        return MakeHashLookup(right, left.sources, on);
    }

    Plan& plan_;
    Tables tables_;
    std::list<Conjunct> implied_;
};

}  // namespace

JoinPlan PlanJoins(Plan& plan, Tables tables, JoinNode& root, std::vector<Conjunct>& where, const RowsWish& wish) {
    Conjuncts conjuncts;
    for (Conjunct& conjunct : where) conjuncts.push_back(&conjunct);
    Planned planned = JoinPlanner(plan, tables).PlanNode(root, std::move(conjuncts), wish);
    return {std::move(planned.rows), planned.ordered};
}

}  // namespace qmtrain::sql
