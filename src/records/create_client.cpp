#include "records/create_client.h"

#include "bank/client_folder.h"

namespace qmtrain {
namespace {

// Answers and error information are memos, so that no length of an answer can make a result unwritable. Results need
// no training: hosts add them before it, and delete it without them.
constexpr std::u16string_view kTables =
    uR"(
CREATE TABLE TrainInfo (
    TrainID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY,
    UserId LONG, SubjectCode LONG, StartDate DATETIME, EndDate DATETIME, UseTime LONG, TheoryNo LONG, OperationNo LONG,
    AnswerScore SINGLE, Score SINGLE);
CREATE INDEX ByUser ON TrainInfo (UserId, SubjectCode);

CREATE TABLE TrainResult (
    TrainID LONG, QuestionType LONG, DataCode TEXT(50), QuestionRecNo TEXT(50), QuestionScore SINGLE, AnswerScore SINGLE, Answer MEMO,
    StudentAnswer MEMO, ErrInfo MEMO, ErrInfoXml MEMO, Distin LONG, Difficult LONG, QuestionNo LONG);
CREATE INDEX ByQuestion ON TrainResult (TrainID, DataCode, QuestionRecNo);

CREATE TABLE Notes (
    NoteID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY,
    Name TEXT(255), Content MEMO, CreateUserID LONG, CreateDate DATETIME, ViewTimes LONG, IsShared YESNO,
    DataCode TEXT(50), QuestionRecNo TEXT(50), SubjectCode LONG);
CREATE INDEX ByQuestion ON Notes (DataCode, QuestionRecNo, SubjectCode, CreateUserID);

CREATE TABLE Tbl_SetUser (UserID LONG CONSTRAINT PrimaryKey PRIMARY KEY, 姓名 TEXT(50), 考号 TEXT(50));

CREATE TABLE Tbl_SubjectBrief (
    SubjectCode LONG CONSTRAINT PrimaryKey PRIMARY KEY, ExameBrief TEXT(255), StudentKnow MEMO, Description MEMO);

CREATE TABLE Tbl_QuestionType (
    I_TypeID LONG, C_TestStyle TEXT(50), C_Startexe TEXT(255), SubjectCode TEXT(10),
    CONSTRAINT PrimaryKey PRIMARY KEY (I_TypeID, SubjectCode));
)";

}  // namespace

void CreateClientDatabase(std::u16string_view folder, const dao::DatabaseFill& fill, const jet::NewDatabase& settings) {
    dao::MakeDatabase(ClientDatabase(folder), kTables, fill, settings);
}

}  // namespace qmtrain
