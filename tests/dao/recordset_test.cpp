// Moving, editing and finding, with DAO's errors.

#include "dao/jet_recordset.h"
#include "dao/recordset_table.h"
#include "fixture.h"

namespace qmtrain::dao {
namespace {

using RecordsetTest = DaoTest;

TEST_F(RecordsetTest, Moving) {
    const auto rows = database_->OpenRecordset(u"Select * From TrainInfo Order By TrainID Desc");
    EXPECT_EQ(rows->RecordCount(), 1) << "counts what has been seen";
    EXPECT_EQ(rows->Fields(u"trainid").Value(), Value(5));
    rows->MoveNext();
    EXPECT_EQ(rows->Fields(0).Value(), Value(4));
    rows->MoveLast();
    EXPECT_EQ(rows->RecordCount(), 5);
    EXPECT_EQ(rows->Fields(0).Value(), Value(1));
    const Bytes last = rows->Bookmark();
    rows->Move(-3);
    EXPECT_EQ(rows->Fields(0).Value(), Value(4));
    rows->Bookmark(last);
    rows->MoveNext();
    EXPECT_TRUE(rows->Eof());
    EXPECT_FALSE(rows->Bof());
    const auto no_record = static_cast<int>(ErrorNumber::NoCurrentRecord);
    EXPECT_EQ(ErrorOf([&] { rows->MoveNext(); }), no_record);
    EXPECT_EQ(ErrorOf([&] { rows->Fields(0).Value(); }), no_record);
    rows->MovePrevious();
    EXPECT_EQ(rows->Fields(0).Value(), Value(1));
    rows->MoveFirst();
    rows->MovePrevious();
    EXPECT_TRUE(rows->Bof());
    EXPECT_EQ(ErrorOf([&] { rows->MovePrevious(); }), no_record);
    const auto empty = database_->OpenRecordset(u"Select * From TrainInfo Where TrainID = 99");
    EXPECT_TRUE(empty->Eof() && empty->Bof());
    EXPECT_EQ(ErrorOf([&] { empty->MoveFirst(); }), no_record);
    EXPECT_EQ(ErrorOf([&] { empty->MoveLast(); }), no_record);
}

TEST_F(RecordsetTest, Errors) {
    const auto rows = database_->OpenRecordset(u"TrainInfo");
    const auto grouped = database_->OpenRecordset(u"Select UserID, Sum(Score) As S From TrainInfo Group By UserID");
    struct Case {
        const char* name;
        std::function<void()> body;
        ErrorNumber error;
    };
    const Case cases[] = {
        {"unknown field", [&] { rows->Fields(u"Missing"); }, ErrorNumber::FieldNotFound},
        {"field number", [&] { rows->Fields(6); }, ErrorNumber::FieldNotFound},
        {"value without Edit", [&] { rows->Fields(u"Score").Value(1); }, ErrorNumber::UpdateWithoutEdit},
        {"Update without Edit", [&] { rows->Update(); }, ErrorNumber::UpdateWithoutEdit},
        {"CancelUpdate without Edit", [&] { rows->CancelUpdate(); }, ErrorNumber::UpdateWithoutEdit},
        {"grouped rows", [&] { grouped->Edit(); }, ErrorNumber::ReadOnly},
        {"text too long",
         [&] {
             rows->Edit();
             rows->Fields(u"Remark").Value(u"12345678901");
         },
         ErrorNumber::FieldTooLarge},
        {"no number", [&] { rows->Fields(u"UserID").Value(u"甲"); }, ErrorNumber::DataTypeConversion},
        {"required",
         [&] {
             rows->Fields(u"UserID").Value(Null{});
             rows->Update();
         },
         ErrorNumber::FieldRequired},
        {"no such row", [&] { rows->Bookmark(Bytes(3)); }, ErrorNumber::InvalidBookmark},
        {"an action", [&] { database_->OpenRecordset(u"Delete From TrainInfo"); }, ErrorNumber::InvalidOperation},
    };
    for (const Case& c : cases) EXPECT_EQ(ErrorOf(c.body), static_cast<int>(c.error)) << c.name;
    rows->Close();
    EXPECT_EQ(ErrorOf([&] { rows->Eof(); }), static_cast<int>(ErrorNumber::ObjectInvalid));
    database_->Close();
    EXPECT_EQ(ErrorOf([&] { grouped->MoveFirst(); }), static_cast<int>(ErrorNumber::ObjectInvalid));
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"Delete From TrainInfo"); }),
              static_cast<int>(ErrorNumber::ObjectInvalid));
}

