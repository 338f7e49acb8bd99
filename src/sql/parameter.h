// The parameters of statements and their values. Names count without regard to case.
#pragma once

#include <string>
#include <vector>

#include "core/value.h"
#include "sql/storage.h"

namespace qmtrain::sql {

struct ParameterValue {
    std::u16string name;
    Value value;
};
using ParameterValues = std::vector<ParameterValue>;

// A name in a statement that its tables do not explain, or that its PARAMETERS clause declares.
struct Parameter {
    Column column;       // its name, and what values it takes
    bool typed = false;  // else it takes any
};

}  // namespace qmtrain::sql
