// Sheets as text: fields between commas, lines that end with CR LF (RFC 4180).
#pragma once

#include <string>
#include <string_view>

namespace qmtrain {

// The byte order mark by which spreadsheets recognise UTF-8.
inline constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Write a text in UTF-8 between quotes, those in it doubled, and return the end of what they wrote. Latin-1 texts have
// a byte for each character. Require: room for kMostQuoted bytes for each unit or byte of the text, and for two more.
inline constexpr std::size_t kMostQuoted = 3;
char* PutQuoted(std::u16string_view text, char* to);
char* PutQuotedLatin1(std::string_view text, char* to);

// Writes rows, field by field, to the end of a text in UTF-8.
class CsvWriter {
public:
    // The text must outlive the writer.
    explicit CsvWriter(std::string& out) : out_(out) {}

    // For spreadsheets: in quotes where it holds a separator, a quote or a line end. What a spreadsheet would take for
    // a formula gets an apostrophe before it: a text may come from anybody, and a formula can read other files; and a
    // text that begins with "=" would be lost. Numbers stay numbers.
    void Cell(std::u16string_view text);

    // For programs: the text as it is, in quotes.
    void Quoted(std::u16string_view text);

    void EndRow() {
        out_ += "\r\n";
        first_ = true;
    }

private:
    void Separate() {
        if (!first_) out_.push_back(',');
        first_ = false;
    }
    void AppendQuoted(std::u16string_view text);

    std::string& out_;
    bool first_ = true;
};

// The text of a spreadsheet's cell whose quotes have been taken off: without the apostrophe before a formula.
std::u16string_view CsvCellText(std::u16string_view cell);

}  // namespace qmtrain
