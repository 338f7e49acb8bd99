// Selects of more rows than are read at once.

#include <thread>

#include "dao/row_spool.h"
#include "odbc_fixture.h"

namespace qmtrain::test {
namespace {

TEST(RowSpool, GivesRowsBackInAnyOrder) {
    constexpr std::size_t kRows = 60'000;  // most of them do not fit into memory
    const auto row_of = [](std::size_t n) {
        return std::vector<Value>{static_cast<std::int32_t>(n), std::u16string(n % 300, u'文'),
                                  n % 7 == 0 ? Value(Null{}) : Value(static_cast<double>(n) / 3)};
    };
    dao::RowSpool rows;
    for (int turn = 0; turn < 2; ++turn) {
        for (std::size_t n = 0; n < kRows; ++n) {
            rows.Begin();
            rows.Append(u"never ended");
            rows.Begin();
            for (const Value& value : row_of(n)) rows.Append(value);
            rows.End();
        }
        EXPECT_EQ(rows.Size(), kRows);
        EXPECT_GT(rows.Bytes(), std::size_t{16} << 20);
        EXPECT_LT(rows.HeldBytes(), std::size_t{9} << 20);
        std::vector<Value> row(3);
        for (std::size_t n = 0; n < kRows; ++n) {
            const std::size_t any = n % 2 == 0 ? n : n * 7919 % kRows;
            rows.Get(any, row);
            ASSERT_EQ(row, row_of(any)) << any;
        }
        rows.Clear();
        EXPECT_EQ(rows.Size(), 0U);
    }
}

class LargeTest : public OdbcTest {
protected:
    static constexpr std::int32_t kRows = 9000;

    void SetUp() override {
        setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
        OdbcTest::SetUp();
        if (IsSkipped()) return;
        MakeTable("big", "n integer PRIMARY KEY, word varchar(20), content text");
        MakeTable("digits", "d integer PRIMARY KEY, name varchar(20)");
        server_->Psql("INSERT INTO big SELECT n, 'w' || n % 10, 'c' || n FROM generate_series(1, " +
                      std::to_string(kRows) +
                      ") n; INSERT INTO digits SELECT n, 'd' || n FROM generate_series(0, 9) n; ANALYZE");
    }

    // How many rows there are, and whether each is what it should be.
    std::int32_t Read(dao::Recordset& rows, std::int32_t first, std::int32_t step) {
        std::int32_t count = 0;
        for (std::int32_t n = first; !rows.Eof(); rows.MoveNext(), n += step, ++count) {
            const bool right = rows.Fields(u"n").Value() == Value(n) &&
                               rows.Fields(u"content").Value() == Value(u"c" + ToText(std::int64_t{n}));
            if (!right) return -1;
            // Nobody waits for a host that stays on a row.
            if (count == kRows / 2 && !in_transaction_) {
                EXPECT_EQ(
                    server_->Psql("SELECT count(*) FROM pg_stat_activity WHERE usename = 'exam' AND state <> 'idle'"),
                    "0");
            }
        }
        return count;
    }

