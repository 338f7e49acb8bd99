// Structures put together as objects, queries with parameters, workspaces, record sets of joins.

#include "dao/database_object.h"
#include "dao/engine_object.h"
#include "dao/query_def.h"
#include "dao/table_object.h"
#include "fixture.h"

namespace qmtrain::dao {
namespace {

class ObjectsTest : public DaoTest {
protected:
    std::shared_ptr<DatabaseObject> objects_ = std::make_shared<DatabaseObject>(database_);

    std::shared_ptr<FieldObject> Field(TableObject& table, std::u16string_view name, FieldType type, int size = 0) {
        auto field = table.CreateField(name, static_cast<std::int32_t>(type), size);
        table.Fields()->Append(field);
        return field;
    }
};

TEST_F(ObjectsTest, ATableIsPutTogetherAndAppended) {
    const auto table = objects_->CreateTableDef(u"Bank", u"", u"");
    const auto append = [&] { objects_->TableDefs()->Append(table); };
    EXPECT_EQ(ErrorOf(append), static_cast<int>(ErrorNumber::NoFieldDefined));
    Field(*table, u"Id", FieldType::Long)->Attributes(kAutoIncrField);
    const auto name = Field(*table, u"Name", FieldType::Text, 20);
    name->Required(true);
    name->DefaultValue(u"\"新\"");
    EXPECT_EQ(ErrorOf([&] { Field(*table, u"NAME", FieldType::Memo); }),
              static_cast<int>(ErrorNumber::AlreadyInCollection));
    const auto odd = Field(*table, u"Odd", static_cast<FieldType>(14));
    EXPECT_EQ(ErrorOf(append), static_cast<int>(ErrorNumber::InvalidFieldType));
    odd->Type(static_cast<std::int16_t>(FieldType::Date));
    name->Size(300);
    EXPECT_EQ(ErrorOf(append), static_cast<int>(ErrorNumber::InvalidArgument));
    name->Size(20);
    const auto key = table->CreateIndex(u"PrimaryKey");
    key->Primary(true);
    key->Fields()->Append(key->CreateField(u"Id"));
    table->Indexes()->Append(key);
    append();
    EXPECT_EQ(ErrorOf([&] { name->Size(5); }), static_cast<int>(ErrorNumber::InvalidOperation));
    EXPECT_EQ(ErrorOf(append), static_cast<int>(ErrorNumber::AlreadyInCollection));

    database_->Execute(u"INSERT INTO Bank (Odd) VALUES (#2005-04-12#)");
    const auto seen = std::make_shared<DatabaseObject>(database_)->TableDefs()->Find<TableObject>(u"bank");
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->RecordCount(), 1);
    EXPECT_EQ(seen->Fields()->Count(), 3);
    const auto stored = seen->Fields()->Find<FieldObject>(u"Name");
    EXPECT_TRUE(stored->Required());
    EXPECT_EQ(stored->Size(), 20);
    EXPECT_EQ(stored->OrdinalPosition(), 1);
    EXPECT_EQ(stored->CollatingOrder(), 0x0409);
    EXPECT_NE(seen->Fields()->Find<FieldObject>(u"Id")->Attributes() & kAutoIncrField, 0);
    EXPECT_TRUE(seen->Indexes()->Find<IndexObject>(u"PrimaryKey")->Primary());

