// How rows are reached: which index is used, what is read, and how often.
#include <gtest/gtest.h>

#include "core/error.h"
#include "core/text.h"
#include "sql/support.h"

namespace qmtrain::sql {
namespace {

// 200 trainings with 10 results each, and 5 question types.
class Plans : public testing::Test {
protected:
    void SetUp() override {
        RunSql(catalog_,
               "CREATE TABLE Train (ID LONG PRIMARY KEY, UserID LONG, At DATETIME, Name TEXT(20), Body MEMO);"
               "CREATE INDEX ByUser ON Train (UserID, At DESC);"
               "CREATE INDEX ByName ON Train (Name);"
               "CREATE TABLE Result (ID LONG PRIMARY KEY, TrainID LONG, Score SINGLE, Style LONG);"
               "CREATE INDEX ByTrain ON Result (TrainID);"
               "CREATE TABLE Style (ID LONG, Code TEXT(5), Name TEXT(20));");
        MemoryTable& train = catalog_.At(u"Train");
        MemoryTable& result = catalog_.At(u"Result");
        for (std::int32_t i = 1; i <= 200; ++i) {
            const Value name(u"name" + ToText(i));
            train.Insert(std::vector<Value>{i, i % 20, Date{38000.0 + i}, name, Value(u"body")});
            for (std::int32_t j = 0; j < 10; ++j) result.Insert(std::vector<Value>{i * 10 + j, i, 1.5F, j % 5});
        }
        RunSql(catalog_, "INSERT INTO Style VALUES (0, '0', 'zero'); INSERT INTO Style VALUES (1, '1', 'one');");
        Forget();
    }

    void Forget() {
        for (const char16_t* name : {u"Train", u"Result", u"Style"}) catalog_.At(name).reads = {};
    }

    std::vector<std::string> Select(std::string_view sql) {
        Forget();
        return Rows(catalog_, sql);
    }

    const Reads& Train() { return catalog_.At(u"Train").reads; }
    const Reads& Result() { return catalog_.At(u"Result").reads; }

