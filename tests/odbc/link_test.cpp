// Links to tables on a server: how they are stored, what comes through them, and what goes wrong.

#include <chrono>
#include <csignal>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "dao/database_object.h"
#include "dao/engine_object.h"
#include "dao/table_object.h"
#include "jet/compact.h"
#include "odbc/connect_string.h"
#include "odbc/pool.h"
#include "odbc_fixture.h"
#include "support/at_once.h"

namespace qmtrain::test {
namespace {

using Number = ErrorNumber;

std::int32_t N(ErrorNumber number) {
    return static_cast<std::int32_t>(number);
}

TEST(ConnectString, PartsWithAndWithoutBraces) {
    odbc::ConnectString text(u"ODBC;driver={A} b};Server = db ;PWD={a;}}b};x;UID=u");
    EXPECT_EQ(text.Get(u"DRIVER"), u"A");
    EXPECT_EQ(text.Get(u"server"), u"db");
    EXPECT_EQ(text.Get(u"UID"), u"u");
    EXPECT_EQ(text.Place(), u"db");
    EXPECT_EQ(text.TakePassword(), u"a;}b");
    EXPECT_EQ(text.TakePassword(), std::nullopt);
    EXPECT_EQ(text.Text().find(u"a;"), std::u16string::npos);
    text.Set(u"PWD", u"p}+;");
    EXPECT_EQ(odbc::ConnectString(text.Text()).Get(u"pwd"), u"p}+;");
    EXPECT_TRUE(odbc::ConnectString::IsOdbc(u"odbc;DSN=x"));
    EXPECT_FALSE(odbc::ConnectString::IsOdbc(u";DATABASE=x"));
}

TEST(ConnectString, TakesALoginThatIsMeantForItsPlace) {
    struct Case {
        const char16_t* login;
        const char16_t* user;
        const char16_t* password;
    };
    const Case cases[] = {
        {u"ODBC;UID=a;PWD=p", u"a", u"p"},
        {u"ODBC;PWD=p", u"", u"p"},
        {u"ODBC;server=DB;UID=a;Password=p", u"a", u"p"},
        {u"ODBC;SERVER=other;UID=a;PWD=p", u"", u""},
        {u"ODBC;DSN=x;UID=a;PWD=p", u"", u""},
        {u"ODBC;UID=a;PWD=p;SSLmode=disable", u"a", u"p"},
    };
    for (const Case& c : cases) {
        odbc::ConnectString text(u"ODBC;DRIVER={A};SERVER=db;DATABASE=x");
        text.Complete(odbc::ConnectString(c.login));
        EXPECT_EQ(text.Get(u"UID").value_or(u""), c.user) << ToUtf8(c.login);
        EXPECT_EQ(text.TakePassword().value_or(u""), c.password) << ToUtf8(c.login);
        EXPECT_EQ(text.Get(u"SSLmode"), std::nullopt);
    }
    odbc::ConnectString own(u"ODBC;SERVER=db;UID=me;PWD=mine");
    own.Complete(odbc::ConnectString(u"ODBC;UID=me;PWD=p"));
    EXPECT_EQ(own.TakePassword(), u"mine");
    own.Complete(odbc::ConnectString(u"ODBC;UID=you;PWD=p"));
    EXPECT_EQ(own.TakePassword(), std::nullopt) << "somebody else's";
}

class LinkTest : public OdbcTest {
protected:
    jet::CatalogObject Stored(std::u16string_view name) {
        const jet::Database::Reading reading(database_->Storage());
        return *database_->Storage().FindObject(name);
    }
};

TEST_F(LinkTest, IsStoredWithItsColumnsAndKeyAndWithoutThePassword) {
    unsetenv("QMTRAININFO_PASSWORD");
    MakeTable("train", "id serial PRIMARY KEY, \"名\" varchar(20) NOT NULL, score real, content text");
    const jet::CatalogObject link = Stored(u"train");
    EXPECT_EQ(link.type, jet::CatalogObject::kLinkedOdbc);
    EXPECT_EQ(link.flags, 0x100000);
    EXPECT_EQ(link.foreign_name, u"public.train");
    EXPECT_TRUE(link.connect.starts_with(u"DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1")) << ToUtf8(link.connect);
    EXPECT_EQ(link.connect.find(u"secret"), std::u16string::npos);
    {
        const jet::Database::Reading reading(database_->Storage());
        const auto definition = database_->Storage().LinkDefinition(link);
        ASSERT_EQ(definition->Definition().columns.size(), 4U);
        EXPECT_EQ(definition->Definition().columns[1].name, u"名");
        EXPECT_TRUE(definition->Definition().columns[0].IsAutonumber());
        EXPECT_EQ(definition->Definition().columns[3].type, ColumnType::Memo);
        EXPECT_EQ(definition->RowCount(), 0U);
    }
    EXPECT_TRUE(database_->HasTable(u"TRAIN"));
    EXPECT_TRUE(database_->TableDefs().back().linked);
    EXPECT_EQ(database_->TableDefs().back().connect, u"ODBC;" + link.connect);

    // The password comes from elsewhere then.
    database_->CreateTableDef(u"kept", connect_, u"train", true);
    EXPECT_EQ(Stored(u"kept").flags, 0x20100000);
    EXPECT_NE(Stored(u"kept").connect.find(u"secret"), std::u16string::npos);
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM kept", u"N"), u"0");
    EXPECT_EQ(ErrorOf([&] { database_->OpenRecordset(u"SELECT * FROM train"); }), N(Number::OdbcConnectionFailed));
    setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM train", u"N"), u"0");

    // A compacted copy has them too; a link that is dropped leaves nothing behind.
    const std::u16string copy = InFolder(FromNativePath(folder_.Path()), u"Copy.mdb");
    dao::Engine::Instance().CompactDatabase(File(), copy);
    const auto compacted = dao::Engine::Instance().OpenDatabase(copy, false, {}, kServerRights);
    EXPECT_FALSE(HasRow(*compacted->OpenRecordset(u"SELECT * FROM train")));
    database_->Execute(u"DROP TABLE kept");
    EXPECT_FALSE(database_->HasTable(u"kept"));
}

TEST_F(LinkTest, IsRefreshedWhenTheServersTableHasChanged) {
    setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
    MakeTable("train", "id serial PRIMARY KEY, a integer");
    server_->Psql(
        "ALTER TABLE train ADD b integer DEFAULT 7; ALTER TABLE train DROP a; INSERT INTO train DEFAULT VALUES");
    EXPECT_NE(ErrorOf([&] { database_->OpenRecordset(u"train"); }), 0);
    server_->Psql("ALTER TABLE train RENAME TO gone");
    const AutomationError error = RaisedBy([&] { database_->OpenRecordset(u"train"); });
    EXPECT_EQ(error.Number(), N(Number::NoSuchTable));
    EXPECT_NE(std::string(error.what()).find("“public.train”"), std::string::npos) << error.what();
    server_->Psql("ALTER TABLE gone RENAME TO train");
    database_->RefreshLink(u"train");
    EXPECT_EQ(Column(u"SELECT b FROM train", u"b"), u"7");
    EXPECT_EQ(Stored(u"train").foreign_name, u"public.train");
}

TEST_F(LinkTest, ALoginGivenWithTheDatabaseReachesItsLinks) {
    unsetenv("QMTRAININFO_PASSWORD");
    MakeTable("train", "id serial PRIMARY KEY, a integer");
    const auto engine = std::make_shared<dao::EngineObject>();
    dao::Engine::OwnUse use = dao::Engine::Instance().GetOwnUse();
    use.links.servers = false;
    dao::Engine::Instance().SetOwnUse(use);
    struct Case {
        const char16_t* connect;
        std::int32_t error;
    };
    const Case cases[] = {
        {u"", N(Number::OperationNotSupported)},
        {u"ODBC;SERVER=elsewhere;UID=exam;PWD={secret;{}}}", N(Number::OperationNotSupported)},
        {u"ODBC;UID=exam;PWD=wrong", N(Number::OdbcConnectionFailed)},
        {u"ODBC;UID=exam;PWD={secret;{}}}", 0},
        {u"ODBC;SERVER=127.0.0.1;PWD={secret;{}}}", 0},
        {u"", 0},  // as the one before
    };
    for (const Case& c : cases) {
        const auto database = engine->OpenDatabase(File(), false, false, c.connect);
        const auto read = [&] { (void)database->OpenRecordset(u"train", dao::RecordsetType::Default, 0); };
        EXPECT_EQ(ErrorOf(read), c.error) << ToUtf8(c.connect);
        database->Close();
    }
}

TEST_F(LinkTest, LeadsElsewhereWhenItIsRefreshed) {
    setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
    MakeTable("train", "id serial PRIMARY KEY, a integer");
    const std::u16string other = server_->NewDatabase();
    server_->Psql(
        "CREATE TABLE train (n integer PRIMARY KEY, b text); INSERT INTO train VALUES (3, 'x');"
        "ALTER TABLE train OWNER TO exam");
    dao::TableObject link(database_, database_->TableDefs().back(), true);
    link.Connect(other);
    link.RefreshLink();
    EXPECT_EQ(Column(u"SELECT n & b AS both FROM train", u"both"), u"3x");
    EXPECT_EQ(Stored(u"train").connect.find(u"secret"), std::u16string::npos);
    link.Connect(server_->Connect(u"exam", u"wrong"));
    EXPECT_EQ(ErrorOf([&] { link.RefreshLink(); }), N(Number::OdbcConnectionFailed));
    EXPECT_EQ(Column(u"SELECT b FROM train", u"b"), u"x") << "it is as it was";
}

TEST_F(LinkTest, HostsThatGrantNoServersGetNone) {
    setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
    MakeTrainings();
    const auto strict = dao::Engine::Instance().OpenDatabase(File(), false, {}, {.write = true, .network = true});
    EXPECT_TRUE(strict->HasTable(u"train"));
    EXPECT_EQ(ErrorOf([&] { strict->OpenRecordset(u"train"); }), N(Number::OperationNotSupported));
    EXPECT_EQ(ErrorOf([&] { strict->Execute(u"DELETE FROM train"); }), N(Number::OperationNotSupported));
}

class RowsTest : public OdbcTest {
protected:
    void SetUp() override {
        setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
        OdbcTest::SetUp();
        if (!IsSkipped()) MakeTrainings();
    }
};

TEST_F(RowsTest, ValuesComeBackAsTheyWere) {
    MakeTable("kinds",
              "k integer PRIMARY KEY, yes boolean, small smallint, whole integer, single real, number double precision,"
              " money numeric(19,4), moment timestamp, day date, short varchar(255), long varchar(300), memo text,"
              " bytes bytea, id uuid, big bigint");
    std::u16string text = u"它's \"好\"\\ ?{}%\r\n\t" + std::u16string(100000, u'文') + u"\xD83D\xDE00";
    const Bytes bytes = {0, 1, 39, 92, 255};
    struct Case {
        const char16_t* field;
        Value value;
    };
    const Case cases[] = {
        {u"yes", true},
        {u"small", std::int16_t{-32768}},
        {u"whole", std::int32_t{2147483647}},
        {u"single", 0.1F},
        {u"number", 1.0 / 3},
        {u"moment", FromCivil({100, 1, 2, 3, 4, 5})},
        {u"moment", FromCivil({9999, 12, 31, 23, 59, 59})},
        {u"day", FromCivil({1899, 12, 30, 0, 0, 0})},
        {u"short", u"' \\"},
        {u"short", u""},
        {u"long", std::u16string(300, u'x')},
        {u"memo", text},
        {u"bytes", bytes},
        {u"id", u"{00112233-4455-6677-8899-AABBCCDDEEFF}"},
        {u"yes", Null{}},
        {u"moment", Null{}},
        {u"memo", Null{}},
        {u"bytes", Null{}},
    };
    database_->Execute(u"INSERT INTO kinds (k) VALUES (1)");
    const auto rows = database_->OpenRecordset(u"SELECT * FROM kinds");
    for (const Case& c : cases) {
        SCOPED_TRACE(ToUtf8(c.field));
        rows->Edit();
        rows->Fields(c.field).Value(c.value);
        rows->Update();
        EXPECT_EQ(rows->Fields(c.field).Value(), c.value);
        EXPECT_EQ(database_->OpenRecordset(u"SELECT * FROM kinds")->Fields(c.field).Value(), c.value);
    }
    server_->Psql("UPDATE kinds SET money = 922337203685477.5807, big = -9223372036854775808");
    EXPECT_EQ(Column(u"kinds", u"money"), u"922337203685477.5807");
    EXPECT_EQ(Column(u"kinds", u"big"), u"-9223372036854775808");
}

TEST_F(RowsTest, AreAddedChangedAndDeleted) {
    const auto rows = database_->OpenRecordset(u"SELECT * FROM train WHERE userid = 1 ORDER BY id DESC");
    ASSERT_TRUE(rows->Updatable());
    rows->AddNew();
    rows->Fields(u"userid").Value(std::int32_t{1});
    rows->Fields(u"remark").Value(u"新");
    rows->Update();
    EXPECT_EQ(rows->Fields(u"id").Value(), Value(std::int32_t{5})) << "the row from before stays current";
    rows->Bookmark(rows->LastModified());
    EXPECT_EQ(rows->Fields(u"id").Value(), Value(std::int32_t{6})) << "the number that the server gave";
    EXPECT_EQ(rows->Fields(u"shared").Value(), Value(false)) << "its own default";
    rows->Edit();
    rows->Fields(u"remark").Value(u"改");
    rows->Update();
    EXPECT_EQ(rows->Fields(u"remark").Value(), Value(u"改"));
    rows->MoveFirst();
    rows->Delete();
    EXPECT_EQ(ErrorOf([&] { rows->Fields(u"id").Value(); }), N(Number::RecordDeleted));
    rows->MoveNext();
    EXPECT_EQ(rows->Fields(u"id").Value(), Value(std::int32_t{6})) << "the new one stands after those seen before it";
    rows->MoveNext();
    EXPECT_EQ(rows->Fields(u"id").Value(), Value(std::int32_t{3}));
    EXPECT_EQ(server_->Psql("SELECT id, remark FROM train WHERE userid = 1 ORDER BY id"), "1|备注1\n3|备注3\n6|改");
    rows->FindFirst(u"id = 1");
    EXPECT_FALSE(rows->NoMatch());
    EXPECT_EQ(rows->Fields(u"remark").Value(), Value(u"备注1"));
}

// A row goes on with its new key, and whoever has its old one is another row.
TEST_F(RowsTest, WhoseKeysHaveChangedAreToldFromOthers) {
    MakeTable("keyed", "id integer PRIMARY KEY, t varchar(9)");
    dao::Engine& engine = dao::Engine::Instance();
    const auto at = [&](int id) {
        return database_->OpenRecordset(u"SELECT * FROM keyed WHERE id = " + ToText(std::int64_t{id}));
    };
    const auto move = [&](int from, int to) {
        const auto row = at(from);
        row->Edit();
        row->Fields(u"id").Value(std::int32_t{to});
        row->Update();
        EXPECT_EQ(row->Fields(u"id").Value(), Value(std::int32_t{to}));
        row->Edit();
        row->Fields(u"t").Value(u"same");
        row->Update();
    };
    const auto insert = [&](int id) { server_->Psql("INSERT INTO keyed VALUES (" + std::to_string(id) + ", 'same')"); };
    struct Case {
        const char* name;
        std::function<void()> change;
        const char* others;  // than row 1
    };
    const Case cases[] = {
        {"its old key given to another",
         [&] {
             move(1, 2);
             insert(1);
         },
         "2 5"},
        {"changed and undone",
         [&] {
             engine.BeginTrans();
             move(1, 3);
             engine.Rollback();
             insert(3);
         },
         "3 5"},
        {"the inner change undone",
         [&] {
             engine.BeginTrans();
             move(1, 2);
             engine.BeginTrans();
             move(2, 3);
             move(5, 2);
             engine.Rollback();
             move(2, 1);
             engine.CommitTrans();
             insert(2);
         },
         "2 5"},
        {"the inner change undone with the outer one",
         [&] {
             engine.BeginTrans();
             engine.BeginTrans();
             move(1, 3);
             engine.CommitTrans();
             engine.Rollback();
             insert(3);
         },
         "3 5"},
        {"exchanged",
         [&] {
             move(1, 9);
             move(5, 1);
             move(9, 5);
         },
         "5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server_->Psql("TRUNCATE keyed");
        insert(1);
        insert(5);
        const std::int32_t error = ErrorOf(c.change);
        while (error != 0 && ErrorOf([&] { engine.Rollback(); }) == 0) {
        }
        ASSERT_EQ(error, 0);
        const auto row = at(1);
        row->Edit();
        row->Fields(u"t").Value(u"edited");
        EXPECT_EQ(ErrorOf([&] { row->Update(); }), 0);
        EXPECT_EQ(server_->Psql("SELECT id FROM keyed WHERE t = 'edited'"), "1");
        EXPECT_EQ(ErrorOf([&] { at(1)->Delete(); }), 0);
        EXPECT_EQ(server_->Psql("SELECT string_agg(id::text, ' ' ORDER BY id) FROM keyed"), c.others);
    }
    // Who still shows a row that is gone does not get hold of the one that has its key now.
    server_->Psql("TRUNCATE keyed");
    insert(1);
    insert(2);
    const auto gone = at(2);
    server_->Psql("DELETE FROM keyed WHERE id = 2");
    move(1, 2);
    EXPECT_EQ(ErrorOf([&] { gone->Delete(); }), N(Number::RecordDeleted));
    EXPECT_EQ(server_->Psql("SELECT id FROM keyed"), "2");
}

TEST_F(RowsTest, AreNotOverwrittenWhenAnotherUserWasFirst) {
    const auto rows = database_->OpenRecordset(u"SELECT * FROM train WHERE id = 1");
    const auto change = [&] {
        rows->Fields(u"remark").Value(u"我");
        rows->Update();
    };
    rows->Edit();
    server_->Psql("UPDATE train SET score = 9 WHERE id = 1");
    EXPECT_EQ(ErrorOf(change), N(Number::RecordChanged));
    EXPECT_EQ(server_->Psql("SELECT remark FROM train WHERE id = 1"), "备注1");
    rows->Edit();
    change();
    EXPECT_EQ(server_->Psql("SELECT remark, score FROM train WHERE id = 1"), "我|9");
    rows->Edit();
    server_->Psql("DELETE FROM train WHERE id = 1");
    EXPECT_EQ(ErrorOf(change), N(Number::RecordDeleted));
}

TEST_F(RowsTest, OfAWholeTableComeInPages) {
    MakeTable("pairs", "a varchar(5), b integer, c text, PRIMARY KEY (a, b)");
    server_->Psql("INSERT INTO pairs SELECT 'k' || n % 7, n, 'x' FROM generate_series(1, 3000) n");
    const auto rows = database_->OpenRecordset(u"pairs");
    std::set<std::int32_t> seen;
    int count = 0;
    for (; !rows->Eof(); rows->MoveNext(), ++count) seen.insert(ToLong(rows->Fields(u"b").Value()));
    EXPECT_EQ(count, 3000);
    EXPECT_EQ(seen.size(), 3000U);
    // Many columns of fixed sizes, which come in blocks, are those of single rows.
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM (SELECT a, b, a & b AS t FROM pairs WHERE b <= 500) AS p", u"N"),
              u"500");
    const auto some = database_->OpenRecordset(u"SELECT a, b FROM pairs WHERE b <= 500 ORDER BY b DESC");
    for (int b = 500; b > 0; --b, some->MoveNext()) {
        ASSERT_EQ(some->Fields(u"a").Value(), Value(u"k" + ToText(std::int64_t{b % 7})));
        ASSERT_EQ(some->Fields(u"b").Value(), Value(std::int32_t{b}));
    }
    EXPECT_TRUE(some->Eof());
}

TEST_F(RowsTest, StatementsChangeAllOrNothing) {
    database_->Execute(u"UPDATE train SET score = score + 1 WHERE userid = 1");
    EXPECT_EQ(database_->RecordsAffected(), 3);
    EXPECT_EQ(Column(u"SELECT score FROM train ORDER BY id", u"score"), u"2.1 2.1 4.1 4.1 6.1");
    // The server has no words for this one, so rows are changed one by one: the third does not take it.
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"UPDATE train SET remark = String(id * 5, 'x')"); }),
              N(Number::FieldTooLarge));
    EXPECT_EQ(Column(u"SELECT remark FROM train ORDER BY id", u"remark"), u"备注1 备注2 备注3 备注4 备注5");
    database_->Execute(u"UPDATE train SET remark = String(id, 'x')");
    EXPECT_EQ(Column(u"SELECT remark FROM train ORDER BY id", u"remark"), u"x xx xxx xxxx xxxxx");
    database_->Execute(u"DELETE FROM train WHERE id > 3");
    EXPECT_EQ(database_->RecordsAffected(), 2);
    // Many rows, from here to there.
    database_->Execute(u"CREATE TABLE here (n LONG)");
    for (int i = 0; i < 3; ++i) database_->Execute(u"INSERT INTO here VALUES (" + ToText(std::int64_t{i}) + u")");
    database_->Execute(u"INSERT INTO train (userid, remark) SELECT a.n + 100, 'neu' FROM here a, here b, here c");
    EXPECT_EQ(database_->RecordsAffected(), 27);
    EXPECT_EQ(server_->Psql("SELECT count(*), sum(userid) FROM train WHERE remark = 'neu'"), "27|2727");
    database_->Execute(u"SELECT * INTO copy FROM train WHERE id <= 3");
    EXPECT_EQ(Column(u"SELECT remark FROM copy ORDER BY id", u"remark"), u"x xx xxx");
}

