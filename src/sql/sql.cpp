#include "sql/sql.h"

#include <algorithm>

#include "core/error.h"
#include "sql/binder.h"
#include "sql/execute.h"
#include "sql/parameters.h"
#include "sql/parser.h"
#include "sql/plan.h"
#include "sql/printer.h"

namespace qmtrain::sql {

// ---- Statement ----

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
    Parser parser(text);
    std::unique_ptr<ast::Statement> tree = parser.ParseStatement();
    if (tree == nullptr) Raise(ErrorNumber::SyntaxInStatement, {text});
    parser.ExpectEnd();
    return Statement(std::move(tree));
}

std::vector<Statement> ParseScript(std::u16string_view text) {
    Parser parser(text);
    std::vector<Statement> statements;
    while (std::unique_ptr<ast::Statement> tree = parser.ParseStatement()) statements.emplace_back(std::move(tree));
    return statements;
}

// ---- Query ----

Query::Query(std::unique_ptr<Plan> plan) : plan_(std::move(plan)) {
    columns_.reserve(plan_->outputs.size());
    for (PlanOutput& output : plan_->outputs) columns_.push_back(std::move(output.column));
    const auto is_plain = [](const OutputColumn& column) { return column.column >= 0; };
    has_images_ = plan_->editable >= 0 && plan_->tables.size() == 1 && plan_->tables[0]->HasImages() &&
                  !plan_->table_sources[0]->KeepsValues() && std::ranges::all_of(columns_, is_plain);
}

Query::~Query() = default;

bool Query::Next() {
    if (ended_) return false;
    if (!started_) {
        started_ = true;
        plan_->root->Open();
    }
    ended_ = !plan_->root->Next();
    return !ended_;
}

void Query::Read(int column, Value& value) {
    value = plan_->outputs[static_cast<std::size_t>(column)].expression->Evaluate();
}

const Value& Query::Get(int column) {
    return plan_->outputs[static_cast<std::size_t>(column)].expression->Evaluate();
}

std::span<const std::uint8_t> Query::Image() {
    return plan_->table_sources[0]->Image();
}

void Query::ShowImage(std::span<const std::uint8_t> image) const {
    plan_->tables[0]->ShowImage(image);
}

void Query::ReadImage(int column, Value& value) const {
    plan_->tables[0]->ReadImage(columns_[static_cast<std::size_t>(column)].column, value);
}

bool Query::IsShort() const {
    return plan_->root->IsShort();
}

bool Query::NextIsCheap() const {
    return started_ && plan_->root->NextIsCheap();
}

void Query::Restart() {
    plan_->root->Reset();
    started_ = false;
    ended_ = false;
}

const std::vector<std::shared_ptr<Table>>& Query::Tables() const {
    return plan_->tables;
}

int Query::EditableTable() const {
    return plan_->editable;
}

std::uint64_t Query::Identity() {
    return plan_->table_sources[static_cast<std::size_t>(plan_->editable)]->Identity();
}

bool Query::HasKeyIdentity() const {
    return plan_->table_sources[static_cast<std::size_t>(plan_->editable)]->HasKeyIdentity();
}

RowId Query::Row(int table) const {
    return plan_->table_sources[static_cast<std::size_t>(table)]->Row();
}

void Query::Prefetch(std::span<const RowId> rows) {
    plan_->table_sources[static_cast<std::size_t>(plan_->editable)]->Prefetch(rows);
}

bool Query::MoveTo(RowId row) {
    started_ = true;
    ended_ = true;
    return plan_->table_sources[static_cast<std::size_t>(plan_->editable)]->MoveTo(row) &&
           std::ranges::all_of(plan_->lookups, [](RowLookup& lookup) { return lookup.Find(); });
}

std::unique_ptr<Query> Open(Catalog& catalog, const Statement& statement, const ParameterValues& parameters) {
    if (!statement.YieldsRows()) Raise(ErrorNumber::OperationNotSupported, {statement.ToSql()});
    Parameters known(statement.Tree(), parameters);
    BindContext context(catalog, known);
    return std::make_unique<Query>(BindSelect(context, std::get<ast::Select>(statement.Tree().node), nullptr));
}

std::vector<OutputColumn> ColumnsOf(Catalog& catalog, const ast::Select& select) {
    const ast::Statement no_parameters;
    Parameters parameters(no_parameters);
    BindContext context(catalog, parameters);
    std::vector<OutputColumn> columns;
    const std::unique_ptr<Plan> plan = BindSelect(context, select, nullptr);
    for (PlanOutput& output : plan->outputs) columns.push_back(std::move(output.column));
    return columns;
}

void ExplainPlan(std::u16string_view heading, const Plan& plan, const BindContext& context, Explanation& out) {
    if (heading.empty()) {
        plan.root->Explain(out);
    } else {
        out.AddHeading(heading);
        out.AddChild(*plan.root);
    }
    for (const Plan* subquery : context.subqueries) {
        out.AddHeading(subquery->correlated ? u"sub-query, for each row around it" : u"sub-query, once");
        out.AddChild(*subquery->root);
    }
}

namespace {

// False for a definition, of which there is nothing to explain.
bool ExplainAny(Catalog& catalog, Parameters& parameters, const Statement& statement, Explanation& out) {
    if (statement.YieldsRows()) {
        BindContext context(catalog, parameters);
        const auto plan = BindSelect(context, std::get<ast::Select>(statement.Tree().node), nullptr);
        ExplainPlan({}, *plan, context, out);
        return true;
    }
    const auto explain = [&](const auto& node) {
        constexpr bool kCan = requires {
            Explain(catalog, parameters, node, out);
        };
        if constexpr (kCan) Explain(catalog, parameters, node, out);
        return kCan;
    };
    return std::visit(explain, statement.Tree().node);
}

}  // namespace

std::vector<std::u16string> Explain(Catalog& catalog, const Statement& statement) {
    Explanation explanation;
    const ParameterValues none;
    Parameters parameters(statement.Tree(), none);
    if (const auto change = catalog.DelegateChange(statement.Tree()))
        explanation.AddHeading(change->request);
    else if (!ExplainAny(catalog, parameters, statement, explanation))
        Raise(ErrorNumber::OperationNotSupported, {statement.ToSql()});
    return explanation.Lines();
}

std::vector<Parameter> ParametersOf(Catalog& catalog, const Statement& statement) {
    Explanation unused;
    Parameters parameters(statement.Tree());
    ExplainAny(catalog, parameters, statement, unused);
    return parameters.Known();
}

std::int64_t Execute(Catalog& catalog, const Statement& statement, const ParameterValues& values) {
    if (statement.YieldsRows()) Raise(ErrorNumber::OperationNotSupported, {statement.ToSql()});
    if (const auto change = catalog.DelegateChange(statement.Tree())) return change->run();
    Parameters parameters(statement.Tree(), values);
    const auto run = [&](const auto& node) {
        if constexpr (requires { Run(catalog, parameters, node); })
            return Run(catalog, parameters, node);
        else
            return Run(catalog, node);
    };
    return std::visit(run, statement.Tree().node);
}

}  // namespace qmtrain::sql
