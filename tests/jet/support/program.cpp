#include "jet/support/program.h"

namespace qmtrain::test {

std::vector<std::vector<Cell>> ParseCsv(std::string_view text) {
    std::vector<std::vector<Cell>> rows;
    for (std::size_t at = 0; at < text.size();) {
        std::vector<Cell>& row = rows.emplace_back();
        do {
            Cell& cell = row.emplace_back();
            cell.quoted = at < text.size() && text[at] == '"';
            if (cell.quoted) ++at;
            while (at < text.size()) {
                const char c = text[at];
                if (cell.quoted ? c == '"' : c == ',' || c == '\n') {
                    if (!cell.quoted || at + 1 == text.size() || text[at + 1] != '"') break;
                    ++at;
                }
                cell.text.push_back(c);
                ++at;
            }
            if (cell.quoted) ++at;
        } while (at < text.size() && text[at++] == ',');
    }
    return rows;
}

}  // namespace qmtrain::test
