#include "sql/running/row_operator.h"

#include <cmath>

#include "core/text.h"

namespace qmtrain::sql {

void Explanation::Add(std::u16string_view text, const RowOperator& row_operator) {
    std::u16string line(text);
    if (row_operator.EstimatedRows() >= 0) {
        line += u"  ~ " + ToText(std::llround(row_operator.EstimatedRows())) + u" rows";
    }
    AddLine(depth_, line);
}

void Explanation::AddChild(const RowOperator& child) {
    ++depth_;
    child.Explain(*this);
    --depth_;
}

void Explanation::AddLine(int depth, std::u16string_view text) {
    lines_.emplace_back(static_cast<std::size_t>(depth) * 2, u' ');
    lines_.back() += text;
}

bool AllTrue(std::span<Expression* const> conditions) {
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
    tested_ = conditions_.size() - (child_->MeetsConditions() ? last_ : 0);
}

bool Filter::Next() {
    while (child_->Next()) {
        if (AllTrue(std::span(conditions_).first(tested_))) return true;
    }
    return false;
}

void Filter::Explain(Explanation& out) const {
    out.Add(u"filter by " + ToText(conditions_.size()) + (conditions_.size() == 1 ? u" condition" : u" conditions"),
            *this);
    out.AddChild(*child_);
}

std::int64_t Filter::CountRows() {
    return tested_ == 0 ? child_->CountRows() : RowOperator::CountRows();
}

}  // namespace qmtrain::sql