TEST_F(RowsTest, JoinTransactionsOfTheSession) {
    database_->Execute(u"CREATE TABLE here (n LONG)");
    dao::Engine& engine = dao::Engine::Instance();
    const auto both = [&](std::u16string_view n) {
        database_->Execute(u"INSERT INTO here VALUES (" + std::u16string(n) + u")");
        database_->Execute(u"INSERT INTO train (userid) VALUES (" + std::u16string(n) + u")");
    };
    const auto numbers = [&] {
        return Column(u"SELECT n FROM here ORDER BY n", u"n") + u"/" +
               Column(u"SELECT userid FROM train WHERE userid > 9 ORDER BY userid", u"userid");
    };
    engine.BeginTrans();
    both(u"10");
    engine.BeginTrans();
    both(u"11");
    EXPECT_EQ(numbers(), u"10 11/10 11");
    engine.Rollback();
    EXPECT_EQ(numbers(), u"10/10");
    engine.BeginTrans();
    both(u"12");
    engine.CommitTrans();
    EXPECT_EQ(server_->Psql("SELECT count(*) FROM train WHERE userid > 9"), "0") << "nobody else sees it yet";
    engine.CommitTrans();
    EXPECT_EQ(numbers(), u"10 12/10 12");
    engine.BeginTrans();
    both(u"13");
    engine.Rollback();
    EXPECT_EQ(numbers(), u"10 12/10 12");
    // A statement that fails leaves the transaction as it was.
    engine.BeginTrans();
    both(u"14");
    EXPECT_NE(ErrorOf([&] { database_->Execute(u"INSERT INTO train (id, userid) VALUES (1, 15)"); }), 0);
    engine.CommitTrans();
    EXPECT_EQ(numbers(), u"10 12 14/10 12 14");
}

