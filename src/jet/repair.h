// Rebuilding what follows from the rows of a database.
#pragma once

namespace qmtrain::jet {

class Database;

// Counts the rows and makes all indexes anew from them, but for those whose text order is not known. Other damage
// cannot be repaired: then FileDamaged is raised, and the file stays unchanged.
void Repair(Database& database);

}  // namespace qmtrain::jet
