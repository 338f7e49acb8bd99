// Pieces of statements in the server's words.
#pragma once

#include <string>
#include <string_view>

#include "core/value.h"
#include "sql/ast.h"

namespace qmtrain::dao {

inline std::u16string InParentheses(std::u16string_view text) {
    return (u"(" + std::u16string(text)).append(u")");
}

inline std::u16string Cast(std::u16string_view text, std::u16string_view type) {
    return u"CAST(" + std::u16string(text).append(u" AS ").append(type).append(u")");
}

inline std::u16string CallOf(std::u16string_view function, std::u16string_view arguments) {
    return std::u16string(function).append(InParentheses(arguments));
}

inline constexpr std::u16string_view kDouble = u"double precision";

// A literal's value where an expression is no more than that.
inline const Value* LiteralIn(const sql::ast::Expression& expression) {
    if (expression.kind != sql::ast::ExpressionKind::Literal) return nullptr;
    return &As<sql::ast::Literal>(expression).value;
}

}  // namespace qmtrain::dao
