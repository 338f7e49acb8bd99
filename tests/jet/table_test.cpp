// Constraints, relationships, structure changes, and the limits of what is written.

#include <filesystem>
#include <fstream>
#include <functional>

#include <gtest/gtest.h>

#include "jet/header.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

using test::ExpectClean;
using test::Insert;
using test::PagesOf;
using test::Rows;
using test::Write;

class TableTest : public testing::TestWithParam<Version> {
protected:
    std::unique_ptr<Database> Create(NewDatabase settings = {}) {
        settings.version = GetParam();
        return Database::Create(folder_.Path() / "test.mdb", settings);
    }

    static std::u16string Own(std::u16string_view text) { return test::Fitting(text, GetParam()); }
    static std::u16string Own(std::size_t length, char16_t unit) { return Own(std::u16string(length, unit)); }

    // TrainInfo 1 — n TrainResult.
    std::unique_ptr<Database> CreateRelated(bool cascade) {
        auto database = Create();
        Write(*database, [&] {
            database->CreateTable({.name = u"TrainInfo",
                                   .columns = {{.name = u"TrainID", .type = ColumnType::Long},
                                               {.name = u"Score", .type = ColumnType::Single}},
                                   .indexes = {{.name = u"PrimaryKey", .columns = {{u"TrainID"}}, .primary = true}}});
            database->CreateTable(
                {.name = u"TrainResult",
                 .columns = {{.name = u"TrainID", .type = ColumnType::Long}, {.name = u"Answer", .size = 20}}});
            database->CreateRelationship({.name = u"TrainInfoTrainResult",
                                          .table = u"TrainResult",
                                          .columns = {u"TrainID"},
                                          .referenced_table = u"TrainInfo",
                                          .referenced_columns = {u"TrainID"},
                                          .cascade_update = cascade,
                                          .cascade_delete = cascade});
        });
        return database;
    }

    test::ScratchFolder folder_;
};

TEST_P(TableTest, RefusesWhatBreaksAConstraintAndChangesNothing) {
    auto database = Create();
    Write(*database, [&] {
        database->CreateTable({.name = u"Notes",
                               .columns = {{.name = u"NoteID", .type = ColumnType::Long, .autonumber = true},
                                           {.name = u"Code", .size = 5, .required = true, .allow_zero_length = false},
                                           {.name = u"Name", .size = 10},
                                           {.name = u"Kind", .type = ColumnType::Byte},
                                           {.name = u"Data", .type = ColumnType::Binary, .size = 4}},
                               .indexes = {{.name = u"PrimaryKey", .columns = {{u"NoteID"}}, .primary = true},
                                           {.name = u"Unique", .columns = {{u"Name"}, {u"Kind"}}, .unique = true},
                                           {.name = u"Required", .columns = {{u"Kind"}}, .required = true}}});
    });
    const auto kind = [](int value) { return Value(static_cast<std::uint8_t>(value)); };
    Insert(*database, u"Notes", {{}, u"c1", Own(u"计算机"), kind(1), {}});
    struct Case {
        const char* name;
        std::vector<Value> row;
        ErrorNumber error;
    };
    const std::vector<Case> cases = {
        {"required column", {{}, {}, u"x", kind(1), {}}, ErrorNumber::FieldRequired},
        {"zero length", {{}, u"", u"x", kind(1), {}}, ErrorNumber::ZeroLengthNotAllowed},
        {"text too long", {{}, u"123456", u"x", kind(1), {}}, ErrorNumber::FieldTooLarge},
        {"binary too long", {{}, u"c", u"x", kind(1), Bytes(5)}, ErrorNumber::FieldTooLarge},
        {"same key", {{}, u"c", Own(u"计算机"), kind(1), {}}, ErrorNumber::DuplicateKey},
        {"key differs in blanks only", {{}, u"c", Own(u"计算机  "), kind(1), {}}, ErrorNumber::DuplicateKey},
        {"primary key given twice", {1, u"c", u"y", kind(1), {}}, ErrorNumber::DuplicateKey},
        {"Null in a required index", {{}, u"c", u"y", {}, {}}, ErrorNumber::IndexKeyNull},
        {"another type", {{}, u"c", u"y", u"1", {}}, ErrorNumber::DataTypeConversion},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ErrorOf([&] { Insert(*database, u"Notes", c.row); }), static_cast<int>(c.error)) << c.name;
        EXPECT_EQ(Rows(*database, u"Notes").size(), 1U) << c.name;
    }
    // Refused insertions did not use up numbers; the autonumber follows an explicit one.
    Insert(*database, u"Notes", {7, u"c2", u"a", kind(2), {}});
    Insert(*database, u"Notes", {{}, u"c3", u"b", kind(2), {}});
    EXPECT_EQ(Rows(*database, u"Notes").back()[0], Value(8));
    ExpectClean(*database);
}

