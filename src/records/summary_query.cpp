#include "records/summary_query.h"

namespace qmtrain {

std::u16string SummaryQuery(std::u16string_view conditions, std::u16string_view order) {
    return std::u16string(
               u"SELECT TI.TrainID,TI.UserID,TI.StartDate,TI.EndDate,"
               u"TI.UseTime,TI.TheoryNo,TI.OperationNo,"
               u" Sum(TR.QuestionScore) As PaperScore,"
               u" Sum(TR.AnswerScore) As GetScore "
               u" From TrainInfo TI,TrainResult TR"
               u" Where TI.TrainID = TR.TrainID ")
        .append(conditions)
        .append(u" Group By TI.TrainID,TI.UserID,TI.StartDate,TI.EndDate,TI.UseTime,TI.TheoryNo,TI.OperationNo")
        .append(order);
}

}  // namespace qmtrain