    const auto more = seen->CreateField(u"More", static_cast<std::int32_t>(FieldType::Memo), 0);
    seen->Fields()->Append(more);
    seen->Fields()->Delete(u"Odd");
    EXPECT_EQ(database_->OpenRecordset(u"Bank")->Fields().size(), 3U);
    EXPECT_EQ(ErrorOf([&] { seen->Indexes()->Delete(u"Missing"); }), static_cast<int>(ErrorNumber::FieldNotFound));
    objects_->TableDefs()->Delete(u"Bank");
    EXPECT_FALSE(database_->HasTable(u"Bank"));
}

TEST_F(ObjectsTest, ALinkLeadsElsewhereWhenItIsRefreshed) {
    for (const char16_t* file : {u"First.mdb", u"Second.mdb"}) {
        const auto other = JetDatabase::Create(Name(file));
        other->Execute(u"CREATE TABLE Bank (Code TEXT(10))");
        other->Execute(u"INSERT INTO Bank VALUES ('" + std::u16string(file).substr(0, 3) + u"')");
    }
    objects_->TableDefs()->Append(objects_->CreateTableDef(u"Banks", u"Bank", u";DATABASE=First.mdb"));
    const auto link = std::make_shared<DatabaseObject>(database_)->TableDefs()->Find<TableObject>(u"Banks");
    link->Connect(u";DATABASE=Second.mdb");
    EXPECT_EQ(Column(u"Banks", u"Code"), u"Fir");
    link->RefreshLink();
    EXPECT_EQ(Column(u"Banks", u"Code"), u"Sec");
    EXPECT_EQ(link->SourceTableName(), u"Bank");
    link->Connect(u";DATABASE=Missing.mdb");
    EXPECT_EQ(ErrorOf([&] { link->RefreshLink(); }), static_cast<int>(ErrorNumber::FileNotFound));
    EXPECT_EQ(Column(u"Banks", u"Code"), u"Sec") << "it is as it was";
    const auto own = objects_->CreateTableDef(u"Own", u"", u"");
    Field(*own, u"Id", FieldType::Long);
    objects_->TableDefs()->Append(own);
    EXPECT_EQ(ErrorOf([&] { own->RefreshLink(); }), static_cast<int>(ErrorNumber::InvalidOperation));
    EXPECT_EQ(ErrorOf([&] { own->Connect(u";DATABASE=x.mdb"); }), static_cast<int>(ErrorNumber::InvalidOperation));
}

TEST_F(ObjectsTest, Relations) {
    database_->Execute(u"CREATE TABLE Users (UserID LONG PRIMARY KEY)");
    database_->Execute(u"INSERT INTO Users VALUES (0)");
    const auto relation = objects_->CreateRelation(u"UserTrains", u"Users", u"TrainInfo", RelationDef::kDeleteCascade);
    const auto field = relation->CreateField(u"UserID");
    field->ForeignName(u"UserID");
    relation->Fields()->Append(field);
    const auto append = [&] { objects_->Relations()->Append(relation); };
    EXPECT_EQ(ErrorOf(append), static_cast<int>(ErrorNumber::RelatedRecordRequired)) << "user 1 is missing";
    database_->Execute(u"INSERT INTO Users VALUES (1)");
    append();
    const auto seen = std::make_shared<DatabaseObject>(database_)->Relations()->Find<RelationObject>(u"UserTrains");
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->Table(), u"Users");
    EXPECT_EQ(seen->ForeignTable(), u"TrainInfo");
    EXPECT_EQ(seen->Attributes(), RelationDef::kDeleteCascade);
    EXPECT_EQ(seen->Fields()->Find<FieldObject>(u"UserID")->ForeignName(), u"UserID");
    database_->Execute(u"DELETE FROM Users WHERE UserID = 1");
    EXPECT_EQ(Column(u"TrainInfo", u"TrainID"), u"2 4");
    database_->ExecuteScript(
        u"CREATE TABLE Cents (P DECIMAL(9,2) PRIMARY KEY); INSERT INTO Cents VALUES (1.5);"
        u"CREATE TABLE Prices (P DECIMAL(12,2) REFERENCES Cents); INSERT INTO Prices VALUES (1.5)");
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"INSERT INTO Prices VALUES (15)"); }),
              static_cast<int>(ErrorNumber::RelatedRecordRequired));
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"CREATE TABLE Other (P DECIMAL(9,3) REFERENCES Cents)"); }),
              static_cast<int>(ErrorNumber::RelationshipMismatch));
    objects_->Relations()->Delete(u"UserTrains");
    EXPECT_EQ(std::make_shared<DatabaseObject>(database_)->Relations()->Count(), 1);
}

