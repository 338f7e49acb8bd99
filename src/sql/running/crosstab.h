// The rows of a crosstab.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/work.h"
#include "sql/expressions/key.h"
#include "sql/running/plan.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

class CrosstabRows : public RowOperator {
public:
    // Both selects show the row's groups: `rows` after its columns, `cells` before the pivot and the value. Where
    // `fills` is true, `rows` shows last of all the value of cells without rows; else that is Null.
    CrosstabRows(RowsSource& source, std::unique_ptr<Plan> rows, std::unique_ptr<Plan> cells, std::size_t groups,
                 bool fills, const std::vector<Value>& headings);

    void Open() override;
    bool Next() override;
    void Explain(Explanation& out) const override;

private:
    void SetKey(Plan& plan, std::size_t first);
    Value EmptyCell();
    void ReadCells();

    RowsSource& source_;
    std::unique_ptr<Plan> rows_;
    std::unique_ptr<Plan> cells_;
    std::size_t groups_;
    bool fills_;
    std::size_t width_;
    KeyTable headings_;
    KeyTable keys_;
    std::vector<Value> values_;  // as many as headings for each key; Empty where there are no rows
    std::size_t beside_ = 0;     // the bytes of their texts
    HeldMemory held_;
    std::vector<std::uint8_t> key_;
    WorkSteps steps_;
};

}  // namespace qmtrain::sql
