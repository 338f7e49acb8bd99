// The machine's DAO engine in the place of our own. What stands for it is ours under DAO's names, so the stories show
// that calls and values arrive on both ways as they do without the detour.

#include "dao/com_engine.h"

#include <algorithm>
#include <functional>
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
#include "dao/jet_database.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/support/scratch.h"
#include "records/create_client.h"
#include "support/environment.h"
#include "support/raised.h"

namespace qmtrain::dao {
namespace {

using test::ScratchFolder;

// An engine with DAO's members, registered before the tests run.
const std::u16string kTestEngine = u"QmTrainTest.DBEngine";

std::unique_ptr<SystemEngine> TestEngine() {
    return MakeComEngine(std::span(&kTestEngine, 1));
}

// What happened, line by line.
class Tale {
public:
    // A result, or the number of the error.
    void Tell(const char* what, const std::function<Value()>& body) {
        std::string outcome;
        try {
            const Value value = body();
            outcome = "type " + std::to_string(static_cast<int>(value.GetType())) + ": " + Shown(value);
        } catch (const AutomationError& error) {
            EXPECT_FALSE(error.Description().empty()) << what;
            outcome = "error " + std::to_string(error.Number());
        }
        lines_.push_back(std::string(what) + ": " + outcome);
    }
    void Do(const char* what, const std::function<void()>& body) {
        Tell(what, [&] {
            body();
            return Value();
        });
    }

    // All rows, each with all its fields.
    void Rows(Database& database, std::u16string_view source) {
        const auto rows = database.OpenRecordset(source);
        for (; !rows->Eof(); rows->MoveNext()) {
            std::string line;
            for (const auto& field : rows->Fields()) {
                if (field->Name() == u"CreateDate") continue;  // the clock's
                line += "|" + ToUtf8(field->Name()) + "=" + Shown(field->Value());
            }
            lines_.push_back(line);
        }
    }

