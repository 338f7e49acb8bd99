#include "sql/binding/parameters.h"

#include "core/error.h"
#include "core/text.h"
#include "sql/values.h"

namespace qmtrain::sql {

Parameters::Parameters(const ast::Statement& statement, const ParameterValues& values) : values_(&values) {
    Declare(statement.parameters);
}

Parameters::Parameters(const ast::Statement& statement) : values_(nullptr) {
    Declare(statement.parameters);
}

void Parameters::Declare(const std::vector<ast::Parameter>& parameters) {
    for (const ast::Parameter& parameter : parameters) {
        if (Find(parameter.column.name) == nullptr) known_.push_back({parameter.column, parameter.typed});
    }
}

const Parameter* Parameters::Find(std::u16string_view name) const {
    for (const Parameter& parameter : known_) {
        if (EqualNames(parameter.column.name, name)) return &parameter;
    }
    return nullptr;
}

ExpressionPtr Parameters::Bind(std::u16string_view name) {
    const Parameter* declared = Find(name);
    if (values_ == nullptr) {
        if (declared == nullptr) {
            Parameter parameter;
            parameter.column.name = name;
            known_.push_back(std::move(parameter));
        }
        return std::make_unique<LiteralExpression>(Null{});
    }
    for (const ParameterValue& given : *values_) {
        if (!EqualNames(given.name, name) || given.value.IsEmpty()) continue;
        const bool typed = declared != nullptr && declared->typed;
        return std::make_unique<LiteralExpression>(typed ? ConvertToColumn(given.value, declared->column)
                                                         : given.value);
    }
    Raise(ErrorNumber::MissingParameter, {name});
}

}  // namespace qmtrain::sql
