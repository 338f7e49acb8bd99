// Trees back to SQL. Every name stands in brackets and every nested operation in parentheses, so that the text says
// exactly what was understood and parses to the same tree again.
#pragma once

#include <functional>
#include <string>

#include "sql/ast.h"

namespace qmtrain::sql {

std::u16string Print(const ast::Statement& statement);

// Without the columns that a TRANSFORM adds to it.
std::u16string PrintRows(const ast::Select& select);

// How a column is to be written; without it, as it was named.
using ColumnPrinter = std::function<std::u16string(const ast::ColumnName&)>;

std::u16string Print(const ast::Expression& expression, const ColumnPrinter& columns = {});

// Copies that share nothing with the original; that of a select lacks what PrintRows() leaves out.
ast::ExpressionPtr CopyOf(const ast::Expression& expression);
ast::Select CopyOf(const ast::Select& select);

}  // namespace qmtrain::sql
