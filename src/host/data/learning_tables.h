// The learning tables of the host's database: the cards of the review schedule, how long questions took, and papers
// drawn for practice alone. The tables are made when they are first needed.
#pragma once

#include "dao/dao.h"

namespace qmtrain::host {

// Makes what is missing. Raises what the engine raises.
void EnsureLearningTables(dao::Database& host);

bool HasLearningTables(dao::Database& host);

}  // namespace qmtrain::host
