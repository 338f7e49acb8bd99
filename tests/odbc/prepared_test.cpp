// Statements that a server keeps ready: that their answers are those of others, whatever becomes of them there.

#include "odbc/connection.h"
#include "odbc_fixture.h"

namespace qmtrain::test {
namespace {

TEST(Request, PutsValuesIntoTheirPlacesAlone) {
    const odbc::Request request{u"SELECT \"$1\", '$2 ''$1' FROM t WHERE a = $2 AND b = ($1, $10)",
                                {{u"'x'"}, {u"NULL"}, {}, {}, {}, {}, {}, {}, {}, {u"'$1'"}}};
    EXPECT_EQ(request.Whole(), u"SELECT \"$1\", '$2 ''$1' FROM t WHERE a = NULL AND b = ('x', '$1')");
}

using Number = ErrorNumber;
constexpr int N(Number number) {
    return static_cast<int>(number);
}

class PreparedTest : public OdbcTest {
protected:
    void SetUp() override {
        setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
        OdbcTest::SetUp();
        if (IsSkipped()) return;
        MakeTrainings();
        connection_ = Connect();
    }

    std::unique_ptr<odbc::Connection> Connect(std::u16string_view user = u"exam") const {
        return odbc::Connection::Open(odbc::ConnectString(server_->Connect(user)));
    }

    static odbc::Request Asking(std::int32_t id) {
        odbc::Request request{u"SELECT score FROM train WHERE id = ", {}};
        request.Add(u"'" + ToText(std::int64_t{id}) + u"'");
        return request;
    }

    static std::u16string AnswerOf(odbc::Connection& connection, const odbc::Request& request) {
        const auto rows = connection.Query(request);
        std::u16string answer;
        Value value;
        while (rows->Next()) {
            rows->Read(0, ColumnType::Memo, value);
            answer += (answer.empty() ? u"" : u" ") + (value.IsNull() ? u"Null" : value.Text());
        }
        return answer;
    }
    static std::u16string Names(odbc::Connection& connection) {
        return AnswerOf(connection, {u"SELECT name FROM pg_prepared_statements ORDER BY name", {}});
    }

