// SELECT, UNION and the FROM clause.
#include "sql/parse/parser.h"

namespace qmtrain::sql {

using ast::JoinType;
using ast::TableExpression;

namespace {

constexpr int kMaxJoins = 100;
constexpr std::size_t kMaxUnionParts = 200;

}  // namespace

ast::Select Parser::ParseSelect() {
    const Nesting nesting(*this);
    ast::Select select;
    select.parts.push_back(ParseSelectPart());
    while (TakeKeyword(u"UNION")) {
        const bool all = TakeKeyword(u"ALL");
        if (!PeekKeyword(u"SELECT")) Fail(ErrorNumber::SyntaxInUnion);
        select.parts.push_back(ParseSelectPart());
        select.parts.back().union_all = all;
        if (select.parts.size() > kMaxUnionParts) Fail(ErrorNumber::QueryTooComplex);
    }
    if (PeekKeyword(u"ORDER")) select.order_by = ParseOrderBy();
    return select;
}

ast::Select Parser::ParseTransform() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInStatement;
    auto crosstab = std::make_unique<ast::Crosstab>();
    Take();
    crosstab->value = ParseExpression();
    if (TakeKeyword(u"AS")) ExpectName(kError);  // the columns have the headings' names
    if (!PeekKeyword(u"SELECT")) Fail(kError);
    ast::Select select = ParseSelect();
    if (select.parts.size() > 1 || select.parts[0].group_by.empty() || !select.parts[0].into.empty()) Fail(kError);
    ExpectKeyword(u"PIVOT", kError);
    crosstab->pivot = ParsePivot();
    if (TakeKeyword(u"IN")) {
        ExpectSymbol(u"(", kError);
        do {
            crosstab->headings.push_back(ParseExpression());
        } while (TakeSymbol(u","));
        ExpectSymbol(u")", kError);
    }
    select.crosstab = std::move(crosstab);
    return select;
}

std::unique_ptr<ast::Select> Parser::ParseSubSelect() {
    if (!PeekKeyword(u"SELECT")) Fail(ErrorNumber::SyntaxInExpression);
    auto select = std::make_unique<ast::Select>(ParseSelect());
    TakeOwnerAccess();
    TakeSymbol(u";");
    ExpectSymbol(u")", ErrorNumber::SyntaxInExpression);
    for (const ast::SelectPart& part : select->parts) {
        if (!part.into.empty()) Fail(ErrorNumber::SyntaxInSelect);
    }
    return select;
}

ast::SelectPart Parser::ParseSelectPart() {
    ast::SelectPart part;
    Take();
    ParseQuantifiers(part);
    do {
        part.items.push_back(ParseSelectItem());
    } while (TakeSymbol(u","));
    if (TakeKeyword(u"INTO")) part.into = ExpectName(ErrorNumber::SyntaxInSelect);
    if (TakeKeyword(u"FROM")) part.from = ParseFrom();
    if (TakeKeyword(u"WHERE")) part.where = ParseExpression();
    if (TakeKeyword(u"GROUP")) {
        ExpectKeyword(u"BY", ErrorNumber::SyntaxInSelect);
        do {
            part.group_by.push_back(ParseExpression());
        } while (TakeSymbol(u","));
    }
    if (TakeKeyword(u"HAVING")) part.having = ParseExpression();
    return part;
}

void Parser::ParseQuantifiers(ast::SelectPart& part) {
    if (TakeKeyword(u"DISTINCT"))
        part.distinct = true;
    else if (TakeKeyword(u"DISTINCTROW"))
        part.distinct_row = true;
    else
        TakeKeyword(u"ALL");

    if (!TakeKeyword(u"TOP")) return;
    const Token& count = Take();
    if (count.kind != TokenKind::Literal || count.value.GetType() != Value::Type::Long)
        Fail(ErrorNumber::SyntaxInSelect);
    part.top = ast::Top{count.value.As<std::int32_t>(), TakeKeyword(u"PERCENT")};
    // "TOP 0" and more than a hundred percent are refused, not read as "none" and "all".
    if (part.top->count < 1 || (part.top->percent && part.top->count > 100)) Fail(ErrorNumber::SyntaxInSelect);
}

