// From trees to plans: names become sources and slots, types are checked, and the way to the rows is chosen.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sql/ast.h"
#include "sql/binding/bind_context.h"
#include "sql/binding/scope.h"
#include "sql/planning/join_tree.h"
#include "sql/running/plan.h"

namespace qmtrain::sql {

// Binds expressions in a scope.
class ExpressionBinder {
public:
    ExpressionBinder(BindContext& context, Scope& scope) : context_(context), scope_(scope) {}

    // The aliases of this select list are names too; the names of columns come first.
    void SetAliases(const std::vector<ast::SelectItem>* items) { aliases_ = items; }

    ExpressionPtr Bind(const ast::Expression& expression);

    // Each part of a condition joined by And, with what it depends on. Expressions go into the plan's keeping.
    void BindConjuncts(const ast::Expression& condition, Plan& plan, std::vector<Conjunct>& conjuncts);

private:
    ExpressionPtr BindColumn(const ast::ColumnName& name);
    ExpressionPtr BindOuterColumn(const ast::ColumnName& name);
    bool NamesTable(const ast::ColumnName& name) const;
    ExpressionPtr BindAlias(const ast::ColumnName& name);
    ExpressionPtr BindCall(const ast::Call& call);
    ExpressionPtr BindAggregate(const ast::Call& call, AggregateKind kind);
    ExpressionPtr BindGroupKey(const ast::Expression& expression);
    ExpressionPtr BindBetween(const ast::Between& between);
    ExpressionPtr BindInList(const ast::InList& in);
    ExpressionPtr BindInSelect(const ast::InSelect& in);
    std::unique_ptr<Plan> BindSubSelect(const ast::Select& select, bool one_column);

    Operand BindOperand(const ast::Expression& expression, ExpressionPtr& bound);

    // Binds a condition, and adds to `parts` what follows from it.
    ExpressionPtr BindCondition(const ast::Expression& expression, std::vector<Conjunct>& parts);
    ExpressionPtr BindAnd(const ast::Binary& binary, std::vector<Conjunct>& parts);
    ExpressionPtr BindOr(const ast::Binary& binary, std::vector<Conjunct>& parts);
    ExpressionPtr BindComparison(const ast::Binary& binary, Conjunct& conjunct);
    ExpressionPtr BindLike(const ast::Binary& binary, Conjunct& conjunct);
    ExpressionPtr BindBetween(const ast::Between& between, Conjunct& conjunct);
    ExpressionPtr BindInList(const ast::InList& in, Conjunct& conjunct);
    ExpressionPtr BindInSelect(const ast::InSelect& in, Conjunct& conjunct);

    BindContext& context_;
    Scope& scope_;
    const std::vector<ast::SelectItem>* aliases_ = nullptr;
    std::vector<const ast::SelectItem*> open_aliases_;
    int bound_aliases_ = 0;
};

// The FROM clause: fills the scope and the plan's sources; returns how the tables are joined (null without tables).
std::unique_ptr<JoinNode> BindFrom(BindContext& context, const std::vector<ast::TableExpression>& from, Scope& scope,
                                   Plan& plan);
std::unique_ptr<JoinNode> BindFrom(BindContext& context, const ast::TableExpression& table, Scope& scope, Plan& plan);

// A whole SELECT; `parent` is the scope of the query around it.
std::unique_ptr<Plan> BindSelect(BindContext& context, const ast::Select& select, Scope* parent);

// One with a TRANSFORM. Which columns it has is seen by a look at the rows.
std::unique_ptr<Plan> BindCrosstab(BindContext& context, const ast::Select& select);

}  // namespace qmtrain::sql
