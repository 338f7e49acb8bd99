// The command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/file_format.h"
#include "table_writer.h"

namespace qmtrain::jetsql {

struct Options {
    std::string file;
    std::vector<std::string> statements;
    std::vector<std::string> scripts;  // files, "-" for standard input
    bool explain = false;              // say how the statements would be run, do not run them
    bool each = false;                 // a script's statements one by one, not all or none
    std::vector<std::string> dumps;    // names of tables
    bool create = false;
    std::string link;  // the name of a link to be made
    std::string connect;
    std::string source;
    bool save_password = false;  // in the link
    bool tables = false;
    bool schema = false;
    bool check = false;
    bool system = false;  // system tables too
    std::uint16_t sort_order = 0x0409;
    jet::Version version = jet::Version::Jet4;
    std::string password;
    std::string password_file;
    std::optional<Layout> layout;
    std::string help;  // the text, where it was asked for
};

// Throws std::invalid_argument with what is wrong.
Options ParseOptions(const std::vector<std::string>& arguments);

}  // namespace qmtrain::jetsql
