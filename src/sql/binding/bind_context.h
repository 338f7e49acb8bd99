// What one statement's binding shares, sub-queries and saved queries included.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/work.h"
#include "sql/binding/parameters.h"
#include "sql/running/plan.h"

namespace qmtrain::sql {

struct BindContext {
    BindContext(Catalog& its_catalog, Parameters& its_parameters) : catalog(its_catalog), parameters(its_parameters) {}

    // Whether the statement reads that table anywhere.
    bool UsesTable(std::u16string_view name) const;

    Catalog& catalog;
    Parameters& parameters;
    std::vector<std::u16string> open_queries;  // saved queries being bound, so that none contains itself
    std::vector<std::u16string> used_tables;   // folded names
    std::vector<const Plan*> subqueries;       // of expressions, in the order in which they were bound
    int tables = 0;
    WorkSteps steps;

    // How deeply evaluations are nested at the place that is being bound (tables of the FROM clause count, too), and
    // how deeply they have been at most in this select: aliases and saved queries can make a statement deep that looks
    // shallow.
    int depth = 0;
    int deepest = 0;

    // Raises QueryTooComplex when that many further levels are too many.
    void Reach(int more);
};

// One evaluation within another.
class Deeper {
public:
    explicit Deeper(BindContext& context) : context_(context) {
        context_.steps.Next();
        context_.Reach(1);
        ++context_.depth;
    }
    Deeper(const Deeper&) = delete;
    Deeper& operator=(const Deeper&) = delete;
    ~Deeper() { --context_.depth; }

private:
    BindContext& context_;
};

}  // namespace qmtrain::sql
