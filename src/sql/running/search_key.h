// Where in an index the rows are whose values compare with another value in a given way.
#pragma once

#include <cstdint>

#include "core/value.h"
#include "sql/storage.h"

namespace qmtrain::sql {

// What to look for in the index.
struct SearchKey {
    enum class Kind : std::uint8_t {
        Found,    // `value`
        Nothing,  // no row compares so
        All,      // every row that is not Null does
        Unknown,  // the index does not say
    };
    Kind kind = Kind::Found;
    Value value{};
    bool inclusive = true;
};

// The comparison that a row's value must satisfy.
struct Wanted {
    bool equal = true;
    bool low = false;  // of a range: the lower end
    bool inclusive = true;
};

// Requires: the column's values and this one are of one family.
SearchKey SearchKeyFor(const Column& column, const Value& value, const Wanted& wanted);

}  // namespace qmtrain::sql
