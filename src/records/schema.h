// The structure of an empty client database.
#pragma once

#include <string_view>

namespace qmtrain {

// Makes an empty Client.mdb in the folder: trainings, results, notes, candidates, subjects, question types. Raises
// DatabaseExists when the folder has one, and leaves nothing behind when anything fails.
void CreateClientDatabase(std::u16string_view folder);

}  // namespace qmtrain
