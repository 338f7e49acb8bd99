// The tokens of a statement.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/value.h"

namespace qmtrain::sql {

enum class TokenKind : std::uint8_t {
    End,
    Name,        // bare: a keyword or a name
    QuotedName,  // in brackets or back quotes: never a keyword
    Literal,     // a number, text or date
    Symbol,
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::u16string_view text;  // a name without its brackets, or the symbol; part of the statement
    Value value;               // a literal's value
    std::size_t position = 0;  // where it starts in the statement

    bool IsSymbol(std::u16string_view symbol) const { return kind == TokenKind::Symbol && text == symbol; }

    // Whether it is that bare word. Requires: `keyword` is in capital letters.
    bool IsKeyword(std::u16string_view keyword) const {
        return kind == TokenKind::Name && text.size() == keyword.size() && SpellsKeyword(keyword);
    }

private:
    bool SpellsKeyword(std::u16string_view keyword) const;
};

// Whether a bare word has a meaning of its own in the grammar, so that it can name something only in brackets.
bool IsReserved(std::u16string_view word);

}  // namespace qmtrain::sql
