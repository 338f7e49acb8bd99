// The same conditions on a table with indexes and on one without: both must find the same rows, in the same order.

#include <algorithm>
#include <random>

#include "fixture.h"

namespace qmtrain::dao {
namespace {

class AccessPathTest : public DaoTest {
protected:
    AccessPathTest() {
        for (const char16_t* table : {u"Indexed", u"Plain"}) {
            database_->Execute(
                u"CREATE TABLE " + std::u16string(table) +
                u" (ID LONG, A SHORT, F SINGLE, X DOUBLE, C CURRENCY, D DATETIME, S TEXT(40), M MEMO, G GUID, Y YESNO,"
                u" N DECIMAL(10, 2), B BINARY(12))");
        }
        for (const char16_t* index :
             {u"CREATE UNIQUE INDEX I1 ON Indexed (ID)", u"CREATE INDEX I2 ON Indexed (A, X DESC)",
              u"CREATE INDEX I3 ON Indexed (F DESC)", u"CREATE INDEX I4 ON Indexed (X) WITH IGNORE NULL",
              u"CREATE INDEX I5 ON Indexed (C DESC)", u"CREATE INDEX I6 ON Indexed (D)",
              u"CREATE INDEX I7 ON Indexed (S)", u"CREATE INDEX I8 ON Indexed (S DESC, ID)",
              u"CREATE INDEX I9 ON Indexed (G)", u"CREATE INDEX J1 ON Indexed (Y, D DESC)",
              u"CREATE INDEX J2 ON Indexed (N)", u"CREATE INDEX J3 ON Indexed (B)"}) {
            database_->Execute(index);
        }
        database_->Execute(u"CREATE INDEX J4 ON Indexed (M)");
        Fill();
    }

    int Pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

    std::u16string Number() {
        std::u16string number = ToText(Pick(60) - 10);
        if (Pick(3) == 0) number += u".5";
        return Pick(12) == 0 ? u"Null" : number;
    }

    // Letters that sort in ways of their own: hyphens count last, widths and cases not at all, accents late.
    std::u16string Letters() {
        constexpr std::u16string_view kLetters = u"aAbB-'  éEſsßＡ计算中1\x0130\x0131Ωω";
        std::u16string text;
        for (int length = Pick(5); length > 0; --length) text += kLetters[Pick(kLetters.size())];
        for (std::size_t at = text.find(u'\''); at != text.npos; at = text.find(u'\'', at + 2))
            text.insert(at, 1, u'\'');
        return text;
    }

    std::u16string Guid() { return u"{0000000" + ToText(Pick(5)) + u"-0000-0000-0000-0000000000AB}"; }

    void Fill() {
        Engine::Instance().BeginTrans();
        for (int id = 0; id < 400; ++id) {
            const std::u16string text = Pick(10) == 0 ? u"Null" : u"'" + Letters() + u"'";
            const std::u16string values = u" VALUES (" + ToText(id) + u", " + Number() + u", " + Number() + u", " +
                                          Number() + u", " + Number() + u", " + Number() + u", " + text + u", " + text +
                                          u", '" + Guid() + u"', " + (Pick(2) == 0 ? u"True" : u"False") + u", " +
                                          Number() + u", Null)";
            database_->Execute(u"INSERT INTO Plain" + values);
        }
        database_->Execute(u"INSERT INTO Indexed SELECT * FROM Plain");
        Engine::Instance().CommitTrans();
    }

    std::u16string Condition(int depth) {
        if (depth > 0 && Pick(3) == 0) return u"(" + Condition(depth - 1) + u" AND " + Condition(depth - 1) + u")";
        if (depth > 0 && Pick(3) == 0) return u"(" + Condition(depth - 1) + u" OR " + Condition(depth - 1) + u")";
        constexpr const char16_t* kOperators[] = {u" = ", u" = ", u" < ", u" > ", u" <= ", u" >= "};
        constexpr const char16_t* kNumbers[] = {u"ID", u"A", u"F", u"X", u"C", u"D", u"N"};
        const std::u16string op = kOperators[Pick(6)];
        const std::u16string number = kNumbers[Pick(7)];
        const std::u16string text = Pick(4) == 0 ? u"M" : u"S";
        switch (Pick(8)) {
            case 0: return number + u" IN (" + Number() + u", " + Number() + u", " + Number() + u", " + Number() + u")";
            case 1: return number + u" BETWEEN " + Number() + u" AND " + Number();
            case 2: return text + u" LIKE '" + Letters() + u"*'";
            case 3: return text + op + u"'" + Letters() + u"'";
            case 4: return text + u" IN ('" + Letters() + u"', '" + Letters() + u"')";
            case 5: return u"(Y = True AND " + number + op + Number() + u")";
            case 6: return u"G" + op + u"'" + Guid() + u"'";
            default: return number + op + Number();
        }
    }