// What the server cannot commit must not stand in the file either.
TEST_F(RowsTest, ACommitThatTheServerRefusesIsUndoneHere) {
    server_->Psql("ALTER TABLE train ADD CONSTRAINT one UNIQUE (remark) DEFERRABLE INITIALLY DEFERRED");
    database_->Execute(u"CREATE TABLE here (n LONG)");
    dao::Engine& engine = dao::Engine::Instance();
    engine.BeginTrans();
    database_->Execute(u"INSERT INTO here VALUES (1)");
    database_->Execute(u"INSERT INTO train (userid, remark) VALUES (1, '备注1')");
    EXPECT_EQ(ErrorOf([&] { engine.CommitTrans(); }), N(Number::DuplicateKey));
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM here", u"N"), u"0");
    EXPECT_EQ(Column(u"SELECT Count(*) AS N FROM train", u"N"), u"5");
}

// As AddNewTrain does it: the highest number is one's own.
TEST_F(RowsTest, ManyGetNumbersOfTheirOwnAtOnce) {
    constexpr int kEach = 20;
    const auto add = [&](int user) {
        const auto own = Open();
        for (int i = 0; i < kEach; ++i) {
            std::int32_t number = -1;
            own->Atomically([&] {
                own->Execute(u"Insert Into train (userid,remark) Values(" + ToText(std::int64_t{user}) + u",'" +
                             ToText(std::int64_t{i}) + u"')");
                number =
                    ToLong(own->OpenRecordset(u"Select Top 1 * From train Order by id Desc")->Fields(u"id").Value());
            });
            const auto row = own->OpenRecordset(u"Select * From train Where id=" + ToText(number));
            if (row->Fields(u"userid").Value() != Value(std::int32_t{user}) ||
                row->Fields(u"remark").Value() != Value(ToText(std::int64_t{i}))) {
                return 1;
            }
        }
        return 0;
    };
    // And the same count raised by all of them: none is lost.
    const auto count = [&](int) {
        const auto own = Open();
        for (int i = 0; i < kEach; ++i) {
            const auto row = own->OpenRecordset(u"Select * From train Where id=1");
            own->Atomically([&] {
                row->Edit();
                row->Fields(u"score").Value(ToSingle(row->Fields(u"score").Value()) + 1);
                row->Update();
            });
        }
        return 0;
    };
    server_->Psql("UPDATE train SET score = 0 WHERE id = 1");
    database_->Close();
    EXPECT_EQ(AtOnce({[&] { return add(101); }, [&] { return add(102); }, [&] { return add(103); },
                      [&] { return count(1); }, [&] { return count(2); }}),
              (std::vector<int>{0, 0, 0, 0, 0}));
    EXPECT_EQ(server_->Psql("SELECT count(*) FROM train WHERE userid > 100"), "60");
    EXPECT_EQ(server_->Psql("SELECT score FROM train WHERE id = 1"), "40");
    database_ = Open();
}

