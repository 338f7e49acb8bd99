// How the tables of a FROM clause are joined.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "sql/planning/conditions.h"

namespace qmtrain::sql {

// Inner has any number of children; Left has the preserved side and the other one.
struct JoinNode {
    enum class Kind : std::uint8_t { Table, Inner, Left };

    Kind kind = Kind::Table;
    std::size_t table = 0;  // in the scope
    std::vector<std::unique_ptr<JoinNode>> children;
    std::vector<Conjunct> on;
    SourceSet sources = 0;
};

}  // namespace qmtrain::sql
