// Row operators: what a query does, from a table's rows up to the result.
//
// An operator has no rows of its own. It moves the sources of the query to the next combination of rows that counts,
// and the operator above reads the sources.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "sql/expressions/expression.h"
#include "sql/running/explanation.h"

namespace qmtrain::sql {

class RowOperator {
public:
    RowOperator() = default;
    RowOperator(const RowOperator&) = delete;
    RowOperator& operator=(const RowOperator&) = delete;
    virtual ~RowOperator() = default;

    // Starts from the beginning, with the outer rows and the left side of a join as they stand now.
    virtual void Open() = 0;

    // Moves on; false at the end. Requires: Open(), and no call since that returned false.
    virtual bool Next() = 0;

    // How many rows there are; afterwards the operator is at the end. Requires: Open(), and no call since.
    virtual std::int64_t CountRows();

    // Whether all rows, as they have been opened, meet the conditions that the plan expects an index to answer.
    virtual bool MeetsConditions() const { return false; }

    // Whether each row, or the end, is found by a look at a few. Requires: Open().
    virtual bool NextIsCheap() const { return false; }

    // Whether few rows are expected in all.
    virtual bool IsShort() const {
        constexpr double kFewRows = 256;
        return estimated_rows_ >= 0 && estimated_rows_ <= kFewRows;
    }

    // Drops everything that was kept to be used by more than one Open().
    virtual void Reset() {}

    virtual void Explain(Explanation& out) const = 0;

    // About how many rows each Open() will give, as the planner sees it; below 0 where it did not ask.
    double EstimatedRows() const { return estimated_rows_; }
    void SetEstimatedRows(double rows) { estimated_rows_ = rows; }

private:
    double estimated_rows_ = -1;
};

using RowOperatorPtr = std::unique_ptr<RowOperator>;

// One combination without any source: SELECT without FROM.
class SingleRow : public RowOperator {
public:
    void Open() override { done_ = false; }
    bool Next() override { return !std::exchange(done_, true); }
    bool NextIsCheap() const override { return true; }
    void Explain(Explanation& out) const override { out.Add(u"a single row", *this); }

private:
    bool done_ = false;
};

// Only the rows for which every condition is true.
class Filter : public RowOperator {
public:
    // `last`: how many of the conditions, at the end, are covered by MeetsConditions of the child.
    Filter(RowOperatorPtr child, std::vector<Expression*> conditions, std::size_t last = 0)
        : child_(std::move(child)), conditions_(std::move(conditions)), last_(last) {}

    void Open() override;
    bool Next() override;
    std::int64_t CountRows() override;
    bool NextIsCheap() const override { return (tested_ == 0 || child_->IsShort()) && child_->NextIsCheap(); }
    bool IsShort() const override { return child_->IsShort() || RowOperator::IsShort(); }
    void Reset() override { child_->Reset(); }
    void Explain(Explanation& out) const override;

private:
    RowOperatorPtr child_;
    std::vector<Expression*> conditions_;
    std::size_t last_;
    std::size_t tested_ = 0;  // how many of the conditions the child does not meet by itself
};

bool AllTrue(std::span<Expression* const> conditions);

}  // namespace qmtrain::sql
