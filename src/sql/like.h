// The patterns of Like: "*" any run, "?" one character, "#" a digit, "[a-c]" one of a set, "[!a-c]" none of it.
#pragma once

#include <string_view>

namespace qmtrain::sql {

// Without regard to case. Raises SyntaxInExpression for a set that is not closed or a range that runs backwards.
bool MatchesLike(std::u16string_view text, std::u16string_view pattern);

}  // namespace qmtrain::sql
