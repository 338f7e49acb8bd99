// Paths as Windows programs write them.

#include "core/files_fixture.h"

namespace qmtrain::test {
namespace {

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

}  // namespace
}  // namespace qmtrain::test
