// Statements that would not end, or would take all memory there is.

#include <chrono>
#include <thread>

#include "core/text.h"
#include "dao/fixture.h"

namespace qmtrain::dao {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr auto kSoon = std::chrono::seconds(10);  // a machine may be busy

class EndlessTest : public DaoTest {
protected:
    EndlessTest() {
        database_->Execute(u"CREATE TABLE N (K LONG PRIMARY KEY, C TEXT(20), M MEMO)");
        std::u16string script;
        for (std::int64_t i = 0; i < 400; ++i) {
            script += u"INSERT INTO N (K, C) VALUES (" + ToText(i) + u", '" + ToText(i * 7919 % 400) + u"');";
        }
        database_->ExecuteScript(script);
    }

    // Runs it, reading all rows of a select; the error's number, 0 for none.
    std::int32_t Run(std::u16string_view statement) {
        return ErrorOf([&] {
            if (!statement.starts_with(u"SELECT") || statement.find(u" INTO ") != statement.npos)
                return database_->Execute(statement);
            const auto rows = database_->OpenRecordset(statement);
            while (!rows->Eof()) rows->MoveNext();
        });
    }
};

constexpr int kCancelled = static_cast<int>(ErrorNumber::OperationCancelled);
constexpr int kTooMuch = static_cast<int>(ErrorNumber::SystemResourceExceeded);

// Each of these takes hours or more. A limit ends them, and so does another thread.
TEST_F(EndlessTest, EachEnds) {
    const std::u16string product = u" FROM N A, N B, N C, N D, N E ";
    const std::pair<const char*, std::u16string> cases[] = {
        {"a product that finds nothing", u"SELECT 1" + product + u"WHERE A.K+B.K+C.K+D.K+E.K=-1"},
        {"a product read row by row", u"SELECT A.K, B.K" + product},
        {"counted", u"SELECT Sum(A.K)" + product},
        {"grouped", u"SELECT A.K Mod 3, Count(*)" + product + u"GROUP BY A.K Mod 3"},
        {"distinct", u"SELECT DISTINCT A.K Mod 2" + product},
        {"sorted", u"SELECT TOP 3 A.C & B.C" + product + u"ORDER BY A.C & B.C & C.C"},
        {"joined by an inequality",
         u"SELECT Count(*) FROM ((N A INNER JOIN N B ON A.K<>B.K) INNER JOIN N C ON "
         u"B.K<>C.K) INNER JOIN N D ON C.K<>D.K"},
        {"united", u"SELECT A.K" + product + u"WHERE A.K+E.K=-1 UNION SELECT B.K" + product},
        {"a sub-query for each row",
         u"SELECT K FROM N X WHERE EXISTS (SELECT 1" + product + u"WHERE A.K+B.K+C.K+D.K=X.K-5000)"},
        {"updated", u"UPDATE N SET M='x' WHERE K IN (SELECT A.K" + product + u"WHERE A.K+E.K=-1)"},
        {"deleted", u"DELETE FROM N WHERE EXISTS (SELECT 1" + product + u"WHERE A.K+E.K=-1)"},
        {"inserted", u"INSERT INTO N (K) SELECT A.K+B.K+C.K+D.K+E.K+1000" + product + u"WHERE A.K=399"},
        {"a new table", u"SELECT A.K INTO X" + product},
    };
    for (const auto& [name, statement] : cases) {
        for (const bool by_limit : {true, false}) {
            SCOPED_TRACE(std::string(name) + (by_limit ? ", by its limit" : ", from outside"));
            std::jthread other;
            if (by_limit) {
                database_->Limits({.time = milliseconds(100)});
            } else {
                database_->Limits({});
                other = std::jthread([&](const std::stop_token& done) {
                    std::this_thread::sleep_for(milliseconds(100));
                    for (; !done.stop_requested(); std::this_thread::sleep_for(milliseconds(5))) database_->Cancel();
                });
            }
            const auto start = Clock::now();
            // What is inserted many times is refused when that shows, which may come first.
            const std::int32_t error = Run(statement);
            EXPECT_TRUE(error == kCancelled || error == static_cast<int>(ErrorNumber::DuplicateKey)) << error;
            EXPECT_LT(Clock::now() - start, kSoon);
        }
        database_->Limits({});
        EXPECT_EQ(Column(u"SELECT Count(*) AS A, Sum(K) AS B, Count(M) AS C FROM N", u"A"), u"400");
    }
    EXPECT_EQ(ErrorOf([&] { database_->OpenRecordset(u"SELECT * FROM X"); }),
              static_cast<int>(ErrorNumber::NoSuchTable));
    database_->Execute(u"UPDATE N SET M='y' WHERE K=1");
}

TEST_F(EndlessTest, MemoryHasItsLimit) {
    const std::u16string product = u" FROM N A, N B, N C ";
    database_->Limits({.time = std::chrono::seconds(30), .memory = std::size_t{4} << 20});
    for (const std::u16string& statement :
         {u"SELECT A.K, B.K" + product, u"SELECT A.C" + product + u"ORDER BY A.C, B.C, C.C",
          u"SELECT DISTINCT A.K, B.K, C.K" + product,
          u"SELECT A.K, B.K, C.K, Count(*)" + product + u"GROUP BY A.K, B.K, C.K",
          u"SELECT Count(*) FROM (SELECT A.K AS X" + product + u") P INNER JOIN (SELECT B.K AS Y" + product +
              u") Q ON P.X<>Q.Y",
          std::u16string(u"SELECT Len(Space(1000000) & Space(2000000))")}) {
        EXPECT_EQ(Run(statement), kTooMuch) << ToUtf8(statement);
    }
    EXPECT_EQ(Run(u"SELECT A.K FROM N A, N B WHERE A.K = B.K ORDER BY A.C"), 0);
}

// All that a statement holds counts together, texts too: none of these has a large table.
TEST_F(EndlessTest, MemoryIsThatOfTheWholeStatement) {
    std::u16string spaces = u"Space(300000)";
    for (int i = 1; i < 8; ++i) spaces += u", Space(300000)";
    const std::u16string texts = u"SELECT Space(20000) & K AS X, K AS Y FROM N";
    const std::pair<const char*, std::u16string> cases[] = {
        {"texts of a row", u"SELECT " + spaces},
        {"texts of a derived table",
         u"SELECT Count(*) FROM (" + texts + u") P INNER JOIN (" + texts + u") Q ON P.Y<>Q.Y AND Len(Q.X)>0"},
        {"texts of groups", u"SELECT K, Max(Space(20000) & C) FROM N GROUP BY K"},
        {"growing texts of groups",
         u"SELECT Y, Max(String(10, 'a') & String(X, 'b')) FROM (SELECT A.K Mod 200 AS Y, "
         u"B.K * 20000 AS X FROM N A, N B WHERE B.K < 2) GROUP BY Y"},
        {"texts of a union", u"SELECT Space(20000) & K FROM N UNION ALL SELECT C FROM N ORDER BY 1"},
        {"texts to be written", u"UPDATE N SET M = Space(20000) & K"},
        {"texts to be inserted", u"INSERT INTO N (K, M) SELECT K + 1000, Space(20000) & K FROM N"},
    };
    for (const auto& [name, statement] : cases) {
        database_->Limits({.memory = std::size_t{4} << 20});
        EXPECT_EQ(Run(statement), kTooMuch) << name;
        database_->Limits({.memory = std::size_t{256} << 20});
        EXPECT_EQ(Run(statement.starts_with(u"INSERT") ? statement + u" WHERE K<0" : statement), 0) << name;
    }
    // Two sets, either of which would be small enough.
    database_->Limits({.memory = std::size_t{4} << 20});
    const std::u16string one = u"K IN (SELECT A.K + B.K * 400 FROM N A, N B WHERE B.K < 100)";
    const std::u16string other = u"K IN (SELECT A.K + B.K * 401 FROM N A, N B WHERE B.K < 100)";
    EXPECT_EQ(Run(u"SELECT K FROM N WHERE " + one), 0);
    EXPECT_EQ(Run(u"SELECT K FROM N WHERE " + other), 0);
    EXPECT_EQ(Run(u"SELECT K FROM N WHERE " + one + u" AND " + other), kTooMuch);
    // What one statement has held the next one may.
    for (int i = 0; i < 20; ++i) EXPECT_EQ(Run(u"SELECT DISTINCT Space(3000) & K FROM N"), 0);
    const auto rows = database_->OpenRecordset(u"SELECT Space(3000) & K FROM N");
    for (int i = 0; i < 20; ++i) {
        rows->MoveLast();
        rows->Requery();
    }
}

// Without a limit of its own a statement takes no more than half of the machine's memory, and no text may double again
// and again.
TEST_F(EndlessTest, MemoryHasAlwaysALimit) {
    database_->Limits({});
    std::u16string doubled = u"SELECT Space(30000000) AS X FROM N WHERE K=1";
    for (int i = 0; i < 12; ++i) doubled = u"SELECT X & X AS X FROM (" + doubled + u")";
    const std::u16string added = u"SELECT X + X FROM (SELECT X + X AS X FROM (SELECT Space(30000000) AS X))";
    for (const std::u16string& statement : {doubled, added, std::u16string(u"SELECT String(2000000000, 'x')"),
                                            std::u16string(u"SELECT Replace(Space(10000000), ' ', 'abcdefghi')")}) {
        EXPECT_EQ(Run(statement), kTooMuch) << ToUtf8(statement.substr(0, 40));
    }
    const Work::Cancellations none = 0;
    const Work work({}, none);
    EXPECT_EQ(ErrorOf([] { Work::RequireRoom(UsualMemoryLimit() + 1); }), kTooMuch);
    EXPECT_EQ(ErrorOf([] { Work::RequireRoom(std::size_t{100} << 20); }), 0);
}

// A cancelled record set gives no further rows, of which some might be missing; the database goes on.
TEST_F(EndlessTest, ARecordSetThatIsCalledOffStaysSo) {
    const auto rows = database_->OpenRecordset(u"SELECT A.K, B.K, C.K FROM N A, N B, N C WHERE A.K+B.K+C.K Mod 97 = 1");
    std::jthread cancels([&](const std::stop_token& done) {
        for (; !done.stop_requested(); std::this_thread::sleep_for(milliseconds(5))) database_->Cancel();
    });
    std::int32_t error = 0;
    while (error == 0) error = ErrorOf([&] { rows->MoveNext(); });
    cancels.request_stop();
    cancels.join();
    EXPECT_EQ(error, kCancelled);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ErrorOf([&] { rows->MoveLast(); }), kCancelled);
    EXPECT_EQ(Column(u"SELECT Count(*) AS A FROM N", u"A"), u"400");
}

