#include "sql/running/crosstab.h"

#include <optional>
#include <utility>

#include "core/error.h"

namespace qmtrain::sql {

CrosstabRows::CrosstabRows(RowsSource& source, std::unique_ptr<Plan> rows, std::unique_ptr<Plan> cells,
                           std::size_t groups, bool fills, const std::vector<Value>& headings)
    : source_(source),
      rows_(std::move(rows)),
      cells_(std::move(cells)),
      groups_(groups),
      fills_(fills),
      width_(headings.size()) {
    bool added = false;
    for (const Value& heading : headings) {
        key_.clear();
        AppendKey(heading, key_, true);
        headings_.FindOrAdd(key_, added);
    }
}

void CrosstabRows::Open() {
    source_.Clear();
    ReadCells();
    rows_->Start();
}

bool CrosstabRows::Next() {
    steps_.Next();
    if (!rows_->root->Next()) return false;
    const std::size_t columns = rows_->outputs.size() - groups_ - (fills_ ? 1 : 0);
    Value* row = source_.Rows().Add();
    for (std::size_t i = 0; i < columns; ++i) row[i] = rows_->outputs[i].expression->Evaluate();
    SetKey(*rows_, columns);
    const std::uint32_t number = keys_.Find(key_);
    std::optional<Value> empty;
    for (std::size_t i = 0; i < width_; ++i) {
        const bool has_rows = number != KeyTable::kNone && !values_[number * width_ + i].IsEmpty();
        if (!has_rows && !empty) empty = EmptyCell();
        row[columns + i] = has_rows ? values_[number * width_ + i] : *empty;
    }
    source_.Restore(static_cast<RowHandle>(source_.Rows().Size()));
    return true;
}

// What the expression makes of no rows. One that takes no Null, such as CLng(Sum(...)), leaves the cell Null.
Value CrosstabRows::EmptyCell() {
    if (!fills_) return Null{};
    try {
        return rows_->outputs.back().expression->Evaluate();
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::InvalidUseOfNull)) throw;
        return Null{};
    }
}

void CrosstabRows::Explain(Explanation& out) const {
    out.Add(u"crosstab", *this);
    out.AddChild(*rows_->root);
    out.AddChild(*cells_->root);
}

void CrosstabRows::SetKey(Plan& plan, std::size_t first) {
    key_.clear();
    for (std::size_t i = 0; i < groups_; ++i) AppendKey(plan.outputs[first + i].expression->Evaluate(), key_, true);
}

void CrosstabRows::ReadCells() {
    keys_.Clear();
    values_.clear();
    beside_ = 0;
    cells_->Start();
    while (cells_->root->Next()) {
        steps_.Next();
        bool added = false;
        SetKey(*cells_, 0);
        const std::uint32_t row = keys_.FindOrAdd(key_, added);
        if (added) values_.resize(values_.size() + width_);
        key_.clear();
        AppendKey(cells_->outputs[groups_].expression->Evaluate(), key_, true);
        const std::uint32_t heading = headings_.Find(key_);
        if (heading != KeyTable::kNone) {
            const Value& value = cells_->outputs[groups_ + 1].expression->Evaluate();
            values_[row * width_ + heading] = value;
            beside_ += BytesBeside(value);
        }
        held_.Cover(values_.capacity() * sizeof(Value) + beside_);
    }
}

}  // namespace qmtrain::sql
