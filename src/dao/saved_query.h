// Queries that are saved in a database file.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qmtrain::jet {
class Database;
}

namespace qmtrain::dao {

// The select statement of a saved query; nothing when there is no query of that name. Raises OperationNotSupported when
// the query is no plain select.
std::optional<std::u16string> SelectOfQuery(jet::Database& database, std::u16string_view name);

}  // namespace qmtrain::dao
