// Connections that nobody uses at the moment, kept for the next one who wants to go to the same place: each object of
// the component opens its database anew, and a server takes its time to greet.
#pragma once

#include <memory>

#include "odbc/connection.h"

namespace qmtrain::odbc {

// One that nobody else uses. It goes back when it is let go.
std::shared_ptr<Connection> TakeConnection(const ConnectString& connect);

}  // namespace qmtrain::odbc
