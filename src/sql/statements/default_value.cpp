#include "sql/parse/parser.h"
#include "sql/statements/without_tables.h"
#include "sql/values.h"

namespace qmtrain::sql {

Value DefaultValue(const Column& column) {
    std::u16string_view text = column.default_expression;
    while (text.starts_with(u' ')) text.remove_prefix(1);
    // Designers write it with an equal sign in front, statements without.
    if (text.starts_with(u'=')) text.remove_prefix(1);
    if (text.empty() || column.autonumber) return {};

    Scope scope(nullptr);
    const ast::ExpressionPtr tree = Parser(text).ParseWholeExpression();
    return ConvertToColumn(WithoutTables().Bind(*tree, scope)->Evaluate(), column);
}

}  // namespace qmtrain::sql
