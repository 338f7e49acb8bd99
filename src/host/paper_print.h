// A paper as a PDF file, on A4, with its answers or without.
#pragma once

#include <string>

#include "host/papers.h"

namespace qmtrain::host {

enum class Answers { Without, With };

// Writes the file anew, whole or not at all. No display is needed. Raises the component's error for a question that
// cannot be loaded, and what writing a file raises.
void PrintPaper(const DataFolder& folder, Edition edition, const Paper& paper, Answers answers,
                std::u16string_view file);

}  // namespace qmtrain::host
