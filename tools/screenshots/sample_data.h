// A candidate's history and a paper, made up for pictures.
#pragma once

#include <string>

namespace qmtrain::screenshots {

// Client.mdb with a paper of each kind of question and `trainings` practices of it, and the network edition's
// LocalPaper.mdb, in the folder.
void MakeSampleData(const std::u16string& folder, int trainings);

}  // namespace qmtrain::screenshots
