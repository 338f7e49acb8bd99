#include "core/csv.h"

#include <algorithm>

#include "core/text.h"

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

// Number of apostrophes to write in front of a formula-like cell whose text itself has `own` there. A constant of a
// program, "'+'", stays as people write it; so a text that lacks only its first apostrophe gets two.
std::size_t ApostrophesToWrite(std::size_t own, bool ends_in_apostrophe) {
    if (!ends_in_apostrophe || own > 1) return own + 1;
    return own == 1 ? 1 : 2;
}

// The inverse: how many of those in the cell are the text's own. Requires: there is at least one.
std::size_t ApostrophesOfText(std::size_t written, bool ends_in_apostrophe) {
    if (!ends_in_apostrophe || written > 2) return written - 1;
    return written == 1 ? 1 : 0;
}

std::u16string_view WithoutApostrophes(std::u16string_view text) {
    return text.substr(std::min(text.find_first_not_of(kApostrophe), text.size()));
}

}  // namespace

void CsvWriter::AppendQuoted(std::u16string_view text) {
    out_.push_back('"');
    for (std::size_t quote; (quote = text.find(u'"')) != text.npos; text.remove_prefix(quote + 1)) {
        AppendUtf8(text.substr(0, quote), out_);
        out_ += "\"\"";
    }
    AppendUtf8(text, out_);
    out_.push_back('"');
}

void CsvWriter::Quoted(std::u16string_view text) {
    Separate();
    AppendQuoted(text);
}

void CsvWriter::Cell(std::u16string_view text) {
    Separate();
    std::u16string guarded;
    const std::u16string_view rest = WithoutApostrophes(text);
    const std::size_t own = text.size() - rest.size();
    if (BeginsFormula(rest) && (own > 0 || !IsNumber(rest))) {
        guarded.assign(ApostrophesToWrite(own, rest.ends_with(kApostrophe)) - own, kApostrophe);
    }
    const bool quoted = text.find_first_of(u",;\t\"\n\r") != std::u16string_view::npos || text.starts_with(u' ') ||
                        text.ends_with(u' ');
    guarded.append(text);
    if (quoted) {
        AppendQuoted(guarded);
    } else {
        AppendUtf8(guarded, out_);
    }
}

std::u16string_view CsvCellText(std::u16string_view cell) {
    const std::u16string_view rest = WithoutApostrophes(cell);
    const std::size_t written = cell.size() - rest.size();
    if (written == 0 || !BeginsFormula(rest)) return cell;
    return cell.substr(written - ApostrophesOfText(written, rest.ends_with(kApostrophe)));
}

}  // namespace qmtrain
