// A client database in a folder of its own.
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

namespace qmtrain::dao {

class DaoTest : public testing::Test {
protected:
    DaoTest()
        : database_(std::static_pointer_cast<JetDatabase>(Engine::Instance().CreateDatabase(Name(u"Client.mdb")))) {
        database_->Execute(
            u"CREATE TABLE TrainInfo (TrainID COUNTER PRIMARY KEY, UserID LONG NOT NULL, StartDate DATETIME,"
            u" Score SINGLE DEFAULT 0, Remark TEXT(10), Content MEMO)");
        database_->Execute(u"CREATE INDEX ByUser ON TrainInfo (UserID)");
        for (int i = 1; i <= 5; ++i) {
            const std::u16string n = ToText(i);
            database_->Execute(u"INSERT INTO TrainInfo (UserID, StartDate, Score, Remark) VALUES (" + ToText(i % 2) +
                               u", #2005-04-1" + n + u" 08:00:00#, " + n + u"0.5, '备注" + n + u"')");
        }
    }

    ~DaoTest() override {
        if (!database_->IsOpen()) return;
        const jet::CheckReport report = jet::CheckDatabase(database_->Storage());
        for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
        for (const std::u16string& line : report.notes) ADD_FAILURE() << ToUtf8(line);
    }

    std::u16string Name(std::u16string_view file) const {
        return FromNativePath(folder_.Path()) + u"\\" + std::u16string(file);
    }

    // The values of one column, joined with blanks.
    std::u16string Column(std::u16string_view source, std::u16string_view field) {
        std::u16string text;
        const auto rows = database_->OpenRecordset(source);
        for (; !rows->Eof(); rows->MoveNext()) {
            const Value& value = rows->Fields(field).Value();
            text += (text.empty() ? u"" : u" ") + (value.IsNull() ? u"Null" : ToText(value));
        }
        return text;
    }

    test::ScratchFolder folder_;
    std::shared_ptr<JetDatabase> database_;
};

}  // namespace qmtrain::dao
