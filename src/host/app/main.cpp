// qmtrain: the component's own host, with which a candidate practises.

#include <cstdio>
#include <string>
#include <vector>

#include "core/error.h"
#include "core/files.h"
#include "core/log.h"
#include "core/system.h"
#include "core/text.h"
#include "host/app/program.h"
#include "host/commands/commands.h"
#include "host/commands/history_list.h"
#include "host/commands/options.h"
#include "host/data/data_folder.h"
#include "host/samples/sample_data.h"

namespace {

using namespace qmtrain;
using namespace qmtrain::host;

struct Command {
    const char* name;
    int (*run)(const CommandWords& words);
};
constexpr Command kCommands[] = {
    {"import", &ImportCommand},
    {"export", &ExportBankCommand},
    {"paper", &PaperCommand},
    {"export-history", &ExportReportCommand},
    {"export-paper", &ExportReportCommand},
    {"export-notes", &ExportReportCommand},
    {"server", &ServerCommand},
};

int Run(const Options& options) {
    if (!options.help.empty()) {
        std::fputs(options.help.c_str(), stdout);
        return 0;
    }
    if (options.version) {
        std::printf("qmtrain %s\n", kVersionNumber);
        return 0;
    }
    SetComponentFolder(ToNativePath(options.data));  // where the user may write
    if (options.command == "init") {
        MakeEmptyFolder(options.data);
    } else if (options.command == "seed") {
        MakeSampleData(options.data);
        SeedHistory(options.data, options.user, options.subject, options.trainings, 1);
    } else if (options.command == "list") {
        std::fputs(HistoryText(options).c_str(), stdout);
    } else if (options.command == "papers") {
        std::fputs(PapersText(options).c_str(), stdout);
    } else {
        return RunWindows(options);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    UseParentsConsole();
    const Utf8Streams streams;
    try {
        const CommandWords words = CommandLineWords(argc, argv);
        for (const Command& command : kCommands) {
            if (!words.empty() && words.front() == command.name) return command.run(words);
        }
        return Run(ParseOptions(words));
    } catch (const AutomationError& error) {
        std::fprintf(stderr, "qmtrain: %s\n", error.what());
        return 2;
    }
}
