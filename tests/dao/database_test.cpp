// Statements on real files, transactions, what tables there are.

#include <filesystem>
#include <semaphore>
#include <thread>

#include "dao/database_object.h"
#include "dao/database_settings.h"
#include "dao/new_database.h"
#include "dao/query_def.h"
#include "dao/system_engine.h"
#include "fixture.h"
#include "jet/check.h"
#include "jet/support/scripted_files.h"

namespace qmtrain::dao {
namespace {

using DatabaseTest = DaoTest;

TEST_F(DatabaseTest, StatementsChangeTheFile) {
    database_->Execute(u"UPDATE TrainInfo SET Score = Score * 2, Remark = Remark & '!' WHERE UserID = 1");
    EXPECT_EQ(database_->RecordsAffected(), 3);
    database_->Execute(u"DELETE FROM TrainInfo WHERE TrainID In (SELECT TrainID FROM TrainInfo WHERE Score > 60)");
    EXPECT_EQ(database_->RecordsAffected(), 2);
    EXPECT_EQ(Column(u"Select * From TrainInfo Order By TrainID", u"Remark"), u"备注1! 备注2 备注4");
    database_->Execute(u"SELECT UserID, Count(*) AS N INTO Counts FROM TrainInfo GROUP BY UserID");
    EXPECT_EQ(Column(u"Select N From Counts Order By UserID", u"N"), u"2 1");
    database_->Close();
    database_ = JetDatabase::Open(Name(u"client.MDB"));
    EXPECT_EQ(Column(u"Select Top 1 * From TrainInfo Order by TrainID Desc", u"TrainId"), u"4");
}

TEST_F(DatabaseTest, AFailingStatementChangesNothing) {
    const auto before = Column(u"TrainInfo", u"Score");
    const std::pair<const char16_t*, ErrorNumber> cases[] = {
        {u"UPDATE TrainInfo SET TrainID = 9", ErrorNumber::DuplicateKey},
        {u"UPDATE TrainInfo SET Score = 1, UserID = IIf(TrainID=4, Null, 1)", ErrorNumber::FieldRequired},
        {u"INSERT INTO TrainInfo (UserID, Remark) SELECT UserID, Remark & '12345678' FROM TrainInfo",
         ErrorNumber::FieldTooLarge},
        {u"INSERT INTO TrainInfo (Score) VALUES (1)", ErrorNumber::FieldRequired},
        {u"UPDATE Nowhere SET A = 1", ErrorNumber::NoSuchTable},
        {u"UPDATE TrainInfo SET Score = Missing", ErrorNumber::MissingParameter},
        {u"SELECT * FROM TrainInfo", ErrorNumber::CannotExecuteSelect},
        {u"CREATE TABLE TrainInfo (A LONG)", ErrorNumber::TableExists},
        {u"DROP TABLE Nowhere", ErrorNumber::NoSuchTable},
    };
    for (const auto& [statement, error] : cases) {
        EXPECT_EQ(ErrorOf([&] { database_->Execute(statement); }), static_cast<int>(error)) << ToUtf8(statement);
        EXPECT_EQ(Column(u"TrainInfo", u"Score"), before);
    }
    EXPECT_NE(ErrorOf([&] { database_->ExecuteScript(u"DELETE FROM TrainInfo; INSERT INTO Nowhere VALUES (1)"); }), 0);
    EXPECT_EQ(Column(u"TrainInfo", u"Score"), before);
}

TEST_F(DatabaseTest, VersionsPasswordsAndCopies) {
    Engine& engine = Engine::Instance();
    const auto old = std::static_pointer_cast<JetDatabase>(
        engine.CreateDatabase(Name(u"Old.mdb"), std::u16string(kChineseLocale) + u";pwd=Schule", kVersion30));
    EXPECT_EQ(old->Storage().GetVersion(), jet::Version::Jet3);
    old->ExecuteScript(u"CREATE TABLE T (笔 LONG)");
    old->Close();
    struct Case {
        const char* name;
        std::function<void()> run;
        ErrorNumber number;
    };
    const ErrorNumber none{};
    const auto open = [&](std::u16string_view connect) { engine.OpenDatabase(Name(u"Old.mdb"), false, connect); };
    const auto compact = [&](std::u16string_view target, std::u16string_view locale, std::int32_t options,
                             std::u16string_view password) {
        engine.CompactDatabase(Name(u"Old.mdb"), Name(target), locale, options, password);
    };
    const auto change = [&](std::u16string_view from, std::u16string_view to) {
        engine.OpenDatabase(Name(u"Old.mdb"), false, u";pwd=Schule")->NewPassword(from, to);
    };
    const Case cases[] = {
        {"no password", [&] { open(u""); }, ErrorNumber::PasswordInvalid},
        {"another password", [&] { open(u";PWD=schule"); }, ErrorNumber::PasswordInvalid},
        {"the password", [&] { open(u"MS Access;PWD=Schule"); }, none},
        {"changed with another", [&] { change(u"", u"x"); }, ErrorNumber::PasswordInvalid},
        {"changed to one that is too long", [&] { change(u"Schule", std::u16string(21, u'x')); },
         ErrorNumber::PasswordInvalid},
        {"changed to one that no connection can give", [&] { change(u"Schule", u"a;b"); },
         ErrorNumber::InvalidArgument},
        {"encoded and not", [&] { compact(u"A.mdb", u"", kEncrypt | kDecrypt, u";pwd=Schule"); },
         ErrorNumber::OperationNotSupported},
        {"copied without it", [&] { compact(u"A.mdb", u"", 0, u""); }, ErrorNumber::PasswordInvalid},
        {"over a file", [&] { compact(u"Client.mdb", u"", 0, u";pwd=Schule"); }, ErrorNumber::DatabaseExists},
        {"over itself", [&] { compact(u"Old.mdb", u"", 0, u";pwd=Schule"); }, ErrorNumber::DatabaseExists},
        {"to a version of old", [&] { compact(u"A.mdb", u"", 16, u";pwd=Schule"); },
         ErrorNumber::OperationNotSupported},
        {"to what names no setting", [&] { compact(u"A.mdb", u"garbage", 0, u";pwd=Schule"); },
         ErrorNumber::InvalidProcedureCall},
        {"to a language that is none", [&] { compact(u"A.mdb", u";LANGID=zh", 0, u";pwd=Schule"); },
         ErrorNumber::InvalidProcedureCall},
        {"to a code page that lacks a name", [&] { compact(u"A.mdb", kGeneralLocale, kVersion30, u";pwd=Schule"); },
         ErrorNumber::InvalidName},
        {"copied",
         [&] { compact(u"New.mdb", std::u16string(kGeneralLocale) + u";pwd=", kVersion40 | kEncrypt, u";pwd=Schule"); },
         none},
        {"changed", [&] { change(u"Schule", u""); }, none},
        {"opened without", [&] { open(u""); }, none},
        {"repaired", [&] { engine.RepairDatabase(Name(u"Old.mdb")); }, none},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(ErrorOf(test.run), static_cast<int>(test.number)) << test.name;
        EXPECT_FALSE(FileExists(Name(u"A.mdb"))) << test.name;
    }
    const auto copy = JetDatabase::Open(Name(u"New.mdb"));
    EXPECT_EQ(copy->Storage().GetVersion(), jet::Version::Jet4);
    EXPECT_NE(copy->Storage().GetPager().GetHeader().page_key, 0U);
    EXPECT_TRUE(copy->OpenRecordset(u"Select 笔 From T")->Eof());
}

// Not the unfinished file beside it, nor the column that takes the values for a while.
TEST_F(DatabaseTest, ErrorsNameWhatWasAskedFor) {
    const std::u16string missing = InFolder(Name(u"nowhere"), u"New.mdb");
    const std::u16string password = std::u16string(kGeneralLocale) + u";pwd=" + std::u16string(21, u'x');
    Engine& engine = Engine::Instance();
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"a database in no folder", [&] { engine.CreateDatabase(missing, kGeneralLocale, 0); }},
        {"a copy in no folder", [&] { engine.CompactDatabase(Name(u"Client.mdb"), missing, u"", 0, u""); }},
        {"a filled one in no folder", [&] { MakeDatabase(missing, u"CREATE TABLE T (A LONG)"); }},
        {"a password that is too long", [&] { engine.CreateDatabase(Name(u"New.mdb"), password, 0); }},
        {"a copy with it", [&] { engine.CompactDatabase(Name(u"Client.mdb"), Name(u"New.mdb"), password, 0, u""); }},
    };
    for (const auto& [name, run] : cases) {
        const std::u16string text = RaisedBy(run).Description();
        EXPECT_NE(text.find(u"New.mdb"), text.npos) << name << ": " << ToUtf8(text);
        EXPECT_EQ(text.find(u".new"), text.npos) << name << ": " << ToUtf8(text);
    }
    const auto old = engine.CreateDatabase(Name(u"Old.mdb"), kGeneralLocale, kVersion30);
    old->Execute(u"CREATE TABLE T (A LONG)");
    const AutomationError decimal = RaisedBy([&] { old->Execute(u"ALTER TABLE T ALTER COLUMN A DECIMAL"); });
    EXPECT_TRUE(decimal.Is(ErrorNumber::OperationNotSupported));
    EXPECT_NE(decimal.Description().find(u"“A”"), std::u16string::npos) << decimal.what();
    std::u16string columns;
    std::u16string definitions;
    for (std::int64_t i = 0; i < 11; ++i) {
        const std::u16string name = (i == 0 ? u"C" : u", C") + ToText(i);
        columns += name;
        definitions += name + u" LONG";
    }
    old->Execute(u"CREATE TABLE W (" + definitions + u")");
    const AutomationError index = RaisedBy([&] { old->Execute(u"CREATE INDEX I ON W (" + columns + u")"); });
    EXPECT_TRUE(index.Is(ErrorNumber::InvalidArgument));
    EXPECT_NE(index.Description().find(u"“I”"), std::u16string::npos) << index.what();
}

