// Expressions, by precedence climbing.
#include <array>

#include "sql/parse/parser.h"

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;
using ast::ExpressionPtr;

constexpr int kMaxHeight = 400;

// How tightly operators bind, the loosest first. "Not" binds looser than a comparison, a sign looser than "^".
enum Precedence : std::uint8_t {
    kImp = 1,
    kEqv,
    kXor,
    kOr,
    kAnd,
    kNot,
    kComparison,
    kConcatenate,
    kAdd,
    kModulo,
    kIntegerDivide,
    kMultiply,
    kSign,
    kPower,
};

struct OperatorInfo {
    std::u16string_view text;
    BinaryOperator op;
    int precedence;
};

constexpr std::array<OperatorInfo, 20> kOperators = {{
    {u"^", BinaryOperator::Power, kPower},
    {u"*", BinaryOperator::Multiply, kMultiply},
    {u"/", BinaryOperator::Divide, kMultiply},
    {u"\\", BinaryOperator::IntegerDivide, kIntegerDivide},
    {u"MOD", BinaryOperator::Modulo, kModulo},
    {u"+", BinaryOperator::Add, kAdd},
    {u"-", BinaryOperator::Subtract, kAdd},
    {u"&", BinaryOperator::Concatenate, kConcatenate},
    {u"=", BinaryOperator::Equal, kComparison},
    {u"<>", BinaryOperator::NotEqual, kComparison},
    {u"<", BinaryOperator::Less, kComparison},
    {u">", BinaryOperator::Greater, kComparison},
    {u"<=", BinaryOperator::LessEqual, kComparison},
    {u">=", BinaryOperator::GreaterEqual, kComparison},
    {u"LIKE", BinaryOperator::Like, kComparison},
    {u"AND", BinaryOperator::And, kAnd},
    {u"OR", BinaryOperator::Or, kOr},
    {u"XOR", BinaryOperator::Xor, kXor},
    {u"EQV", BinaryOperator::Eqv, kEqv},
    {u"IMP", BinaryOperator::Imp, kImp},
}};

const OperatorInfo* FindOperator(const Token& token) {
    if (token.kind != TokenKind::Symbol && token.kind != TokenKind::Name) return nullptr;
    for (const OperatorInfo& info : kOperators) {
        if (token.IsSymbol(info.text) || token.IsKeyword(info.text)) return &info;
    }
    return nullptr;
}

bool StartsPredicate(const Token& token) {
    return token.IsKeyword(u"BETWEEN") || token.IsKeyword(u"IN") || token.IsKeyword(u"LIKE") || token.IsKeyword(u"IS");
}

}  // namespace

ExpressionPtr Parser::Checked(ExpressionPtr expression) const {
    if (expression->height > kMaxHeight) Fail(ErrorNumber::QueryTooComplex);
    return expression;
}

ExpressionPtr Parser::ParseExpression() {
    return ParseOperators(kImp);
}

ExpressionPtr Parser::ParsePivot() {
    in_pivot_ = true;
    ExpressionPtr pivot = ParseExpression();
    in_pivot_ = false;
    return pivot;
}

ExpressionPtr Parser::ParseOperators(int lowest) {
    // Most items of a list are values and nothing else.
    if (Peek().kind == TokenKind::Literal && (PeekSymbol(u",", 1) || PeekSymbol(u")", 1))) return ParsePrimary();
    const Nesting nesting(*this);
    ExpressionPtr left = LacksSubject(lowest) ? Subject() : ParsePrefix();
    while (true) {
        const bool negated = PeekKeyword(u"NOT") && StartsPredicate(Peek(1));
        if (in_pivot_ && PeekKeyword(u"IN")) return left;
        if (lowest <= kComparison && (negated || (StartsPredicate(Peek()) && !PeekKeyword(u"LIKE")))) {
            if (negated) Take();
            left = Checked(ParsePredicate(std::move(left), negated));
            continue;
        }
        const OperatorInfo* info = FindOperator(Peek());
        if (info == nullptr || info->precedence < lowest) return left;
        Take();
        if (info->precedence == kComparison && info->op != BinaryOperator::Like && PeekQuantifier()) {
            left = Checked(ParseQuantified(std::move(left), info->op));
            continue;
        }
        ExpressionPtr right = ParseOperators(info->precedence + 1);
        left = Checked(std::make_unique<ast::Binary>(info->op, std::move(left), std::move(right)));
    }
}

