// A folder with empty databases, for a host to fill.
#pragma once

#include <string_view>

namespace qmtrain::host {

// Makes the folder when it is missing, and in it Client.mdb, Total.mdb, and the local paper database LocalPaper.mdb.
// What is there already stays as it is. Raises what the engine raises.
void MakeDataFolder(std::u16string_view folder);

}  // namespace qmtrain::host
