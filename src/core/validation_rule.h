// A condition that the values of a column, or the rows of a table, must meet.
#pragma once

#include <string>

namespace qmtrain {

struct ValidationRule {
    std::u16string condition;  // in SQL; empty: anything will do
    std::u16string text;       // the message for a value that breaks it; may be empty
};

}  // namespace qmtrain
