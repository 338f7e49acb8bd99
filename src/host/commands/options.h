// The command line of qmtrain.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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
    bool help = false;
    bool version = false;
};

// Raises the component's error, for the user, for what is not understood.
Options ParseOptions(const std::vector<std::string>& arguments);

extern const char* const kHelp;
extern const char* const kVersion;
extern const char* const kVersionNumber;

}  // namespace qmtrain::host
