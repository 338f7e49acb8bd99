// The tokens of RTF. A token's text is a view into the document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace qmtrain::document {

struct RtfToken {
    enum class Kind : std::uint8_t {
        Open,    // {
        Close,   // }
        Word,    // \name or \nameN: text = name
        Symbol,  // \ and another character: text = that character
        Byte,    // \'hh: number
        Text,    // characters as they are; line ends between them mean nothing
        Binary,  // the data of \binN, one byte in each unit: text
        End,
    };

    Kind kind = Kind::End;
    std::u16string_view text;
    std::optional<int> number = {};  // held within the bounds of int

    int NumberOr(int otherwise) const { return number.value_or(otherwise); }
};

class RtfLexer {
public:
    explicit RtfLexer(std::u16string_view text) : text_(text) {}

    RtfToken Next();

private:
    RtfToken One(RtfToken::Kind kind);
    RtfToken TakeText();
    RtfToken TakeEscape();
    RtfToken TakeWord();
    RtfToken TakeByte();
    RtfToken TakeBinary(int length);
    std::optional<int> TakeNumber();
    char16_t Peek(std::size_t ahead = 0) const;
    std::u16string_view From(std::size_t start) const { return text_.substr(start, position_ - start); }

    std::u16string_view text_;
    std::size_t position_ = 0;
};

// The value of a hexadecimal digit, -1 for any other character.
int HexDigit(char16_t unit);

}  // namespace qmtrain::document
