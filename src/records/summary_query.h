// The summary of trainings: a row for each that has results, with the paper's total and the points obtained.
#pragma once

#include <string>
#include <string_view>

namespace qmtrain {

// Columns: TrainID, UserID, StartDate, EndDate, UseTime, TheoryNo, OperationNo, PaperScore, GetScore. `conditions` are
// further ones in the form " And TI.UserID=1", `order` is an " Order By …" clause.
std::u16string SummaryQuery(std::u16string_view conditions = {}, std::u16string_view order = {});

}  // namespace qmtrain
