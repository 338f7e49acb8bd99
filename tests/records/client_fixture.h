// An empty client database in a folder of its own, with the log beside it.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/log.h"
#include "core/log_reader.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/support/scratch.h"
#include "records/create_client.h"
#include "support/database_format.h"
#include "support/raised.h"

namespace qmtrain::test {

// Makes a folder's client database on a server; server_client.cpp has it for the programs whose tests can run there.
inline std::function<void(const std::u16string& folder)>& ServerClientMaker() {
    static std::function<void(const std::u16string&)> maker;
    return maker;
}

class ClientTest : public testing::Test {
protected:
    ClientTest() {
        LogTo(folder_.Path());
        if (OnServer())
            ServerClientMaker()(Path());
        else
            CreateClientDatabase(Path(), {}, DatabaseFormat());
    }

    static bool OnServer() { return EnvironmentVariable("QMTRAIN_CLIENT_FORMAT") == u"server"; }

    ~ClientTest() override {
        SetComponentFolder(ProgramFolder());
        std::shared_ptr<dao::JetDatabase> database;
        try {
            database = dao::JetDatabase::Open(ClientDatabase(Path()));
        } catch (const AutomationError&) {
            return;  // the test has damaged or removed it
        }
        const jet::CheckReport report = jet::CheckDatabase(database->Storage());
        for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
        for (const std::u16string& line : report.notes) ADD_FAILURE() << ToUtf8(line);
    }

    // As a host gives it: without a separator at its end.
    std::u16string Path() const { return FromNativePath(folder_.Path()); }
    std::filesystem::path ClientFile() const { return folder_.Path() / "Client.mdb"; }
    std::shared_ptr<dao::Database> Open() const {
        return dao::Engine::Instance().OpenDatabase(InFolder(Path(), u"Client.mdb"), false, {}, kRights);
    }

    // Statements separated by ";".
    void Execute(std::u16string_view sql) const {
        dao::JetDatabase::Open(ClientDatabase(Path()), {.links = kRights})->ExecuteScript(sql);
    }

    // The values of one column, joined with blanks.
    std::u16string Column(std::u16string_view sql, std::u16string_view field) const {
        return Column(*Open()->OpenRecordset(sql), field);
    }
    static std::u16string Column(dao::Recordset& rows, std::u16string_view field) {
        std::u16string text;
        for (; !rows.Eof(); rows.MoveNext()) {
            const Value& value = rows.Fields(field).Value();
            text += (text.empty() ? u"" : u" ") + (value.IsNull() ? u"Null" : ToText(value));
        }
        return text;
    }

    std::vector<LogEntry> Log() const { return ReadLog(LogFile()); }

    static constexpr dao::LinkRights kRights{.write = true, .servers = true};

    ScratchFolder folder_;
};

}  // namespace qmtrain::test
