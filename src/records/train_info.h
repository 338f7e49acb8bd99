// A training: one practice run of a paper.
//
// ClientPath, then Init, then the rest. An operation that fails leaves an entry in the log and returns its empty value.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "core/date.h"
#include "dao/dao.h"
#include "records/ncre_user.h"
#include "records/subject_info.h"

namespace qmtrain {

class TrainInfo {
public:
    // The folder of the client database, stored as given. Raises the component's error when it holds none.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value);

    // Of the training last loaded; empty before.
    std::shared_ptr<NCREUser> TrainUser() const { return user_; }
    std::shared_ptr<SubjectInfo> TrainSubject() const { return subject_; }

    Date startDate() const { return start_date_; }
    void startDate(Date value) { start_date_ = value; }
    Date endDate() const { return end_date_; }
    void endDate(Date value) { end_date_ = value; }

    // Seconds; the column is called UseTime.
    std::int32_t UserTime() const { return use_time_; }
    void UserTime(std::int32_t value) { use_time_ = value; }

    std::int32_t TheoryNo() const { return theory_no_; }
    std::int32_t OperationNo() const { return operation_no_; }
    float AnswerScore() const { return answer_score_; }
    void AnswerScore(float value) { answer_score_ = value; }
    std::int32_t TrainID() const { return train_id_; }
    void TrainID(std::int32_t value) { train_id_ = value; }

    // Whose trainings GetTrainTimes counts; -1 means any.
    std::int32_t SubjectCode() const { return subject_code_; }
    void SubjectCode(std::int32_t value) { subject_code_ = value; }
    std::int32_t UserId() const { return user_id_; }
    void UserId(std::int32_t value) { user_id_ = value; }

    // What the questions of the training TrainID are worth together, added up at each call; 0 when it has none.
    float TrainScore() const { return GetTrainScore(train_id_); }

    // Opens the client database, closing the one that was open. When there is none, `strErrMsg` tells the user so.
    bool Init(std::u16string& strErrMsg);

    // Records the start of a practice; the number of the new training, or -1. The object's own values stay.
    std::int32_t AddNewTrain(Date dStartDate, const std::int32_t& nUserId, std::int32_t nTheoryNo,
                             std::int32_t nOperationNo, std::int32_t nSubjectCode);

    // Records the end of a practice; false when there is no such training. The time used is set when the end is
    // later than the start.
    bool Update(std::int32_t nTrainId, Date dEndDate, float sngScore);

    // Fills the object, with TrainUser and TrainSubject; without such a row nothing changes.
    void LoadFromID(std::int32_t nTrainId);

    // The rows of a select on the client database, of the summary of all trainings when the text is empty; the caller
    // closes them.
    std::shared_ptr<dao::Recordset> GetRecordset(std::u16string_view strSql) const;

    // How many trainings UserId has made in SubjectCode.
    std::int32_t GetTrainTimes() const;

    // Shows the training history window, when the program has windows.
    void ShowDlg() const;

    // What ShowDlg does. The windows set it, so that this class needs none.
    static void SetHistoryWindow(std::function<void()> show);

private:
    float GetTrainScore(std::int32_t train_id) const;

    std::u16string client_path_;
    dao::Connection database_;
    std::shared_ptr<NCREUser> user_;
    std::shared_ptr<SubjectInfo> subject_;
    Date start_date_;
    Date end_date_;
    std::int32_t use_time_ = -1;
    std::int32_t theory_no_ = -1;
    std::int32_t operation_no_ = -1;
    float answer_score_ = -1;
    std::int32_t train_id_ = -1;
    std::int32_t subject_code_ = -1;
    std::int32_t user_id_ = 0;  // unlike the other numbers
};

}  // namespace qmtrain
