// The encoding that the locale names.

#include <cstdlib>

#include <gtest/gtest.h>
#include <unistd.h>

#include "core/text.h"
#include "jet/support/scratch.h"
#include "support/environment.h"

namespace qmtrain::test {
namespace {

// The encoding is looked up once in a process, so each environment gets one of its own.
TEST(Encoding, OfTheEnvironmentsLocale) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto is = [](const char* bytes) { _exit(ToAnsi(u"考生") == bytes ? 0 : 1); };
    SetEnvironment("LC_ALL", "C");
    EXPECT_EXIT(is("考生"), testing::ExitedWithCode(0), "");
    SetEnvironment("LC_ALL", "no_SUCH");
    EXPECT_EXIT(is("考生"), testing::ExitedWithCode(0), "");

    SetEnvironment("LC_ALL", "C");
    const ScratchFolder folder;
    const std::string command =
        "localedef -i zh_CN -f GBK '" + (folder.Path() / "zh_CN.GBK").string() + "' > /dev/null 2>&1";
    if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef cannot make a Chinese locale";
    SetEnvironment("LOCPATH", folder.Path().c_str());
    SetEnvironment("LC_ALL", "zh_CN.GBK");
    EXPECT_EXIT(is("\xBF\xBC\xC9\xFA"), testing::ExitedWithCode(0), "");
    unsetenv("LOCPATH");
    SetEnvironment("LC_ALL", "C");
}

}  // namespace
}  // namespace qmtrain::test
