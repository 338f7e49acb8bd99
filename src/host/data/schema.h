// The tables of the host's own database: papers, and practices that have not been handed in.
#pragma once

#include <string_view>

#include "dao/new_database.h"

namespace qmtrain::host {

// Makes the file. Raises DatabaseExists.
void CreateHostDatabase(std::u16string_view file, const dao::DatabaseFill& fill = {});

// Gives the Host.mdb of an earlier version in the folder what it lacks; all that it holds stays. An earlier version
// recorded results when a practice started: those of practices that have not been handed in are taken back, so that
// they count as nothing until they are. Raises what the engine raises.
void UpgradeHostDatabase(std::u16string_view folder);

bool HasTable(dao::Database& database, std::u16string_view table);

}  // namespace qmtrain::host
