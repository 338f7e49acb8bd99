// File systems that know no locks, or cannot say what has reached the disk.

#include <gtest/gtest.h>

#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"
#include "support/other_files.h"

namespace qmtrain::test {
namespace {

// What locks and syncs come to there.
struct Odd {
    const char* name;
    bool grants_all = false;   // locks that keep no other handle out
    bool grants_none = false;  // it says that it knows no locks
    bool cannot_sync = false;
    std::u16string_view reason;  // what a writer is told
};

class OddFiles : public WrappedFiles {
public:
    explicit OddFiles(const Odd& odd) : odd_(odd) {}

    bool KeepsLocks(File&, const std::filesystem::path&, std::uint64_t) override { return !odd_.grants_all; }

private:
    class OddFile : public WrappedFile {
    public:
        OddFile(std::unique_ptr<File> file, const Odd& odd) : WrappedFile(std::move(file)), odd_(odd) {}

        bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
            if (odd_.grants_none) Raise(ErrorNumber::OperationNotSupported, {u"锁定"});
            return odd_.grants_all || WrappedFile::TryLock(offset, length, kind);
        }
        void Sync() override {
            if (odd_.cannot_sync) Raise(ErrorNumber::ReadOnly, {u"文件", u"不能保证"});
            WrappedFile::Sync();
        }

    private:
        const Odd& odd_;
    };

    std::unique_ptr<File> Wrap(std::unique_ptr<File> file) override {
        return std::make_unique<OddFile>(std::move(file), odd_);
    }

    const Odd& odd_;
};

// They are read, and a writer learns why he may not write before anything is changed.
TEST(OddFilesTest, AreReadOnly) {
    ScratchFolder folder;
    const std::filesystem::path file = folder.Path() / "Client.mdb";
    {
        const auto database = jet::Database::Create(file, {}, {.durable = false});
        Write(*database, [&] { database->CreateTable({.name = u"T", .columns = {{.name = u"K"}}}); });
        Insert(*database, u"T", {u"1"});
    }
    const auto before = ReadFile(file);
    const Odd cases[] = {
        {.name = "locks that keep nobody out", .grants_all = true, .reason = u"不能锁定文件"},
        {.name = "no locks", .grants_none = true, .reason = u"不能锁定文件"},
        {.name = "no syncs", .cannot_sync = true, .reason = u"不能保证"},
    };
    for (const Odd& odd : cases) {
        SCOPED_TRACE(odd.name);
        OddFiles files(odd);
        {
            const auto database = jet::Database::Open(file, {.durable = true, .system = &files});
            EXPECT_EQ(Rows(*database, u"T").size(), 1U);
            for (int attempt = 0; attempt < 2; ++attempt) {
                try {
                    Insert(*database, u"T", {u"2"});
                    ADD_FAILURE() << "it was written";
                } catch (const AutomationError& error) {
                    EXPECT_TRUE(error.Is(ErrorNumber::ReadOnly)) << error.what();
                    EXPECT_NE(error.Description().find(odd.reason), std::u16string::npos) << error.what();
                }
            }
            EXPECT_EQ(Rows(*database, u"T").size(), 1U);
        }
        EXPECT_TRUE(ReadFile(file) == before);
        std::size_t there = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.Path())) ++there;
        EXPECT_EQ(there, 1U) << "nothing is left beside it";
    }
}

// A reader who can have no lock may see a journal that is gone before he opens it.
TEST(OddFilesTest, AJournalMayVanish) {
    class Vanishing : public OddFiles {
    public:
        using OddFiles::OddFiles;
        FileKind Look(const std::filesystem::path& path) override {
            return path.string().ends_with("-journal") ? FileKind::Plain : OddFiles::Look(path);
        }
    };
    ScratchFolder folder;
    const std::filesystem::path file = folder.Path() / "Client.mdb";
    jet::Database::Create(file, {}, {.durable = false});
    const Odd odd{.name = "no locks", .grants_none = true, .reason = {}};
    Vanishing files(odd);
    const auto database = jet::Database::Open(file, {.system = &files});
    EXPECT_GT(Rows(*database, u"MSysObjects").size(), 0U);
}

}  // namespace
}  // namespace qmtrain::test
