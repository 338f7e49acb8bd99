// Values as statements and columns see them: how they compare, and how a column holds them.
#pragma once

#include "core/value.h"
#include "sql/storage.h"

namespace qmtrain::sql {

// Negative, zero or positive; numbers and dates by size, texts in the database's order. Raises CriteriaTypeMismatch
// when the two are of different families. Requires: neither is Null.
int CompareValues(const Value& a, const Value& b);

// A value as the column holds it. Raises DataTypeConversion when it cannot be read as the column's type, Overflow when
// the number is too large, FieldTooLarge when the text is too long. Null stays Null.
Value ConvertToColumn(const Value& value, const Column& column);

// What a new row gets in a column that is not given: its default expression evaluated and converted, else Empty.
Value DefaultValue(const Column& column);

}  // namespace qmtrain::sql