TEST_P(TableTest, RelationshipWithoutCascadeRefuses) {
    auto database = CreateRelated(false);
    const RowPointer parent = Insert(*database, u"TrainInfo", {1, 60.5F});
    const RowPointer child = Insert(*database, u"TrainResult", {1, u"A"});
    Insert(*database, u"TrainResult", {Null{}, u"refers to nothing"});
    const ColumnChange orphan{0, 9};
    const auto info = [&] { return database->FindTable(u"TrainInfo"); };
    const auto result = [&] { return database->FindTable(u"TrainResult"); };
    const auto required = static_cast<int>(ErrorNumber::RelatedRecordRequired);
    const auto exist = static_cast<int>(ErrorNumber::RelatedRecordsExist);
    EXPECT_EQ(ErrorOf([&] { Insert(*database, u"TrainResult", {2, u"B"}); }), required);
    EXPECT_EQ(ErrorOf([&] { Write(*database, [&] { result()->Update(child, std::span(&orphan, 1)); }); }), required);
    EXPECT_EQ(ErrorOf([&] { Write(*database, [&] { info()->Delete(parent); }); }), exist);
    EXPECT_EQ(ErrorOf([&] { Write(*database, [&] { info()->Update(parent, std::span(&orphan, 1)); }); }), exist);
    const ColumnChange score{1, 90.0F};
    Write(*database, [&] { info()->Update(parent, std::span(&score, 1)); });
    EXPECT_EQ(Rows(*database, u"TrainInfo"), (std::vector<std::vector<Value>>{{1, 90.0F}}));
    Write(*database, [&] { result()->Delete(child); });
    Write(*database, [&] { info()->Delete(parent); });
    ExpectClean(*database);
}

TEST_P(TableTest, RelationshipCascades) {
    auto database = CreateRelated(true);
    const RowPointer first = Insert(*database, u"TrainInfo", {1, 60.0F});
    Insert(*database, u"TrainInfo", {2, 70.0F});
    for (int i = 0; i < 500; ++i) Insert(*database, u"TrainResult", {1 + i % 2, u"A"});
    const ColumnChange renumber{0, 10};
    Write(*database, [&] { database->FindTable(u"TrainInfo")->Update(first, std::span(&renumber, 1)); });
    const auto with = [&](int id) {
        int count = 0;
        for (const auto& row : Rows(*database, u"TrainResult")) count += row[0] == Value(id);
        return count;
    };
    EXPECT_EQ(with(1), 0);
    EXPECT_EQ(with(10), 250);
    Write(*database, [&] { database->FindTable(u"TrainInfo")->Delete(first); });
    EXPECT_EQ(with(10), 0);
    EXPECT_EQ(with(2), 250);
    ExpectClean(*database);
    Write(*database, [&] { database->DropRelationship(u"TrainInfoTrainResult"); });
    Insert(*database, u"TrainResult", {77, u"free"});
    ExpectClean(*database);
}

TEST_P(TableTest, ATableCanReferToItself) {
    auto database = Create();
    Write(*database, [&] {
        database->CreateTable(
            {.name = u"Tree",
             .columns = {{.name = u"Id", .type = ColumnType::Long}, {.name = u"Parent", .type = ColumnType::Long}},
             .indexes = {{.name = u"PrimaryKey", .columns = {{u"Id"}}, .primary = true}}});
        database->CreateRelationship({.name = u"TreeTree",
                                      .table = u"Tree",
                                      .columns = {u"Parent"},
                                      .referenced_table = u"Tree",
                                      .referenced_columns = {u"Id"},
                                      .cascade_delete = true});
    });
    const RowPointer root = Insert(*database, u"Tree", {1, 1});
    for (int id = 2; id < 100; ++id) Insert(*database, u"Tree", {id, id / 2});
    EXPECT_EQ(ErrorOf([&] {
                  Insert(*database, u"Tree", {200, 201});
              }),
              static_cast<int>(ErrorNumber::RelatedRecordRequired));
    Write(*database, [&] { database->FindTable(u"Tree")->Delete(root); });
    EXPECT_TRUE(Rows(*database, u"Tree").empty());
    ExpectClean(*database);
}