TEST_F(ObjectsTest, QueriesWithParameters) {
    struct Case {
        const char16_t* text;
        const char16_t* parameters;  // their names
        Value first;
        const char16_t* rows;
        ErrorNumber error{};
    };
    const Case cases[] = {
        {u"SELECT TrainID FROM TrainInfo WHERE TrainID > [From]", u"From", 3, u"4 5"},
        {u"PARAMETERS [From] LONG; SELECT TrainID FROM TrainInfo WHERE TrainID Between [from] And 4", u"From", u"3",
         u"3 4"},
        {u"PARAMETERS D DATETIME, Unused TEXT(5); SELECT TrainID FROM TrainInfo WHERE StartDate >= D", u"D Unused",
         u"2005-04-14", u"4 5"},
        {u"SELECT TrainID FROM TrainInfo WHERE UserID = (SELECT Max(UserID) FROM TrainInfo WHERE TrainID < Below)",
         u"Below", 3, u"1 3 5"},
        {u"SELECT TrainID FROM TrainInfo WHERE Remark = [A]", u"A", Null{}, u""},
        // Of a form that only another program has; a table's column that is not there is no parameter.
        {u"PARAMETERS [Forms!Dialog 1!Least] LONG; SELECT TrainID FROM TrainInfo"
         u" WHERE TrainID >= [Forms]![Dialog 1]![Least]",
         u"Forms!Dialog 1!Least", u"4", u"4 5"},
        {u"PARAMETERS Forms![D]!Least LONG; SELECT TrainID FROM TrainInfo WHERE TrainID >= [Forms]![D].[Least]",
         u"Forms!D!Least", u"5", u"5"},
        {u"SELECT TrainID FROM TrainInfo WHERE TrainID >= Dialog!Least", u"Dialog!Least", 5, u"5"},
        {u"SELECT TrainID FROM TrainInfo WHERE TrainID >= Dialog.Least", u"", {}, u"", ErrorNumber::MissingParameter},
        {u"SELECT TrainID FROM TrainInfo AS T WHERE EXISTS (SELECT 1 FROM TrainInfo WHERE T!Least = 1)",
         u"",
         {},
         u"",
         ErrorNumber::MissingParameter},
        {u"SELECT TrainID FROM TrainInfo WHERE TrainID > A And TrainID < B", u"A B", 1, u"",
         ErrorNumber::MissingParameter},
        {u"PARAMETERS A LONG; SELECT TrainID FROM TrainInfo WHERE TrainID > A", u"A", u"drei", u"",
         ErrorNumber::DataTypeConversion},
        {u"PARAMETERS A; SELECT 1", u"", {}, u"", ErrorNumber::SyntaxInColumnDefinition},
        {u"PARAMETERS A LONG SELECT 1", u"", {}, u"", ErrorNumber::SyntaxInParameters},
        {u"PARAMETERS A LONG, a TEXT; SELECT 1", u"", {}, u"", ErrorNumber::SyntaxInParameters},
    };
    for (const Case& test : cases) {
        const auto query = objects_->CreateQueryDef(u"", test.text);
        const std::string name = ToUtf8(test.text);
        EXPECT_EQ(ErrorOf([&] {
                      std::u16string names;
                      for (const AnyObject& object : query->Parameters()->Objects())
                          names += (names.empty() ? u"" : u" ") + NameOf(object);
                      EXPECT_EQ(names, test.parameters) << name;
                      std::get<std::shared_ptr<ParameterObject>>(query->Parameters()->Item(0))->Value(test.first);
                      std::u16string rows;
                      const auto found = query->OpenRecordset(RecordsetType::Default, 0);
                      for (; !found->Eof(); found->MoveNext())
                          rows += (rows.empty() ? u"" : u" ") + ToText(found->Fields(0).Value());
                      EXPECT_EQ(rows, test.rows) << name;
                  }),
                  static_cast<int>(test.error))
            << name;
    }
    const auto action = objects_->CreateQueryDef(
        u"", u"PARAMETERS S SINGLE; UPDATE TrainInfo SET Score = S, Remark = [新] WHERE UserID = 1");
    EXPECT_EQ(ErrorOf([&] { action->Execute(kFailOnError); }), static_cast<int>(ErrorNumber::MissingParameter));
    action->Parameters()->Find<ParameterObject>(u"s")->Value(u"1.5");
    action->Parameters()->Find<ParameterObject>(u"新")->Value(u"甲");
    EXPECT_EQ(ErrorOf([&] { action->Execute(1024); }), static_cast<int>(ErrorNumber::InvalidArgument));
    EXPECT_EQ(ErrorOf([&] { action->Execute(kDenyRead); }), static_cast<int>(ErrorNumber::OperationNotSupported));
    action->Execute(kFailOnError);
    EXPECT_EQ(action->RecordsAffected(), 3);
    const auto insertion =
        objects_->CreateQueryDef(u"", u"INSERT INTO TrainInfo (UserID, Remark) VALUES (7, Given & '!')");
    insertion->Parameters()->Find<ParameterObject>(u"given")->Value(u"乙");
    insertion->Execute(kFailOnError);
    EXPECT_EQ(Column(u"SELECT Remark FROM TrainInfo WHERE UserID = 7", u"Remark"), u"乙!");
    const std::pair<const char16_t*, int> types[] = {
        {u"SELECT 1", 0},
        {u"TRANSFORM Sum(Score) SELECT UserID FROM TrainInfo GROUP BY UserID PIVOT TrainID", 16},
        {u"DELETE FROM TrainInfo", 32},
        {u"UPDATE TrainInfo SET Score = 1", 48},
        {u"INSERT INTO TrainInfo (Score) VALUES (1)", 64},
        {u"SELECT * INTO T FROM TrainInfo", 80},
        {u"DROP TABLE TrainInfo", 96},
        {u"SELECT 1 UNION SELECT 2", 128},
    };
    for (const auto& [text, type] : types) EXPECT_EQ(objects_->CreateQueryDef(u"", text)->Type(), type) << ToUtf8(text);
    EXPECT_EQ(Column(u"SELECT Remark FROM TrainInfo WHERE Score = 1.5", u"Remark"), u"甲 甲 甲");
    EXPECT_EQ(ErrorOf([&] { action->OpenRecordset(RecordsetType::Default, 0); }),
              static_cast<int>(ErrorNumber::InvalidOperation));
}

