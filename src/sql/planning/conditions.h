// What is known of the conditions of a SELECT: what they compare, and with what.
#pragma once

#include <cstdint>
#include <vector>

#include "sql/ast.h"
#include "sql/expressions/expression.h"

namespace qmtrain::sql {

// Sets of sources of one SELECT, a bit for each in the order of its FROM clause.
using SourceSet = std::uint64_t;

inline bool Contains(SourceSet all, SourceSet some) {
    return (some & ~all) == 0;
}

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

using Conjuncts = std::vector<Conjunct*>;

}  // namespace qmtrain::sql