    std::mt19937 random_{7};
};

TEST_F(AccessPathTest, FindWhatAScanFinds) {
    std::size_t found = 0;
    constexpr const char16_t* kOrders[] = {u"ID",    u"ID DESC",    u"A, X DESC, ID", u"C DESC, ID", u"D DESC, ID",
                                           u"S, ID", u"S DESC, ID", u"F, ID",         u"N DESC, ID", u"G, ID"};
    for (int i = 0; i < 600; ++i) {
        const std::u16string order = u" ORDER BY " + std::u16string(kOrders[Pick(10)]);
        const std::u16string top = Pick(2) == 0 ? u"TOP 7 " : u"";
        const std::u16string where = Pick(10) == 0 ? u"" : u" WHERE " + Condition(2);
        const std::u16string by_index = Column(u"SELECT " + top + u"ID FROM Indexed" + where + order, u"ID");
        ASSERT_EQ(by_index, Column(u"SELECT " + top + u"ID FROM Plain" + where + order, u"ID"))
            << ToUtf8(top + where + order);
        const std::u16string count = Column(u"SELECT Count(*) AS N FROM Indexed" + where, u"N");
        ASSERT_EQ(count, Column(u"SELECT Count(*) AS N FROM Plain" + where, u"N")) << ToUtf8(where);
        found += by_index.size();
    }
    EXPECT_GT(found, 5000U) << "most conditions find something";
    for (const char16_t* column : {u"ID", u"A", u"F", u"X", u"C", u"D", u"S", u"N", u"Y", u"G"}) {
        const std::u16string name(column);
        const std::u16string ends = u"SELECT Min(" + name + u") & '|' & Max(" + name + u") AS E FROM ";
        EXPECT_EQ(Column(ends + u"Indexed", u"E"), Column(ends + u"Plain", u"E")) << ToUtf8(name);
        EXPECT_EQ(Column(u"SELECT DISTINCT " + name + u" FROM Indexed", name),
                  Column(u"SELECT DISTINCT " + name + u" FROM Plain", name))
            << ToUtf8(name);
    }
}

// A column is compared where it is stored, an expression as a value.
TEST_F(AccessPathTest, TextsCompareAlikeWhereverTheyAre) {
    std::size_t found = 0;
    constexpr const char16_t* kOperators[] = {u" = '",     u" <> '",   u" < '",   u" >= '",
                                              u" LIKE '*", u" LIKE '", u" LIKE '"};
    for (int i = 0; i < 300; ++i) {
        const int op = Pick(7);
        std::u16string test = kOperators[op] + Letters();
        if (op >= 4) test += u"*";
        if (op == 6) test += Letters();
        const auto rows = [&](const char16_t* text) {
            return Column(
                u"SELECT ID FROM Plain WHERE S IS NOT NULL AND " + std::u16string(text) + test + u"' ORDER BY ID",
                u"ID");
        };
        const std::u16string stored = rows(u"S");
        ASSERT_EQ(stored, rows(u"(S & '')")) << ToUtf8(test);
        found += stored.size();
    }
    EXPECT_GT(found, 5000U);
}

// Rows of joins that look an index up for each row, and those of joins that cannot.
TEST_F(AccessPathTest, JoinsFindWhatTheyFindWithoutIndexes) {
    std::size_t found = 0;
    constexpr const char16_t* kLinks[] = {u"ID", u"A", u"F", u"X", u"C", u"D", u"S", u"N", u"G"};
    for (int i = 0; i < 120; ++i) {
        const std::u16string left = kLinks[Pick(9)];
        const std::u16string right = left == u"S" || left == u"G" ? left : kLinks[Pick(6)];
        const std::u16string more = Pick(2) == 0 ? u"" : u" AND R.A > L.A";
        const std::u16string kind = Pick(2) == 0 ? u" INNER JOIN " : u" LEFT JOIN ";
        const std::u16string of_left = ToText(Pick(300));
        const auto rows = [&](const char16_t* table) {
            return Column(u"SELECT L.ID & '/' & R.ID AS E FROM Plain L" + kind + table + u" R ON (L." + left +
                              u" = R." + right + more + u") WHERE L.ID BETWEEN " + of_left + u" AND " + of_left +
                              u" + 3 ORDER BY L.ID, R.ID",
                          u"E");
        };
        const std::u16string by_index = rows(u"Indexed");
        ASSERT_EQ(by_index, rows(u"Plain")) << ToUtf8(kind + left + u"=" + right + more + u" " + of_left);
        found += by_index.size();
    }
    EXPECT_GT(found, 5000U);
}

// A record set over one table keeps images of its rows, any other one their values: the values are the same.
TEST_F(AccessPathTest, RowsAreTheSameHoweverTheyAreKept) {
    database_->Execute(u"CREATE TABLE One (K LONG)");
    database_->Execute(u"INSERT INTO One VALUES (1)");
    database_->Execute(u"UPDATE Plain SET B = Null, M = M & Space(3000) WHERE ID Mod 7 = 0");
    const auto images = database_->OpenRecordset(u"SELECT * FROM Plain ORDER BY ID");
    const auto values = database_->OpenRecordset(u"SELECT P.* FROM Plain P, One O ORDER BY P.ID");
    const auto reversed = database_->OpenRecordset(u"SELECT * FROM Indexed ORDER BY ID DESC");
    reversed->MoveLast();
    int rows = 0;
    for (; !images->Eof(); images->MoveNext(), values->MoveNext(), ++rows) {
        for (int i = 0; i < 12; ++i) {
            // The memos of a row here and there, so that blocks have them or not.
            if (i == 7 && rows % 50 < 25) continue;
            ASSERT_EQ(images->Fields(i).Value(), values->Fields(i).Value()) << rows << ", column " << i;
            if (i == 7) continue;
            ASSERT_EQ(reversed->Fields(i).Value(), values->Fields(i).Value()) << rows << ", column " << i;
        }
        reversed->MovePrevious();
    }
    EXPECT_EQ(rows, 400);
    EXPECT_TRUE(values->Eof());
    EXPECT_TRUE(reversed->Bof());
}

// Changes of many rows, and rows that come in bulk, leave every index as the rows are; the fixture looks at all of it.
TEST_F(AccessPathTest, ChangesOfManyRowsKeepTheIndexes) {
    database_->Execute(u"UPDATE Indexed SET X = X + 1, S = S & 'z' WHERE ID Mod 3 = 0");
    database_->Execute(u"DELETE FROM Indexed WHERE ID Mod 5 = 0 OR S LIKE 'a*'");
    database_->Execute(u"INSERT INTO Indexed SELECT ID + 1000 AS ID, A, F, X, C, D, S, M, G, Y, N, B FROM Plain");
    const std::u16string count = Column(u"SELECT Count(*) AS N FROM Indexed", u"N");
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"INSERT INTO Indexed SELECT * FROM Plain"); }),
              static_cast<int>(ErrorNumber::DuplicateKey));
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"INSERT INTO Indexed SELECT 5000 AS ID, A, F FROM Plain"); }),
              static_cast<int>(ErrorNumber::DuplicateKey))
        << "twice among the new rows";
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM Indexed", u"N"), count);
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM Indexed WHERE ID >= 1000", u"N"), u"400");
    // Between, after and before what is there, and many times under the same keys.
    for (const char16_t* id : {u"ID + 9000", u"4000 - ID", u"ID * 9 + 20000", u"ID * 9 + 20004", u"-1 - ID"}) {
        database_->Execute(u"INSERT INTO Indexed SELECT " + std::u16string(id) +
                           u" AS ID, A, F, X, C, D, S, M, G, Y, N, B FROM Plain");
    }
    for (const char16_t* where : {u"S = 'b'", u"A = 7", u"D BETWEEN 3 AND 9", u"ID > 3000"}) {
        const auto count_of = [&](const char16_t* column) {
            return Column(u"SELECT Count(*) AS N FROM Indexed WHERE (" + std::u16string(where) + u")" + column, u"N");
        };
        EXPECT_EQ(count_of(u""), count_of(u" AND ID + 0 = ID")) << ToUtf8(where);
    }
    database_->Execute(u"CREATE INDEX Later ON Indexed (S, N DESC, ID)");
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"CREATE UNIQUE INDEX Twice ON Indexed (A)"); }),
              static_cast<int>(ErrorNumber::DuplicateKey));
}

