#include "sql/parse/parser.h"
#include "sql/print.h"

namespace qmtrain::sql {

ast::ExpressionPtr CopyOf(const ast::Expression& expression) {
    const std::u16string text = Print(expression);
    return Parser(text).ParseWholeExpression();
}

ast::Select CopyOf(const ast::Select& select) {
    const std::u16string text = PrintRows(select);
    return std::move(std::get<ast::Select>(Parser(text).ParseStatement()->node));
}

}  // namespace qmtrain::sql