    MemoryCatalog catalog_;
};

TEST_F(Plans, EqualityAndRangesUseAnIndex) {
    struct Case {
        const char* condition;
        std::int64_t rows;  // that are read to answer
        std::size_t found;
    };
    constexpr Case kCases[] = {
        {"ID = 7", 1, 1},
        {"7 = ID", 1, 1},
        {"ID = 7.0", 1, 1},
        {"ID = 7.5", 0, 0},
        {"ID = Null", 0, 0},
        {"ID = 99999999999", 0, 0},
        {"ID > 190", 10, 10},
        {"ID >= 190.5 AND ID <= 192", 2, 2},
        {"ID BETWEEN 20 AND 11", 10, 10},
        {"ID < 3 AND Name <> 'x'", 2, 2},
        {"ID = 5 AND UserID = 5", 1, 1},
        {"UserID = 5", 10, 10},
        {"UserID = 5 AND At > #2004-1-1#", 10, 10},
        {"UserID = 5 AND At >= 38105 AND At < 38126", 2, 2},
        {"Name = 'NAME12'", 1, 1},
        {"ID = (SELECT Max(TrainID) FROM Result)", 1, 1},
        {"ID = 7 OR ID = 8", 2, 2},
        {"ID = 7 OR ID = 7.0 OR ID IN (7, 8, 7)", 2, 2},
        {"ID = 7 OR Name = 'NAME12' OR (UserID = 5 AND At < 38030)", 4, 4},
        {"ID = 7 OR UserID = 7", 11, 10},  // a row that both find is read twice and comes once
        {"ID = 7 OR Body = 'x'", 200, 1},
        {"ID IN (3, 5, Null, 3, 7.5, 900)", 2, 2},
        {"UserID = 5 AND At IN (38005, 38025, 38026)", 2, 2},
        {"NOT ID IN (3, 5)", 200, 198},
        {"Name LIKE 'NAME19*'", 11, 11},
        {"Name LIKE 'name19?' AND Name LIKE '*8'", 11, 1},  // each text that begins so is tested
        {"Name LIKE '*19'", 200, 2},
        {"ID IN (SELECT TrainID FROM Result WHERE ID < 40)", 3, 3},
        {"ID IN (SELECT TrainID FROM Result)", 200, 200},
        {"ID > -5 AND ID < 1.5", 1, 1},
        {"ID + 0 = 7", 200, 1},
        {"ID <> 7", 200, 199},
        {"ID = True", 0, 0},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.condition);
        EXPECT_EQ(Select(std::string("SELECT ID FROM Train WHERE ") + c.condition).size(), c.found);
        EXPECT_EQ(Train().rows, c.rows);
        EXPECT_EQ(Train().scans, c.rows == 200 ? 1 : 0);
    }
}

TEST_F(Plans, AnIndexThatCannotSeekIsPassedOver) {
    catalog_.At(u"Train").RefuseSeeks();
    EXPECT_EQ(Select("SELECT ID FROM Train WHERE Name = 'name12'"), std::vector<std::string>{"12"});
    EXPECT_EQ(Train().scans, 1);
    EXPECT_EQ(Select("SELECT TOP 1 ID FROM Train ORDER BY ID DESC"), std::vector<std::string>{"200"});
}

TEST_F(Plans, OrderOfAnIndexIsNotSorted) {
    struct Case {
        const char* sql;
        std::int64_t most_rows;
        const char* first;
    };
    constexpr Case kCases[] = {
        {"SELECT TOP 1 ID FROM Train ORDER BY ID DESC", 2, "200"},
        {"SELECT TOP 1 ID FROM Train ORDER BY ID", 2, "1"},
        {"SELECT TOP 3 ID FROM Train WHERE ID > 100 ORDER BY ID", 5, "101"},
        {"SELECT TOP 1 ID FROM Train WHERE UserID = 3 ORDER BY At DESC", 2, "183"},
        {"SELECT TOP 1 ID FROM Train WHERE UserID = 3 ORDER BY At", 2, "3"},
        {"SELECT TOP 1 ID FROM Train WHERE UserID = 3 ORDER BY UserID DESC, At", 2, "3"},
        {"SELECT TOP 1 ID FROM Train ORDER BY UserID DESC, At", 2, "19"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.sql);
        EXPECT_EQ(Select(c.sql).at(0), c.first);
        EXPECT_LE(Train().rows, c.most_rows);
        EXPECT_EQ(Train().moves, 0);
    }
    // The directions do not go together: this one is sorted.
    EXPECT_EQ(Select("SELECT TOP 1 ID FROM Train ORDER BY UserID, At").at(0), "20");
    EXPECT_GE(Train().rows, 200);
}

TEST_F(Plans, JoinsReadEachTableOnce) {
    EXPECT_EQ(
        Select("SELECT Train.ID, Sum(Score) FROM Train, Result WHERE Train.ID = TrainID GROUP BY Train.ID").size(),
        200U);
    EXPECT_EQ(Train().scans, 1);
    EXPECT_EQ(Result().scans, 1);
    EXPECT_LE(Train().rows, 200);
    EXPECT_EQ(Result().rows, 2000);

    // Without any index, and with a computed key.
    EXPECT_EQ(Select("SELECT R.ID FROM Result AS R, Style AS S WHERE CInt(S.Code) = R.Style").size(), 800U);
    EXPECT_EQ(Result().rows, 2000);
    EXPECT_EQ(catalog_.At(u"Style").reads.rows, 2);

    EXPECT_EQ(Select("SELECT R.ID FROM Result AS R LEFT JOIN Style AS S ON S.ID = R.Style").size(), 2000U);
    EXPECT_EQ(Result().rows, 2000);
    EXPECT_EQ(catalog_.At(u"Style").reads.rows, 2);
}

TEST_F(Plans, FewRowsAreLookedUp) {
    EXPECT_EQ(Select("SELECT R.ID FROM Train AS T, Result AS R WHERE T.ID = R.TrainID AND T.ID = 9").size(), 10U);
    EXPECT_LE(Train().rows, 10);
    EXPECT_EQ(Result().rows, 10);
    EXPECT_EQ(Select("SELECT R.ID FROM Train AS T, Result AS R, Style AS S WHERE T.ID = R.TrainID AND R.TrainID = 9 "
                     "AND S.ID = R.Style AND CInt(S.Code) = R.Style")
                  .size(),
              4U);
    EXPECT_LE(Train().rows, 10);
    EXPECT_EQ(Result().rows, 10);
    EXPECT_EQ(
        Select("SELECT T.ID, R.ID FROM Train AS T LEFT JOIN Result AS R ON T.ID = R.TrainID WHERE T.ID = 9").size(),
        10U);
    EXPECT_EQ(Train().rows, 1);
    EXPECT_EQ(Result().rows, 10);
}

TEST_F(Plans, CorrelatedSubqueriesLookUp) {
    EXPECT_EQ(Select("SELECT ID FROM Train AS T WHERE EXISTS (SELECT * FROM Result WHERE TrainID = T.ID)").size(),
              200U);
    EXPECT_EQ(Result().rows, 200);
    // No index on Style: the table is read once, and not for each row.
    EXPECT_EQ(Select("SELECT ID FROM Result AS R WHERE EXISTS (SELECT * FROM Style WHERE ID = R.Style)").size(), 800U);
    EXPECT_EQ(catalog_.At(u"Style").reads.rows, 2);
    // One that does not depend on the row is answered once.
    EXPECT_EQ(Select("SELECT ID FROM Train WHERE ID IN (SELECT TrainID FROM Result WHERE Score > 1)").size(), 200U);
    EXPECT_EQ(Result().scans, 1);
}

TEST_F(Plans, CountingAWholeTableReadsNothing) {
    EXPECT_EQ(Select("SELECT Count(*) AS RowsCount FROM Train"), std::vector<std::string>{"200"});
    EXPECT_EQ(Train().rows, 0);
    EXPECT_EQ(Select("SELECT Count(*) FROM Train WHERE ID > 0"), std::vector<std::string>{"200"});
    EXPECT_EQ(Train().rows, 200);
}

TEST_F(Plans, EndsOfIndexesAnswerMinAndMax) {
    EXPECT_EQ(Select("SELECT Max(ID), Min(ID), Count(*), Max(Name) FROM Train"),
              std::vector<std::string>{"200 | 1 | 200 | name99"});
    EXPECT_LE(Train().rows, 4);
    EXPECT_EQ(Select("SELECT Max(ID), Max(At) FROM Train"), std::vector<std::string>{"200 | 2004/8/1"})
        << "no index begins with At";
    EXPECT_EQ(Train().rows, 200);
    EXPECT_EQ(Select("SELECT DISTINCT TrainID FROM Result").size(), 200U);
    EXPECT_EQ(Result().rows, 200);
    RunSql(catalog_, "DELETE FROM Train");
    EXPECT_EQ(Select("SELECT Max(ID), Min(Name), Count(*) FROM Train"), std::vector<std::string>{"Null | Null | 0"});
}

TEST_F(Plans, SaysWhatItWillDo) {
    const auto explained = [&](std::u16string_view sql) {
        std::string text;
        for (const std::u16string& line : Explain(catalog_, Parse(sql))) text += ToUtf8(line) + "\n";
        return text;
    };
    EXPECT_EQ(explained(u"SELECT TOP 5 ID FROM Train WHERE At > 0 ORDER BY Name"),
              "top 5\n"
              "  filter by 1 condition  ~ 60 rows\n"
              "    walk of Train by index ByName, in its order  ~ 200 rows\n");
    EXPECT_EQ(explained(u"SELECT ID FROM Train WHERE ID IN (1, 2) OR Name LIKE 'name1*' ORDER BY At"),
              "sort\n"
              "  filter by 1 condition  ~ 4 rows\n"
              "    union of searches in Train  ~ 12 rows\n"
              "      search of Train by index PrimaryKey (ID in list)\n"
              "      search of Train by index ByName (Name with prefix)\n");
    EXPECT_EQ(explained(u"SELECT T.ID FROM Train T LEFT JOIN Result R ON T.ID = R.TrainID WHERE T.ID = 9"),
              "outer join: for each row\n"
              "  filter by 1 condition  ~ 1 rows\n"
              "    search of Train by index PrimaryKey (ID = value), no further test  ~ 1 rows\n"
              "  search of Result by index ByTrain (TrainID = value), no further test  ~ 10 rows\n");
    EXPECT_EQ(explained(u"SELECT Max(ID) FROM Train"), "row count and ends of the indexes of Train\n");
    EXPECT_EQ(explained(u"SELECT ID FROM Train T WHERE UserID IN (SELECT ID FROM Style) AND EXISTS (SELECT * FROM"
                        u" Result R WHERE R.TrainID = T.ID)"),
              "filter by 2 conditions  ~ 20 rows\n"
              "  scan of Train  ~ 200 rows\n"
              "sub-query, once\n"
              "  scan of Style  ~ 2 rows\n"
              "sub-query, for each row around it\n"
              "  filter by 1 condition  ~ 1 rows\n"
              "    search of Result by index ByTrain (TrainID = value), no further test  ~ 10 rows\n");
    EXPECT_EQ(explained(u"UPDATE Train SET UserID = 3 WHERE ID = 7"),
              "update of Train\n"
              "  filter by 1 condition  ~ 1 rows\n"
              "    search of Train by index PrimaryKey (ID = value), no further test  ~ 1 rows\n");
    EXPECT_EQ(explained(u"DELETE FROM Result WHERE TrainID > 190"),
              "deletion from Result\n"
              "  filter by 1 condition  ~ 30 rows\n"
              "    search of Result by index ByTrain (TrainID > value), no further test  ~ 100 rows\n");
    EXPECT_EQ(explained(u"INSERT INTO Train SELECT ID + 500 AS ID FROM Train"),
              "insertion into Train, all rows held in memory first\n"
              "  scan of Train  ~ 200 rows\n");
    EXPECT_EQ(explained(u"INSERT INTO Style VALUES (1, '1', 'one')"), "insertion into Style\n  a single row\n");
    EXPECT_EQ(Select("SELECT Count(*) FROM Style"), std::vector<std::string>{"2"}) << "nothing was done";
    EXPECT_THROW(explained(u"DROP TABLE Style"), AutomationError);
}

TEST_F(Plans, OnlyColumnsThatAreAskedForAreRead) {
    Select("SELECT ID FROM Train WHERE UserID + 0 = 5");
    EXPECT_EQ(Train().values, 200 + 10);
    Select("SELECT Count(*) FROM Train WHERE UserID + 0 = 5");
    EXPECT_EQ(Train().values, 200);

    Forget();
    const auto query = Open(catalog_, Parse(u"SELECT * FROM Train"));
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(query->Next());
    EXPECT_EQ(Train().rows, 3);
    EXPECT_EQ(Train().values, 0);
    Value body;
    query->Read(4, body);
    EXPECT_EQ(body, Value(u"body"));
    EXPECT_EQ(Train().values, 1);
}

TEST_F(Plans, SortingHoldsKeysAndPlacesOnly) {
    Forget();
    const auto query = Open(catalog_, Parse(u"SELECT * FROM Train ORDER BY Name DESC"));
    ASSERT_TRUE(query->Next());
    // By the index on Name; the long text of no row has been touched.
    EXPECT_LE(Train().values, 1);
    const auto sorted = Open(catalog_, Parse(u"SELECT * FROM Train ORDER BY At"));
    Forget();
    ASSERT_TRUE(sorted->Next());
    EXPECT_EQ(Train().values, 200);
}

TEST_F(Plans, ChangesFindTheirRowsByIndex) {
    Forget();
    EXPECT_EQ(RunSql(catalog_, "UPDATE Train SET Name = 'x' WHERE ID = 5"), 1);
    EXPECT_EQ(RunSql(catalog_, "DELETE FROM Result WHERE TrainID = 5"), 10);
    EXPECT_EQ(Train().rows, 1);
    EXPECT_EQ(Result().rows, 10);
}

}  // namespace
}  // namespace qmtrain::sql
