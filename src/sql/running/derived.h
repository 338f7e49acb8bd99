// A sub-query or saved query in a FROM clause.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sql/running/plan.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

// The rows that another query yields.
class DerivedSource : public Source {
public:
    explicit DerivedSource(std::unique_ptr<Plan> plan);

    Plan& GetPlan() { return *plan_; }
    void OnRow() {
        ++stamp_;
        current_ = 0;
        ShowPartly();
    }

    RowHandle Keep() override;
    bool Restore(RowHandle handle) override;
    void Forget() override;

protected:
    const Value& Load(std::size_t slot) override;

private:
    std::unique_ptr<Plan> plan_;
    RowBuffer kept_;
    std::vector<const Value*> values_;
    std::vector<std::uint64_t> stamps_;
    std::uint64_t stamp_ = 0;
    RowHandle current_ = 0;
};

// Moves the source through its query.
class DerivedAccess : public RowOperator {
public:
    explicit DerivedAccess(DerivedSource& source) : source_(source) {}

    void Open() override;
    bool Next() override;
    void Reset() override;
    void Explain(Explanation& out) const override;

private:
    DerivedSource& source_;
};

}  // namespace qmtrain::sql
