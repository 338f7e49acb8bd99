// A new database with its tables, whole or not at all.
#pragma once

#include <functional>
#include <string_view>

#include "core/files.h"
#include "jet/table_spec.h"

namespace qmtrain::dao {

class Database;

// Puts the first rows into a new database.
using DatabaseFill = std::function<void(Database&)>;

// Runs the statements, separated by ";", in a new database, then `fill` if there is one. It gets its name when it is
// complete. Raises DatabaseExists when there is a file of that name.
void MakeDatabase(std::u16string_view name, std::u16string_view statements, const DatabaseFill& fill = {},
                  const jet::NewDatabase& settings = {}, FileSystem& files = FileSystem::Native());

}  // namespace qmtrain::dao