TEST_P(TableTest, StructureChangesKeepTheRows) {
    auto database = Create();
    Write(*database, [&] {
        database->CreateTable(
            {.name = u"T",
             .columns = {
                 {.name = u"A", .type = ColumnType::Long}, {.name = u"M", .type = ColumnType::Memo}, {.name = u"B"}}});
    });
    for (int i = 0; i < 300; ++i) Insert(*database, u"T", {i % 100, Own(i * 20, u'题'), u"b" + ToText(i)});
    const auto duplicate = static_cast<int>(ErrorNumber::DuplicateKey);
    EXPECT_EQ(ErrorOf([&] {
                  Write(*database,
                        [&] { database->CreateIndex(u"T", {.name = u"IA", .columns = {{u"A"}}, .unique = true}); });
              }),
              duplicate);
    Write(*database, [&] {
        database->CreateIndex(u"T", {.name = u"IA", .columns = {{u"A", false}, {u"B"}}, .unique = true});
        database->AddColumn(u"T", {.name = u"N", .type = ColumnType::Long, .autonumber = true});
        database->AddColumn(u"T", {.name = u"D", .type = ColumnType::Double, .default_expression = u"1.5"});
        database->AddColumn(u"T", {.name = u"M2", .type = ColumnType::Memo});
    });
    ExpectClean(*database);
    auto rows = Rows(*database, u"T");
    EXPECT_EQ(rows[299][3], Value(300));
    EXPECT_EQ(rows[7][4], Value(Null{}));
    Insert(*database, u"T", {5, u"memo", u"new", {}, 2.5, Own(5000, u'新')});
    EXPECT_EQ(Rows(*database, u"T").back()[3], Value(301));
    EXPECT_EQ(ErrorOf([&] { Write(*database, [&] { database->DropColumn(u"T", u"B"); }); }),
              static_cast<int>(ErrorNumber::FieldInIndex));
    Write(*database, [&] {
        database->DropColumn(u"T", u"M");
        database->DropIndex(u"T", u"ia");
    });
    rows = Rows(*database, u"T");
    ASSERT_EQ(rows.size(), 301U);
    EXPECT_EQ(rows[42][1], Value(u"b42"));
    EXPECT_EQ(rows[300][4], Value(Own(5000, u'新')));
    ExpectClean(*database);
    Write(*database, [&] { database->DropTable(u"T"); });
    const Database::Reading reading(*database);
    EXPECT_EQ(database->FindTable(u"T"), nullptr);
    ExpectClean(*database);
}

TEST_P(TableTest, DefinitionOverSeveralPages) {
    auto database = Create();
    TableSpec wide{.name = u"Wide"};
    for (int i = 0; i < 255; ++i)
        wide.columns.push_back({.name = u"A column with a long name, number " + ToText(i), .size = 10});
    for (int i = 0; i < 32; ++i)
        wide.indexes.push_back({.name = u"I" + ToText(i), .columns = {{wide.columns[i].name}}});
    Write(*database, [&] { database->CreateTable(wide); });
    std::vector<Value> row(255);
    row[254] = u"last";
    Insert(*database, u"Wide", row);
    database = nullptr;
    database = Database::Open(folder_.Path() / "test.mdb");
    EXPECT_EQ(Rows(*database, u"wide")[0][254], Value(u"last"));
    EXPECT_EQ(ErrorOf([&] { Write(*database, [&] { database->AddColumn(u"Wide", {.name = u"one more"}); }); }),
              static_cast<int>(ErrorNumber::TooManyFields));
    ExpectClean(*database);
}

