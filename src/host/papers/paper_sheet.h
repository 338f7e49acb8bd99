// A paper as it is handed out: its questions to be answered by hand, or with their answers.
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
