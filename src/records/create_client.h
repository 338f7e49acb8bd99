// The structure of the client database.
#pragma once

#include <string_view>

#include "dao/new_database.h"

namespace qmtrain {

// Makes Client.mdb in the folder: trainings, results, notes, candidates, subjects, question types; empty but for what
// `fill` puts in. Raises DatabaseExists when the folder has one, and leaves nothing behind when anything fails.
void CreateClientDatabase(std::u16string_view folder, const dao::DatabaseFill& fill = {},
                          const jet::NewDatabase& settings = {});

}  // namespace qmtrain
