// In which order the tables of an inner join are brought together, by what each order is expected to cost.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "sql/planning/conditions.h"
#include "sql/planning/join_tree.h"

namespace qmtrain::sql {

// The sources of a FROM clause, in its order.
using Tables = std::span<Source* const>;

// A member of an inner join: a table, or an outer join as a whole.
struct JoinMember {
    JoinNode* node = nullptr;
    TableSource* table = nullptr;  // null for anything but a table of the catalogue
    double all_rows = 1;
    double rows = 1;         // after its own conditions
    double access_cost = 1;  // of reading those
};

enum class JoinMethod : std::uint8_t { Index, Hash };

struct JoinStep {
    std::size_t unit = 0;
    JoinMethod method = JoinMethod::Hash;
};

struct JoinOrder {
    std::size_t leader = 0;
    std::vector<JoinStep> steps;
    double cost = 0;
    double rows = 0;
};

// What joining costs, in rows read by a plain scan.
inline constexpr double kHashRowCost = 2;
inline constexpr double kProbeCost = 0.7;

// About how many rows the tables have, before any condition.
double EstimateRows(Tables tables, const JoinNode& node);

// Estimates the unit by itself: its rows and the cost of reading them.
void Estimate(Tables tables, JoinMember& unit, const Conjuncts& conjuncts);

// The conditions on the unit alone.
Conjuncts OwnConjuncts(const JoinMember& unit, const Conjuncts& conjuncts);

// Equalities between the unit and what is there already.
std::vector<const Comparison*> Links(SourceSet unit, const Conjuncts& conjuncts, SourceSet placed);

JoinOrder ChooseOrder(const std::vector<JoinMember>& units, const Conjuncts& conjuncts);

}  // namespace qmtrain::sql
