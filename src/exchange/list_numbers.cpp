#include "exchange/list_numbers.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/text.h"

namespace qmtrain::exchange {
namespace {

struct NumberingRow {
    Numbering numbering;
    char16_t type;
    std::u16string_view style;
    std::u16string_view other_style;
};

constexpr NumberingRow kNumberings[] = {
    {Numbering::Decimal, u'1', u"decimal", u""},
    {Numbering::LowerLetters, u'a', u"lower-alpha", u"lower-latin"},
    {Numbering::UpperLetters, u'A', u"upper-alpha", u"upper-latin"},
    {Numbering::LowerRoman, u'i', u"lower-roman", u""},
    {Numbering::UpperRoman, u'I', u"upper-roman", u""},
};

constexpr std::pair<int, const char16_t*> kRoman[] = {
    {1000, u"m"}, {900, u"cm"}, {500, u"d"}, {400, u"cd"}, {100, u"c"}, {90, u"xc"}, {50, u"l"},
    {40, u"xl"},  {10, u"x"},   {9, u"ix"},  {5, u"v"},    {4, u"iv"},  {1, u"i"},
};
constexpr std::int32_t kMostRoman = 3999;
constexpr std::int32_t kLetters = 26;

// "a" to "z", "aa" …
std::u16string InLetters(std::int32_t number) {
    std::u16string out;
    for (; number > 0; number = (number - 1) / kLetters) {
        out.insert(out.begin(), static_cast<char16_t>(u'a' + (number - 1) % kLetters));
    }
    return out;
}

std::u16string InRoman(std::int32_t number) {
    std::u16string out;
    for (const auto& [value, figures] : kRoman) {
        for (; number >= value; number -= value) out += figures;
    }
    return out;
}

std::int32_t FromLetters(std::u16string_view letters) {
    std::int32_t number = 0;
    for (const char16_t letter : letters) number = number * kLetters + (letter - u'a' + 1);
    return number;
}

std::int32_t FromRoman(std::u16string_view figures) {
    std::int32_t number = 0;
    for (const auto& [value, part] : kRoman) {
        const std::u16string_view wanted(part);
        for (; figures.starts_with(wanted); figures.remove_prefix(wanted.size())) number += value;
    }
    return figures.empty() ? number : 0;
}

// The only reading that a bullet may have in this numbering; BulletOf tells whether it is one.
ItemNumber Guess(Numbering numbering, std::u16string_view small) {
    constexpr std::size_t kLongest = 9;  // more would not fit into the number
    if (small.size() > kLongest + 1) return {numbering, 0};
    switch (numbering) {
        case Numbering::Decimal: {
            const bool below = small.starts_with(u'-');
            std::int32_t number = 0;
            for (const char16_t digit : small.substr(below ? 1 : 0)) {
                if (digit < u'0' || digit > u'9' || number >= 100'000'000) return {numbering, 1};
                number = number * 10 + (digit - u'0');
            }
            return {numbering, below ? -number : number};
        }
        case Numbering::LowerLetters:
        case Numbering::UpperLetters: {
            constexpr std::size_t kMostLetters = 5;
            const bool letters =
                small.size() <= kMostLetters &&
                std::all_of(small.begin(), small.end(), [](char16_t unit) { return unit >= u'a' && unit <= u'z'; });
            return {numbering, letters ? FromLetters(small) : 0};
        }
        case Numbering::LowerRoman:
        case Numbering::UpperRoman: break;
    }
    return {numbering, FromRoman(small)};
}

}  // namespace

std::optional<Numbering> NumberingCalled(std::u16string_view word) {
    for (const NumberingRow& row : kNumberings) {
        if (word == std::u16string_view(&row.type, 1)) return row.numbering;
        const std::u16string small = ToLower(word);
        if (small == row.style || (!row.other_style.empty() && small == row.other_style)) return row.numbering;
    }
    return std::nullopt;
}

char16_t TypeOf(Numbering numbering) {
    return kNumberings[static_cast<std::size_t>(numbering)].type;
}

std::u16string BulletOf(ItemNumber item) {
    std::u16string text;
    switch (item.numbering) {
        case Numbering::Decimal: break;
        case Numbering::LowerLetters:
        case Numbering::UpperLetters: text = InLetters(item.number); break;
        case Numbering::LowerRoman:
        case Numbering::UpperRoman:
            if (item.number > 0 && item.number <= kMostRoman) text = InRoman(item.number);
            break;
    }
    if (item.numbering == Numbering::UpperLetters || item.numbering == Numbering::UpperRoman) text = ToUpper(text);
    if (text.empty()) text = ToText(item.number);
    return text + u'.';
}

std::optional<ItemNumber> ItemNumberOf(std::u16string_view bullet, const std::optional<ItemNumber>& before) {
    if (bullet.size() < 2 || !bullet.ends_with(u'.')) return std::nullopt;
    const std::u16string small = ToLower(bullet.substr(0, bullet.size() - 1));
    std::optional<ItemNumber> found;
    for (const NumberingRow& row : kNumberings) {
        const ItemNumber guess = Guess(row.numbering, small);
        if (BulletOf(guess) != bullet) continue;
        if (before && before->numbering == row.numbering) return guess;
        const bool roman = row.numbering == Numbering::LowerRoman || row.numbering == Numbering::UpperRoman;
        // A list begins with "i." as Roman figures have it, with "c." as letters do.
        if (!found || (roman && (guess.number == 1 || small.size() > 1))) found = guess;
    }
    return found;
}

}  // namespace qmtrain::exchange
