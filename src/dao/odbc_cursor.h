// Cursors over the rows that a server yields.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "dao/odbc_link.h"
#include "sql/storage.h"

namespace qmtrain::dao {

// What a request asks for.
enum class Extent : std::uint8_t {
    Whole,  // all rows of a table, in whatever order: they come in pages, for most who open one look at its beginning,
            // or add to it
    Some,   // any number of rows
    Limited,  // the same, by a limit in its text
    Few,      // no more than are read at once
    Work,     // any number of rows, which the server has to calculate
};

// Over the rows of a link that a request asks for.
std::unique_ptr<sql::Cursor> CursorOverLink(std::shared_ptr<OdbcLink> link, const odbc::Request& request,
                                            Extent extent);

// Over rows that belong to no table. The columns must outlive it.
std::unique_ptr<sql::Cursor> CursorOverResult(std::shared_ptr<OdbcServer> server, const odbc::Request& request,
                                              Extent extent, const std::vector<sql::Column>& columns);

}  // namespace qmtrain::dao
