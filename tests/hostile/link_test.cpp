// Links in databases of others: what they lead to, and who goes there.

#include <algorithm>

#include "core/files.h"
#include "dao/fixture.h"
#include "support/other_files.h"

namespace qmtrain::dao {
namespace {

class HostileLinkTest : public DaoTest {
protected:
    HostileLinkTest() {
        JetDatabase::Create(Name(u"Other.mdb"))->Execute(u"CREATE TABLE Mine (K LONG PRIMARY KEY)");
        database_->CreateTableDef(u"Theirs", u";DATABASE=Other.mdb", u"Mine");
    }

    std::int32_t Insert(Database& database, int key) {
        return ErrorOf([&] { database.Execute(u"INSERT INTO Theirs VALUES (" + ToText(key) + u")"); });
    }
};

TEST_F(HostileLinkTest, ListingOpensNothing) {
    test::WrappedFiles files;
    const auto database = JetDatabase::Open(Name(u"Client.mdb"), {.files = &files});
    bool listed = false;
    for (const TableDef& table : database->TableDefs()) listed = listed || (table.name == u"Theirs" && table.linked);
    EXPECT_TRUE(listed);
    const auto opens_other = [&] {
        return std::ranges::any_of(files.opened, [](const auto& path) { return path.filename() == "Other.mdb"; });
    };
    EXPECT_FALSE(opens_other());
    database->OpenRecordset(u"Theirs");
    EXPECT_TRUE(opens_other());
}

// The component's own classes change nothing through links, unless the host says so; a host's own work may.
TEST_F(HostileLinkTest, RightsOfLinks) {
    Engine& engine = Engine::Instance();
    constexpr auto kReadOnly = static_cast<int>(ErrorNumber::ReadOnly);
    {
        const Connection own(Name(u"Client.mdb"));
        EXPECT_EQ(Insert(*own.operator->(), 1), kReadOnly);
        EXPECT_TRUE(own->OpenRecordset(u"Theirs")->Eof());
        own->Execute(u"UPDATE TrainInfo SET Score=1");
    }
    EXPECT_EQ(Insert(*engine.OpenDatabase(Name(u"Client.mdb"), false, {}, {}), 1), kReadOnly);
    EXPECT_EQ(Insert(*engine.OpenDatabase(Name(u"Client.mdb")), 2), 0);
    const Engine::OwnUse before = engine.GetOwnUse();
    EXPECT_GT(before.limits.time.count(), 0);
    EXPECT_GT(before.limits.memory, 0U);
    Engine::OwnUse use = before;
    use.links.write = true;
    engine.SetOwnUse(use);
    EXPECT_EQ(Insert(*Connection(Name(u"Client.mdb")).operator->(), 3), 0);
    engine.SetOwnUse(before);
    EXPECT_EQ(Column(u"SELECT * FROM Theirs ORDER BY K", u"K"), u"2 3");
}

// Opening a file on another machine discloses the user to that machine.
TEST_F(HostileLinkTest, NoOtherMachineIsAsked) {
    test::WrappedFiles files;
    const auto stored = JetDatabase::Open(Name(u"Client.mdb"), {.files = &files});
    const auto rows = stored->OpenRecordset(u"SELECT * FROM MSysObjects WHERE Name='Theirs'");
    ASSERT_FALSE(rows->Eof());
    for (const std::u16string_view path : {u"\\\\host\\share\\x.mdb", u"//host/share/x.mdb", u"\\/host\\share\\x.mdb",
                                           u"\\\\?\\UNC\\host\\share\\x.mdb", u"\\\\.\\pipe\\x"}) {
        SCOPED_TRACE(ToUtf8(path));
        rows->MoveFirst();
        rows->Edit();
        rows->Fields(u"Database").Value(path);
        rows->Update();
        files.opened.clear();
        const auto use = [&](bool network) {
            const auto database =
                JetDatabase::Open(Name(u"Client.mdb"), {.links = {.network = network}, .files = &files});
            return ErrorOf([&] { database->OpenRecordset(u"Theirs"); });
        };
        EXPECT_EQ(use(false), static_cast<int>(ErrorNumber::OperationNotSupported));
        for (const auto& opened : files.opened) EXPECT_EQ(opened.parent_path(), folder_.Path());
        EXPECT_NE(use(true), static_cast<int>(ErrorNumber::OperationNotSupported)) << "then it is looked for";
    }
    EXPECT_EQ(ErrorOf([&] { stored->CreateTableDef(u"L", u";DATABASE=\\\\host\\share\\x.mdb", u"T"); }),
              static_cast<int>(ErrorNumber::OperationNotSupported));
}

}  // namespace
}  // namespace qmtrain::dao
