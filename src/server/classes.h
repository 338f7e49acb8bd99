// The classes of the library.
#pragma once

#include <span>

#include "server/class.h"

namespace qmtrain::server {

// Those that clients may create.
std::span<const Class* const> CreatableClasses();

// Those whose objects clients get from others.
std::span<const Class* const> OtherClasses();

}  // namespace qmtrain::server
