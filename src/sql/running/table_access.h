// How a table's rows are reached: all of them, or ranges of its indexes.
#pragma once

#include <optional>
#include <vector>

#include "sql/expressions/key.h"
#include "sql/running/access_path.h"
#include "sql/running/row_operator.h"

namespace qmtrain::sql {

class TableAccess : public RowOperator {
public:
    TableAccess(TableSource& source, AccessPath path) : source_(source), path_(std::move(path)) {}

    // The rows of a scan are used as they come, none is passed over.
    void SetReadsAhead() { reads_ahead_ = true; }

    void Open() override;
    bool Next() override;
    std::int64_t CountRows() override;
    bool MeetsConditions() const override { return exact_ && start_ != Start::Whole; }
    bool NextIsCheap() const override { return true; }
    void Explain(Explanation& out) const override;

    // How many rows the index has there, by a look at it; nothing when the values do not say. Requires: the access
    // depends on no row.
    static std::optional<double> CountInIndex(TableSource& source, const IndexAccess& access);

private:
    enum class Start : std::uint8_t { Whole, Ranges, Nothing };

    struct IndexRange {
        std::size_t index = kNoPosition;
        KeyRange range;
    };

    // Whether there are ranges, or why there are none.
    Start AddRanges(const IndexAccess& access);
    Start SetFixed(const IndexAccess& access, KeyBound& bound, const Value* listed);
    Start SetEnds(const IndexAccess& access, KeyRange& range);
    Start SetEnd(const IndexAccess& access, const RangeEnd& end, bool low, KeyRange& range);
    Start SetPrefix(const IndexAccess& access, KeyRange& range);
    bool TakeList(const IndexAccess& access);
    IndexRange& NewRange(std::size_t index);
    void Arrange();
    void OpenRange();

    const IndexColumn& KeyColumn(const IndexAccess& access, std::size_t place) const;
    const Column& ColumnOf(const IndexAccess& access, std::size_t place) const;

    TableSource& source_;
    AccessPath path_;
    Cursor* cursor_ = nullptr;
    Start start_ = Start::Nothing;
    bool exact_ = false;
    bool reads_ahead_ = false;

    std::vector<IndexRange> ranges_;  // kept between openings, so that a search costs no allocations
    std::size_t range_count_ = 0;
    std::size_t at_ = 0;
    bool repeats_ = false;  // a row may be in two ranges
    NumberTable seen_;
    std::vector<Value> listed_;
};

}  // namespace qmtrain::sql
