// A record set seen as a table, so that a condition can be looked for with the SQL room's own means.
#pragma once

#include <memory>

#include "sql/storage.h"

namespace qmtrain::dao {

class RowList;

// A catalogue with one table, "Rows": the rows of the list from `first` on, up to its end or back to its beginning,
// RowId = position + 1.
std::unique_ptr<sql::Catalog> CatalogOfRows(RowList& rows, std::int64_t first, bool backwards = false);

}  // namespace qmtrain::dao