// A saved query is split into its parts; rebuilt from them it has the same rows.
TEST_F(ObjectsTest, SavedQueries) {
    database_->ExecuteScript(u"CREATE TABLE Users (UserID LONG, UserName TEXT(9)); INSERT INTO Users VALUES (1, '甲')");
    const char16_t* const texts[] = {
        u"SELECT * FROM TrainInfo",
        u"SELECT TrainInfo.*, Score * 2 AS Twice FROM TrainInfo WHERE Score > 20 ORDER BY TrainID DESC, Score",
        u"SELECT DISTINCT UserID FROM TrainInfo",
        u"SELECT 1 AS A, 'x' AS B",
        u"SELECT UserID FROM TrainInfo WITH OWNERACCESS OPTION",
        u"SELECT TOP 2 TrainID, Remark FROM TrainInfo ORDER BY TrainID DESC",
        u"SELECT UserID, Count(*) AS N FROM TrainInfo GROUP BY UserID HAVING Count(*) > 2",
        u"SELECT T.TrainID, U.UserName FROM TrainInfo AS T LEFT JOIN Users AS U ON T.UserID = U.UserID",
        u"SELECT V.TrainID FROM (TrainInfo AS T INNER JOIN Users ON T.UserID = Users.UserID) RIGHT JOIN TrainInfo AS V "
        u"ON V.TrainID = T.TrainID + 1",
        u"SELECT Q.UserID FROM (SELECT UserID FROM TrainInfo WHERE Score > 30) AS Q, Users WHERE Q.UserID = "
        u"Users.UserID",
    };
    const auto shown = [&](std::u16string_view source) {
        std::u16string text;
        const auto rows = database_->OpenRecordset(source, RecordsetType::Snapshot);
        for (const auto& field : rows->Fields()) text += field->Name() + u" ";
        for (; !rows->Eof(); rows->MoveNext()) {
            for (const auto& field : rows->Fields())
                text += u"|" + (field->Value().IsNull() ? u"Null" : ToText(field->Value()));
        }
        return text;
    };
    for (const char16_t* text : texts) {
        objects_->CreateQueryDef(u"Saved", text);
        EXPECT_EQ(shown(u"Saved"), shown(text)) << ToUtf8(text);
        EXPECT_EQ(ErrorOf([&] { objects_->CreateQueryDef(u"saved", text); }),
                  static_cast<int>(ErrorNumber::TableExists));
        objects_->QueryDefs()->Delete(u"Saved");
    }
    const auto query = objects_->CreateQueryDef(
        u"Saved", u"PARAMETERS [Least] LONG; SELECT TrainID FROM TrainInfo WHERE TrainID >= [Least]");
    const auto seen = std::make_shared<DatabaseObject>(database_)->QueryDefs()->Find<QueryDef>(u"Saved");
    ASSERT_TRUE(seen);
    EXPECT_EQ(ErrorOf([&] { shown(u"Saved"); }), static_cast<int>(ErrorNumber::MissingParameter));
    seen->Parameters()->Find<ParameterObject>(u"least")->Value(u"4");
    EXPECT_EQ(seen->OpenRecordset(RecordsetType::Default, 0)->TrueRecordCount(), 2);
    query->SQL(u"SELECT Remark FROM TrainInfo WHERE TrainID = 2");
    EXPECT_EQ(shown(u"Saved"), u"Remark |备注2");
    query->SQL(u"PARAMETERS A DECIMAL, B GUID; SELECT TrainID FROM TrainInfo WHERE TrainID > [Forms]![D d]![L]");
    const std::u16string kept =
        std::make_shared<DatabaseObject>(database_)->QueryDefs()->Find<QueryDef>(u"Saved")->SQL();
    EXPECT_NE(kept.find(u"PARAMETERS [A] DECIMAL, [B] GUID;"), kept.npos) << ToUtf8(kept);
    EXPECT_NE(kept.find(u"[Forms]![D d]![L]"), kept.npos) << ToUtf8(kept);
    const auto refused = [&](std::u16string_view name, std::u16string_view text) {
        return ErrorOf([&] { objects_->CreateQueryDef(name, text); });
    };
    EXPECT_EQ(refused(u"Action", u"DELETE FROM TrainInfo"), static_cast<int>(ErrorNumber::OperationNotSupported));
    EXPECT_EQ(refused(u"Both", u"SELECT 1 UNION SELECT 2"), static_cast<int>(ErrorNumber::OperationNotSupported));
    EXPECT_EQ(refused(u"TrainInfo", u"SELECT 1"), static_cast<int>(ErrorNumber::TableExists));
    EXPECT_EQ(refused(u"a.b", u"SELECT 1"), static_cast<int>(ErrorNumber::InvalidName));
}