    std::unique_ptr<odbc::Connection> connection_;
};

TEST_F(PreparedTest, ValuesOfOtherTypesAreAnotherStatement) {
    const odbc::Request number{u"SELECT $1 || ''", {{u"5", u"integer"}}};
    const odbc::Request text{u"SELECT $1 || ''", {{u"'five'", u"unknown"}}};
    for (int times = 0; times < 3; ++times) EXPECT_EQ(AnswerOf(*connection_, number), u"5");
    for (int times = 0; times < 3; ++times) EXPECT_EQ(AnswerOf(*connection_, text), u"five");
}

TEST_F(PreparedTest, WhatComesAgainIsPrepared) {
    EXPECT_EQ(AnswerOf(*connection_, Asking(1)), u"1.1");
    EXPECT_EQ(Names(*connection_), u"") << "most do not come again";
    EXPECT_EQ(AnswerOf(*connection_, Asking(2)), u"2.1");
    EXPECT_TRUE(Names(*connection_).starts_with(u"qm_"));
    EXPECT_EQ(AnswerOf(*connection_, Asking(3)), u"3.1");
    EXPECT_EQ(AnswerOf(*connection_, Asking(77)), u"");
    const auto rows = connection_->Query(Asking(4));
    EXPECT_EQ(rows->Count(), 1);
}

// The second and third time as well as the first.
TEST_F(PreparedTest, ValuesAreWhatTheyAre) {
    MakeTable(
        "kinds",
        "k integer PRIMARY KEY, yes boolean, small smallint, single real, number double precision, money "
        "numeric(19,4), moment timestamp, day date, short varchar(255), fixed char(5), memo text, bytes bytea, id "
        "uuid");
    struct Case {
        const char16_t* field;
        Value value;
    };
    const Case cases[] = {
        {u"yes", true},
        {u"small", std::int16_t{-32768}},
        {u"single", 0.1F},
        {u"number", 1.0 / 3},
        {u"moment", FromCivil({9999, 12, 31, 23, 59, 59})},
        {u"day", FromCivil({1899, 12, 30, 0, 0, 0})},
        {u"short", u"' \\ $1 ;"},
        {u"short", u""},
        {u"memo", u"它's \"好\"\\ ?{}%\r\n" + std::u16string(100000, u'文') + u"\xD83D\xDE00"},
        {u"bytes", Bytes{0, 39, 92, 255}},
        {u"id", u"{00112233-4455-6677-8899-AABBCCDDEEFF}"},
    };
    std::int32_t key = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(ToUtf8(c.field));
        for (int turn = 0; turn < 3; ++turn) {
            const auto added =
                database_->OpenRecordset(u"SELECT * FROM kinds", dao::RecordsetType::Dynaset, dao::kAppendOnly);
            added->AddNew();
            added->Fields(u"k").Value(++key);
            added->Fields(c.field).Value(c.value);
            added->Update();
            const std::u16string one = u"SELECT * FROM kinds WHERE k = " + ToText(std::int64_t{key});
            EXPECT_EQ(database_->OpenRecordset(one)->Fields(c.field).Value(), c.value);
            for (const Value& changed : {Value(Null{}), c.value}) {
                const auto rows = database_->OpenRecordset(one);
                rows->Edit();
                rows->Fields(c.field).Value(changed);
                rows->Update();
                EXPECT_EQ(database_->OpenRecordset(one)->Fields(c.field).Value(), changed);
            }
        }
    }
}

TEST_F(PreparedTest, ConditionsAreWhatTheyAre) {
    server_->Psql(
        "CREATE TABLE odd (id serial PRIMARY KEY, small smallint, day date, fixed char(5), money numeric(10, 2)); "
        "ALTER "
        "TABLE odd OWNER TO exam; INSERT INTO odd (small, day, fixed, money) VALUES (7, '2005-04-12', 'ab', 2)");
    database_->CreateTableDef(u"odd", connect_, u"public.odd");
    struct Case {
        const char16_t* condition;
        const char16_t* rows;
    };
    const Case cases[] = {
        {u"small = 70000", u""},
        {u"small < 70000", u"1"},
        {u"day = #2005-04-12#", u"1"},
        {u"day = #2005-04-12 08:00:00#", u""},
        {u"day < #2005-04-12 08:00:00#", u"1"},
        {u"fixed = 'ab'", u"1"},
        {u"fixed = 'AB'", u""},
        {u"money = 2", u"1"},
        {u"small > -3 AND day <> #2005-04-13# AND fixed <> ''", u"1"},
    };
    for (const Case& c : cases) {
        for (int turn = 0; turn < 3; ++turn)
            EXPECT_EQ(Column(u"SELECT id FROM odd WHERE " + std::u16string(c.condition), u"id"), c.rows)
                << ToUtf8(c.condition);
    }
}

// Behind a pool of connections the next message may meet a server that knows nothing of the statement, or has been told
// of it by others.
TEST_F(PreparedTest, WhatIsGoneOrThereAlreadyDoesNotMatter) {
    for (const bool in_transaction : {false, true}) {
        if (in_transaction) connection_->Begin();
        for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(AnswerOf(*connection_, Asking(1)), u"1.1");
        connection_->Execute(u"DEALLOCATE ALL");
        EXPECT_EQ(AnswerOf(*connection_, Asking(2)), u"2.1");
        EXPECT_EQ(AnswerOf(*connection_, Asking(3)), u"3.1");
        EXPECT_NE(Names(*connection_), u"");
        const std::u16string name = Names(*connection_);
        const auto other = Connect();
        if (in_transaction) other->Begin();
        other->Execute(u"PREPARE " + name + u"(unknown) AS SELECT score FROM train WHERE id = $1");
        for (int turn = 1; turn < 4; ++turn)
            EXPECT_EQ(AnswerOf(*other, Asking(turn)), ToText(std::int64_t{turn}) + u".1");
        if (!in_transaction) continue;
        connection_->Execute(u"UPDATE train SET score = 7 WHERE id = 1");
        connection_->Execute(u"DEALLOCATE ALL");
        EXPECT_EQ(AnswerOf(*connection_, Asking(1)), u"7") << "what came before is kept";
        connection_->Commit();
        EXPECT_EQ(AnswerOf(*connection_, Asking(1)), u"7");
    }
}

TEST_F(PreparedTest, AreMadeAnewWhenTablesHaveChanged) {
    const auto made = [&] { return AnswerOf(*connection_, {u"SELECT prepare_time FROM pg_prepared_statements", {}}); };
    for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(AnswerOf(*connection_, Asking(1)), u"1.1");
    const std::u16string first = made();
    database_->RefreshLink(u"train");
    for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(AnswerOf(*connection_, Asking(1)), u"1.1");
    const std::u16string second = made();
    EXPECT_NE(second, u"");
    EXPECT_NE(second, first);
    EXPECT_EQ(AnswerOf(*connection_, Asking(2)), u"2.1");
    EXPECT_EQ(made(), second) << "once";
}

TEST_F(PreparedTest, AFailureInATransactionLeavesItAsItWas) {
    const auto add = [&](std::int32_t id) {
        odbc::Request request{u"INSERT INTO train (id, userid) VALUES (", {}};
        request.Add(u"'" + ToText(std::int64_t{id}) + u"'");
        request.text += u", 1)";
        return connection_->Execute(request);
    };
    add(10);
    connection_->Begin();
    EXPECT_EQ(ErrorOf([&] { add(10); }), N(Number::DuplicateKey));
    add(11);
    EXPECT_EQ(ErrorOf([&] { add(10); }), N(Number::DuplicateKey));
    add(12);
    EXPECT_EQ(ErrorOf([&] { add(12); }), N(Number::DuplicateKey));
    connection_->Commit();
    EXPECT_EQ(server_->Psql("SELECT count(*) FROM train WHERE id > 9"), "3");
}

// Of a message that it cannot read the server does nothing, not even what stands before the statement.
TEST_F(PreparedTest, ARefusedMessageLeavesTheTransactionAsItWas) {
    const auto add = [&](int id) {
        connection_->Execute(u"INSERT INTO train (id, userid) VALUES (" + ToText(std::int64_t{id}) + u", 1)");
    };
    const auto refused = [&] {
        EXPECT_EQ(ErrorOf([&] { connection_->Execute(u"INSERT INTO train VALUES ("); }), N(Number::OdbcCallFailed));
    };
    struct Case {
        const char* name;
        std::function<void()> body;
        const char* ids;
    };
    const Case cases[] = {
        {"first", [&] { refused(), add(10), add(11); }, "10,11"},
        {"after others", [&] { add(10), add(11), refused(), refused(), add(12); }, "10,11,12"},
        {"last", [&] { add(10), add(11), refused(); }, "10,11"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        connection_->Begin();
        c.body();
        connection_->Commit();
        EXPECT_EQ(server_->Psql("SELECT string_agg(id::text, ',' ORDER BY id) FROM train WHERE id > 9"), c.ids);
        server_->Psql("DELETE FROM train WHERE id > 9");
    }
}

// A statement that was prepared for the column as it was must not make of a value what that column would have held.
TEST_F(PreparedTest, ValuesReachAColumnThatHasGotAnotherType) {
    server_->Psql("CREATE TYPE colour AS ENUM ('red', 'green')");
    struct Case {
        const char* was;
        const char* becomes;
        Value before;
        Value after;
        const char* stored;
    };
    const Date morning = FromCivil({2005, 4, 12, 8, 30, 15});
    const Case cases[] = {
        {"date", "timestamp", FromCivil({2005, 4, 11}), morning, "2005-04-12 08:30:15"},
        {"timestamp", "date", FromCivil({2005, 4, 11}), morning, "2005-04-12"},
        {"smallint", "integer", std::int16_t{7}, std::int16_t{8}, "8"},
        {"integer", "bigint", std::int32_t{7}, std::int32_t{8}, "8"},
        {"integer", "text", std::int32_t{7}, std::int32_t{8}, "8"},
        {"integer", "numeric(12, 2)", std::int32_t{7}, std::int32_t{8}, "8.00"},
        {"real", "double precision", 0.5F, 0.1F, "0.1"},
        {"real", "numeric(12, 2)", 0.5F, 0.1F, "0.10"},
        {"double precision", "text", 0.5, 0.1, "0.1"},
        {"char(5)", "varchar(9)", u"ab", u"ab ", "ab "},
        {"varchar(5)", "varchar(9)", u"ab", u"12345", "12345"},
        {"colour", "text", u"red", u"green", "green"},
        {"text", "colour", u"red", u"green", "green"},
        {"time", "text", u"08:00:00", u"8:00", "8:00"},
    };
    int number = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.was) + " to " + c.becomes);
        const std::string table = "altered" + std::to_string(++number);
        MakeTable(table, std::string("id serial PRIMARY KEY, v ") + c.was);
        const std::u16string all = u"SELECT id, v FROM " + FromUtf8(table);
        const auto add = [&](const Value& value) {
            const auto rows = database_->OpenRecordset(all, dao::RecordsetType::Dynaset, dao::kAppendOnly);
            rows->AddNew();
            rows->Fields(u"v").Value(value);
            rows->Update();
        };
        for (int turn = 0; turn < 3; ++turn) add(c.before);
        const auto rows = database_->OpenRecordset(all + u" WHERE id = 1");
        const auto change = [&](const Value& value) {
            rows->Edit();
            rows->Fields(u"v").Value(value);
            rows->Update();
        };
        for (const Value& value : {Value(Null{}), c.before, Value(Null{}), c.before, Value(Null{})}) change(value);
        server_->Psql("ALTER TABLE " + table + " ALTER v TYPE " + c.becomes + " USING v::text::" + c.becomes);
        for (int turn = 0; turn < 3; ++turn) {
            EXPECT_EQ(ErrorOf([&] { add(c.after); }), 0);
            EXPECT_EQ(server_->Psql("SELECT v FROM " + table + " WHERE id = (SELECT max(id) FROM " + table + ")"),
                      c.stored);
        }
        EXPECT_EQ(ErrorOf([&] { change(c.after); }), 0);
        EXPECT_EQ(server_->Psql("SELECT v FROM " + table + " WHERE id = 1"), c.stored);
        EXPECT_EQ(ErrorOf([&] { change(Null{}); }), 0) << "it is still what was written";
    }
}

