// INSERT, UPDATE and DELETE.
#include "sql/parse/parser.h"

namespace qmtrain::sql {

ast::Insert Parser::ParseInsert() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInInsert;
    ast::Insert insert;
    ExpectKeyword(u"INTO", kError);
    insert.table = ExpectName(kError);
    if (PeekSymbol(u"(") && !PeekKeyword(u"SELECT", 1)) insert.columns = ExpectNameList(kError);
    if (PeekKeyword(u"SELECT")) {
        insert.select = std::make_unique<ast::Select>(ParseSelect());
        if (!insert.select->parts.front().into.empty()) Fail(kError);
        return insert;
    }
    if (TakeSymbol(u"(")) {
        insert.select = ParseSubSelect();
        return insert;
    }
    ExpectKeyword(u"VALUES", kError);
    ExpectSymbol(u"(", kError);
    do {
        insert.values.push_back(ParseExpression());
    } while (TakeSymbol(u","));
    ExpectSymbol(u")", kError);
    return insert;
}

ast::Update Parser::ParseUpdate() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInUpdate;
    ast::Update update;
    TakeKeyword(u"DISTINCTROW");
    if (!PeekName() && !PeekSymbol(u"(")) Fail(kError);
    update.from = ParseFrom();
    ExpectKeyword(u"SET", kError);
    do {
        if (!PeekName()) Fail(kError);
        ast::SetItem item;
        ast::ExpressionPtr target = ParseNamed();
        if (target->kind != ast::ExpressionKind::ColumnName) Fail(kError);
        item.column.reset(static_cast<ast::ColumnName*>(target.release()));
        ExpectSymbol(u"=", kError);
        item.value = ParseExpression();
        update.items.push_back(std::move(item));
    } while (TakeSymbol(u","));
    if (TakeKeyword(u"WHERE")) update.where = ParseExpression();
    return update;
}

ast::Delete Parser::ParseDelete() {
    constexpr ErrorNumber kError = ErrorNumber::SyntaxInStatement;
    ast::Delete statement;
    TakeKeyword(u"DISTINCTROW");
    if (!PeekKeyword(u"FROM")) {
        do {
            const ast::SelectItem& item = statement.items.emplace_back(ParseSelectItem());
            const bool column = !item.star && item.expression->kind == ast::ExpressionKind::ColumnName;
            if ((!item.star && !column) || !item.alias.empty()) Fail(kError);
        } while (TakeSymbol(u","));
    }
    ExpectKeyword(u"FROM", kError);
    statement.from = ParseFrom();
    if (TakeKeyword(u"WHERE")) statement.where = ParseExpression();
    return statement;
}

}  // namespace qmtrain::sql
