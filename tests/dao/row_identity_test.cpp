// A deleted row's place may be given to another row: that one must not be seen or changed in its stead.

#include "fixture.h"

namespace qmtrain::dao {
namespace {

class RowIdentityTest : public DaoTest {
protected:
    // A session of its own, as another program has.
    std::shared_ptr<JetDatabase> other_ = JetDatabase::Open(Name(u"Client.mdb"));

    // The next row takes the place of one that is deleted: pages are reused in both tables.
    void ReplaceRow(std::u16string_view table, std::u16string_view what, std::u16string_view row) {
        other_->Execute(u"DELETE FROM " + std::u16string(table) + u" WHERE " + std::u16string(what));
        other_->Execute(u"INSERT INTO " + std::u16string(table) + u" " + std::u16string(row));
    }

    static std::int32_t Use(Recordset& rows, int way) {
        return ErrorOf([&] {
            if (way == 0) rows.Fields(u"N").Value();
            if (way == 1) rows.Edit();
            if (way == 2) rows.Delete();
        });
    }
};

TEST_F(RowIdentityTest, OfRowsWithAKey) {
    database_->Execute(u"CREATE TABLE T (N LONG PRIMARY KEY, S TEXT(20))");
    database_->Execute(u"CREATE TABLE Texts (N TEXT(20), S LONG)");
    database_->Execute(u"CREATE UNIQUE INDEX K ON Texts (N) WITH DISALLOW NULL");
    for (const char16_t* table : {u"T", u"Texts"}) {
        for (const RecordsetType type : {RecordsetType::Dynaset, RecordsetType::Table}) {
            for (int way = 0; way < 3; ++way) {
                database_->Execute(u"DELETE FROM " + std::u16string(table));
                for (const char16_t* n : {u"1", u"2", u"3"})
                    database_->Execute(u"INSERT INTO " + std::u16string(table) + u" VALUES (" + n + u", " + n + u")");
                const auto rows = database_->OpenRecordset(table, type);
                rows->MoveNext();
                EXPECT_EQ(ToLong(rows->Fields(u"N").Value()), 2);
                const Bytes place = rows->Bookmark();
                ReplaceRow(table, u"N = " + std::u16string(table == std::u16string_view(u"T") ? u"2" : u"'2'"),
                           u"VALUES (7, 7)");
                const std::string name = ToUtf8(table) + std::to_string(static_cast<int>(type)) + std::to_string(way);
                const auto deleted = static_cast<int>(ErrorNumber::RecordDeleted);
                if (way == 0) {
                    EXPECT_TRUE(database_->HasTable(table)) << "a look at the file, which shows the other's change";
                    EXPECT_EQ(ErrorOf([&] {
                                  rows->MovePrevious();
                                  rows->Bookmark(place);
                                  rows->Fields(u"N").Value();
                              }),
                              deleted)
                        << name;
                } else {
                    EXPECT_EQ(Use(*rows, way), deleted) << name;
                }
                EXPECT_EQ(Column(u"SELECT N FROM " + std::u16string(table) + u" ORDER BY N", u"N"), u"1 3 7") << name;
            }
        }
    }
}

TEST_F(RowIdentityTest, BetweenEditAndUpdate) {
    database_->Execute(u"CREATE TABLE T (N LONG PRIMARY KEY, S TEXT(20))");
    database_->Execute(u"INSERT INTO T VALUES (1, 'a')");
    const auto rows = database_->OpenRecordset(u"T");
    rows->Edit();
    rows->Fields(u"S").Value(u"mine");
    ReplaceRow(u"T", u"N = 1", u"VALUES (2, 'theirs')");
    EXPECT_EQ(ErrorOf([&] { rows->Update(); }), static_cast<int>(ErrorNumber::RecordDeleted));
    EXPECT_EQ(Column(u"T", u"S"), u"theirs");
}

TEST_F(RowIdentityTest, OfRowsWithoutAKey) {
    database_->Execute(u"CREATE TABLE T (N LONG, S TEXT(20))");
    for (const RecordsetType type : {RecordsetType::Dynaset, RecordsetType::Table}) {
        database_->Execute(u"DELETE FROM T");
        database_->Execute(u"INSERT INTO T VALUES (1, 'a')");
        const auto rows = database_->OpenRecordset(u"T", type);
        EXPECT_EQ(rows->Fields(u"N").Value(), Value(1));
        other_->Execute(u"UPDATE T SET S = 'b'");
        EXPECT_EQ(ErrorOf([&] { rows->Edit(); }), static_cast<int>(ErrorNumber::RecordChanged));
        EXPECT_EQ(rows->Fields(u"S").Value(), Value(u"b"));
        rows->Edit();
        rows->Fields(u"S").Value(u"c");
        rows->Update();
        rows->Edit();
        rows->Fields(u"N").Value(std::int32_t{2});
        rows->Update();
        EXPECT_EQ(rows->Fields(u"S").Value(), Value(u"c")) << "its own changes are no others'";
    }
}

// Nothing but its place tells such a row from another one, and that is not given to the next row, whether its page has
// other rows or was given back.
TEST_F(RowIdentityTest, PlacesOfRowsWithoutAKey) {
    const auto deleted = static_cast<int>(ErrorNumber::RecordDeleted);
    for (const jet::Version version : {jet::Version::Jet3, jet::Version::Jet4}) {
        const std::u16string name = Name(version == jet::Version::Jet3 ? u"Three.mdb" : u"Four.mdb");
        database_ = JetDatabase::Create(name, {.sort_order = jet::kChineseOrder, .version = version});
        database_->Execute(u"CREATE TABLE T (N LONG, S TEXT(20))");
        other_ = JetDatabase::Open(name);
        for (const RecordsetType type : {RecordsetType::Dynaset, RecordsetType::Table}) {
            for (const bool alone : {true, false}) {
                SCOPED_TRACE(ToUtf8(name) + std::to_string(static_cast<int>(type)) + (alone ? " alone" : ""));
                database_->Execute(u"DELETE FROM T");
                if (!alone) database_->Execute(u"INSERT INTO T VALUES (5, 'e')");
                database_->Execute(u"INSERT INTO T VALUES (1, 'a')");
                const auto rows = database_->OpenRecordset(u"T", type);
                if (!alone) rows->MoveNext();
                EXPECT_EQ(rows->Fields(u"N").Value(), Value(1));
                ReplaceRow(u"T", u"N = 1", u"VALUES (9, 'z')");
                for (int way = 1; way < 3; ++way) {
                    for (int attempt = 0; attempt < 2; ++attempt) EXPECT_EQ(Use(*rows, way), deleted) << way;
                }
                EXPECT_EQ(Column(u"SELECT N FROM T ORDER BY N", u"N"), alone ? u"9" : u"5 9");
            }
        }
        const jet::CheckReport report = jet::CheckDatabase(database_->Storage());
        EXPECT_TRUE(report.defects.empty() && report.notes.empty());
    }
}

// A table that is emptied and filled again and again does not grow.
TEST_F(RowIdentityTest, KeptPlacesTakeNoRoomForEver) {
    database_->Execute(u"CREATE TABLE T (N LONG)");
    const auto fill = [&] {
        database_->Atomically([&] {
            database_->Execute(u"DELETE FROM T");
            for (std::int32_t n = 0; n < 1000; ++n) database_->Execute(u"INSERT INTO T VALUES (" + ToText(n) + u")");
        });
        return std::filesystem::file_size(folder_.Path() / "Client.mdb");
    };
    fill();
    fill();
    const std::uintmax_t size = fill();
    std::uintmax_t most = 0;
    for (int i = 0; i < 10; ++i) most = std::max(most, fill());
    EXPECT_LE(most, size + 10 * 4096);
}

TEST_F(RowIdentityTest, OfRowsOfItsOwn) {
    database_->Execute(u"CREATE TABLE T (N LONG PRIMARY KEY)");
    const auto rows = database_->OpenRecordset(u"T");
    const auto add = [&](std::int32_t n) {
        rows->AddNew();
        rows->Fields(u"N").Value(n);
        rows->Update();
    };
    add(1);
    rows->MoveFirst();
    rows->Delete();
    add(2);
    EXPECT_EQ(ErrorOf([&] { rows->Fields(u"N").Value(); }), static_cast<int>(ErrorNumber::RecordDeleted))
        << "the new row in the deleted one's place";
    rows->MoveNext();
    EXPECT_EQ(rows->Fields(u"N").Value(), Value(2));
    rows->MoveNext();
    EXPECT_TRUE(rows->Eof());
    // One that it added, and that another deleted, does not hide the row that took its place.
    database_->Atomically([&] {
        for (std::int32_t n = 3; n <= 1000; ++n) database_->Execute(u"INSERT INTO T VALUES (" + ToText(n) + u")");
    });
    const auto unread = database_->OpenRecordset(u"T");
    unread->AddNew();
    unread->Fields(u"N").Value(std::int32_t{2001});
    unread->Update();
    ReplaceRow(u"T", u"N = 2001", u"VALUES (2002)");
    unread->MoveLast();
    EXPECT_EQ(unread->Fields(u"N").Value(), Value(2002));
}

}  // namespace
}  // namespace qmtrain::dao
