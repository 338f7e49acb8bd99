// Names that no other file has.
#pragma once

#include <string>
#include <string_view>

namespace qmtrain::jet {

// The two parts with 16 random hexadecimal digits between them.
std::string UniqueName(std::string_view before, std::string_view after);

}  // namespace qmtrain::jet
