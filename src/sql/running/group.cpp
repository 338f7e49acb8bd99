#include "sql/running/group.h"

namespace qmtrain::sql {

Group::Group(RowOperatorPtr child, RowsSource& output, std::vector<Expression*> keys, std::vector<Aggregate> aggregates)
    : child_(std::move(child)), output_(output), keys_(std::move(keys)), aggregates_(std::move(aggregates)) {}

void Group::Open() {
    groups_.Clear();
    states_.clear();
    group_of_handle_.clear();
    output_.Clear();
    position_ = 0;
    if (keys_.empty()) AddGroup();
    child_->Open();
    if (only_counts_) {
        const std::int64_t rows = child_->CountRows();
        for (AggregateState& state : states_) state.count = rows;
    } else {
        while (child_->Next()) TakeRow();
    }
    for (std::size_t group = 0; group < output_.Rows().Size(); ++group) {
        Value* slots = output_.Rows().At(group) + keys_.size();
        for (std::size_t i = 0; i < aggregates_.size(); ++i) {
            aggregates_[i].Finish(states_[group * aggregates_.size() + i], slots[i]);
        }
    }
}

void Group::Explain(Explanation& out) const {
    out.Add(only_counts_ ? u"count of rows" : keys_.empty() ? u"aggregates" : u"groups in a hash table", *this);
    out.AddChild(*child_);
}

bool Group::Next() {
    if (position_ >= output_.Rows().Size()) return false;
    output_.Restore(static_cast<RowHandle>(++position_));
    return true;
}

void Group::TakeRow() {
    const std::uint32_t group = keys_.empty() ? 0 : key_source_ != nullptr ? LookUpGroup() : FindGroup();
    Value* slots = output_.Rows().At(group) + keys_.size();
    AggregateState* states = states_.data() + group * aggregates_.size();
    for (std::size_t i = 0; i < aggregates_.size(); ++i) Step(i, states[i], slots[i]);
}

// The text that Min or Last keeps may become longer than the first one was.
void Group::Step(std::size_t aggregate, AggregateState& state, Value& slot) {
    if (!aggregates_[aggregate].KeepsValue()) return aggregates_[aggregate].Step(state, slot);
    const std::size_t before = BytesBeside(slot);
    aggregates_[aggregate].Step(state, slot);
    const std::size_t after = BytesBeside(slot);
    if (after > before && state.count > 1) output_.Rows().Grown(after - before);
}

std::uint32_t Group::LookUpGroup() {
    const RowHandle handle = key_source_->Keep();
    if (handle >= group_of_handle_.size()) group_of_handle_.resize(handle * 2 + 64, 0);
    std::uint32_t& known = group_of_handle_[handle];
    if (known == 0) known = FindGroup() + 1;
    return known - 1;
}

std::uint32_t Group::FindGroup() {
    key_.clear();
    for (Expression* key : keys_) AppendKeyOf(*key, key_);
    bool added = false;
    const std::uint32_t group = groups_.FindOrAdd(key_, added);
    return added ? AddGroup() : group;
}

std::uint32_t Group::AddGroup() {
    const auto group = static_cast<std::uint32_t>(output_.Rows().Size());
    Value* row = output_.Rows().Add();
    for (std::size_t i = 0; i < keys_.size(); ++i) row[i] = keys_[i]->Evaluate();
    states_.resize(states_.size() + aggregates_.size());
    held_.Cover(states_.capacity() * sizeof(AggregateState));
    return group;
}

}  // namespace qmtrain::sql