TEST_F(RowsTest, NoFileLockIsTakenForAServersRows) {
    const auto other = dao::JetDatabase::Open(File());  // of a session of its own
    const jet::Database::Writing writing(other->Storage());
    database_->Execute(u"UPDATE train SET score = 7 WHERE id = 1");
    const auto rows = database_->OpenRecordset(u"SELECT * FROM train WHERE id = 2");
    rows->Edit();
    rows->Fields(u"score").Value(8.0F);
    rows->Update();
    database_->Atomically([&] { database_->Execute(u"UPDATE train SET score = 9 WHERE id = 3"); });
    rows->AddNew();
    EXPECT_TRUE(rows->Fields(u"id").Value().IsNull()) << "the server has not numbered it yet";
    rows->Fields(u"userid").Value(std::int32_t{1});
    rows->Update();
    EXPECT_EQ(server_->Psql("SELECT score FROM train WHERE id < 4 ORDER BY id"), "7\n8\n9");
}

TEST_F(RowsTest, ATableWithoutAKeyIsReadOnly) {
    MakeTable("loose", "a integer");
    server_->Psql("INSERT INTO loose VALUES (1), (2)");
    const auto rows = database_->OpenRecordset(u"SELECT * FROM loose ORDER BY a");
    EXPECT_FALSE(rows->Updatable());
    EXPECT_EQ(ErrorOf([&] { rows->AddNew(); }), N(Number::ReadOnly));
    for (const char16_t* sql : {u"DELETE FROM loose", u"UPDATE loose SET a = 3", u"INSERT INTO loose VALUES (3)"}) {
        EXPECT_EQ(ErrorOf([&] { database_->Execute(sql); }), N(Number::ReadOnly)) << ToUtf8(sql);
    }
    EXPECT_EQ(Column(u"SELECT a FROM loose ORDER BY a", u"a"), u"1 2");
}

