// What the commands share in reading the command line: help and refusals in Chinese.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace qmtrain::host {

// Parses the words, commands and options alike. The text of the help where that was asked for; nothing otherwise.
// Raises the component's error, for the user, for what is not understood.
std::optional<std::string> ParseWords(CLI::App& app, const std::vector<std::string>& words);

// The number that follows an option. Raises the component's error, which says what it should be, for anything but
// a whole number from `least` to `most`.
std::int32_t NumberAfter(std::string_view option, const std::string& text, std::int32_t least, std::int32_t most,
                         std::u16string_view what = u"整数");

}  // namespace qmtrain::host
