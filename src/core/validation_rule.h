// What the values of a column, or the rows of a table, must be like.
#pragma once

#include <string>

namespace qmtrain {

struct ValidationRule {
    std::u16string condition;  // in SQL; empty: anything will do
    std::u16string text;       // what is said of a value that does not meet it; may be empty
};

}  // namespace qmtrain
