// What is undone: levels with more images than memory is used for, levels that fail while they are committed, and
// commits over several files that a crash has left behind. Beside it the sorter, which spills in the same way.

#include <algorithm>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "jet/entry_sorter.h"
#include "jet/image_store.h"
#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/scripted_files.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kPlace = 100;  // of a page's value

// A database used page by page, and what its pages should hold.
class Pages {
public:
    using Values = std::vector<std::uint32_t>;

    explicit Pages(const std::filesystem::path& path, FileSystem* system = &FileSystem::Native(),
                   std::shared_ptr<Session> session = nullptr, std::size_t cache = 0)
        : database_(Database::Create(path, {}, {.durable = false})) {
        database_ = Database::Open(
            path, {.cache_bytes = cache, .durable = false, .system = system, .session = std::move(session)});
        const Database::Reading reading(*database_);
        first_ = pager().PageCount();
    }

    Database& operator*() { return *database_; }
    const Values& Expected() const { return expected_; }
    void Expect(const Values& values) { expected_ = values; }

    void Write(std::size_t at, std::uint32_t value) {
        MutablePage page = at == expected_.size() ? pager().Extend() : pager().Write(Number(at));
        if (at == expected_.size()) expected_.push_back(0);
        Put(page.Data() + kPlace, value);
        Put(page.Data() + kPlace + 4, ~value);
        expected_[at] = value;
    }

    void Compare() {
        const Database::Reading reading(*database_);
        ASSERT_EQ(pager().PageCount(), first_ + expected_.size());
        for (std::size_t at = 0; at < expected_.size(); ++at) {
            const Page page = pager().Read(Number(at));
            ASSERT_EQ(Get<std::uint32_t>(page.Data() + kPlace), expected_[at]) << "page " << at;
            ASSERT_EQ(Get<std::uint32_t>(page.Data() + kPlace + 4), ~expected_[at]) << "page " << at;
        }
    }

private:
    Pager& pager() { return database_->GetPager(); }
    PageNumber Number(std::size_t at) const { return first_ + static_cast<PageNumber>(at); }

    std::unique_ptr<Database> database_;
    PageNumber first_ = 0;
    Values expected_;
};

class UndoTest : public testing::Test {
protected:
    test::ScratchFolder folder_;
    std::filesystem::path a_ = folder_.Path() / "A.mdb";
    std::filesystem::path b_ = folder_.Path() / "B.mdb";
};

// Two files, levels up to five deep, more images than a level keeps in memory, and a cache that holds a fraction of
// the pages: after each end of a level both files are what they were, or became.
TEST_F(UndoTest, RandomLevelsAgreeWithAPlainModel) {
    const std::uint64_t seed = std::random_device{}();
    std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
    std::mt19937_64 random(seed);
    const auto session = std::make_shared<Session>();
    Pages files[] = {Pages(a_, &FileSystem::Native(), session), Pages(b_, &FileSystem::Native(), session)};
    std::vector<std::array<Pages::Values, 2>> levels;
    const auto change = [&](Pages& file) {
        Database::Writing writing(*file);
        const Pages::Values before = file.Expected();
        const auto count = static_cast<std::size_t>(random() % 4 == 0 ? 1500 : random() % 200);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t all = file.Expected().size();
            file.Write(all < 3000 && random() % 3 == 0 ? all : static_cast<std::size_t>(random() % (all + 1)),
                       static_cast<std::uint32_t>(random()));
        }
        if (random() % 3 == 0) return file.Expect(before);
        writing.Commit();
    };
    for (int step = 0; step < 120 && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        const auto action = random() % 6;
        if (action == 0 && levels.size() < 5) {
            (*files[0]).BeginTransaction();
            levels.push_back({files[0].Expected(), files[1].Expected()});
        } else if (action == 1 && !levels.empty()) {
            (*files[0]).CommitTransaction();
            levels.pop_back();
        } else if (action == 2 && !levels.empty()) {
            (*files[0]).RollbackTransaction();
            for (std::size_t i = 0; i < 2; ++i) files[i].Expect(levels.back()[i]);
            levels.pop_back();
        } else {
            change(files[random() % 2]);
        }
        if (step % 4 != 0) continue;
        for (Pages& file : files) file.Compare();
    }
    while (!levels.empty()) {
        (*files[0]).CommitTransaction();
        levels.pop_back();
    }
    for (Pages& file : files) file.Compare();
}

