// The result of one question within a training.
//
// Only ClientPath must be set; the database is opened on first need. An operation that fails leaves an entry in the log
// and returns its empty value.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "dao/dao.h"

namespace qmtrain {

class TrainResult {
public:
    // The folder of the client database; not tested.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value) { client_path_ = value; }

    float QuestionScore() const { return question_score_; }
    void QuestionScore(float value) { question_score_ = value; }

    // The points obtained; the column is called AnswerScore.
    float StudentScore() const { return student_score_; }
    void StudentScore(float value) { student_score_ = value; }

    const std::u16string& ErrInfo() const { return err_info_; }
    void ErrInfo(std::u16string_view value) { err_info_ = value; }
    const std::u16string& ErrInfoXml() const { return err_info_xml_; }
    void ErrInfoXml(std::u16string_view value) { err_info_xml_ = value; }
    const std::u16string& StudentAnswer() const { return student_answer_; }
    void StudentAnswer(std::u16string_view value) { student_answer_ = value; }
    std::int32_t TrainID() const { return train_id_; }
    void TrainID(std::int32_t value) { train_id_ = value; }
    std::int32_t Distin() const { return distin_; }
    void Distin(std::int32_t value) { distin_ = value; }
    std::int32_t Difficult() const { return difficult_; }
    void Difficult(std::int32_t value) { difficult_ = value; }

    // Adds a question to a training. `strAnswer` is the answer given with the paper (column Answer), not the
    // candidate's.
    bool Add(std::int32_t nTrainId, std::int32_t nQuestionType, std::u16string_view strDataCode,
             std::u16string_view strRecNo, float sngQuestionScore, float sngStudentScore, std::u16string_view strAnswer,
             std::u16string_view strErrInfo, std::u16string_view strErrInfoXml, std::int32_t nDistin,
             std::int32_t nDifficult, std::int32_t nQuestionNo);

    // Writes a new marking; `strAnswer` is the candidate's answer (column StudentAnswer). False when the training does
    // not have the question.
    bool Update(std::int32_t nTrainId, std::u16string_view strDataCode, std::u16string_view strRecNo,
                float sngStudentScore, std::u16string_view strAnswer, std::u16string_view strErrInfo,
                std::u16string_view strErrInfoXml);

    // Fills the object; false when the training does not have the question. A Null difficulty fails the load after
    // everything else has been filled.
    bool LoadTrainResultItem(std::int32_t nTrainId, std::u16string_view strDataCode, std::u16string_view strRecNo);

    // All results of a training, joined with their question types, in the order in which a paper is shown; the caller
    // closes them. Empty when there is no such training.
    std::shared_ptr<dao::Recordset> GetRecordset(std::int32_t nTrainId);

private:
    bool InitDB();
    bool GetTrainBaseInfo(std::int32_t train_id, std::int32_t& subject_code, bool& has_operation_paper) const;

    std::u16string client_path_;
    float question_score_ = -1;
    float student_score_ = -1;
    std::u16string err_info_;
    std::u16string err_info_xml_;
    std::u16string student_answer_;
    std::int32_t train_id_ = -1;
    std::int32_t distin_ = -1;
    std::int32_t difficult_ = -1;
    dao::Connection database_;
};

}  // namespace qmtrain
