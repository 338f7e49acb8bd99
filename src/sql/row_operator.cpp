#include "sql/row_operator.h"

namespace qmtrain::sql {

bool AllTrue(const std::vector<Expression*>& conditions) {
    for (Expression* condition : conditions) {
        if (condition->Test() != Truth::True) return false;
    }
    return true;
}

bool Filter::Next() {
    while (child_->Next()) {
        if (AllTrue(conditions_)) return true;
    }
    return false;
}

}  // namespace qmtrain::sql