TEST_P(TableTest, RowsThatGrowMoveAndKeepTheirIdentity) {
    auto database = Create();
    Write(*database, [&] {
        database->CreateTable({.name = u"T",
                               .columns = {{.name = u"K", .type = ColumnType::Long},
                                           {.name = u"A"},
                                           {.name = u"B"},
                                           {.name = u"C"},
                                           {.name = u"D"},
                                           {.name = u"M", .type = ColumnType::Memo}},
                               .indexes = {{.name = u"PrimaryKey", .columns = {{u"K"}}, .primary = true}}});
    });
    std::vector<RowPointer> rows;
    for (int i = 0; i < 400; ++i) rows.push_back(Insert(*database, u"T", {i, u"a", {}, {}, {}, u"m"}));
    // Grows past its page, grows again, shrinks, and is deleted.
    for (const int length : {200, 255, 3, 255}) {
        Write(*database, [&] {
            const auto table = database->FindTable(u"T");
            for (std::size_t i = 0; i < rows.size(); i += 3) {
                const std::vector<ColumnChange> changes = {{1, Own(length, u'长')}, {3, Own(length, u'短')}};
                table->Update(rows[i], changes);
            }
        });
        ExpectClean(*database);
    }
    const auto stored = Rows(*database, u"T");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(stored[i][1], i % 3 == 0 ? Value(Own(255, u'长')) : Value(u"a"));
    }
    Write(*database, [&] {
        for (const RowPointer row : rows) database->FindTable(u"T")->Delete(row);
    });
    ExpectClean(*database);
    const std::u16string longest = Own(255, u'题');
    std::vector<Value> too_long = {1000, longest, longest, longest, longest, Own(30, u'记')};
    Insert(*database, u"T", too_long);  // the memo leaves the row, so that it fits
    EXPECT_EQ(Rows(*database, u"T")[0], too_long);
    ExpectClean(*database);
}

// What their index entries share is stored once; a page then holds more than a thousand of them.
TEST_P(TableTest, ManyRowsUnderOneKey) {
    constexpr std::int32_t kRows = 3000;
    auto database = Create();
    Write(*database, [&] {
        database->CreateTable({.name = u"TrainInfo",
                               .columns = {{.name = u"TrainID", .type = ColumnType::Long},
                                           {.name = u"UserId", .type = ColumnType::Long},
                                           {.name = u"SubjectCode", .type = ColumnType::Long}},
                               .indexes = {{.name = u"ByUser", .columns = {{u"UserId"}, {u"SubjectCode"}}}}});
        const auto table = database->FindTable(u"TrainInfo");
        for (std::int32_t i = 0; i < kRows; ++i) table->Insert(std::vector<Value>{i, 7, 1});
    });
    EXPECT_EQ(Rows(*database, u"TrainInfo").size(), static_cast<std::size_t>(kRows));
    ExpectClean(*database);

    // A walk along the index while each step adds a row elsewhere.
    std::int32_t walked = 0;
    Write(*database, [&] {
        database->CreateTable({.name = u"Seen", .columns = {{.name = u"Row", .type = ColumnType::Long}}});
        const auto seen = database->FindTable(u"Seen");
        RowCursor cursor(*database->FindTable(u"TrainInfo"));
        for (cursor.Range(0, {}, std::nullopt); cursor.Next(); ++walked) seen->Insert(std::vector<Value>{walked});
    });
    EXPECT_EQ(walked, kRows);
}

TEST_P(TableTest, ChineseOrderTakesAsciiOnly) {
    auto database = Create({.sort_order = kChineseOrder});
    EXPECT_EQ(database->CodePage(), 936);
    Write(*database, [&] {
        database->CreateTable({.name = u"Notes",
                               .columns = {{.name = u"Name"}, {.name = u"Content"}},
                               .indexes = {{.name = u"ByName", .columns = {{u"Name"}}}}});
    });
    Insert(*database, u"Notes", {u"Chapter_1", u"内容不在索引中"});
    EXPECT_EQ(ErrorOf([&] {
                  Insert(*database, u"Notes", {u"笔记", u"x"});
              }),
              static_cast<int>(ErrorNumber::TextOrderUnsupported));
    EXPECT_EQ(Rows(*database, u"Notes").size(), 1U);
    ExpectClean(*database);
}