TEST_F(RecordsetTest, Editing) {
    const auto rows = database_->OpenRecordset(u"Select top 1 * From TrainInfo");
    rows->AddNew();
    rows->Fields(u"UserID").Value(u"7");
    rows->Fields(u"Content").AppendChunk(u"前半");
    rows->Fields(u"Content").AppendChunk(u"后半");
    rows->Update();
    EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(1)) << "the current row stays";
    rows->Bookmark(rows->LastModified());
    EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(6));
    EXPECT_EQ(rows->Fields(u"Score").Value(), Value(0.0F)) << "the default";
    EXPECT_EQ(rows->Fields(u"Content").GetChunk(1, 2), Value(u"半后"));
    rows->Edit();
    rows->Fields(u"StartDate").Value(u"2005-04-12 10:00:00");
    rows->Fields(u"Score").Value(99);
    rows->CancelUpdate();
    EXPECT_EQ(rows->Fields(u"Score").Value(), Value(0.0F));
    rows->Edit();
    rows->Fields(u"Score").Value(37.5);
    rows->Update();
    EXPECT_EQ(Column(u"Select Score From TrainInfo Where UserID=7", u"Score"), u"37.5");
    rows->Delete();
    EXPECT_EQ(ErrorOf([&] { rows->Fields(0).Value(); }), static_cast<int>(ErrorNumber::RecordDeleted));
    EXPECT_EQ(Column(u"Select * From TrainInfo Where UserID=7", u"TrainID"), u"");
}

TEST_F(RecordsetTest, ItsRowsAreFixedAsTheyAreSeen) {
    const auto rows = database_->OpenRecordset(u"Select * From TrainInfo Where Score > 0 Order By TrainID");
    rows->MoveLast();
    rows->MoveFirst();
    database_->Execute(u"DELETE FROM TrainInfo WHERE TrainID = 2");
    database_->Execute(u"UPDATE TrainInfo SET Score = -1, Remark = 'neu' WHERE TrainID = 3");
    database_->Execute(u"INSERT INTO TrainInfo (UserID, Score) VALUES (1, 5)");
    rows->MoveNext();
    EXPECT_EQ(ErrorOf([&] { rows->Fields(0).Value(); }), static_cast<int>(ErrorNumber::RecordDeleted));
    rows->MoveNext();
    EXPECT_EQ(rows->Fields(u"Remark").Value(), Value(u"neu")) << "still there, with what it holds now";
    EXPECT_EQ(rows->TrueRecordCount(), 5);
}

TEST_F(RecordsetTest, Finding) {
    for (const char16_t* source : {u"TrainInfo",
                                   u"Select A.TrainID, A.Remark, A.UserID From TrainInfo A, TrainInfo B Where "
                                   u"A.TrainID = B.TrainID Order By A.TrainID"}) {
        const auto rows = database_->OpenRecordset(source);
        rows->FindFirst(u"UserID = 1 And Remark Like '*3'");
        EXPECT_FALSE(rows->NoMatch());
        EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(3));
        rows->FindNext(u"UserID = 1");
        EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(5));
        rows->FindNext(u"UserID = 1");
        EXPECT_TRUE(rows->NoMatch());
        EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(5));
        EXPECT_NE(ErrorOf([&] { rows->FindFirst(u"UserID = = 1"); }), 0);
    }
}

// Seen as a table, a record set has no row where one was deleted.
TEST_F(RecordsetTest, ADeletedRowIsNoPlaceToMoveTo) {
    const auto rows = std::static_pointer_cast<JetRecordset>(database_->OpenRecordset(u"TrainInfo"));
    rows->MoveLast();
    rows->MoveFirst();
    rows->MoveNext();
    rows->Delete();
    const auto catalog = CatalogOfRows(*rows->List(), 0);
    const auto table = catalog->FindTable(u"Rows");
    const auto cursor = table->OpenCursor();
    EXPECT_FALSE(cursor->MoveTo({2}));
    EXPECT_FALSE(cursor->MoveTo({6}));
    ASSERT_TRUE(cursor->MoveTo({3}));
    Value id;
    cursor->Read(0, id);
    EXPECT_EQ(id, Value(3));
}

TEST_F(RecordsetTest, OtherHandlesShow) {
    const auto other = Engine::Instance().OpenDatabase(Name(u"Client.mdb"));
    const auto rows = database_->OpenRecordset(u"TrainInfo");
    other->Execute(u"UPDATE TrainInfo SET Score = 88 WHERE TrainID = 2");
    rows->MoveNext();
    rows->Edit();
    EXPECT_EQ(rows->Fields(u"Score").Value(), Value(88.0F)) << "an edit begins with what the file has now";
    rows->Fields(u"Remark").Value(u"两边");
    rows->Update();
    const auto seen = other->OpenRecordset(u"Select * From TrainInfo Where TrainID = 2");
    EXPECT_EQ(seen->Fields(u"Remark").Value(), Value(u"两边"));
    EXPECT_EQ(seen->Fields(u"Score").Value(), Value(88.0F));
}