TEST_F(DatabaseTest, ANewDatabaseIsNoPartOfATransaction) {
    Engine::Instance().BeginTrans();
    MakeDatabase(Name(u"New.mdb"), u"CREATE TABLE T (A LONG)");
    Engine::Instance().Rollback();
    EXPECT_EQ(Engine::Instance().OpenDatabase(Name(u"New.mdb"))->OpenRecordset(u"T")->Fields().size(), 1U);
    EXPECT_EQ(ErrorOf([&] { MakeDatabase(Name(u"NEW.mdb"), u""); }), static_cast<int>(ErrorNumber::DatabaseExists));
}

// The disk refuses each call in turn.
TEST_F(DatabaseTest, ANewDatabaseIsWholeOrNotThere) {
    const std::u16string name = Name(u"New.mdb");
    int failures = 0;
    for (bool struck = true; struck && !HasFailure();) {
        SCOPED_TRACE(++failures);
        test::ScriptedFiles files;
        files.strike_at = failures;
        const int error = ErrorOf([&] { MakeDatabase(name, u"CREATE TABLE T (A LONG)", {}, {}, files); });
        struck = files.calls >= failures;
        EXPECT_TRUE(struck || error == 0);
        const bool made = FileExists(name);
        EXPECT_TRUE(made || error != 0);
        if (!made) continue;
        EXPECT_EQ(JetDatabase::Open(name)->OpenRecordset(u"T")->Fields().size(), 1U);
        FileSystem::Native().Remove(ToNativePath(name));
    }
    EXPECT_GT(failures, 10);
}

