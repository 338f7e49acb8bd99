// Statements are understood as they are meant, and broken ones are refused whatever is wrong with them.
#include <gtest/gtest.h>

#include "core/error.h"
#include "core/text.h"
#include "sql/parse/lexer.h"
#include "sql/support.h"
#include "support/raised.h"

namespace qmtrain::sql {
namespace {

constexpr const char* kGood[] = {
    "SELECT * FROM T",
    "SELECT DISTINCT TOP 5 PERCENT A, B AS C, T.*, -A ^ 2 FROM T WHERE A = 'it''s' AND NOT B IS NULL ORDER BY A, 2 "
    "DESC",
    "SELECT Count(*), Sum(A + 1) FROM T INNER JOIN U ON T.A = U.A GROUP BY B, A Mod 2 HAVING Count(*) > 1;",
    "SELECT [a b].[c d] FROM (T LEFT JOIN U ON T.A = U.B) RIGHT JOIN V AS [a b] ON V.A = U.B, W",
    "SELECT A FROM (SELECT A FROM T) AS Q WHERE A IN (1, 2, 3) OR B NOT IN (SELECT B FROM U WHERE U.C = Q.C)",
    "SELECT A FROM T WHERE EXISTS (SELECT * FROM U) AND A BETWEEN 1 AND 2 AND B NOT BETWEEN #2005-4-12# AND Now()",
    "SELECT A FROM T UNION ALL SELECT B FROM U UNION SELECT C FROM V ORDER BY 1",
    "SELECT IIf(A Like 'x*', Null, True), (SELECT Max(B) FROM U) AS M, Left(A, 2) FROM T",
    "SELECT A INTO U FROM T WHERE A = 1.5E+20",
    "INSERT INTO T (A, [B C]) VALUES (1, #12/31/2005 8:00:00#)",
    "INSERT INTO T SELECT * FROM U",
    "UPDATE T INNER JOIN U ON T.A = U.A SET T.B = U.B + 1, C = 'x' WHERE T.A > 5",
    "UPDATE T, U SET T!B = U.B WHERE T.A = U.A",
    "DELETE T.* FROM T, U WHERE T.A = U.A",
    "DELETE A, T.B FROM T WITH OWNERACCESS OPTION;",
    "CREATE TABLE T (A COUNTER PRIMARY KEY, B TEXT(10) DEFAULT 'x' NOT NULL, C DECIMAL(9,2) CONSTRAINT N UNIQUE)",
    "CREATE TABLE T (D LONG REFERENCES U (A) ON UPDATE CASCADE ON DELETE CASCADE, UNIQUE (D DESC))",
    "CREATE TABLE T (B LONG, C LONG, CONSTRAINT F FOREIGN KEY (B, C) REFERENCES V (X, Y))",
    "CREATE UNIQUE INDEX I ON T (A DESC, B) WITH DISALLOW NULL",
    "DROP TABLE T",
    "DROP INDEX I ON T",
    "ALTER TABLE T ADD COLUMN A MEMO",
    "ALTER TABLE T ADD CONSTRAINT P PRIMARY KEY (A)",
    "ALTER TABLE T DROP COLUMN A",
    "ALTER TABLE T DROP CONSTRAINT P",
    "ALTER TABLE T ALTER COLUMN A TEXT(20) DEFAULT 'x' NOT NULL",
    "PARAMETERS [a b] TEXT(20), C DATETIME, D VALUE; SELECT [a b] FROM T WHERE A = C",
    "PARAMETERS [Forms]![a b]![C] LONG; SELECT A FROM T WHERE A = [Forms]![a b].[C] WITH OWNERACCESS OPTION",
    "SELECT A FROM (SELECT A FROM T WITH OWNERACCESS OPTION;) AS D",
    "SELECT A FROM T WHERE A > ANY (SELECT B FROM U) AND NOT A = ALL (SELECT B FROM U WHERE U.A = T.A)",
    "TRANSFORM Sum(A) SELECT B FROM T WHERE C > 1 GROUP BY B ORDER BY B DESC PIVOT D & 'x' IN ('ax', 'bx')",
    "TRANSFORM Sum(A) AS S SELECT B FROM T GROUP BY B PIVOT C > 1 Or (C In (2)) IN (True)",
};

// Printing shows how a statement was understood; what is printed must be understood in the same way.
TEST(Printing, IsReadBackToTheSame) {
    for (const char* text : kGood) {
        const std::u16string printed = Parse(FromUtf8(text)).ToSql();
        EXPECT_EQ(ToUtf8(Parse(printed).ToSql()), ToUtf8(printed)) << text;
    }
    EXPECT_EQ(ToUtf8(Parse(u"select t.a+b*-c^2 as x from t where not a=b or c like 'x' and d").ToSql()),
              "SELECT ([t].[a] + ([b] * (-([c] ^ 2)))) AS [x] FROM [t] WHERE ((Not ([a] = [b])) Or (([c] Like 'x') And "
              "[d]))");
}

// What is left over after something whole is a missing operator to Jet (3075); else the error names the clause.
struct Broken {
    const char* text;
    int error;
};
constexpr Broken kBroken[] = {
    {"", 3129},
    {"SELEC * FROM T", 3129},
    {"VALUES (1)", 3129},
    {"SELECT * FROM T; SELECT * FROM U", 3129},
    {"SELECT", 3141},
    {"SELECT FROM T", 3141},
    {"SELECT A, FROM T", 3141},
    {"SELECT A A FROM T", 3075},
    {"SELECT A AS 5 FROM T", 3141},
    {"SELECT TOP -1 * FROM T", 3141},
    {"SELECT TOP 5 FROM T", 3141},
    {"SELECT DISTINCT DISTINCT A FROM T", 3075},
    {"SELECT T.* AS X FROM T", 3075},
    {"SELECT * INTO 5 FROM T", 3141},
    {"SELECT * FROM", 3131},
    {"SELECT * FROM T,", 3131},
    {"SELECT * FROM T U V", 3075},
    {"SELECT * FROM 'T'", 3131},
    {"SELECT * FROM (T", 3135},
    {"SELECT * FROM (SELECT * FROM T", 3075},
    {"SELECT * FROM T INNER JOIN U", 3135},
    {"SELECT * FROM T JOIN U WHERE A = B", 3135},
    {"SELECT * FROM T FULL JOIN U ON A = B", 3075},
    {"SELECT * FROM T ON A = B", 3075},
    {"SELECT * FROM T WHERE", 3075},
    {"SELECT * FROM T WHERE A WHERE B", 3075},
    {"SELECT * FROM T GROUP A", 3141},
    {"SELECT * FROM T GROUP BY A,", 3075},
    {"SELECT * FROM T ORDER A", 3138},
    {"SELECT * FROM T ORDER BY A UP", 3075},
    {"SELECT * FROM T UNION", 3142},
    {"SELECT A FROM T ORDER BY A UNION SELECT A FROM U", 3075},
    {"SELECT * FROM T WHERE A IN (SELECT * INTO U FROM T)", 3141},
    {"SELECT * FROM T WHERE (SELECT A FROM U", 3075},
    {"SELECT * FROM T WHERE A = = B", 3075},
    {"SELECT * FROM T WHERE A)", 3075},
    {"SELECT * FROM T WHERE A IN ()", 3075},
    {"SELECT * FROM T WHERE A BETWEEN 1", 3075},
    {"SELECT * FROM T WHERE A IS 5", 3075},
    {"SELECT * FROM T WHERE A NOT IS NULL", 3075},
    {"SELECT * FROM T WHERE A > ALL (1, 2)", 3075},
    {"SELECT * FROM T WHERE F(1,)", 3075},
    {"SELECT * FROM T WHERE EXISTS (1)", 3075},
    {"SELECT * FROM T WHERE 'abc", 3075},
    {"SELECT * FROM T WHERE #2005-13-45#", 3075},
    {"SELECT * FROM T WHERE [A", 3075},
    {"SELECT * FROM T WHERE A = @x", 3075},
    {"SELECT * FROM T WHERE 1.2.3", 3075},
    {"SELECT * FROM T WHERE A..B", 3075},
    {"INSERT T VALUES (1)", 3134},
    {"INSERT INTO T VALUES (1), (2)", 3075},
    {"INSERT INTO T (A,) VALUES (1)", 3134},
    {"UPDATE T SET A + 1 = 2", 3144},
    {"UPDATE T SET A = 1 FROM U", 3075},
    {"DELETE A + 1 FROM T", 3129},
    {"DELETE FROM T ORDER BY A", 3075},
    {"CREATE TABLE T (PRIMARY KEY (A))", 3290},
    {"CREATE TABLE T (A LONG,)", 3292},
    {"CREATE TABLE T (A TEXT(0))", 3292},
    {"CREATE TABLE T (A DECIMAL(29,0))", 3292},
    {"CREATE TABLE T (A LONG CONSTRAINT X)", 3292},
    {"CREATE TABLE T (A LONG REFERENCES U ON DELETE)", 3290},
    {"CREATE INDEX I ON T ()", 3291},
    {"CREATE INDEX I ON T (A) WITH NULL", 3291},
    {"DROP VIEW V", 3295},
    {"ALTER TABLE T ADD COLUMN A", 3292},
    {"ALTER TABLE T ALTER COLUMN A LONG PRIMARY KEY", 3293},
    {"PARAMETERS ; SELECT A FROM T", 3139},
    {"TRANSFORM Sum(A) SELECT B FROM T PIVOT C", 3129},
};

std::int32_t ErrorOf(std::u16string_view text) {
    return qmtrain::ErrorOf([&] { Parse(text); });
}

TEST(Words, AreReservedAsAWhole) {
    const struct {
        std::u16string_view word;
        bool reserved;
    } cases[] = {
        {u"ADD", true},       {u"asc", true},   {u"Distinct", true}, {u"DISTINCTROW", true}, {u"xor", true},
        {u"Where", true},     {u"IS", true},    {u"", false},        {u"A", false},          {u"ADDS", false},
        {u"DISTINC", false},  {u"XO", false},   {u"Zone", false},    {u"_ADD", false},       {u"[ADD", false},
        {u"\uFF21DD", false}, {u"题目", false},
    };
    for (const auto& item : cases) EXPECT_EQ(IsReserved(item.word), item.reserved) << ToUtf8(item.word);
}

TEST(BrokenStatements, AreRefused) {
    for (const Broken& broken : kBroken) EXPECT_EQ(ErrorOf(FromUtf8(broken.text)), broken.error) << broken.text;
}

// Whatever is left of a good statement parses or is refused; when it parses, it prints and parses again.
void Survives(const std::u16string& text) {
    try {
        const std::u16string printed = Parse(text).ToSql();
        EXPECT_EQ(ToUtf8(Parse(printed).ToSql()), ToUtf8(printed)) << ToUtf8(text);
    } catch (const AutomationError& error) {
        EXPECT_GE(error.Number(), 3000) << ToUtf8(text);
    }
}

TEST(BrokenStatements, CutOffAnywhere) {
    for (const char* good : kGood) {
        const std::u16string text = FromUtf8(good);
        for (std::size_t size = 0; size < text.size(); ++size) Survives(text.substr(0, size));
    }
}

TEST(BrokenStatements, WithATokenLostOrDoubled) {
    for (const char* good : kGood) {
        const std::u16string text = FromUtf8(good);
        const std::vector<Token> tokens = Tokenize(text);
        for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
            const std::size_t first = tokens[i].position;
            const std::size_t end = tokens[i + 1].position;
            Survives(text.substr(0, first) + text.substr(end));
            Survives(text.substr(0, end) + u" " + text.substr(first));
        }
    }
}

std::u16string Repeated(std::u16string_view piece, int count) {
    std::u16string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
}

TEST(BrokenStatements, NestedWithoutBound) {
    constexpr int kMany = 100000;
    const std::u16string kCases[] = {
        u"SELECT " + Repeated(u"(", kMany) + u"1" + Repeated(u")", kMany),
        u"SELECT " + Repeated(u"-", kMany) + u"1",
        u"SELECT " + Repeated(u"NOT ", kMany) + u"1",
        u"SELECT " + Repeated(u"1+", kMany) + u"1",
        u"SELECT " + Repeated(u"1^", kMany) + u"1",
        u"SELECT 1" + Repeated(u" AND 1", kMany),
        u"SELECT 1" + Repeated(u" IN (1)", kMany),
        u"SELECT 1" + Repeated(u" IS NULL", kMany),
        u"SELECT " + Repeated(u"Abs(", kMany) + u"1",
        u"SELECT " + Repeated(u"(SELECT ", kMany) + u"1",
        u"SELECT * FROM " + Repeated(u"(", kMany) + u"T",
        u"SELECT * FROM " + Repeated(u"(SELECT * FROM ", kMany) + u"T",
        u"SELECT * FROM T" + Repeated(u" INNER JOIN T ON 1", kMany),
        u"SELECT 1" + Repeated(u" UNION SELECT 1", kMany),
        u"SELECT 1 WHERE EXISTS " + Repeated(u"(SELECT 1 WHERE EXISTS ", kMany),
        u"CREATE TABLE T (A LONG DEFAULT " + Repeated(u"(", kMany),
        u"UPDATE " + Repeated(u"(", kMany),
    };
    for (const std::u16string& text : kCases) EXPECT_NE(ErrorOf(text), 0) << ToUtf8(text.substr(0, 40));
    // Ordinary depth is fine.
    EXPECT_EQ(Evaluate(ToUtf8(Repeated(u"(", 50)) + "1" + ToUtf8(Repeated(u")", 50))), "1");
    EXPECT_EQ(Evaluate(ToUtf8(Repeated(u"1 + ", 99)) + "1"), "100");
}

}  // namespace
}  // namespace qmtrain::sql
