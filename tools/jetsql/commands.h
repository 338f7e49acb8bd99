// What jetsql can be asked for.
#pragma once

#include "dao/jet_database.h"
#include "jet/database.h"
#include "options.h"
#include "output.h"
#include "table_writer.h"

namespace qmtrain::jetsql {

class Commands {
public:
    Commands(const Options& options, dao::JetDatabase& database, Output& output, TableWriter& writer)
        : options_(options), dao_(database), database_(database.Storage()), output_(output), writer_(writer) {}

    // Does everything the options name; the exit status.
    int Run();

private:
    std::vector<jet::CatalogObject> Tables();
    void ListTables();
    void PrintSchema();
    void Dump(const std::string& name);
    void RunSql();
    bool Check();

    const Options& options_;
    dao::JetDatabase& dao_;
    jet::Database& database_;
    Output& output_;
    TableWriter& writer_;
};

}  // namespace qmtrain::jetsql
