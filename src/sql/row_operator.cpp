#include "sql/row_operator.h"

namespace qmtrain::sql {

bool AllTrue(const std::vector<Expression*>& conditions) {
    for (Expression* condition : conditions) {
        if (condition->Test() != Truth::True) return false;
    }
    return true;
}

std::int64_t RowOperator::CountRows() {
    std::int64_t rows = 0;
    while (Next()) ++rows;
    return rows;
}

void Filter::Open() {
    child_->Open();
    all_meet_ = child_->MeetsConditions();
}

bool Filter::Next() {
    while (child_->Next()) {
        if (all_meet_ || AllTrue(conditions_)) return true;
    }
    return false;
}

std::int64_t Filter::CountRows() {
    return all_meet_ ? child_->CountRows() : RowOperator::CountRows();
}

}  // namespace qmtrain::sql