// Numbers of which many have one Double, found as whole numbers of their last digit tell.
TEST_F(AccessPathTest, DecimalsAreFoundExactly) {
    database_->ExecuteScript(
        u"CREATE TABLE Decimals (ID LONG, P DECIMAL(28, 8), Q DECIMAL(28, 8), R DECIMAL(28, 8));"
        u"CREATE INDEX ByQ ON Decimals (Q); CREATE INDEX ByR ON Decimals (R DESC)");
    const auto number = [](int units) {
        const std::u16string digits = ToText(units < 0 ? -units : units);
        return std::u16string(units < 0 ? u"-" : u"") + u"12345678901234567890.000000" +
               std::u16string(2 - digits.size(), u'0') + digits;
    };
    std::vector<int> units;
    database_->Atomically([&] {
        for (int id = 0; id < 150; ++id) {
            units.push_back(Pick(61) - 30);
            const std::u16string value = number(units.back());
            database_->Execute(u"INSERT INTO Decimals VALUES (" + ToText(id) + u", '" + value + u"', '" + value +
                               u"', '" + value + u"')");
        }
    });
    // Of two numbers below zero the one with more units is the smaller one.
    const auto rank = [](int unit) { return unit < 0 ? unit - 1000 : unit; };
    constexpr const char16_t* kOperators[] = {u" = ", u" < ", u" > ", u" <= ", u" >= ", u" <> "};
    for (int i = 0; i < 120; ++i) {
        const int op = Pick(6);
        const int unit = Pick(61) - 30;
        std::u16string expected;
        for (std::size_t id = 0; id < units.size(); ++id) {
            const int order = rank(units[id]) - rank(unit);
            const bool holds[] = {order == 0, order<0, order> 0, order <= 0, order >= 0, order != 0};
            if (holds[op]) expected += (expected.empty() ? u"" : u" ") + ToText(id);
        }
        for (const char16_t* column : {u"P", u"Q", u"R"}) {
            const std::u16string where = std::u16string(column) + kOperators[op] + number(unit);
            ASSERT_EQ(Column(u"SELECT ID FROM Decimals WHERE " + where + u" ORDER BY ID", u"ID"), expected)
                << ToUtf8(where);
        }
    }
    for (const char16_t* order : {u" ASC", u" DESC"}) {
        const auto rows = [&](const char16_t* column) {
            return Column(u"SELECT ID FROM Decimals ORDER BY " + std::u16string(column) + order + u", ID", u"ID");
        };
        std::vector<int> ids(units.size());
        for (std::size_t i = 0; i < ids.size(); ++i) ids[i] = static_cast<int>(i);
        std::ranges::stable_sort(ids, [&](int a, int b) {
            const int first = rank(units[a]);
            const int second = rank(units[b]);
            return order[1] == u'A' ? first < second : first > second;
        });
        std::u16string expected;
        for (const int id : ids) expected += (expected.empty() ? u"" : u" ") + ToText(id);
        for (const char16_t* column : {u"P", u"Q", u"R"}) EXPECT_EQ(rows(column), expected) << ToUtf8(column);
    }
}