TEST_P(TableTest, EncodedFileIsReadAndWritten) {
    {
        auto database = Create();
        Write(*database, [&] {
            database->CreateTable(
                {.name = u"T", .columns = {{.name = u"A"}}, .indexes = {{.name = u"IA", .columns = {{u"A"}}}}});
        });
    }
    // Encode it: the key on page 0, inside the masked area, and every other page with that key and its number.
    const auto path = folder_.Path() / "test.mdb";
    std::ifstream in(path, std::ios::binary);
    std::vector<char> chars((std::istreambuf_iterator<char>(in)), {});
    const std::span<std::uint8_t> bytes(reinterpret_cast<std::uint8_t*>(chars.data()), chars.size());
    constexpr std::uint32_t kKey = 0x1B2C3D4E;
    constexpr std::uint32_t kMask = 0x6B39DAC7;
    const std::size_t page_size = FormatOf(GetParam()).page_size;
    const std::size_t masked = FormatOf(GetParam()).masked_bytes;
    ApplyCipher(kMask, bytes.subspan(0x18, masked));
    Put(&bytes[0x3E], kKey);
    ApplyCipher(kMask, bytes.subspan(0x18, masked));
    for (std::uint32_t page = 1; page * page_size < bytes.size(); ++page)
        ApplyCipher(kKey ^ page, bytes.subspan(page * page_size, page_size));
    std::ofstream(path, std::ios::binary).write(chars.data(), static_cast<std::streamsize>(chars.size()));
    auto database = Database::Open(path);
    for (int i = 0; i < 2000; ++i) Insert(*database, u"T", {Own(u"密文") + ToText(i)});
    ExpectClean(*database);
    database = nullptr;
    database = Database::Open(path);
    EXPECT_EQ(Rows(*database, u"T").back()[0], Value(Own(u"密文") + u"1999"));
    ExpectClean(*database);
}

TEST_P(TableTest, LongValuesOfAllLengths) {
    auto database = Create();
    Write(*database, [&] {
        database->CreateTable(
            {.name = u"T",
             .columns = {{.name = u"O", .type = ColumnType::LongBinary}, {.name = u"M", .type = ColumnType::Memo}}});
    });
    std::vector<RowPointer> rows;
    std::vector<std::vector<Value>> expected;
    for (const int length : {0, 1, 32, 33, 64, 65, 2032, 2033, 4064, 4065, 4076, 4077, 8144, 8145, 100000, 5 << 20}) {
        Bytes bytes(static_cast<std::size_t>(length));
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
        expected.push_back({bytes, Own(static_cast<std::size_t>(length / 2), u'字')});
        rows.push_back(Insert(*database, u"T", expected.back()));
    }
    EXPECT_EQ(Rows(*database, u"T"), expected);
    ExpectClean(*database);
    const PageNumber pages = PagesOf(*database);
    for (int round = 0; round < 3; ++round) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::vector<ColumnChange> swapped = {{0, expected[rows.size() - 1 - i][0]},
                                                       {1, expected[(i + 5) % rows.size()][1]}};
            Write(*database, [&] { database->FindTable(u"T")->Update(rows[i], swapped); });
        }
        ExpectClean(*database);
    }
    EXPECT_LT(PagesOf(*database), pages * 2) << "freed pages are used again";
}

TEST_P(TableTest, LinkedTablesOpenThrough) {
    {
        auto bank = Database::Create(folder_.Path() / "Bank.mdb");
        Write(*bank, [&] { bank->CreateTable({.name = u"TBL_FILL", .columns = {{.name = u"C_RecNo"}}}); });
        Insert(*bank, u"TBL_FILL", {u"0102"});
    }
    auto database = Create();
    const auto link = [&](const char16_t* name, const char16_t* path) {
        Write(*database, [&] {
            const auto objects = database->TableAt(kObjectsPage);
            std::vector<Value> row(objects->Definition().columns.size());
            const auto set = [&](const char16_t* column, Value value) {
                row[objects->Definition().FindColumn(column)] = std::move(value);
            };
            static std::int32_t id = -2147483600;
            set(u"Id", id++);
            set(u"ParentId", 0x0F000001);
            set(u"Name", name);
            set(u"Type", CatalogObject::kLinkedTable);
            set(u"Flags", 0x200000);
            set(u"Database", path);
            set(u"ForeignName", u"TBL_FILL");
            objects->Insert(row);
        });
    };
    link(u"Relative", u"bank.MDB");
    link(u"Missing", u"D:\\exam\\Nowhere.mdb");
    EXPECT_EQ(Rows(*database, u"Relative"), (std::vector<std::vector<Value>>{{u"0102"}}));
    Insert(*database, u"Relative", {u"0103"});
    EXPECT_EQ(Rows(*database, u"Relative").size(), 2U);
    try {
        Rows(*database, u"Missing");
        FAIL() << "a missing file was opened";
    } catch (const AutomationError& error) {
        EXPECT_TRUE(error.Is(ErrorNumber::FileNotFound) || error.Is(ErrorNumber::InvalidPath)) << error.Number();
        EXPECT_NE(error.Description().find(u"Nowhere.mdb"), std::u16string::npos);
    }
}

