// Files of the user that are written whole or not at all.
#pragma once

#include <string_view>

namespace qmtrain {

// Puts a file with these bytes in the place of what stands there, which stays as it is when that fails; a link there is
// replaced, not followed. Raises what File and FileSystem raise, naming the file.
void WriteWholeFile(std::u16string_view file, std::string_view bytes);

}  // namespace qmtrain