TEST_F(PreparedTest, ConditionsFollowAColumnThatHasGotAnotherType) {
    MakeTable("moved", "id serial PRIMARY KEY, fixed char(5), day date");
    server_->Psql("INSERT INTO moved (fixed, day) VALUES ('ab', '2005-04-12')");
    struct Case {
        const char* alter;
        const char16_t* before;
        const char16_t* after;
    };
    const Case cases[] = {
        {"day TYPE timestamp USING '2005-04-12 08:00:00'", u"day = #2005-04-12#", u"day = #2005-04-12 08:00:00#"},
        {"fixed TYPE varchar(9) USING 'ab '", u"fixed = 'ab'", u"fixed = 'ab '"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.alter);
        const auto found = [&](const char16_t* condition) {
            return Column(u"SELECT id FROM moved WHERE " + std::u16string(condition), u"id");
        };
        for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(found(c.before), u"1");
        server_->Psql("ALTER TABLE moved ALTER " + std::string(c.alter));
        for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(found(c.after), u"1");
    }
}

TEST_F(PreparedTest, FollowsTheTableAndTheRights) {
    const std::u16string second = u"SELECT * FROM train WHERE id = 2";
    for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(Column(second, u"score"), u"2.1");
    server_->Psql("ALTER TABLE train ALTER score TYPE double precision USING 5.5, ADD more integer");
    for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(Column(second, u"score"), u"5.5");
    server_->Psql("ALTER TABLE train OWNER TO owner; REVOKE ALL ON train FROM exam");
    EXPECT_EQ(ErrorOf([&] { database_->OpenRecordset(second); }), N(Number::OdbcCallFailed));
    server_->Psql("GRANT SELECT ON train TO exam");
    EXPECT_EQ(Column(second, u"score"), u"5.5");
    server_->Psql("ALTER TABLE train RENAME remark TO other");
    EXPECT_NE(ErrorOf([&] { database_->OpenRecordset(second); }), 0);
}

