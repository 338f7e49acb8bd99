// The questions that a candidate has ever answered wrong, or in part.
//
// ClientPath, then Init, then what is asked for, then Load; LoadItem fills the object with one of them. An operation
// that fails leaves an entry in the log and returns its empty value.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "dao/dao.h"
#include "learning/practice_history.h"

namespace qmtrain {

struct WrongQuestion {
    PracticedQuestion question = {};
    int times = 0;  // how often it was answered
    int wrong_times = 0;
    std::int32_t last_train_id = -1;  // the last training in which it was wrong
    Date last_wrong = {};
    Date last = {};  // when it was last answered, and whether it was right then
    bool right_since = false;
    float full = 0;
    float got = 0;            // these two of the last wrong answer
    int all_wrong_times = 0;  // whatever the period is
};

class WrongQuestions {
public:
    // The folder of the client database, stored as given. Raises the component's error when it holds none.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value);

    // Whose questions, and which; -1 and "" mean any.
    std::int32_t UserId() const { return user_id_; }
    void UserId(std::int32_t value) { user_id_ = value; }
    std::int32_t SubjectCode() const { return subject_code_; }
    void SubjectCode(std::int32_t value) { subject_code_ = value; }
    const std::u16string& DataCode() const { return data_code_; }
    void DataCode(std::u16string_view value) { data_code_ = value; }
    std::int32_t QuestionType() const { return question_type_; }
    void QuestionType(std::int32_t value) { question_type_ = value; }

    // The days between which answers count; a zero date is no limit.
    Date StartDate() const { return start_date_; }
    void StartDate(Date value) { start_date_ = value; }
    Date EndDate() const { return end_date_; }
    void EndDate(Date value) { end_date_ = value; }

    // How often a question must have been wrong at least.
    std::int32_t LeastTimes() const { return least_times_; }
    void LeastTimes(std::int32_t value) { least_times_ = value; }

    // Leaves out what was right the last time.
    bool OnlyOpen() const { return only_open_; }
    void OnlyOpen(bool value) { only_open_ = value; }

    // Opens the client database, closing the one that was open. When there is none, `strErrMsg` tells the user so.
    bool Init(std::u16string& strErrMsg);

    // Finds the questions, those that were wrong last first; how many.
    std::int32_t Load();
    std::int32_t Count() const { return static_cast<std::int32_t>(items_.size()); }

    // Fills the properties below with a question, counted from 1; false when there is none.
    bool LoadItem(std::int32_t nIndex);
    const std::u16string& ItemDataCode() const { return item_.question.data_code; }
    const std::u16string& ItemRecNo() const { return item_.question.rec_no; }
    std::int32_t ItemSubjectCode() const { return item_.question.subject; }
    std::int32_t ItemType() const { return item_.question.type; }
    std::int32_t ItemTimes() const { return item_.times; }
    std::int32_t ItemWrongTimes() const { return item_.wrong_times; }
    Date ItemLastDate() const { return item_.last_wrong; }
    std::int32_t ItemTrainID() const { return item_.last_train_id; }
    bool ItemRightSince() const { return item_.right_since; }
    float ItemScore() const { return item_.full; }
    float ItemStudentScore() const { return item_.got; }
    const std::u16string& ItemAnswer() const { return answer_; }
    const std::u16string& ItemStudentAnswer() const { return student_answer_; }

    // Takes a question out of UserId's until it is wrong again, and puts it back. UserId must name a candidate.
    bool Remove(std::int32_t nSubjectCode, std::u16string_view strDataCode, std::u16string_view strRecNo);
    bool Restore(std::int32_t nSubjectCode, std::u16string_view strDataCode, std::u16string_view strRecNo);

    const std::vector<WrongQuestion>& Items() const { return items_; }

private:
    void TakeOutRemoved(std::vector<WrongQuestion>& all) const;
    std::u16string Selecting(std::int32_t subject, std::u16string_view data_code, std::u16string_view rec_no) const;

    std::u16string client_path_;
    dao::Connection database_;
    std::int32_t user_id_ = -1;
    std::int32_t subject_code_ = -1;
    std::u16string data_code_;
    std::int32_t question_type_ = -1;
    Date start_date_;
    Date end_date_;
    std::int32_t least_times_ = 1;
    bool only_open_ = false;
    std::vector<WrongQuestion> items_;
    WrongQuestion item_;
    std::u16string answer_;
    std::u16string student_answer_;
};

// The wrong questions of a history, in the order in which they first occur. Answers outside the filter's days count for
// `all_wrong_times` alone; questions that were wrong outside them only are left out.
std::vector<WrongQuestion> FindWrongQuestions(const PracticeHistory& history, const HistoryFilter& period);

}  // namespace qmtrain