// A key that has gone since the link was made: rows that share it are not taken for each other, nor left out where a
// page ends between them. Whoever meets that is told, and reads them all the next time.
TEST_F(RowsTest, RowsThatShareALostKeyAreAllRead) {
    const int most = 3000;
    for (const int of_each : {1, 3, 300, most}) {
        SCOPED_TRACE(of_each);
        for (const int count : {30, most}) {
            for (const auto type : {dao::RecordsetType::Dynaset, dao::RecordsetType::Snapshot}) {
                MakeTable("lost", "id integer PRIMARY KEY, a integer");
                server_->Psql("ALTER TABLE lost DROP CONSTRAINT lost_pkey; INSERT INTO lost SELECT n / " +
                              std::to_string(of_each) + ", n FROM generate_series(1, " + std::to_string(count) + ") n");
                const auto read = [&] {
                    const auto rows = database_->OpenRecordset(u"SELECT * FROM lost", type);
                    std::multiset<std::int32_t> seen;
                    for (; !rows->Eof(); rows->MoveNext()) seen.insert(ToLong(rows->Fields(u"a").Value()));
                    for (rows->MoveFirst(); !rows->Eof(); rows->MoveNext())
                        EXPECT_EQ(seen.count(ToLong(rows->Fields(u"a").Value())), 1U);
                    EXPECT_EQ(static_cast<int>(seen.size()), count);
                };
                const int error = ErrorOf(read);
                EXPECT_TRUE(error == 0 || error == N(Number::ReadOnly)) << error;
                EXPECT_EQ(ErrorOf(read), 0);
                database_->DropTable(u"lost");
                server_->Psql("DROP TABLE lost");
            }
        }
    }
}