TEST(SampleTables, StayCleanUnderChanges) {
    const test::ScratchFolder folder;
    const std::filesystem::path samples = QMTRAIN_SAMPLE_DIR;
    if (!std::filesystem::exists(samples)) GTEST_SKIP() << "no sample databases at " << samples;
    const std::vector<std::pair<const char*, std::u16string>> cases = {{"V2003/testV2003.mdb", u"Table1"},
                                                                       {"V2003/indexTestV2003.mdb", u"Table1"},
                                                                       {"V2003/test2V2003.mdb", u"MSP_PROJECTS"},
                                                                       {"V2003/overflowTestV2003.mdb", u"Table1"},
                                                                       {"V2003/delTestV2003.mdb", u"Table"},
                                                                       {"V2003/delColTestV2003.mdb", u"Table1"},
                                                                       {"V2003/compIndexTestV2003.mdb", u"Table1"},
                                                                       {"V2003/fixedNumericTestV2003.mdb", u"test"},
                                                                       {"V2003/testUnicodeCompV2003.mdb", u"Table"},
                                                                       {"V1997/testV1997.mdb", u"Table1"},
                                                                       {"V1997/indexTestV1997.mdb", u"Table1"},
                                                                       {"V1997/overflowTestV1997.mdb", u"Table1"},
                                                                       {"nwind.mdb", u"Customers"},
                                                                       {"nwind.mdb", u"Employees"}};
    for (const auto& [file, name] : cases) {
        SCOPED_TRACE(file);
        const auto copy = folder.Path() / "copy.mdb";
        std::filesystem::remove(copy);
        std::filesystem::copy_file(samples / file, copy);
        std::filesystem::permissions(copy, std::filesystem::perms::owner_all);
        auto database = Database::Open(copy);
        const auto before = Rows(*database, name);
        const auto own = [&](std::u16string_view text) { return test::Fitting(text, database->GetVersion()); };
        // Every row many times more, as far as keys allow; a third deleted, a third changed back to itself.
        std::vector<RowPointer> added;
        Write(*database, [&] {
            const auto table = database->FindTable(name);
            for (std::size_t i = 0; i < 2000; ++i) {
                std::vector<Value> row = before[i % before.size()];
                for (std::size_t j = 0; j < row.size(); ++j) {
                    const StoredColumn& column = table->Definition().columns[j];
                    if (column.type != ColumnType::Long) continue;
                    row[j] = column.IsAutonumber() ? Value() : Value(100000 + static_cast<int>(i));
                }
                const std::int32_t error = ErrorOf([&] { added.push_back(table->Insert(row)); });
                EXPECT_TRUE(error == 0 || error == static_cast<int>(ErrorNumber::DuplicateKey) ||
                            error == static_cast<int>(ErrorNumber::RelatedRecordRequired))
                    << error;
            }
            for (std::size_t i = 0; i < added.size(); ++i) {
                if (i % 3 == 0) table->Delete(added[i]);
                if (i % 3 == 1) table->Update(added[i], {});
            }
        });
        ExpectClean(*database, false);
        Write(*database, [&] {
            database->CreateTable({.name = own(u"我们的表"),
                                   .columns = {{.name = own(u"名称")}},
                                   .indexes = {{.name = own(u"按名称"), .columns = {{own(u"名称")}}}}});
        });
        Insert(*database, own(u"我们的表"), {u"v"});
        database = Database::Open(copy);
        EXPECT_EQ(Rows(*database, own(u"我们的表")).size(), 1U);
        ExpectClean(*database, false);
    }
}

