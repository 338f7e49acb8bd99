// A cell of a sheet in a text file.
#pragma once

#include <string>
#include <string_view>

namespace qmtrain {

// As it stands between two separators: in quotes where it holds a separator, a quote or a line end. What a spreadsheet
// would take for a formula gets an apostrophe before it: a text may come from anybody, and a formula can read other
// files; and a text that begins with "=" would be lost. Numbers stay numbers.
std::u16string CsvCell(std::u16string_view text);

// The text of such a cell, whose quotes have been taken off: without that apostrophe.
std::u16string_view CsvCellText(std::u16string_view cell);

}  // namespace qmtrain
