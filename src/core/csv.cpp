#include "core/csv.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

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

static_assert(std::endian::native == std::endian::little, "words are taken apart from their first unit on");

// A word that repeats this part every kBits bits.
template <std::size_t kBits>
constexpr std::uint64_t Each(std::uint64_t part) {
    std::uint64_t word = 0;
    for (std::size_t at = 0; at < 64; at += kBits) word |= part << at;
    return word;
}

// Not zero when a unit of a word is a quote or not ASCII.
template <class Unit>
std::uint64_t SpecialUnits(std::uint64_t word) {
    constexpr std::size_t kBits = 8 * sizeof(Unit);
    const std::uint64_t zero_where_quote = word ^ Each<kBits>('"');
    const std::uint64_t quotes =
        (zero_where_quote - Each<kBits>(1)) & ~zero_where_quote & Each<kBits>(std::uint64_t{1} << (kBits - 1));
    return (word & Each<kBits>(static_cast<std::make_unsigned_t<Unit>>(~0x7F))) | quotes;
}

// Copies a text as if it were plain: ASCII without quotes, as most are. False when it is not. The last word overlaps
// the one before it, which costs less than a loop over what is left.
template <class Unit>
bool CopyPlain(std::basic_string_view<Unit> text, char* to) {
    constexpr std::size_t kTogether = sizeof(std::uint64_t) / sizeof(Unit);
    std::uint64_t special = 0;
    const auto copy = [&](std::size_t at) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, sizeof word);
        special |= SpecialUnits<Unit>(word);
        for (std::size_t i = 0; i < kTogether; ++i) to[at + i] = static_cast<char>(word >> i * 8 * sizeof(Unit));
    };
    if (text.size() >= kTogether) {
        const std::size_t last = text.size() - kTogether;
        for (std::size_t at = 0; at < last; at += kTogether) copy(at);
        copy(last);
        return special == 0;
    }
    for (std::size_t at = 0; at < text.size(); ++at) {
        special |= SpecialUnits<Unit>(static_cast<std::make_unsigned_t<Unit>>(text[at]));
        to[at] = static_cast<char>(text[at]);
    }
    return special == 0;
}

// `put`: writes the character at a place of the text and moves on.
template <class Unit, class Put>
char* PutBetweenQuotes(std::basic_string_view<Unit> text, char* to, Put put) {
    *to++ = '"';
    if (CopyPlain(text, to)) {
        to += text.size();
    } else {
        for (std::size_t at = 0; at < text.size();) {
            if (text[at] == '"') *to++ = '"';
            to = put(at, to);
        }
    }
    *to++ = '"';
    return to;
}

}  // namespace

char* PutQuoted(std::u16string_view text, char* to) {
    return PutBetweenQuotes(text, to, [&](std::size_t& at, char* place) { return PutUtf8(text, at, place); });
}

char* PutQuotedLatin1(std::string_view text, char* to) {
    return PutBetweenQuotes(text, to, [&](std::size_t& at, char* place) {
        const auto byte = static_cast<unsigned char>(text[at++]);
        if (byte >= 0x80) *place++ = static_cast<char>(0xC0 | byte >> 6);
        *place++ = static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F));
        return place;
    });
}

void CsvWriter::AppendQuoted(std::u16string_view text) {
    const std::size_t from = out_.size();
    out_.resize(from + kMostQuoted * text.size() + 2);
    const char* end = PutQuoted(text, out_.data() + from);
    out_.resize(static_cast<std::size_t>(end - out_.data()));
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
