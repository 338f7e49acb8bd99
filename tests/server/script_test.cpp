// Scripts drive every member of every class, as a host without a type library does.
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "core/text.h"
#include "server/server_fixture.h"

namespace qmtrain::test {
namespace {

std::string Read(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class ScriptTest : public ServerTest {
protected:
    // What the script says when it is run on the folder of the test.
    std::string Run(const std::string& script, const std::wstring& arguments = L"",
                    const char* name = "script.vbs") const {
        const std::filesystem::path file = folder_.Path() / name;
        const std::filesystem::path output = folder_.Path() / "output.txt";
        std::ofstream(file, std::ios::binary) << ToAnsi(FromUtf8(script));
        const std::wstring command = L"cscript //nologo \"" + file.wstring() + L"\" \"" + folder_.Path().wstring() +
                                     L"\" " + arguments + L" > \"" + output.wstring() + L"\" 2>&1";
        EXPECT_EQ(_wsystem(command.c_str()), 0);
        return ToUtf8(FromCodePage(Read(output), static_cast<int>(GetACP())));
    }

    const std::filesystem::path sources_ = QMTRAIN_SOURCE_DIR;
};

class MembersTest : public ScriptTest, public testing::WithParamInterface<const char*> {};

TEST_P(MembersTest, GiveWhatTheScriptExpects) {
    const std::filesystem::path scripts = sources_ / "tests" / "server";
    const std::string said = Run(Read(scripts / "checks.vbs") + Read(scripts / (std::string(GetParam()) + ".vbs")));
    EXPECT_NE(said.find(" checks, 0 failures"), std::string::npos) << said;
}

TEST_F(ScriptTest, TheSampleRecordsAPracticeAndListsIt) {
    const std::string said = Run(Read(sources_ / "samples" / "practice.vbs"), L"nowindows");
    EXPECT_NE(said.find("训练号 1 已记录。"), std::string::npos) << said;
    EXPECT_NE(said.find("  2/4"), std::string::npos) << said;
}

// Another language, which has no default members to write to.
TEST_F(ScriptTest, DataObjectsInJScript) {
    const std::string said = Run(Read(sources_ / "tests" / "server" / "data_objects.js"), L"", "script.js");
    EXPECT_NE(said.find(" checks, 0 failures"), std::string::npos) << said;
}

INSTANTIATE_TEST_SUITE_P(Server, MembersTest,
                         testing::Values("utilities", "records", "banks", "notes", "learning", "data_objects",
                                         "hostile"),
                         [](const auto& script) { return std::string(script.param); });

}  // namespace
}  // namespace qmtrain::test
