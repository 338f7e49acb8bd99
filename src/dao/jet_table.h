// A table of a Jet file, as SQL reads and changes it.
#pragma once

#include <memory>

#include "dao/jet_columns.h"
#include "jet/table.h"
#include "sql/storage.h"

namespace qmtrain::dao {

// `layout`: made of the table.
std::shared_ptr<sql::Table> ShowTable(std::shared_ptr<jet::Table> table, std::shared_ptr<const Layout> layout);

}  // namespace qmtrain::dao
