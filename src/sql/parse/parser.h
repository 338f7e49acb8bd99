// Tokens to trees, by recursive descent. Internal to the room: sql.h has Parse().
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/error.h"
#include "sql/ast.h"
#include "sql/parse/token.h"

namespace qmtrain::sql {

class Parser {
public:
    explicit Parser(std::u16string_view text);

    // One statement up to a semicolon or the end; nothing at the end.
    std::unique_ptr<ast::Statement> ParseStatement();

    // Raises an error when anything but a semicolon is left.
    void ExpectEnd();

    // A single expression, as a column's default has it.
    ast::ExpressionPtr ParseWholeExpression();

    // A condition on a column, which may be left out where it is on the left of a comparison (">= 1 And < 5"). A value
    // that stands alone is one that the column may have ("1 Or 2").
    ast::ExpressionPtr ParseColumnRule(std::u16string_view column);

private:
    // Counts how deep the text nests, so that no input can exhaust the stack.
    class Nesting {
    public:
        explicit Nesting(Parser& parser);
        ~Nesting() { --parser_.depth_; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        Parser& parser_;
    };

    // Within parentheses, where IN is the operator again.
    class Inside {
    public:
        explicit Inside(Parser& parser) : parser_(parser), before_(std::exchange(parser.in_pivot_, false)) {}
        ~Inside() { parser_.in_pivot_ = before_; }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

    private:
        Parser& parser_;
        bool before_;
    };

    // parser.cpp: tokens
    const Token& Peek(std::size_t ahead = 0) const;
    const Token& Take();
    bool PeekKeyword(std::u16string_view keyword, std::size_t ahead = 0) const {
        return Peek(ahead).IsKeyword(keyword);
    }
    bool PeekSymbol(std::u16string_view symbol, std::size_t ahead = 0) const { return Peek(ahead).IsSymbol(symbol); }
    bool TakeKeyword(std::u16string_view keyword);
    bool TakeSymbol(std::u16string_view symbol);
    void ExpectKeyword(std::u16string_view keyword, ErrorNumber error);
    void ExpectSymbol(std::u16string_view symbol, ErrorNumber error);
    bool PeekName() const;
    bool PeekOwnerAccess() const;
    void TakeOwnerAccess();
    std::u16string ExpectName(ErrorNumber error);
    std::vector<std::u16string> ExpectNameList(ErrorNumber error);  // "(a, b)"
    [[noreturn]] void Fail(ErrorNumber error) const;

    // parse_expression.cpp
    ast::ExpressionPtr ParseExpression();
    ast::ExpressionPtr ParsePivot();  // up to the IN of its headings
    ast::ExpressionPtr ParseOperators(int lowest);
    ast::ExpressionPtr ParsePrefix();
    ast::ExpressionPtr ParsePrimary();
    ast::ExpressionPtr ParseNamed();
    ast::ExpressionPtr ParseCall();
    ast::ExpressionPtr ParseParenthesised();
    ast::ExpressionPtr ParsePredicate(ast::ExpressionPtr subject, bool negated);
    ast::ExpressionPtr ParseIn(ast::ExpressionPtr subject, bool negated);
    ast::ExpressionPtr ParseIs(ast::ExpressionPtr subject);
    bool PeekQuantifier() const;
    bool LacksSubject(int lowest) const;
    ast::ExpressionPtr Subject() const;
    ast::ExpressionPtr AsRule(ast::ExpressionPtr expression) const;
    ast::ExpressionPtr ParseQuantified(ast::ExpressionPtr subject, ast::BinaryOperator op);
    ast::ExpressionPtr Checked(ast::ExpressionPtr expression) const;

    // parse_select.cpp
    ast::Select ParseSelect();
    ast::Select ParseTransform();
    std::unique_ptr<ast::Select> ParseSubSelect();  // after "(", up to and including ")"
    ast::SelectPart ParseSelectPart();
    void ParseQuantifiers(ast::SelectPart& part);
    ast::SelectItem ParseSelectItem();
    std::vector<ast::TableExpression> ParseFrom();
    ast::TableExpression ParseTableExpression();
    ast::TableExpression ParseTablePrimary();
    ast::TableExpression ParseJoin(ast::TableExpression left, ast::JoinType type);
    std::u16string ParseAlias(ErrorNumber error);
    std::vector<ast::OrderItem> ParseOrderBy();

    // parse_change.cpp
    ast::Insert ParseInsert();
    ast::Update ParseUpdate();
    ast::Delete ParseDelete();

    // parse_definition.cpp
    std::vector<ast::Parameter> ParseParameters();
    ast::Statement ParseCreate();
    ast::Statement ParseDrop();
    ast::CreateTable ParseCreateTable();
    ast::CreateIndex ParseCreateIndex(bool unique);
    ast::AlterTable ParseAlterTable();
    ast::ColumnDefinition ParseColumnDefinition();
    void ParseColumnType(Column& column);
    void ParseTypeSizes(Column& column);
    bool ParseColumnOption(ast::ColumnDefinition& definition);
    void ParseDefault(Column& column);
    ast::Constraint ParseColumnConstraint(std::u16string name, const std::u16string& column);
    ast::Constraint ParseTableConstraint();
    ast::ReferenceDefinition ParseReferences(std::u16string name, std::vector<std::u16string> columns);
    std::vector<ast::IndexDefinition::Key> ParseIndexKeys(ErrorNumber error);
    int ExpectSize();

    std::u16string_view text_;
    std::vector<Token> tokens_;
    std::size_t position_ = 0;
    int depth_ = 0;
    bool in_pivot_ = false;
    std::u16string_view subject_;  // of a column's rule; else empty
};

// Exactly one statement; a semicolon may end it.
std::unique_ptr<ast::Statement> ParseWhole(std::u16string_view text);

}  // namespace qmtrain::sql