// Each leaves a page to be put back when it is asked for: all are found, and the commit brings none of them into the
// file changed.
TEST_F(UndoTest, ManyUndoneLevels) {
    Pages file(a_);
    const auto write_each = [&](std::uint32_t value, bool keep) {
        for (std::size_t at = 0; at < 1500; ++at) {
            Database::Writing writing(*file);
            const Pages::Values before = file.Expected();
            file.Write(at, value);
            if (!keep) {
                file.Expect(before);
            } else {
                writing.Commit();
            }
        }
    };
    (*file).BeginTransaction();
    write_each(1, true);
    write_each(2, false);
    write_each(3, false);
    (*file).CommitTransaction();
    file.Compare();
}

// The temporary file of the images fails at any moment of an inner commit: that level is undone in both files, and the
// levels around it go on.
TEST_F(UndoTest, AnInnerCommitThatFailsUndoesItsLevelAlone) {
    test::ScriptedFiles script;
    const auto session = std::make_shared<Session>();
    Pages files[] = {Pages(a_, &script, session, 16 << 20), Pages(b_, &script, session, 16 << 20)};
    const auto fill = [&](std::uint32_t value) {
        for (Pages& file : files) {
            Database::Writing writing(*file);
            for (std::size_t at = 0; at < 1030; ++at) file.Write(at, value);
            writing.Commit();
        }
    };
    fill(1);
    bool done = false;
    for (int call = 1; !done && !HasFailure(); call += 4) {
        SCOPED_TRACE("call " + std::to_string(call));
        (*files[0]).BeginTransaction();
        (*files[0]).BeginTransaction();
        const Pages::Values before[] = {files[0].Expected(), files[1].Expected()};
        (*files[0]).BeginTransaction();
        fill(static_cast<std::uint32_t>(call) + 1);
        script.calls = 0;
        script.strike_at = call;
        done = ErrorOf([&] { (*files[1]).CommitTransaction(); }) == 0;
        script.strike_at = 0;
        if (!done) {
            for (std::size_t i = 0; i < 2; ++i) files[i].Expect(before[i]);
        }
        for (Pages& file : files) file.Compare();
        (*files[0]).CommitTransaction();
        (*files[0]).CommitTransaction();
        EXPECT_FALSE(session->IsInTransaction());
        for (Pages& file : files) file.Compare();
        EXPECT_TRUE(!done || call > 1) << "nothing was spilled";
    }
}

// Another engine's part that fails undoes ours, in an inner transaction too.
TEST_F(UndoTest, AnotherEnginesFailureUndoesAnInnerTransaction) {
    const auto session = std::make_shared<Session>();
    Pages file(a_, &FileSystem::Native(), session);
    (*file).BeginTransaction();
    (*file).BeginTransaction();
    {
        Database::Writing writing(*file);
        file.Write(0, 7);
        writing.Commit();
    }
    EXPECT_NE(ErrorOf([&] { session->CommitTransaction([] { Raise(ErrorNumber::DiskFull, {u"other"}); }); }), 0);
    file.Expect({});
    file.Compare();
    session->CommitTransaction();
    EXPECT_FALSE(session->IsInTransaction());
}

TEST(ImageStore, KeepsWhatIsPutInMemoryAndOnDisk) {
    constexpr std::uint32_t kSize = 4096;
    ImageStore store(FileSystem::Native(), kSize);
    std::map<PageNumber, std::uint8_t> model;
    std::mt19937 random(1);
    for (int step = 0; step < 6000; ++step) {
        const auto page = static_cast<PageNumber>(random() % 2500);
        if (store.Has(page)) {
            std::vector<std::uint8_t> image(kSize);
            store.Read(page, image);
            ASSERT_EQ(image, std::vector<std::uint8_t>(kSize, model.at(page)));
            if (random() % 4 == 0) {
                store.Drop(page);
                model.erase(page);
            }
        } else {
            ASSERT_FALSE(model.contains(page));
            model[page] = static_cast<std::uint8_t>(random());
            store.Keep(page, std::vector<std::uint8_t>(kSize, model[page]));
        }
    }
    std::vector<PageNumber> pages;
    for (const auto& [page, value] : model) pages.push_back(page);
    EXPECT_EQ(store.Pages(), pages);
}

