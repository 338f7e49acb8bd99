// Putting a database right where its rows tell what is right.
#pragma once

namespace qmtrain::jet {

class Database;

// Counts the rows and makes all indexes anew from them, but for those whose text order is not known. What is damaged
// elsewhere cannot be told from anything: then FileDamaged is raised, and the file is as it was.
void Repair(Database& database);

}  // namespace qmtrain::jet
