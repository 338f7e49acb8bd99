// Statements are understood as they are meant, and broken ones are refused whatever is wrong with them.
#include <gtest/gtest.h>

#include "core/error.h"
#include "core/text.h"
#include "sql/parse/lexer.h"
#include "sql/support.h"

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
    "DELETE T.* FROM T, U WHERE T.A = U.A",
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
    "SELECT A FROM T WHERE A > ANY (SELECT B FROM U) AND NOT A = ALL (SELECT B FROM U WHERE U.A = T.A)",
    "TRANSFORM Sum(A) SELECT B FROM T WHERE C > 1 GROUP BY B ORDER BY B DESC PIVOT D & 'x' IN ('ax', 'bx')",
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

constexpr const char* kBad[] = {
    "",
    ";",
    "SELECT",
    "SELECT FROM T",
    "SELECT * FROM",
    "SELECT * T",
    "SELECT A, FROM T",
    "SELECT , A FROM T",
    "SELECT A A FROM T",
    "SELECT A AS FROM T",
    "SELECT A AS 5 FROM T",
    "SELECT * FROM T WHERE",
    "SELECT * FROM T WHERE A =",
    "SELECT * FROM T WHERE = A",
    "SELECT * FROM T WHERE A = = B",
    "SELECT * FROM T WHERE A B",
    "SELECT * FROM T WHERE (A",
    "SELECT * FROM T WHERE A)",
    "SELECT * FROM T WHERE ()",
    "SELECT * FROM T WHERE A IN",
    "SELECT * FROM T WHERE A IN ()",
    "SELECT * FROM T WHERE A IN (1,)",
    "SELECT * FROM T WHERE A IN (1",
    "SELECT * FROM T WHERE A IN 1",
    "SELECT * FROM T WHERE A BETWEEN 1",
    "SELECT * FROM T WHERE A BETWEEN 1 AND",
    "SELECT * FROM T WHERE A BETWEEN AND 2",
    "SELECT * FROM T WHERE A IS",
    "SELECT * FROM T WHERE A IS 5",
    "SELECT * FROM T WHERE A NOT 5",
    "SELECT * FROM T WHERE NOT",
    "SELECT * FROM T WHERE A LIKE",
    "SELECT * FROM T WHERE AND A",
    "SELECT * FROM T WHERE A AND",
    "SELECT * FROM T WHERE A NOT IS NULL",
    "SELECT * FROM T WHERE 'abc",
    "SELECT * FROM T WHERE A = 'it's'",
    "SELECT * FROM T WHERE \"abc",
    "SELECT * FROM T WHERE #2005",
    "SELECT * FROM T WHERE #no date#",
    "SELECT * FROM T WHERE #2005-13-45#",
    "SELECT * FROM T WHERE [A",
    "SELECT * FROM T WHERE []",
    "SELECT * FROM T WHERE A = @x",
    "SELECT * FROM T WHERE A ? B",
    "SELECT * FROM T WHERE A != B",
    "SELECT * FROM T WHERE A == B",
    "SELECT * FROM T WHERE 1.2.3",
    "SELECT * FROM T WHERE 1x",
    "SELECT * FROM T WHERE &H",
    "SELECT * FROM T WHERE 1 +",
    "SELECT * FROM T WHERE * 2",
    "SELECT * FROM T WHERE A.",
    "SELECT * FROM T WHERE A.5",
    "SELECT * FROM T WHERE A..B",
    "SELECT * FROM T WHERE .",
    "SELECT * FROM T WHERE F(",
    "SELECT * FROM T WHERE F(1",
    "SELECT * FROM T WHERE F(,)",
    "SELECT * FROM T WHERE F(1,)",
    "SELECT * FROM T WHERE F(*, 1)",
    "SELECT * FROM T WHERE EXISTS",
    "SELECT * FROM T WHERE EXISTS ()",
    "SELECT * FROM T WHERE EXISTS (1)",
    "SELECT * FROM T WHERE (SELECT",
    "SELECT * FROM T WHERE (SELECT A FROM U",
    "SELECT * FROM T GROUP",
    "SELECT * FROM T GROUP A",
    "SELECT * FROM T GROUP BY",
    "SELECT * FROM T GROUP BY A,",
    "SELECT * FROM T HAVING",
    "SELECT * FROM T ORDER",
    "SELECT * FROM T ORDER A",
    "SELECT * FROM T ORDER BY",
    "SELECT * FROM T ORDER BY A,",
    "SELECT * FROM T ORDER BY A UP",
    "SELECT * FROM T ORDER BY DESC",
    "SELECT * FROM T LIMIT 5 OFFSET",
    "SELECT TOP FROM T",
    "SELECT TOP -1 * FROM T",
    "SELECT TOP 1.5 * FROM T",
    "SELECT TOP 'a' * FROM T",
    "SELECT TOP 5 FROM T",
    "SELECT TOP 0 * FROM T",
    "SELECT DISTINCT FROM T",
    "SELECT DISTINCT DISTINCT A FROM T",
    "SELECT T.* AS X FROM T",
    "SELECT * FROM T,",
    "SELECT * FROM , T",
    "SELECT * FROM T U V",
    "SELECT * FROM T AS",
    "SELECT * FROM T AS WHERE",
    "SELECT * FROM 5",
    "SELECT * FROM 'T'",
    "SELECT * FROM (T",
    "SELECT * FROM T)",
    "SELECT * FROM ()",
    "SELECT * FROM (SELECT * FROM T",
    "SELECT * FROM T JOIN",
    "SELECT * FROM T INNER",
    "SELECT * FROM T INNER JOIN",
    "SELECT * FROM T INNER JOIN U",
    "SELECT * FROM T INNER JOIN U ON",
    "SELECT * FROM T JOIN U WHERE A = B",
    "SELECT * FROM T LEFT U ON A = B",
    "SELECT * FROM T LEFT JOIN U USING (A)",
    "SELECT * FROM T FULL JOIN U ON A = B",
    "SELECT * FROM T ON A = B",
    "SELECT * FROM T UNION",
    "SELECT * FROM T UNION ALL",
    "SELECT * FROM T UNION U",
    "SELECT A FROM T ORDER BY A UNION SELECT A FROM U",
    "SELECT * INTO FROM T",
    "SELECT * INTO 5 FROM T",
    "SELECT * FROM T WHERE A IN (SELECT * INTO U FROM T)",
    "SELECT * FROM T; SELECT * FROM U",
    "SELECT * FROM T WHERE A WHERE B",
    "SELECT * FROM T GROUP BY A WHERE B",
    "SELECT * WHERE",
    "SELECT SELECT",
    "SELECT * FROM SELECT",
    "FROM T SELECT *",
    "T",
    "5",
    "(SELECT 1)",
    "SELEC * FROM T",
    "WITH X AS (SELECT 1) SELECT * FROM X",
    "EXEC Q",
    "BEGIN",
    "PRAGMA x",
    "VALUES (1)",
    "INSERT",
    "INSERT INTO",
    "INSERT T VALUES (1)",
    "INSERT INTO T",
    "INSERT INTO T VALUES",
    "INSERT INTO T VALUES ()",
    "INSERT INTO T VALUES (1",
    "INSERT INTO T VALUES (1,)",
    "INSERT INTO T VALUES 1",
    "INSERT INTO T VALUES (1) (2)",
    "INSERT INTO T VALUES (1), (2)",
    "INSERT INTO T () VALUES (1)",
    "INSERT INTO T (A VALUES (1)",
    "INSERT INTO T (A,) VALUES (1)",
    "INSERT INTO T (5) VALUES (1)",
    "INSERT INTO T (A) (B) VALUES (1)",
    "INSERT INTO T (A) SET A = 1",
    "INSERT INTO T SELECT",
    "INSERT INTO T SELECT 1 INTO U",
    "INSERT INTO SELECT 1",
    "INSERT INTO T (A) VALUE (1)",
    "UPDATE",
    "UPDATE T",
    "UPDATE T SET",
    "UPDATE T SET A",
    "UPDATE T SET A =",
    "UPDATE T SET A = 1,",
    "UPDATE T SET = 1",
    "UPDATE T SET 5 = A",
    "UPDATE T SET A = 1 WHERE",
    "UPDATE SET A = 1",
    "UPDATE T A = 1",
    "UPDATE T SET A + 1 = 2",
    "UPDATE T SET A = 1 FROM U",
    "UPDATE T SET True = 1",
    "DELETE",
    "DELETE T",
    "DELETE FROM",
    "DELETE * T",
    "DELETE FROM T WHERE",
    "DELETE A FROM T",
    "DELETE T. FROM T",
    "DELETE FROM T A B",
    "DELETE *, * FROM T",
    "DELETE FROM T ORDER BY A",
    "CREATE",
    "CREATE TABLE",
    "CREATE TABLE T",
    "CREATE TABLE T (",
    "CREATE TABLE T ()",
    "CREATE TABLE T (A)",
    "CREATE TABLE T (A LONG",
    "CREATE TABLE T (A LONG,)",
    "CREATE TABLE T (A LONG B)",
    "CREATE TABLE T (A TEXT(0))",
    "CREATE TABLE T (A TEXT(-5))",
    "CREATE TABLE T (A TEXT(",
    "CREATE TABLE T (A TEXT())",
    "CREATE TABLE T (A TEXT(5,5))",
    "CREATE TABLE T (A LONG(5, 5))",
    "CREATE TABLE T (A COUNTER(5))",
    "CREATE TABLE T (A DECIMAL(29,0))",
    "CREATE TABLE T (A LONG NOT)",
    "CREATE TABLE T (A LONG PRIMARY)",
    "CREATE TABLE T (A LONG REFERENCES)",
    "CREATE TABLE T (A LONG DEFAULT)",
    "CREATE TABLE T (A LONG CONSTRAINT)",
    "CREATE TABLE T (A LONG CONSTRAINT X)",
    "CREATE TABLE T (PRIMARY KEY (A))",
    "CREATE TABLE T (A LONG, PRIMARY KEY)",
    "CREATE TABLE T (A LONG, PRIMARY KEY ())",
    "CREATE TABLE T (A LONG, FOREIGN KEY (A))",
    "CREATE TABLE T (A LONG, CONSTRAINT X)",
    "CREATE TABLE T (A LONG REFERENCES U ON DELETE)",
    "CREATE TABLE T (A LONG REFERENCES U ON INSERT CASCADE)",
    "CREATE INDEX",
    "CREATE INDEX I",
    "CREATE INDEX I ON",
    "CREATE INDEX I ON T",
    "CREATE INDEX I ON T ()",
    "CREATE INDEX I ON T (A",
    "CREATE INDEX I ON T (A) WITH",
    "CREATE INDEX I ON T (A) WITH NULL",
    "CREATE INDEX I ON T (A) WITH IGNORE",
    "CREATE UNIQUE TABLE T (A LONG)",
    "CREATE UNIQUE",
    "CREATE INDEX I T (A)",
    "DROP",
    "DROP TABLE",
    "DROP INDEX I",
    "DROP INDEX I ON",
    "DROP VIEW V",
    "DROP TABLE T U",
    "ALTER",
    "ALTER T",
    "ALTER TABLE",
    "ALTER TABLE T",
    "ALTER TABLE T ADD",
    "ALTER TABLE T ADD COLUMN",
    "ALTER TABLE T ADD COLUMN A",
    "ALTER TABLE T DROP",
    "ALTER TABLE T DROP COLUMN",
    "ALTER TABLE T ADD CONSTRAINT",
    "ALTER TABLE T ALTER COLUMN A",
    "ALTER TABLE T ALTER COLUMN A LONG PRIMARY KEY",
    "PARAMETERS A LONG",
    "PARAMETERS ; SELECT A FROM T",
    "TRANSFORM Sum(A) SELECT B FROM T PIVOT C",
    "TRANSFORM Sum(A) SELECT B FROM T GROUP BY B PIVOT",
    "SELECT A FROM T WHERE A > ALL (1, 2)",
};

bool IsRefused(std::u16string_view text) {
    try {
        Parse(text);
    } catch (const AutomationError&) {
        return true;
    }
    return false;
}

TEST(BrokenStatements, AreRefused) {
    static_assert(std::size(kBad) > 200);
    for (const char* text : kBad) EXPECT_TRUE(IsRefused(FromUtf8(text))) << text;
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
    for (const std::u16string& text : kCases) EXPECT_TRUE(IsRefused(text)) << ToUtf8(text.substr(0, 40));
    // Ordinary depth is fine.
    EXPECT_EQ(Evaluate(ToUtf8(Repeated(u"(", 50)) + "1" + ToUtf8(Repeated(u")", 50))), "1");
    EXPECT_EQ(Evaluate(ToUtf8(Repeated(u"1 + ", 99)) + "1"), "100");
}

}  // namespace
}  // namespace qmtrain::sql
