// Joins: for each row of the left side, the rows of the right side that belong to it.
#pragma once

#include <cstdint>
#include <vector>

#include "core/work.h"
#include "sql/expressions/key.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

// Opens the right side anew for each row of the left one. That is cheap, since the right side is an index access or a
// HashLookup, never a scan.
class LookupJoin : public RowOperator {
public:
    // `last`: how many of the conditions, at the end, are covered by MeetsConditions of the right side. With
    // `outer_sources`, a left row without a match comes once, with these sources at Null.
    LookupJoin(RowOperatorPtr left, RowOperatorPtr right, std::vector<Expression*> conditions, std::size_t last,
               std::vector<Source*> outer_sources)
        : left_(std::move(left)),
          right_(std::move(right)),
          conditions_(std::move(conditions)),
          last_(last),
          outer_sources_(std::move(outer_sources)) {}

    void Open() override;
    bool Next() override;
    void Reset() override;
    void Explain(Explanation& out) const override;

private:
    RowOperatorPtr left_;
    RowOperatorPtr right_;
    std::vector<Expression*> conditions_;
    std::size_t last_;
    std::size_t tested_ = 0;
    std::vector<Source*> outer_sources_;
    bool on_left_row_ = false;
    bool matched_ = false;
};

// An equality that a HashLookup goes by: an expression of its own rows, and one of the rows it is looked up for.
struct HashKey {
    Expression* build = nullptr;
    Expression* probe = nullptr;
};

// Reads its child once, keeps the rows by their keys, and yields at each Open() those whose keys equal the probes'.
// Without keys it yields every row each time. What the child's rows depend on may change only before a Reset().
class HashLookup : public RowOperator {
public:
    HashLookup(RowOperatorPtr child, std::vector<Source*> sources, std::vector<HashKey> keys);

    void Open() override;
    bool Next() override;
    void Reset() override;
    void Explain(Explanation& out) const override;

private:
    static constexpr std::uint32_t kEnd = 0xFFFFFFFF;

    void Build();
    std::uint32_t KeyNumber(bool building);  // of the current row; kEnd when it can match nothing
    void AddRow(std::uint32_t key);

    RowOperatorPtr child_;
    std::vector<Source*> sources_;
    std::vector<HashKey> keys_;
    bool numeric_;  // one key, of numbers on both sides
    bool built_ = false;

    NumberTable numbers_;
    std::uint64_t last_bits_ = 0;  // of the last probe, which the next one often equals
    std::uint32_t last_number_ = kEnd;
    KeyTable texts_;
    std::vector<std::uint8_t> buffer_;
    std::vector<std::uint32_t> first_;  // row of a key, by its number
    std::vector<std::uint32_t> last_;
    std::vector<std::uint32_t> following_;  // row of the same key, by row
    std::vector<RowHandle> handles_;        // as many as sources for each row
    std::uint32_t next_row_ = kEnd;
    HeldMemory held_;
    WorkSteps steps_;
};

}  // namespace qmtrain::sql
