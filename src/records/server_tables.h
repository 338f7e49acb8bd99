// The client database on a PostgreSQL server.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "dao/jet_database.h"
#include "odbc/connection.h"

namespace qmtrain {

// Makes tables, keys and indexes in the schema "public", and a role with the rights that hosts need, to be granted to
// their users, all or nothing; what is there already stays. Codes and names compare without regard to case, as in a
// file.
void MakeServerTables(odbc::Connection& server, std::u16string_view role = u"qmtrain_host");

// Links of the names that hosts know, in the database `client`. `connect`: "ODBC;…". Those that are there are made
// anew.
void LinkServerTables(dao::JetDatabase& client, std::u16string_view connect);

// Told the table, and how many of its rows are on the server.
using CopyProgress = std::function<void(std::u16string_view table, std::int64_t rows)>;

// Brings the rows of a client database to the server, with their numbers, and goes on where an earlier attempt was
// broken off. Raises the component's error when a table on the server holds anything else than rows of the file; to
// that table nothing has been written then.
void CopyToServer(dao::JetDatabase& client, odbc::Connection& server, const CopyProgress& progress);

}  // namespace qmtrain
