// The command line of qmtrain, as far as its commands do not read their own.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace qmtrain::host {

struct Options {
    std::string command;  // "" opens the main window
    std::u16string data;
    std::int32_t user = 1;
    std::int32_t subject = 1;
    bool user_named = false;  // on the command line, not by default
    bool subject_named = false;
    int trainings = 12;
    std::int32_t paper = 0;  // 0: the first of the subject
    bool net = false;
    bool exercise = false;
    enum class Output { Text, Csv, Json } output = Output::Text;
    std::string screenshot;  // a file to write and leave
    std::string help;        // the text, where it was asked for
    bool version = false;
};

// Raises the component's error, for the user, for what is not understood.
Options ParseOptions(const std::vector<std::string>& arguments);

// The folder, the candidate, the subject and the edition, for a command that reads its own options. Both arguments must
// outlive the parsing.
void AddCommonOptions(CLI::App& app, Options& options, std::vector<std::string>& folders);

// The user's own folder when none is named. Raises the component's error for more than one.
std::u16string OnlyFolder(const std::vector<std::string>& folders);

extern const char* const kVersionNumber;

}  // namespace qmtrain::host