// Whether a comparison begins here without its left side.
bool Parser::LacksSubject(int lowest) const {
    if (subject_.empty() || lowest > kComparison) return false;
    const OperatorInfo* info = FindOperator(Peek());
    return StartsPredicate(Peek()) || (info != nullptr && info->precedence == kComparison) ||
           (PeekKeyword(u"NOT") && StartsPredicate(Peek(1)));
}

ExpressionPtr Parser::Subject() const {
    auto column = std::make_unique<ast::ColumnName>();
    column->name = subject_;
    return column;
}

ExpressionPtr Parser::ParseColumnRule(std::u16string_view column) {
    subject_ = column;
    return AsRule(ParseWholeExpression());
}

ExpressionPtr Parser::AsRule(ExpressionPtr expression) const {
    if (expression->kind == ast::ExpressionKind::Binary) {
        auto& binary = As<ast::Binary>(*expression);
        if (binary.op < BinaryOperator::And) return expression;
        binary.left = AsRule(std::move(binary.left));
        binary.right = AsRule(std::move(binary.right));
        return expression;
    }
    const ast::Expression* value = expression.get();
    if (expression->kind == ast::ExpressionKind::Unary) {
        auto& unary = As<ast::Unary>(*expression);
        if (unary.op == ast::UnaryOperator::Not) {
            unary.operand = AsRule(std::move(unary.operand));
            return expression;
        }
        value = unary.operand.get();
    }
    if (value->kind != ast::ExpressionKind::Literal) return expression;
    return std::make_unique<ast::Binary>(BinaryOperator::Equal, Subject(), std::move(expression));
}

ExpressionPtr Parser::ParsePrefix() {
    const Nesting nesting(*this);
    if (TakeKeyword(u"NOT")) {
        return Checked(std::make_unique<ast::Unary>(ast::UnaryOperator::Not, ParseOperators(kNot)));
    }
    const bool minus = PeekSymbol(u"-");
    if (minus || PeekSymbol(u"+")) {
        Take();
        const auto op = minus ? ast::UnaryOperator::Minus : ast::UnaryOperator::Plus;
        return Checked(std::make_unique<ast::Unary>(op, ParseOperators(kSign)));
    }
    return ParsePrimary();
}

ExpressionPtr Parser::ParsePrimary() {
    const Token& token = Peek();
    if (token.kind == TokenKind::Literal) return std::make_unique<ast::Literal>(Take().value);
    if (TakeSymbol(u"(")) return ParseParenthesised();
    if (TakeKeyword(u"NULL")) return std::make_unique<ast::Literal>(Value(Null{}));
    if (PeekKeyword(u"EXISTS") && PeekSymbol(u"(", 1)) {
        Take();
        Take();
        auto exists = std::make_unique<ast::Exists>();
        exists->select = ParseSubSelect();
        return exists;
    }
    // These are functions as well as parts of the grammar.
    const bool both = token.IsKeyword(u"LEFT") || token.IsKeyword(u"RIGHT") || token.IsKeyword(u"ASC");
    const bool name = PeekName() || both;
    if (name && PeekSymbol(u"(", 1)) return ParseCall();
    if (!PeekName()) Fail(ErrorNumber::SyntaxInExpression);
    return ParseNamed();
}

// A column, or one of the constants that look like one.
ExpressionPtr Parser::ParseNamed() {
    if (!PeekSymbol(u".", 1) && !PeekSymbol(u"!", 1)) {
        constexpr std::array<std::u16string_view, 4> kConstants = {u"TRUE", u"FALSE", u"YES", u"NO"};
        for (std::size_t i = 0; i < kConstants.size(); ++i) {
            if (TakeKeyword(kConstants[i])) return std::make_unique<ast::Literal>(Value(i % 2 == 0));
        }
    }
    auto column = std::make_unique<ast::ColumnName>();
    column->name = Take().text;
    // More than two parts name something outside the database, such as "[Forms]![Dialog]![Date]".
    while (PeekSymbol(u".") || PeekSymbol(u"!")) {
        if (Take().IsSymbol(u"!")) column->exclamation = true;
        column->table += (column->table.empty() ? u"" : u"!") + column->name;
        // After the point a keyword is a name.
        if (Peek().kind != TokenKind::Name && Peek().kind != TokenKind::QuotedName)
            Fail(ErrorNumber::SyntaxInExpression);
        column->name = Take().text;
    }
    return column;
}

