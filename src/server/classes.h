// The classes of the library.
#pragma once

#include <span>

#include "server/class.h"

namespace qmtrain::server {

// Those that clients may create.
std::span<const Class* const> CreatableClasses();

// Those whose objects clients get from others.
std::span<const Class* const> OtherClasses();

// A database engine with DAO's members. It is created by its number only, for the component's own tests.
const Class& TestEngineClass();

}  // namespace qmtrain::server
