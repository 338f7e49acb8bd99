// A long random series of changes, compared with a plain model in memory after each step.

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "core/collation.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/row_cursor.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

using Row = std::vector<Value>;

// One column of every type that can be made.
TableSpec EveryType(Version version) {
    using enum ColumnType;
    TableSpec table;
    table.name = u"全部类型";
    table.columns = {{.name = u"编号", .type = Long, .autonumber = true},
                     {.name = u"是否", .type = Boolean},
                     {.name = u"字节", .type = Byte},
                     {.name = u"整数", .type = Integer},
                     {.name = u"长整", .type = Long},
                     {.name = u"货币", .type = Currency},
                     {.name = u"单精", .type = Single},
                     {.name = u"双精", .type = Double},
                     {.name = u"日期", .type = Date},
                     {.name = u"二进制", .type = Binary, .size = 40},
                     {.name = u"文本", .type = Text, .size = 100},
                     {.name = u"图像", .type = LongBinary},
                     {.name = u"备注", .type = Memo},
                     {.name = u"标识", .type = Guid},
                     {.name = u"小数", .type = Decimal, .precision = 20, .scale = 4}};
    table.indexes = {
        {.name = u"PrimaryKey", .columns = {{u"编号"}}, .primary = true},
        {.name = u"按文本", .columns = {{u"文本"}, {u"日期", false}}},
        {.name = u"按数", .columns = {{u"长整", false}, {u"整数"}}, .ignore_nulls = true},
        {.name = u"按标识", .columns = {{u"标识"}}, .unique = true},
        {.name = u"按其余", .columns = {{u"货币"}, {u"单精"}, {u"双精", false}, {u"字节"}, {u"是否"}, {u"二进制"}}}};
    if (version == Version::Jet4) return table;
    // Other names, and no decimals.
    table.columns.pop_back();
    const auto rename = [](std::u16string& name) { name = test::Fitting(name, Version::Jet3); };
    for (Column& column : table.columns) rename(column.name);
    for (IndexSpec& index : table.indexes) {
        rename(index.name);
        for (IndexColumnSpec& part : index.columns) rename(part.column);
    }
    rename(table.name);
    return table;
}

class Series {
public:
    Series(std::uint64_t seed, Version version) : random_(seed), version_(version), spec_(EveryType(version)) {
        database_ = Database::Create(folder_.Path() / "model.mdb", {.version = version});
        Database::Writing writing(*database_);
        database_->CreateTable(spec_);
        writing.Commit();
    }

    void Step() {
        switch (Pick(20)) {
            case 0: Reopen(); break;
            case 1: RolledBack(); break;
            case 2:
            case 3:
            case 4:
            case 5:
            case 6: Delete(); break;
            case 7:
            case 8:
            case 9:
            case 10:
            case 11: Update(); break;
            default: Insert(); break;
        }
    }

    // The table holds what the model holds, by a scan and by every index in its order.
    void Compare() {
        const Database::Reading reading(*database_);
        const auto table = database_->FindTable(spec_.name);
        ASSERT_EQ(table->RowCount(), static_cast<std::int64_t>(model_.size()));
        std::size_t rows = 0;
        RowCursor cursor(*table);
        for (cursor.Scan(); cursor.Next(); ++rows) {
            const auto expected = model_.find(cursor.Row());
            ASSERT_NE(expected, model_.end());
            ASSERT_EQ(ReadAll(cursor), expected->second);
        }
        ASSERT_EQ(rows, model_.size());
        for (std::size_t index = 0; index < table->Definition().real_indexes.size(); ++index) {
            std::size_t entries = 0;
            for (cursor.Range(index, {}, std::nullopt, Pick(2) == 0); cursor.Next();) ++entries;
            std::size_t expected = 0;
            for (const auto& [where, row] : model_) expected += index != 2 || !row[4].IsNull() || !row[3].IsNull();
            ASSERT_EQ(entries, expected) << "index " << index;
        }
    }

    void Check() {
        const CheckReport report = CheckDatabase(*database_);
        for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
        for (const std::u16string& line : report.notes) ADD_FAILURE() << ToUtf8(line);
        EXPECT_EQ(report.entries_not_compared, 0);
    }

private:
    int Pick(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

    std::u16string RandomText(int length) {
        static constexpr std::u16string_view kLetters = u"abcXYZ 019-'éüßæΩЖ计算机等级考试（）ＡアｱĀ中";
        std::u16string text;
        while (length-- > 0) text.push_back(kLetters[Pick(static_cast<int>(kLetters.size()))]);
        return test::Fitting(text, version_);
    }

    Bytes RandomBytes(int length) {
        Bytes bytes(static_cast<std::size_t>(length));
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_());
        return bytes;
    }

    int LongLength() {
        switch (Pick(8)) {
            case 0: return Pick(40000);
            case 1: return (version_ == Version::Jet4 ? 4000 : 2000) + Pick(200);
            case 2: return (version_ == Version::Jet4 ? 60 : 30) + Pick(10);
            default: return Pick(200);
        }
    }

