#include "core/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <numeric>

#include "core/finder.h"

namespace qmtrain {
namespace {

constexpr char32_t kReplacement = kReplacementCharacter;

void AppendUtf16(char32_t code, std::u16string& out) {
    if (code < 0x10000) {
        out.push_back(static_cast<char16_t>(code));
        return;
    }
    out.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
}

// The code point at `at` and its length in bytes; length 0 when the bytes are ill-formed. A surrogate in three bytes
// is let through, see ToUtf8.
std::pair<char32_t, std::size_t> DecodeUtf8(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[at + i]); };
    const std::uint8_t lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || at + length > text.size()) return {kReplacement, 0};
    char32_t code = lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {kReplacement, 0};
        code = code << 6 | (byte(i) & 0x3F);
    }
    constexpr std::array<char32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
    if (code < kLeast[length] || code > 0x10FFFF) return {kReplacement, 0};
    return {code, length};
}

// Kana, Han characters and Hangul. They and ASCII are most of what is folded, and need no table.
bool HasNoCase(char16_t unit) {
    return (unit >= 0x3000 && unit < 0xA640) || (unit >= 0xAC00 && unit < 0xD7A4);
}

struct CaseRun {
    char16_t first;
    char16_t last;
    std::uint16_t step;
    std::int32_t distance;
};

#include "core/case_table.inc"

struct CaseTable {
    std::array<char16_t, 0x10000> upper;
    std::array<char16_t, 0x10000> lower;

    CaseTable() {
        std::iota(upper.begin(), upper.end(), char16_t{0});
        lower = upper;
        for (const CaseRun& run : kUpper) Apply(run, upper);
        for (const CaseRun& run : kLower) Apply(run, lower);
    }

    static void Apply(const CaseRun& run, std::array<char16_t, 0x10000>& table) {
        for (std::uint32_t unit = run.first; unit <= run.last; unit += run.step) {
            table[unit] = static_cast<char16_t>(static_cast<std::int32_t>(unit) + run.distance);
        }
    }
};

const CaseTable& Cases() {
    static const auto table = std::make_unique<const CaseTable>();
    return *table;
}

template <class Integer>
std::u16string TextOf(Integer number) {
    std::array<char, 24> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    return {digits.data(), result.ptr};
}

// Not inlined: where `wanted` is a short constant the compiler would warn of what is not done for one.
[[gnu::noinline]] std::size_t FindLong(std::u16string_view text, std::u16string_view wanted, std::size_t from,
                                       bool folds) {
    return Finder(folds ? ToUpper(wanted) : std::u16string(wanted)).In(text, from, [&](char16_t unit) {
        return folds ? ToUpper(unit) : unit;
    });
}

}  // namespace

void AppendUtf8(std::u16string_view text, std::string& out) {
    char16_t bits = 0;
    for (const char16_t unit : text) bits |= unit;
    if (bits < 0x80) {
        const std::size_t before = out.size();
        out.resize(before + text.size());
        std::transform(text.begin(), text.end(), out.begin() + before,
                       [](char16_t unit) { return static_cast<char>(unit); });
        return;
    }
    const std::size_t from = out.size();
    out.resize(from + kMostUtf8 * text.size());
    char* to = out.data() + from;
    for (std::size_t at = 0; at < text.size();) to = PutUtf8(text, at, to);
    out.resize(static_cast<std::size_t>(to - out.data()));
}

std::string ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size() * 2);
    AppendUtf8(text, out);
    return out;
}

std::u16string FromUtf8(std::string_view text) {
    std::uint8_t bits = 0;
    for (const char unit : text) bits |= static_cast<std::uint8_t>(unit);
    if (bits < 0x80) return {text.begin(), text.end()};
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const auto [code, length] = DecodeUtf8(text, at);
        AppendUtf16(code, out);
        at += std::max<std::size_t>(length, 1);
    }
    return out;
}

char16_t ToUpper(char16_t unit) {
    if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
    return HasNoCase(unit) ? unit : Cases().upper[unit];
}

char16_t ToLower(char16_t unit) {
    if (unit < 0x80) return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    return HasNoCase(unit) ? unit : Cases().lower[unit];
}

std::u16string ToUpper(std::u16string_view text) {
    std::u16string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](char16_t unit) { return ToUpper(unit); });
    return out;
}

std::u16string ToLower(std::u16string_view text) {
    std::u16string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](char16_t unit) { return ToLower(unit); });
    return out;
}

std::size_t Find(std::u16string_view text, std::u16string_view wanted, std::size_t from, Case letter_case) {
    constexpr std::size_t kShort = 16;  // what is longer might be compared over and over again
    const bool folds = letter_case == Case::Ignored;
    if (wanted.size() > kShort) return FindLong(text, wanted, from, folds);
    if (!folds) return text.find(wanted, from);
    if (from > text.size()) return std::u16string_view::npos;
    const auto found = std::search(text.begin() + from, text.end(), wanted.begin(), wanted.end(),
                                   [](char16_t a, char16_t b) { return ToUpper(a) == ToUpper(b); });
    if (found == text.end() && !wanted.empty()) return std::u16string_view::npos;
    return static_cast<std::size_t>(found - text.begin());
}

bool EqualNames(std::u16string_view a, std::u16string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return x == y || ToUpper(x) == ToUpper(y); });
}

std::u16string FoldName(std::u16string_view name) {
    return ToUpper(name);
}

std::u16string ToText(std::int64_t number) {
    return TextOf(number);
}

std::u16string ToText(std::uint64_t number) {
    return TextOf(number);
}

std::vector<std::u16string> Split(std::u16string_view text, char16_t delimiter) {
    std::vector<std::u16string> items;
    for (std::size_t end = 0; (end = text.find(delimiter)) != std::u16string_view::npos; text.remove_prefix(end + 1)) {
        items.emplace_back(text.substr(0, end));
    }
    items.emplace_back(text);
    return items;
}

}  // namespace qmtrain
