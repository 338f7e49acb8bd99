// Other things in the place of the log.

#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "core/log_fixture.h"
#include "core/text.h"

namespace qmtrain::test {
namespace {

namespace fs = std::filesystem;

TEST_F(LogTest, NothingIsWrittenThroughAnotherName) {
    const fs::path other = folder_.Path() / "other.sh";
    const fs::path missing = folder_.Path() / "missing";
    const std::pair<const char*, std::function<void()>> things[] = {
        {"a link", [&] { fs::create_symlink(other, LogFile()); }},
        {"a link to nothing", [&] { fs::create_symlink(missing, LogFile()); }},
        {"a second name", [&] { fs::create_hard_link(other, LogFile()); }},
        {"a folder", [&] { fs::create_directory(LogFile()); }},
        {"a pipe that nobody reads", [&] { ASSERT_EQ(mkfifo(LogFile().c_str(), 0666), 0); }},
    };
    for (const auto& [name, put] : things) {
        SCOPED_TRACE(name);
        std::ofstream(other) << "echo";
        put();
        alarm(10);  // a pipe would be waited for without end
        WriteLog(4, u"x\r\nrm", u"f");
        alarm(0);
        EXPECT_EQ(ReadText(other), "echo");
        EXPECT_FALSE(fs::exists(missing));
        fs::remove(LogFile());
    }
    WriteLog(4, u"again", u"f");
    EXPECT_EQ(ReadLog(LogFile()), (std::vector<LogEntry>{{4, "again", "f"}}));
}

}  // namespace
}  // namespace qmtrain::test
