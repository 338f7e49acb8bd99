#include "records/train_result.h"

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "core/trap.h"

namespace qmtrain {
namespace {

std::u16string Selecting(std::int32_t train_id, std::u16string_view data_code, std::u16string_view rec_no) {
    RequireNoQuote(data_code);
    RequireNoQuote(rec_no);
    return (u"Select * From TrainResult Where TrainID=" + ToText(train_id) + u" And DataCode='")
        .append(data_code)
        .append(u"' And QuestionRecNo='")
        .append(rec_no)
        .append(u"'");
}

std::u16string_view Ordering(bool has_operation_paper, std::int32_t subject_code) {
    if (!has_operation_paper) return u" Order by TQ.I_TypeID, TR.QuestionNO";
    const bool by_number = subject_code == 2 || subject_code == 3;
    return by_number ? u" Order by TQ.I_TypeID,TR.QuestionNO" : u" Order by TQ.I_TypeId,TR.Distin";
}

}  // namespace

bool TrainResult::InitDB() {
    return Trapped(u"TrainResult.InitDB", false, [&](bool& result) {
        if (!database_.IsOpen()) database_.Open(ClientDatabase(client_path_));
        result = true;
    });
}

bool TrainResult::Add(std::int32_t nTrainId, std::int32_t nQuestionType, std::u16string_view strDataCode,
                      std::u16string_view strRecNo, float sngQuestionScore, float sngStudentScore,
                      std::u16string_view strAnswer, std::u16string_view strErrInfo, std::u16string_view strErrInfoXml,
                      std::int32_t nDistin, std::int32_t nDifficult, std::int32_t nQuestionNo) {
    return Trapped(u"TrainResult.Add", false, [&](bool& result) {
        if (!InitDB()) return;
        // No existing row is needed, so a server is not asked for any.
        auto rows =
            database_->OpenRecordset(u"Select top 1 * From TrainResult", dao::RecordsetType::Dynaset, dao::kAppendOnly);
        rows->AddNew();
        rows->Fields(u"TrainID").Value(nTrainId);
        rows->Fields(u"QuestionType").Value(nQuestionType);
        rows->Fields(u"DataCode").Value(strDataCode);
        rows->Fields(u"QuestionRecNo").Value(strRecNo);
        rows->Fields(u"QuestionScore").Value(sngQuestionScore);
        rows->Fields(u"Distin").Value(nDistin);
        rows->Fields(u"Difficult").Value(nDifficult);
        rows->Fields(u"AnswerScore").Value(sngStudentScore);
        rows->Fields(u"Answer").Value(strAnswer);
        rows->Fields(u"ErrInfo").Value(strErrInfo);
        rows->Fields(u"ErrInfoXml").Value(strErrInfoXml);
        rows->Fields(u"QuestionNo").Value(nQuestionNo);
        rows->Update();
        result = true;
    });
}

bool TrainResult::Update(std::int32_t nTrainId, std::u16string_view strDataCode, std::u16string_view strRecNo,
                         float sngStudentScore, std::u16string_view strAnswer, std::u16string_view strErrInfo,
                         std::u16string_view strErrInfoXml) {
    return Trapped(u"TrainResult.Update", false, [&](bool& result) {
        if (!InitDB()) return;
        const auto rows = database_->OpenRecordset(Selecting(nTrainId, strDataCode, strRecNo));
        if (!HasRow(*rows)) return;
        rows->Edit();
        rows->Fields(u"AnswerScore").Value(sngStudentScore);
        rows->Fields(u"StudentAnswer").Value(strAnswer);
        rows->Fields(u"ErrInfo").Value(strErrInfo);
        rows->Fields(u"ErrInfoXml").Value(strErrInfoXml);
        rows->Update();
        result = true;
    });
}

bool TrainResult::LoadTrainResultItem(std::int32_t nTrainId, std::u16string_view strDataCode,
                                      std::u16string_view strRecNo) {
    return Trapped(u"TrainResult.LoadTrianResultItem", false, [&](bool& result) {
        if (!InitDB()) return;
        const auto rows = database_->OpenRecordset(Selecting(nTrainId, strDataCode, strRecNo));
        if (!HasRow(*rows)) return;
        train_id_ = nTrainId;
        err_info_ = TextOr(rows->Fields(u"ErrInfo").Value(), u"");
        err_info_xml_ = TextOr(rows->Fields(u"ErrInfoXml").Value(), u"");
        student_answer_ = TextOr(rows->Fields(u"StudentAnswer").Value(), u"");
        question_score_ = SingleOr(rows->Fields(u"QuestionScore").Value(), 0);
        student_score_ = SingleOr(rows->Fields(u"AnswerScore").Value(), 0);
        distin_ = LongOr(rows->Fields(u"Distin").Value(), 1);
        const Value& difficult = rows->Fields(u"Difficult").Value();
        difficult_ = ToLong(difficult.IsNull() ? Value(u"") : difficult);  // "" is no number: Null ends in the trap
        result = true;
    });
}

bool TrainResult::GetTrainBaseInfo(std::int32_t train_id, std::int32_t& subject_code, bool& has_operation_paper) const {
    return Trapped(u"TrainResult.GetTrainBaseInfo", false, [&](bool& result) {
        const auto rows = database_->OpenRecordset(u"Select * From TrainInfo Where TrainId=" + ToText(train_id));
        if (!HasRow(*rows)) return;
        subject_code = LongOr(rows->Fields(u"SubjectCode").Value(), 1);
        has_operation_paper = LongOr(rows->Fields(u"OperationNo").Value(), 0) >= 1;
        result = true;
    });
}

std::shared_ptr<dao::Recordset> TrainResult::GetRecordset(std::int32_t nTrainId) {
    return Trapped(u"TrainResult.GetRecordset", std::shared_ptr<dao::Recordset>(), [&](auto& result) {
        std::u16string statement =
            u"SELECT TR.*,TQ.C_TestStyle,TQ.SubjectCode"
            u" From TrainInfo TI,TrainResult TR,Tbl_QuestionType TQ"
            u" Where TI.TrainID = TR.TrainID And TR.TrainID =" +
            ToText(nTrainId) +
            u" And TQ.I_TypeID = TR.QuestionType"
            u" And Cint(TQ.SubjectCode) = TI.SubjectCode";
        std::int32_t subject_code = 0;
        bool has_operation_paper = false;
        if (!InitDB() || !GetTrainBaseInfo(nTrainId, subject_code, has_operation_paper)) return;
        result = database_->OpenRecordset(statement.append(Ordering(has_operation_paper, subject_code)));
    });
}

}  // namespace qmtrain
