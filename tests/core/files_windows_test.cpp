// Paths of any length and form, and what else Windows does in its own way.

#include <chrono>
#include <thread>

#include <windows.h>
#include <gtest/gtest.h>

#include "core/files_fixture.h"

namespace qmtrain::test {
namespace {

TEST_F(FilesTest, PathsStayAsTheyAreWritten) {
    fs::create_directories(At("Users/考生01"));
    Make("Users/考生01/Client.MDB");
    const auto file = Open(At("Users/考生01/Client.MDB"), OpenMode::ReadOnly);
    const std::u16string folder = FromNativePath(folder_.Path());
    for (const std::u16string& name :
         {std::u16string(u"users\\考生01\\client.mdb"), std::u16string(u"USERS/考生01\\CLIENT.mdb"),
          std::u16string(u"Users\\.\\考生01\\\\Client.MDB")}) {
        const std::u16string path = folder + u"\\" + name;
        EXPECT_EQ(FromNativePath(ToNativePath(path)), path);
        EXPECT_TRUE(file->IsAt(ToNativePath(path))) << ToUtf8(path);
    }
    EXPECT_EQ(FromNativePath(ToNativePath(u"x:\\half \xD83D pair")), u"x:\\half \xD83D pair");
}

// What a folder holds may be called like a device.
TEST_F(FilesTest, DevicesAreNoFiles) {
    for (const char16_t* name : {u"NUL", u"COM1", u"nul.mdb", u"CONIN$"}) {
        try {
            const auto file = FileSystem::Native().Open(ToNativePath(name), OpenMode::ReadOnly);
            ADD_FAILURE() << ToUtf8(name);
        } catch (const AutomationError&) {
        }
    }
}

TEST_F(FilesTest, PathsMayBeLong) {
    std::u16string folder = FromNativePath(folder_.Path());
    for (int i = 0; i < 30; ++i) {
        folder += u"\\考生的文件夹" + ToText(i);
        ASSERT_TRUE(CreateDirectoryW(ToNativePath(folder).c_str(), nullptr));
        const std::u16string path = InFolder(folder, u"Client.mdb");
        Open(ToNativePath(path), OpenMode::CreateNew);
        EXPECT_TRUE(FileExists(path)) << path.size();
        EXPECT_EQ(FromNativePath(ToNativePath(path)), path);
        fs::path appended = ToNativePath(path);
        appended += "-journal";
        Open(appended, OpenMode::CreateNew);
        FileSystem::Native().Remove(appended);
        EXPECT_FALSE(FileSystem::Native().Exists(appended));
    }
    ASSERT_GT(folder.size(), std::size_t{MAX_PATH});
    for (; folder.size() > FromNativePath(folder_.Path()).size(); folder.resize(folder.rfind(u'\\'))) {
        FileSystem::Native().Remove(ToNativePath(InFolder(folder, u"Client.mdb")));
        EXPECT_TRUE(RemoveDirectoryW(ToNativePath(folder).c_str())) << "something is left";
    }
}

TEST_F(FilesTest, NamesThatCannotBe) {
    EXPECT_EQ(ErrorOfOpening(At("a|b?.mdb"), OpenMode::Create), ErrorNumber::InvalidPath);
}

// Guards against viruses open new files for a moment, and share nothing.
TEST_F(FilesTest, WaitsForThoseWhoHoldAFileForAMoment) {
    Make("a");
    const auto hold = [&] {
        return CreateFileW(At("a").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    };
    HANDLE held = hold();
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_EQ(ErrorOfOpening(At("a"), OpenMode::ReadOnly), ErrorNumber::CannotOpenFile);
    std::thread releases([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        CloseHandle(held);
    });
    EXPECT_EQ(ErrorOfOpening(At("a"), OpenMode::ReadOnly), ErrorNumber{});
    releases.join();

    held = hold();
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_THROW(FileSystem::Native().Remove(At("a")), AutomationError);
    CloseHandle(held);
    FileSystem::Native().Remove(At("a"));
    EXPECT_FALSE(FileSystem::Native().Exists(At("a")));
}

}  // namespace
}  // namespace qmtrain::test