// Counted in the index where the conditions say nothing else; what stands inside a function is tested on every row.
TEST_F(DatabaseTest, CountsWhatItWouldRead) {
    database_->Execute(u"CREATE TABLE T (A LONG, B INTEGER, C DOUBLE, D LONG)");
    database_->Execute(u"CREATE INDEX AB ON T (A, B DESC)");
    database_->Execute(u"CREATE INDEX C ON T (C)");
    database_->Execute(u"CREATE INDEX D ON T (D) WITH IGNORE NULL");
    Engine::Instance().BeginTrans();
    for (std::int32_t i = 0; i < 3000; ++i) {
        const std::u16string a = i % 7 == 6 ? u"Null" : ToText(i % 7);
        database_->Execute(u"INSERT INTO T VALUES (" + a + u"," + ToText(i % 3) + u"," + ToText(i % 4) + u".5," +
                           (i % 2 == 0 ? u"Null" : ToText(i % 5)) + u")");
    }
    database_->Execute(u"DELETE FROM T WHERE A = 3 AND B = 1 OR C = 2.5 AND A = 4");
    Engine::Instance().CommitTrans();
    const char16_t* const conditions[] = {u"True",
                                          u"A=2",
                                          u"A=2 AND B=1",
                                          u"B=1 AND A=2",
                                          u"2=A AND B=1",
                                          u"A=3 AND B=1",
                                          u"A=2 AND A=3",
                                          u"A=2 AND A=2",
                                          u"A=2 AND B>0",
                                          u"A=2 AND B=1 AND D=3",
                                          u"A=2.5",
                                          u"A=2.0",
                                          u"A=2+0",
                                          u"A=Null",
                                          u"A=-1",
                                          u"A=70000 AND B=1",
                                          u"B=70000 AND A=2",
                                          u"C=2.5",
                                          u"D=3",
                                          u"D=2 AND D Is Not Null",
                                          u"A=2 OR B=1",
                                          u"A=B",
                                          u"A=2 AND B=D",
                                          u"A IN (2, 3)",
                                          u"A BETWEEN 2 AND 2",
                                          u"NOT A=2"};
    for (const char16_t* condition : conditions) {
        const std::u16string count = u"SELECT Count(*) AS N, Count(*) AS M FROM T WHERE ";
        const std::u16string read = Column(count + u"IIf(" + condition + u", True, False)", u"N");
        EXPECT_EQ(Column(count + condition, u"N"), read) << ToUtf8(condition);
        EXPECT_EQ(
            Column(u"SELECT A, D FROM T WHERE " + std::u16string(condition), u"A").size(),
            Column(u"SELECT A, D FROM T WHERE IIf(" + std::u16string(condition) + u", True, False)", u"A").size());
    }
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM T WHERE A=0 AND B=0", u"N"), u"143");
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM T, TrainInfo WHERE A=0 AND TrainID=B", u"N"), u"286");
    EXPECT_NE(ErrorOf([&] { Column(u"SELECT Count(*) AS N FROM T WHERE A='x'", u"N"); }), 0);
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM T HAVING Count(*) > 1", u"N"),
              Column(u"SELECT Count(*) AS N FROM T", u"N"));
}