// Waiting for a lock can be cancelled too.
TEST_F(EndlessTest, WaitingEnds) {
    const auto other = JetDatabase::Open(Name(u"Client.mdb"));
    const jet::Database::Writing writing(other->Storage());
    std::jthread cancels([&](const std::stop_token& done) {
        for (; !done.stop_requested(); std::this_thread::sleep_for(milliseconds(5))) database_->Cancel();
    });
    const auto start = Clock::now();
    EXPECT_EQ(Run(u"UPDATE N SET C='x'"), kCancelled);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
}

// A megabyte is looked through in the time that it is long, whatever is looked for. Long ago such texts took minutes.
TEST_F(EndlessTest, LongTextsAreLookedThroughOnce) {
    const std::u16string text(1000000, u'a');
    const std::u16string almost = std::u16string(20000, u'A') + u"b";
    const auto rows = database_->OpenRecordset(u"SELECT * FROM N WHERE K<2");
    for (const std::u16string& value : {text, almost}) {
        rows->Edit();
        rows->Fields(u"M").Value(value);
        rows->Update();
        rows->MoveNext();
    }
    database_->Limits({.time = std::chrono::seconds(20)});
    std::u16string sets;  // of many kinds, all of which fit
    for (char16_t other = 0x4E00; other < 0x4E40; ++other) sets += {u'[', u'a', other, u']'};
    const std::pair<std::u16string, std::u16string_view> cases[] = {
        {u"A.M Like '*' & B.M & '*'", u"False"},
        {u"A.M Like '*' & B.M", u"False"},
        {u"A.M Like B.M & '*'", u"False"},
        {u"A.M Like '*' & Left(B.M, 20000) & '*' & Left(B.M, 20000) & '*'", u"True"},
        {u"A.M Like '*a*a*a*a*a*a*a*a*a*a*b*'", u"False"},
        {u"A.M Like '*a?a*a?a*a?a*a?a*a?b'", u"False"},
        {u"A.M Like '*?' & B.M & '??*'", u"False"},
        {u"A.M Like '*' & Replace(Left(A.M, 10000), 'a', 'a?') & 'b*'", u"False"},
        {u"A.M Like '*' & Replace(Left(A.M, 10000), 'a', '[!b]#') & 'a*'", u"False"},
        {u"A.M & 'b' Like '*' & Replace(Left(A.M, 10000), 'a', 'a?[ab]') & 'b'", u"True"},
        {u"A.M Like '*" + sets + u"' & Left(B.M, 3000) & 'b?*'", u"False"},
        {u"InStr(A.M, B.M) > 0", u"False"},
        {u"InStr(1, A.M, B.M, 0) > 0", u"False"},
        {u"Replace(A.M, B.M, 'x') = A.M", u"True"},
    };
    for (const auto& [condition, expected] : cases) {
        EXPECT_EQ(Column(u"SELECT IIf(" + condition +
                             u", 'True', 'False') AS X FROM N A, N B WHERE "
                             u"A.K=0 AND B.K=1",
                         u"X"),
                  expected)
            << ToUtf8(condition);
    }
}

