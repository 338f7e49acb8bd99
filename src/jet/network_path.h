// Paths that lead to another machine. Opening such a file discloses the user to that machine.
#pragma once

#include <string_view>

namespace qmtrain::jet {

// "\\host\share\file", also with "/", and all else that begins so: devices, and paths in the system's own form but
// those of a drive, "\\?\C:\file".
inline bool IsInNetwork(std::u16string_view path) {
    const auto separates = [](char16_t unit) { return unit == u'\\' || unit == u'/'; };
    if (path.size() < 2 || !separates(path[0]) || (!separates(path[1]) && path[1] != u'?')) return false;
    return !path.starts_with(u"\\\\?\\") || path.size() < 7 || path[5] != u':' || !separates(path[6]);
}

// Whether two paths lead to the same machine. Requires: IsInNetwork(path).
inline bool IsOnMachineOf(std::u16string_view path, std::u16string_view other) {
    if (!IsInNetwork(other)) return false;
    const auto machine = [](std::u16string_view text) { return text.substr(2, text.find_first_of(u"\\/", 2) - 2); };
    return machine(path) == machine(other) && machine(path) != u"?" && machine(path) != u".";
}

}  // namespace qmtrain::jet
