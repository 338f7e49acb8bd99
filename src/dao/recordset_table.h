// A record set seen as a table, so that a condition can be looked for with the SQL room's own means.
#pragma once

#include <memory>

#include "sql/storage.h"

namespace qmtrain::dao {

class JetRecordset;

// A catalogue with one table, "Rows": the rows of the record set from `first` on, RowId = position + 1.
std::unique_ptr<sql::Catalog> CatalogOfRows(JetRecordset& recordset, std::int64_t first);

}  // namespace qmtrain::dao
