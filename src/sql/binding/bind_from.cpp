// The FROM clause.
#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "sql/binding/binder.h"
#include "sql/parse/parser.h"
#include "sql/running/derived.h"

namespace qmtrain::sql {
namespace {

// Saved queries may double the number of tables each time they are nested.
constexpr int kMaxTables = 500;

class FromBinder {
public:
    FromBinder(BindContext& context, Scope& scope, Plan& plan) : context_(context), scope_(scope), plan_(plan) {}

    std::unique_ptr<JoinNode> Bind(const ast::TableExpression& table) {
        if (const auto* named = std::get_if<ast::NamedTable>(&table.node)) return BindNamed(*named);
        if (const auto* derived = std::get_if<ast::DerivedTable>(&table.node)) {
            return AddDerived(BindSelect(context_, *derived->select, scope_.Parent()), derived->alias);
        }
        return BindJoin(std::get<ast::JoinedTable>(table.node));
    }

private:
    std::unique_ptr<JoinNode> BindNamed(const ast::NamedTable& named) {
        if (++context_.tables > kMaxTables) Raise(ErrorNumber::QueryTooComplex, {named.name});
        const std::u16string& name = named.alias.empty() ? named.name : named.alias;
        if (auto table = named.table ? named.table : context_.catalog.FindTable(named.name)) {
            context_.used_tables.push_back(FoldName(table->Name()));
            auto source = std::make_unique<TableSource>(table);
            plan_.tables.push_back(std::move(table));
            plan_.table_sources.push_back(source.get());
            return Add(std::move(source), name);
        }
        if (const auto query = context_.catalog.FindQuery(named.name))
            return AddDerived(BindQuery(named.name, *query), name);
        Raise(ErrorNumber::NoSuchTable, {named.name});
    }

    std::unique_ptr<Plan> BindQuery(const std::u16string& name, const std::u16string& text) {
        std::u16string folded = FoldName(name);
        if (std::ranges::find(context_.open_queries, folded) != context_.open_queries.end()) {
            Raise(ErrorNumber::CircularReference, {name});
        }
        constexpr std::size_t kMaxDepth = 30;
        if (context_.open_queries.size() == kMaxDepth) Raise(ErrorNumber::QueryTooComplex, {name});
        const std::unique_ptr<ast::Statement> statement = ParseWhole(text);
        const auto* select = std::get_if<ast::Select>(&statement->node);
        if (select == nullptr || !select->parts.front().into.empty()) Raise(ErrorNumber::NoSuchTable, {name});
        context_.parameters.Declare(statement->parameters);
        context_.open_queries.push_back(std::move(folded));
        std::unique_ptr<Plan> plan = BindSelect(context_, *select, nullptr);
        context_.open_queries.pop_back();
        return plan;
    }

    std::unique_ptr<JoinNode> AddDerived(std::unique_ptr<Plan> plan, const std::u16string& name) {
        scope_.outer_used = scope_.outer_used || plan->correlated;
        plan_.rebuilds = plan_.rebuilds || plan->correlated;
        context_.depth = std::max(context_.depth, plan->depth);  // what is bound from here on may evaluate its columns
        return Add(std::make_unique<DerivedSource>(std::move(plan)), name);
    }

    std::unique_ptr<JoinNode> Add(std::unique_ptr<Source> source, const std::u16string& name) {
        auto node = std::make_unique<JoinNode>();
        node->table = scope_.Entries().size();
        scope_.Add(name, *source);
        node->sources = SourceSet{1} << node->table;
        plan_.sources.push_back(std::move(source));
        return node;
    }

    // A right join is a left join seen from the other side.
    std::unique_ptr<JoinNode> BindJoin(const ast::JoinedTable& join) {
        auto node = std::make_unique<JoinNode>();
        node->kind = join.type == ast::JoinType::Inner ? JoinNode::Kind::Inner : JoinNode::Kind::Left;
        node->children.push_back(Bind(*join.left));
        node->children.push_back(Bind(*join.right));
        if (join.type == ast::JoinType::Right) std::swap(node->children[0], node->children[1]);
        node->sources = node->children[0]->sources | node->children[1]->sources;
        ExpressionBinder(context_, scope_).BindConjuncts(*join.on, plan_, node->on);
        for (const Conjunct& conjunct : node->on) {
            if (!Contains(node->sources, conjunct.sources)) Raise(ErrorNumber::SyntaxInJoin);
        }
        return node;
    }

    BindContext& context_;
    Scope& scope_;
    Plan& plan_;
};

}  // namespace

std::unique_ptr<JoinNode> BindFrom(BindContext& context, const ast::TableExpression& table, Scope& scope, Plan& plan) {
    return FromBinder(context, scope, plan).Bind(table);
}

std::unique_ptr<JoinNode> BindFrom(BindContext& context, const std::vector<ast::TableExpression>& from, Scope& scope,
                                   Plan& plan) {
    if (from.empty()) return nullptr;
    if (from.size() == 1) return BindFrom(context, from[0], scope, plan);
    auto node = std::make_unique<JoinNode>();
    node->kind = JoinNode::Kind::Inner;
    for (const ast::TableExpression& table : from) {
        node->children.push_back(BindFrom(context, table, scope, plan));
        node->sources |= node->children.back()->sources;
    }
    return node;
}

}  // namespace qmtrain::sql
