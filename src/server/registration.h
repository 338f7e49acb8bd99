// The library's entries in the registry: its classes, their interfaces, its type library.
#pragma once

#include "automation/com.h"

namespace qmtrain::server {

enum class RegistrationScope { User, Machine };

// All entries or none. What was there of another place of the library is replaced.
HRESULT Register(RegistrationScope scope);

// Takes out what Register has put in. Entries that the library for the other word size uses too stay for it.
HRESULT Unregister(RegistrationScope scope);

}  // namespace qmtrain::server
