// A select split into the parts in which a file stores saved queries.
#pragma once

#include <vector>

#include "jet/table_spec.h"
#include "sql/sql.h"

namespace qmtrain::dao {

// Raises OperationNotSupported for what is no plain select.
std::vector<jet::QueryPart> PartsOfSelect(const sql::Statement& statement);

}  // namespace qmtrain::dao