// A join reads the numbers of a scanned row at once, a record set over one table each by itself: also of rows that have
// moved, and of those that were there before a column.
TEST(NumbersOfAScan, AreThoseOfTheRows) {
    constexpr const char16_t* kColumns[] = {u"ID", u"A", u"F", u"X", u"C", u"D", u"B", u"Y", u"L", u"N"};
    std::mt19937 random(20261124);
    for (const jet::Version version : {jet::Version::Jet3, jet::Version::Jet4}) {
        const test::ScratchFolder folder;
        const std::filesystem::path file = folder.Path() / "Numbers.mdb";
        jet::Database::Create(file, {.version = version}, {.durable = false});
        const auto database = JetDatabase::Open(FromNativePath(file));
        database->Execute(u"CREATE TABLE One (K LONG)");
        database->Execute(u"INSERT INTO One VALUES (1)");
        database->Execute(
            u"CREATE TABLE T (ID LONG, A SHORT, F SINGLE, X DOUBLE, C CURRENCY, D DATETIME, B BYTE, Y YESNO,"
            u" S TEXT(200))");
        for (int id = 0; id < 300; ++id) {
            std::u16string values = ToText(id);
            for (int i = 0; i < 6; ++i) values += random() % 4 == 0 ? u", Null" : u", " + ToText(random() % 250);
            database->Execute(u"INSERT INTO T VALUES (" + values + u", " + ToText(random() % 2) + u", 'a')");
        }
        database->Execute(u"UPDATE T SET S = String(190, 'b') WHERE ID Mod 7 = 0");
        // N is the 17th: the older rows' marks of what is Null end before its own.
        for (const char16_t* column :
             {u"L LONG", u"E1 LONG", u"E2 LONG", u"E3 LONG", u"E4 LONG", u"E5 LONG", u"E6 LONG", u"N DOUBLE"}) {
            database->Execute(u"ALTER TABLE T ADD COLUMN " + std::u16string(column));
        }
        database->Execute(u"UPDATE T SET L = ID, N = ID / 4 WHERE ID Mod 3 = 0");
        database->Execute(u"DELETE FROM T WHERE ID Mod 11 = 0");
        const auto single = database->OpenRecordset(u"SELECT * FROM T");
        for (int i = 0; i < 60; ++i) {
            std::vector<std::u16string> columns;
            std::u16string list;
            for (std::size_t count = 1 + random() % 4; count > 0; --count) {
                columns.emplace_back(kColumns[random() % std::size(kColumns)]);
                list += (list.empty() ? u"T." : u", T.") + columns.back() + u" AS V" + ToText(columns.size());
            }
            const auto together = database->OpenRecordset(u"SELECT " + list + u" FROM T, One");
            int rows = 0;
            for (single->MoveFirst(); !single->Eof(); single->MoveNext(), together->MoveNext(), ++rows) {
                for (std::size_t c = 0; c < columns.size(); ++c) {
                    ASSERT_EQ(together->Fields(static_cast<int>(c)).Value(), single->Fields(columns[c]).Value())
                        << ToUtf8(list) << ", row " << rows;
                }
            }
            EXPECT_EQ(rows, 272);
            EXPECT_TRUE(together->Eof());
        }
    }
}

