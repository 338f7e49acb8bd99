#include "host/schema.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTables =
    uR"(
CREATE TABLE Papers (
    PaperNo LONG CONSTRAINT PrimaryKey PRIMARY KEY,
    SubjectCode LONG, Title TEXT(100), TheoryNo LONG, OperationNo LONG, Minutes LONG);

CREATE TABLE PaperQuestions (
    PaperNo LONG, QuestionNo LONG, QuestionType LONG, DataCode TEXT(50), RecNo TEXT(50), Score SINGLE, Distin LONG,
    Difficult LONG, Keywords MEMO,
    CONSTRAINT PrimaryKey PRIMARY KEY (PaperNo, QuestionNo));

CREATE TABLE Unfinished (
    TrainID LONG CONSTRAINT PrimaryKey PRIMARY KEY,
    PaperNo LONG, UserID LONG, SubjectCode LONG, IsNet YESNO, StartDate DATETIME, SecondsLeft LONG);

CREATE TABLE UnfinishedAnswers (
    TrainID LONG, QuestionNo LONG, Answer MEMO, Marked YESNO,
    CONSTRAINT PrimaryKey PRIMARY KEY (TrainID, QuestionNo));
)";

}  // namespace

void CreateHostDatabase(std::u16string_view file, const dao::DatabaseFill& fill) {
    dao::MakeDatabase(file, kTables, fill);
}

}  // namespace qmtrain::host
