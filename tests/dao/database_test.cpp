// Statements on real files, transactions, what tables there are.

#include <filesystem>

#include "fixture.h"

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
    database_ = Engine::Instance().OpenDatabase(Name(u"client.MDB"));
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

TEST_F(DatabaseTest, TableDefs) {
    const auto tables = database_->TableDefs();
    const auto found =
        std::find_if(tables.begin(), tables.end(), [](const TableDef& table) { return table.name == u"TrainInfo"; });
    ASSERT_NE(found, tables.end());
    EXPECT_FALSE(found->system);
    ASSERT_EQ(found->fields.size(), 6U);
    EXPECT_TRUE(found->fields[0].autonumber);
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
    const auto northwind = Engine::Instance().OpenDatabase(FromNativePath(sample), true);
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
    const auto orders = northwind->OpenRecordset(
        u"SELECT Count(*) AS N FROM Orders INNER JOIN [Order Details] ON Orders.OrderID = [Order Details].OrderID");
    EXPECT_EQ(orders->Fields(0).Value(), Value(2155));
}

}  // namespace
}  // namespace qmtrain::dao
