// The windows of qmtrain.
#pragma once

#include "host/commands/options.h"

namespace qmtrain::host {

// Opens the window that the command names and returns when it is closed; the program's exit code.
int RunWindows(const Options& options);

}  // namespace qmtrain::host