ExpressionPtr Parser::ParseCall() {
    const Inside inside(*this);
    auto call = std::make_unique<ast::Call>();
    call->name = Take().text;
    Take();
    if (TakeSymbol(u")")) return call;
    if (PeekSymbol(u"*") && PeekSymbol(u")", 1)) {
        call->star = true;
        Take();
        Take();
        return call;
    }
    do {
        call->arguments.push_back(ParseExpression());
        call->height = std::max(call->height, call->arguments.back()->height + 1);
    } while (TakeSymbol(u","));
    ExpectSymbol(u")", ErrorNumber::SyntaxInExpression);
    return Checked(std::move(call));
}

ExpressionPtr Parser::ParseParenthesised() {
    const Inside inside(*this);
    if (PeekKeyword(u"SELECT")) {
        auto sub_select = std::make_unique<ast::SubSelect>();
        sub_select->select = ParseSubSelect();
        return sub_select;
    }
    ExpressionPtr inner = ParseExpression();
    ExpectSymbol(u")", ErrorNumber::SyntaxInExpression);
    return inner;
}

ExpressionPtr Parser::ParsePredicate(ExpressionPtr subject, bool negated) {
    if (TakeKeyword(u"IN")) return ParseIn(std::move(subject), negated);
    if (TakeKeyword(u"IS")) {
        if (negated) Fail(ErrorNumber::SyntaxInExpression);
        return ParseIs(std::move(subject));
    }
    if (TakeKeyword(u"LIKE")) {
        ExpressionPtr pattern = ParseOperators(kConcatenate);
        ExpressionPtr like =
            std::make_unique<ast::Binary>(BinaryOperator::Like, std::move(subject), std::move(pattern));
        return std::make_unique<ast::Unary>(ast::UnaryOperator::Not, std::move(like));
    }
    ExpectKeyword(u"BETWEEN", ErrorNumber::SyntaxInExpression);
    auto between = std::make_unique<ast::Between>();
    between->negated = negated;
    between->subject = std::move(subject);
    between->low = ParseOperators(kConcatenate);
    ExpectKeyword(u"AND", ErrorNumber::SyntaxInExpression);
    between->high = ParseOperators(kConcatenate);
    between->height = std::max({between->subject->height, between->low->height, between->high->height}) + 1;
    return between;
}

ExpressionPtr Parser::ParseIn(ExpressionPtr subject, bool negated) {
    ExpectSymbol(u"(", ErrorNumber::SyntaxInExpression);
    if (PeekKeyword(u"SELECT")) {
        auto in = std::make_unique<ast::InSelect>();
        in->negated = negated;
        in->height = subject->height + 1;
        in->subject = std::move(subject);
        in->select = ParseSubSelect();
        return in;
    }
    auto in = std::make_unique<ast::InList>();
    in->negated = negated;
    in->height = subject->height + 1;
    in->subject = std::move(subject);
    do {
        in->items.push_back(ParseExpression());
        in->height = std::max(in->height, in->items.back()->height + 1);
    } while (TakeSymbol(u","));
    ExpectSymbol(u")", ErrorNumber::SyntaxInExpression);
    return in;
}

bool Parser::PeekQuantifier() const {
    const bool quantifier = PeekKeyword(u"ANY") || PeekKeyword(u"SOME") || PeekKeyword(u"ALL");
    return quantifier && PeekSymbol(u"(", 1) && PeekKeyword(u"SELECT", 2);
}

ExpressionPtr Parser::ParseQuantified(ExpressionPtr subject, BinaryOperator op) {
    auto quantified = std::make_unique<ast::Quantified>();
    quantified->op = op;
    quantified->all = Take().IsKeyword(u"ALL");
    Take();
    quantified->height = subject->height + 1;
    quantified->subject = std::move(subject);
    quantified->select = ParseSubSelect();
    return quantified;
}

ExpressionPtr Parser::ParseIs(ExpressionPtr subject) {
    auto is_null = std::make_unique<ast::IsNull>();
    is_null->negated = TakeKeyword(u"NOT");
    ExpectKeyword(u"NULL", ErrorNumber::SyntaxInExpression);
    is_null->height = subject->height + 1;
    is_null->subject = std::move(subject);
    return is_null;
}

}  // namespace qmtrain::sql
