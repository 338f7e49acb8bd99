// Files of a folder, and their locks.

#include "core/files.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

#include "core/files_fixture.h"

namespace qmtrain::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

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
        {folder + u"/", u"client.mdb", folder + u"/\\client.mdb", true},
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
    two->Unlock(5, 1);
    EXPECT_FALSE(two->TryLock(4, 3, Exclusive));
    EXPECT_TRUE(one->TryLock(5, 1, Exclusive));  // its own lock becomes stronger
    EXPECT_FALSE(two->TryLock(5, 1, Shared));
    EXPECT_TRUE(two->TryLock(6, 1, Exclusive));  // another byte
    EXPECT_TRUE(one->TryLock(5, 1, Shared));     // and weaker again
    EXPECT_TRUE(two->TryLock(5, 1, Shared));
    EXPECT_FALSE(two->TryLock(5, 1, Exclusive)) << "both read";
    EXPECT_FALSE(one->TryLock(5, 1, Exclusive)) << "a lock that did not become stronger is still there";
    two->Unlock(5, 1);
    EXPECT_TRUE(one->TryLock(5, 1, Exclusive));
    EXPECT_TRUE(one->TryLock(5, 1, Exclusive)) << "it has it already";
    one->Unlock(5, 1);
    EXPECT_TRUE(two->TryLock(5, 1, Exclusive)) << "given back once is enough";
    two->Unlock(5, 1);
    EXPECT_TRUE(one->TryLock(5, 1, Exclusive));
    one.reset();
    EXPECT_TRUE(two->TryLock(5, 1, Exclusive));  // a lock ends with its file
}

TEST_F(FilesTest, AGateKeepsNewOnesOut) {
    using enum File::Lock;
    const auto reader = Open(At("a.ldb"), OpenMode::Create);
    const auto writer = Open(At("a.ldb"), OpenMode::Create);
    ASSERT_TRUE(reader->TryLockThrough(5));
    EXPECT_TRUE(writer->TryLock(5, 1, Exclusive)) << "who came in leaves the gate to others";
    EXPECT_FALSE(writer->TryLock(6, 1, Exclusive)) << "he is in";
    reader->Unlock(6, 1);
    EXPECT_FALSE(reader->TryLockThrough(5)) << "the gate is shut";
    EXPECT_TRUE(writer->TryLock(6, 1, Exclusive)) << "nothing stays of a try that failed";
    writer->Unlock(5, 1);
    EXPECT_FALSE(reader->TryLockThrough(5)) << "the gate is open, the place taken";
    EXPECT_TRUE(writer->TryLock(5, 1, Exclusive));
    writer->Unlock(5, 1);
    writer->Unlock(6, 1);
    EXPECT_TRUE(reader->TryLockThrough(5));
}

TEST_F(FilesTest, KnowsWhetherAnOpenFileStillStandsThere) {
    const auto file = Open(At("a"), OpenMode::Create);
    Make("b");
    EXPECT_TRUE(file->IsAt(At("a")));
    EXPECT_FALSE(file->IsAt(At("b")));
    FileSystem::Native().Rename(At("b"), At("a"));
    EXPECT_FALSE(file->IsAt(At("a")));
    fs::create_hard_link(At("a"), At("twin"));
    EXPECT_EQ(FileSystem::Native().Look(At("a")), FileKind::Linked);
    fs::remove(At("twin"));
    EXPECT_EQ(FileSystem::Native().Look(At("a")), FileKind::Plain);
    EXPECT_EQ(FileSystem::Native().Look(At("none/a")), FileKind::None);
    FileSystem::Native().Remove(At("a"));
    FileSystem::Native().Remove(At("a"));  // once is enough
    EXPECT_FALSE(FileSystem::Native().Exists(At("a")));
    EXPECT_FALSE(file->IsAt(At("a")));

    const auto next = Open(At("a"), OpenMode::CreateNew);  // the name is free although the old file is still open
    EXPECT_TRUE(next->IsAt(At("a")));
    EXPECT_FALSE(file->IsAt(At("a")));
    file->WriteAt(0, Bytes{1});
    EXPECT_EQ(next->Size(), 0U);
}

TEST_F(FilesTest, NothingStaysOfARemovedFile) {
    {
        const auto one = Open(At("a"), OpenMode::Create);
        const auto two = Open(At("a"), OpenMode::ReadOnly);
        FileSystem::Native().Remove(At("a"));
    }
    EXPECT_TRUE(fs::is_empty(folder_.Path()));
    EXPECT_EQ(ErrorOfOpening(At("a"), OpenMode::ReadOnly), ErrorNumber::FileNotFound);
}

}  // namespace
}  // namespace qmtrain::test
