// The patterns of Format: those of dates, and those of numbers.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"

namespace qmtrain {

// "yyyy-mm-dd", "hh:nn AM/PM", "dddd" …
std::u16string FormatDate(Date date, std::u16string_view pattern);

// "#,##0.00;-0;zero": the sections are for numbers from 0, below 0, and 0.
std::u16string FormatNumber(double number, std::u16string_view pattern);

// With zeros before it, up to that many digits.
std::u16string Padded(int number, std::size_t width);

// The sections of a pattern: it is split at semicolons outside quotes.
std::vector<std::u16string_view> SectionsOf(std::u16string_view pattern);

}  // namespace qmtrain
