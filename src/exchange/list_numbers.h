// The numbers before the items of a list, as browsers show them: "3.", "c.", "iv.".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qmtrain::exchange {

enum class Numbering : std::uint8_t { Decimal, LowerLetters, UpperLetters, LowerRoman, UpperRoman };

struct ItemNumber {
    Numbering numbering = Numbering::Decimal;
    std::int32_t number = 1;
    bool operator==(const ItemNumber&) const = default;
};

// As the type of a list in HTML has it, "1", "a", "A", "i", "I", or its style, "lower-roman"; nothing for other words.
std::optional<Numbering> NumberingCalled(std::u16string_view word);
char16_t TypeOf(Numbering numbering);

// "3."; a number that letters or Roman figures cannot say is in digits.
std::u16string BulletOf(ItemNumber item);

// What number a bullet says; of several readings, "i." and "c." have two, that of the numbering of `before`. Nothing
// for a bullet that BulletOf would not write.
std::optional<ItemNumber> ItemNumberOf(std::u16string_view bullet, const std::optional<ItemNumber>& before = {});

}  // namespace qmtrain::exchange
