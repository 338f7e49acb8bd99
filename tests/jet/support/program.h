// Other programs that read the same files, and the comma-separated text they write.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qmtrain::test {

bool HasProgram(const std::string& name);

// What the program writes to standard output; nothing when it cannot be run or does not end with this code.
std::optional<std::string> OutputOf(const std::vector<std::string>& command, int exit_code = 0);

struct Cell {
    std::string text;
    bool quoted = false;
};

// Lines end with a line feed; a quoted cell may hold commas, line feeds, and quotes that are doubled.
std::vector<std::vector<Cell>> ParseCsv(std::string_view text);

}  // namespace qmtrain::test
