// What "For Each" asks a collection for.
#pragma once

#include <vector>

#include "automation/com_ptr.h"
#include "automation/variant.h"

namespace qmtrain::server {

// Goes through the items as they are now.
automation::ComPtr<IUnknown> Enumerate(std::vector<automation::Variant> items);

}  // namespace qmtrain::server
