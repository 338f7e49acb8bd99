// GROUP BY: the rows of the child are taken in, and a row per group comes out.
#pragma once

#include <cstdint>
#include <vector>

#include "sql/expressions/aggregate.h"
#include "sql/expressions/key.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

class Group : public RowOperator {
public:
    // A row of `output` has the keys first and the aggregates after them. Without keys there is always one group.
    Group(RowOperatorPtr child, RowsSource& output, std::vector<Expression*> keys, std::vector<Aggregate> aggregates);

    // All keys come from this source's row, which is kept and comes again: each row's group is looked up only once.
    void SetKeySource(Source& source) { key_source_ = &source; }

    // There is nothing to read: every aggregate is Count(*), over all rows.
    void SetOnlyCounts() { only_counts_ = true; }

    void Open() override;
    bool Next() override;
    void Reset() override { child_->Reset(); }
    bool NextIsCheap() const override { return true; }
    void Explain(Explanation& out) const override;

private:
    void TakeRow();
    std::uint32_t FindGroup();
    std::uint32_t LookUpGroup();
    std::uint32_t AddGroup();
    void Step(std::size_t aggregate, AggregateState& state, Value& slot);

    RowOperatorPtr child_;
    RowsSource& output_;
    std::vector<Expression*> keys_;
    std::vector<Aggregate> aggregates_;
    Source* key_source_ = nullptr;
    bool only_counts_ = false;

    KeyTable groups_;
    std::vector<AggregateState> states_;          // as many as aggregates for each group
    std::vector<std::uint32_t> group_of_handle_;  // + 1, 0 where not known yet
    std::vector<std::uint8_t> key_;
    HeldMemory held_;
    std::size_t position_ = 0;
};

}  // namespace qmtrain::sql