TEST_F(DatabaseTest, TransactionsOfTheEngine) {
    Engine& engine = Engine::Instance();
    engine.BeginTrans();
    database_->Execute(u"DELETE FROM TrainInfo WHERE TrainID > 2");
    engine.BeginTrans();
    database_->Execute(u"DELETE FROM TrainInfo");
    EXPECT_EQ(Column(u"TrainInfo", u"TrainID"), u"");
    engine.Rollback();
    EXPECT_EQ(Column(u"TrainInfo", u"TrainID"), u"1 2");
    engine.CommitTrans();
    EXPECT_EQ(Column(u"TrainInfo", u"TrainID"), u"1 2");
    EXPECT_EQ(ErrorOf([&] { engine.CommitTrans(); }), static_cast<int>(ErrorNumber::TransactionNotStarted));
}

// Another engine in the machine's place, of which one commit fails.
class OtherEngine : public SystemEngine {
public:
    struct Seen {
        int open = 0;
        bool fails = false;
        std::function<void()> at_commit = [] {};
    };
    explicit OtherEngine(Seen& seen) : seen_(seen) {}

    std::shared_ptr<Database> OpenDatabase(std::u16string_view name, const std::filesystem::path&, bool,
                                           std::u16string_view) override {
        Raise(ErrorNumber::FileNotFound, {name});
    }
    void BeginTrans() override { ++seen_.open; }
    void CommitTrans() override {
        seen_.at_commit();
        if (seen_.fails) Raise(ErrorNumber::DiskError, {u"other", u"test"});
        --seen_.open;
    }
    void Rollback() override { --seen_.open; }

private:
    Seen& seen_;
};

