#include "sql/running/limit.h"

#include "core/text.h"

namespace qmtrain::sql {

void Limit::Open() {
    child_->Open();
    wanted_ = count_;
    if (all_ != nullptr) wanted_ = (all_->RowCount() * count_ + 99) / 100;
    yielded_ = 0;
    ended_ = wanted_ == 0;
}

bool Limit::Next() {
    if (ended_) return false;
    const bool more = yielded_ < wanted_ || !ties_.empty();
    if (!more || !child_->Next()) {
        ended_ = true;
        return false;
    }
    if (++yielded_ == wanted_) {
        MakeKey(last_key_);
    } else if (yielded_ > wanted_) {
        MakeKey(key_);
        ended_ = key_ != last_key_;
    }
    return !ended_;
}

void Limit::Explain(Explanation& out) const {
    out.Add(all_ != nullptr ? u"top percent" : u"top " + ToText(count_), *this);
    out.AddChild(*child_);
}

void Limit::MakeKey(std::vector<std::uint8_t>& key) const {
    key.clear();
    for (Expression* tie : ties_) AppendKeyOf(*tie, key);
}

void Distinct::Open() {
    seen_.Clear();
    child_->Open();
}

void Distinct::Explain(Explanation& out) const {
    out.Add(u"distinct by a hash table", *this);
    out.AddChild(*child_);
}

bool Distinct::Next() {
    while (child_->Next()) {
        key_.clear();
        for (Expression* value : values_) AppendKeyOf(*value, key_);
        for (Source* source : sources_) {
            const RowHandle handle = source->Keep();
            for (unsigned shift = 0; shift < 32; shift += 8) key_.push_back(static_cast<std::uint8_t>(handle >> shift));
        }
        bool added = false;
        seen_.FindOrAdd(key_, added);
        if (added) return true;
    }
    return false;
}

}  // namespace qmtrain::sql
