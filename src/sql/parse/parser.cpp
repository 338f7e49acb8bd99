#include "sql/parse/parser.h"

#include "sql/parse/lexer.h"

namespace qmtrain::sql {
namespace {

constexpr int kMaxNesting = 200;

}  // namespace

Parser::Nesting::Nesting(Parser& parser) : parser_(parser) {
    if (parser.depth_ >= kMaxNesting) parser.Fail(ErrorNumber::QueryTooComplex);
    ++parser.depth_;
}

Parser::Parser(std::u16string_view text) : text_(text), tokens_(Tokenize(text)) {}

std::unique_ptr<ast::Statement> Parser::ParseStatement() {
    while (TakeSymbol(u";")) {
    }
    if (Peek().kind == TokenKind::End) return nullptr;

    auto statement = std::make_unique<ast::Statement>();
    if (PeekKeyword(u"PARAMETERS")) statement->parameters = ParseParameters();
    if (PeekKeyword(u"SELECT"))
        statement->node = ParseSelect();
    else if (PeekKeyword(u"TRANSFORM"))
        statement->node = ParseTransform();
    else if (TakeKeyword(u"INSERT"))
        statement->node = ParseInsert();
    else if (TakeKeyword(u"UPDATE"))
        statement->node = ParseUpdate();
    else if (TakeKeyword(u"DELETE"))
        statement->node = ParseDelete();
    else if (TakeKeyword(u"CREATE"))
        *statement = ParseCreate();
    else if (TakeKeyword(u"DROP"))
        *statement = ParseDrop();
    else if (TakeKeyword(u"ALTER"))
        statement->node = ParseAlterTable();
    else
        Fail(ErrorNumber::SyntaxInStatement);

    TakeOwnerAccess();
    if (Peek().kind != TokenKind::End && !PeekSymbol(u";")) Fail(ErrorNumber::SyntaxInExpression);
    return statement;
}

void Parser::ExpectEnd() {
    while (TakeSymbol(u";")) {
    }
    if (Peek().kind != TokenKind::End) Fail(ErrorNumber::SyntaxInStatement);
}

ast::ExpressionPtr Parser::ParseWholeExpression() {
    ast::ExpressionPtr expression = ParseExpression();
    if (Peek().kind != TokenKind::End) Fail(ErrorNumber::SyntaxInExpression);
    return expression;
}

const Token& Parser::Peek(std::size_t ahead) const {
    const std::size_t place = position_ + ahead;
    return place < tokens_.size() ? tokens_[place] : tokens_.back();
}

const Token& Parser::Take() {
    const Token& token = Peek();
    if (position_ + 1 < tokens_.size()) ++position_;
    return token;
}

bool Parser::TakeKeyword(std::u16string_view keyword) {
    if (!PeekKeyword(keyword)) return false;
    Take();
    return true;
}

bool Parser::TakeSymbol(std::u16string_view symbol) {
    if (!PeekSymbol(symbol)) return false;
    Take();
    return true;
}

void Parser::ExpectKeyword(std::u16string_view keyword, ErrorNumber error) {
    if (!TakeKeyword(keyword)) Fail(error);
}

void Parser::ExpectSymbol(std::u16string_view symbol, ErrorNumber error) {
    if (!TakeSymbol(symbol)) Fail(error);
}

bool Parser::PeekName() const {
    const Token& token = Peek();
    return token.kind == TokenKind::QuotedName || (token.kind == TokenKind::Name && !IsReserved(token.text));
}

// "WITH OWNERACCESS OPTION", which may end a statement and what a saved query holds.
bool Parser::PeekOwnerAccess() const {
    return PeekKeyword(u"WITH") && PeekKeyword(u"OWNERACCESS", 1) && PeekKeyword(u"OPTION", 2);
}

// There are no users whose rights it could lend.
void Parser::TakeOwnerAccess() {
    for (int words = PeekOwnerAccess() ? 3 : 0; words > 0; --words) Take();
}

std::u16string Parser::ExpectName(ErrorNumber error) {
    if (!PeekName()) Fail(error);
    return std::u16string(Take().text);
}

std::vector<std::u16string> Parser::ExpectNameList(ErrorNumber error) {
    std::vector<std::u16string> names;
    ExpectSymbol(u"(", error);
    do {
        names.push_back(ExpectName(error));
    } while (TakeSymbol(u","));
    ExpectSymbol(u")", error);
    return names;
}

void Parser::Fail(ErrorNumber error) const {
    constexpr std::size_t kShown = 60;
    const std::size_t position = Peek().position;
    // At the end, what stands last is more telling than nothing.
    const std::size_t first = position < text_.size() ? position : text_.size() > kShown ? text_.size() - kShown : 0;
    Raise(error, {text_.substr(first, kShown)});
}

std::unique_ptr<ast::Statement> ParseWhole(std::u16string_view text) {
    Parser parser(text);
    std::unique_ptr<ast::Statement> tree = parser.ParseStatement();
    if (tree == nullptr) Raise(ErrorNumber::SyntaxInStatement, {text});
    parser.ExpectEnd();
    return tree;
}

}  // namespace qmtrain::sql
