#include "host/data/learning_tables.h"

#include "host/data/host_tables.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kTables[] = {
    u"CREATE TABLE ReviewCards (UserID LONG, SubjectCode LONG, DataCode TEXT(50), RecNo TEXT(50), QuestionType LONG,"
    u" Distin LONG, Difficult LONG, Score SINGLE, Stage LONG, StepNo LONG, Stability DOUBLE, Difficulty DOUBLE,"
    u" LastReview DATETIME, DueDate DATETIME,"
    u" CONSTRAINT PrimaryKey PRIMARY KEY (UserID, SubjectCode, DataCode, RecNo))",
    u"CREATE TABLE ReviewTaken (TrainID LONG CONSTRAINT PrimaryKey PRIMARY KEY, UserID LONG, StartDate DATETIME)",
    u"CREATE TABLE QuestionSeconds (TrainID LONG, DataCode TEXT(50), RecNo TEXT(50), Seconds LONG,"
    u" CONSTRAINT PrimaryKey PRIMARY KEY (TrainID, DataCode, RecNo))",
    u"CREATE TABLE DrillPapers (PaperNo LONG CONSTRAINT PrimaryKey PRIMARY KEY)",
};
constexpr std::u16string_view kLastTable = u"DrillPapers";

}  // namespace

bool HasLearningTables(dao::Database& host) {
    return HasTable(host, kLastTable);
}

void EnsureLearningTables(dao::Database& host) {
    if (HasLearningTables(host)) return;
    host.Atomically([&] {
        if (HasLearningTables(host)) return;
        for (const std::u16string_view table : kTables) host.Execute(table);
    });
}

}  // namespace qmtrain::host
