// The entries of a log file.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/log.h"
#include "core/text.h"
#include "support/environment.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace qmtrain::test {

struct LogEntry {
    int type = 0;
    std::string message;
    std::string function;
    bool operator==(const LogEntry&) const = default;

    friend void PrintTo(const LogEntry& entry, std::ostream* out) {
        *out << entry.type << " " << entry.message << " in " << entry.function;
    }
};

// The log goes to the folder; outside Windows in UTF-8, whatever the machine speaks.
inline void LogTo(const std::filesystem::path& folder) {
    SetEnvironment("LC_ALL", "C");
    SetComponentFolder(folder);
}

inline std::string ReadText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The log in UTF-8. Requires: the ANSI code page has what was logged.
inline std::string ReadLogText(const std::filesystem::path& path) {
#ifdef _WIN32
    return ToUtf8(FromCodePage(ReadText(path), static_cast<int>(GetACP())));
#else
    return ReadText(path);
#endif
}

// What stands before `end`; both are gone from the text then.
inline std::string TakeTo(std::string_view end, std::string_view& text) {
    const std::size_t found = text.find(end);
    EXPECT_NE(found, std::string_view::npos) << "an entry is cut off: " << text.substr(0, 200);
    std::string taken(text.substr(0, found));
    text.remove_prefix(std::min(text.size(), taken.size() + end.size()));
    return taken;
}

// Requires: no message holds a line break.
inline std::vector<LogEntry> ReadLog(const std::filesystem::path& path) {
    constexpr std::string_view kFunction = " 函数名:[";
    const std::string text = ReadLogText(path);
    std::vector<LogEntry> entries;
    for (std::string_view rest = text; !rest.empty();) {
        EXPECT_TRUE(rest.starts_with('[')) << "something between two entries: " << rest.substr(0, 200);
        TakeTo("]", rest);
        std::string function = TakeTo("\r\n", rest);
        if (!function.empty()) {
            EXPECT_TRUE(function.starts_with(kFunction) && function.ends_with(']')) << function;
            function = function.substr(kFunction.size(), function.size() - kFunction.size() - 1);
        }
        const int type = std::stoi(TakeTo(" ", rest));
        entries.push_back({type, TakeTo("\r\n", rest), function});
    }
    return entries;
}

}  // namespace qmtrain::test