TEST(EntrySorter, SortsInAnyMemory) {
    std::mt19937 random(2);
    for (const std::size_t count : {0, 1, 2, 3000}) {
        for (const std::size_t memory : {std::size_t{0}, std::size_t{4000}, std::size_t{8} << 20}) {
            SCOPED_TRACE(std::to_string(count) + " entries in " + std::to_string(memory));
            EntrySorter sorter(FileSystem::Native(), memory);
            std::vector<Bytes> expected;
            for (std::size_t i = 0; i < (memory == 0 ? std::min<std::size_t>(count, 300) : count); ++i) {
                const std::size_t length = i % 500 == 7 ? 65535 : random() % 12;  // equal ones, and empty ones
                Bytes entry(length);
                for (std::uint8_t& byte : entry) byte = static_cast<std::uint8_t>(random() % 3);
                sorter.Add(entry);
                expected.push_back(std::move(entry));
            }
            std::sort(expected.begin(), expected.end(), [](const Bytes& a, const Bytes& b) {
                return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
            });
            Bytes entry;
            for (const Bytes& next : expected) {
                ASSERT_TRUE(sorter.Next(entry));
                ASSERT_TRUE(entry == next);
            }
            EXPECT_FALSE(sorter.Next(entry));
        }
    }
}

// Commits over files in two folders that stopped in the middle.
class HalfCommitTest : public testing::Test {
protected:
    HalfCommitTest() {
        for (const auto& path : {A(folder_.Path()), B(folder_.Path())}) {
            std::filesystem::create_directories(path.parent_path());
            const auto database = Database::Create(path);
            test::Write(*database, [&] {
                database->CreateTable({.name = u"T", .columns = {{.name = u"K", .type = ColumnType::Long}}});
            });
        }
    }

    static std::filesystem::path A(const std::filesystem::path& folder) { return folder / "one" / "A.mdb"; }
    static std::filesystem::path B(const std::filesystem::path& folder) { return folder / "two" / "B.mdb"; }

    void LeaveHalf(const std::filesystem::path& a, const std::filesystem::path& b) {
        for (int call = 1; !BothAreWritten() && !HasFailure(); ++call) Leave(a, b, call);
    }

    static std::size_t Count(const std::filesystem::path& path) {
        const auto database = Database::Open(path);
        test::ExpectClean(*database);
        return test::Rows(*database, u"T").size();
    }

    test::ScratchFolder folder_;

private:
    // What the files hold is the state after, and only the journals still say otherwise.
    bool BothAreWritten() {
        const auto copy = folder_.Path() / "copy.mdb";
        const auto is_new = [&](const std::filesystem::path& path) {
            if (!std::filesystem::exists(path.string() + "-journal")) return false;
            std::filesystem::remove(copy);  // not every library replaces a file when it copies
            std::filesystem::copy_file(path, copy);
            return test::Rows(*Database::Open(copy), u"T").size() == 1;
        };
        return is_new(A(folder_.Path())) && is_new(B(folder_.Path()));
    }

    static void Leave(const std::filesystem::path& first, const std::filesystem::path& second, int call) {
        test::ScriptedFiles files;
        files.after = test::ScriptedFiles::After::Dead;
        const auto session = std::make_shared<Session>();
        const auto a = Database::Open(first, {.system = &files, .session = session});
        const auto b = Database::Open(second, {.system = &files, .session = session});
        files.calls = 0;
        files.strike_at = call;
        ASSERT_NE(ErrorOf([&] {
                      a->BeginTransaction();
                      test::Insert(*a, u"T", {1});
                      test::Insert(*b, u"T", {1});
                      a->CommitTransaction();
                  }),
                  0);
    }
};

TEST_F(HalfCommitTest, EachFileIsRolledBackWhereverItIsThen) {
    const std::filesystem::path root = folder_.Path();
    LeaveHalf(A(root), B(root));
    const auto copy = root / "copy";
    std::filesystem::create_directory(copy);
    for (const char* part : {"one", "two"}) {
        std::filesystem::copy(root / part, copy / part, std::filesystem::copy_options::recursive);
    }
    // One of the folders is out of reach while the first file is opened.
    std::filesystem::rename(root / "two", root / "away");
    EXPECT_EQ(Count(A(root)), 0U);
    std::filesystem::rename(root / "away", root / "two");
    EXPECT_EQ(Count(B(root)), 0U);
    EXPECT_FALSE(std::filesystem::exists(A(root).string() + "-commit"));
    // All were copied together before.
    EXPECT_EQ(Count(A(copy)), 0U);
    EXPECT_EQ(Count(B(copy)), 0U);
    EXPECT_FALSE(std::filesystem::exists(A(copy).string() + "-commit"));
}

