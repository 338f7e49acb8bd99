// Values as text for output: UTF-8, the shortest form of a number that reads back as the same number.
#pragma once

#include <string>

#include "core/value.h"

namespace qmtrain::jetsql {

// Numbers, "2005-04-12 12:00:00", lower-case hex, 1 and 0; nothing for Null and Empty. Texts as they are.
void AppendPlain(const Value& value, std::string& out);

void AppendHex(const Bytes& bytes, std::string& out);
void AppendInteger(std::int64_t number, std::string& out);

}  // namespace qmtrain::jetsql
