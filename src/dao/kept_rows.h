// The rows of a snapshot or a forward-only record set, and of a dynaset that cannot be changed, as they were when they
// were found.
#pragma once

#include "dao/row_list.h"
#include "dao/row_spool.h"

namespace qmtrain::dao {

class KeptRows : public RowList {
public:
    // With `window` it forgets the rows before those last fetched.
    KeptRows(Search search, bool window) : RowList(std::move(search)), is_window_(window) {}

    const Value& Get(std::int64_t index, std::size_t column) override;
    void ReadRow(std::int64_t index, std::vector<Value>& values) override;

private:
    std::int64_t Fetched() const override { return first_ + static_cast<std::int64_t>(rows_.Size()); }
    bool InBlock(std::int64_t index) const override { return index >= first_ && index < Fetched(); }
    void FillBlock(std::int64_t index) override;
    bool FindRow() override;
    void MoveWindow();

    bool is_window_;
    RowSpool rows_;
    std::int64_t first_ = 0;  // the row that it begins with
};

}  // namespace qmtrain::dao
