// Whether an error means that the database server cannot be reached now.
#pragma once

#include "core/error.h"

namespace qmtrain::host {

inline bool IsServerAway(const AutomationError& error) {
    return error.Is(ErrorNumber::OdbcConnectionFailed) || error.Is(ErrorNumber::OperationCancelled);
}

}  // namespace qmtrain::host
