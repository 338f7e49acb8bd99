// A database whose tables are on a server of the tests' own.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/support/scratch.h"
#include "support/raised.h"
#include "support/test_server.h"

namespace qmtrain::test {

inline constexpr dao::LinkRights kServerRights{.write = true, .servers = true};

class OdbcTest : public testing::Test {
protected:
    void SetUp() override {
        server_ = TestServer::Get();
        if (server_ == nullptr) GTEST_SKIP() << TestServer::WhyNone();
        connect_ = server_->NewDatabase();
        database_ = std::static_pointer_cast<dao::JetDatabase>(dao::Engine::Instance().CreateDatabase(File()));
        database_->Close();
        database_ = Open();
    }

    void TearDown() override {
        if (!database_ || !database_->IsOpen()) return;
        const jet::CheckReport report = jet::CheckDatabase(database_->Storage());
        for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
        for (const std::u16string& line : report.notes) ADD_FAILURE() << ToUtf8(line);
    }

    std::u16string File() const { return InFolder(FromNativePath(folder_.Path()), u"Client.mdb"); }
    std::shared_ptr<dao::JetDatabase> Open() const {
        return std::static_pointer_cast<dao::JetDatabase>(
            dao::Engine::Instance().OpenDatabase(File(), false, {}, kServerRights));
    }

    // Makes a table on the server, of user exam, and a link to it.
    void MakeTable(const std::string& name, const std::string& columns) {
        server_->Psql("CREATE TABLE " + name + " (" + columns + "); ALTER TABLE " + name + " OWNER TO exam");
        const std::u16string wide = FromUtf8(name);
        database_->CreateTableDef(wide, connect_, u"public." + wide);
    }

    // The usual one: five trainings.
    void MakeTrainings() {
        MakeTable("train",
                  "id serial PRIMARY KEY, userid integer NOT NULL, startdate timestamp(0), score real, remark "
                  "varchar(10), content text, shared boolean NOT NULL DEFAULT false");
        for (int i = 1; i <= 5; ++i) {
            const std::u16string n = ToText(i);
            std::u16string insert = u"INSERT INTO train (userid, startdate, score, remark, shared) VALUES (";
            insert.append(ToText(i % 2)).append(u", #2005-04-1").append(n).append(u" 08:00:00#, ").append(n);
            insert.append(u".1, '备注").append(n).append(u"', ").append(i == 2 ? u"True)" : u"False)");
            database_->Execute(insert);
        }
    }

    std::u16string Column(std::u16string_view sql, std::u16string_view field) {
        std::u16string text;
        const auto rows = database_->OpenRecordset(sql);
        for (; !rows->Eof(); rows->MoveNext()) {
            const Value& value = rows->Fields(field).Value();
            text += (text.empty() ? u"" : u" ") + (value.IsNull() ? u"Null" : ToText(value));
        }
        return text;
    }

    // How a statement would be run.
    std::string Explained(std::u16string_view sql) {
        const jet::Database::Reading reading(database_->Storage());
        std::string text;
        for (const std::u16string& line : sql::Explain(database_->Tables(), sql::Parse(sql)))
            text += ToUtf8(line) + "\n";
        return text;
    }

    ScratchFolder folder_;
    TestServer* server_ = nullptr;
    std::u16string connect_;
    std::shared_ptr<dao::JetDatabase> database_;
};

}  // namespace qmtrain::test
