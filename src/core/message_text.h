// Texts from outside, as messages quote them.
#pragma once

#include <string>
#include <string_view>

namespace qmtrain {

inline constexpr std::size_t kLongestQuotation = 200;  // UTF-16 units

// The text with a blank for each control character, line breaks among them, and cut off when it is longer than
// kLongestQuotation: names and values come from files that anybody may have written, and messages go to the log line by
// line.
std::u16string ForMessage(std::u16string_view text);

}  // namespace qmtrain
