// TOP and DISTINCT.
#pragma once

#include <cstdint>
#include <vector>

#include "sql/expressions/key.h"
#include "sql/running/row_operator.h"
#include "sql/running/sort.h"

namespace qmtrain::sql {

// The first rows, and those after them that equal the last one in the tie keys.
class Limit : public RowOperator {
public:
    Limit(RowOperatorPtr child, std::size_t count, std::vector<Expression*> ties)
        : child_(std::move(child)), count_(count), ties_(std::move(ties)) {}

    // That many percent of all rows that `all` holds, rounded up. `all` is the child or below it.
    void SetPercent(const Sort& all) { all_ = &all; }

    void Open() override;
    bool Next() override;
    void Reset() override { child_->Reset(); }
    bool NextIsCheap() const override { return (yielded_ >= wanted_ && ties_.empty()) || child_->NextIsCheap(); }
    bool IsShort() const override { return (all_ == nullptr && count_ <= kFewRows) || child_->IsShort(); }
    void Explain(Explanation& out) const override;

private:
    static constexpr std::size_t kFewRows = 128;

    void MakeKey(std::vector<std::uint8_t>& key) const;

    RowOperatorPtr child_;
    std::size_t count_;
    std::vector<Expression*> ties_;
    const Sort* all_ = nullptr;
    std::size_t wanted_ = 0;
    std::size_t yielded_ = 0;
    bool ended_ = false;
    std::vector<std::uint8_t> last_key_;
    std::vector<std::uint8_t> key_;
};

// Each combination of values, or of rows, only once.
class Distinct : public RowOperator {
public:
    Distinct(RowOperatorPtr child, std::vector<Expression*> values, std::vector<Source*> sources)
        : child_(std::move(child)), values_(std::move(values)), sources_(std::move(sources)) {}

    void Open() override;
    bool Next() override;
    void Reset() override { child_->Reset(); }
    void Explain(Explanation& out) const override;

private:
    RowOperatorPtr child_;
    std::vector<Expression*> values_;
    std::vector<Source*> sources_;
    KeyTable seen_;
    std::vector<std::uint8_t> key_;
};

}  // namespace qmtrain::sql
