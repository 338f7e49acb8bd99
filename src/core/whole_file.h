// Files of the user that are written whole or not at all.
#pragma once

#include <filesystem>
#include <string_view>

#include "core/error.h"

namespace qmtrain {

// The error with the temporary name replaced by the name the user knows.
AutomationError NamedAfter(const std::filesystem::path& place, const AutomationError& error,
                           const std::filesystem::path& unfinished);

// Puts a file with these bytes in the place of what stands there, which stays as it is when that fails; a link there is
// replaced, not followed. Raises what File and FileSystem raise, naming the file.
void WriteWholeFile(std::u16string_view file, std::string_view bytes);

}  // namespace qmtrain
