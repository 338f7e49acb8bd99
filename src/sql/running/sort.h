// Sorting: of each row its handles are kept, and its keys as byte strings.
#pragma once

#include <cstdint>
#include <vector>

#include "core/work.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

struct SortKey {
    Expression* expression = nullptr;
    bool descending = false;
};

class Sort : public RowOperator {
public:
    // Rows with equal keys keep their order. With no keys at all, this only holds the rows.
    Sort(RowOperatorPtr child, std::vector<Source*> sources, std::vector<SortKey> keys);

    // No more than the first `limit` rows will be asked for, and those that equal the last of them in the first
    // `tie_keys` keys: the others need not be held.
    void SetLimit(std::size_t limit, std::size_t tie_keys);

    // How many rows there are. Requires: Open(), and no limit.
    std::size_t RowCount() const { return rows_.size(); }

    void Open() override;
    bool Next() override;
    void Reset() override { child_->Reset(); }
    bool NextIsCheap() const override { return true; }
    void Explain(Explanation& out) const override;

private:
    struct Row {
        std::uint64_t prefix = 0;  // the first bytes of the key, big end first
        std::size_t key = 0;       // in keys_
        std::uint32_t key_size = 0;
        std::uint32_t tie_size = 0;  // of the key, what decides about ties
        std::uint32_t number = 0;    // in order of arrival, and in handles_
    };

    bool AddRow();
    bool ComesAfterLast(std::size_t key) const;
    void Prune();
    int Compare(const Row& a, const Row& b, bool tie) const;

    RowOperatorPtr child_;
    std::vector<Source*> sources_;
    std::vector<SortKey> sort_keys_;
    std::size_t limit_ = 0;  // 0: none
    std::size_t tie_keys_ = 0;
    std::size_t prune_at_ = 0;
    bool has_last_ = false;  // rows were dropped, all of them after last_key_
    std::vector<std::uint8_t> last_key_;

    std::vector<Row> rows_;
    std::vector<std::uint8_t> keys_;
    std::vector<std::uint8_t> buffer_;
    std::vector<RowHandle> handles_;
    std::size_t position_ = 0;
    HeldMemory held_;
    WorkSteps steps_;
};

}  // namespace qmtrain::sql