// A key that has gone since the link was made: no statement may change rows that nobody has seen.
TEST_F(RowsTest, AKeyThatIsNoLongerOneChangesNothing) {
    for (const bool in_transaction : {false, true}) {
        SCOPED_TRACE(in_transaction);
        MakeTable("lost", "id integer PRIMARY KEY, a integer");
        server_->Psql("INSERT INTO lost VALUES (1, 1), (2, 2)");
        const auto rows = database_->OpenRecordset(u"SELECT * FROM lost ORDER BY id");
        server_->Psql("ALTER TABLE lost DROP CONSTRAINT lost_pkey; INSERT INTO lost VALUES (1, 1), (1, 1), (1, 5)");
        const auto change = [&] {
            rows->Edit();
            rows->Fields(u"a").Value(std::int32_t{9});
            rows->Update();
        };
        if (in_transaction) {
            dao::Engine::Instance().BeginTrans();
            database_->Execute(u"INSERT INTO train (userid) VALUES (77)");
        }
        const AutomationError error = RaisedBy(change);
        EXPECT_EQ(error.Number(), N(Number::ReadOnly));
        EXPECT_NE(std::string(error.what()).find("lost"), std::string::npos) << error.what();
        EXPECT_EQ(ErrorOf([&] { rows->Delete(); }), N(Number::ReadOnly));
        if (in_transaction) dao::Engine::Instance().CommitTrans();
        EXPECT_EQ(server_->Psql("SELECT count(*), sum(a) FROM lost"), "5|10");
        database_->DropTable(u"lost");
        server_->Psql("DROP TABLE lost");
    }
    EXPECT_EQ(server_->Psql("SELECT count(*) FROM train WHERE userid = 77"), "1") << "what came before stays";
}

TEST_F(RowsTest, ATimeFinerThanSecondsIsNoKey) {
    struct Case {
        const char* name;
        const char* columns;
        bool updatable;
    };
    const Case cases[] = {
        {"fine", "at timestamp PRIMARY KEY, a integer", false},
        {"fine_too", "at timestamp(3), a integer, PRIMARY KEY (a, at)", false},
        {"coarse", "at timestamp(0) PRIMARY KEY, a integer", true},
        {"daily", "at date PRIMARY KEY, a integer", true},
        {"other", "at timestamp PRIMARY KEY, a integer NOT NULL UNIQUE", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MakeTable(c.name, c.columns);
        server_->Psql("INSERT INTO " + std::string(c.name) +
                      " SELECT timestamp '2005-04-12 08:00:00' + n * interval '33 hours 0.6 second', n FROM "
                      "generate_series(1, 600) "
                      "n");
        const std::u16string name = FromUtf8(c.name);
        const auto rows = database_->OpenRecordset(name);
        std::set<std::int32_t> seen;
        int count = 0;
        for (; !rows->Eof(); rows->MoveNext(), ++count) seen.insert(ToLong(rows->Fields(u"a").Value()));
        EXPECT_EQ(count, 600);
        EXPECT_EQ(seen.size(), 600U);
        EXPECT_EQ(rows->Updatable(), c.updatable);
        EXPECT_EQ(ErrorOf([&] { rows->AddNew(); }), c.updatable ? 0 : N(Number::ReadOnly));
    }
}

TEST_F(RowsTest, WhatTheServerRefusesIsSaidInChinese) {
    server_->Psql(
        "CREATE TABLE child (id serial PRIMARY KEY, train integer REFERENCES train, n smallint NOT NULL);"
        "ALTER TABLE child OWNER TO exam; CREATE TABLE closed (id integer PRIMARY KEY); GRANT SELECT ON closed TO exam;"
        "INSERT INTO closed VALUES (1); CREATE VIEW slow AS SELECT 1 AS id, pg_sleep(30)::text AS s;"
        "GRANT SELECT ON slow TO exam; INSERT INTO child (train, n) VALUES (1, 1)");
    for (const char16_t* name : {u"child", u"closed", u"slow"}) database_->CreateTableDef(name, connect_, name);
    database_->Limits({std::chrono::seconds(1), 0});
    struct Case {
        const char16_t* sql;
        Number error;
    };
    const Case cases[] = {
        {u"INSERT INTO train (id, userid) VALUES (1, 1)", Number::DuplicateKey},
        {u"INSERT INTO train (remark) VALUES ('x')", Number::FieldRequired},
        {u"INSERT INTO child (train, n) VALUES (99, 1)", Number::RelatedRecordRequired},
        {u"DELETE FROM train WHERE id = 1", Number::RelatedRecordsExist},
        {u"UPDATE train SET remark = remark & '一二三四五六七八九十'", Number::FieldTooLarge},
        {u"UPDATE child SET n = n * 40000", Number::Overflow},
        {u"UPDATE train SET score = score / (id - 1)", Number::DivisionByZero},
        {u"UPDATE train SET userid = CLng(remark & 'x')", Number::TypeMismatch},
        {u"DELETE FROM closed", Number::ReadOnly},
        {u"INSERT INTO closed VALUES (2)", Number::ReadOnly},
        {u"UPDATE train SET nothing = 1", Number::MissingParameter},
        {u"DELETE FROM train WHERE nothing = 1", Number::MissingParameter},
        {u"UPDATE train SET remark = 'a' WHERE id = 'x'", Number::CriteriaTypeMismatch},
    };
    for (const Case& c : cases) {
        const AutomationError error = RaisedBy([&] { database_->Execute(c.sql); });
        EXPECT_EQ(error.Number(), N(c.error)) << ToUtf8(c.sql) << ": " << error.what();
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ErrorOf([&] { Column(u"SELECT * FROM slow", u"s"); }), N(Number::OperationCancelled));
    database_->Limits({});
    database_->Limits({});
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        database_->Cancel();
    });
    EXPECT_EQ(ErrorOf([&] { Column(u"SELECT * FROM slow", u"s"); }), N(Number::OperationCancelled));
    canceller.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_EQ(server_->Psql("SELECT count(*), sum(id) FROM train"), "5|15") << "nothing half done";
}

