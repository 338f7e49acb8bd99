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

// A formula does not end in an apostrophe; a character constant of a program does: "'+'".
bool MayBeFormula(std::u16string_view text) {
    return BeginsFormula(text) && !text.ends_with(kApostrophe);
}

// Where the text has apostrophes of its own before such a beginning, it needs one more, or the reader took one of them.
bool NeedsApostrophe(std::u16string_view text) {
    const std::u16string_view rest = text.substr(std::min(text.find_first_not_of(kApostrophe), text.size()));
    return MayBeFormula(rest) && (rest.size() < text.size() || !IsNumber(rest));
}

}  // namespace

std::u16string CsvCell(std::u16string_view text) {
    std::u16string out;
    if (NeedsApostrophe(text)) out += kApostrophe;
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
    if (!cell.starts_with(kApostrophe)) return cell;
    const std::u16string_view rest = cell.substr(std::min(cell.find_first_not_of(kApostrophe), cell.size()));
    return MayBeFormula(rest) ? cell.substr(1) : cell;
}

}  // namespace qmtrain