TEST_F(ObjectsTest, WorkspacesHaveTransactionsOfTheirOwn) {
    const auto engine = std::make_shared<EngineObject>();
    EXPECT_EQ(engine->Workspaces()->Count(), 1);
    const auto own = engine->CreateWorkspace(u"Own", u"admin", u"");
    engine->Workspaces()->Append(own);
    EXPECT_TRUE(engine->Workspaces()->Find<Workspace>(u"own"));
    const auto theirs = own->OpenDatabase(Name(u"Client.mdb"), false, false, u"");
    EXPECT_EQ(own->Databases()->Count(), 1);
    EXPECT_EQ(theirs->Version(), u"4.0");
    own->BeginTrans();
    theirs->Execute(u"DELETE FROM TrainInfo", kFailOnError);
    EXPECT_EQ(theirs->RecordsAffected(), 5);
    EXPECT_EQ(ErrorOf([&] { engine->Rollback(); }), static_cast<int>(ErrorNumber::TransactionNotStarted));
    own->Rollback();
    EXPECT_EQ(Column(u"TrainInfo", u"TrainID"), u"1 2 3 4 5");
    own->BeginTrans();
    theirs->Execute(u"DELETE FROM TrainInfo", kFailOnError);
    own->Close();
    EXPECT_EQ(ErrorOf([&] { theirs->Execute(u"DELETE FROM TrainInfo", kFailOnError); }),
              static_cast<int>(ErrorNumber::ObjectInvalid));
    EXPECT_EQ(Column(u"TrainInfo", u"TrainID"), u"1 2 3 4 5");
    EXPECT_EQ(engine->Workspaces()->Count(), 1) << "it has gone";
    for (const std::function<void()>& use : std::vector<std::function<void()>>{
             [&] { own->BeginTrans(); }, [&] { own->OpenDatabase(Name(u"Client.mdb"), false, false, u""); },
             [&] { own->Close(); }})
        EXPECT_EQ(ErrorOf(use), static_cast<int>(ErrorNumber::ObjectInvalid));
    engine->Workspaces()->Append(engine->CreateWorkspace(u"Own", u"admin", u""));
    const auto first = std::get<std::shared_ptr<Workspace>>(engine->Workspaces()->Item(0));
    const auto ours = first->OpenDatabase(Name(u"Client.mdb"), false, false, u"");
    first->Close();
    EXPECT_FALSE(ours->Jet().IsOpen());
    EXPECT_EQ(engine->Workspaces()->Count(), 2) << "the first one stays";
    EXPECT_EQ(engine->OpenDatabase(Name(u"Client.mdb"), false, false, u"")->Version(), u"4.0");
    RememberError(AutomationError(3021, u"Q", u"没有当前记录。"));
    ASSERT_EQ(engine->Errors()->Count(), 1);
    EXPECT_EQ(std::get<std::shared_ptr<ErrorObject>>(engine->Errors()->Item(0))->Number(), 3021);
    EXPECT_EQ(NameOf(objects_->Properties()->Item(0)), u"Name");
}

