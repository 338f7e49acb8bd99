// Changes of structures that have rows.

#include "fixture.h"

namespace qmtrain::dao {
namespace {

using AlterTest = DaoTest;

TEST_F(AlterTest, Columns) {
    database_->Execute(u"CREATE INDEX ByRemark ON TrainInfo (Remark DESC, UserID)");
    struct Case {
        const char16_t* action;
        const char16_t* column;
        const char16_t* values;
        ErrorNumber error{};
    };
    const Case cases[] = {
        {u"COLUMN Score TEXT(5)", u"Score", u"10.5 20.5 30.5 40.5 50.5"},
        {u"Score LONG", u"Score", u"10 20 30 40 50"},
        {u"COLUMN Score TEXT(1)", u"Score", u"10 20 30 40 50", ErrorNumber::FieldTooLarge},
        {u"COLUMN Remark TEXT(3)", u"Remark", u"备注5 备注4 备注3 备注2 备注1"},
        {u"COLUMN Remark DATETIME", u"Remark", u"备注5 备注4 备注3 备注2 备注1", ErrorNumber::DataTypeConversion},
        {u"COLUMN Content TEXT(20) NOT NULL", u"UserID", u"0 0 1 1 1", ErrorNumber::FieldRequired},
        {u"COLUMN TrainID LONG", u"TrainID", u"1 2 3 4 5"},
        {u"COLUMN UserID COUNTER", u"UserID", u"0 0 1 1 1", ErrorNumber::OperationNotSupported},
        {u"COLUMN Missing LONG", u"UserID", u"0 0 1 1 1", ErrorNumber::FieldNotFound},
        {u"COLUMN UserID LONG PRIMARY KEY", u"UserID", u"0 0 1 1 1", ErrorNumber::SyntaxInAlterTable},
    };
    for (const Case& test : cases) {
        const std::string name = ToUtf8(test.action);
        EXPECT_EQ(ErrorOf([&] { database_->Execute(u"ALTER TABLE TrainInfo ALTER " + std::u16string(test.action)); }),
                  static_cast<int>(test.error))
            << name;
        const bool descending = test.column == std::u16string_view(u"Remark");
        EXPECT_EQ(Column(u"SELECT " + std::u16string(test.column) + u" AS C FROM TrainInfo ORDER BY " + test.column +
                             (descending ? u" DESC" : u""),
                         u"C"),
                  test.values)
            << name;
    }
    database_->Execute(u"ALTER TABLE TrainInfo ADD COLUMN Last LONG");
    const auto rows = database_->OpenRecordset(u"TrainInfo", RecordsetType::Table);
    EXPECT_EQ(rows->Fields(6).Name(), u"Last");
    EXPECT_EQ(rows->Fields(3).Name(), u"Score") << "it keeps its place";
    EXPECT_EQ(rows->Fields(u"Score").Definition().default_value, u"0");
    EXPECT_EQ(rows->Fields(u"Remark").Size(), 3);
    rows->Index(u"PrimaryKey");
    rows->Index(u"ByRemark");
    const Value key(u"备注2");
    rows->Seek(u"=", {&key, 1});
    EXPECT_FALSE(rows->NoMatch());
}

TEST_F(AlterTest, RelationshipsAreDroppedAsConstraints) {
    database_->ExecuteScript(
        u"CREATE TABLE Users (UserID LONG PRIMARY KEY); INSERT INTO Users VALUES (0); INSERT INTO Users VALUES (1);"
        u"ALTER TABLE TrainInfo ADD CONSTRAINT OfUser FOREIGN KEY (UserID) REFERENCES Users (UserID)");
    const auto run = [&](std::u16string_view statement) { return ErrorOf([&] { database_->Execute(statement); }); };
    EXPECT_EQ(run(u"ALTER TABLE TrainInfo ALTER COLUMN UserID TEXT(5)"),
              static_cast<int>(ErrorNumber::UsedInRelationship));
    EXPECT_EQ(run(u"ALTER TABLE Users ALTER COLUMN UserID TEXT(5)"), static_cast<int>(ErrorNumber::UsedInRelationship));
    for (const char16_t* statement :
         {u"ALTER TABLE Users DROP CONSTRAINT PrimaryKey", u"DROP INDEX PrimaryKey ON Users"})
        EXPECT_EQ(run(statement), static_cast<int>(ErrorNumber::UsedInRelationship));
    EXPECT_NE(run(u"ALTER TABLE Users DROP CONSTRAINT OfUser"), 0) << "it belongs to the other table";
    EXPECT_EQ(run(u"ALTER TABLE TrainInfo DROP CONSTRAINT ofuser"), 0);
    EXPECT_EQ(run(u"DELETE FROM Users"), 0);
    EXPECT_EQ(run(u"ALTER TABLE Users DROP CONSTRAINT PrimaryKey"), 0);
}

}  // namespace
}  // namespace qmtrain::dao