// Takes calls and never says anything; or lets everybody in and says nothing then.
class SilentServer {
public:
    explicit SilentServer(bool lets_in) : listening_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(listening_, reinterpret_cast<sockaddr*>(&address), size);
        listen(listening_, 1);
        getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
        if (lets_in) doorman_ = std::thread([this] { LetIn(); });
    }
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;
    ~SilentServer() {
        shutdown(listening_, SHUT_RDWR);
        if (doorman_.joinable()) doorman_.join();
        close(listening_);
    }

    int Port() const { return port_; }

private:
    void LetIn() {
        constexpr std::string_view kWelcome("R\0\0\0\10\0\0\0\0Z\0\0\0\5I", 15);
        std::vector<int> guests;
        for (int guest = 0; (guest = accept(listening_, nullptr, nullptr)) >= 0;) {
            guests.push_back(guest);
            char message[1024];
            const ssize_t size = recv(guest, message, sizeof message, 0);
            const bool asks_for_encryption = size == 8;
            if (asks_for_encryption) {
                send(guest, "N", 1, MSG_NOSIGNAL);
                recv(guest, message, sizeof message, 0);
            }
            send(guest, kWelcome.data(), kWelcome.size(), MSG_NOSIGNAL);
        }
        for (const int guest : guests) close(guest);
    }

    int listening_;
    int port_ = 0;
    std::thread doorman_;
};

TEST_F(RowsTest, ServersThatCannotBeReachedAreNamedWithoutThePassword) {
    const SilentServer silent(false);
    const SilentServer silent_inside(true);
    const std::u16string port = u"PORT=" + ToText(std::int64_t{server_->Port()});
    const auto with = [&](std::u16string_view what, std::u16string_view instead) {
        std::u16string connect = connect_;
        return connect.replace(connect.find(what), what.size(), instead);
    };
    struct Case {
        const char* name;
        std::u16string connect;
        std::u16string source;
        Number error;
        const char* says;
    };
    const Case cases[] = {
        {"no driver", with(u"{PostgreSQL Unicode}", u"{No Such}"), u"train", Number::OdbcConnectionFailed, "No Such"},
        {"nobody there", with(port, u"PORT=1"), u"train", Number::OdbcConnectionFailed, "127.0.0.1"},
        {"silent", with(port, u"PORT=" + ToText(std::int64_t{silent.Port()})), u"train", Number::OdbcConnectionFailed,
         "127.0.0.1"},
        {"silent inside", with(port, u"PORT=" + ToText(std::int64_t{silent_inside.Port()})), u"train",
         Number::OdbcConnectionFailed, "127.0.0.1"},
        {"wrong password", server_->Connect(u"exam", u"hidden words"), u"train", Number::OdbcConnectionFailed, "exam"},
        {"no such database", with(u"DATABASE=db", u"DATABASE=no"), u"train", Number::OdbcConnectionFailed, "no"},
        {"no such table", connect_, u"public.nothing", Number::NoSuchTable, "public.nothing"},
        {"no data source", u"ODBC;DSN=nowhere;PWD=hidden words", u"train", Number::OdbcConnectionFailed, "nowhere"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto begin = std::chrono::steady_clock::now();
        const AutomationError error = RaisedBy([&] { database_->CreateTableDef(u"new", c.connect, c.source); });
        EXPECT_EQ(error.Number(), N(c.error)) << error.what();
        EXPECT_NE(std::string(error.what()).find(c.says), std::string::npos) << error.what();
        EXPECT_EQ(std::string(error.what()).find("hidden"), std::string::npos) << error.what();
        EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos) << error.what();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));
        EXPECT_FALSE(database_->HasTable(u"new"));
    }
}

// The driver joins half of a character with the quote after it, so that the next value is read as a statement.
TEST_F(RowsTest, HalfCharactersAreRefused) {
    const std::u16string half = std::u16string(u"n") + char16_t{0xD800};
    const std::u16string harm = u", null); DELETE FROM train; --";
    dao::Engine::Instance().BeginTrans();
    database_->Execute(u"INSERT INTO train (id, userid) VALUES (10, 1)");
    const auto add = [&](const std::u16string& remark) {
        const auto rows = database_->OpenRecordset(u"train");
        rows->AddNew();
        rows->Fields(u"userid").Value(std::int32_t{1});
        rows->Fields(u"remark").Value(remark);
        rows->Fields(u"content").Value(harm);
        rows->Update();
    };
    EXPECT_EQ(ErrorOf([&] { add(half); }), N(Number::OdbcInsertFailed));
    EXPECT_EQ(ErrorOf([&] { add(char16_t{0xDC00} + half); }), N(Number::OdbcInsertFailed));
    EXPECT_EQ(ErrorOf([&] { database_->OpenRecordset(u"SELECT * FROM train WHERE remark = '" + half + u"'"); }),
              N(Number::OdbcCallFailed));
    EXPECT_EQ(ErrorOf([&] { database_->CreateTableDef(u"new", connect_, u"public." + half); }), N(Number::NoSuchTable));
    add(u"\U0001F600");
    dao::Engine::Instance().CommitTrans();
    EXPECT_EQ(server_->Psql("SELECT count(*) FROM train"), "7");
}