class JoinTest : public DaoTest {
protected:
    JoinTest() {
        database_->ExecuteScript(
            u"CREATE TABLE Users (UserID LONG PRIMARY KEY, UserName TEXT(20));"
            u"INSERT INTO Users VALUES (0, '甲'); INSERT INTO Users VALUES (1, '乙');"
            u"CREATE TABLE Marks (A LONG, B LONG, M TEXT(5)); CREATE UNIQUE INDEX AB ON Marks (A, B);"
            u"INSERT INTO Marks VALUES (1, 1, 'x'); INSERT INTO Marks VALUES (3, 1, 'y')");
    }
};

TEST_F(JoinTest, WhichCanBeEdited) {
    struct Case {
        const char16_t* from;
        bool editable;
    };
    const Case cases[] = {
        {u"TrainInfo AS T, Users AS U WHERE T.UserID = U.UserID", true},
        {u"Users AS U INNER JOIN TrainInfo AS T ON U.UserID = T.UserID", true},
        {u"TrainInfo AS T LEFT JOIN Users AS U ON T.UserID = U.UserID", true},
        {u"Users AS U LEFT JOIN TrainInfo AS T ON U.UserID = T.UserID", false},
        {u"TrainInfo AS T, Users AS U", false},
        {u"TrainInfo AS T, Users AS U WHERE T.UserID < U.UserID", false},
        {u"TrainInfo AS T, Users AS U WHERE T.Score = U.UserID", false},
        {u"TrainInfo AS T INNER JOIN TrainInfo AS U ON T.UserID = U.UserID", false},
        {u"(TrainInfo AS T INNER JOIN Users AS U ON T.UserID = U.UserID) LEFT JOIN Marks AS M ON M.A = T.TrainID And "
         u"M.B = U.UserID",
         true},
        {u"TrainInfo AS T LEFT JOIN Marks AS M ON M.A = T.TrainID", false},
        {u"TrainInfo AS T, (SELECT * FROM Users) AS U WHERE T.UserID = U.UserID", false},
        {u"Decimals AS T INNER JOIN Cents AS C ON T.P = C.P", true},
        {u"Decimals AS T INNER JOIN Mills AS M ON T.P = M.P", false},
    };
    database_->ExecuteScript(
        u"CREATE TABLE Decimals (TrainID LONG, P DECIMAL(9,2)); CREATE TABLE Cents (P DECIMAL(12,2) PRIMARY KEY);"
        u"CREATE TABLE Mills (P DECIMAL(9,3) PRIMARY KEY); INSERT INTO Decimals VALUES (1, 1.5);"
        u"INSERT INTO Cents VALUES (1.5); INSERT INTO Mills VALUES (1.5)");
    for (const Case& test : cases) {
        const auto rows = database_->OpenRecordset(u"SELECT T.TrainID FROM " + std::u16string(test.from));
        EXPECT_EQ(rows->Updatable(), test.editable) << ToUtf8(test.from);
        EXPECT_EQ(ErrorOf([&] { rows->Edit(); }), test.editable ? 0 : static_cast<int>(ErrorNumber::ReadOnly));
    }
}

