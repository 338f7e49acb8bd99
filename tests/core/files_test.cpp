// Paths as Windows programs write them, and files with their locks.

#include "core/files.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

#include "core/error.h"
#include "core/text.h"
#include "jet/support/scratch.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

class FilesTest : public testing::Test {
protected:
    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) { return FileSystem::Native().Open(path, mode); }
    fs::path At(const std::string& name) const { return folder_.Path() / name; }
    void Make(const std::string& name) { Open(At(name), OpenMode::Create); }

    ErrorNumber ErrorOfOpening(const fs::path& path, OpenMode mode) {
        try {
            Open(path, mode);
        } catch (const AutomationError& error) {
            EXPECT_NE(error.Description().find(FromNativePath(path.filename())), std::u16string::npos);
            return static_cast<ErrorNumber>(error.Number());
        }
        return {};
    }

    test::ScratchFolder folder_;
};

TEST_F(FilesTest, PathsFromWindowsFindTheirFiles) {
    fs::create_directories(At("Users/考生01"));
    fs::create_directories(At("users2"));
    Make("Users/考生01/Client.MDB");
    Make("plain.mdb");
    Make("PLAIN2.mdb");
    Make("plain2.mdb");
    struct Case {
        std::u16string given;
        std::string found;
    };
    const Case cases[] = {
        {u"plain.mdb", "plain.mdb"},
        {u"Plain.MDB", "plain.mdb"},
        {u"users\\考生01\\client.mdb", "Users/考生01/Client.MDB"},
        {u"USERS/考生01\\CLIENT.mdb", "Users/考生01/Client.MDB"},
        {u"users2", "users2"},
        {u"plain2.mdb", "plain2.mdb"},                        // written exactly so
        {u"users\\考生01\\new.mdb", "Users/考生01/new.mdb"},  // to be made
        {u"nowhere\\new.mdb", "nowhere/new.mdb"},
    };
    for (const Case& test : cases) {
        const std::u16string folder = FromNativePath(folder_.Path());
        EXPECT_EQ(ToNativePath(folder + u"\\" + test.given), At(test.found)) << ToUtf8(test.given);
    }
    EXPECT_EQ(FromNativePath(At("考生")), FromNativePath(folder_.Path()) + u"/考生");
}

TEST_F(FilesTest, FilesInAFolder) {
    Make("client.MDB");
    fs::create_directories(At("Total.mdb"));
    const std::u16string folder = FromNativePath(folder_.Path());
    struct Case {
        std::u16string folder;
        std::u16string file;
        std::u16string path;
        bool there;
    };
    const Case cases[] = {
        {folder, u"Client.mdb", folder + u"\\Client.mdb", true},
        {folder + u"\\", u"Client.mdb", folder + u"\\Client.mdb", true},
        {folder + u"/", u"Client.mdb", folder + u"/\\Client.mdb", true},
        {folder, u"Total.mdb", folder + u"\\Total.mdb", false},  // a folder
        {folder, u"Paper.mdb", folder + u"\\Paper.mdb", false},
        {u"", u"Client.mdb", u"\\Client.mdb", false},
        {u"\\", u"Client.mdb", u"\\Client.mdb", false},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(InFolder(test.folder, test.file), test.path);
        EXPECT_EQ(FileExists(test.path), test.there) << ToUtf8(test.path);
    }
    EXPECT_FALSE(FileExists(u""));
}

TEST_F(FilesTest, OpeningSaysWhatIsWrong) {
    Make("there.mdb");
    EXPECT_EQ(ErrorOfOpening(At("missing.mdb"), OpenMode::ReadOnly), ErrorNumber::FileNotFound);
    EXPECT_EQ(ErrorOfOpening(At("missing/a.mdb"), OpenMode::Create), ErrorNumber::InvalidPath);
    EXPECT_EQ(ErrorOfOpening(At("there.mdb/a.mdb"), OpenMode::ReadOnly), ErrorNumber::InvalidPath);
    EXPECT_EQ(ErrorOfOpening(At("there.mdb"), OpenMode::CreateNew), ErrorNumber::CannotOpenFile);
    EXPECT_EQ(ErrorOfOpening(folder_.Path(), OpenMode::ReadWrite), ErrorNumber::CannotOpenFile);
    EXPECT_EQ(ErrorOfOpening(At("there.mdb"), OpenMode::Create), ErrorNumber{});
}

TEST_F(FilesTest, ReadsAndWritesAnywhere) {
    const auto file = Open(At("a"), OpenMode::CreateNew);
    file->WriteAt(10, Bytes{1, 2, 3, 4, 5, 6});
    EXPECT_EQ(file->Size(), 16U);
    Bytes read(10, 9);
    EXPECT_EQ(file->ReadAt(8, read), 8U);
    EXPECT_EQ(read, (Bytes{0, 0, 1, 2, 3, 4, 5, 6, 9, 9}));
    EXPECT_EQ(file->ReadAt(16, read), 0U);

    std::array<std::uint8_t, 2> first{};
    std::array<std::uint8_t, 3> second{};
    const std::span<std::uint8_t> parts[] = {first, second};
    EXPECT_EQ(file->ReadParts(10, parts), 5U);
    EXPECT_EQ(first, (std::array<std::uint8_t, 2>{1, 2}));
    EXPECT_EQ(second, (std::array<std::uint8_t, 3>{3, 4, 5}));
    EXPECT_EQ(file->ReadParts(13, parts), 3U);  // the end lies in the second part
    EXPECT_EQ(first, (std::array<std::uint8_t, 2>{4, 5}));
    EXPECT_EQ(second[0], 6);

    file->Resize(12);
    EXPECT_EQ(file->ReadAt(10, read), 2U);
}

TEST_F(FilesTest, LocksStandBetweenTwoHandles) {
    using enum File::Lock;
    auto one = Open(At("a.ldb"), OpenMode::Create);
    const auto two = Open(At("a.ldb"), OpenMode::Create);
    EXPECT_TRUE(one->TryLock(5, 1, Shared));
    EXPECT_TRUE(two->TryLock(5, 1, Shared));
    EXPECT_FALSE(one->TryLock(5, 1, Exclusive));  // the other one reads
    EXPECT_FALSE(two->TryLock(4, 3, Exclusive));
    two->Unlock(5, 1);
    EXPECT_TRUE(one->TryLock(5, 1, Exclusive));  // its own lock becomes stronger
    EXPECT_FALSE(two->TryLock(5, 1, Shared));
    EXPECT_TRUE(two->TryLock(6, 1, Exclusive));  // another byte
    EXPECT_TRUE(one->TryLock(5, 1, Shared));     // and weaker again
    EXPECT_TRUE(two->TryLock(5, 1, Shared));
    two->Unlock(5, 1);
    EXPECT_TRUE(one->TryLock(5, 1, Exclusive));
    one.reset();
    EXPECT_TRUE(two->TryLock(5, 1, Exclusive));  // a lock ends with its file
}

TEST_F(FilesTest, KnowsWhetherAnOpenFileStillStandsThere) {
    const auto file = Open(At("a"), OpenMode::Create);
    Make("b");
    EXPECT_TRUE(file->IsAt(At("a")));
    EXPECT_FALSE(file->IsAt(At("b")));
    FileSystem::Native().Rename(At("b"), At("a"));
    EXPECT_FALSE(file->IsAt(At("a")));
    FileSystem::Native().Remove(At("a"));
    FileSystem::Native().Remove(At("a"));  // once is enough
    EXPECT_FALSE(FileSystem::Native().Exists(At("a")));
    EXPECT_FALSE(file->IsAt(At("a")));
}

}  // namespace
}  // namespace qmtrain
