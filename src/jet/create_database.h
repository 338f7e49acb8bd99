// Making a new database file.
#pragma once

#include <filesystem>
#include <functional>

#include "jet/pager.h"
#include "jet/table_spec.h"

namespace qmtrain::jet {

class Database;

// Writes the rows of the new database, those of the system tables too.
using DatabaseFill = std::function<void(Database&)>;

// The name of a database until it is whole: beside the one it is to have, and with room for the name of a journal.
std::filesystem::path UnfinishedPath(std::filesystem::path database);

// Makes a database with the four system tables; `fill` puts all rows into it, in one scope. Without it the system
// tables get the rows that every database has. The file gets its name when it is complete. Raises DatabaseExists when
// there is a file of that name. `like`: the file that this one is a copy of, and whose owner and rights it gets.
void MakeDatabaseFile(const std::filesystem::path& path, const NewDatabase& settings, const PagerOptions& options,
                      const DatabaseFill& fill = {}, File* like = nullptr);

}  // namespace qmtrain::jet