TEST_F(PreparedTest, LoginsHaveNothingInCommon) {
    server_->Psql(
        "DO $$ BEGIN IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'guest') THEN CREATE ROLE guest LOGIN "
        "PASSWORD "
        "'secret;{}'; END IF; END $$; ALTER TABLE train ENABLE ROW LEVEL SECURITY; GRANT SELECT ON train TO guest; "
        "CREATE POLICY own ON train TO guest USING (userid = 0)");
    const auto guest = Connect(u"guest");
    for (int turn = 0; turn < 3; ++turn) {
        EXPECT_EQ(AnswerOf(*connection_, Asking(1)), u"1.1");
        EXPECT_EQ(AnswerOf(*guest, Asking(1)), u"");
        EXPECT_EQ(AnswerOf(*guest, Asking(2)), u"2.1");
    }
    odbc::Request remove{u"DELETE FROM train WHERE id = ", {}};
    remove.Add(u"'2'");
    EXPECT_EQ(connection_->Execute(remove), 1);
    EXPECT_EQ(connection_->Execute(remove), 0);
    for (int turn = 0; turn < 3; ++turn) EXPECT_NE(ErrorOf([&] { guest->Execute(remove); }), 0);
}

TEST_F(PreparedTest, IsPreparedAnewWhenTheConnectionWasLost) {
    const auto lose = [&] {
        server_->Psql("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'exam'");
    };
    const std::u16string second = u"SELECT * FROM train WHERE id = 2";
    for (int turn = 0; turn < 3; ++turn) {
        for (int again = 0; again <= turn; ++again) EXPECT_EQ(Column(second, u"score"), u"2.1");
        lose();
    }
    EXPECT_EQ(Column(second, u"score"), u"2.1");
    const auto rows = database_->OpenRecordset(second);
    rows->Edit();
    rows->Fields(u"score").Value(7.0F);
    lose();
    EXPECT_EQ(ErrorOf([&] { rows->Update(); }), N(Number::OdbcConnectionFailed)) << "it may have been done";
    EXPECT_EQ(Column(second, u"score"), u"2.1");
}

}  // namespace
}  // namespace qmtrain::test
