// Pictures of the host's windows in their states.
#pragma once

#include <filesystem>

namespace qmtrain::screenshots {

// Works on sample data of its own in the folder. `small` takes them at their least size.
void TakeHostPictures(const std::filesystem::path& folder, bool small);

// Those of banks and their questions alone.
void TakeBankPictures(const std::filesystem::path& folder, bool small);

}  // namespace qmtrain::screenshots
