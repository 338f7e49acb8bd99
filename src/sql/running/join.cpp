#include "sql/running/join.h"

namespace qmtrain::sql {

// ---- LookupJoin ----

void LookupJoin::Open() {
    left_->Open();
    on_left_row_ = false;
}

bool LookupJoin::Next() {
    while (true) {
        if (!on_left_row_) {
            if (!left_->Next()) return false;
            right_->Open();
            tested_ = conditions_.size() - (right_->MeetsConditions() ? last_ : 0);
            on_left_row_ = true;
            matched_ = false;
        }
        while (right_->Next()) {
            if (!AllTrue(std::span(conditions_).first(tested_))) continue;
            matched_ = true;
            return true;
        }
        on_left_row_ = false;
        if (!matched_ && !outer_sources_.empty()) {
            for (Source* source : outer_sources_) source->SetNull();
            return true;
        }
    }
}

void LookupJoin::Reset() {
    left_->Reset();
    right_->Reset();
}

void LookupJoin::Explain(Explanation& out) const {
    out.Add(outer_sources_.empty() ? u"join: for each row" : u"outer join: for each row", *this);
    out.AddChild(*left_);
    out.AddChild(*right_);
}

// ---- HashLookup ----

HashLookup::HashLookup(RowOperatorPtr child, std::vector<Source*> sources, std::vector<HashKey> keys)
    : child_(std::move(child)), sources_(std::move(sources)), keys_(std::move(keys)) {
    numeric_ = keys_.size() == 1 && FamilyOf(keys_[0].build->Type()) == Family::Number &&
               FamilyOf(keys_[0].probe->Type()) == Family::Number;
}

void HashLookup::Reset() {
    child_->Reset();
    built_ = false;
}

void HashLookup::Explain(Explanation& out) const {
    out.Add(keys_.empty() ? u"all rows held in memory" : u"lookup in a hash table in memory", *this);
    out.AddChild(*child_);
}

void HashLookup::Open() {
    if (!built_) Build();
    const std::uint32_t key = KeyNumber(false);
    next_row_ = key == kEnd ? kEnd : first_[key];
}

bool HashLookup::Next() {
    if (next_row_ == kEnd) return false;
    steps_.Next();
    do {
        const RowHandle* handle = &handles_[next_row_ * sources_.size()];
        next_row_ = following_[next_row_];
        bool alive = true;
        for (Source* source : sources_) alive = source->Restore(*handle++) && alive;
        if (alive) return true;
    } while (next_row_ != kEnd);
    return false;
}

void HashLookup::Build() {
    numbers_.Clear();
    last_number_ = kEnd;
    texts_.Clear();
    first_.clear();
    last_.clear();
    following_.clear();
    handles_.clear();
    for (Source* source : sources_) source->Forget();
    child_->Open();
    while (child_->Next()) {
        const std::uint32_t key = KeyNumber(true);
        if (key != kEnd) AddRow(key);
    }
    built_ = true;
}

std::uint32_t HashLookup::KeyNumber(bool building) {
    if (keys_.empty()) return !building && first_.empty() ? kEnd : 0;
    bool added = false;
    if (numeric_) {
        const Value& value = (building ? keys_[0].build : keys_[0].probe)->Evaluate();
        if (FamilyOf(value.GetType()) == Family::Any) return kEnd;
        const std::uint64_t bits = NumberBits(value);
        if (building) return numbers_.FindOrAdd(bits, added);
        if (bits != last_bits_ || last_number_ == kEnd) {
            last_bits_ = bits;
            last_number_ = numbers_.Find(bits);
        }
        return last_number_;
    }
    buffer_.clear();
    for (const HashKey& key : keys_) {
        const Value& value = (building ? key.build : key.probe)->Evaluate();
        if (FamilyOf(value.GetType()) == Family::Any) return kEnd;
        AppendKey(value, buffer_);
    }
    return building ? texts_.FindOrAdd(buffer_, added) : texts_.Find(buffer_);
}

void HashLookup::AddRow(std::uint32_t key) {
    const auto row = static_cast<std::uint32_t>(following_.size());
    held_.Cover(handles_.capacity() * sizeof(RowHandle) + following_.capacity() * 3 * sizeof(row));
    following_.push_back(kEnd);
    for (Source* source : sources_) handles_.push_back(source->Keep());
    if (key == first_.size()) {
        first_.push_back(row);
        last_.push_back(row);
    } else {
        following_[last_[key]] = row;
        last_[key] = row;
    }
}

}  // namespace qmtrain::sql
