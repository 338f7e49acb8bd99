// The practice history as text, as the window lists it.
#pragma once

#include "host/options.h"

namespace qmtrain::host {

// UTF-8, a line for each training; CSV and JSON begin with the columns' names. Raises the component's error when there
// is no history to read.
std::string HistoryText(const Options& options);

}  // namespace qmtrain::host