    const std::vector<std::string>& Lines() const { return lines_; }

private:
    std::vector<std::string> lines_;
};

void RecordSets(const std::u16string& folder, Tale& tale) {
    const Connection database(InFolder(folder, u"Client.mdb"));
    const auto rows = database->OpenRecordset(u"Select * From Tbl_SubjectBrief Order By SubjectCode");
    const auto current = [&] { return rows->Fields(u"subjectcode").Value(); };
    tale.Tell("name", [&] { return database->Name().substr(folder.size()); });
    tale.Tell("seen", [&] { return rows->RecordCount(); });
    tale.Tell("of the first", current);
    tale.Do("next", [&] { rows->MoveNext(); });
    tale.Tell("all", [&] { return rows->TrueRecordCount(); });
    tale.Tell("still the second", current);
    const Bytes second = rows->Bookmark();
    tale.Do("last", [&] { rows->MoveLast(); });
    tale.Do("beyond", [&] { rows->MoveNext(); });
    tale.Tell("count from the end", [&] { return rows->TrueRecordCount(); });
    tale.Tell("end", [&] { return rows->Eof() && !rows->Bof(); });
    tale.Tell("no row", current);
    tale.Do("further", [&] { rows->MoveNext(); });
    tale.Do("first", [&] { rows->MoveFirst(); });
    tale.Do("before", [&] { rows->MovePrevious(); });
    tale.Tell("begin", [&] { return rows->Bof() && !rows->Eof(); });
    tale.Do("two on", [&] { rows->Move(2); });
    tale.Tell("there", current);
    tale.Do("back", [&] { rows->Bookmark(second); });
    tale.Tell("the second", current);
    tale.Do("find", [&] { rows->FindFirst(u"ExameBrief Like '三级*'"); });
    tale.Tell("found", [&] { return !rows->NoMatch() && current() == Value(3); });
    tale.Do("find the next", [&] {
        rows->FindFirst(u"SubjectCode < 3");
        rows->FindNext(u"SubjectCode < 3");
    });
    tale.Tell("found next", current);
    tale.Do("find none", [&] { rows->FindNext(u"SubjectCode = 77"); });
    tale.Tell("no match", [&] { return rows->NoMatch(); });
    tale.Do("bad condition", [&] { rows->FindFirst(u"SubjectCode = = 1"); });
    tale.Do("find the last", [&] { rows->FindLast(u"SubjectCode > 0"); });
    tale.Do("find the one before", [&] { rows->FindPrevious(u"SubjectCode > 0"); });
    tale.Tell("found before", current);
    tale.Tell("place", [&] { return rows->AbsolutePosition(); });
    tale.Tell("type", [&] { return static_cast<std::int32_t>(rows->Type()); });
    tale.Do("seek in a dynaset", [&] { rows->Seek(u"=", std::vector<Value>{1}); });
    tale.Tell("of a clone", [&] {
        const auto clone = rows->Clone();
        clone->Bookmark(rows->Bookmark());
        return clone->Fields(0).Value();
    });
    tale.Tell("filtered", [&] {
        rows->Filter(u"SubjectCode > 1");
        rows->Sort(u"SubjectCode Desc");
        return rows->OpenRecordset()->Fields(0).Value();
    });
    tale.Tell("rows at once", [&] { return static_cast<std::int32_t>(rows->GetRows(9).size()); });
    tale.Do("requery", [&] { rows->Requery(); });
    tale.Tell("sought", [&] {
        const auto table = database->OpenRecordset(u"Tbl_SubjectBrief", RecordsetType::Table);
        table->Index(u"PrimaryKey");
        table->Seek(u">=", std::vector<Value>{2});
        return table->NoMatch() ? Value() : table->Fields(u"SubjectCode").Value();
    });
    tale.Do("back in a forward-only one",
            [&] { database->OpenRecordset(u"Tbl_SubjectBrief", RecordsetType::ForwardOnly)->MovePrevious(); });
    tale.Tell("unknown field", [&] { return rows->Fields(u"Missing").Value(); });
    tale.Tell("field 9", [&] { return rows->Fields(9).Value(); });
    tale.Do("set without edit", [&] { rows->Fields(u"ExameBrief").Value(u"x"); });
    tale.Do("update without edit", [&] { rows->Update(); });
    tale.Do("add", [&] {
        rows->AddNew();
        rows->Fields(u"SubjectCode").Value(4);
        rows->Fields(u"Description").AppendChunk(u"前半");
        rows->Fields(u"Description").AppendChunk(u"后半");
        rows->Update();
        rows->Bookmark(rows->LastModified());
    });
    tale.Tell("added", current);
    tale.Tell("middle", [&] { return rows->Fields(u"Description").GetChunk(1, 2); });
    tale.Tell("length", [&] { return rows->Fields(u"Description").FieldSize(); });
    tale.Tell("null", [&] { return rows->Fields(u"StudentKnow").Value(); });
    tale.Do("cancelled", [&] {
        rows->Edit();
        rows->Fields(u"ExameBrief").Value(u"不要");
        rows->CancelUpdate();
    });
    tale.Do("key twice", [&] {
        rows->Edit();
        rows->Fields(u"SubjectCode").Value(2);
        rows->Update();
    });
    tale.Do("give it up", [&] { rows->CancelUpdate(); });
    tale.Do("no number", [&] {
        rows->Edit();
        rows->Fields(u"SubjectCode").Value(u"甲");
    });
    tale.Do("delete", [&] { rows->Delete(); });
    tale.Tell("deleted", current);
    tale.Tell("updatable", [&] { return rows->Updatable(); });
    const auto grouped = database->OpenRecordset(u"Select Count(*) As N, Max(SubjectCode) From Tbl_SubjectBrief");
    tale.Tell("grouped", [&] { return grouped->Updatable(); });
    tale.Tell("count", [&] { return grouped->Fields(u"N").Value(); });
    tale.Tell("type", [&] { return static_cast<std::int32_t>(rows->Fields(u"Description").Type()); });
    tale.Tell("size", [&] { return std::int32_t{rows->Fields(u"ExameBrief").Size()}; });
    tale.Do("close", [&] { grouped->Close(); });
    tale.Tell("closed", [&] { return grouped->Eof(); });
}

void Statements(const std::u16string& folder, Tale& tale) {
    const auto database = Engine::Instance().OpenDatabase(InFolder(folder, u"Client.mdb"));
    const auto execute = [&](const char16_t* statement) {
        return [&database, statement] { database->Execute(statement); };
    };
    tale.Do("insert", execute(u"Insert Into Notes (Name, IsShared, CreateUserID) Values ('甲', True, 1)"));
    tale.Do("a long text", [&] {
        database->Execute(u"Update Notes Set Content='" + std::u16string(70000, u'答') + u"' Where Name='甲'");
    });
    tale.Do("a quote breaks the statement", execute(u"Delete From Notes Where Name='B'1'"));
    tale.Do("make a table",
            execute(u"Create Table T (A Long, B Currency, C DateTime, D OleObject, E Double, F YesNo)"));
    tale.Do("fill it", [&] {
        const auto rows = database->OpenRecordset(u"T");
        rows->AddNew();
        rows->Fields(u"A").Value(-5);
        rows->Fields(u"B").Value(Currency{-12345});
        rows->Fields(u"C").Value(Date{-1.25});
        rows->Fields(u"D").Value(Bytes{0, 255, 7});
        rows->Fields(u"E").Value(1e300);
        rows->Fields(u"F").Value(true);
        rows->Update();
    });
    tale.Rows(*database, u"T");
    tale.Do("update", execute(u"Update Tbl_SubjectBrief Set StudentKnow='知' Where SubjectCode>1"));
    tale.Tell("changed", [&] { return database->RecordsAffected(); });
    tale.Do("wholly or not at all", execute(u"Update Tbl_SubjectBrief Set SubjectCode=9"));
    tale.Do("a select", execute(u"Select * From Notes"));
    tale.Do("nonsense", execute(u"Delete Frm Notes"));
    tale.Do("no such table", execute(u"Delete From Nowhere"));
    tale.Do("an action for rows", [&] { database->OpenRecordset(u"Delete From Notes"); });
    tale.Do("broken off", [&] {
        database->Atomically([&] {
            database->Execute(u"Delete From Tbl_SubjectBrief");
            Raise(ErrorNumber::TypeMismatch);
        });
    });
    tale.Do("together", [&] {
        database->Atomically([&] {
            database->Execute(u"Delete From Tbl_SubjectBrief Where SubjectCode=1");
            database->Atomically([&] { database->Execute(u"Insert Into Tbl_SubjectBrief (SubjectCode) Values (8)"); });
        });
    });
    Engine& engine = Engine::Instance();
    tale.Do("begin", [&] { engine.BeginTrans(); });
    tale.Do("empty", execute(u"Delete From Notes"));
    tale.Do("undo", [&] { engine.Rollback(); });
    tale.Do("nothing to commit", [&] { engine.CommitTrans(); });
    const auto rows = database->OpenRecordset(u"Notes");
    const auto other = Engine::Instance().OpenDatabase(folder + u"\\client.MDB", true);
    tale.Do("read only", [&] { other->Execute(u"Delete From Notes"); });
    tale.Do("close", [&] { other->Close(); });
    tale.Do("close again", [&] { other->Close(); });
    tale.Do("missing file", [&] { engine.OpenDatabase(folder + u"\\Missing.mdb"); });
    tale.Do("a folder", [&] { engine.OpenDatabase(folder); });
}

void AfterTheDatabase(const std::u16string& folder, Tale& tale) {
    const auto database = Engine::Instance().OpenDatabase(InFolder(folder, u"Client.mdb"));
    const auto rows = database->OpenRecordset(u"Tbl_SubjectBrief");
    Field& field = rows->Fields(0);
    tale.Do("close", [&] { database->Close(); });
    tale.Tell("open", [&] { return database->IsOpen(); });
    tale.Do("execute", [&] { database->Execute(u"Delete From Notes"); });
    tale.Do("move", [&] { rows->MoveNext(); });
    tale.Tell("field", [&] { return field.Value(); });
}

struct Story {
    const char* name;
    void (*run)(const std::u16string& folder, Tale& tale);
};

class ComEngineTest : public testing::TestWithParam<Story> {
protected:
    ~ComEngineTest() override { Engine::Instance().Use(nullptr); }

