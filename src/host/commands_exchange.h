// The commands that bring questions in and out, and make papers of them.
#pragma once

#include <string>
#include <vector>

namespace qmtrain::host {

// Each takes the words behind its name and returns what the program does. They raise the component's error for words
// that are not understood.
int ImportCommand(const std::vector<std::string>& words);
int ExportCommand(const std::vector<std::string>& words);
int PaperCommand(const std::vector<std::string>& words);

}  // namespace qmtrain::host
