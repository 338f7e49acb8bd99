// What names mean while a statement is being bound.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sql/ast.h"
#include "sql/expressions/aggregate.h"
#include "sql/expressions/source.h"
#include "sql/planning/conditions.h"
#include "sql/running/plan.h"

namespace qmtrain::sql {

// What stands above a GROUP BY may only use its keys and aggregates. Both are known by a text in which columns are
// written by number, so that "TI.TrainID" and "trainid" are the same key.
struct Grouping {
    Plan* plan = nullptr;  // keeps the arguments of the aggregates
    RowsSource* output = nullptr;
    std::vector<std::u16string> key_texts;
    std::vector<std::u16string> aggregate_texts;
    std::vector<Aggregate> aggregates;
    bool inside_aggregate = false;
};

// The tables of one SELECT, and the scopes of the queries around it.
class Scope {
public:
    explicit Scope(Scope* parent) : parent_(parent) {}

    struct Entry {
        std::u16string name;  // alias, or the table's own name
        Source* source = nullptr;
    };

    // Raises SyntaxInFromClause when the name is taken.
    void Add(std::u16string name, Source& source);
    const std::vector<Entry>& Entries() const { return entries_; }
    Scope* Parent() const { return parent_; }

    // Those of all entries, in their order.
    std::vector<Source*> Sources() const;

    struct Match {
        std::size_t entry = 0;
        std::size_t column = 0;
    };

    // Looks a column up in this scope alone; false when it is not there. Raises FieldNameAmbiguous.
    bool Find(const ast::ColumnName& name, Match& match) const;

    // The expression with this scope's columns by number.
    std::u16string CanonicalText(const ast::Expression& expression) const;
    static std::u16string CanonicalColumn(const Match& match);

    // What has been used since these were last cleared.
    SourceSet used = 0;
    bool outer_used = false;

    Grouping* grouping = nullptr;  // set while expressions above the GROUP BY are bound

private:
    Scope* parent_;
    std::vector<Entry> entries_;
};

}  // namespace qmtrain::sql
