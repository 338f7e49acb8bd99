// A bound and planned SELECT, ready to run. The plan owns everything that takes part.
#pragma once

#include <memory>
#include <vector>

#include "sql/expressions/expression.h"
#include "sql/expressions/source.h"
#include "sql/output_column.h"
#include "sql/running/row_lookup.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

struct PlanOutput {
    OutputColumn column;
    Expression* expression = nullptr;
};

class Plan {
public:
    // Destroyed from the last to the first: operators borrow from expressions, and expressions from sources.
    std::vector<std::unique_ptr<Source>> sources;
    std::vector<ExpressionPtr> expressions;            // conditions, keys, arguments and what comes out
    std::vector<std::vector<SlotExpression>> columns;  // all those of a source, in one piece
    std::vector<PlanOutput> outputs;
    RowOperatorPtr root;

    // The tables whose columns come out as they are, with the sources that read them.
    std::vector<std::shared_ptr<Table>> tables;
    std::vector<TableSource*> table_sources;

    std::size_t editable = kNoPosition;  // the table of which each row is in one row of the result at most
    std::vector<RowLookup> lookups;      // of the other tables' rows that belong to it
    bool correlated = false;             // depends on rows of a query around it
    bool rebuilds = false;  // so do tables of its FROM clause, and what is kept of them is good for one run only

    int depth = 0;  // how many evaluations stand within each other, at most

    // Starts from the beginning, with the outer rows as they stand now.
    void Start() {
        if (rebuilds) root->Reset();
        root->Open();
    }

    std::vector<Expression*> OutputExpressions() const {
        std::vector<Expression*> all;
        for (const PlanOutput& output : outputs) all.push_back(output.expression);
        return all;
    }

    // Gives the expression into the plan's keeping.
    Expression* Own(ExpressionPtr expression) {
        expressions.push_back(std::move(expression));
        return expressions.back().get();
    }

    // All columns of a source, by their positions; they stay where they are.
    std::vector<SlotExpression>& OwnColumns(Source& source) {
        std::vector<SlotExpression>& own = columns.emplace_back();
        own.reserve(source.Columns().size());
        for (std::size_t i = 0; i < source.Columns().size(); ++i) own.emplace_back(source, i);
        return own;
    }
};

inline DataType DataTypeOf(const OutputColumn& column) {
    return {column.type, column.size, column.precision, column.scale};
}

inline void SetDataType(OutputColumn& column, const DataType& data_type) {
    column.type = data_type.type;
    column.size = data_type.size;
    column.precision = data_type.precision;
    column.scale = data_type.scale;
}

}  // namespace qmtrain::sql
