// How many rows conditions are expected to leave.
#pragma once

#include <vector>

#include "sql/planning/conditions.h"

namespace qmtrain::sql {

// Which part of the rows lies in a range with one end, and with two.
inline constexpr double kOneEnd = 0.3;
inline constexpr double kTwoEnds = 0.1;

// About which part of all rows meets the condition.
double Selectivity(const Conjunct& conjunct);

// How many rows a value of these columns is expected to have: 1 when they are unique, fewer the more columns.
double ExpectedMatches(TableSource& source, const std::vector<const Comparison*>& equalities);

}  // namespace qmtrain::sql
