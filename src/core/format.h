// Visual Basic's Format function.
#pragma once

#include <string>
#include <string_view>

#include "core/value.h"

namespace qmtrain {

// The value as the pattern shows it: "0.00", "#,##0", "0%", "yyyy年mm月dd日", "hh:nn:ss", "General Date", "Fixed" …
// Numbers may have sections for positive, negative, zero and Null ("0.0;(0.0);-;none"), texts know "@", "&", "<", ">"
// and "!". An empty pattern gives the value's text, and Null gives "".
std::u16string Format(const Value& value, std::u16string_view pattern);

}  // namespace qmtrain