TEST_F(DatabaseTest, BothEnginesCommitOrNone) {
    Engine& engine = Engine::Instance();
    OtherEngine::Seen seen;
    engine.Use(std::make_unique<OtherEngine>(seen));
    for (const bool fails : {true, false}) {
        seen.fails = fails;
        seen.at_commit = [&] {
            const auto journal = ToNativePath(Name(u"Client.mdb-journal"));
            EXPECT_TRUE(std::filesystem::exists(journal)) << "ours is on the disk, and can go back";
        };
        engine.BeginTrans();
        database_->Execute(u"DELETE FROM TrainInfo WHERE TrainID > 2");
        EXPECT_EQ(ErrorOf([&] { engine.CommitTrans(); }), fails ? static_cast<int>(ErrorNumber::DiskError) : 0);
        EXPECT_EQ(seen.open, 0);
        EXPECT_EQ(Column(u"TrainInfo", u"TrainID"), fails ? u"1 2 3 4 5" : u"1 2");
        EXPECT_EQ(ErrorOf([&] { engine.CommitTrans(); }), static_cast<int>(ErrorNumber::TransactionNotStarted));
        seen.open = 0;
    }
    engine.Use(nullptr);
}

// Rows that have columns of fixed length only stay readable when the first other one comes.
TEST_F(DatabaseTest, TheFirstColumnOfVariableLength) {
    for (const char16_t* type : {u"MEMO", u"TEXT(20)"}) {
        database_->Execute(u"CREATE TABLE Numbers (A LONG, F YESNO)");
        for (int i = 0; i < 300; ++i) {
            database_->Execute(u"INSERT INTO Numbers VALUES (" + ToText(i) + u", True)");
        }
        database_->Execute(u"INSERT INTO Numbers (F) VALUES (False)");
        database_->Execute(u"ALTER TABLE Numbers ADD COLUMN B LONG");
        database_->Execute(u"UPDATE Numbers SET B = A + 1 WHERE A < 100");
        database_->Execute(u"ALTER TABLE Numbers ADD COLUMN C " + std::u16string(type));
        EXPECT_EQ(Column(u"SELECT Count(*) & '/' & Count(B) & '/' & Sum(A) & '/' & Sum(B) & '/' & Sum(F) & '/' &"
                         u" Count(C) AS N FROM Numbers",
                         u"N"),
                  u"301/100/44850/5050/-300/0");
        database_->Execute(u"UPDATE Numbers SET C = 'x' & A WHERE A > 297 Or A Is Null");
        EXPECT_EQ(Column(u"SELECT C FROM Numbers WHERE C Is Not Null ORDER BY A", u"C"), u"x x298 x299");
        EXPECT_TRUE(jet::CheckDatabase(database_->Storage()).defects.empty());
        database_->Execute(u"DROP TABLE Numbers");
    }
}

TEST_F(DatabaseTest, LinkedTables) {
    const auto other = JetDatabase::Create(Name(u"Other.mdb"));
    other->Execute(u"CREATE TABLE Bank (Code TEXT(10) PRIMARY KEY)");
    database_->CreateTableDef(u"Banks", u";DATABASE=Other.mdb", u"Bank");
    database_->Execute(u"INSERT INTO Banks VALUES ('JC')");
    EXPECT_EQ(Column(u"Banks", u"Code"), u"JC");
    struct Case {
        const char16_t* name;
        const char16_t* connect;
        const char16_t* source;
        ErrorNumber error;
    };
    const Case cases[] = {
        {u"Banks", u";DATABASE=Other.mdb", u"Bank", ErrorNumber::TableExists},
        {u"L", u";DATABASE=Missing.mdb", u"Bank", ErrorNumber::FileNotFound},
        {u"L", u";DATABASE=Other.mdb", u"Missing", ErrorNumber::NoSuchTable},
        {u"L", u"Excel 8.0;DATABASE=Other.xls", u"Sheet", ErrorNumber::OperationNotSupported},
        {u"L", u"Other.mdb", u"Bank", ErrorNumber::OperationNotSupported},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(ErrorOf([&] { database_->CreateTableDef(test.name, test.connect, test.source); }),
                  static_cast<int>(test.error))
            << ToUtf8(test.connect);
    }
    database_->Execute(u"DROP TABLE Banks");
    EXPECT_NE(ErrorOf([&] { Column(u"Banks", u"Code"); }), 0);
    other->Execute(u"INSERT INTO Bank VALUES ('RJ')");  // the table itself is still there
}