// What Jet 3 cannot hold is refused by name, and nothing changes.
TEST(Jet3Limits, AreRefused) {
    const test::ScratchFolder folder;
    auto database = Database::Create(folder.Path() / "old.mdb", {.version = Version::Jet3});
    Write(*database, [&] {
        database->CreateTable({.name = u"T",
                               .columns = {{.name = u"K", .size = 5},
                                           {.name = u"M1", .type = ColumnType::Memo},
                                           {.name = u"M2", .type = ColumnType::Memo}},
                               .indexes = {{.name = u"IK", .columns = {{u"K"}}}}});
    });
    const std::u16string long_text(9000, u'x');
    const auto insert = [&](std::vector<Value> row) { database->FindTable(u"T")->Insert(row); };
    const auto add = [&](Column column) { database->AddColumn(u"T", column); };
    struct Case {
        const char* name;
        std::function<void()> run;
        ErrorNumber number;
        std::u16string_view shown;
    };
    const Case cases[] = {
        {"text",
         [&] {
             insert({u"a笔b", long_text, {}});
         },
         ErrorNumber::DataTypeConversion, u"“K”"},
        {"memo after a memo",
         [&] {
             insert({u"a", long_text, u"记"});
         },
         ErrorNumber::DataTypeConversion, u"“记”"},
        {"pair of surrogates",
         [&] {
             insert({u"a", long_text, u"\U00020000"});
         },
         ErrorNumber::DataTypeConversion, u"U+20000"},
        {"table", [&] { database->CreateTable({.name = u"表", .columns = {{.name = u"A"}}}); },
         ErrorNumber::InvalidName, u"“表”"},
        {"column", [&] { add({.name = u"列"}); }, ErrorNumber::InvalidName, u"“列”"},
        {"index", [&] { database->CreateIndex(u"T", {.name = u"引", .columns = {{u"K"}}}); }, ErrorNumber::InvalidName,
         u"“引”"},
        {"default value", [&] { add({.name = u"D", .default_expression = u"'值'"}); }, ErrorNumber::DataTypeConversion,
         u"“值”"},
        {"binary", [&] { add({.name = u"B", .type = ColumnType::Binary, .size = 256}); }, ErrorNumber::FieldTooLarge,
         u"“B”"},
        {"decimal", [&] { add({.name = u"N", .type = ColumnType::Decimal}); }, ErrorNumber::OperationNotSupported,
         u"“N”"},
    };
    Database::Writing writing(*database);
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        try {
            Database::Writing inner(*database);
            test.run();
            FAIL() << "was taken";
        } catch (const AutomationError& error) {
            EXPECT_TRUE(error.Is(test.number)) << error.what();
            EXPECT_NE(error.Description().find(test.shown), std::u16string::npos) << error.what();
        }
    }
    // A row that is refused has written none of its long values, even where the scope around it goes on.
    const PageNumber pages = PagesOf(*database);
    EXPECT_NE(ErrorOf([&] { insert({u"a", long_text, u"记"}); }), 0);
    EXPECT_EQ(PagesOf(*database), pages);
    writing.Commit();
    ExpectClean(*database);
}

// Texts of two bytes: a column's size counts bytes, and an index takes what the file itself shows to be right.
TEST(Jet3Chinese, HoldsItsCodePage) {
    const test::ScratchFolder folder;
    auto database =
        Database::Create(folder.Path() / "old.mdb", {.sort_order = kChineseOrder, .version = Version::Jet3});
    Write(*database, [&] {
        database->CreateTable({.name = u"Notes",
                               .columns = {{.name = u"笔记", .size = 8}, {.name = u"Code", .size = 10}},
                               .indexes = {{.name = u"ByCode", .columns = {{u"Code"}}, .unique = true}}});
    });
    Insert(*database, u"Notes", {u"计算机ab", u"0102"});
    const auto error_of = [&](std::vector<Value> row) { return ErrorOf([&] { Insert(*database, u"Notes", row); }); };
    EXPECT_EQ(error_of({u"计算机等级", u"0103"}), static_cast<int>(ErrorNumber::FieldTooLarge));
    EXPECT_EQ(error_of({u"x", u"章"}), static_cast<int>(ErrorNumber::TextOrderUnsupported));
    EXPECT_EQ(error_of({u"x", u"0102"}), static_cast<int>(ErrorNumber::DuplicateKey));
    EXPECT_EQ(Rows(*database, u"Notes"), (std::vector<std::vector<Value>>{{u"计算机ab", u"0102"}}));
    ExpectClean(*database);

    // Where the names of the tables stand in another order, no entry is made by ours.
    Write(*database, [&] {
        const auto objects = database->TableAt(kObjectsPage);
        MutablePage leaf = database->GetPager().Write(objects->Tree(0).FindLeaf({}));
        leaf.Data()[kJet3.index_entries + 6] ^= 1;  // the weight of the first name's first letter
    });
    database = Database::Open(folder.Path() / "old.mdb");
    EXPECT_EQ(error_of({u"x", u"0104"}), static_cast<int>(ErrorNumber::TextOrderUnsupported));
}

INSTANTIATE_TEST_SUITE_P(, TableTest, testing::Values(Version::Jet3, Version::Jet4), test::VersionName);

}  // namespace
}  // namespace qmtrain::jet
