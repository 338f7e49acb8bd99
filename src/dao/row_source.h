// What a record set's rows come from: a select with its parameters, over a database.
#pragma once

#include <memory>

#include "dao/jet_database.h"
#include "sql/sql.h"

namespace qmtrain::dao {

// A query refers to pages that other threads may be using.
struct EndQuery {
    std::shared_ptr<jet::Session> session;
    void operator()(sql::Query* query) const;
};
using QueryPtr = std::unique_ptr<sql::Query, EndQuery>;

// Others may have changed the tables since the first of two queries of one statement was opened: raises ObjectInvalid
// when the second one has other columns.
void RequireSameColumns(const sql::Query& first, const sql::Query& second);

struct RowSource {
    std::shared_ptr<JetDatabase> database;
    std::shared_ptr<const sql::Statement> statement;
    std::shared_ptr<const sql::ParameterValues> parameters;

    jet::Database& Storage() const { return database->Storage(); }
    std::uint64_t ChangeStamp() const;

    // Needs a scope.
    QueryPtr Open() const;
};

}  // namespace qmtrain::dao