// The system gives the number of a thread that has ended to the next one, whose transactions must not include the
// databases that the first one has opened.
TEST_F(DatabaseTest, ThreadsThatEndLeaveTheirDatabasesToNobody) {
    Engine& engine = Engine::Instance();
    std::shared_ptr<Database> first;
    std::jthread([&] {
        first = engine.CreateDatabase(Name(u"First.mdb"));
        first->Execute(u"CREATE TABLE T (A LONG)");
    }).join();
    std::binary_semaphore begun(0);
    std::binary_semaphore added(0);
    std::jthread next([&] {
        const auto own = engine.CreateDatabase(Name(u"Next.mdb"));
        engine.BeginTrans();
        own->Execute(u"CREATE TABLE T (A LONG)");
        begun.release();
        added.acquire();
        engine.Rollback();
    });
    begun.acquire();
    first->Execute(u"INSERT INTO T VALUES (1)");
    added.release();
    next.join();
    EXPECT_EQ(first->OpenRecordset(u"T")->TrueRecordCount(), 1);
}

// A transaction of one thread does not take in what another thread does; threads may share a database, or have the same
// file open each for itself.
TEST_F(DatabaseTest, Threads) {
    Engine& engine = Engine::Instance();
    engine.BeginTrans();
    std::jthread([&] {
        const auto own = engine.CreateDatabase(Name(u"Own.mdb"));
        own->Execute(u"CREATE TABLE T (A LONG)");
        own->Execute(u"INSERT INTO T VALUES (1)");
    }).join();
    engine.Rollback();
    EXPECT_EQ(JetDatabase::Open(Name(u"Own.mdb"))->OpenRecordset(u"T")->TrueRecordCount(), 1);

    const auto work = [](Database& database, std::int32_t user) {
        const std::u16string number = ToText(user);
        for (int i = 0; i < 20; ++i) {
            database.Execute(u"INSERT INTO TrainInfo (UserID) VALUES (" + number + u")");
            database.Execute(u"UPDATE TrainInfo SET Score = Score + 1 WHERE TrainID = 1");
            const auto rows = database.OpenRecordset(u"SELECT * FROM TrainInfo WHERE UserID = " + number);
            rows->MoveLast();
            rows->Edit();
            rows->Fields(u"Score").Value(static_cast<float>(i));
            rows->Update();
            for (const auto all = database.OpenRecordset(u"SELECT UserID, Score FROM TrainInfo"); !all->Eof();
                 all->MoveNext()) {
                if (all->Fields(u"UserID").Value().IsNull()) ADD_FAILURE() << "a row was read in part";
            }
        }
    };
    const auto work_alone = [&](std::int32_t user) { work(*engine.OpenDatabase(Name(u"Client.mdb")), user); };
    {
        const std::jthread first([&] { work(*database_, 71); });
        const std::jthread second([&] { work(*database_, 72); });
        const std::jthread third([&] { work_alone(73); });
        const std::jthread fourth([&] { work_alone(74); });
    }
    EXPECT_EQ(Column(u"SELECT Count(*) AS N, Sum(Score) AS S FROM TrainInfo WHERE UserID > 70 GROUP BY UserID", u"S"),
              u"190 190 190 190");
    EXPECT_EQ(Column(u"SELECT Score FROM TrainInfo WHERE TrainID = 1", u"Score"), u"90.5") << "10.5, and 80 times 1";
}

