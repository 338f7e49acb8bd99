#include "core/csv_cell.h"

#include <algorithm>

namespace qmtrain {
namespace {

constexpr char16_t kApostrophe = u'\'';

bool BeginsFormula(std::u16string_view text) {
    return !text.empty() && std::u16string_view(u"=+-@").find(text.front()) != std::u16string_view::npos;
}

// "-12.5", "+3%".
bool IsNumber(std::u16string_view text) {
    if (text.starts_with(u'-') || text.starts_with(u'+')) text.remove_prefix(1);
    if (text.ends_with(u'%')) text.remove_suffix(1);
    const auto is_digit = [](char16_t unit) { return unit >= u'0' && unit <= u'9'; };
    return !text.empty() && is_digit(text.front()) && is_digit(text.back()) &&
           std::count(text.begin(), text.end(), u'.') <= 1 &&
           std::all_of(text.begin(), text.end(), [&](char16_t unit) { return is_digit(unit) || unit == u'.'; });
}

// How many apostrophes stand before such a beginning in a cell, when the text itself has so many there. A constant of a
// program, "'+'", stays as people write it; so a text that lacks only its first apostrophe gets two.
std::size_t Written(std::size_t own, bool ends_in_apostrophe) {
    if (!ends_in_apostrophe || own > 1) return own + 1;
    return own == 1 ? 1 : 2;
}

// The other way round. Requires: there is one at least.
std::size_t Own(std::size_t written, bool ends_in_apostrophe) {
    if (!ends_in_apostrophe || written > 2) return written - 1;
    return written == 1 ? 1 : 0;
}

std::u16string_view WithoutApostrophes(std::u16string_view text) {
    return text.substr(std::min(text.find_first_not_of(kApostrophe), text.size()));
}

}  // namespace

std::u16string CsvCell(std::u16string_view text) {
    std::u16string out;
    const std::u16string_view rest = WithoutApostrophes(text);
    const std::size_t own = text.size() - rest.size();
    if (BeginsFormula(rest) && (own > 0 || !IsNumber(rest))) {
        out.append(Written(own, rest.ends_with(kApostrophe)) - own, kApostrophe);
    }
    const bool quoted = text.find_first_of(u",;\t\"\n\r") != std::u16string_view::npos || text.starts_with(u' ') ||
                        text.ends_with(u' ');
    if (!quoted) return out.append(text);
    out.insert(0, 1, u'"');
    for (const char16_t unit : text) {
        if (unit == u'"') out += u'"';
        out += unit;
    }
    return out + u'"';
}

std::u16string_view CsvCellText(std::u16string_view cell) {
    const std::u16string_view rest = WithoutApostrophes(cell);
    const std::size_t written = cell.size() - rest.size();
    if (written == 0 || !BeginsFormula(rest)) return cell;
    return cell.substr(written - Own(written, rest.ends_with(kApostrophe)));
}

}  // namespace qmtrain
