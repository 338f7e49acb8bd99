// The folder of a candidate's client database, Client.mdb.
#pragma once

#include <string>
#include <string_view>

#include "dao/connection.h"

namespace qmtrain {

// The client database in the folder.
std::u16string ClientDatabase(std::u16string_view folder);

// Raises the component's error when the folder has no client database.
void RequireClientDatabase(std::u16string_view folder);

// Opens the folder's client database; false, and why in `problem`, when there is none. Raises what the engine raises.
bool OpenClientDatabase(std::u16string_view folder, dao::Connection& database, std::u16string& problem);

}  // namespace qmtrain
