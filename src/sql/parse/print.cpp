#include "sql/print.h"

#include "sql/parse/parser.h"
#include "sql/parse/printer.h"

namespace qmtrain::sql {

std::u16string Print(const ast::Statement& statement) {
    const ColumnPrinter none;
    ast::Printer printer(none);
    printer.PutParameters(statement.parameters);
    std::visit([&](const auto& node) { printer.Put(node); }, statement.node);
    return std::move(printer.out);
}

std::u16string PrintRows(const ast::Select& select) {
    const ColumnPrinter none;
    ast::Printer printer(none);
    printer.PutRows(select);
    return std::move(printer.out);
}

std::u16string Print(const ast::Expression& expression, const ColumnPrinter& columns) {
    ast::Printer printer(columns);
    printer.Put(expression);
    return std::move(printer.out);
}

ast::ExpressionPtr CopyOf(const ast::Expression& expression) {
    const std::u16string text = Print(expression);
    return Parser(text).ParseWholeExpression();
}

ast::Select CopyOf(const ast::Select& select) {
    const std::u16string text = PrintRows(select);
    return std::move(std::get<ast::Select>(Parser(text).ParseStatement()->node));
}

}  // namespace qmtrain::sql
