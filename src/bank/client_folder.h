// The folder of a candidate's client database, Client.mdb.
#pragma once

#include <string>
#include <string_view>

namespace qmtrain {

// The client database in the folder.
std::u16string ClientDatabase(std::u16string_view folder);

// Raises the component's error when the folder has no client database.
void RequireClientDatabase(std::u16string_view folder);

}  // namespace qmtrain