// In Jet 3 the thorn is a letter of its own to the index, and "th" to those who compare texts.
TEST(AccessPathInJet3, TextsThatCompareEqualAreFound) {
    const test::ScratchFolder folder;
    const std::filesystem::path file = folder.Path() / "Old.mdb";
    jet::Database::Create(file, {.version = jet::Version::Jet3}, {.durable = false});
    const auto database = JetDatabase::Open(FromNativePath(file));
    std::u16string found[2];
    for (const std::u16string_view index : {u"", u" UNIQUE"}) {
        database->Execute(u"CREATE TABLE T (S TEXT(20)" + std::u16string(index) + u", N LONG)");
        std::int64_t number = 0;
        for (const std::u16string_view text : {u"th", u"\u00FE", u"mo\u00DE", u"MOTH", u"b\u00FCro", u"t"}) {
            database->Execute(u"INSERT INTO T VALUES ('" + std::u16string(text) + u"', " + ToText(++number) + u")");
        }
        for (const std::u16string_view text : {u"TH", u"\u00DE", u"moth", u"mo\u00FE", u"B\u00DCRO", u"T"}) {
            const auto rows =
                database->OpenRecordset(u"SELECT N FROM T WHERE S='" + std::u16string(text) + u"' ORDER BY N");
            found[index.empty() ? 0 : 1] += u"/";
            for (; !rows->Eof(); rows->MoveNext())
                found[index.empty() ? 0 : 1] += ToText(rows->Fields(0).Value().As<std::int32_t>());
        }
        database->Execute(u"DROP TABLE T");
    }
    EXPECT_EQ(found[0], u"/12/12/34/34/5/6");
    EXPECT_EQ(found[1], found[0]);
}

}  // namespace
}  // namespace qmtrain::dao
