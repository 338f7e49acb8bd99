// The practice history and the papers as text.
#pragma once

#include "host/commands/options.h"

namespace qmtrain::host {

// As the window lists it: UTF-8, a line for each training; CSV and JSON begin with the columns' names. Raises the
// component's error when there is no history to read.
std::string HistoryText(const Options& options);

// The papers of the subject, of every subject when none was named: numbers, titles, questions, minutes.
std::string PapersText(const Options& options);

}  // namespace qmtrain::host
