// The rules that a table's rows must meet, its columns' and its own. A rule is broken when it is false: what is not
// known, for a Null, breaks none.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "sql/storage.h"

namespace qmtrain::sql {

class RowRules {
public:
    // The columns must outlive it. Raises SyntaxInExpression and the like for a rule that cannot be parsed.
    RowRules(const std::u16string& table, const std::vector<Column>& columns, const ValidationRule& of_rows);
    ~RowRules();

    // Whether a change of these columns may break a rule.
    bool Concern(std::span<const Assignment> changes) const;

    // Raises FieldRuleBroken and TableRuleBroken. `row`: one value per column, Empty where none was given.
    void Check(std::span<const Value> row);

    // The same after a change, which rules of other columns do not look at.
    void CheckChange(std::span<const Value> row, std::span<const Assignment> changes);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace qmtrain::sql
