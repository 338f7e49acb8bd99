// The parameters of a statement: names in it that are no columns.
#pragma once

#include <string_view>
#include <vector>

#include "sql/ast.h"
#include "sql/expressions/expression.h"
#include "sql/parameter.h"

namespace qmtrain::sql {

class Parameters {
public:
    // For running a statement: each parameter has one of these values.
    Parameters(const ast::Statement& statement, const ParameterValues& values);

    // For finding out which parameters there are: each is Null.
    explicit Parameters(const ast::Statement& statement);

    // Of a saved query that the statement reads.
    void Declare(const std::vector<ast::Parameter>& parameters);

    // Raises MissingParameter for one without a value, and what ConvertToColumn raises for a value of another type.
    ExpressionPtr Bind(std::u16string_view name);

    const std::vector<Parameter>& Known() const { return known_; }

private:
    const Parameter* Find(std::u16string_view name) const;

    const ParameterValues* values_;
    std::vector<Parameter> known_;
};

}  // namespace qmtrain::sql