    bool in_transaction_ = false;
};

TEST_F(LargeTest, AllRowsComeInTheirOrder) {
    struct Case {
        const char16_t* sql;
        std::int32_t first;
        std::int32_t step;
        std::int32_t rows;
    };
    const Case cases[] = {
        {u"SELECT * FROM big ORDER BY n", 1, 1, kRows},
        {u"SELECT * FROM big WHERE n > 2000 ORDER BY n DESC", kRows, -1, kRows - 2000},
        {u"SELECT * FROM big WHERE n < 2002 ORDER BY n", 1, 1, 2001},
        {u"SELECT * FROM big WHERE n < 2001 ORDER BY n", 1, 1, 2000},
        {u"SELECT TOP 4000 * FROM big WHERE n > 0 ORDER BY n", 1, 1, 4000},
        {u"SELECT TOP 10 * FROM big WHERE n > 0 ORDER BY n", 1, 1, 10},
        {u"SELECT big.*, name FROM big, digits WHERE word = 'w' & d ORDER BY n", 1, 1, kRows},
        {u"SELECT TOP 5000 big.*, name FROM big, digits WHERE word = 'w' & d ORDER BY n", 1, 1, 5000},
        {u"SELECT TOP 3 big.*, name FROM big, digits WHERE word = 'w' & d ORDER BY n", 1, 1, 3},
    };
    for (const dao::RecordsetType type :
         {dao::RecordsetType::ForwardOnly, dao::RecordsetType::Snapshot, dao::RecordsetType::Dynaset}) {
        for (const Case& c : cases)
            EXPECT_EQ(Read(*database_->OpenRecordset(c.sql, type), c.first, c.step), c.rows) << ToUtf8(c.sql);
    }
    // More than are calculated at once.
    const auto many = database_->OpenRecordset(u"SELECT big.n, d FROM big, digits WHERE d < 6 ORDER BY d, big.n",
                                               dao::RecordsetType::ForwardOnly);
    std::int32_t count = 0;
    for (; !many->Eof(); many->MoveNext(), ++count)
        ASSERT_EQ(many->Fields(u"n").Value(), Value(std::int32_t{count % kRows + 1})) << count;
    EXPECT_EQ(count, 6 * kRows);
    const auto ties = database_->OpenRecordset(u"SELECT TOP 1 * FROM big, digits WHERE n > 0 AND d = 1 ORDER BY d");
    ties->MoveLast();
    EXPECT_EQ(ties->RecordCount(), kRows) << "rows that are equal to the last one";
    const auto rows =
        database_->OpenRecordset(u"SELECT * FROM big WHERE n > 0 ORDER BY n", dao::RecordsetType::Snapshot);
    rows->MoveLast();
    EXPECT_EQ(rows->RecordCount(), kRows);
    rows->AbsolutePosition(4999);
    EXPECT_EQ(rows->Fields(u"n").Value(), Value(std::int32_t{5000}));
}

TEST_F(LargeTest, ATransactionSeesWhatItHasChangedAndGoesOn) {
    dao::Engine& engine = dao::Engine::Instance();
    engine.BeginTrans();
    in_transaction_ = true;
    database_->Execute(u"DELETE FROM big WHERE n = 1");
    const std::u16string all = u"SELECT * FROM big WHERE n > 0 ORDER BY n";
    const auto rows = database_->OpenRecordset(all, dao::RecordsetType::ForwardOnly);
    engine.BeginTrans();
    database_->Execute(u"DELETE FROM big WHERE n = 2");
    EXPECT_EQ(Read(*database_->OpenRecordset(all), 3, 1), kRows - 2);
    EXPECT_NE(ErrorOf([&] { database_->Execute(u"INSERT INTO big VALUES (3, Null, Null)"); }), 0);
    engine.Rollback();
    EXPECT_EQ(Read(*rows, 2, 1), kRows - 1) << "it was opened before";
    engine.CommitTrans();
    EXPECT_EQ(Read(*database_->OpenRecordset(all), 2, 1), kRows - 1);
}

TEST_F(LargeTest, AFailureInTheMiddleLeavesNothingBehind) {
    server_->Psql("CREATE VIEW odd AS SELECT n, 1 / (n - 5000) AS q, content FROM big; ALTER VIEW odd OWNER TO exam");
    database_->CreateTableDef(u"odd", connect_, u"public.odd");
    dao::Engine& engine = dao::Engine::Instance();
    for (const bool in_transaction : {false, true}) {
        in_transaction_ = in_transaction;
        if (in_transaction) engine.BeginTrans();
        if (in_transaction) database_->Execute(u"DELETE FROM big WHERE n = 1");
        EXPECT_NE(ErrorOf([&] { database_->OpenRecordset(u"SELECT * FROM odd WHERE n > 0"); }), 0);
        const std::int32_t first = in_transaction ? 2 : 1;
        EXPECT_EQ(Read(*database_->OpenRecordset(u"SELECT * FROM big WHERE n > 0 ORDER BY n"), first, 1),
                  kRows - first + 1);
        if (in_transaction) engine.CommitTrans();
    }
    EXPECT_EQ(server_->Psql("SELECT count(*) FROM big"), std::to_string(kRows - 1));
}

// Databases of one thread share a connection.
TEST_F(LargeTest, CancelEndsTheStatementsOfItsOwnDatabase) {
    server_->Psql(
        "CREATE FUNCTION slow(integer) RETURNS integer LANGUAGE sql AS 'SELECT $1 FROM pg_sleep(1)'; CREATE VIEW late "
        "AS "
        "SELECT slow(n) AS n FROM big WHERE n = 1; ALTER VIEW late OWNER TO exam");
    database_->CreateTableDef(u"late", connect_, u"public.late");
    const auto other = Open();
    const auto running = [&] {
        return server_->Psql(
                   "SELECT count(*) FROM pg_stat_activity WHERE usename = 'exam' AND wait_event = 'PgSleep'") == "1";
    };
    for (dao::JetDatabase* cancelled : {other.get(), database_.get()}) {
        std::thread canceller([&] {
            for (int tries = 0; tries < 200 && !running(); ++tries)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            cancelled->Cancel();
        });
        const int error = ErrorOf([&] { database_->OpenRecordset(u"SELECT * FROM late"); });
        canceller.join();
        EXPECT_EQ(error, cancelled == database_.get() ? static_cast<int>(ErrorNumber::OperationCancelled) : 0);
    }
}

}  // namespace
}  // namespace qmtrain::test
