// The machine's DAO engine in the place of our own. What stands for it is ours under DAO's names, so the stories show
// that calls and values arrive on both ways as they do without the detour.

#include "dao/com_engine.h"

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "automation/scripted_object.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/system.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/engine_stories.h"
#include "dao/jet_database.h"
#include "jet/support/scratch.h"
#include "records/create_client.h"
#include "support/environment.h"

namespace qmtrain::dao {
namespace {

using test::ScratchFolder;

// An engine with DAO's members, registered before the tests run.
const std::u16string kTestEngine = u"QmTrainTest.DBEngine";

std::unique_ptr<SystemEngine> TestEngine() {
    return MakeComEngine(std::span(&kTestEngine, 1));
}

TEST(ComEngineTest, TellsEveryStoryAsOurOwnEngineDoes) {
    for (const test::Story& story : test::Stories()) {
        SCOPED_TRACE(story.name);
        auto engine = TestEngine();
        ASSERT_NE(engine, nullptr) << ToUtf8(kTestEngine) << " is not registered";
        Engine::Instance().Use(std::move(engine));
        test::RunStory(story);
        Engine::Instance().Use(nullptr);
    }
}

// A machine's engine that opens a file in one way only, and how it was asked.
TEST(ReadOnlyTest, WhatCannotBeWrittenIsOpenedForReading) {
    struct Case {
        const char* name;
        int error;
        int opens_at;  // which attempt it grants
        std::string asked;
    };
    const Case cases[] = {
        {"writable", 0, 1, "shared"},
        {"a file that is read-only", 3051, 2, "shared, shared reading"},
        {"a folder that is read-only", 3050, 3, "shared, shared reading, alone reading"},
        {"in use", 3051, 9, "shared, shared reading, alone reading"},
        {"no such file", 3024, 9, "shared"},
    };
    for (const Case& c : cases) {
        std::string asked;
        int attempts = 0;
        const auto scripted =
            test::ScriptedObject::Make([&](const test::ScriptedCall& call, VARIANT& result, EXCEPINFO& exception) {
                if (call.name != u"OpenDatabase") return S_OK;
                EXPECT_EQ(call.arguments.at(0), Value(u"C:\\exam\\Client.mdb"));
                asked += (attempts == 0 ? "" : ", ") +
                         std::string(ToBoolean(call.arguments.at(1)) ? "alone" : "shared") +
                         (ToBoolean(call.arguments.at(2)) ? " reading" : "");
                if (++attempts >= c.opens_at) {
                    const auto database = test::ScriptedObject::Make([](auto&&...) { return S_OK; });
                    result = automation::Variant(database.Get()).Detach();
                    return S_OK;
                }
                automation::FillException(AutomationError(c.error + (attempts - 1) * 10, u"", u"不行"), exception);
                return DISP_E_EXCEPTION;
            });
        const auto engine = MakeComEngine(scripted.As<IDispatch>());
        int error = 0;
        try {
            engine->OpenDatabase(u"Client", "C:/exam/Client.mdb", false);
        } catch (const AutomationError& raised) {
            error = raised.Number();
        }
        EXPECT_EQ(error, attempts >= c.opens_at ? 0 : c.error) << c.name;
        EXPECT_EQ(asked, c.asked) << c.name;
    }
}

// Left to itself, DAO's engine keeps what a failing statement had changed by then, and opens a table so that nothing
// can be found in it.
TEST(ComDatabaseTest, AsksForWholeStatementsAndForDynasets) {
    std::vector<test::ScriptedCall> calls;
    const auto database = test::ScriptedObject::Make([&](const test::ScriptedCall& call, VARIANT& result, EXCEPINFO&) {
        calls.push_back(call);
        if (call.name == u"RecordsAffected") automation::ToVariant(Value(5), result);
        return S_OK;
    });
    const auto engine = test::ScriptedObject::Make([&](const test::ScriptedCall&, VARIANT& result, EXCEPINFO&) {
        result = automation::Variant(database.Get()).Detach();
        return S_OK;
    });
    const auto opened = MakeComEngine(engine.As<IDispatch>())->OpenDatabase(u"Client", "C:/Client.mdb", false);
    opened->Execute(u"Delete From Notes");
    EXPECT_EQ(opened->RecordsAffected(), 5);
    EXPECT_THROW(opened->OpenRecordset(u"Notes"), AutomationError) << "it gives none";
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[0].arguments, (std::vector<Value>{u"Delete From Notes", 128}));
    EXPECT_EQ(calls[2].arguments, (std::vector<Value>{u"Notes", 2}));
}

TEST(ChosenEngineTest, FollowsTheSetting) {
    TrustEnvironment();  // the tests may run with all rights
    enum class Outcome : std::uint8_t { Ours, Theirs, Refused };
    struct Case {
        const char* name;
        const char* setting;
        const char* prog_id;
        Outcome outcome;
    };
    const Case cases[] = {
        {"our own", "jet", "QmTrainTest.DBEngine", Outcome::Ours},
        {"the machine's", "dao", "QmTrainTest.DBEngine", Outcome::Theirs},
        {"letter case", "DAO", "QmTrainTest.DBEngine", Outcome::Theirs},
        {"the machine's, if there is one", "auto", "QmTrainTest.DBEngine", Outcome::Theirs},
        {"no setting", "", "QmTrainTest.DBEngine", Outcome::Theirs},
        {"there is none", "auto", "No.Such.Engine", Outcome::Ours},
        {"there is none to be had", "dao", "No.Such.Engine", Outcome::Refused},
        {"unknown", "access", "QmTrainTest.DBEngine", Outcome::Refused},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::SetEnvironment("QMTRAININFO_ENGINE", c.setting);
        test::SetEnvironment("QMTRAININFO_DAO_PROGID", c.prog_id);
        try {
            EXPECT_EQ(ChosenEngine() != nullptr, c.outcome == Outcome::Theirs);
            EXPECT_NE(c.outcome, Outcome::Refused);
        } catch (const AutomationError& error) {
            EXPECT_EQ(c.outcome, Outcome::Refused);
            EXPECT_NE(error.Description().find(u"QMTRAININFO_ENGINE"), std::u16string::npos);
        }
    }
    test::SetEnvironment("QMTRAININFO_ENGINE", "");
    test::SetEnvironment("QMTRAININFO_DAO_PROGID", "");
}

// Its objects may be used in the apartment in which they were made, and end with it.
TEST(ChosenEngineTest, EachApartmentHasItsOwn) {
    TrustEnvironment();
    test::SetEnvironment("QMTRAININFO_ENGINE", "dao");
    test::SetEnvironment("QMTRAININFO_DAO_PROGID", "QmTrainTest.DBEngine");
    const ScratchFolder scratch;
    const std::u16string folder = FromNativePath(scratch.Path());
    CreateClientDatabase(folder);
    Engine::Instance().ReleaseSystem();
    for (int round = 0; round < 2; ++round) {
        std::thread([&] {
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            {
                const auto database = Engine::Instance().OpenDatabase(InFolder(folder, u"Client.mdb"));
                EXPECT_EQ(dynamic_cast<JetDatabase*>(database.get()), nullptr) << "not the machine's";
                database->OpenRecordset(u"Select * From Notes");
            }
            EXPECT_TRUE(Engine::Instance().HasSystem());
            CoUninitialize();
            EXPECT_FALSE(Engine::Instance().HasSystem());
        }).join();
    }
    test::SetEnvironment("QMTRAININFO_ENGINE", "");
    test::SetEnvironment("QMTRAININFO_DAO_PROGID", "");
}

}  // namespace
}  // namespace qmtrain::dao