ast::SelectItem Parser::ParseSelectItem() {
    ast::SelectItem item;
    if (TakeSymbol(u"*")) {
        item.star = true;
        return item;
    }
    if (PeekName() && (PeekSymbol(u".", 1) || PeekSymbol(u"!", 1)) && PeekSymbol(u"*", 2)) {
        item.star = true;
        item.table = Take().text;
        Take();
        Take();
        return item;
    }
    if (PeekKeyword(u"FROM") || PeekSymbol(u",") || Peek().kind == TokenKind::End) Fail(ErrorNumber::SyntaxInSelect);
    item.expression = ParseExpression();
    if (TakeKeyword(u"AS")) item.alias = ExpectName(ErrorNumber::SyntaxInSelect);
    return item;
}

std::vector<TableExpression> Parser::ParseFrom() {
    std::vector<TableExpression> tables;
    do {
        tables.push_back(ParseTableExpression());
    } while (TakeSymbol(u","));
    return tables;
}

TableExpression Parser::ParseTableExpression() {
    const Nesting nesting(*this);
    TableExpression left = ParseTablePrimary();
    while (true) {
        if (PeekKeyword(u"INNER") || PeekKeyword(u"JOIN")) {
            TakeKeyword(u"INNER");
            left = ParseJoin(std::move(left), JoinType::Inner);
        } else if (PeekKeyword(u"LEFT") || PeekKeyword(u"RIGHT")) {
            const JoinType type = Take().IsKeyword(u"LEFT") ? JoinType::Left : JoinType::Right;
            TakeKeyword(u"OUTER");
            left = ParseJoin(std::move(left), type);
        } else {
            return left;
        }
    }
}

TableExpression Parser::ParseJoin(TableExpression left, JoinType type) {
    ExpectKeyword(u"JOIN", ErrorNumber::SyntaxInFromClause);
    ast::JoinedTable join;
    join.type = type;
    join.left = std::make_unique<TableExpression>(std::move(left));
    join.right = std::make_unique<TableExpression>(ParseTablePrimary());
    ExpectKeyword(u"ON", ErrorNumber::SyntaxInJoin);
    join.on = ParseExpression();
    TableExpression result;
    result.height = std::max(join.left->height, join.right->height) + 1;
    if (result.height > kMaxJoins) Fail(ErrorNumber::QueryTooComplex);
    result.node = std::move(join);
    return result;
}

TableExpression Parser::ParseTablePrimary() {
    TableExpression result;
    if (TakeSymbol(u"(")) {
        if (PeekKeyword(u"SELECT")) {
            ast::DerivedTable derived;
            derived.select = ParseSubSelect();
            derived.alias = ParseAlias(ErrorNumber::SyntaxInFromClause);
            result.node = std::move(derived);
            return result;
        }
        result = ParseTableExpression();
        ExpectSymbol(u")", ErrorNumber::SyntaxInJoin);
        return result;
    }
    ast::NamedTable table;
    table.name = ExpectName(ErrorNumber::SyntaxInFromClause);
    table.alias = ParseAlias(ErrorNumber::SyntaxInFromClause);
    result.node = std::move(table);
    return result;
}

std::u16string Parser::ParseAlias(ErrorNumber error) {
    if (TakeKeyword(u"AS")) return ExpectName(error);
    // The keyword of an unsupported join must not be taken for an alias.
    const bool joins = PeekKeyword(u"OUTER") || PeekKeyword(u"FULL") || PeekKeyword(u"CROSS");
    return PeekName() && !joins && !PeekOwnerAccess() ? std::u16string(Take().text) : std::u16string();
}

std::vector<ast::OrderItem> Parser::ParseOrderBy() {
    Take();
    ExpectKeyword(u"BY", ErrorNumber::SyntaxInOrderBy);
    std::vector<ast::OrderItem> items;
    do {
        if (Peek().kind == TokenKind::End) Fail(ErrorNumber::SyntaxInOrderBy);
        ast::OrderItem item;
        item.expression = ParseExpression();
        if (TakeKeyword(u"DESC"))
            item.descending = true;
        else
            TakeKeyword(u"ASC");
        items.push_back(std::move(item));
    } while (TakeSymbol(u","));
    return items;
}

}  // namespace qmtrain::sql
