// Chooses how the rows of a FROM clause are brought together: which table leads, which index is used, and which side
// of a join is held in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sql/ast.h"
#include "sql/plan.h"
#include "sql/scope.h"
#include "sql/sort.h"

namespace qmtrain::sql {

struct Operand {
    Expression* expression = nullptr;
    SourceSet sources = 0;
    bool outer = false;  // depends on a query around this one
};

// `subject op other`; a comparison is seen once from either side.
struct Comparison {
    Operand subject;
    ast::BinaryOperator op = ast::BinaryOperator::Equal;
    Operand other;
};

// `subject IN (…)`.
struct Membership {
    Operand subject;
    ValueList* list = nullptr;
    SourceSet sources = 0;  // that the list depends on
};

// A condition that a row must satisfy, and what is known about it. What is known follows from the condition.
struct Conjunct {
    Expression* test = nullptr;
    SourceSet sources = 0;
    bool outer = false;
    std::vector<Comparison> comparisons;
    bool is_range = false;  // it takes both comparisons to say what the condition says; else each says it
    Membership membership;  // without a list: none
    Operand liked;          // `liked LIKE pattern`; without an expression: none
    Operand pattern;
    std::vector<std::vector<Conjunct>> alternatives;  // the conditions of at least one of them hold; empty: none known
};

// What is asked for beyond the rows themselves.
struct RowsWish {
    std::vector<SortKey> order;  // the order in which they are wanted
    std::size_t limit = 0;       // no more than the first so many of them will be read; 0: all
    bool count = false;          // only their number
};

// How tables are joined. Inner has any number of children; Left has the preserved side and the other one.
struct JoinNode {
    enum class Kind : std::uint8_t { Table, Inner, Left };

    Kind kind = Kind::Table;
    std::size_t table = 0;  // in the scope
    std::vector<std::unique_ptr<JoinNode>> children;
    std::vector<Conjunct> on;
    SourceSet sources = 0;
};

struct JoinPlan {
    RowOperatorPtr rows;
    bool ordered = false;  // the rows come in the order that was wished for
};

// The order may be satisfied by an index when there is a single table; otherwise it is not looked at. The plan keeps
// what expressions are made.
JoinPlan PlanJoins(Plan& plan, const std::vector<Scope::Entry>& tables, JoinNode& root, std::vector<Conjunct>& where,
                   const RowsWish& wish);

}  // namespace qmtrain::sql
