// What a program learns from the operating system, and how the two exchange text.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"

namespace qmtrain {

// A variable of the environment; empty when it is not set. Requires: the name is ASCII.
std::u16string EnvironmentVariable(std::string_view name);

// The same for a setting of the component. An elevated process ignores it, because the environment comes from a user
// with fewer rights than the process has.
std::u16string Setting(std::string_view name);

// From now on even an elevated process heeds its settings: for a program that has made its environment itself.
void TrustEnvironment();

// The bytes of memory that the machine has.
std::uint64_t MachineMemory();

// The words of the command line after the program's name, in UTF-8. The arguments are those of main.
std::vector<std::string> CommandLineWords(int count, const char* const* words);

// Whether what is written there goes to a terminal.
bool IsTerminal(std::FILE* stream);

// For a program that has no console of its own: its output goes to that of the program that has started it, if there is
// one, unless it is redirected.
void UseParentsConsole();

// While it lives, standard input, output and errors carry the program's bytes unchanged, and a console shows them as
// UTF-8.
class Utf8Streams {
public:
    Utf8Streams();
    Utf8Streams(const Utf8Streams&) = delete;
    Utf8Streams& operator=(const Utf8Streams&) = delete;
    ~Utf8Streams();  // NOLINT(performance-trivially-destructible): on Windows it has something to do

private:
    [[maybe_unused]] unsigned before_ = 0;
};

// Date and time in the user's short-date and long-time formats on Windows; elsewhere "yyyy-mm-dd hh:nn:ss", which
// sorts.
std::u16string RegionalTime(Date time);

// What stands between year, month and day in the user's region: "/", "-" or ".".
std::u16string DateSeparator();

}  // namespace qmtrain
