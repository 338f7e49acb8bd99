// The log on a full disk, and its time.

#include <csignal>

#include <sys/resource.h>

#include "core/log_fixture.h"
#include "core/system.h"
#include "support/at_once.h"

namespace qmtrain::test {
namespace {

TEST_F(LogTest, NothingOfAnEntryStaysWhenTheDiskIsFull) {
    WriteLog(4, u"first", u"f");
    const std::string before = Text();
    const auto write = [&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{before.size() + 10, before.size() + 10};
        setrlimit(RLIMIT_FSIZE, &limit);
        WriteLog(4, u"second", u"f");
        return 0;
    };
    EXPECT_EQ(AtOnce({write}), std::vector<int>{0});
    EXPECT_EQ(Text(), before);
}

TEST_F(LogTest, SomeFoldersTakeNoFiles) {
    SetComponentFolder("/proc/self");
    WriteLog(4, u"lost", u"f");
    EXPECT_FALSE(std::filesystem::exists(LogFile()));
}

// So that a log sorts.
TEST(Region, TimeHasOneWidth) {
    EXPECT_EQ(RegionalTime(FromCivil({2005, 4, 2, 8, 3, 5})), u"2005-04-02 08:03:05");
}

}  // namespace
}  // namespace qmtrain::test
