// Records a practice in a new client database and reads it back; shows the history when it is linked with the windows.
//   host FOLDER
#include <cstdio>
#include <filesystem>

#include <qmtrain/core/error.h>
#include <qmtrain/core/log.h>
#include <qmtrain/dao/dao.h>
#include <qmtrain/records/train_info.h>
#include <qmtrain/records/train_result.h>

int main(int count, char** arguments) {
    if (count != 2) return 2;
    const std::filesystem::path folder = arguments[1];
    qmtrain::SetComponentFolder(folder);  // of the log
    try {
        const auto database = qmtrain::dao::Engine::Instance().CreateDatabase((folder / "Client.mdb").u16string());
        database->Execute(
            u"CREATE TABLE TrainInfo (TrainID COUNTER PRIMARY KEY, UserID LONG, SubjectCode LONG, StartDate DATETIME, "
            u"EndDate DATETIME, UseTime LONG, TheoryNo LONG, OperationNo LONG, Score SINGLE)");
        database->Close();

        qmtrain::TrainInfo train;
        train.ClientPath(folder.u16string());
        std::u16string problem;
        if (!train.Init(problem)) return 1;
        const qmtrain::Date start = qmtrain::FromCivil({.year = 2026, .month = 4, .day = 12, .hour = 9});
        const std::int32_t id = train.AddNewTrain(start, 1, 3, 0, 24);
        train.Update(id, qmtrain::Date{start.days + 0.25}, 2);
        const auto rows = train.GetRecordset(u"Select UseTime From TrainInfo");
        std::printf("%d %d\n", id, rows->Fields(u"UseTime").Value().As<std::int32_t>());
        rows->Close();
        train.ShowDlg();
    } catch (const qmtrain::AutomationError& error) {
        std::fprintf(stderr, "%d %s\n", error.Number(), error.what());
        return 1;
    }
    return 0;
}
