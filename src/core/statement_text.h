// Texts in statements.
#pragma once

#include <string_view>

#include "core/error.h"

namespace qmtrain {

// Texts stand between quotes without any escape. One that contains a quote would end there, and the rest of it would
// be part of the statement: it is refused. Raises SyntaxInExpression.
inline void RequireNoQuote(std::u16string_view text) {
    if (text.find(u'\'') != std::u16string_view::npos) Raise(ErrorNumber::SyntaxInExpression, {text});
}

}  // namespace qmtrain
