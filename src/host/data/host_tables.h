// The tables of the host's own database: papers, and practices that have not been handed in.
#pragma once

#include <string_view>

#include "dao/new_database.h"

namespace qmtrain::host {

// Makes the file. Raises DatabaseExists.
void CreateHostDatabase(std::u16string_view file, const dao::DatabaseFill& fill = {});

// Upgrades the Host.mdb of an earlier version in the folder and keeps everything in it. An earlier version recorded
// results when a practice started: those of practices that have not been handed in are removed, so that they count
// only once they are. Raises what the engine raises.
void UpgradeHostDatabase(std::u16string_view folder);

bool HasTable(dao::Database& database, std::u16string_view table);

}  // namespace qmtrain::host
