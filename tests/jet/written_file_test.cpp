// A large file of our own making, as other programs read it.

#include <gtest/gtest.h>

#include "jet/support/other_readers.h"
#include "jet/support/program.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

// Other readers take long; they read the older form in a smaller file.
int RowsFor(Version version) {
    return version == Version::Jet4 ? 50000 : 8000;
}

class WrittenFileTest : public testing::TestWithParam<Version> {
protected:
    WrittenFileTest() : database_(Database::Create(Path(), {.version = GetParam()}, {.durable = false})) {
        test::Write(*database_, [&] {
            MakeTables();
            FillResults();
            FillValues();
        });
    }

    std::filesystem::path Path() const { return folder_.Path() / "written.mdb"; }

    void MakeTables() {
        using enum ColumnType;
        TableSpec results = {.name = u"TrainResult",
                             .columns = {{.name = u"ResultID", .type = Long, .autonumber = true},
                                         {.name = u"题号", .size = 40},
                                         {.name = u"答案", .size = 200},
                                         {.name = u"Done", .type = Boolean},
                                         {.name = u"Kind", .type = Byte},
                                         {.name = u"Points", .type = Integer},
                                         {.name = u"Score", .type = Single},
                                         {.name = u"Rate", .type = Double},
                                         {.name = u"Fee", .type = Currency},
                                         {.name = u"Time", .type = Date},
                                         {.name = u"Hash", .type = Binary, .size = 16},
                                         {.name = u"Guid", .type = Guid},
                                         {.name = u"Exact", .type = Decimal, .precision = 20, .scale = 0}},
                             .indexes = {{.name = u"PrimaryKey", .columns = {{u"ResultID"}}, .primary = true},
                                         {.name = u"ByText", .columns = {{u"答案"}, {u"Points", false}}},
                                         {.name = u"ByNumber", .columns = {{u"题号"}}, .unique = true}}};
        if (GetParam() == Version::Jet3) MakeFit(results);
        database_->CreateTable(results);
        database_->CreateTable(
            {.name = u"Values",
             .columns = {
                 {.name = u"K", .type = Long}, {.name = u"Memo", .type = Memo}, {.name = u"Ole", .type = LongBinary}}});
    }

    // In Jet 3 there are no decimals.
    static void MakeFit(TableSpec& table) {
        table.columns.pop_back();
        for (Column& column : table.columns) column.name = Own(column.name);
        for (IndexSpec& index : table.indexes) {
            for (IndexColumnSpec& part : index.columns) part.column = Own(part.column);
        }
    }

    static std::u16string Own(std::u16string_view text) { return test::Fitting(text, GetParam()); }

    // All are inserted, a third is deleted, a third changed so that many rows move.
    void FillResults() {
        const auto table = database_->FindTable(u"TrainResult");
        std::vector<RowPointer> rows;
        const int count = RowsFor(GetParam());
        for (int i = 0; i < count; ++i) rows.push_back(table->Insert(ResultRow(i)));
        for (int i = 0; i < count; ++i) {
            if (i % 3 == 0) table->Delete(rows[i]);
            if (i % 3 != 1) continue;
            const std::vector<ColumnChange> changes = {
                {2, Own(std::u16string(static_cast<std::size_t>(i % 150), u'改')) + ToText(i)},
                {8, Currency{-i}},
                {9, Null{}}};
            table->Update(rows[i], changes);
        }
    }

    static std::vector<Value> ResultRow(int i) {
        const auto byte = static_cast<std::uint8_t>(1 + i % 255);
        std::vector<Value> row = {Value(),
                                  u"0102-" + ToText(i),
                                  i % 7 == 0 ? Value(Null{}) : Value(Own(u"答案 Antwort №") + ToText(i % 1000)),
                                  i % 2 == 0,
                                  byte,
                                  static_cast<std::int16_t>(i - 20000),
                                  static_cast<float>(i) / 4,
                                  i / 7.0,
                                  Currency{i * 1234LL},
                                  Date{30000 + i / 1440.0},
                                  Bytes{byte, 2, 255, 4},
                                  GuidToText(Bytes(16, byte).data()),
                                  Decimal{i % 5 == 0, 0, 0, static_cast<std::uint64_t>(i) * 1000003 + 1}};
        if (GetParam() == Version::Jet3) row.pop_back();
        return row;
    }

    void FillValues() {
        const auto table = database_->FindTable(u"Values");
        int key = 0;
        for (const int length :
             {1, 2, 31, 32, 33, 64, 65, 2000, 2032, 2033, 4064, 4065, 4076, 4077, 8144, 8145, 50000, 5 << 20}) {
            Bytes bytes(static_cast<std::size_t>(length));
            for (std::size_t i = 0; i < bytes.size(); ++i)
                bytes[i] = static_cast<std::uint8_t>(1 + (i * 7 + i / 250) % 255);
            const std::size_t units = std::min(length, 30000);
            const std::u16string text = Own(std::u16string(units, key % 2 == 0 ? u'长' : u'x'));
            table->Insert(std::vector<Value>{++key, text, bytes});
        }
    }

    test::ScratchFolder folder_;
    std::unique_ptr<Database> database_;
};

TEST_P(WrittenFileTest, OtherProgramsReadTheSame) {
    test::ExpectClean(*database_);
    if (test::HasProgram("mdb-export")) test::ExpectSameAsMdbTools(*database_, Path());
    if (test::MdbReaderModules() != nullptr) test::ExpectSameAsMdbReader(*database_, Path());
}

INSTANTIATE_TEST_SUITE_P(, WrittenFileTest, testing::Values(Version::Jet3, Version::Jet4), test::VersionName);

}  // namespace
}  // namespace qmtrain::jet
