#include "sql/parse/parser.h"
#include "sql/print.h"
#include "sql/sql.h"

namespace qmtrain::sql {

Statement::Statement(std::unique_ptr<ast::Statement> tree) : tree_(std::move(tree)) {}
Statement::Statement(Statement&&) noexcept = default;
Statement& Statement::operator=(Statement&&) noexcept = default;
Statement::~Statement() = default;

StatementKind Statement::Kind() const {
    struct Visitor {
        StatementKind operator()(const ast::Select& select) const {
            return select.parts.front().into.empty() ? StatementKind::Select : StatementKind::SelectInto;
        }
        StatementKind operator()(const ast::Insert&) const { return StatementKind::Insert; }
        StatementKind operator()(const ast::Update&) const { return StatementKind::Update; }
        StatementKind operator()(const ast::Delete&) const { return StatementKind::Delete; }
        StatementKind operator()(const ast::CreateTable&) const { return StatementKind::CreateTable; }
        StatementKind operator()(const ast::CreateIndex&) const { return StatementKind::CreateIndex; }
        StatementKind operator()(const ast::DropTable&) const { return StatementKind::DropTable; }
        StatementKind operator()(const ast::DropIndex&) const { return StatementKind::DropIndex; }
        StatementKind operator()(const ast::AlterTable&) const { return StatementKind::AlterTable; }
    };
    return std::visit(Visitor{}, tree_->node);
}

std::u16string Statement::ToSql() const {
    return Print(*tree_);
}

Statement Parse(std::u16string_view text) {
    return Statement(ParseWhole(text));
}

std::vector<Statement> ParseScript(std::u16string_view text) {
    Parser parser(text);
    std::vector<Statement> statements;
    while (std::unique_ptr<ast::Statement> tree = parser.ParseStatement()) statements.emplace_back(std::move(tree));
    return statements;
}

}  // namespace qmtrain::sql
