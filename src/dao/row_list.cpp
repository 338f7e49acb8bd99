#include "dao/row_list.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "core/error.h"
#include "dao/kept_rows.h"
#include "dao/place_list.h"
#include "jet/database.h"

namespace qmtrain::dao {
namespace {

constexpr std::int64_t kMaxBlockRows = 256;
constexpr std::int64_t kBlockGrowth = 4;

// Where the next rows are found at once, so many come with the first one: a scope costs as much as reading some ten.
// The second number is for results that are short anyway.
constexpr std::int64_t kFirstCheapRows = 8;
constexpr std::int64_t kFirstRowsOfFew = 128;
constexpr std::int64_t kCheapBlockGrowth = 32;

// Rows that are only counted are looked for in one scope.
constexpr std::int64_t kRowsInScope = 4096;

std::uint32_t NextNumber() {
    static std::atomic<std::uint32_t> last = 0;
    return ++last;
}

}  // namespace

std::shared_ptr<RowList> RowList::Open(RowSource source, Keep keep, bool empty) {
    const auto taken = std::make_shared<WorkTaken>();
    const Work work = source.database->Begin(taken.get());
    const jet::Database::Reading reading(source.Storage());
    QueryPtr query = source.Open();
    const bool places = keep == Keep::Places && query->Updatable();
    Search search{std::move(source), std::move(query), taken, empty};
    std::shared_ptr<RowList> list;
    if (places)
        list = std::make_shared<PlaceList>(std::move(search));
    else
        list = std::make_shared<KeptRows>(std::move(search), keep == Keep::Window);
    list->Reach(0);
    return list;
}

RowList::RowList(Search search)
    : source_(std::move(search.source)),
      taken_(std::move(search.taken)),
      query_(std::move(search.query)),
      complete_(search.empty),
      current_(query_->Columns().size()),
      number_(NextNumber()) {}

bool RowList::Reach(std::int64_t index) {
    if (index < seen_) return index >= 0;
    // Rows that were fetched ahead belong to the record set when they are reached, if they are there still.
    if (index >= Fetched() || !InBlock(index)) {
        if (index >= Fetched() && complete_) {
            seen_ = Fetched();
            return false;
        }
        FillBlock(index);
    }
    seen_ = std::max(seen_, std::min(index + 1, Fetched()));
    return index < seen_;
}

void RowList::ReachAll() {
    const Work work = source_.database->Begin(taken_.get());
    DropDeletedAhead();
    while (!complete_) {
        const jet::Database::Reading reading(Storage());
        for (std::int64_t rows = 0; rows < kRowsInScope && NextRow(); ++rows) {
        }
    }
    seen_ = Fetched();
}

bool RowList::NextRow() {
    if (cancelled_) std::rethrow_exception(cancelled_);
    if (search_failure_) std::rethrow_exception(std::exchange(search_failure_, nullptr));
    try {
        return FindRow();
    } catch (const AutomationError& error) {
        const bool limited = error.Is(ErrorNumber::OperationCancelled) || error.Is(ErrorNumber::SystemResourceExceeded);
        if (limited) cancelled_ = std::current_exception();
        throw;
    }
}

void RowList::StartBlock(bool goes_on) {
    const std::int64_t growth = query_->NextIsCheap() ? kCheapBlockGrowth : kBlockGrowth;
    block_size_ = goes_on ? std::min(block_size_ * growth, kMaxBlockRows) : 1;
    loaded_ = -1;
}

void RowList::WidenBlock(bool goes_on, std::int64_t end) {
    if (goes_on || end != Fetched() || complete_ || !query_->NextIsCheap()) return;
    block_size_ = query_->IsShort() ? kFirstRowsOfFew : kFirstCheapRows;
}

}  // namespace qmtrain::dao
