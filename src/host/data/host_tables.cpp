#include "host/data/host_tables.h"

#include <algorithm>
#include <string>
#include <vector>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/data/data_folder.h"
#include "host/data/learning_tables.h"

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
    TrainID LONG, QuestionNo LONG, Answer MEMO, Marked YESNO, Checked YESNO,
    CONSTRAINT PrimaryKey PRIMARY KEY (TrainID, QuestionNo));
)";

constexpr std::u16string_view kUnfinishedState =
    u"CREATE TABLE UnfinishedState (TrainID LONG CONSTRAINT PrimaryKey PRIMARY KEY, SecondsUsed LONG, Mode LONG,"
    u" CurrentPlace LONG, Questions MEMO, Running YESNO)";
constexpr std::u16string_view kFinished =
    u"CREATE TABLE Finished (TrainID LONG CONSTRAINT PrimaryKey PRIMARY KEY, PaperNo LONG, Mode LONG, IsNet YESNO)";
constexpr std::u16string_view kWaiting =
    u"CREATE TABLE Waiting (TrainID LONG CONSTRAINT PrimaryKey PRIMARY KEY, EndDate DATETIME, SecondsUsed LONG)";
constexpr std::u16string_view kSettings =
    u"CREATE TABLE Settings (Name TEXT(50) CONSTRAINT PrimaryKey PRIMARY KEY, Content MEMO)";

dao::Database& Of(const dao::Connection& connection) {
    return *connection.operator->();
}

void TakeBackResults(std::u16string_view folder, dao::Database& host) {
    const dao::Connection client(ClientDatabase(folder));
    const auto unfinished = host.OpenRecordset(u"Select TrainID From Unfinished");
    for (; !unfinished->Eof(); unfinished->MoveNext()) {
        client->Execute(u"Delete From TrainResult Where TrainID=" +
                        qmtrain::ToText(ToLong(unfinished->Fields(u"TrainID").Value())));
    }
}

// What an earlier version knew of the time was what was left of the paper's.
void AddStates(dao::Database& host) {
    const auto states = host.OpenRecordset(u"Select * From UnfinishedState");
    const auto rows = host.OpenRecordset(u"Select * From Unfinished");
    for (; !rows->Eof(); rows->MoveNext()) {
        const auto paper = host.OpenRecordset(u"Select Minutes From Papers Where PaperNo=" +
                                              qmtrain::ToText(LongOr(rows->Fields(u"PaperNo").Value(), 0)));
        const std::int32_t all = HasRow(*paper) ? LongOr(paper->Fields(u"Minutes").Value(), 0) * 60 : 0;
        states->AddNew();
        states->Fields(u"TrainID").Value(rows->Fields(u"TrainID").Value());
        states->Fields(u"SecondsUsed").Value(std::max(0, all - LongOr(rows->Fields(u"SecondsLeft").Value(), 0)));
        states->Update();
    }
}

}  // namespace

void CreateHostDatabase(std::u16string_view file, const dao::DatabaseFill& fill) {
    std::u16string tables(kTables);
    for (const std::u16string_view table : {kUnfinishedState, kFinished, kWaiting, kSettings})
        tables.append(table).append(u";");
    dao::MakeDatabase(file, tables, [&](dao::Database& host) {
        EnsureLearningTables(host);
        if (fill) fill(host);
    });
}

bool HasTable(dao::Database& database, std::u16string_view table) {
    try {
        database.OpenRecordset(std::u16string(u"Select Top 1 * From ").append(table));
    } catch (const AutomationError& error) {
        if (error.Is(ErrorNumber::NoSuchTable)) return false;
        throw;
    }
    return true;
}

void UpgradeHostDatabase(std::u16string_view folder) {
    const dao::Connection host(DataFolder{std::u16string(folder)}.Host());
    dao::Database& database = Of(host);
    EnsureLearningTables(database);
    if (!HasTable(database, u"Waiting")) database.Execute(kWaiting);
    if (HasTable(database, u"UnfinishedState")) return;
    TakeBackResults(folder, database);
    database.Atomically([&] {
        database.Execute(u"ALTER TABLE UnfinishedAnswers ADD COLUMN Checked YESNO");
        for (const std::u16string_view table : {kUnfinishedState, kFinished, kSettings}) database.Execute(table);
        AddStates(database);
    });
}

}  // namespace qmtrain::host