TEST_F(DatabaseTest, ReferencesAndDefaults) {
    database_->ExecuteScript(
        u"CREATE TABLE TrainResult (ResultID COUNTER CONSTRAINT PK PRIMARY KEY, TrainID LONG,"
        u" AddTime DATETIME DEFAULT Now(), Kind TEXT(5) DEFAULT '笔试',"
        u" CONSTRAINT InfoResult FOREIGN KEY (TrainID) REFERENCES TrainInfo (TrainID) ON DELETE CASCADE);"
        u"INSERT INTO TrainResult (TrainID) VALUES (1); INSERT INTO TrainResult (TrainID) VALUES (3)");
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"INSERT INTO TrainResult (TrainID) VALUES (77)"); }),
              static_cast<int>(ErrorNumber::RelatedRecordRequired));
    EXPECT_EQ(Column(u"TrainResult", u"Kind"), u"笔试 笔试");
    database_->Execute(u"DELETE FROM TrainInfo WHERE TrainID = 1");
    EXPECT_EQ(Column(u"TrainResult", u"TrainID"), u"3");
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"DROP TABLE TrainInfo"); }),
              static_cast<int>(ErrorNumber::UsedInRelationship));
    database_->ExecuteScript(
        u"ALTER TABLE TrainResult ADD COLUMN 备注 TEXT(20); UPDATE TrainResult SET 备注 = '好';"
        u"CREATE UNIQUE INDEX 按备注 ON TrainResult (备注 DESC) WITH IGNORE NULL");
    EXPECT_EQ(Column(u"SELECT * FROM TrainResult WHERE 备注 = '好'", u"备注"), u"好");
}

// Keys that are alike for longer than an index page of the old form can leave out, in bulk and over rows that are
// there.
TEST_F(DatabaseTest, LongKeysAndBlanksInOldFiles) {
    const auto old = std::static_pointer_cast<JetDatabase>(
        Engine::Instance().CreateDatabase(Name(u"Long.mdb"), kGeneralLocale, kVersion30));
    old->ExecuteScript(
        u"CREATE TABLE S (ID LONG, A TEXT(255), B TEXT(255)); CREATE TABLE T (ID LONG, A TEXT(255), B TEXT(255));"
        u"CREATE INDEX I ON T (A, B); CREATE TABLE Blank (K TEXT(20)); CREATE INDEX I ON Blank (K);"
        u"INSERT INTO Blank VALUES ('a ')");
    for (int i = 0; i < 60; ++i) {
        old->Execute(u"INSERT INTO S VALUES (" + ToText(i) + u", '" + std::u16string(250, u'x') + u"', '" +
                     std::u16string(100, u'y') + ToText(100 + i) + u"')");
    }
    old->ExecuteScript(u"INSERT INTO T SELECT * FROM S; CREATE INDEX J ON S (A, B)");
    for (const std::u16string_view table : {u"S", u"T"}) {
        EXPECT_EQ(old->OpenRecordset(table)->TrueRecordCount(), 60);
        const auto found =
            old->OpenRecordset(u"SELECT ID FROM " + std::u16string(table) + u" WHERE A LIKE 'x*' AND B LIKE '*130'");
        ASSERT_FALSE(found->Eof());
        EXPECT_EQ(found->Fields(u"ID").Value(), Value(30));
    }
    EXPECT_EQ(old->OpenRecordset(u"SELECT * FROM Blank WHERE K LIKE 'a *'")->TrueRecordCount(), 1);
    const jet::CheckReport report = jet::CheckDatabase(old->Storage());
    EXPECT_TRUE(report.defects.empty());
}

// What was fetched ahead of the current row, and is deleted before anybody comes to it, is no row of the record set.
TEST_F(DatabaseTest, RowsDeletedAhead) {
    database_->ExecuteScript(u"CREATE TABLE Q (A LONG)");
    for (int i = 1; i <= 5; ++i) database_->Execute(u"INSERT INTO Q VALUES (" + ToText(i) + u")");
    const auto rows = database_->OpenRecordset(u"Q");
    database_->Execute(u"DELETE FROM Q WHERE A = 5");
    rows->MoveLast();
    EXPECT_EQ(rows->Fields(u"A").Value(), Value(4));
    EXPECT_EQ(rows->RecordCount(), 4);
}

