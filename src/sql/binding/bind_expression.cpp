// Expressions: names to slots, calls to functions and aggregates.
#include <algorithm>
#include <iterator>
#include <utility>

#include "core/error.h"
#include "core/text.h"
#include "sql/binding/binder.h"
#include "sql/expressions/functions.h"
#include "sql/expressions/make_expression.h"
#include "sql/print.h"
#include "sql/running/subquery.h"
#include "sql/values.h"

namespace qmtrain::sql {

ExpressionPtr ExpressionBinder::Bind(const ast::Expression& expression) {
    using ast::ExpressionKind;
    const Deeper deeper(context_);
    if (scope_.grouping != nullptr && !scope_.grouping->inside_aggregate) {
        if (ExpressionPtr key = BindGroupKey(expression)) return key;
    }
    switch (expression.kind) {
        case ExpressionKind::Literal: return std::make_unique<LiteralExpression>(As<ast::Literal>(expression).value);
        case ExpressionKind::ColumnName: return BindColumn(As<ast::ColumnName>(expression));
        case ExpressionKind::Unary: {
            const auto& unary = As<ast::Unary>(expression);
            return MakeUnary(unary.op, Bind(*unary.operand));
        }
        case ExpressionKind::Binary: {
            const auto& binary = As<ast::Binary>(expression);
            ExpressionPtr left = Bind(*binary.left);
            return MakeBinary(binary.op, std::move(left), Bind(*binary.right));
        }
        case ExpressionKind::Between: return BindBetween(As<ast::Between>(expression));
        case ExpressionKind::IsNull: {
            const auto& is_null = As<ast::IsNull>(expression);
            return MakeIsNull(Bind(*is_null.subject), is_null.negated);
        }
        case ExpressionKind::InList: return BindInList(As<ast::InList>(expression));
        case ExpressionKind::InSelect: return BindInSelect(As<ast::InSelect>(expression));
        case ExpressionKind::Quantified: {
            const auto& quantified = As<ast::Quantified>(expression);
            ExpressionPtr subject = Bind(*quantified.subject);
            return MakeQuantified(quantified.op, std::move(subject), BindSubSelect(*quantified.select, true),
                                  quantified.all);
        }
        case ExpressionKind::Exists: return MakeExists(BindSubSelect(*As<ast::Exists>(expression).select, false));
        case ExpressionKind::SubSelect:
            return MakeSubqueryValue(BindSubSelect(*As<ast::SubSelect>(expression).select, true));
        case ExpressionKind::Call: return BindCall(As<ast::Call>(expression));
    }
    return nullptr;
}

ExpressionPtr ExpressionBinder::BindGroupKey(const ast::Expression& expression) {
    const Grouping& grouping = *scope_.grouping;
    if (grouping.key_texts.empty()) return nullptr;
    const auto key = std::ranges::find(grouping.key_texts, scope_.CanonicalText(expression));
    if (key == grouping.key_texts.end()) return nullptr;
    return std::make_unique<SlotExpression>(*grouping.output, key - grouping.key_texts.begin());
}

ExpressionPtr ExpressionBinder::BindColumn(const ast::ColumnName& name) {
    Scope::Match match;
    if (scope_.Find(name, match)) {
        if (scope_.grouping != nullptr && !scope_.grouping->inside_aggregate) {
            Raise(ErrorNumber::AggregateMissing, {name.name});
        }
        scope_.used |= SourceSet{1} << match.entry;
        return std::make_unique<SlotExpression>(*scope_.Entries()[match.entry].source, match.column);
    }
    if (ExpressionPtr alias = BindAlias(name)) return alias;
    if (ExpressionPtr outer = BindOuterColumn(name)) return outer;
    if (name.table.empty()) return context_.parameters.Bind(name.name);
    if (!name.exclamation || NamesTable(name)) Raise(ErrorNumber::MissingParameter, {name.name});
    return context_.parameters.Bind(name.table + u"!" + name.name);
}

// Whether the first part of a column's name is a table of this select or of one around it.
bool ExpressionBinder::NamesTable(const ast::ColumnName& name) const {
    const std::u16string_view first = std::u16string_view(name.table).substr(0, name.table.find(u'!'));
    for (const Scope* scope = &scope_; scope != nullptr; scope = scope->Parent()) {
        const auto has_name = [&](const Scope::Entry& entry) { return EqualNames(entry.name, first); };
        if (std::ranges::any_of(scope->Entries(), has_name)) return true;
    }
    return false;
}

ExpressionPtr ExpressionBinder::BindOuterColumn(const ast::ColumnName& name) {
    Scope::Match match;
    for (Scope* scope = scope_.Parent(); scope != nullptr; scope = scope->Parent()) {
        if (!scope->Find(name, match)) continue;
        for (Scope* inner = &scope_; inner != scope; inner = inner->Parent()) inner->outer_used = true;
        scope->used |= SourceSet{1} << match.entry;
        if (scope->grouping == nullptr || scope->grouping->inside_aggregate) {
            return std::make_unique<SlotExpression>(*scope->Entries()[match.entry].source, match.column);
        }
        const auto& texts = scope->grouping->key_texts;
        const auto key = std::ranges::find(texts, Scope::CanonicalColumn(match));
        if (key == texts.end()) Raise(ErrorNumber::AggregateMissing, {name.name});
        return std::make_unique<SlotExpression>(*scope->grouping->output, key - texts.begin());
    }
    return nullptr;
}

// "SELECT a + 1 AS b, b * 2": the alias stands for its expression.
ExpressionPtr ExpressionBinder::BindAlias(const ast::ColumnName& name) {
    if (aliases_ == nullptr || !name.table.empty()) return nullptr;
    for (const ast::SelectItem& item : *aliases_) {
        if (item.expression == nullptr || item.alias.empty() || !EqualNames(item.alias, name.name)) continue;
        if (std::ranges::find(open_aliases_, &item) != open_aliases_.end()) {
            Raise(ErrorNumber::CircularReference, {name.name});
        }
        constexpr std::size_t kMaxDepth = 20;
        if (open_aliases_.size() == kMaxDepth) Raise(ErrorNumber::QueryTooComplex, {name.name});
        constexpr int kMaxBound = 10000;  // of aliases in aliases; each level may multiply them
        if (++bound_aliases_ > kMaxBound) Raise(ErrorNumber::QueryTooComplex, {name.name});
        open_aliases_.push_back(&item);
        ExpressionPtr bound = Bind(*item.expression);
        open_aliases_.pop_back();
        return bound;
    }
    return nullptr;
}

ExpressionPtr ExpressionBinder::BindCall(const ast::Call& call) {
    AggregateKind kind = AggregateKind::Count;
    if (FindAggregate(ToUpper(call.name), kind)) return BindAggregate(call, kind);
    if (call.star) Raise(ErrorNumber::SyntaxInExpression, {call.name});
    std::vector<ExpressionPtr> arguments;
    for (const ast::ExpressionPtr& argument : call.arguments) arguments.push_back(Bind(*argument));
    return MakeCall(call.name, std::move(arguments));
}

ExpressionPtr ExpressionBinder::BindAggregate(const ast::Call& call, AggregateKind kind) {
    Grouping* grouping = scope_.grouping;
    if (grouping == nullptr || grouping->inside_aggregate) Raise(ErrorNumber::AggregateNotAllowed, {call.name});
    if (call.star && kind != AggregateKind::Count) Raise(ErrorNumber::SyntaxInExpression, {call.name});
    if (!call.star && call.arguments.size() != 1) Raise(ErrorNumber::ArgumentCount, {call.name});

    const std::size_t first = grouping->key_texts.size();
    const std::u16string text = scope_.CanonicalText(call);
    const auto known = std::ranges::find(grouping->aggregate_texts, text);
    if (known != grouping->aggregate_texts.end()) {
        const std::size_t number = known - grouping->aggregate_texts.begin();
        return std::make_unique<SlotExpression>(*grouping->output, first + number);
    }

    Expression* argument = nullptr;
    if (!call.star) {
        grouping->inside_aggregate = true;
        ExpressionPtr bound = Bind(*call.arguments[0]);
        grouping->inside_aggregate = false;
        const bool counts = kind == AggregateKind::Sum || kind == AggregateKind::Avg || kind >= AggregateKind::StDev;
        if (counts) CheckComparable(bound->Type(), Value::Type::Double);
        argument = grouping->plan->Own(std::move(bound));
    }
    const Aggregate aggregate(call.star ? AggregateKind::CountRows : kind, argument);
    grouping->aggregates.push_back(aggregate);
    grouping->aggregate_texts.push_back(text);
    const std::size_t column = grouping->output->AddColumn({{}, aggregate.ResultType(), aggregate.ResultDataType()});
    return std::make_unique<SlotExpression>(*grouping->output, column);
}

ExpressionPtr ExpressionBinder::BindBetween(const ast::Between& between) {
    ExpressionPtr subject = Bind(*between.subject);
    ExpressionPtr low = Bind(*between.low);
    return MakeBetween(std::move(subject), std::move(low), Bind(*between.high), between.negated);
}

ExpressionPtr ExpressionBinder::BindInList(const ast::InList& in) {
    ExpressionPtr subject = Bind(*in.subject);
    std::vector<ExpressionPtr> items;
    for (const ast::ExpressionPtr& item : in.items) items.push_back(Bind(*item));
    return MakeInList(std::move(subject), std::move(items), in.negated);
}

ExpressionPtr ExpressionBinder::BindInSelect(const ast::InSelect& in) {
    ExpressionPtr subject = Bind(*in.subject);
    return MakeInSelect(std::move(subject), BindSubSelect(*in.select, true), in.negated);
}

std::unique_ptr<Plan> ExpressionBinder::BindSubSelect(const ast::Select& select, bool one_column) {
    std::unique_ptr<Plan> plan = BindSelect(context_, select, &scope_);
    if (one_column && plan->outputs.size() != 1) Raise(ErrorNumber::SubqueryManyColumns, {PrintRows(select)});
    context_.subqueries.push_back(plan.get());
    return plan;
}

// ---- conditions ----

void ExpressionBinder::BindConjuncts(const ast::Expression& condition, Plan& plan, std::vector<Conjunct>& conjuncts) {
    if (condition.kind == ast::ExpressionKind::Binary) {
        const auto& binary = As<ast::Binary>(condition);
        if (binary.op == ast::BinaryOperator::And) {
            BindConjuncts(*binary.left, plan, conjuncts);
            BindConjuncts(*binary.right, plan, conjuncts);
            return;
        }
    }
    Expression* test = plan.Own(BindCondition(condition, conjuncts));
    CheckComparable(test->Type(), Value::Type::Boolean);
}

Operand ExpressionBinder::BindOperand(const ast::Expression& expression, ExpressionPtr& bound) {
    const SourceSet used_before = std::exchange(scope_.used, 0);
    const bool outer_before = std::exchange(scope_.outer_used, false);
    bound = Bind(expression);
    const Operand operand{bound.get(), scope_.used, scope_.outer_used};
    scope_.used |= used_before;
    scope_.outer_used = scope_.outer_used || outer_before;
    return operand;
}

ExpressionPtr ExpressionBinder::BindCondition(const ast::Expression& expression, std::vector<Conjunct>& parts) {
    using ast::ExpressionKind;
    const Deeper deeper(context_);
    const auto* binary = expression.kind == ExpressionKind::Binary ? &As<ast::Binary>(expression) : nullptr;
    if (binary != nullptr && binary->op == ast::BinaryOperator::And) return BindAnd(*binary, parts);
    if (binary != nullptr && binary->op == ast::BinaryOperator::Or) return BindOr(*binary, parts);

    const SourceSet used_before = std::exchange(scope_.used, 0);
    const bool outer_before = std::exchange(scope_.outer_used, false);
    Conjunct conjunct;
    ExpressionPtr bound;
    if (binary != nullptr && IsComparison(binary->op)) {
        bound = BindComparison(*binary, conjunct);
    } else if (binary != nullptr && binary->op == ast::BinaryOperator::Like) {
        bound = BindLike(*binary, conjunct);
    } else if (expression.kind == ExpressionKind::Between) {
        bound = BindBetween(As<ast::Between>(expression), conjunct);
    } else if (expression.kind == ExpressionKind::InList) {
        bound = BindInList(As<ast::InList>(expression), conjunct);
    } else if (expression.kind == ExpressionKind::InSelect) {
        bound = BindInSelect(As<ast::InSelect>(expression), conjunct);
    } else {
        bound = Bind(expression);
    }
    conjunct.test = bound.get();
    conjunct.sources = scope_.used;
    conjunct.outer = scope_.outer_used;
    scope_.used |= used_before;
    scope_.outer_used = scope_.outer_used || outer_before;
    parts.push_back(std::move(conjunct));
    return bound;
}

ExpressionPtr ExpressionBinder::BindAnd(const ast::Binary& binary, std::vector<Conjunct>& parts) {
    ExpressionPtr left = BindCondition(*binary.left, parts);
    return MakeLogic(ast::BinaryOperator::And, std::move(left), BindCondition(*binary.right, parts));
}

ExpressionPtr ExpressionBinder::BindOr(const ast::Binary& binary, std::vector<Conjunct>& parts) {
    Conjunct conjunct;
    const auto bind = [&](const ast::Expression& side) {
        std::vector<Conjunct> known;
        ExpressionPtr bound = BindCondition(side, known);
        for (const Conjunct& part : known) {
            conjunct.sources |= part.sources;
            conjunct.outer = conjunct.outer || part.outer;
        }
        if (known.size() == 1 && !known[0].alternatives.empty()) {
            std::ranges::move(known[0].alternatives, std::back_inserter(conjunct.alternatives));
        } else {
            conjunct.alternatives.push_back(std::move(known));
        }
        return bound;
    };
    ExpressionPtr left = bind(*binary.left);
    ExpressionPtr right = bind(*binary.right);
    ExpressionPtr both = MakeLogic(ast::BinaryOperator::Or, std::move(left), std::move(right));
    conjunct.test = both.get();
    parts.push_back(std::move(conjunct));
    return both;
}

namespace {

ast::BinaryOperator Mirrored(ast::BinaryOperator op) {
    switch (op) {
        case ast::BinaryOperator::Less: return ast::BinaryOperator::Greater;
        case ast::BinaryOperator::Greater: return ast::BinaryOperator::Less;
        case ast::BinaryOperator::LessEqual: return ast::BinaryOperator::GreaterEqual;
        case ast::BinaryOperator::GreaterEqual: return ast::BinaryOperator::LessEqual;
        default: return op;
    }
}

}  // namespace

ExpressionPtr ExpressionBinder::BindComparison(const ast::Binary& binary, Conjunct& conjunct) {
    ExpressionPtr left;
    ExpressionPtr right;
    const Operand left_operand = BindOperand(*binary.left, left);
    const Operand right_operand = BindOperand(*binary.right, right);
    conjunct.comparisons = {{left_operand, binary.op, right_operand},
                            {right_operand, Mirrored(binary.op), left_operand}};
    return MakeComparison(binary.op, std::move(left), std::move(right));
}

ExpressionPtr ExpressionBinder::BindLike(const ast::Binary& binary, Conjunct& conjunct) {
    ExpressionPtr left;
    ExpressionPtr right;
    conjunct.liked = BindOperand(*binary.left, left);
    conjunct.pattern = BindOperand(*binary.right, right);
    return MakeLike(std::move(left), std::move(right));
}

ExpressionPtr ExpressionBinder::BindBetween(const ast::Between& between, Conjunct& conjunct) {
    ExpressionPtr subject;
    ExpressionPtr low;
    ExpressionPtr high;
    const Operand subject_operand = BindOperand(*between.subject, subject);
    Operand low_operand = BindOperand(*between.low, low);
    Operand high_operand = BindOperand(*between.high, high);
    ExpressionPtr test = MakeBetween(std::move(subject), std::move(low), std::move(high), between.negated);
    if (between.negated) return test;

    // The bounds may stand in either order, so that a range is known only when both are.
    const bool fixed =
        low_operand.sources == 0 && high_operand.sources == 0 && !low_operand.outer && !high_operand.outer;
    if (fixed) {
        const Value& low_value = low_operand.expression->Evaluate();
        const Value& high_value = high_operand.expression->Evaluate();
        const bool known = !low_value.IsNull() && !high_value.IsNull();
        if (known && CompareValues(low_value, high_value) > 0) std::swap(low_operand, high_operand);
        if (known) {
            conjunct.is_range = true;
            conjunct.comparisons = {{subject_operand, ast::BinaryOperator::GreaterEqual, low_operand},
                                    {subject_operand, ast::BinaryOperator::LessEqual, high_operand}};
        }
    }
    return test;
}

ExpressionPtr ExpressionBinder::BindInList(const ast::InList& in, Conjunct& conjunct) {
    ExpressionPtr subject;
    const Operand operand = BindOperand(*in.subject, subject);
    SourceSet sources = 0;
    std::vector<ExpressionPtr> items;
    for (const ast::ExpressionPtr& item : in.items) {
        items.emplace_back();
        sources |= BindOperand(*item, items.back()).sources;
    }
    ExpressionPtr test = MakeInList(std::move(subject), std::move(items), in.negated);
    if (!in.negated) conjunct.membership = {operand, dynamic_cast<ValueList*>(test.get()), sources};
    return test;
}

ExpressionPtr ExpressionBinder::BindInSelect(const ast::InSelect& in, Conjunct& conjunct) {
    ExpressionPtr subject;
    const Operand operand = BindOperand(*in.subject, subject);
    std::unique_ptr<Plan> plan = BindSubSelect(*in.select, true);
    const bool same_for_all = !plan->correlated;
    ExpressionPtr test = MakeInSelect(std::move(subject), std::move(plan), in.negated);
    if (!in.negated && same_for_all) conjunct.membership = {operand, dynamic_cast<ValueList*>(test.get()), 0};
    return test;
}

}  // namespace qmtrain::sql
