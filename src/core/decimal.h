// Exact arithmetic of decimals: up to 28 digits, rounded half to even where a result has more behind the point.
#pragma once

#include "core/value.h"

namespace qmtrain {

// They raise Overflow when the digits before the point are too many.
Decimal Add(const Decimal& a, const Decimal& b);
Decimal Subtract(const Decimal& a, const Decimal& b);
Decimal Multiply(const Decimal& a, const Decimal& b);

// Raises DivisionByZero too.
Decimal Divide(const Decimal& a, const Decimal& b);

}  // namespace qmtrain
