// What is exported and printed: a title, sections of text and tables, and the plain rows that a CSV file gets.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "document/rich_text.h"

namespace qmtrain::report {

struct TableColumn {
    std::u16string title = {};
    int share = 1;  // of the width, against the other columns
    bool number = false;
};

struct Table {
    std::vector<TableColumn> columns = {};
    std::vector<std::vector<std::u16string>> rows = {};
};

// A heading, a text below it, a table below that; each may be empty.
struct Section {
    std::u16string heading = {};
    document::RichText text = {};
    Table table = {};
    bool keep_together = false;  // the text on one page, where it fits
    int room_below = 0;          // twips left empty, to be written in
};

struct Report {
    std::u16string title = {};
    std::u16string subtitle = {};
    std::vector<Section> sections = {};
    Table data = {};  // for CSV; where it has no columns, the sections' tables are taken
};

// "名称：值" with the name in bold, as a paragraph of its own.
void AppendLine(document::RichText& text, std::u16string_view name, std::u16string_view value);
void AppendLine(document::RichText& text, std::u16string_view name, document::RichText value);

// UTF-8 with a byte order mark, so that spreadsheets know it; fields with commas, quotes or line ends in quotes; lines
// end with CR LF.
std::string ToCsv(const Report& report);

// One file with everything in it: styles for light, dark and paper, pictures as data.
std::string ToHtml(const Report& report);

// Replaces the file in one step. Raises the component's error when it cannot be written.
void WriteWhole(std::u16string_view file, std::string_view content);

}  // namespace qmtrain::report
