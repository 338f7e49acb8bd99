// Numbers as text, and texts as numbers, as Visual Basic writes and reads them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/value.h"

namespace qmtrain {

// Without blanks at both ends.
std::u16string_view WithoutBlanks(std::u16string_view text);

// A number as text in plain ASCII without blanks and thousands commas; empty when it is none.
std::string PlainNumber(std::u16string_view text);

// "&H1F" and "&O17": as in source code, four hexadecimal digits are an Integer, more a Long.
std::optional<double> ParseRadix(std::u16string_view text);

// Of a plain number; nothing when it does not fit.
std::optional<Decimal> ParseDecimal(std::string_view plain);

// The shortest general form with at most that many digits: plain while all digits fit beside the point, else with an
// exponent of at least two digits ("1E+20", "3.33333333333333E-03").
void AppendNumber(float number, std::u16string& out);   // 7 digits
void AppendNumber(double number, std::u16string& out);  // 15 digits
void AppendNumber(const Decimal& number, std::u16string& out);
void AppendNumber(Currency number, std::u16string& out);

}  // namespace qmtrain