    Value RandomValue(const StoredColumn& column) {
        if (column.type != ColumnType::Boolean && Pick(6) == 0) return Null{};
        switch (column.type) {
            case ColumnType::Boolean: return Pick(2) == 0;
            case ColumnType::Byte: return static_cast<std::uint8_t>(Pick(256));
            case ColumnType::Integer: return static_cast<std::int16_t>(random_());
            case ColumnType::Long: return static_cast<std::int32_t>(Pick(50) - 25);
            case ColumnType::Currency: return Currency{static_cast<std::int64_t>(random_())};
            case ColumnType::Single: return static_cast<float>(Pick(2000) - 1000) / 8;
            case ColumnType::Double: return static_cast<double>(static_cast<std::int32_t>(random_())) / 3;
            case ColumnType::Date: return Date{static_cast<double>(Pick(80000) - 20000) + Pick(24) / 24.0};
            case ColumnType::Binary: return RandomBytes(1 + Pick(40));
            case ColumnType::Text: return RandomText(Pick(Pick(3) == 0 ? 100 : 12));
            case ColumnType::LongBinary: return RandomBytes(LongLength());
            case ColumnType::Memo: return RandomText(LongLength() / static_cast<int>(FormatOf(version_).text_unit));
            case ColumnType::Guid: return GuidToText(RandomBytes(16).data());
            default: return Decimal{Pick(2) == 0, 4, 0, 1 + (random_() >> 1) % 10000000000ULL};
        }
    }

    static Row ReadAll(RowCursor& cursor) {
        Row row(cursor.GetTable().Definition().columns.size());
        for (std::size_t i = 0; i < row.size(); ++i) cursor.Read(i, row[i]);
        return row;
    }

    RowPointer AnyRow() {
        auto at = model_.begin();
        std::advance(at, Pick(static_cast<int>(model_.size())));
        return at->first;
    }

    void Insert() {
        Database::Writing writing(*database_);
        const auto table = database_->FindTable(spec_.name);
        for (int count = Pick(30); count >= 0; --count) {
            Row row;
            for (const StoredColumn& column : table->Definition().columns) {
                row.push_back(column.IsAutonumber() ? Value() : RandomValue(column));
            }
            const RowPointer where = table->Insert(row);
            row[0] = table->LastAutonumber();
            ASSERT_TRUE(model_.emplace(where, row).second);
        }
        writing.Commit();
    }

    void Update() {
        if (model_.empty()) return;
        Database::Writing writing(*database_);
        const auto table = database_->FindTable(spec_.name);
        for (int count = Pick(10); count >= 0; --count) {
            const RowPointer where = AnyRow();
            std::vector<ColumnChange> changes;
            for (std::size_t i = 1; i < table->Definition().columns.size(); ++i) {
                if (Pick(3) != 0) continue;
                changes.push_back({i, RandomValue(table->Definition().columns[i])});
                model_[where][i] = changes.back().value;
            }
            table->Update(where, changes);
        }
        writing.Commit();
    }

    void Delete() {
        Database::Writing writing(*database_);
        const auto table = database_->FindTable(spec_.name);
        for (int count = Pick(25); count >= 0 && !model_.empty(); --count) {
            const RowPointer where = AnyRow();
            table->Delete(where);
            model_.erase(where);
        }
        writing.Commit();
    }

    // Changes that are rolled back, inside a transaction that is committed or not.
    void RolledBack() {
        const auto before = model_;
        const bool transaction = Pick(2) == 0;
        if (transaction) database_->BeginTransaction();
        if (transaction) Insert();
        const auto kept = model_;
        {
            Database::Writing writing(*database_);
            const auto table = database_->FindTable(spec_.name);
            for (const auto& [where, row] : model_) {
                if (Pick(3) == 0) table->Delete(where);
            }
            table->Insert(Row(table->Definition().columns.size()));
        }
        model_ = kept;
        if (!transaction) return;
        if (Pick(2) == 0) {
            database_->CommitTransaction();
        } else {
            database_->RollbackTransaction();
            model_ = before;
        }
    }

    void Reopen() {
        database_.reset();
        database_ =
            Database::Open(folder_.Path() / "model.mdb", {.cache_bytes = Pick(2) == 0 ? 0 : std::size_t{32} << 20});
    }

    test::ScratchFolder folder_;
    std::mt19937_64 random_;
    Version version_;
    TableSpec spec_;
    std::unique_ptr<Database> database_;
    std::map<RowPointer, Row> model_;
};

class Model : public testing::TestWithParam<Version> {};

TEST_P(Model, RandomChangesAgreeWithAPlainModel) {
    const char* given = std::getenv("QMTRAIN_SEED");
    const std::uint64_t seed = given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device{}();
    std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
    Series series(seed, GetParam());
    for (int step = 0; step < 300 && !testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        series.Step();
        series.Compare();
        if (step % 50 == 49) series.Check();
    }
    series.Check();
}

INSTANTIATE_TEST_SUITE_P(, Model, testing::Values(Version::Jet3, Version::Jet4), test::VersionName);

}  // namespace
}  // namespace qmtrain::jet
