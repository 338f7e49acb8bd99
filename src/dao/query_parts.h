// A select taken apart, as a file keeps saved queries.
#pragma once

#include <vector>

#include "jet/table_spec.h"
#include "sql/sql.h"

namespace qmtrain::dao {

// Raises OperationNotSupported for what is no plain select.
std::vector<jet::QueryPart> PartsOfSelect(const sql::Statement& statement);

}  // namespace qmtrain::dao
