// A file for what does not fit into memory for a while. No other process sees it, and it is deleted with its owner.
#pragma once

#include <memory>

#include "core/files.h"

namespace qmtrain::jet {

// In the system's folder for temporary files. Raises what FileSystem::Open raises.
std::unique_ptr<File> OpenTemporaryFile(FileSystem& system);

}  // namespace qmtrain::jet