// Rows are fetched a few at a time: none of that may show.
TEST_F(RecordsetTest, RowsFetchedAheadAreNotSeenYet) {
    for (int i = 6; i <= 60; ++i) {
        database_->Execute(u"INSERT INTO TrainInfo (UserID, Score, Content) VALUES (1, " + ToText(i) + u", '长文" +
                           ToText(i) + u"')");
    }
    const auto rows = database_->OpenRecordset(u"Select * From TrainInfo Order By TrainID");
    for (int i = 1; i < 12; ++i) rows->MoveNext();
    EXPECT_EQ(rows->RecordCount(), 12);
    EXPECT_EQ(rows->Fields(u"Content").Value(), Value(u"长文12")) << "nobody has asked for a long text before";
    database_->Execute(u"DELETE FROM TrainInfo WHERE TrainID = 13");
    database_->Execute(u"UPDATE TrainInfo SET Score = 99 WHERE TrainID = 14");
    rows->MoveNext();
    EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(14)) << "13 was gone before it was reached";
    EXPECT_EQ(rows->Fields(u"Score").Value(), Value(99.0F));
    rows->AddNew();
    rows->Fields(u"UserID").Value(std::int32_t{8});
    rows->Update();
    rows->MoveNext();
    EXPECT_EQ(rows->Fields(u"UserID").Value(), Value(8)) << "the new row stands after those that were seen";
    rows->MoveNext();
    EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(15));
    rows->MovePrevious();
    rows->MovePrevious();
    EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(14));
    EXPECT_EQ(rows->TrueRecordCount(), 60);
    int count = 0;
    for (rows->MoveFirst(); !rows->Eof(); rows->MoveNext())
        count += rows->Fields(u"TrainID").Value() != Value() ? 1 : 0;
    EXPECT_EQ(count, 60);
}

// Short memos come with the first rows, long ones when they are asked for: their values do not differ for that.
TEST_F(RecordsetTest, MemosOfTheFirstRows) {
    const auto other = Engine::Instance().OpenDatabase(Name(u"Client.mdb"));
    for (const int length : {10, 12000}) {
        database_->Execute(u"UPDATE TrainInfo SET Content = TrainID & ':' & Space(" + ToText(length) + u")");
        const auto rows = database_->OpenRecordset(u"Select TrainID, Content From TrainInfo Order By TrainID");
        other->Execute(u"UPDATE TrainInfo SET Content = 'neu' WHERE TrainID = 2");
        std::u16string seen;
        for (; !rows->Eof(); rows->MoveNext()) {
            const std::u16string content = rows->Fields(u"Content").Value().Text();
            seen += content == u"neu" ? content : content.substr(0, 2) + ToText(content.size());
            seen += u' ';
        }
        // What was fetched before the change counts as read then.
        EXPECT_EQ(seen, length == 10 ? u"1:12 2:12 3:12 4:12 5:12 " : u"1:12002 neu 3:12002 4:12002 5:12002 ");
    }
}

TEST_F(RecordsetTest, EachRowOfALoopIsEditedAsItIs) {
    const auto other = Engine::Instance().OpenDatabase(Name(u"Client.mdb"));
    const auto rows = database_->OpenRecordset(u"Select * From TrainInfo Where UserID >= 0");
    for (std::int32_t i = 1; !rows->Eof(); rows->MoveNext(), ++i) {
        other->Execute(u"UPDATE TrainInfo SET Remark = '" + ToText(i) + u"' WHERE TrainID = " + ToText(i));
        rows->Edit();
        EXPECT_EQ(rows->Fields(u"Remark").Value(), Value(ToText(i)));
        rows->Fields(u"UserID").Value(std::int32_t{100 + i});
        rows->Update();
    }
    EXPECT_EQ(Column(u"Select UserID From TrainInfo Order By TrainID", u"UserID"), u"101 102 103 104 105");
    EXPECT_EQ(Column(u"Select Remark From TrainInfo Order By TrainID", u"Remark"), u"1 2 3 4 5");
}

TEST_F(RecordsetTest, ARowThatCannotBeReadIsToldWhenItIsReached) {
    database_->Execute(u"UPDATE TrainInfo SET Score = 0 WHERE TrainID = 4");
    for (const char16_t* source : {u"Select TrainID, 1 / Score As S From TrainInfo",
                                   u"Select A.TrainID, 1 / A.Score As S From TrainInfo A, TrainInfo B Where "
                                   u"A.TrainID = B.TrainID"}) {
        const auto rows = database_->OpenRecordset(source);
        for (int i = 1; i < 3; ++i) rows->MoveNext();
        EXPECT_EQ(rows->Fields(u"TrainID").Value(), Value(3));
        EXPECT_NE(ErrorOf([&] {
                      rows->MoveNext();
                      rows->Fields(u"S").Value();
                  }),
                  0);
    }
}

}  // namespace
}  // namespace qmtrain::dao
