// A database as other programs read it must be as we read it.
#pragma once

#include <filesystem>

#include "jet/database.h"

namespace qmtrain::test {

// Every table as mdb-export writes it. Requires: HasProgram("mdb-export").
void ExpectSameAsMdbTools(jet::Database& database, const std::filesystem::path& path);

// The node_modules folder that holds mdb-reader, from the environment variable QMTRAIN_MDB_READER; null: not given.
const char* MdbReaderModules();
inline constexpr const char* kNoMdbReader = "QMTRAIN_MDB_READER does not name a node_modules folder with mdb-reader";

// Every table as npm's mdb-reader reads it. Requires: MdbReaderModules().
void ExpectSameAsMdbReader(jet::Database& database, const std::filesystem::path& path);

}  // namespace qmtrain::test
