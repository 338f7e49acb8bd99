// A paper for printing: with space for answers by hand, or with the standard answers.
#pragma once

#include "exchange/question.h"
#include "host/papers/papers.h"
#include "report/report.h"

namespace qmtrain::host {

enum class Answers { Without, With };

// Raises the component's error for a question that cannot be loaded.
report::Report PaperSheet(const DataFolder& folder, Edition edition, const Paper& paper, Answers answers,
                          const exchange::Progress& progress = {});

}  // namespace qmtrain::host
