// The history, and the review of a paper, as reports that are exported and printed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "report/report.h"
#include "review/paper_rows.h"

namespace qmtrain::review {

// As the history window lists it. Raises the component's error when it cannot be read.
report::Report HistoryReport(std::u16string_view client_path, std::int32_t user_id, std::int32_t subject_code);

// Each question with its options, both answers, the marks, the errors, and the candidate's note. Raises the component's
// error when there is no such training.
report::Report PaperReport(const PaperSource& source);

}  // namespace qmtrain::review
