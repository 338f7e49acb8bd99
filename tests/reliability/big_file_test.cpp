// Files near the limit of the format: read and written with little memory, and full at the limit with nothing lost.

#include "jet/support/scratch.h"
#include "reliability/run_length.h"
#include "reliability/sample_table.h"
#include "support/peak_memory.h"

namespace qmtrain::test {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t kLittleMemory = std::size_t{512} << 20;  // freed memory is kept for a while
#else
constexpr std::size_t kLittleMemory = std::size_t{64} << 20;
#endif

class BigFileTest : public testing::TestWithParam<jet::Version> {
protected:
    static const jet::FileFormat& Form() { return jet::FormatOf(GetParam()); }
    std::filesystem::path Path() const { return folder_.Path() / "big.mdb"; }
    std::unique_ptr<jet::Database> Open() const {
        return jet::Database::Open(Path(), {.cache_bytes = 4 << 20, .durable = false});
    }

    static void Fill(jet::Database& database, std::u16string_view table, std::size_t bytes) {
        Write(database, [&] { database.FindTable(table)->Insert(std::vector<Value>{Bytes(bytes, 7)}); });
    }

    // Most of the file is a hole: pages of zeros that count as used and have no owner.
    void MakeHollow(std::uint64_t size) {
        MakeSample(Path(), FileSystem::Native(), GetParam());
        {
            const auto database = Open();
            Write(*database, [&] {
                database->CreateTable({.name = u"O", .columns = {{.name = u"B", .type = ColumnType::LongBinary}}});
            });
        }
        const std::uint64_t from = std::filesystem::file_size(Path()) / Form().page_size;
        std::filesystem::resize_file(Path(), size);
        const auto database = Open();
        Write(*database, [&] {
            jet::UsageMap free = database->Allocator().FreeMap();
            for (std::uint64_t page = from; page < size / Form().page_size; ++page)
                free.Remove(static_cast<jet::PageNumber>(page));
        });
    }

    ScratchFolder folder_;
};

// Pages that one table gives back do not make its neighbours' look free, wherever in the file they are.
TEST_P(BigFileTest, TablesPastTheFirstMapPage) {
    const std::uint64_t mapped = Form().PagesPerMapPage();
    for (const std::uint64_t pages : {mapped - 36, mapped, mapped + 1, 2 * mapped + 5000}) {
        SCOPED_TRACE(pages);
        MakeHollow(pages * Form().page_size);
        {
            const auto database = Open();
            for (int i = 0; i < 60; ++i) {
                Insert(*database, u"T", {1000 + i, u"", Fitting(std::u16string(5000, u'长'), GetParam())});
                Fill(*database, u"O", 5000);
            }
            Write(*database, [&] { DeleteRows(*database, 100); });
            for (int i = 0; i < 60; ++i) Fill(*database, u"O", 5000);
        }
        ExpectClean(*Open(), false);
        std::filesystem::remove(Path());
    }
}

TEST_P(BigFileTest, UpToTheLimit) {
    constexpr std::uint64_t kRoom = std::uint64_t{8} << 20;
    MakeHollow(IsLongRun() ? std::uint64_t{8} << 20 : Form().max_file_size - kRoom);
    if (IsLongRun()) {
        const auto database = Open();
        while (std::filesystem::file_size(Path()) < Form().max_file_size - kRoom - (std::uint64_t{7} << 20)) {
            Fill(*database, u"O", std::size_t{6} << 20);
        }
    }
    const std::size_t memory = PeakMemory();
    {
        const auto database = Open();
        Fill(*database, u"O", 3 << 20);
        Insert(*database, u"T", SampleRow(*database, 500));
        EXPECT_GT(PagesOf(*database), (Form().max_file_size - 2 * kRoom) / Form().page_size);
        const auto rows = Rows(*database, u"T").size();
        EXPECT_EQ(ErrorOf([&] { Fill(*database, u"O", 9 << 20); }),
                  static_cast<std::int32_t>(ErrorNumber::DatabaseTooLarge));
        EXPECT_EQ(Rows(*database, u"T").size(), rows);
        // What fits still goes in, to the last pages.
        int inserted = 0;
        std::int32_t error = 0;
        for (int key = 501; error == 0 && key < 2000; ++key) {
            error = ErrorOf([&] {
                Insert(*database, u"T", {key, u"", Fitting(std::u16string(20000, u'长'), GetParam())});
            });
            inserted += error == 0 ? 1 : 0;
        }
        EXPECT_EQ(error, static_cast<std::int32_t>(ErrorNumber::DatabaseTooLarge));
        EXPECT_GT(inserted, 100);
        EXPECT_EQ(Rows(*database, u"T").size(), rows + static_cast<std::size_t>(inserted));
        // Room that is given back is used again.
        Write(*database, [&] { DeleteRows(*database, 100); });
        Insert(*database, u"T", SampleRow(*database, 2000));
        EXPECT_LE(std::filesystem::file_size(Path()), Form().max_file_size);
    }
    EXPECT_LT(PeakMemory() - memory, kLittleMemory);
    const auto database = Open();
    ExpectClean(*database, false);
}

INSTANTIATE_TEST_SUITE_P(, BigFileTest, testing::Values(jet::Version::Jet3, jet::Version::Jet4), VersionName);

}  // namespace
}  // namespace qmtrain::test
