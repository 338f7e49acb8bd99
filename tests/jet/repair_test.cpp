// What follows from the rows is repaired; where other damage remains, the file stays as it is.

#include "jet/repair.h"

#include <gtest/gtest.h>

#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

using test::Rows;
using test::Write;

class RepairTest : public testing::TestWithParam<Version> {
protected:
    RepairTest() { Make(); }

    void Make() {
        database_.reset();
        std::filesystem::remove(folder_.Path() / "t.mdb");
        database_ = Database::Create(folder_.Path() / "t.mdb", {.version = GetParam()}, {.durable = false});
        Write(*database_, [&] {
            database_->CreateTable({.name = u"Notes",
                                    .columns = {{.name = u"K", .type = ColumnType::Long}, {.name = u"Name"}},
                                    .indexes = {{.name = u"PrimaryKey", .columns = {{u"K"}}, .primary = true},
                                                {.name = u"ByName", .columns = {{u"Name", false}}}}});
            const auto table = database_->FindTable(u"Notes");
            for (int i = 0; i < 1500; ++i) table->Insert(std::vector<Value>{i, u"note " + ToText((i * 7) % 600)});
        });
    }

    // Changes bytes of a page.
    void Damage(PageNumber page, std::size_t at, std::initializer_list<std::uint8_t> bytes) {
        Write(*database_, [&] { std::ranges::copy(bytes, database_->GetPager().Write(page).Data() + at); });
    }

    bool IsSound() { return CheckDatabase(*database_).defects.empty() && CheckDatabase(*database_).notes.empty(); }

    test::ScratchFolder folder_;
    std::unique_ptr<Database> database_ = nullptr;
};

TEST_P(RepairTest, MakesIndexesAndCountsAnew) {
    const FileFormat& format = FormatOf(GetParam());
    PageNumber definition = 0;
    PageNumber root = 0;
    PageNumber leaf = 0;
    {
        const Database::Reading reading(*database_);
        const auto table = database_->FindTable(u"Notes");
        definition = table->Definition().page;
        root = table->Definition().real_indexes[0].root;
        leaf = table->Tree(1).FindLeaf({});
    }
    const auto rows = Rows(*database_, u"Notes");
    const PageNumber pages = test::PagesOf(*database_);
    struct Case {
        const char* name;
        PageNumber page;
        std::size_t at;
        std::initializer_list<std::uint8_t> bytes;
    };
    const Case cases[] = {
        {"number of rows", definition, format.definition_rows, {7, 0, 0, 0}},
        {"an entry's key", leaf, format.index_entries + 3, {0}},
        {"the root is no index page", root, 0, {9}},
        {"the chain of the leaves", leaf, format.index_previous + 4, {3, 0, 0, 0}},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        Make();
        Damage(test.page, test.at, test.bytes);
        EXPECT_FALSE(IsSound());
        for (int round = 0; round < 3; ++round) Repair(*database_);
        test::ExpectClean(*database_, test.page != root);  // a page that nothing refers to stays
        EXPECT_EQ(Rows(*database_, u"Notes"), rows);
        EXPECT_LT(test::PagesOf(*database_), pages * 2) << "the pages of the old trees are used again";
    }
}

TEST_P(RepairTest, ChangesNothingWhereRowsAreDamaged) {
    PageNumber data = 0;
    {
        const Database::Reading reading(*database_);
        data = database_->FindTable(u"Notes")->OwnedMap().Next(1);
    }
    Damage(data, FormatOf(GetParam()).data_slots + 4, {0xFF, 0x1F});
    const auto path = database_->GetPager().Path();
    const auto before = test::ReadFile(path);
    EXPECT_EQ(ErrorOf([&] { Repair(*database_); }), static_cast<std::int32_t>(ErrorNumber::FileDamaged));
    EXPECT_TRUE(test::ReadFile(path) == before);
}

INSTANTIATE_TEST_SUITE_P(, RepairTest, testing::Values(Version::Jet3, Version::Jet4), test::VersionName);

}  // namespace
}  // namespace qmtrain::jet