// A limit counts, too, where nobody is there to keep it.
TEST_F(RowsTest, DoNotWaitForAServerThatHangs) {
    std::vector<pid_t> stopped;
    const auto hang = [&] {
        std::istringstream processes(server_->Psql(
            "SELECT pid FROM pg_stat_activity WHERE usename = 'exam' AND backend_type = 'client backend'"));
        for (pid_t process = 0; processes >> process;) {
            stopped.push_back(process);
            kill(process, SIGSTOP);
        }
        ASSERT_FALSE(stopped.empty());
    };
    auto seconds = [begin = std::chrono::steady_clock::now()]() mutable {
        const auto from = std::exchange(begin, std::chrono::steady_clock::now());
        return std::chrono::duration<double>(begin - from).count();
    };
    constexpr double kMost = 9;
    database_->Limits({std::chrono::seconds(1), 0});
    EXPECT_EQ(Column(u"SELECT score FROM train WHERE id = 1", u"score"), u"1.1");
    hang();
    EXPECT_EQ(Column(u"SELECT score FROM train WHERE id = 1", u"score"), u"1.1") << "it is asked again by itself";
    EXPECT_LT(seconds(), kMost);
    hang();
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"UPDATE train SET score = 7 WHERE id = 5"); }),
              N(Number::OdbcConnectionFailed));
    EXPECT_LT(seconds(), kMost);
    EXPECT_EQ(Column(u"SELECT Count(*) AS n FROM train", u"n"), u"5") << "there are other connections";
    dao::Engine::Instance().BeginTrans();
    database_->Execute(u"UPDATE train SET score = 8 WHERE id = 1");
    hang();
    EXPECT_EQ(ErrorOf([] { dao::Engine::Instance().CommitTrans(); }), N(Number::OdbcConnectionFailed));
    EXPECT_LT(seconds(), kMost);
    EXPECT_EQ(Column(u"SELECT Count(*) AS n FROM train", u"n"), u"5");
    // All of the server, so that nobody takes a call to end the statement either.
    pid_t whole = 0;
    std::ifstream(server_->Psql("SHOW data_directory") + "/postmaster.pid") >> whole;
    ASSERT_GT(whole, 0);
    hang();
    kill(whole, SIGSTOP);
    stopped.push_back(whole);
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        database_->Cancel();
    });
    seconds();
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"UPDATE train SET score = 9 WHERE id = 5"); }),
              N(Number::OperationCancelled));
    canceller.join();
    EXPECT_LT(seconds(), kMost);
    for (const pid_t process : stopped) kill(process, SIGCONT);
    EXPECT_EQ(Column(u"SELECT Count(*) AS n FROM train", u"n"), u"5");
}

// A link may ask the driver to fetch rows later, by statements of its own that nobody could find.
TEST_F(RowsTest, CancelFindsRowsThatTheDriverWasToFetch) {
    server_->Psql(
        "CREATE FUNCTION nap(n integer) RETURNS integer LANGUAGE plpgsql AS $$ BEGIN IF n = 300 THEN PERFORM "
        "pg_sleep(20); END IF; RETURN n; END $$;"
        "CREATE VIEW late AS SELECT nap(g) AS id FROM generate_series(1, 5000) AS g; GRANT SELECT ON late TO exam");
    const auto connection =
        odbc::Connection::Open(odbc::ConnectString(server_->Connect() + u";UseDeclareFetch=1;Fetch=100"));
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        connection->Cancel();
    });
    const auto begin = std::chrono::steady_clock::now();
    const auto read_all = [&] {
        const auto rows = connection->Query(u"SELECT id FROM late");
        while (rows->Next()) {
        }
    };
    EXPECT_EQ(ErrorOf(read_all), N(Number::OperationCancelled));
    canceller.join();
    EXPECT_TRUE(connection->IsAlive());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4)) << "given up instead";
}

TEST_F(RowsTest, GoOnWhenTheServerIsBack) {
    const auto rows = database_->OpenRecordset(u"SELECT * FROM train ORDER BY id");
    dao::Engine::Instance().BeginTrans();
    database_->Execute(u"UPDATE train SET score = 0");
    server_->Stop();
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"UPDATE train SET score = 1"); }), N(Number::OdbcConnectionFailed));
    EXPECT_EQ(ErrorOf([&] { database_->OpenRecordset(u"train"); }), N(Number::OdbcConnectionFailed));
    EXPECT_EQ(ErrorOf([] { dao::Engine::Instance().CommitTrans(); }), N(Number::OdbcConnectionFailed));
    EXPECT_EQ(ErrorOf([&] { database_->OpenRecordset(u"train"); }), N(Number::OdbcConnectionFailed));
    server_->Start();
    EXPECT_EQ(Column(u"SELECT score FROM train ORDER BY id", u"score"), u"1.1 2.1 3.1 4.1 5.1") << "it was undone";
    rows->MoveLast();
    EXPECT_EQ(rows->Fields(u"id").Value(), Value(std::int32_t{5}));
    rows->Close();
    database_->Close();  // its connection waits for the next user
    server_->Stop();
    server_->Start();
    database_ = Open();
    database_->CreateTableDef(u"again", connect_, u"public.train");
    EXPECT_EQ(Column(u"SELECT Count(*) AS n FROM again", u"n"), u"5");
}

}  // namespace
}  // namespace qmtrain::test
