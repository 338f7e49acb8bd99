// A new database with its tables, whole or not at all.
#pragma once

#include <string_view>

namespace qmtrain::dao {

// Runs the statements, separated by ";", in a new database. It gets its name when it is complete. Raises DatabaseExists
// when there is a file of that name.
void MakeDatabase(std::u16string_view name, std::u16string_view statements);

}  // namespace qmtrain::dao