TEST_F(DatabaseTest, TableDefs) {
    const auto tables = database_->TableDefs();
    const auto found =
        std::find_if(tables.begin(), tables.end(), [](const TableDef& table) { return table.name == u"TrainInfo"; });
    ASSERT_NE(found, tables.end());
    EXPECT_FALSE(found->system);
    ASSERT_EQ(found->fields.size(), 6U);
    EXPECT_TRUE(found->fields[0].IsAutonumber());
    EXPECT_TRUE(found->fields[1].required);
    EXPECT_EQ(found->fields[4].type, FieldType::Text);
    EXPECT_EQ(found->fields[4].size, 10);
    EXPECT_EQ(found->indexes.size(), 2U);
    EXPECT_TRUE(std::any_of(tables.begin(), tables.end(), [](const TableDef& table) { return table.system; }));
}

TEST_F(DatabaseTest, AFolderStandsForItsCatalogue) {
    const auto total = Engine::Instance().CreateDatabase(Name(u"Total.mdb"));
    total->Execute(u"CREATE TABLE Tbl_Subject (C_DataCode TEXT(10), C_DataName TEXT(50))");
    const auto opened = Engine::Instance().OpenDatabase(FromNativePath(folder_.Path()));
    EXPECT_EQ(ErrorOf([&] { opened->OpenRecordset(u"Select * From Tbl_Subject Where C_DataCode='x'"); }), 0);
    EXPECT_EQ(ErrorOf([&] { Engine::Instance().OpenDatabase(Name(u"Missing.mdb")); }),
              static_cast<int>(ErrorNumber::FileNotFound));
}

// Northwind's saved queries are plain selects over joins, made by another program.
TEST_F(DatabaseTest, SavedQueriesOfOtherPrograms) {
    const std::filesystem::path sample = std::filesystem::path(QMTRAIN_SAMPLE_DIR) / "nwind.mdb";
    if (!std::filesystem::exists(sample)) GTEST_SKIP() << "no sample database at " << sample;
    const auto northwind = JetDatabase::Open(FromNativePath(sample), {.read_only = true});
    int ran = 0;
    int refused = 0;
    for (const jet::CatalogObject& object : [&] {
             const jet::Database::Reading reading(northwind->Storage());
             return northwind->Storage().Objects();
         }()) {
        if (object.type != jet::CatalogObject::kQuery || object.name.starts_with(u"~")) continue;
        try {
            northwind->OpenRecordset(object.name)->TrueRecordCount();
            ++ran;
        } catch (const AutomationError& error) {
            ++refused;
            EXPECT_TRUE(error.Is(ErrorNumber::OperationNotSupported) || error.Is(ErrorNumber::MissingParameter) ||
                        error.Is(ErrorNumber::UndefinedFunction))
                << ToUtf8(object.name) << ": " << error.Number() << " " << error.what();
        }
    }
    EXPECT_GT(ran, refused);
    // Its form's dates are parameters.
    const auto sales = std::make_shared<DatabaseObject>(northwind)->QueryDefs()->Find<QueryDef>(u"Sales by Year");
    ASSERT_TRUE(sales);
    EXPECT_EQ(sales->Parameters()->Count(), 2);
    for (const AnyObject& object : sales->Parameters()->Objects())
        std::get<std::shared_ptr<ParameterObject>>(object)->Value(
            NameOf(object) == u"Forms!Sales by Year Dialog!BeginningDate" ? u"1995-1-1" : u"1995-1-31");
    EXPECT_GT(sales->OpenRecordset(RecordsetType::Snapshot, 0)->TrueRecordCount(), 0);
    const auto orders = northwind->OpenRecordset(
        u"SELECT Count(*) AS N FROM Orders INNER JOIN [Order Details] ON Orders.OrderID = [Order Details].OrderID");
    EXPECT_EQ(orders->Fields(0).Value(), Value(2155));
}

}  // namespace
}  // namespace qmtrain::dao
