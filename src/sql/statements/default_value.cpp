#include "sql/binding/binder.h"
#include "sql/parse/parser.h"
#include "sql/statements/no_tables.h"
#include "sql/values.h"

namespace qmtrain::sql {

Value DefaultValue(const Column& column) {
    std::u16string_view text = column.default_expression;
    while (text.starts_with(u' ')) text.remove_prefix(1);
    // Designers write it with an equal sign in front, statements without.
    if (text.starts_with(u'=')) text.remove_prefix(1);
    if (text.empty() || column.counter) return {};

    NoTables catalog;
    const ast::Statement no_statement;
    const ParameterValues no_values;
    Parameters parameters(no_statement, no_values);
    BindContext context(catalog, parameters);
    Scope scope(nullptr);
    const ast::ExpressionPtr tree = Parser(text).ParseWholeExpression();
    return ConvertToColumn(ExpressionBinder(context, scope).Bind(*tree)->Evaluate(), column);
}

}  // namespace qmtrain::sql
