#include "dao/engine_stories.h"

#include <functional>

#include <gtest/gtest.h>

#include "core/error.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/support/scratch.h"
#include "records/create_client.h"
#include "support/raised.h"

namespace qmtrain::test {
namespace {

using namespace dao;

void Succeeds(const char* what, const std::function<void()>& body) {
    EXPECT_EQ(ErrorOf(body), 0) << what;
}

void Fails(const char* what, ErrorNumber number, const std::function<void()>& body) {
    EXPECT_EQ(ErrorOf(body), static_cast<std::int32_t>(number)) << what;
}

// A value of that type.
void Gives(const char* what, const Value& expected, const std::function<Value()>& body) {
    Succeeds(what, [&] {
        const Value value = body();
        EXPECT_EQ(value.GetType(), expected.GetType()) << what;
        EXPECT_EQ(Shown(value), Shown(expected)) << what;
    });
}

// All rows, each with all its fields but the one with the time of the clock; long texts by their length.
void Holds(Database& database, std::u16string_view source, const std::vector<std::string>& expected) {
    constexpr std::size_t kLong = 100;
    std::vector<std::string> lines;
    const auto rows = database.OpenRecordset(source);
    for (; !rows->Eof(); rows->MoveNext()) {
        std::string line;
        for (const auto& field : rows->Fields()) {
            if (field->Name() == u"CreateDate") continue;
            const Value value = field->Value();
            const bool is_long = value.IsText() && value.Text().size() > kLong;
            line += "|" + ToUtf8(field->Name()) + "=" +
                    (is_long ? std::to_string(value.Text().size()) + " characters" : Shown(value));
        }
        lines.push_back(line);
    }
    EXPECT_EQ(lines, expected) << ToUtf8(source);
}

void RecordSets(const std::u16string& folder) {
    const Connection database(InFolder(folder, u"Client.mdb"));
    const auto rows = database->OpenRecordset(u"Select * From Tbl_SubjectBrief Order By SubjectCode");
    const auto current = [&] { return rows->Fields(u"subjectcode").Value(); };
    Gives("name", u"\\Client.mdb", [&] { return database->Name().substr(folder.size()); });
    Gives("seen", 1, [&] { return rows->RecordCount(); });
    Gives("of the first", 1, current);
    Succeeds("next", [&] { rows->MoveNext(); });
    Gives("all", 3, [&] { return rows->TrueRecordCount(); });
    Gives("still the second", 2, current);
    const Bytes second = rows->Bookmark();
    Succeeds("last", [&] { rows->MoveLast(); });
    Succeeds("beyond", [&] { rows->MoveNext(); });
    Gives("count from the end", 3, [&] { return rows->TrueRecordCount(); });
    Gives("end", true, [&] { return rows->Eof() && !rows->Bof(); });
    Fails("no row", ErrorNumber::NoCurrentRecord, current);
    Fails("further", ErrorNumber::NoCurrentRecord, [&] { rows->MoveNext(); });
    Succeeds("first", [&] { rows->MoveFirst(); });
    Succeeds("before", [&] { rows->MovePrevious(); });
    Gives("begin", true, [&] { return rows->Bof() && !rows->Eof(); });
    Succeeds("two on", [&] { rows->Move(2); });
    Gives("there", 2, current);
    Succeeds("back", [&] { rows->Bookmark(second); });
    Gives("the second", 2, current);
    Succeeds("find", [&] { rows->FindFirst(u"ExameBrief Like '三级*'"); });
    Gives("found", true, [&] { return !rows->NoMatch() && current() == Value(3); });
    Succeeds("find the next", [&] {
        rows->FindFirst(u"SubjectCode < 3");
        rows->FindNext(u"SubjectCode < 3");
    });
    Gives("found next", 2, current);
    Succeeds("find none", [&] { rows->FindNext(u"SubjectCode = 77"); });
    Gives("no match", true, [&] { return rows->NoMatch(); });
    Fails("bad condition", ErrorNumber::SyntaxInExpression, [&] { rows->FindFirst(u"SubjectCode = = 1"); });
    Succeeds("find the last", [&] { rows->FindLast(u"SubjectCode > 0"); });
    Succeeds("find the one before", [&] { rows->FindPrevious(u"SubjectCode > 0"); });
    Gives("found before", 2, current);
    Gives("place", 1, [&] { return rows->AbsolutePosition(); });
    Gives("type", 2, [&] { return static_cast<std::int32_t>(rows->Type()); });
    Fails("seek in a dynaset", ErrorNumber::OperationNotSupported, [&] { rows->Seek(u"=", std::vector<Value>{1}); });
    Gives("of a clone", 2, [&] {
        const auto clone = rows->Clone();
        clone->Bookmark(rows->Bookmark());
        return clone->Fields(0).Value();
    });
    Gives("filtered", 3, [&] {
        rows->Filter(u"SubjectCode > 1");
        rows->Sort(u"SubjectCode Desc");
        return rows->OpenRecordset()->Fields(0).Value();
    });
    Gives("rows at once", 2, [&] { return static_cast<std::int32_t>(rows->GetRows(9).size()); });
    Succeeds("requery", [&] { rows->Requery(); });
    Gives("sought", 2, [&] {
        const auto table = database->OpenRecordset(u"Tbl_SubjectBrief", RecordsetType::Table);
        table->Index(u"PrimaryKey");
        table->Seek(u">=", std::vector<Value>{2});
        return table->NoMatch() ? Value() : table->Fields(u"SubjectCode").Value();
    });
    Fails("back in a forward-only one", ErrorNumber::InvalidOperation,
          [&] { database->OpenRecordset(u"Tbl_SubjectBrief", RecordsetType::ForwardOnly)->MovePrevious(); });
    Fails("unknown field", ErrorNumber::FieldNotFound, [&] { return rows->Fields(u"Missing").Value(); });
    Fails("field 9", ErrorNumber::FieldNotFound, [&] { return rows->Fields(9).Value(); });
    Fails("set without edit", ErrorNumber::UpdateWithoutEdit, [&] { rows->Fields(u"ExameBrief").Value(u"x"); });
    Fails("update without edit", ErrorNumber::UpdateWithoutEdit, [&] { rows->Update(); });
    Succeeds("add", [&] {
        rows->AddNew();
        rows->Fields(u"SubjectCode").Value(4);
        rows->Fields(u"Description").AppendChunk(u"前半");
        rows->Fields(u"Description").AppendChunk(u"后半");
        rows->Update();
        rows->Bookmark(rows->LastModified());
    });
    Gives("added", 4, current);
    Gives("middle", u"半后", [&] { return rows->Fields(u"Description").GetChunk(1, 2); });
    Gives("length", 4, [&] { return rows->Fields(u"Description").FieldSize(); });
    Gives("null", Null{}, [&] { return rows->Fields(u"StudentKnow").Value(); });
    Succeeds("cancelled", [&] {
        rows->Edit();
        rows->Fields(u"ExameBrief").Value(u"不要");
        rows->CancelUpdate();
    });
    Fails("key twice", ErrorNumber::DuplicateKey, [&] {
        rows->Edit();
        rows->Fields(u"SubjectCode").Value(2);
        rows->Update();
    });
    Succeeds("give it up", [&] { rows->CancelUpdate(); });
    Fails("no number", ErrorNumber::DataTypeConversion, [&] {
        rows->Edit();
        rows->Fields(u"SubjectCode").Value(u"甲");
    });
    Succeeds("delete", [&] { rows->Delete(); });
    Fails("deleted", ErrorNumber::RecordDeleted, current);
    Gives("updatable", true, [&] { return rows->Updatable(); });
    const auto grouped = database->OpenRecordset(u"Select Count(*) As N, Max(SubjectCode) From Tbl_SubjectBrief");
    Gives("grouped", false, [&] { return grouped->Updatable(); });
    Gives("count", 3, [&] { return grouped->Fields(u"N").Value(); });
    Gives("type", 12, [&] { return static_cast<std::int32_t>(rows->Fields(u"Description").Type()); });
    Gives("size", 255, [&] { return std::int32_t{rows->Fields(u"ExameBrief").Size()}; });
    Succeeds("close", [&] { grouped->Close(); });
    Fails("closed", ErrorNumber::ObjectInvalid, [&] { return grouped->Eof(); });
}

void Statements(const std::u16string& folder) {
    const auto database = Engine::Instance().OpenDatabase(InFolder(folder, u"Client.mdb"));
    const auto execute = [&](const char16_t* statement) {
        return [&database, statement] { database->Execute(statement); };
    };
    Succeeds("insert", execute(u"Insert Into Notes (Name, IsShared, CreateUserID) Values ('甲', True, 1)"));
    Succeeds("a long text", [&] {
        database->Execute(u"Update Notes Set Content='" + std::u16string(70000, u'答') + u"' Where Name='甲'");
    });
    Fails("a quote breaks the statement", ErrorNumber::SyntaxInExpression,
          execute(u"Delete From Notes Where Name='B'1'"));
    Succeeds("make a table",
             execute(u"Create Table T (A Long, B Currency, C DateTime, D OleObject, E Double, F YesNo)"));
    Succeeds("fill it", [&] {
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
    Holds(*database, u"T", {"|A=-5|B=-1.2345|C=1899/12/29 6:00:00|D=3 bytes|E=1E+300|F=True"});
    Succeeds("update", execute(u"Update Tbl_SubjectBrief Set StudentKnow='知' Where SubjectCode>1"));
    Gives("changed", 2, [&] { return database->RecordsAffected(); });
    Fails("wholly or not at all", ErrorNumber::DuplicateKey, execute(u"Update Tbl_SubjectBrief Set SubjectCode=9"));
    Fails("a select", ErrorNumber::CannotExecuteSelect, execute(u"Select * From Notes"));
    Fails("nonsense", ErrorNumber::SyntaxInStatement, execute(u"Delete Frm Notes"));
    Fails("no such table", ErrorNumber::NoSuchTable, execute(u"Delete From Nowhere"));
    Fails("an action for rows", ErrorNumber::InvalidOperation, [&] { database->OpenRecordset(u"Delete From Notes"); });
    Fails("broken off", ErrorNumber::TypeMismatch, [&] {
        database->Atomically([&] {
            database->Execute(u"Delete From Tbl_SubjectBrief");
            Raise(ErrorNumber::TypeMismatch);
        });
    });
    Succeeds("together", [&] {
        database->Atomically([&] {
            database->Execute(u"Delete From Tbl_SubjectBrief Where SubjectCode=1");
            database->Atomically([&] { database->Execute(u"Insert Into Tbl_SubjectBrief (SubjectCode) Values (8)"); });
        });
    });
    Engine& engine = Engine::Instance();
    Succeeds("begin", [&] { engine.BeginTrans(); });
    Succeeds("empty", execute(u"Delete From Notes"));
    Succeeds("undo", [&] { engine.Rollback(); });
    Fails("nothing to commit", ErrorNumber::TransactionNotStarted, [&] { engine.CommitTrans(); });
    const auto rows = database->OpenRecordset(u"Notes");
    const auto other = Engine::Instance().OpenDatabase(folder + u"\\client.MDB", true);
    Fails("read only", ErrorNumber::ReadOnly, [&] { other->Execute(u"Delete From Notes"); });
    Succeeds("close", [&] { other->Close(); });
    Fails("close again", ErrorNumber::ObjectInvalid, [&] { other->Close(); });
    Fails("missing file", ErrorNumber::FileNotFound, [&] { engine.OpenDatabase(folder + u"\\Missing.mdb"); });
    Fails("a folder", ErrorNumber::FileNotFound, [&] { engine.OpenDatabase(folder); });
}

void AfterTheDatabase(const std::u16string& folder) {
    const auto database = Engine::Instance().OpenDatabase(InFolder(folder, u"Client.mdb"));
    const auto rows = database->OpenRecordset(u"Tbl_SubjectBrief");
    Field& field = rows->Fields(0);
    Succeeds("close", [&] { database->Close(); });
    Gives("open", false, [&] { return database->IsOpen(); });
    Fails("execute", ErrorNumber::ObjectInvalid, [&] { database->Execute(u"Delete From Notes"); });
    Fails("move", ErrorNumber::ObjectInvalid, [&] { rows->MoveNext(); });
    Fails("field", ErrorNumber::ObjectInvalid, [&] { return field.Value(); });
}

}  // namespace

const std::vector<Story>& Stories() {
    static const std::vector<std::string> three_subjects = {
        "|SubjectCode=1|ExameBrief=一级|StudentKnow=Null|Description=Null",
        "|SubjectCode=2|ExameBrief=二级C语言|StudentKnow=Null|Description=Null",
        "|SubjectCode=3|ExameBrief=三级网络技术|StudentKnow=Null|Description=Null",
    };
    static const std::vector<Story> stories = {
        {"RecordSets", RecordSets, {}, three_subjects},
        {"Statements",
         Statements,
         {"|NoteID=1|Name=甲|Content=70000 "
          "characters|CreateUserID=1|ViewTimes=Null|IsShared=True|DataCode=Null|QuestionRecNo=Null|SubjectCode=Null"},
         {"|SubjectCode=2|ExameBrief=二级C语言|StudentKnow=知|Description=Null",
          "|SubjectCode=3|ExameBrief=三级网络技术|StudentKnow=知|Description=Null",
          "|SubjectCode=8|ExameBrief=Null|StudentKnow=Null|Description=Null"}},
        {"AfterTheDatabase", AfterTheDatabase, {}, three_subjects},
    };
    return stories;
}

void RunStory(const Story& story) {
    const ScratchFolder scratch;
    const std::u16string folder = FromNativePath(scratch.Path());
    CreateClientDatabase(folder, [](Database& client) {
        for (const char16_t* subject : {u"(1, '一级')", u"(2, '二级C语言')", u"(3, '三级网络技术')"}) {
            client.Execute(u"INSERT INTO Tbl_SubjectBrief (SubjectCode, ExameBrief) VALUES " + std::u16string(subject));
        }
    });
    story.run(folder);
    const auto database = JetDatabase::Open(InFolder(folder, u"Client.mdb"));
    for (const std::u16string& line : jet::CheckDatabase(database->Storage()).defects) ADD_FAILURE() << ToUtf8(line);
    Holds(*database, u"Notes", story.notes);
    Holds(*database, u"Tbl_SubjectBrief", story.subjects);
}

}  // namespace qmtrain::test
