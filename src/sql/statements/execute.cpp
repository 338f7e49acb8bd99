#include "sql/statements/execute.h"

#include "core/error.h"
#include "sql/sql.h"

namespace qmtrain::sql {

std::shared_ptr<Table> RequireTable(Catalog& catalog, const std::u16string& name) {
    auto table = catalog.FindTable(name);
    if (table == nullptr) Raise(ErrorNumber::NoSuchTable, {name});
    return table;
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
bool ExplainAny(Catalog& catalog, Parameters& parameters, const ast::Statement& statement, Explanation& out) {
    const auto* select = std::get_if<ast::Select>(&statement.node);
    if (select != nullptr && select->parts.front().into.empty()) {
        BindContext context(catalog, parameters);
        const auto plan = BindSelect(context, *select, nullptr);
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
    return std::visit(explain, statement.node);
}

}  // namespace

std::vector<std::u16string> Explain(Catalog& catalog, const Statement& statement) {
    Explanation explanation;
    const ParameterValues none;
    Parameters parameters(statement.Tree(), none);
    if (const auto change = catalog.DelegateChange(statement.Tree()))
        explanation.AddHeading(change->request);
    else if (!ExplainAny(catalog, parameters, statement.Tree(), explanation))
        Raise(ErrorNumber::OperationNotSupported, {statement.ToSql()});
    return explanation.Lines();
}

std::vector<Parameter> ParametersOf(Catalog& catalog, const ast::Statement& statement) {
    Explanation unused;
    Parameters parameters(statement);
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
