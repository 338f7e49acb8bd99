// Count(*), Min and Max of a whole table, from its row count and the ends of its indexes.
#pragma once

#include <vector>

#include "sql/expressions/aggregate.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

// Whether every aggregate can be had so: columns by the index that begins with them.
bool CanReadEnds(const Table& table, const Source& source, const std::vector<Aggregate>& aggregates);

// One row of `output` with the aggregates. Requires: CanReadEnds.
class IndexEnds : public RowOperator {
public:
    IndexEnds(TableSource& source, RowsSource& output, std::vector<Aggregate> aggregates)
        : source_(source), output_(output), aggregates_(std::move(aggregates)) {}

    void Open() override;
    bool Next() override;
    bool NextIsCheap() const override { return true; }
    void Explain(Explanation& out) const override;

private:
    void ReadEnd(const Aggregate& aggregate, Value& value);

    TableSource& source_;
    RowsSource& output_;
    std::vector<Aggregate> aggregates_;
    bool done_ = true;
};

}  // namespace qmtrain::sql
