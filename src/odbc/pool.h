// Connections that nobody uses at the moment, kept for the next one who wants to go to the same place: each object of
// the component opens its database anew, and a server takes its time to greet.
#pragma once

#include <chrono>
#include <memory>

#include "odbc/connection.h"

namespace qmtrain::odbc {

// How long a server may keep the process waiting that wants to connect, at first 5 seconds; zero: for ever. Each
// attempt ends after five, and others follow while there is time: many who come at one moment are not greeted at once.
void LoginTimeout(std::chrono::seconds limit);
std::chrono::seconds LoginTimeout();

// One that nobody else uses. It goes back when it is released.
std::shared_ptr<Connection> TakeConnection(const ConnectString& connect);

}  // namespace qmtrain::odbc
