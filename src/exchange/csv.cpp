#include "exchange/csv.h"

#include <algorithm>

#include "core/csv.h"
#include "core/text.h"

namespace qmtrain::exchange {

CsvReader::CsvReader(std::u16string_view text) : text_(text) {
    constexpr std::u16string_view kSeparators = u",;\t";
    constexpr std::u16string_view kNamed = u"sep=";
    const auto line = [&] { return text.substr(at_, text.find(u'\n', at_) - at_); };
    while (at_ < text.size() && line().find_first_not_of(u" \u3000\",;\t") == std::u16string_view::npos) {
        at_ = std::min(at_ + line().size() + 1, text.size());
        ++line_;
    }
    if (std::u16string first(line()); ToLower(first).starts_with(kNamed) && first.size() == kNamed.size() + 1) {
        separator_ = first.back();
        at_ = std::min(at_ + first.size() + 1, text.size());
        ++line_;
        return;
    }
    std::size_t counts[3] = {};
    bool quoted = false;
    for (const char16_t unit : text.substr(at_)) {
        if (unit == u'"') quoted = !quoted;
        if (quoted) continue;
        if (unit == u'\n') break;
        if (const std::size_t which = kSeparators.find(unit); which != std::u16string_view::npos) ++counts[which];
    }
    separator_ = kSeparators[std::max_element(counts, counts + 3) - counts];
}

bool CsvReader::Next(CsvRow& row) {
    row = {};
    if (at_ >= text_.size()) return false;
    row.line = line_;
    while (true) {
        row.cells.emplace_back(CsvCellText(ReadCell(row.open_quote)));
        if (at_ >= text_.size()) return true;
        if (text_[at_++] == u'\n') {
            ++line_;
            return true;
        }
    }
}

// Ends before a separator or a line end. What follows a closing quote belongs to the cell; so do the quotes where they
// were not needed: “"栈"的特点” is a text that was put between separators without quoting it.
std::u16string CsvReader::ReadCell(bool& open_quote) {
    std::u16string cell;
    const std::size_t begin = at_;
    if (at_ < text_.size() && text_[at_] == u'"') {
        for (++at_;; ++at_) {
            if (at_ >= text_.size()) {
                open_quote = true;
                return cell;
            }
            if (text_[at_] == u'"') {
                if (at_ + 1 >= text_.size() || text_[at_ + 1] != u'"') break;
                ++at_;
            }
            if (text_[at_] == u'\n') ++line_;
            cell += text_[at_];
        }
        ++at_;
    }
    const bool in_quotes = at_ > begin;
    const std::size_t inside = cell.size();
    while (at_ < text_.size() && text_[at_] != separator_ && text_[at_] != u'\n') cell += text_[at_++];
    const char16_t signs[] = {separator_, u'\n', u'"'};
    const bool needed = std::u16string_view(cell).substr(0, inside).find_first_of({signs, 3}) != cell.npos;
    if (in_quotes && !needed && cell.find_first_not_of(u" \t", inside) != cell.npos) {
        return std::u16string(text_.substr(begin, at_ - begin));
    }
    return cell;
}

}  // namespace qmtrain::exchange
