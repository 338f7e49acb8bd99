// Short words for tests: run a statement, show its rows as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sql/memory_catalog.h"
#include "sql/sql.h"

namespace qmtrain::sql {

// A value as tests write it: "Null", "Empty", bytes in hexadecimal, everything else as its text.
std::string Show(const Value& value);

// The rows of a SELECT in UTF-8, values separated by " | ".
std::vector<std::string> Rows(Catalog& catalog, std::string_view sql);

// Runs statements separated by semicolons; returns the number of records that the last one affected.
std::int64_t RunSql(Catalog& catalog, std::string_view sql);

// The number of the error that parsing or running raises, 0 when there is none. Rows are read to the end.
std::int32_t ErrorOf(Catalog& catalog, std::string_view sql);

// The value of an expression without tables.
std::string Evaluate(std::string_view expression);

}  // namespace qmtrain::sql
