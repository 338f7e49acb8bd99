// qmtrain as a program: a folder for a host to fill.

#include <fstream>
#include <iterator>
#include <map>

#include <gtest/gtest.h>

#include "jet/support/program.h"
#include "jet/support/scratch.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

std::map<std::string, std::string> FilesIn(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        files[fs::relative(entry.path(), folder).string()] = {std::istreambuf_iterator<char>(file), {}};
    }
    return files;
}

TEST(Host, InitMakesWhatIsMissing) {
    const test::ScratchFolder scratch;
    const fs::path folder = scratch.Path() / u"考生 01/data";
    const std::vector<std::string> init = {QMTRAIN_HOST, "init", folder.string()};
    ASSERT_TRUE(test::OutputOf(init));
    auto made = FilesIn(folder);
    for (const char* name : {"Client.mdb", "Bank/Total.mdb", "LocalPaper.mdb"})
        EXPECT_TRUE(made.contains(name)) << name;
    for (const auto& [name, bytes] : made) {
        EXPECT_TRUE(test::OutputOf({QMTRAIN_JETSQL, (folder / name).string(), "--check"})) << name;
    }

    ASSERT_TRUE(test::OutputOf({QMTRAIN_JETSQL, (folder / "Client.mdb").string(),
                                "INSERT INTO Notes (Name, Content) VALUES ('笔记', '内容')"}));
    fs::remove(folder / "Bank/Total.mdb");
    made = FilesIn(folder);
    ASSERT_TRUE(test::OutputOf(init));
    auto again = FilesIn(folder);
    EXPECT_EQ(again.erase("Bank/Total.mdb"), 1U);
    EXPECT_TRUE(again == made) << "a file that was there has changed";
}

TEST(Host, RefusesACandidateWhoDoesNotExist) {
    const test::ScratchFolder scratch;
    ASSERT_TRUE(test::OutputOf({QMTRAIN_HOST, "init", scratch.Path().string()}));
    const std::vector<std::string> list = {QMTRAIN_HOST, "list", "--csv", "--data", scratch.Path().string()};
    for (const auto& [user, known] : {std::pair("-1", true), {"99", false}}) {
        std::vector<std::string> command = list;
        command.insert(command.end(), {"--user", user});
        EXPECT_EQ(test::OutputOf(command).has_value(), known) << user;
    }
}

TEST(Host, SaysWhenItCannot) {
    const test::ScratchFolder scratch;
    std::ofstream(scratch.Path() / "file") << "x";
    EXPECT_FALSE(test::OutputOf({QMTRAIN_HOST, "init", (scratch.Path() / "file/data").string()}));
    EXPECT_EQ(FilesIn(scratch.Path()), (std::map<std::string, std::string>{{"file", "x"}}));
}

}  // namespace
}  // namespace qmtrain