    // The story on a new client database, and what stands in the tables afterwards.
    static std::vector<std::string> Outcome(const Story& story, std::unique_ptr<SystemEngine> engine) {
        const ScratchFolder scratch;
        const std::u16string folder = FromNativePath(scratch.Path());
        CreateClientDatabase(folder, [](Database& client) {
            for (const char16_t* subject : {u"(1, '一级')", u"(2, '二级C语言')", u"(3, '三级网络技术')"}) {
                client.Execute(u"INSERT INTO Tbl_SubjectBrief (SubjectCode, ExameBrief) VALUES " +
                               std::u16string(subject));
            }
        });
        Tale tale;
        Engine::Instance().Use(std::move(engine));
        story.run(folder, tale);
        Engine::Instance().Use(nullptr);
        const auto database = JetDatabase::Open(InFolder(folder, u"Client.mdb"));
        const jet::CheckReport report = jet::CheckDatabase(database->Storage());
        for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
        for (const char16_t* table : {u"Notes", u"Tbl_SubjectBrief"}) {
            tale.Rows(*database, table);
        }
        return tale.Lines();
    }
};

TEST_P(ComEngineTest, HasTheSameOutcome) {
    auto theirs = TestEngine();
    ASSERT_NE(theirs, nullptr) << ToUtf8(kTestEngine) << " is not registered";
    const std::vector<std::string> expected = Outcome(GetParam(), nullptr);
    EXPECT_EQ(Outcome(GetParam(), std::move(theirs)), expected);
}

INSTANTIATE_TEST_SUITE_P(Stories, ComEngineTest,
                         testing::Values(Story{"RecordSets", RecordSets}, Story{"Statements", Statements},
                                         Story{"AfterTheDatabase", AfterTheDatabase}),
                         [](const auto& story) { return story.param.name; });

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
