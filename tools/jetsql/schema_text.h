// The structure of a database as SQL statements that make it again.
#pragma once

#include <string>
#include <vector>

#include "jet/database.h"

namespace qmtrain::jetsql {

struct SchemaText {
    std::vector<std::u16string> statements;  // each ends with ";"
    std::vector<std::u16string> left_out;    // what SQL has no words for
};

// The given tables, their indexes, and the relationships between them. Requires: a Reading scope.
SchemaText DescribeSchema(jet::Database& database, const std::vector<std::u16string>& tables);

}  // namespace qmtrain::jetsql
