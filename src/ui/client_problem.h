// What windows say when the client database cannot be read.
#pragma once

#include <string>

#include "core/error.h"

namespace qmtrain::ui {

// Two lines: whether it is missing, damaged or locked, and the log that has the details.
std::u16string ClientProblem(const AutomationError& error);

}  // namespace qmtrain::ui
