// Sheets in text files: fields between commas, semicolons or tabs, in quotes where they hold one of these.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qmtrain::exchange {

struct CsvRow {
    std::size_t line = 0;  // in which it begins
    std::vector<std::u16string> cells;
    bool open_quote = false;  // the text ended within quotes
};

class CsvReader {
public:
    // Begins at the first line that is not empty. The separator is the one that this has most of, outside quotes; or
    // the one that "sep=;" names there, which spreadsheets write.
    explicit CsvReader(std::u16string_view text);

    std::size_t Position() const { return at_; }

    // False at the end.
    bool Next(CsvRow& row);

private:
    std::u16string ReadCell(bool& open_quote);

    std::u16string_view text_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
    char16_t separator_ = u',';
};

}  // namespace qmtrain::exchange
