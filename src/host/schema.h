// The tables of the host's own database: papers, and practices that have not been handed in.
#pragma once

#include <string_view>

#include "dao/new_database.h"

namespace qmtrain::host {

// Makes the file. Raises DatabaseExists.
void CreateHostDatabase(std::u16string_view file, const dao::DatabaseFill& fill = {});

}  // namespace qmtrain::host
