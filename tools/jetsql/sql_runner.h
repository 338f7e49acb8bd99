// SQL statements from the command line or from a script.
#pragma once

#include <string_view>
#include <vector>

#include "dao/jet_database.h"
#include "output.h"
#include "sql/sql.h"
#include "table_writer.h"

namespace qmtrain::jetsql {

class SqlRunner {
public:
    SqlRunner(dao::JetDatabase& database, Output& output, TableWriter& writer)
        : database_(database), output_(output), writer_(writer) {}

    // Prints how SELECT statements would be run.
    void Explain(std::u16string_view statements);

    // Runs statements separated by ";" in order. `together`: all of them or none. An error names the statement.
    void Run(std::u16string_view statements, bool together);

private:
    void RunAll(const std::vector<sql::Statement>& statements);
    void RunOne(const sql::Statement& statement);
    void PrintRows(const sql::Statement& statement);

    dao::JetDatabase& database_;
    Output& output_;
    TableWriter& writer_;
};

}  // namespace qmtrain::jetsql
