#include "dao/kept_rows.h"

#include "core/error.h"
#include "jet/database.h"

namespace qmtrain::dao {

bool KeptRows::FindRow() {
    if (complete_ || !query_->Next()) {
        complete_ = true;
        return false;
    }
    rows_.Begin();
    for (std::size_t i = 0; i < current_.size(); ++i) rows_.Append(query_->Get(i));
    rows_.End();
    held_.Cover(rows_.HeldBytes());
    return true;
}

void KeptRows::MoveWindow() {
    if (!is_window_) return;
    first_ = Fetched();
    rows_.Clear();
}

void KeptRows::FillBlock(std::int64_t index) {
    const bool goes_on = index == Fetched() && rows_.Size() > 0;
    StartBlock(goes_on);
    MoveWindow();
    const Work work = source_.database->Begin(taken_.get());
    const jet::Database::Reading reading(Storage());
    while (Fetched() < index && NextRow()) MoveWindow();
    if (Fetched() < index) return;
    try {
        const std::size_t before = rows_.Bytes();
        std::int64_t at = index;
        while (at < index + block_size_ && rows_.Bytes() - before < kMaxBlockBytes) {
            if (at >= Fetched() && !NextRow()) return;
            WidenBlock(goes_on, ++at);
        }
        // After the last row a caller asks whether there is another one.
        if (at == Fetched() && !complete_ && query_->NextIsCheap()) NextRow();
    } catch (const AutomationError&) {
        // A row that cannot be read is an error for the call that reaches it.
        if (Fetched() <= index) throw;
        search_failure_ = std::current_exception();
    }
}

const Value& KeptRows::Get(std::int64_t index, std::size_t column) {
    if (loaded_ != index) {
        if (!InBlock(index)) FillBlock(index);
        ReadRow(index, current_);
        loaded_ = index;
    }
    return current_[column];
}

void KeptRows::ReadRow(std::int64_t index, std::vector<Value>& values) {
    values.resize(current_.size());
    rows_.Get(static_cast<std::size_t>(index - first_), values);
}

}  // namespace qmtrain::dao