TEST_F(JoinTest, IsEditedOnItsManySide) {
    const auto rows = database_->OpenRecordset(
        u"SELECT TrainID, TrainInfo.UserID, UserName, Remark, M FROM (TrainInfo INNER JOIN Users ON TrainInfo.UserID = "
        u"Users.UserID) LEFT JOIN Marks ON Marks.A = TrainID And Marks.B = Users.UserID ORDER BY TrainID");
    EXPECT_EQ(rows->Fields(u"UserName").Value(), Value(u"乙"));
    EXPECT_EQ(rows->Fields(u"M").Value(), Value(u"x"));
    rows->Edit();
    EXPECT_EQ(ErrorOf([&] { rows->Fields(u"UserName").Value(u"丙"); }), static_cast<int>(ErrorNumber::ReadOnly));
    rows->Fields(u"UserID").Value(std::int32_t{0});
    rows->Update();
    EXPECT_EQ(rows->Fields(u"UserName").Value(), Value(u"甲")) << "the other user's name";
    EXPECT_TRUE(rows->Fields(u"M").Value().IsNull());
    rows->AddNew();
    rows->Fields(u"UserID").Value(std::int32_t{1});
    rows->Fields(u"Remark").Value(u"新");
    rows->Update();
    rows->Bookmark(rows->LastModified());
    EXPECT_EQ(rows->Fields(u"UserName").Value(), Value(u"乙"));
    rows->Delete();
    EXPECT_EQ(Column(u"SELECT TrainID FROM TrainInfo", u"TrainID"), u"1 2 3 4 5");
    EXPECT_EQ(Column(u"SELECT UserID FROM Users", u"UserID"), u"0 1");
    EXPECT_EQ(rows->Fields(u"UserName").Definition().source_table, u"Users");
    EXPECT_EQ(rows->Fields(u"UserName").DataUpdatable(), false);
    EXPECT_EQ(rows->Fields(u"Remark").DataUpdatable(), true);
}

}  // namespace
}  // namespace qmtrain::dao
