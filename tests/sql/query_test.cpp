// What a Query tells about its result, and how it is moved over.
#include <gtest/gtest.h>

#include "core/error.h"
#include "core/text.h"
#include "sql/support.h"

namespace qmtrain::sql {
namespace {

class Queries : public testing::Test {
protected:
    void SetUp() override {
        RunSql(catalog_,
               "CREATE TABLE T (ID COUNTER PRIMARY KEY, Name TEXT(12), Price CURRENCY, Size DECIMAL(9,3));"
               "CREATE TABLE U (ID LONG, Body MEMO);"
               "INSERT INTO T (Name, Price, Size) VALUES ('a', 1, 1.5); INSERT INTO T (Name) VALUES ('b');"
               "INSERT INTO T (Name) VALUES ('c'); INSERT INTO U VALUES (1, 'x'); INSERT INTO U VALUES (3, 'z');");
    }

    std::unique_ptr<Query> Open(std::string_view sql) { return sql::Open(catalog_, Parse(FromUtf8(sql))); }

    static std::string Describe(const Query& query) {
        std::string text;
        for (const OutputColumn& column : query.Columns()) {
            text += ToUtf8(column.name) + ":" + std::to_string(static_cast<int>(column.type)) + ":" +
                    std::to_string(column.size);
            const bool plain = column.table != kNoPosition || column.column != kNoPosition;
            if (plain) text += "@" + std::to_string(column.table) + "." + std::to_string(column.column);
            text += " ";
        }
        return text;
    }

    MemoryCatalog catalog_;
};

constexpr int kLong = static_cast<int>(ColumnType::Long);
constexpr int kText = static_cast<int>(ColumnType::Text);
static_assert(kLong == 3 && kText == 9);

TEST_F(Queries, DescribeTheirColumns) {
    EXPECT_EQ(Describe(*Open("SELECT id, NAME AS N, Price, Size FROM T")),
              "ID:3:0@0.0 N:9:12@0.1 Price:4:0@0.2 Size:13:0@0.3 ");
    EXPECT_EQ(Describe(*Open("SELECT ID + 1, Name & 'x', Count FROM (SELECT ID, Name, 1.5 AS [Count] FROM T) AS Q")),
              "Expr1000:3:0 Expr1001:9:255 Count:6:0 ");
    EXPECT_EQ(Describe(*Open("SELECT * FROM T, U")),
              "T.ID:3:0@0.0 Name:9:12@0.1 Price:4:0@0.2 Size:13:0@0.3 U.ID:3:0@1.0 Body:11:0@1.1 ");
    EXPECT_EQ(Describe(*Open("SELECT Name, Count(*) AS C, Sum(Price), Sum(ID), Max(Name) FROM T GROUP BY Name")),
              "Name:9:12 C:3:0 Expr1002:4:0 Expr1003:6:0 Expr1004:9:12 ");
    EXPECT_EQ(Describe(*Open("SELECT ID, Name FROM T UNION ALL SELECT 1.5, Body FROM U")), "ID:6:0 Name:11:0 ");
}

TEST_F(Queries, AreUpdatableWhenARowIsARow) {
    struct Case {
        const char* sql;
        bool updatable;
    };
    constexpr Case kCases[] = {
        {"SELECT * FROM T", true},
        {"SELECT Name & 'x' FROM T WHERE ID > 1 ORDER BY Name", true},
        {"SELECT TOP 1 * FROM T", true},
        {"SELECT DISTINCT Name FROM T", false},
        {"SELECT Count(*) FROM T", false},
        {"SELECT ID FROM T GROUP BY ID", false},
        {"SELECT * FROM T, U", false},
        {"SELECT * FROM (SELECT * FROM T) AS Q", false},
        {"SELECT ID FROM T UNION ALL SELECT ID FROM U", false},
        {"SELECT 1", false},
    };
    for (const Case& c : kCases) EXPECT_EQ(Open(c.sql)->Updatable(), c.updatable) << c.sql;
}

TEST_F(Queries, KnowTheRowsTheyStandOn) {
    for (const char* order : {"", " ORDER BY Name DESC"}) {
        const auto query = Open(std::string("SELECT Name FROM T WHERE ID <> 2") + order);
        ASSERT_TRUE(query->Next());
        ASSERT_TRUE(query->Next());
        EXPECT_EQ(query->Row(), (RowId{*order == '\0' ? 3U : 1U}));
        EXPECT_FALSE(query->Next());
        EXPECT_FALSE(query->Next());
    }
    const auto join = Open("SELECT T.ID FROM T LEFT JOIN U ON T.ID = U.ID ORDER BY T.ID DESC");
    ASSERT_TRUE(join->Next());
    EXPECT_EQ(join->Row(0), RowId{3});
    EXPECT_EQ(join->Row(1), RowId{2});
    ASSERT_TRUE(join->Next());
    EXPECT_EQ(join->Row(1), RowId{});
}

TEST_F(Queries, MoveToARow) {
    const auto query = Open("SELECT Name & '!' FROM T WHERE ID = 1");
    Value value;
    ASSERT_TRUE(query->MoveTo(RowId{3}));
    query->Read(0, value);
    EXPECT_EQ(value, Value(u"c!"));
    EXPECT_FALSE(query->MoveTo(RowId{9}));
    EXPECT_FALSE(query->Next());
}

TEST_F(Queries, SortedRowsThatAreDeletedMeanwhileAreLeftOut) {
    const auto query = Open("SELECT Name FROM T ORDER BY Name");
    ASSERT_TRUE(query->Next());
    RunSql(catalog_, "DELETE FROM T WHERE Name = 'b'");
    ASSERT_TRUE(query->Next());
    Value value;
    query->Read(0, value);
    EXPECT_EQ(value, Value(u"c"));
}

TEST_F(Queries, AreOpenedAndOthersExecuted) {
    const auto number = [](auto body) {
        try {
            body();
        } catch (const AutomationError& error) {
            return error.Number();
        }
        return 0;
    };
    EXPECT_EQ(number([&] { Open("DELETE FROM T"); }), 3251);
    EXPECT_EQ(number([&] { Execute(catalog_, Parse(u"SELECT * FROM T")); }), 3251);
    EXPECT_EQ(number([] { Parse(u"SELECT 1; SELECT 2"); }), 3129);
    EXPECT_EQ(number([] { Parse(u" ; "); }), 3129);
    EXPECT_EQ(ParseScript(u"; SELECT 1;; DELETE FROM T;").size(), 2U);
    EXPECT_EQ(Parse(u"SELECT * INTO V FROM T").Kind(), StatementKind::SelectInto);
}

TEST(ColumnDefaults, AreEvaluated) {
    const auto value = [](ColumnType type, const char16_t* text) {
        Column column;
        column.type = type;
        column.default_expression = text;
        return DefaultValue(column);
    };
    EXPECT_EQ(value(ColumnType::Long, u"=1+1"), Value(std::int32_t{2}));
    EXPECT_EQ(value(ColumnType::Text, u"\"x\""), Value(u"x"));
    EXPECT_EQ(value(ColumnType::Boolean, u"Yes"), Value(true));
    EXPECT_EQ(value(ColumnType::Long, u""), Value());
    EXPECT_EQ(value(ColumnType::Date, u"Now()").GetType(), Value::Type::Date);
    EXPECT_THROW(value(ColumnType::Long, u"Other + 1"), AutomationError);
}

}  // namespace
}  // namespace qmtrain::sql
