#include "sql/running/sort.h"

#include <algorithm>
#include <cstring>

#include "sql/expressions/key.h"

namespace qmtrain::sql {
namespace {

constexpr std::size_t kPruneRows = 256;

}  // namespace

Sort::Sort(RowOperatorPtr child, std::vector<Source*> sources, std::vector<SortKey> keys)
    : child_(std::move(child)), sources_(std::move(sources)), sort_keys_(std::move(keys)) {}

void Sort::SetLimit(std::size_t limit, std::size_t tie_keys) {
    limit_ = limit;
    tie_keys_ = tie_keys;
}

void Sort::Open() {
    rows_.clear();
    keys_.clear();
    handles_.clear();
    position_ = 0;
    prune_at_ = std::max(kPruneRows, limit_ * 2);
    child_->Open();
    has_last_ = false;
    while (child_->Next()) {
        if (AddRow() && limit_ != 0 && rows_.size() >= prune_at_) Prune();
    }
    if (!sort_keys_.empty()) {
        std::ranges::sort(rows_, [this](const Row& a, const Row& b) {
            steps_.Next();
            return Compare(a, b, false) < 0;
        });
    }
}

void Sort::Explain(Explanation& out) const {
    out.Add(sort_keys_.empty() ? u"all rows held in memory"
            : limit_ > 0       ? u"the first rows of a sort"
                               : u"sort",
            *this);
    out.AddChild(*child_);
}

bool Sort::Next() {
    while (position_ < rows_.size()) {
        const RowHandle* handle = &handles_[rows_[position_++].number * sources_.size()];
        bool alive = true;
        for (Source* source : sources_) alive = source->Restore(*handle++) && alive;
        if (alive) return true;
    }
    return false;
}

// False when the row comes after the last one wanted, which is often known before all its keys are made.
bool Sort::AddRow() {
    Row row;
    row.key = keys_.size();
    for (std::size_t i = 0; i < sort_keys_.size(); ++i) {
        buffer_.clear();
        AppendKeyOf(*sort_keys_[i].expression, buffer_);
        if (sort_keys_[i].descending) {
            for (std::uint8_t& byte : buffer_) byte = static_cast<std::uint8_t>(~byte);
        }
        keys_.insert(keys_.end(), buffer_.begin(), buffer_.end());
        if (has_last_ && ComesAfterLast(row.key)) {
            keys_.resize(row.key);
            return false;
        }
        if (i + 1 == tie_keys_) row.tie_size = static_cast<std::uint32_t>(keys_.size() - row.key);
    }
    row.key_size = static_cast<std::uint32_t>(keys_.size() - row.key);
    for (std::size_t i = 0; i < 8; ++i) {
        row.prefix = row.prefix << 8U | (i < row.key_size ? keys_[row.key + i] : 0U);
    }
    row.number = static_cast<std::uint32_t>(sources_.empty() ? rows_.size() : handles_.size() / sources_.size());
    for (Source* source : sources_) handles_.push_back(source->Keep());
    rows_.push_back(row);
    held_.Cover(keys_.capacity() + rows_.capacity() * sizeof(Row) + handles_.capacity() * sizeof(RowHandle));
    return true;
}

// Whether the key that begins there, as far as it has been made, comes after that of the last row wanted, and does so
// in the keys that decide about ties.
bool Sort::ComesAfterLast(std::size_t key) const {
    const std::size_t size = std::min(keys_.size() - key, last_key_.size());
    return size > 0 && std::memcmp(&keys_[key], last_key_.data(), size) > 0;
}

// Equal keys are recognised by size and bytes; no key is a prefix of another.
int Sort::Compare(const Row& a, const Row& b, bool tie) const {
    if (!tie && a.prefix != b.prefix) return a.prefix < b.prefix ? -1 : 1;
    const std::size_t a_size = tie ? a.tie_size : a.key_size;
    const std::size_t b_size = tie ? b.tie_size : b.key_size;
    const std::size_t size = std::min(a_size, b_size);
    if (size > 0) {
        const int order = std::memcmp(&keys_[a.key], &keys_[b.key], size);
        if (order != 0) return order;
    }
    if (a_size != b_size) return a_size < b_size ? -1 : 1;
    return tie || a.number == b.number ? 0 : a.number < b.number ? -1 : 1;
}

// Drops rows that come after the last one wanted, and moves the rest together.
void Sort::Prune() {
    const auto nth = rows_.begin() + (limit_ - 1);
    std::ranges::nth_element(rows_, nth, [this](const Row& a, const Row& b) { return Compare(a, b, false) < 0; });
    const Row last = *nth;
    std::erase_if(rows_, [&](const Row& row) {
        const bool ties = tie_keys_ > 0 && Compare(row, last, true) == 0;
        return Compare(row, last, false) > 0 && !ties;
    });

    std::ranges::sort(rows_, {}, &Row::number);
    std::vector<std::uint8_t> keys;
    std::vector<RowHandle> handles;
    const std::ptrdiff_t width = sources_.size();
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        Row& row = rows_[i];
        const auto key = keys_.begin() + row.key;
        row.key = keys.size();
        keys.insert(keys.end(), key, key + row.key_size);
        const auto handle = handles_.begin() + row.number * width;
        handles.insert(handles.end(), handle, handle + width);
        row.number = static_cast<std::uint32_t>(i);
    }
    last_key_.assign(keys_.begin() + last.key,
                     keys_.begin() + (last.key + (tie_keys_ > 0 ? last.tie_size : last.key_size)));
    has_last_ = true;
    keys_ = std::move(keys);
    handles_ = std::move(handles);
    prune_at_ = std::max(kPruneRows, rows_.size() * 2);
}

}  // namespace qmtrain::sql
