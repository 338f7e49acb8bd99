// A record set seen as a table, so that a condition can be looked for with the SQL room's own means.
#pragma once

#include <memory>

#include "sql/storage.h"

namespace qmtrain::dao {

class RowList;

// The database's tables, and in the place of one of that name "Rows": the rows of the list from `first` on, up to its
// end or back to its beginning, RowId = position + 1.
std::unique_ptr<sql::Catalog> CatalogOfRows(RowList& rows, std::int64_t first, bool backwards = false);

}  // namespace qmtrain::dao
