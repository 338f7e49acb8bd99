#include "notes/note.h"

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "core/trap.h"

namespace qmtrain {
namespace {

// "" for -1, which means any.
std::u16string NumberCondition(std::u16string_view column, std::int32_t number) {
    if (number == -1) return {};
    return std::u16string(u" ").append(column).append(u"=") + ToText(number);
}

std::u16string AndNumber(std::u16string_view column, std::int32_t number) {
    const std::u16string condition = NumberCondition(column, number);
    return condition.empty() ? condition : u" And" + condition;
}

std::u16string OnQuestion(std::u16string_view data_code, std::u16string_view rec_no, std::int32_t subject_code,
                          std::u16string_view user_column, std::int32_t user_id) {
    RequireNoQuote(data_code);
    RequireNoQuote(rec_no);
    return std::u16string(u"Select * From Notes Where DataCode='")
        .append(data_code)
        .append(u"' And QuestionRecNo='")
        .append(rec_no)
        .append(u"'")
        .append(AndNumber(u"SubjectCode", subject_code))
        .append(AndNumber(user_column, user_id));
}

// Raises Overflow when a Long cannot hold it.
std::int32_t OneMoreThan(const Value& views) {
    return ToLong(static_cast<double>(LongOr(views, 0)) + 1);
}

}  // namespace

void Note::ClientPath(std::u16string_view value) {
    if (!FileExists(ClientDatabase(value))) {
        RaiseComponentError(u"Note.ClientPath", std::u16string(u"目录[").append(value).append(u"]不存在Client.mdb"));
    }
    client_path_ = value;
}

// The log knows this operation under the name of another class's.
bool Note::Init(std::u16string& strErrMsg) {
    return Trapped(u"TrainInfo.Init", false, [&](bool& result) {
        result = database_.IsOpen() || OpenClientDatabase(client_path_, database_, strErrMsg);
    });
}

std::int32_t Note::GetNotesCount() const {
    return Trapped(u"Note.GetNotesCount", std::int32_t{0}, [&](std::int32_t& result) {
        const std::u16string user = NumberCondition(u"CreateUserId", user_id_);
        const std::u16string subject = NumberCondition(u"SubjectCode", subject_code_);
        const std::u16string both = user.empty() || subject.empty() ? u"" : u" And ";
        const std::u16string condition = user + both + subject;
        const auto rows = database_->OpenRecordset(u"Select Count(*) As RowsCount From Notes" +
                                                   (condition.empty() ? condition : u" Where " + condition));
        if (HasRow(*rows)) result = ToLong(rows->Fields(u"RowsCount").Value());
    });
}

bool Note::Add(std::int32_t nSubjectCode, std::u16string_view strDataCode, std::u16string_view strQuestionRecNo,
               std::u16string_view strName, std::u16string_view strContent, bool blnIsShared, std::int32_t nUserId) {
    const auto add = [&] {
        if (HasRow(*database_->OpenRecordset(
                OnQuestion(strDataCode, strQuestionRecNo, nSubjectCode, u"CreateUserId", nUserId)))) {
            return false;
        }
        const auto rows = database_->OpenRecordset(u"Select top 1 * From Notes");
        rows->AddNew();
        rows->Fields(u"DataCode").Value(strDataCode);
        rows->Fields(u"QuestionRecNo").Value(strQuestionRecNo);
        rows->Fields(u"Name").Value(strName);
        rows->Fields(u"Content").Value(strContent);
        rows->Fields(u"CreateUserID").Value(nUserId);
        rows->Fields(u"CreateDate").Value(Now());
        rows->Fields(u"ViewTimes").Value(std::int32_t{0});
        rows->Fields(u"IsShared").Value(blnIsShared);
        rows->Fields(u"SubjectCode").Value(nSubjectCode);
        rows->Update();
        return true;
    };
    // No other program may add the same note between the test and the insertion.
    return Trapped(u"Note.Add", false, [&](bool& result) {
        bool added = false;
        database_->Atomically([&] { added = add(); });
        result = added;
    });
}

// ViewTimes stays.
void Note::Reset() {
    note_id_ = -1;
    user_id_ = -1;
    subject_code_ = -1;
    create_date_ = {};
    name_.clear();
    content_.clear();
    data_code_.clear();
    question_rec_no_.clear();
    is_shared_ = false;
}

void Note::LoadRow(dao::Recordset& rows) {
    subject_code_ = LongOr(rows.Fields(u"SubjectCode").Value(), 0);
    note_id_ = ToLong(rows.Fields(u"NoteID").Value());
    name_ = TextOr(rows.Fields(u"Name").Value(), u"");
    create_date_ = DateOr(rows.Fields(u"CreateDate").Value(), {});
    content_ = TextOr(rows.Fields(u"Content").Value(), u"");
    data_code_ = TextOr(rows.Fields(u"DataCode").Value(), u"");
    question_rec_no_ = TextOr(rows.Fields(u"QuestionRecNo").Value(), u"");
    user_id_ = LongOr(rows.Fields(u"CreateUserID").Value(), 0);
    is_shared_ = BooleanOr(rows.Fields(u"IsShared").Value(), false);
    view_times_ = OneMoreThan(rows.Fields(u"ViewTimes").Value());
}

// Counts from what the row holds now, so that no view of another program is lost.
void Note::CountView(dao::Recordset& rows) {
    database_->Atomically([&] {
        rows.Edit();
        view_times_ = OneMoreThan(rows.Fields(u"ViewTimes").Value());
        rows.Fields(u"ViewTimes").Value(view_times_);
        rows.Update();
    });
}

void Note::LoadFromOther(std::u16string_view strDataCode, std::u16string_view strQuestionRecNo,
                         std::int32_t nSubjectCode, const bool& blnTimes, std::int32_t nUserId) {
    Trapped(u"Note.LoadFromOther", [&] {
        Reset();
        const auto rows =
            database_->OpenRecordset(OnQuestion(strDataCode, strQuestionRecNo, nSubjectCode, u"CreateUserID", nUserId));
        if (!HasRow(*rows)) return;
        LoadRow(*rows);
        if (blnTimes) CountView(*rows);
    });
}

bool Note::LoadFromID(std::int32_t nNoteID, bool blnTimes, std::int32_t nUserID) {
    return Trapped(u"Note.LoadFromID", false, [&](bool& result) {
        Reset();
        const auto rows = database_->OpenRecordset(u"Select * From Notes Where NoteId=" + ToText(nNoteID) +
                                                   AndNumber(u"CreateUserID", nUserID));
        if (!HasRow(*rows)) return;
        note_id_ = nNoteID;
        LoadRow(*rows);
        if (blnTimes) CountView(*rows);
        result = true;
    });
}

bool Note::Update() const {
    return Trapped(u"Note.Update", false, [&](bool& result) {
        const auto rows = database_->OpenRecordset(u"Select * From Notes Where NoteId=" + ToText(note_id_));
        if (!HasRow(*rows)) return;
        rows->Edit();
        rows->Fields(u"Name").Value(name_);
        rows->Fields(u"ViewTimes").Value(view_times_);
        rows->Fields(u"Content").Value(content_);
        rows->Fields(u"IsShared").Value(is_shared_);
        rows->Update();
        result = true;
    });
}

std::shared_ptr<dao::Recordset> Note::GetRecordset(std::u16string_view strSql) const {
    return Trapped(u"Note.GetRecordset", std::shared_ptr<dao::Recordset>(),
                   [&](auto& result) { result = database_->OpenRecordset(strSql); });
}

bool Note::Delete(std::int32_t nNoteId) const {
    return Trapped(u"Note.Delete", false, [&](bool& result) {
        database_->Execute(u"Delete From Notes Where NoteId=" + ToText(nNoteId));
        result = database_->RecordsAffected() >= 1;
    });
}

bool Note::IsExistNote(std::u16string_view strDataCode, std::int32_t nSubjectCode, std::u16string_view strQuestionRecNo,
                       std::int32_t nUserId) const {
    return Trapped(u"Note.IsExistNote", false, [&](bool& result) {
        result = HasRow(*database_->OpenRecordset(
            OnQuestion(strDataCode, strQuestionRecNo, nSubjectCode, u"CreateUserId", nUserId)));
    });
}

}  // namespace qmtrain
