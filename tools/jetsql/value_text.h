// Values as text for output: UTF-8, the shortest form of a number that reads back as the same number.
#pragma once

#include <string>

#include "core/value.h"

namespace qmtrain::jetsql {

// Numbers, "2005-04-12 12:00:00", lower-case hex, 1 and 0; nothing for Null and Empty. Texts as they are.
void AppendPlain(const Value& value, std::string& out);

void AppendHex(const Bytes& bytes, std::string& out);

// The same for values that take kMostShort characters at most, into as much room: all but texts, decimals and binary
// ones. Returns the end of what it wrote.
inline constexpr std::size_t kMostShort = 64;
char* PutShort(const Value& value, char* to);

}  // namespace qmtrain::jetsql
