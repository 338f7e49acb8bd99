// The row of one table that belongs to the rows of others, by a unique index.
#pragma once

#include <utility>
#include <vector>

#include "sql/expressions/expression.h"

namespace qmtrain::sql {

class RowLookup {
public:
    RowLookup(TableSource& source, std::size_t index, std::vector<ExpressionPtr> keys, bool outer)
        : source_(source), index_(index), keys_(std::move(keys)), outer_(outer) {}

    // Moves the table's source to the row that the keys say now; false when there is none, unless the join is an outer
    // one.
    bool Find();

private:
    bool FindByScan();

    TableSource& source_;
    std::size_t index_;
    std::vector<ExpressionPtr> keys_;  // in the order of the index's columns
    bool outer_;
    std::vector<Value> values_;
};

}  // namespace qmtrain::sql
