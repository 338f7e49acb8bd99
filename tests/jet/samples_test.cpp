// Databases made by Access: everything in them as other programs read it, and every row through every index.

#include "jet/support/samples.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "core/text.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/row_cursor.h"
#include "jet/support/other_readers.h"
#include "jet/support/program.h"

namespace qmtrain::jet {
namespace {

class SampleTest : public testing::TestWithParam<test::Sample> {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(GetParam().Path())) {
            GTEST_SKIP() << "no sample databases in " << test::SampleFolder();
        }
        copy_.emplace(GetParam());
    }

    Database& Open() { return copy_->Database(); }
    std::string Path() const { return copy_->Path().string(); }

private:
    std::optional<test::SampleCopy> copy_;
};

TEST_P(SampleTest, IsSoundAndHasTheKnownFigures) {
    const CheckReport report = CheckDatabase(Open());
    for (const std::u16string& defect : report.defects) ADD_FAILURE() << ToUtf8(defect);
    const test::Sample& expected = GetParam();
    EXPECT_EQ(report.tables, expected.tables);
    EXPECT_EQ(report.rows, expected.rows);
    EXPECT_EQ(report.index_entries, expected.entries);
    EXPECT_EQ(report.entries_not_compared, 0);
    const Database::Reading reading(Open());
    std::size_t indexes = 0;
    for (const auto& table : test::AllTables(Open())) indexes += table->Definition().real_indexes.size();
    EXPECT_EQ(indexes, static_cast<std::size_t>(expected.indexes));
}

TEST_P(SampleTest, ReadsAsMdbToolsReadsIt) {
    if (!test::HasProgram("mdb-export")) GTEST_SKIP() << "mdb-export is not installed";
    test::ExpectSameAsMdbTools(Open(), Path());
}

TEST_P(SampleTest, ReadsAsMdbReaderReadsIt) {
    if (test::MdbReaderModules() == nullptr) GTEST_SKIP() << test::kNoMdbReader;
    test::ExpectSameAsMdbReader(Open(), Path());
}

class IndexWalk {
public:
    IndexWalk(const std::shared_ptr<Table>& table, std::size_t index)
        : table_(table), real_(table->Definition().real_indexes[index]), index_(index) {}

    // Every row that belongs into the index is found through a range on its own key.
    void FindEachRow() {
        RowCursor rows(*table_);
        RowCursor found(*table_);
        for (rows.Scan(); rows.Next();) {
            const std::vector<Value> values = KeyValues(rows);
            const bool left_out =
                real_.IgnoresNulls() &&
                std::all_of(values.begin(), values.end(), [](const Value& value) { return value.IsNull(); });
            Bytes key;
            ASSERT_TRUE(table_->HasKeys(index_, values));
            table_->AppendKey(index_, values, key);
            std::size_t times = 0;
            for (found.Range(index_, key, SuccessorOf(key)); found.Next();) {
                Bytes found_key;
                table_->AppendKey(index_, KeyValues(found), found_key);
                EXPECT_EQ(found_key, key);
                times += found.Row() == rows.Row();
            }
            EXPECT_EQ(times, left_out ? 0U : 1U) << "page " << rows.Row().page << " slot " << int{rows.Row().slot};
        }
    }

    void WalkBothWays() {
        std::vector<RowPointer> forward = Walk(false);
        std::vector<RowPointer> backward = Walk(true);
        std::reverse(backward.begin(), backward.end());
        EXPECT_EQ(forward, backward);
        EXPECT_EQ(std::set<RowPointer>(forward.begin(), forward.end()).size(), forward.size());
    }

private:
    std::vector<Value> KeyValues(RowCursor& cursor) const {
        std::vector<Value> values(real_.columns.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            cursor.Read(static_cast<std::size_t>(table_->Definition().ColumnByNumber(real_.columns[i].number)),
                        values[i]);
        }
        return values;
    }

    std::vector<RowPointer> Walk(bool backwards) {
        std::vector<RowPointer> rows;
        RowCursor cursor(*table_);
        for (cursor.Range(index_, {}, std::nullopt, backwards); cursor.Next();) rows.push_back(cursor.Row());
        return rows;
    }

    std::shared_ptr<Table> table_;
    const RealIndex& real_;
    std::size_t index_;
};

TEST_P(SampleTest, FindsEveryRowThroughEveryIndex) {
    const Database::Reading reading(Open());
    for (const auto& table : test::AllTables(Open())) {
        for (std::size_t index = 0; index < table->Definition().real_indexes.size(); ++index) {
            SCOPED_TRACE(ToUtf8(table->Name() + u"." + table->IndexName(index)));
            IndexWalk walk(table, index);
            walk.FindEachRow();
            walk.WalkBothWays();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, SampleTest, testing::ValuesIn(test::Samples()),
                         [](const auto& info) { return std::filesystem::path(info.param.file).stem().string(); });

}  // namespace
}  // namespace qmtrain::jet
