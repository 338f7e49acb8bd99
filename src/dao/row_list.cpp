#include "dao/row_list.h"

#include <atomic>
#include <utility>

#include "core/error.h"
#include "jet/database.h"

namespace qmtrain::dao {
namespace {

// A block has no more rows, and about no more bytes of texts.
constexpr std::int64_t kMaxBlockRows = 256;
constexpr std::int64_t kBlockGrowth = 4;

// Where the next rows are found at once, so many come with the first one: a scope costs as much as reading some ten.
// The second number is for results that are short anyway.
constexpr std::int64_t kFirstCheapRows = 8;
constexpr std::int64_t kFirstRowsOfFew = 128;
constexpr std::int64_t kCheapBlockGrowth = 32;

// A server is asked for so many rows at least that have been fetched before.
constexpr std::int64_t kRowsOfAnswer = 16;
constexpr std::size_t kMaxBlockBytes = std::size_t{256} << 10;

// In the first block long values are read with their rows, as long as they are short ones.
constexpr std::size_t kMaxFirstBytes = std::size_t{16} << 10;

// For so long a row of a server may be edited as it was fetched; an update compares it anyway.
constexpr std::chrono::seconds kFresh{1};

// Rows that are only counted are looked for in one scope.
constexpr std::int64_t kKeysInScope = 4096;

std::uint32_t NextNumber() {
    static std::atomic<std::uint32_t> last = 0;
    return ++last;
}

}  // namespace

RowList::RowList(RowSource source, Keep keep, bool empty)
    : source_(std::move(source)), number_(NextNumber()), is_window_(keep == Keep::Window), complete_(empty) {
    const Work work = source_.database->Begin(&taken_);
    const jet::Database::Reading reading(Storage());
    query_ = source_.Open();
    has_places_ = keep == Keep::Places && query_->Updatable();
    is_remote_ = has_places_ && query_->Tables()[static_cast<std::size_t>(query_->EditableTable())]->IsRemote();
    has_images_ = has_places_ && query_->HasImages();
    const std::size_t width = query_->Columns().size();
    is_long_.resize(width);
    asked_for_.resize(width);
    left_out_.resize(width);
    current_.resize(width);
    read_from_.resize(width);
    for (std::size_t i = 0; i < width; ++i) {
        const sql::ColumnType type = query_->Columns()[i].type;
        is_long_[i] =
            has_places_ && !is_remote_ && (type == sql::ColumnType::Memo || type == sql::ColumnType::LongBinary);
        if (!has_images_ || is_long_[i]) packed_.push_back(static_cast<int>(i));
    }
    places_.reserve(kFirstCheapRows);
    Reach(0);
}

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

// Rows that were fetched ahead, and have been deleted since, never belonged to the record set.
void RowList::DropDeletedAhead() {
    if (!has_places_ || seen_ >= Fetched()) return;
    const jet::Database::Reading reading(Storage());
    if (block_change_ == ChangeStamp()) return;
    Prefetch(seen_, Fetched() - seen_);
    const auto gone =
        std::remove_if(places_.begin() + seen_, places_.end(), [&](const Place& place) { return !MoveTo(place); });
    if (gone != places_.end()) found_ = -1;
    places_.erase(gone, places_.end());
}

void RowList::ReachAll() {
    const Work work = source_.database->Begin(&taken_);
    DropDeletedAhead();
    while (!complete_) {
        const jet::Database::Reading reading(Storage());
        for (std::int64_t rows = 0; rows < kKeysInScope && NextKey(); ++rows) {
        }
    }
    seen_ = Fetched();
}

// The block

// Rows that are kept need no block.
bool RowList::InBlock(std::int64_t index) const {
    if (!has_places_) return index >= kept_first_ && index < Fetched();
    const bool inside = index >= block_first_ && index < block_first_ + BlockRows();
    return inside && block_change_ == ChangeStamp();
}

// Finds one more row; its values can be read from the query. A search that was called off in its middle is over.
bool RowList::NextKey() {
    if (called_off_) std::rethrow_exception(called_off_);
    if (search_failure_) std::rethrow_exception(std::exchange(search_failure_, nullptr));
    found_ = -1;
    try {
        return FindKey();
    } catch (const AutomationError& error) {
        const bool limited = error.Is(ErrorNumber::OperationCancelled) || error.Is(ErrorNumber::SystemResourceExceeded);
        if (limited) called_off_ = std::current_exception();
        throw;
    }
}

bool RowList::FindKey() {
    while (!complete_ && query_->Next()) {
        if (!has_places_) {
            KeepRow();
            Cover();
            return true;
        }
        const Place place{query_->Row(query_->EditableTable()), query_->Identity()};
        if (const auto added = added_.find(place.row.value); added != added_.end()) {
            if (added->second == place.identity) continue;
        }
        found_ = Fetched();
        places_.push_back(place);
        Cover();
        found_change_ = ChangeStamp();
        return true;
    }
    complete_ = true;
    return false;
}

void RowList::Pack(sql::Query& query) {
    static const qmtrain::Value kLater;
    if (has_images_ && packed_.empty()) return block_.AddBytes(query.Image());
    block_.Begin();
    if (has_images_) block_.AppendBytes(query.Image());
    for (const int column : packed_) {
        block_.Append(left_out_[static_cast<std::size_t>(column)] ? kLater : query.Get(column));
    }
    block_.End();
}

void RowList::KeepRow() {
    kept_.Begin();
    for (const int column : packed_) kept_.Append(query_->Get(column));
    kept_.End();
}

void RowList::Cover() {
    held_.Cover(kept_.HeldBytes() + block_.Bytes() + places_.capacity() * sizeof(Place));
}

void RowList::DropWindow() {
    kept_first_ = Fetched();
    kept_.Clear();
}

sql::Query& RowList::Reader() {
    if (reader_) return *reader_;
    QueryPtr reader = source_.Open();
    RequireSameColumns(*query_, *reader);
    reader_ = std::move(reader);
    return *reader_;
}

void RowList::FillBlock(std::int64_t index) {
    const std::int64_t end = has_places_ ? block_first_ + BlockRows() : Fetched();
    const bool goes_on = index > 0 && index == end && InBlock(end - 1);
    for (std::size_t i = 0; goes_on && i < is_long_.size(); ++i) left_out_[i] = is_long_[i] && !asked_for_[i];
    const std::int64_t growth = query_->NextIsCheap() ? kCheapBlockGrowth : kBlockGrowth;
    block_size_ = goes_on ? std::min(block_size_ * growth, kMaxBlockRows) : 1;
    block_first_ = index;
    loaded_ = -1;
    block_.Clear();
    if (is_window_) DropWindow();
    failure_ = nullptr;
    if (is_remote_) fresh_until_ = std::chrono::steady_clock::now() + kFresh;
    const Work work = source_.database->Begin(&taken_);
    const jet::Database::Reading reading(Storage());
    block_change_ = ChangeStamp();
    while (Fetched() < index && NextKey()) {
        if (is_window_) DropWindow();
    }
    if (Fetched() < index) return;
    std::int64_t at = index;
    try {
        const std::size_t before = kept_.Bytes();
        const std::size_t most_bytes = goes_on || !HasLong() ? kMaxBlockBytes : kMaxFirstBytes;
        if (is_remote_ && index < Fetched() && !(found_ == index && found_change_ == block_change_)) {
            block_size_ = std::max(block_size_, kRowsOfAnswer);
            Prefetch(index, block_size_);
        }
        while (at < index + block_size_ && block_.Bytes() + kept_.Bytes() - before < most_bytes) {
            if (!FillRow(at)) return;
            Cover();
            ++at;
            if (!goes_on && at == Fetched() && !complete_ && query_->NextIsCheap()) {
                block_size_ = query_->IsShort() ? kFirstRowsOfFew : kFirstCheapRows;
            }
        }
        // Whoever reads the last row asks next whether there is another one.
        if (at == Fetched() && !complete_ && query_->NextIsCheap()) NextKey();
    } catch (const AutomationError&) {
        // A row that cannot be read is a matter of those who come to it.
        if (at == index && Fetched() <= index) throw;
        (Fetched() > at && has_places_ ? failure_ : search_failure_) = std::current_exception();
    }
}

// False when there is no such row, or no longer.
bool RowList::FillRow(std::int64_t index) {
    while (index < Fetched()) {
        if (!has_places_) return true;
        // The row that was found last is still at hand if nothing has changed since.
        if (found_ == index && found_change_ == block_change_) {
            Pack(*query_);
            return true;
        }
        if (Place& place = places_[static_cast<std::size_t>(index)]; MoveTo(place)) {
            if (!reader_->HasKeyIdentity()) place.identity = reader_->Identity();
            Pack(*reader_);
            return true;
        }
        if (index < seen_) return false;
        found_ = -1;
        places_.erase(places_.begin() + index);  // deleted before it was reached
    }
    if (!NextKey()) return false;
    if (has_places_) Pack(*query_);
    return true;
}

void RowList::Prefetch(std::int64_t from, std::int64_t rows) {
    if (!is_remote_) return;
    std::vector<sql::RowId> wanted;
    for (std::int64_t i = from; i < std::min(from + rows, Fetched()); ++i) {
        const Place& place = places_[static_cast<std::size_t>(i)];
        if (place.row.value != 0) wanted.push_back(place.row);
    }
    Reader().Prefetch(wanted);
}

bool RowList::MoveTo(const Place& place) {
    if (place.row.value == 0 || !Reader().MoveTo(place.row)) return false;
    if (is_remote_) return true;
    const std::uint64_t identity = reader_->Identity();
    if (identity == place.identity) return true;
    // Where only its content tells a row, a changed one counts as the same until it is to be changed here.
    return !reader_->HasKeyIdentity();
}

// Reading

void RowList::ReadRow(std::int64_t index, std::vector<Value>& values) {
    values.resize(current_.size());
    if (!has_places_) {
        kept_.Get(static_cast<std::size_t>(index - kept_first_), values);
        return;
    }
    if (TakeFresh(index, values)) return;
    const jet::Database::Reading reading(Storage());
    if (!MoveTo(places_[static_cast<std::size_t>(index)])) Raise(ErrorNumber::RecordDeleted);
    for (std::size_t i = 0; i < values.size(); ++i) reader_->Read(static_cast<int>(i), values[i]);
}

// What a server has said a moment ago is said again only to those who ask once more, such as an edit that was refused.
bool RowList::TakeFresh(std::int64_t index, std::vector<Value>& values) {
    if (!is_remote_ || std::chrono::steady_clock::now() > std::exchange(fresh_until_, {}) || !InBlock(index))
        return false;
    if (loaded_ != index) Load(index);
    values = current_;
    return true;
}

void RowList::LookAt(std::int64_t index, std::vector<Value>& values) {
    if (!is_remote_) return ReadRow(index, values);
    if (loaded_ != index) Load(index);
    values = current_;
}

void RowList::Load(std::int64_t index) {
    if (!InBlock(index)) FillBlock(index);
    if (!has_places_) {
        kept_.Get(static_cast<std::size_t>(index - kept_first_), current_);
    } else if (BlockRows() > 0) {
        const std::uint8_t* at = block_.At(static_cast<std::size_t>(index - block_first_));
        if (has_images_) {
            std::span<const std::uint8_t> image;
            at = RowBuffer::Take(at, image);
            query_->ShowImage(image);
            ++image_number_;
        }
        for (const int column : packed_) at = RowBuffer::Take(at, current_[static_cast<std::size_t>(column)]);
    } else if (failure_) {
        std::rethrow_exception(failure_);
    } else {
        Raise(ErrorNumber::RecordDeleted);
    }
    loaded_ = index;
}

void RowList::LoadLong(std::int64_t index, std::size_t column, Value& value) {
    const Work work = source_.database->Begin(&taken_);
    const jet::Database::Reading reading(Storage());
    if (!MoveTo(places_[static_cast<std::size_t>(index)])) Raise(ErrorNumber::RecordDeleted);
    reader_->Read(static_cast<int>(column), value);
}

const Value& RowList::Get(std::int64_t index, int column) {
    if (loaded_ != index) Load(index);
    const auto place = static_cast<std::size_t>(column);
    Value& value = current_[place];
    if (has_images_ && !is_long_[place]) {
        if (read_from_[place] == image_number_) return value;
        query_->ReadImage(column, value);
        read_from_[place] = image_number_;
        return value;
    }
    asked_for_[place] = true;
    if (left_out_[place] && value.IsEmpty()) LoadLong(index, place, value);
    return value;
}

// Changes

sql::RowId RowList::Recognise(std::int64_t index) {
    Place& place = places_[static_cast<std::size_t>(index)];
    if (is_remote_ && place.row.value != 0) return place.row;
    if (!MoveTo(place)) Raise(ErrorNumber::RecordDeleted);
    const std::uint64_t identity = reader_->Identity();
    if (identity != place.identity) {
        place.identity = identity;
        Unload();
        block_.Clear();
        Raise(ErrorNumber::RecordChanged);
    }
    return place.row;
}

std::uint64_t RowList::IdentityOf(sql::RowId row) {
    if (is_remote_) return 1;
    return Reader().MoveTo(row) ? reader_->Identity() : 0;
}

void RowList::Changed(std::int64_t index, std::uint64_t identity) {
    places_[static_cast<std::size_t>(index)].identity = identity;
    Unload();
}

std::int64_t RowList::Added(sql::RowId row, std::uint64_t identity) {
    added_[row.value] = identity;
    found_ = -1;
    places_.insert(places_.begin() + seen_, {row, identity});
    Unload();
    return seen_++;
}

// Its place may be another row's soon.
void RowList::Deleted(std::int64_t index) {
    Place& place = places_[static_cast<std::size_t>(index)];
    added_.erase(place.row.value);
    place.row = {};
    Unload();
}

}  // namespace qmtrain::dao