TEST_F(HalfCommitTest, ALinkInThePathLeadsToTheSameJournal) {
#ifdef _WIN32
    GTEST_SKIP() << "to make symbolic links needs a right there";
#endif
    const std::filesystem::path root = folder_.Path();
    const auto link = root / "deep" / "er" / "link";
    std::filesystem::create_directories(link.parent_path());
    std::filesystem::create_directory_symlink(root / "two", link);
    LeaveHalf(A(root), link / "B.mdb");
    EXPECT_EQ(Count(B(root)), 0U);
    EXPECT_EQ(Count(A(root)), 0U);
}

// Links of a file that lead back to it, or to one other file in two ways: each file is open once.
class LinkTest : public UndoTest {
protected:
    LinkTest() {
        for (const auto& path : {a_, b_}) {
            const auto database = Database::Create(path);
            test::Write(*database, [&] {
                database->CreateTable({.name = u"T", .columns = {{.name = u"K", .type = ColumnType::Long}}});
            });
        }
    }

    static std::unique_ptr<Database> Open(const std::filesystem::path& path,
                                          std::shared_ptr<Session> session = nullptr) {
        return Database::Open(path, {.lock_timeout = std::chrono::milliseconds(50), .session = std::move(session)});
    }
};

TEST_F(LinkTest, OneFileByManyWays) {
    const auto b = Open(b_);
    test::Write(*b, [&] { b->CreateLink(u"Back", u";DATABASE=A.mdb", u"T"); });
    const auto a = Open(a_);
    const std::pair<const char16_t*, const char16_t*> links[] = {
        {u"L1", u";DATABASE=B.mdb"}, {u"L2", u";DATABASE=./B.mdb"}, {u"Own", u";DATABASE=A.mdb"}};
    for (const auto& [name, connect] : links) test::Write(*a, [&] { a->CreateLink(name, connect, u"T"); });
    test::Write(*a, [&] { a->CreateLink(u"Round", u";DATABASE=B.mdb", u"Back"); });
    test::Write(*a, [&] {
        int key = 0;
        for (const char16_t* table : {u"T", u"L1", u"L2", u"Own", u"Round"}) {
            a->FindTable(table)->Insert(std::vector<Value>{++key});
        }
    });
    EXPECT_EQ(test::Rows(*a, u"T").size(), 3U);
    EXPECT_EQ(test::Rows(*b, u"T").size(), 2U);
    // One that leads to itself, as only a damaged file has it, ends in an error.
    test::Write(*a, [&] {
        const auto objects = a->SystemTable(kObjectsPage);
        const TableDefinition& definition = objects->Definition();
        const ColumnChange change{definition.FindColumn(u"ForeignName"), std::u16string(u"Own")};
        objects->Update(a->FindObject(u"Own")->row, std::span(&change, 1));
    });
    EXPECT_EQ(ErrorOf([&] { test::Rows(*a, u"Own"); }), static_cast<int>(ErrorNumber::OperationNotSupported));
}

// A scope of another database has read through the link; a change through it inside that scope goes on.
TEST_F(LinkTest, ALinkThatWasReadIsChangedInAnInnerScope) {
    const auto session = std::make_shared<Session>();
    Database::Create(folder_.Path() / "C.mdb");
    const auto c = Open(folder_.Path() / "C.mdb", session);
    const auto a = Open(a_, session);
    test::Write(*a, [&] { a->CreateLink(u"L", u";DATABASE=B.mdb", u"T"); });
    test::Write(*c, [&] {
        EXPECT_EQ(a->FindTable(u"L")->RowCount(), 0);
        test::Insert(*a, u"L", {1});
    });
    EXPECT_EQ(test::Rows(*a, u"L").size(), 1U);
}

}  // namespace
}  // namespace qmtrain::jet
