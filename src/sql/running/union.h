// UNION: the rows of several selects, one select after the other.
#pragma once

#include <memory>
#include <vector>

#include "sql/expressions/key.h"
#include "sql/running/plan.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

// The row of whichever select is being read, its values in the type that the column has in all of them.
class UnionSource : public Source {
public:
    UnionSource(std::vector<std::unique_ptr<Plan>> plans, std::vector<ColumnInfo> columns);

    std::size_t PlanCount() const { return plans_.size(); }
    Plan& GetPlan(std::size_t number) { return *plans_[number]; }
    void OnRow(std::size_t plan);

    RowHandle Keep() override;
    bool Restore(RowHandle handle) override;
    void Forget() override;

protected:
    const Value& Load(std::size_t slot) override;

private:
    std::vector<std::unique_ptr<Plan>> plans_;
    std::vector<Value> row_;
    RowBuffer kept_;
    RowHandle current_ = 0;
};

class UnionRows : public RowOperator {
public:
    // The first `distinct_parts` selects together return each row only once; 0: none do.
    UnionRows(UnionSource& source, std::size_t distinct_parts) : source_(source), distinct_parts_(distinct_parts) {}

    void Open() override;
    bool Next() override;
    void Reset() override;
    void Explain(Explanation& out) const override;

private:
    bool IsNew();

    UnionSource& source_;
    std::size_t distinct_parts_;
    std::size_t plan_ = 0;
    KeyTable seen_;
    std::vector<std::uint8_t> key_;
};

}  // namespace qmtrain::sql
