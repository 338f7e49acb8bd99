// Text of a statement to tokens.
#pragma once

#include <string_view>
#include <vector>

#include "sql/parse/token.h"

namespace qmtrain::sql {

// All tokens, the last one being End; they refer to the text. Raises SyntaxInExpression for an unclosed quote, bracket
// or date and for characters that mean nothing.
std::vector<Token> Tokenize(std::u16string_view text);

}  // namespace qmtrain::sql
