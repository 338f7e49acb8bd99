#include "host/data/data_folder.h"

#include <algorithm>
#include <system_error>

#include "bank/client_folder.h"
#include "bank/create_bank.h"
#include "core/error.h"
#include "core/files.h"
#include "core/system.h"
#include "dao/dao.h"
#include "host/data/host_tables.h"
#include "host/data/server_away.h"
#include "records/create_client.h"

namespace qmtrain::host {
namespace {

// Opens the file and looks at what will be needed of it first.
void Look(std::u16string_view file, std::u16string_view table, bool& read_only) {
    const dao::Connection database(file);
    const auto rows = database->OpenRecordset(std::u16string(u"Select Top 1 * From ").append(table));
    read_only = read_only || !rows->Updatable();
}

}  // namespace

std::u16string DataFolder::Banks() const {
    return InFolder(path, u"Bank");
}
std::u16string DataFolder::Bank(std::u16string_view file) const {
    const bool plain = !file.empty() && file != u"." && file != u".." &&
                       file.find_first_of(u"\\/:*?\"<>|") == std::u16string_view::npos &&
                       std::all_of(file.begin(), file.end(), [](char16_t unit) { return unit >= u' '; });
    if (!plain) Raise(ErrorNumber::InvalidPath, {file});
    return InFolder(Banks(), file);
}
std::u16string DataFolder::LocalPaper() const {
    return InFolder(path, u"LocalPaper.mdb");
}
std::u16string DataFolder::Host() const {
    return InFolder(path, u"Host.mdb");
}

std::u16string UserDataFolder() {
    if (const std::u16string local = EnvironmentVariable("LOCALAPPDATA"); !local.empty()) return local + u"\\qmtrain";
    if (const std::u16string data = EnvironmentVariable("XDG_DATA_HOME"); !data.empty()) return data + u"/qmtrain";
    return EnvironmentVariable("HOME") + u"/.local/share/qmtrain";
}

void MakeEmptyFolder(std::u16string_view folder) {
    const DataFolder made{std::u16string(folder)};
    std::error_code failed;
    std::filesystem::create_directories(ToNativePath(made.Banks()), failed);
    if (failed) Raise(ErrorNumber::InvalidPath, {folder});
    if (!FileExists(ClientDatabase(folder))) CreateClientDatabase(folder);
    if (!FileExists(InFolder(made.Banks(), u"Total.mdb"))) CreateCatalogue(made.Banks());
    if (!FileExists(made.LocalPaper())) CreateLocalPaperDatabase(made.LocalPaper());
    if (!FileExists(made.Host())) CreateHostDatabase(made.Host());
}

void RequireReadable(const DataFolder& folder) {
    bool read_only = false;
    try {
        Look(ClientDatabase(folder.path), u"TrainInfo", read_only);
        Look(ClientDatabase(folder.path), u"TrainResult", read_only);
    } catch (const AutomationError& error) {
        RaiseComponentError(u"qmtrain", error.Description());
    }
}

FolderReport Examine(const DataFolder& folder) {
    FolderReport report;
    for (const std::u16string& file : {ClientDatabase(folder.path), folder.Host()}) {
        if (FileExists(file)) continue;
        return {FolderState::Missing, false,
                u"文件夹“" + folder.path + u"”中没有数据库 " + file.substr(file.rfind(u'\\') + 1) + u"。"};
    }
    try {
        try {
            Look(ClientDatabase(folder.path), u"TrainInfo", report.read_only);
            Look(ClientDatabase(folder.path), u"TrainResult", report.read_only);
        } catch (const AutomationError& error) {
            if (!IsServerAway(error)) throw;  // then there are the practices that are kept here
        }
        for (const std::u16string_view table : {u"Papers", u"PaperQuestions", u"Unfinished", u"UnfinishedAnswers"}) {
            Look(folder.Host(), table, report.read_only);
        }
    } catch (const AutomationError& error) {
        report.state = FolderState::Damaged;
        report.problem = error.Description();
    }
    return report;
}

}  // namespace qmtrain::host
