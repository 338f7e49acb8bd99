// The four types of record set: what each can do, and what each refuses.

#include <limits>

#include "fixture.h"

namespace qmtrain::dao {
namespace {

class RecordsetTypesTest : public DaoTest {
protected:
    static constexpr RecordsetType kTypes[] = {RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot,
                                               RecordsetType::ForwardOnly};

    std::shared_ptr<Recordset> Open(RecordsetType type, std::u16string_view source = u"TrainInfo") {
        return database_->OpenRecordset(source, type);
    }

    // The numbers of the trainings from the current row on.
    static std::u16string Rest(Recordset& rows) {
        std::u16string text;
        for (; !rows.Eof(); rows.MoveNext())
            text += (text.empty() ? u"" : u" ") + ToText(rows.Fields(u"TrainID").Value());
        return text;
    }

    static std::int32_t Number(Recordset& rows) { return rows.Fields(u"TrainID").Value().As<std::int32_t>(); }
};

TEST_F(RecordsetTypesTest, MembersOverAllTypes) {
    constexpr auto kNone = ErrorNumber{};
    constexpr auto kOther = ErrorNumber::OperationNotSupported;
    constexpr auto kNever = ErrorNumber::InvalidOperation;
    constexpr auto kReadOnlyRows = ErrorNumber::ReadOnly;
    struct Case {
        const char* name;
        std::function<void(Recordset&)> use;
        ErrorNumber errors[4];  // table, dynaset, snapshot, forward-only
    };
    const Value key(std::int32_t{3});
    const Case cases[] = {
        {"MoveFirst", [](Recordset& r) { r.MoveFirst(); }, {kNone, kNone, kNone, kNever}},
        {"MoveLast", [](Recordset& r) { r.MoveLast(); }, {kNone, kNone, kNone, kNever}},
        {"MovePrevious", [](Recordset& r) { r.MovePrevious(); }, {kNone, kNone, kNone, kNever}},
        {"Move forward", [](Recordset& r) { r.Move(2); }, {kNone, kNone, kNone, kNone}},
        {"Move back", [](Recordset& r) { r.Move(-1); }, {kNone, kNone, kNone, kNever}},
        {"AbsolutePosition", [](Recordset& r) { r.AbsolutePosition(); }, {kOther, kNone, kNone, kOther}},
        {"AbsolutePosition set", [](Recordset& r) { r.AbsolutePosition(2); }, {kOther, kNone, kNone, kOther}},
        {"PercentPosition", [](Recordset& r) { r.PercentPosition(); }, {kNone, kNone, kNone, kOther}},
        {"PercentPosition set", [](Recordset& r) { r.PercentPosition(50); }, {kNone, kNone, kNone, kOther}},
        {"Bookmark", [](Recordset& r) { r.Bookmark(r.Bookmark()); }, {kNone, kNone, kNone, kOther}},
        {"FindFirst", [](Recordset& r) { r.FindFirst(u"TrainID = 3"); }, {kOther, kNone, kNone, kOther}},
        {"FindLast", [](Recordset& r) { r.FindLast(u"TrainID = 3"); }, {kOther, kNone, kNone, kOther}},
        {"FindPrevious", [](Recordset& r) { r.FindPrevious(u"TrainID = 3"); }, {kOther, kNone, kNone, kOther}},
        {"Index", [](Recordset& r) { r.Index(); }, {kNone, kOther, kOther, kOther}},
        {"Index set", [](Recordset& r) { r.Index(u"ByUser"); }, {kNone, kOther, kOther, kOther}},
        {"Seek without an index",
         [&](Recordset& r) {
             r.Seek(u"=", {&key, 1});
         },
         {ErrorNumber::NoCurrentIndex, kOther, kOther, kOther}},
        {"Filter", [](Recordset& r) { r.Filter(u"TrainID > 2"); }, {kOther, kNone, kNone, kNone}},
        {"Sort", [](Recordset& r) { r.Sort(u"Score Desc"); }, {kOther, kNone, kNone, kOther}},
        {"OpenRecordset", [](Recordset& r) { r.OpenRecordset(); }, {kNone, kNone, kNone, kOther}},
        {"Clone", [](Recordset& r) { r.Clone(); }, {kNone, kNone, kNone, kOther}},
        {"Requery", [](Recordset& r) { r.Requery(); }, {kOther, kNone, kNone, kNone}},
        {"GetRows", [](Recordset& r) { r.GetRows(2); }, {kNone, kNone, kNone, kNone}},
        {"Edit", [](Recordset& r) { r.Edit(); }, {kNone, kNone, kReadOnlyRows, kReadOnlyRows}},
        {"AddNew", [](Recordset& r) { r.AddNew(); }, {kNone, kNone, kReadOnlyRows, kReadOnlyRows}},
        {"LastModified",
         [](Recordset& r) { r.LastModified(); },
         {ErrorNumber::NoCurrentRecord, ErrorNumber::NoCurrentRecord, kOther, kOther}},
        {"LockEdits", [](Recordset& r) { r.LockEdits(false); }, {kNone, kNone, kNone, kOther}},
        {"DateCreated", [](Recordset& r) { r.DateCreated(); }, {kNone, kOther, kOther, kOther}},
        {"LastUpdated", [](Recordset& r) { r.LastUpdated(); }, {kNone, kOther, kOther, kOther}},
        {"CacheSize", [](Recordset& r) { r.CacheSize(50); }, {kOther, kNone, kOther, kOther}},
        {"CacheSize that is too small",
         [](Recordset& r) { r.CacheSize(4); },
         {kOther, ErrorNumber::InvalidArgument, kOther, kOther}},
        {"FillCache", [](Recordset& r) { r.FillCache(); }, {kOther, kNone, kOther, kOther}},
        {"ValidationRule", [](Recordset& r) { r.ValidationRule(); }, {kNone, kNone, kOther, kOther}},
    };
    for (const Case& test : cases) {
        for (int i = 0; i < 4; ++i) {
            const auto rows = Open(kTypes[i]);
            EXPECT_EQ(ErrorOf([&] { test.use(*rows); }), static_cast<int>(test.errors[i]))
                << test.name << " of type " << static_cast<int>(kTypes[i]);
        }
    }
}

TEST_F(RecordsetTypesTest, WhatTheyAre) {
    struct Case {
        RecordsetType type;
        std::int32_t count;  // as long as only the first row has been seen
        bool bookmarkable;
        bool updatable;
        bool restartable;
        bool transactions;
    };
    const Case cases[] = {{RecordsetType::Table, 5, true, true, false, true},
                          {RecordsetType::Dynaset, 1, true, true, true, true},
                          {RecordsetType::Snapshot, 1, true, false, true, false},
                          {RecordsetType::ForwardOnly, 1, false, false, true, false}};
    for (const Case& test : cases) {
        const auto rows = Open(test.type);
        EXPECT_EQ(rows->Type(), test.type);
        EXPECT_EQ(rows->Name(), u"TrainInfo");
        EXPECT_EQ(rows->RecordCount(), test.count);
        EXPECT_EQ(rows->Bookmarkable(), test.bookmarkable);
        EXPECT_EQ(rows->Updatable(), test.updatable);
        EXPECT_EQ(rows->Restartable(), test.restartable);
        EXPECT_EQ(rows->Transactions(), test.transactions);
        EXPECT_EQ(rows->EditMode(), EditMode::None);
        EXPECT_EQ(Rest(*rows), u"1 2 3 4 5");
        EXPECT_TRUE(rows->Eof());
        EXPECT_EQ(rows->RecordCount(), 5);
    }
}

TEST_F(RecordsetTypesTest, HowTheyAreOpened) {
    database_->Execute(u"CREATE TABLE Empty (A LONG)");
    const auto other = JetDatabase::Create(Name(u"Other.mdb"));
    other->Execute(u"CREATE TABLE Bank (Code TEXT(10))");
    database_->CreateTableDef(u"Banks", u";DATABASE=Other.mdb", u"Bank");
    struct Case {
        const char16_t* source;
        RecordsetType type;
        std::int32_t options;
        ErrorNumber error;
        RecordsetType opened = RecordsetType::Default;
    };
    constexpr auto kNone = ErrorNumber{};
    constexpr auto kDefault = RecordsetType::Default;
    const Case cases[] = {
        {u"TrainInfo", kDefault, 0, kNone, RecordsetType::Table},
        {u"Banks", kDefault, 0, kNone, RecordsetType::Dynaset},
        {u"Select * From TrainInfo", kDefault, 0, kNone, RecordsetType::Dynaset},
        {u"TrainInfo", kDefault, kForwardOnly, kNone, RecordsetType::ForwardOnly},
        {u"TrainInfo", RecordsetType::Snapshot, kForwardOnly, kNone, RecordsetType::ForwardOnly},
        {u"Banks", RecordsetType::Table, 0, ErrorNumber::InvalidOperation},
        {u"Select * From TrainInfo", RecordsetType::Table, 0, ErrorNumber::InvalidOperation},
        {u"TrainInfo", RecordsetType::Table, kDenyWrite, ErrorNumber::OperationNotSupported},
        {u"TrainInfo", RecordsetType::Dynaset, kSqlPassThrough, ErrorNumber::OperationNotSupported},
        {u"TrainInfo", RecordsetType::Table, kAppendOnly, ErrorNumber::InvalidArgument},
        {u"TrainInfo", RecordsetType::Dynaset, 1024, ErrorNumber::InvalidArgument},
        {u"nowhere", kDefault, 0, ErrorNumber::NoSuchTable},
        {u"[no where]", RecordsetType::Table, 0, ErrorNumber::NoSuchTable},
        {u"Selec * From TrainInfo", kDefault, 0, ErrorNumber::SyntaxInStatement},
    };
    for (const Case& test : cases) {
        std::shared_ptr<Recordset> rows;
        EXPECT_EQ(ErrorOf([&] { rows = database_->OpenRecordset(test.source, test.type, test.options); }),
                  static_cast<int>(test.error))
            << ToUtf8(test.source) << static_cast<int>(test.type);
        EXPECT_EQ(rows ? rows->Type() : RecordsetType::Default, test.opened) << ToUtf8(test.source);
    }
    const auto read_only = database_->OpenRecordset(u"TrainInfo", RecordsetType::Dynaset, kReadOnly);
    EXPECT_EQ(ErrorOf([&] { read_only->Edit(); }), static_cast<int>(ErrorNumber::ReadOnly));
    const auto appending = database_->OpenRecordset(u"TrainInfo", RecordsetType::Dynaset, kAppendOnly);
    EXPECT_FALSE(HasRow(*appending));
    appending->AddNew();
    appending->Fields(u"UserID").Value(std::int32_t{3});
    appending->Update();
    EXPECT_EQ(appending->TrueRecordCount(), 1);
    for (const RecordsetType type : kTypes) {
        const auto empty = Open(type, u"Empty");
        EXPECT_TRUE(empty->Eof() && empty->Bof());
        EXPECT_EQ(ErrorOf([&] { empty->MoveNext(); }), static_cast<int>(ErrorNumber::NoCurrentRecord));
    }
}

TEST_F(RecordsetTypesTest, ATableIsAsItIsNow) {
    const auto rows = Open(RecordsetType::Table);
    rows->Index(u"byuser");
    EXPECT_EQ(rows->Index(), u"ByUser");
    EXPECT_EQ(Rest(*rows), u"2 4 1 3 5");
    rows->MoveLast();
    EXPECT_EQ(Number(*rows), 5);
    rows->MovePrevious();
    rows->MovePrevious();
    EXPECT_EQ(Number(*rows), 1);
    rows->MoveNext();
    rows->Edit();
    rows->Fields(u"UserID").Value(std::int32_t{0});
    rows->Update();
    EXPECT_EQ(Number(*rows), 3) << "the same row, elsewhere in the order";
    rows->MovePrevious();
    EXPECT_EQ(Number(*rows), 2);
    rows->AddNew();
    rows->Fields(u"UserID").Value(std::int32_t{0});
    rows->Update();
    EXPECT_EQ(rows->RecordCount(), 6);
    database_->Execute(u"DELETE FROM TrainInfo WHERE TrainID = 3");
    EXPECT_EQ(Rest(*rows), u"2 4 6 1 5");
    rows->Bookmark(rows->LastModified());
    EXPECT_EQ(Number(*rows), 6);
    rows->Delete();
    EXPECT_EQ(ErrorOf([&] { Number(*rows); }), static_cast<int>(ErrorNumber::RecordDeleted));
    rows->MovePrevious();
    EXPECT_EQ(Number(*rows), 4) << "from where the deleted row stood";
    rows->MoveNext();
    EXPECT_EQ(Number(*rows), 1);
    EXPECT_EQ(ErrorOf([&] { rows->Index(u"Nowhere"); }), static_cast<int>(ErrorNumber::IndexNotFound));
    rows->Index(u"");
    EXPECT_EQ(Rest(*rows), u"1 2 4 5");
    EXPECT_GT(rows->DateCreated(), Date{36526});
}

// Rows are walked in the order of their places, both ways, while they change.
TEST_F(RecordsetTypesTest, ATableWithoutAnIndex) {
    database_->ExecuteScript(u"SELECT * INTO Plain FROM TrainInfo; DELETE FROM Plain WHERE TrainID = 2");
    const auto rows = Open(RecordsetType::Table, u"Plain");
    rows->MoveLast();
    EXPECT_EQ(Number(*rows), 5);
    rows->MovePrevious();
    rows->Delete();
    rows->MovePrevious();
    EXPECT_EQ(Number(*rows), 3);
    EXPECT_EQ(Rest(*rows), u"3 5");
    rows->PercentPosition(40);
    EXPECT_EQ(Number(*rows), 3);
}

TEST_F(RecordsetTypesTest, Seeking) {
    database_->ExecuteScript(
        u"CREATE TABLE T (A LONG, B TEXT(10), TrainID LONG); CREATE UNIQUE INDEX AB ON T (A, B); CREATE INDEX D ON T "
        u"(A DESC);"
        u"INSERT INTO T VALUES (1, 'x', 1); INSERT INTO T VALUES (2, 'x', 2); INSERT INTO T VALUES (2, 'y', 3);"
        u"INSERT INTO T VALUES (4, Null, 4); INSERT INTO T VALUES (Null, 'z', 5)");
    const auto rows = Open(RecordsetType::Table, u"T");
    struct Case {
        const char16_t* index;
        const char16_t* comparison;
        std::vector<Value> keys;
        std::int32_t found;  // 0: nothing
        const char16_t* rest = u"";
    };
    const Case cases[] = {
        {u"AB", u"=", {2}, 2, u"2 3 4"},
        {u"AB", u"=", {2, u"Y"}, 3, u"3 4"},
        {u"AB", u"=", {3}, 0},
        {u"AB", u">=", {2, u"xx"}, 3, u"3 4"},
        {u"AB", u">", {2}, 4, u"4"},
        {u"AB", u">", {4}, 0},
        {u"AB", u"<", {2}, 1, u"1 2 3 4"},
        {u"AB", u"<=", {2}, 3, u"3 4"},
        {u"AB", u"<", {-5}, 5, u"5 1 2 3 4"},
        {u"AB", u"=", {u"2"}, 2, u"2 3 4"},
        {u"D", u">=", {3}, 2, u"2 3 1 5"},
    };
    for (const Case& test : cases) {
        rows->Index(test.index);
        std::vector<Value> keys;
        for (const Value& key : test.keys) keys.push_back(key);
        rows->Seek(test.comparison, keys);
        const std::string name = ToUtf8(test.index) + ToUtf8(test.comparison) + std::to_string(test.keys.size());
        EXPECT_EQ(rows->NoMatch(), test.found == 0) << name;
        if (rows->NoMatch()) continue;
        EXPECT_EQ(Number(*rows), test.found) << name;
        EXPECT_EQ(Rest(*rows), test.rest) << name;
    }
    const auto seek = [&](std::u16string_view comparison, std::vector<Value> keys) {
        return ErrorOf([&] { rows->Seek(comparison, keys); });
    };
    EXPECT_EQ(seek(u"<>", {1}), static_cast<int>(ErrorNumber::InvalidArgument));
    EXPECT_EQ(seek(u"=", {}), static_cast<int>(ErrorNumber::InvalidArgument));
    EXPECT_EQ(seek(u"=", {1, 2}), static_cast<int>(ErrorNumber::InvalidArgument)) << "more than the index has";
    EXPECT_EQ(seek(u"=", {u"eins"}), static_cast<int>(ErrorNumber::DataTypeConversion));
}

TEST_F(RecordsetTypesTest, FindingBothWays) {
    for (const RecordsetType type : {RecordsetType::Dynaset, RecordsetType::Snapshot}) {
        const auto rows = Open(type);
        rows->FindLast(u"UserID = 0");
        EXPECT_EQ(Number(*rows), 4);
        rows->FindPrevious(u"UserID = 0");
        EXPECT_EQ(Number(*rows), 2);
        rows->FindPrevious(u"UserID = 0");
        EXPECT_TRUE(rows->NoMatch());
        EXPECT_EQ(Number(*rows), 2);
        rows->FindNext(u"UserID = 1");
        EXPECT_EQ(Number(*rows), 3);
        EXPECT_EQ(rows->AbsolutePosition(), 2);
        rows->AbsolutePosition(4);
        EXPECT_EQ(Number(*rows), 5);
        EXPECT_FLOAT_EQ(rows->PercentPosition(), 80);
        EXPECT_EQ(ErrorOf([&] { rows->AbsolutePosition(5); }), static_cast<int>(ErrorNumber::InvalidArgument));
        rows->MoveNext();
        EXPECT_EQ(rows->AbsolutePosition(), -1);
        rows->FindPrevious(u"True");
        EXPECT_EQ(Number(*rows), 5);
    }
}

// A condition, and nothing more; it may ask other tables.
TEST_F(RecordsetTypesTest, WhatFindTakes) {
    database_->ExecuteScript(u"CREATE TABLE Marks (K LONG); INSERT INTO Marks VALUES (4)");
    struct Case {
        const char16_t* criteria;
        ErrorNumber error;
        std::int32_t found;
    };
    constexpr auto kSyntax = ErrorNumber::SyntaxInExpression;
    const Case cases[] = {
        {u"True UNION SELECT * FROM TrainInfo", kSyntax, 1},
        {u"True GROUP BY TrainID", kSyntax, 1},
        {u"True ORDER BY TrainID DESC", kSyntax, 1},
        {u"TrainID = 2; DELETE FROM TrainInfo", kSyntax, 1},
        {u"", kSyntax, 1},
        {u"Count(*) > 1", ErrorNumber::AggregateNotAllowed, 1},
        {u"Missing = 1", ErrorNumber::MissingParameter, 1},
        {u"TrainID = (SELECT Max(TrainID) FROM TrainInfo)", {}, 5},
        {u"TrainID IN (SELECT K FROM Marks)", {}, 4},
        {u"EXISTS (SELECT * FROM Marks WHERE K = TrainID + 1)", {}, 3},
    };
    for (const RecordsetType type : {RecordsetType::Dynaset, RecordsetType::Snapshot}) {
        for (const Case& test : cases) {
            const auto rows = Open(type);
            EXPECT_EQ(ErrorOf([&] { rows->FindFirst(test.criteria); }), static_cast<int>(test.error))
                << ToUtf8(test.criteria);
            EXPECT_EQ(Number(*rows), test.found) << ToUtf8(test.criteria);
        }
    }
    EXPECT_EQ(Column(u"TrainInfo", u"TrainID"), u"1 2 3 4 5");
}

TEST_F(RecordsetTypesTest, TypesThatThereAreNot) {
    for (const int number : {3, 5, 16, -1}) {
        const auto type = static_cast<RecordsetType>(number);
        EXPECT_EQ(ErrorOf([&] { Open(type); }), static_cast<int>(ErrorNumber::InvalidArgument)) << number;
        const auto rows = Open(RecordsetType::Snapshot);
        EXPECT_EQ(ErrorOf([&] { rows->OpenRecordset(type); }), static_cast<int>(ErrorNumber::InvalidArgument))
            << number;
    }
    const auto forward = Open(RecordsetType::Snapshot)->OpenRecordset(RecordsetType::Default, kForwardOnly);
    EXPECT_EQ(forward->Type(), RecordsetType::ForwardOnly);
    EXPECT_EQ(Open(RecordsetType::Default, u"[TrainInfo]")->Type(), RecordsetType::Table);
    EXPECT_NE(ErrorOf([&] { Open(RecordsetType::Default, u"[]"); }), 0);
}

// The number of a new row is known before it is written, and no other row gets it.
TEST_F(RecordsetTypesTest, ANewRowHasItsNumber) {
    const auto other = JetDatabase::Open(Name(u"Client.mdb"));
    for (const RecordsetType type : {RecordsetType::Table, RecordsetType::Dynaset}) {
        database_->ExecuteScript(u"DELETE FROM TrainInfo WHERE TrainID > 5");
        const auto rows = Open(type);
        rows->AddNew();
        const std::int32_t number = Number(*rows);
        EXPECT_EQ(Number(*rows), number) << "once";
        other->Execute(u"INSERT INTO TrainInfo (UserID) VALUES (8)");
        rows->Fields(u"UserID").Value(std::int32_t{7});
        rows->Update();
        EXPECT_EQ(Column(u"SELECT TrainID FROM TrainInfo WHERE UserID = 7", u"TrainID"), ToText(number));
        EXPECT_EQ(Column(u"SELECT TrainID FROM TrainInfo WHERE UserID = 8", u"TrainID"), ToText(number + 1));
        rows->AddNew();
        EXPECT_EQ(Number(*rows), number + 2);
        rows->CancelUpdate();
        rows->AddNew();
        rows->Fields(u"UserID").Value(std::int32_t{9});
        rows->Update();
        EXPECT_EQ(Column(u"SELECT TrainID FROM TrainInfo WHERE UserID = 9", u"TrainID"), ToText(number + 3))
            << "a number that was given is not given again";
    }
}

TEST_F(RecordsetTypesTest, PartsOfValues) {
    database_->Execute(u"CREATE TABLE Parts (T TEXT(9), M MEMO, B BINARY(9), O LONGBINARY, L LONG)");
    const auto rows = Open(RecordsetType::Dynaset, u"Parts");
    struct Case {
        const char16_t* field;
        std::vector<Value> chunks;
        ErrorNumber error;  // of the last one
        Value whole;
    };
    const Case cases[] = {
        {u"T", {u"甲", u"乙"}, {}, u"甲乙"},
        {u"T", {u"123456", u"7890"}, ErrorNumber::FieldTooLarge, u"123456"},
        {u"M", {u"a", std::int32_t{5}}, {}, u"a5"},
        {u"M", {u"a", Null{}}, ErrorNumber::InvalidUseOfNull, u"a"},
        {u"B", {Bytes{1, 2}, Bytes{3}}, {}, Bytes{1, 2, 3}},
        {u"O", {Bytes{1}, u"b"}, ErrorNumber::DataTypeConversion, Bytes{1}},
        {u"L", {std::int32_t{5}}, ErrorNumber::InvalidFieldType, Null{}},
    };
    for (const Case& test : cases) {
        rows->AddNew();
        Field& field = rows->Fields(test.field);
        std::int32_t error = 0;
        for (const Value& chunk : test.chunks) error = ErrorOf([&] { field.AppendChunk(chunk); });
        EXPECT_EQ(error, static_cast<int>(test.error)) << ToUtf8(test.field);
        EXPECT_EQ(field.Value(), test.whole) << ToUtf8(test.field);
        rows->CancelUpdate();
        EXPECT_EQ(ErrorOf([&] { field.AppendChunk(test.chunks[0]); }),
                  static_cast<int>(ErrorNumber::UpdateWithoutEdit));
    }
    rows->AddNew();
    rows->Fields(u"M").Value(u"0123456789");
    rows->Update();
    rows->MoveFirst();
    EXPECT_EQ(rows->Fields(u"M").GetChunk(8, 5), Value(u"89"));
    EXPECT_EQ(rows->Fields(u"M").GetChunk(10, 5), Value(u""));
    EXPECT_TRUE(rows->Fields(u"O").GetChunk(0, 5).IsNull());
    EXPECT_EQ(ErrorOf([&] { rows->Fields(u"L").GetChunk(0, 5); }), static_cast<int>(ErrorNumber::InvalidFieldType));
    EXPECT_EQ(ErrorOf([&] { rows->Fields(u"M").GetChunk(-1, 5); }),
              static_cast<int>(ErrorNumber::InvalidProcedureCall));
    rows->Edit();
    rows->Fields(u"M").Value(u"unwritten");
    EXPECT_EQ(rows->GetRows(1)[0][1], Value(u"0123456789")) << "what is not written is given up";
}

TEST_F(RecordsetTypesTest, FiltersClonesAndRequeries) {
    const auto rows = Open(RecordsetType::Dynaset, u"Select TrainID, UserID, Score From TrainInfo Where TrainID < 5");
    rows->Filter(u"UserID = 0 Or Score > 30");
    rows->Sort(u"TrainID Desc");
    EXPECT_EQ(Rest(*rows), u"1 2 3 4") << "they are for record sets from this one";
    const auto narrowed = rows->OpenRecordset();
    EXPECT_EQ(narrowed->Type(), RecordsetType::Dynaset);
    EXPECT_TRUE(narrowed->Updatable());
    EXPECT_EQ(Rest(*narrowed), u"4 3 2");
    rows->Filter(u"TrainID >>");
    EXPECT_NE(ErrorOf([&] { rows->OpenRecordset(); }), 0);

    const auto grouped =
        Open(RecordsetType::Snapshot, u"Select UserID As TrainID, Count(*) As N From TrainInfo Group By UserID");
    grouped->Filter(u"N > 2");
    EXPECT_EQ(Rest(*grouped->OpenRecordset()), u"1") << "a condition on what the rows show";

    for (const RecordsetType type : {RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}) {
        const auto first = Open(type);
        first->Move(2);
        const auto clone = first->Clone();
        EXPECT_EQ(ErrorOf([&] { Number(*clone); }), static_cast<int>(ErrorNumber::NoCurrentRecord));
        clone->Bookmark(first->Bookmark());
        EXPECT_EQ(Number(*clone), 3);
        clone->MoveNext();
        EXPECT_EQ(Number(*first), 3);
        EXPECT_EQ(Number(*clone), 4);
        EXPECT_NE(ErrorOf([&] {
                      Open(type == RecordsetType::Table ? RecordsetType::Dynaset : type)->Bookmark(first->Bookmark());
                  }),
                  0)
            << "bookmarks of another record set";
    }

    const auto all = Open(RecordsetType::Dynaset);
    database_->Execute(u"INSERT INTO TrainInfo (UserID) VALUES (9)");
    all->MoveLast();
    database_->Execute(u"DELETE FROM TrainInfo WHERE TrainID = 1");
    all->Requery();
    EXPECT_EQ(Rest(*all), u"2 3 4 5 6");
}

// A user who writes a field later is told once that it is not what he saw; changes of other fields do not count.
TEST_F(RecordsetTypesTest, FieldsThatTwoEditAtATime) {
    for (const RecordsetType type : {RecordsetType::Table, RecordsetType::Dynaset}) {
        const auto first = database_->OpenRecordset(u"TrainInfo", type);
        const auto second = database_->OpenRecordset(u"TrainInfo", type);
        for (const auto& rows : {first, second}) {
            rows->MoveFirst();
            rows->Edit();
        }
        first->Fields(u"Remark").Value(u"first");
        second->Fields(u"Remark").Value(u"second");
        second->Fields(u"Score").Value(3.5);
        first->Update();
        EXPECT_EQ(ErrorOf([&] { second->Update(); }), static_cast<int>(ErrorNumber::RecordChanged));
        EXPECT_EQ(second->Fields(u"Remark").OriginalValue(), Value(u"first"));
        EXPECT_EQ(Column(u"Select Top 1 Remark From TrainInfo", u"Remark"), u"first");
        second->Update();
        EXPECT_EQ(Column(u"Select Top 1 Remark From TrainInfo", u"Remark"), u"second");
        first->Edit();
        second->Edit();
        first->Fields(u"Remark").Value(u"both");
        second->Fields(u"Score").Value(4.5);
        first->Update();
        second->Update();
        EXPECT_EQ(Column(u"Select Top 1 Remark & Score As S From TrainInfo", u"S"), u"both4.5");
    }
}

TEST_F(RecordsetTypesTest, RowsWithoutAKeyThatTwoEditAtATime) {
    database_->Execute(u"CREATE TABLE Loose (A LONG, D DOUBLE)");
    database_->Execute(u"INSERT INTO Loose VALUES (1, 1)");
    const auto first = database_->OpenRecordset(u"Loose", RecordsetType::Dynaset);
    const auto second = database_->OpenRecordset(u"Loose", RecordsetType::Dynaset);
    for (const auto& rows : {first, second}) rows->Edit();
    first->Fields(u"A").Value(2);
    first->Update();
    second->Fields(u"A").Value(3);
    EXPECT_EQ(ErrorOf([&] { second->Update(); }), static_cast<int>(ErrorNumber::RecordChanged));
    second->Update();
    EXPECT_EQ(Column(u"Select A From Loose", u"A"), u"3");
    second->Edit();
    second->Fields(u"D").Value(std::numeric_limits<double>::quiet_NaN());
    second->Update();
    second->Edit();
    second->Fields(u"D").Value(4.0);
    second->Update();
    EXPECT_EQ(Column(u"Select D From Loose", u"D"), u"4");
}

TEST_F(RecordsetTypesTest, TablesThatOthersChangeMeanwhile) {
    const auto other = JetDatabase::Open(Name(u"Client.mdb"));
    const auto rows = Open(RecordsetType::Dynaset, u"SELECT * FROM TrainInfo");
    other->Execute(u"ALTER TABLE TrainInfo DROP COLUMN Content");
    EXPECT_EQ(ErrorOf([&] { rows->Edit(); }), static_cast<int>(ErrorNumber::ObjectInvalid));
    EXPECT_EQ(ErrorOf([&] { rows->Requery(); }), static_cast<int>(ErrorNumber::ObjectInvalid));
    other->Execute(u"ALTER TABLE TrainInfo ADD COLUMN Content MEMO");
    rows->Requery();
    EXPECT_EQ(Rest(*rows), u"1 2 3 4 5");
}

TEST_F(RecordsetTypesTest, RowsAtOnce) {
    const auto rows = Open(RecordsetType::ForwardOnly, u"Select TrainID, Remark From TrainInfo");
    auto taken = rows->GetRows(2);
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(taken[1][0], Value(2));
    EXPECT_EQ(taken[1][1], Value(u"备注2"));
    EXPECT_EQ(Number(*rows), 3);
    EXPECT_EQ(rows->GetRows(100).size(), 3U);
    EXPECT_EQ(ErrorOf([&] { rows->GetRows(1); }), static_cast<int>(ErrorNumber::NoCurrentRecord));
    const auto moved = Open(RecordsetType::Snapshot);
    moved->MoveLast();
    moved->Move(-1);
    moved->Move(-2, moved->Bookmark());
    EXPECT_EQ(Number(*moved), 2);
}

// Longer than what is kept at a time.
TEST_F(RecordsetTypesTest, EachTypeHasAllRowsOfALongTable) {
    database_->Execute(u"CREATE TABLE Numbers (TrainID LONG PRIMARY KEY, M MEMO)");
    database_->Atomically([&] {
        for (std::int32_t i = 1; i <= 3000; ++i)
            database_->Execute(u"INSERT INTO Numbers VALUES (" + ToText(i) + u", 'm" + ToText(i) + u"')");
    });
    for (const RecordsetType type : kTypes) {
        const auto rows = Open(type, u"Numbers");
        std::int32_t expected = 0;
        for (; !rows->Eof(); rows->MoveNext()) {
            ASSERT_EQ(Number(*rows), ++expected) << static_cast<int>(type);
            if (expected % 500 == 0 && expected < 3000) {
                EXPECT_EQ(rows->Fields(u"M").Value(), Value(u"m" + ToText(expected)));
                rows->Move(7);
                expected += 7;
                EXPECT_EQ(Number(*rows), expected);
            }
        }
        EXPECT_EQ(expected, 3000);
    }
}

TEST_F(RecordsetTypesTest, EditingStepByStep) {
    for (const RecordsetType type : {RecordsetType::Table, RecordsetType::Dynaset}) {
        const auto rows = Open(type);
        rows->Edit();
        EXPECT_EQ(rows->EditMode(), EditMode::InProgress);
        Field& remark = rows->Fields(u"Remark");
        const Value before = remark.Value();
        remark.Value(u"neu");
        EXPECT_EQ(remark.OriginalValue(), before);
        rows->MoveNext();
        EXPECT_EQ(rows->EditMode(), EditMode::None) << "to move gives it up";
        rows->MovePrevious();
        EXPECT_EQ(remark.Value(), before);
        rows->AddNew();
        EXPECT_EQ(rows->EditMode(), EditMode::Add);
        rows->CancelUpdate();
        EXPECT_EQ(rows->EditMode(), EditMode::None);
    }
}

}  // namespace
}  // namespace qmtrain::dao
