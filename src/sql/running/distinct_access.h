// The different values of an indexed column.
#pragma once

#include <optional>

#include "sql/running/row_operator.h"

namespace qmtrain::sql {

// One row for each different value of a column, by jumps through an index.
class DistinctAccess : public RowOperator {
public:
    DistinctAccess(TableSource& source, std::size_t index) : source_(source), index_(index) {}

    void Open() override { last_.reset(); }
    bool Next() override;
    bool NextIsCheap() const override { return true; }
    void Explain(Explanation& out) const override;

private:
    TableSource& source_;
    std::size_t index_;
    std::optional<Value> last_;
};

}  // namespace qmtrain::sql
