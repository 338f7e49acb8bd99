// A candidate's note on a question, and the way to the table of notes.
//
// ClientPath, then Init, then the rest. An operation that fails leaves an entry in the log and returns its empty value.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/date.h"
#include "dao/dao.h"

namespace qmtrain {

class Note {
public:
    // The folder of the client database, stored as given. Raises the component's error when it holds none.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value);

    // -1 after a load that found none.
    std::int32_t NoteID() const { return note_id_; }
    void NoteID(std::int32_t value) { note_id_ = value; }
    const std::u16string& Name() const { return name_; }
    void Name(std::u16string_view value) { name_ = value; }

    // The zero date when the table has none.
    Date CreateDate() const { return create_date_; }
    bool IsShared() const { return is_shared_; }
    void IsShared(bool value) { is_shared_ = value; }
    const std::u16string& Content() const { return content_; }
    void Content(std::u16string_view value) { content_ = value; }

    // Every load counts one view here.
    std::int32_t ViewTimes() const { return view_times_; }
    void ViewTimes(std::int32_t value) { view_times_ = value; }
    const std::u16string& DataCode() const { return data_code_; }
    void DataCode(std::u16string_view value) { data_code_ = value; }
    const std::u16string& QuestionRecNo() const { return question_rec_no_; }
    void QuestionRecNo(std::u16string_view value) { question_rec_no_ = value; }

    // -1 means any when notes are counted.
    std::int32_t UserId() const { return user_id_; }
    void UserId(std::int32_t value) { user_id_ = value; }
    std::int32_t mSubjectCode() const { return subject_code_; }
    void mSubjectCode(std::int32_t value) { subject_code_ = value; }

    // Opens the client database; true at once when it is open. When there is none, `strErrMsg` tells the user so.
    bool Init(std::u16string& strErrMsg);

    // How many notes UserId has in mSubjectCode.
    std::int32_t GetNotesCount() const;

    // Adds a note; false when the user has one on the question. The object's own values stay. -1 means any subject or
    // user in the test for a note that is there.
    bool Add(std::int32_t nSubjectCode, std::u16string_view strDataCode, std::u16string_view strQuestionRecNo,
             std::u16string_view strName, std::u16string_view strContent, bool blnIsShared, std::int32_t nUserId);

    // Loads the note on a question, or the note of a number; -1 means any subject or user. With `blnTimes` the view is
    // counted in the table too.
    void LoadFromOther(std::u16string_view strDataCode, std::u16string_view strQuestionRecNo, std::int32_t nSubjectCode,
                       const bool& blnTimes, std::int32_t nUserId);
    bool LoadFromID(std::int32_t nNoteID, bool blnTimes, std::int32_t nUserID);

    // Writes name, views, content and sharing of the note NoteID; false when it is gone.
    bool Update() const;

    // The rows of a select on the client database; the caller closes them.
    std::shared_ptr<dao::Recordset> GetRecordset(std::u16string_view strSql) const;

    // False when there is no such note.
    bool Delete(std::int32_t nNoteId) const;

    bool IsExistNote(std::u16string_view strDataCode, std::int32_t nSubjectCode, std::u16string_view strQuestionRecNo,
                     std::int32_t nUserId) const;

private:
    void Reset();
    void LoadRow(dao::Recordset& rows);
    void CountView(dao::Recordset& rows);

    std::u16string client_path_;
    std::int32_t note_id_ = 0;
    std::u16string name_;
    Date create_date_;
    bool is_shared_ = false;
    std::u16string content_;
    std::int32_t view_times_ = 0;
    std::u16string data_code_;
    std::u16string question_rec_no_;
    std::int32_t user_id_ = 0;
    dao::Connection database_;
    std::int32_t subject_code_ = 0;
};

}  // namespace qmtrain
