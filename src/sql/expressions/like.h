// The patterns of Like: "*" any run, "?" one character, "#" a digit, "[a-c]" one of a set, "[!a-c]" none of it.
#pragma once

#include <string_view>

namespace qmtrain::sql {

// What every text that matches begins with, letters of both cases being one. It ends before a letter whose other case
// is not the same in the order of texts.
std::u16string_view FixedPrefix(std::u16string_view pattern);

}  // namespace qmtrain::sql
