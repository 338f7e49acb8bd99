// Connection strings: a program's name or nothing, then parts KEY=value, each after a semicolon:
// ";DATABASE=path;PWD=word".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qmtrain::jet {

// Whether the program is Access, which need not be named.
bool NamesAccess(std::u16string_view connect);

// The value of a part, without regard to the case of its key; nothing when it is not there.
std::optional<std::u16string> ConnectValue(std::u16string_view connect, std::u16string_view key);

}  // namespace qmtrain::jet
