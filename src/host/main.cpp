// qmtrain: the component's own host.

#include <cstdio>
#include <string_view>

#include "core/error.h"
#include "core/text.h"
#include "host/new_folder.h"

namespace {

constexpr const char* kHelp =
    "用法：qmtrain init 文件夹\n\n"
    "在文件夹中建立空的 Client.mdb、Total.mdb 和 LocalPaper.mdb；已有的文件不变。\n";

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::string_view(argv[1]) != "init") {
        std::fputs(kHelp, stderr);
        return 2;
    }
    try {
        qmtrain::host::MakeDataFolder(qmtrain::FromUtf8(argv[2]));
        return 0;
    } catch (const qmtrain::AutomationError& error) {
        std::fprintf(stderr, "qmtrain: %s\n", error.what());
        return 1;
    }
}