// Rows of which each takes long are not too many to be stopped soon.
TEST_F(EndlessTest, LongTextsAreLeftSoon) {
    const auto rows = database_->OpenRecordset(u"SELECT * FROM N WHERE K=0");
    rows->Edit();
    rows->Fields(u"M").Value(std::u16string(1000000, u'a'));
    rows->Update();
    database_->Limits({.time = milliseconds(5)});
    for (const std::u16string_view condition :
         {u"Replace(A.M, 'a', 'b', B.K+1)='x'", u"InStr(B.K+1, A.M, 'b')=1", u"Left(A.M, 999000+B.K)='x'",
          u"A.M & B.K='x'", u"Len(Space(1000000+B.K))=0", u"A.M Like '*b' & B.K & '*'",
          u"IIf(B.K<0, B.C, A.M)<>IIf(B.K<0, 'x', A.M)"}) {
        const auto start = Clock::now();
        EXPECT_EQ(Run(u"SELECT B.K FROM N A, N B, N C WHERE A.K=0 AND " + std::u16string(condition)), kCancelled)
            << ToUtf8(condition);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(3)) << ToUtf8(condition);
    }
}

// Small texts that expand into something large.
TEST_F(EndlessTest, ShortStatementsStaySmall) {
    std::u16string aliases = u"SELECT 1 AS A0";
    for (std::int64_t i = 1; i < 20; ++i) {
        const std::u16string before = u"A" + ToText(i - 1);
        aliases += u", " + before + u"+" + before + u"+" + before + u" AS A" + ToText(i);
    }
    std::u16string deep = u"SELECT K AS X FROM N";
    const auto plus = [](int times) {
        std::u16string sum = u"X";
        for (int i = 0; i < times; ++i) sum += u"+1";
        return sum;
    };
    for (int i = 0; i < 60; ++i) deep = u"SELECT " + plus(300) + u" AS X FROM (" + deep + u")";
    for (const std::u16string& statement : {aliases, deep}) {
        const auto start = Clock::now();
        EXPECT_EQ(Run(statement), static_cast<int>(ErrorNumber::QueryTooComplex));
        EXPECT_LT(Clock::now() - start, kSoon);
    }
    EXPECT_EQ(
        Column(u"SELECT " + plus(300) + u" AS Y FROM (SELECT " + plus(300) + u" AS X FROM (SELECT 1 AS X))", u"Y"),
        u"601");
}

}  // namespace
}  // namespace qmtrain::dao
