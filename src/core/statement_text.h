// Texts in statements.
#pragma once

#include <string_view>

#include "core/error.h"

namespace qmtrain {

// Texts stand between quotes as they are. One with a quote would end there and say more than a text may: whatever the
// rest of it makes of the statement, that is refused. Raises SyntaxInExpression.
inline void RequireNoQuote(std::u16string_view text) {
    if (text.find(u'\'') != std::u16string_view::npos) Raise(ErrorNumber::SyntaxInExpression, {text});
}

}  // namespace qmtrain
