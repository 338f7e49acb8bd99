// How a table's rows are reached: all of them, or a range of an index.
#pragma once

#include <vector>

#include "sql/ast.h"
#include "sql/row_operator.h"

namespace qmtrain::sql {

// One end of a range on the column behind the fixed ones. `value` belongs to the plan.
struct RangeEnd {
    Expression* value = nullptr;
    bool inclusive = true;
};

// Which part of which index. The values are computed each time the access is opened, so that they may come from the
// left side of a join or from an outer query. The rows found are at least those that satisfy the conditions behind
// it; the conditions themselves are tested above.
struct IndexAccess {
    int index = -1;                  // -1: no index, all rows
    std::vector<Expression*> equal;  // for the first columns of the index
    RangeEnd low;
    RangeEnd high;
    bool backwards = false;
    bool exact = false;  // the rows in the index's range are just those that satisfy the conditions
};

class TableAccess : public RowOperator {
public:
    TableAccess(TableSource& source, IndexAccess access) : source_(source), access_(std::move(access)) {}

    void Open() override;
    bool Next() override;
    std::int64_t CountRows() override;
    bool MeetsConditions() const override { return access_.exact && start_ != Start::Scan; }

private:
    enum class Start : std::uint8_t { Scan, Range, Nothing };

    Start MakeRange(KeyRange& range);
    Start AddFixed(KeyRange& range);
    Start AddEnds(KeyRange& range);
    bool CanSeek(const KeyRange& range) const;
    const IndexColumn& KeyColumn(std::size_t place) const;

    TableSource& source_;
    IndexAccess access_;
    Cursor* cursor_ = nullptr;
    Start start_ = Start::Nothing;
};

// The rows of a derived table.
class DerivedAccess : public RowOperator {
public:
    explicit DerivedAccess(DerivedSource& source) : source_(source) {}

    void Open() override;
    bool Next() override;
    void Reset() override;

private:
    DerivedSource& source_;
};

}  // namespace qmtrain::sql
