#include "dao/place_list.h"

#include <utility>

#include "core/error.h"
#include "jet/database.h"

namespace qmtrain::dao {
namespace {

// At least this many rows that were fetched before are asked of a server at once.
constexpr std::int64_t kRowsOfAnswer = 16;

// In the first block long values are read with their rows, as long as they are short ones.
constexpr std::size_t kMaxFirstBytes = std::size_t{16} << 10;

// How long a row of a server may be edited as it was fetched; an update compares it anyway.
constexpr std::chrono::seconds kFresh{1};

// Many lists have no more rows than this.
constexpr std::size_t kUsualRows = 8;

}  // namespace

PlaceList::PlaceList(Search search)
    : RowList(std::move(search)),
      is_remote_(query_->Tables()[query_->EditableTable()]->IsRemote()),
      has_images_(query_->HasImages()) {
    columns_.resize(current_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        columns_[i].is_long = !is_remote_ && IsLongValue(query_->Columns()[i].type);
        if (!has_images_ || columns_[i].is_long) packed_.push_back(i);
    }
    places_.reserve(kUsualRows);
}

bool PlaceList::FindRow() {
    found_ = -1;
    while (!complete_ && query_->Next()) {
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

void PlaceList::DropDeletedAhead() {
    if (seen_ >= Fetched()) return;
    const jet::Database::Reading reading(Storage());
    if (block_change_ == ChangeStamp()) return;
    Prefetch(seen_, Fetched() - seen_);
    const auto gone = std::remove_if(Begin(seen_), places_.end(), [&](const Place& place) { return !MoveTo(place); });
    if (gone != places_.end()) found_ = -1;
    places_.erase(gone, places_.end());
}

// The block

bool PlaceList::InBlock(std::int64_t index) const {
    const bool inside = index >= block_first_ && index < block_first_ + BlockRows();
    return inside && block_change_ == ChangeStamp();
}

void PlaceList::Pack(sql::Query& query) {
    static const qmtrain::Value kLater;
    if (has_images_ && packed_.empty()) return block_.AddBytes(query.Image());
    block_.Begin();
    if (has_images_) block_.AppendBytes(query.Image());
    for (const std::size_t column : packed_) {
        block_.Append(columns_[column].left_out ? kLater : query.Get(column));
    }
    block_.End();
}

void PlaceList::FillBlock(std::int64_t index) {
    const std::int64_t end = block_first_ + BlockRows();
    const bool goes_on = index > 0 && index == end && InBlock(end - 1);
    if (goes_on) {
        for (ColumnState& column : columns_) column.left_out = column.is_long && !column.asked_for;
    }
    StartBlock(goes_on);
    block_first_ = index;
    block_.Clear();
    failure_ = nullptr;
    if (is_remote_) fresh_until_ = std::chrono::steady_clock::now() + kFresh;
    const Work work = source_.database->Begin(taken_.get());
    const jet::Database::Reading reading(Storage());
    block_change_ = ChangeStamp();
    while (Fetched() < index && NextRow()) {
    }
    if (Fetched() < index) return;
    std::int64_t at = index;
    try {
        const std::size_t most_bytes = goes_on || !HasLong() ? kMaxBlockBytes : kMaxFirstBytes;
        if (is_remote_ && index < Fetched() && !(found_ == index && found_change_ == block_change_)) {
            block_size_ = std::max(block_size_, kRowsOfAnswer);
            Prefetch(index, block_size_);
        }
        while (at < index + block_size_ && block_.Bytes() < most_bytes) {
            if (!FillRow(at)) return;
            Cover();
            WidenBlock(goes_on, ++at);
        }
        // After the last row a caller asks whether there is another one.
        if (at == Fetched() && !complete_ && query_->NextIsCheap()) NextRow();
    } catch (const AutomationError&) {
        // A row that cannot be read is an error for the call that reaches it.
        if (at == index && Fetched() <= index) throw;
        (Fetched() > at ? failure_ : search_failure_) = std::current_exception();
    }
}

// False when there is no such row, or no longer.
bool PlaceList::FillRow(std::int64_t index) {
    while (index < Fetched()) {
        // The row that was found last is still at hand if nothing has changed since.
        if (found_ == index && found_change_ == block_change_) {
            Pack(*query_);
            return true;
        }
        if (Place& place = At(index); MoveTo(place)) {
            if (!reader_->HasKeyIdentity()) place.identity = reader_->Identity();
            Pack(*reader_);
            return true;
        }
        if (index < seen_) return false;
        found_ = -1;
        places_.erase(Begin(index));  // deleted before it was reached
    }
    if (!NextRow()) return false;
    Pack(*query_);
    return true;
}

// Going back to rows

sql::Query& PlaceList::Reader() {
    if (reader_) return *reader_;
    QueryPtr reader = source_.Open();
    RequireSameColumns(*query_, *reader);
    reader_ = std::move(reader);
    return *reader_;
}

void PlaceList::Prefetch(std::int64_t from, std::int64_t rows) {
    if (!is_remote_) return;
    std::vector<sql::RowId> wanted;
    for (std::int64_t i = from; i < std::min(from + rows, Fetched()); ++i) {
        const Place& place = At(i);
        if (place.row.value != 0) wanted.push_back(place.row);
    }
    Reader().Prefetch(wanted);
}

bool PlaceList::MoveTo(const Place& place) {
    if (place.row.value == 0 || !Reader().MoveTo(place.row)) return false;
    if (is_remote_) return true;
    const std::uint64_t identity = reader_->Identity();
    if (identity == place.identity) return true;
    // Where only its content identifies a row, a changed one counts as the same until it is to be changed here.
    return !reader_->HasKeyIdentity();
}

void PlaceList::ReadRow(std::int64_t index, std::vector<Value>& values) {
    values.resize(current_.size());
    if (TakeFresh(index, values)) return;
    const jet::Database::Reading reading(Storage());
    if (!MoveTo(At(index))) Raise(ErrorNumber::RecordDeleted);
    for (std::size_t i = 0; i < values.size(); ++i) reader_->Read(i, values[i]);
}

// A server's answer is reused for a moment; asking again, as after a refused edit, queries it anew.
bool PlaceList::TakeFresh(std::int64_t index, std::vector<Value>& values) {
    if (!is_remote_ || std::chrono::steady_clock::now() > std::exchange(fresh_until_, {}) || !InBlock(index))
        return false;
    if (loaded_ != index) Load(index);
    values = current_;
    return true;
}

void PlaceList::LookAt(std::int64_t index, std::vector<Value>& values) {
    if (!is_remote_) return ReadRow(index, values);
    if (loaded_ != index) Load(index);
    values = current_;
}

void PlaceList::Load(std::int64_t index) {
    if (!InBlock(index)) FillBlock(index);
    if (BlockRows() > 0) {
        const std::uint8_t* at = block_.At(static_cast<std::size_t>(index - block_first_));
        if (has_images_) {
            std::span<const std::uint8_t> image;
            at = PackedRows::Take(at, image);
            query_->ShowImage(image);
            ++image_number_;
        }
        for (const std::size_t column : packed_) at = PackedRows::Take(at, current_[column]);
    } else if (failure_) {
        std::rethrow_exception(failure_);
    } else {
        Raise(ErrorNumber::RecordDeleted);
    }
    loaded_ = index;
}

void PlaceList::LoadLong(std::int64_t index, std::size_t column, Value& value) {
    const Work work = source_.database->Begin(taken_.get());
    const jet::Database::Reading reading(Storage());
    if (!MoveTo(At(index))) Raise(ErrorNumber::RecordDeleted);
    reader_->Read(column, value);
}

const Value& PlaceList::Get(std::int64_t index, std::size_t column) {
    if (loaded_ != index) Load(index);
    Value& value = current_[column];
    ColumnState& state = columns_[column];
    if (has_images_ && !state.is_long) {
        if (state.read_from == image_number_) return value;
        query_->ReadImage(column, value);
        state.read_from = image_number_;
        return value;
    }
    state.asked_for = true;
    if (state.left_out && value.IsEmpty()) LoadLong(index, column, value);
    return value;
}

// Changes

sql::RowId PlaceList::Recognise(std::int64_t index) {
    Place& place = At(index);
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

std::uint64_t PlaceList::IdentityOf(sql::RowId row) {
    if (is_remote_) return 1;
    return Reader().MoveTo(row) ? reader_->Identity() : 0;
}

void PlaceList::Changed(std::int64_t index, std::uint64_t identity) {
    At(index).identity = identity;
    Unload();
}

std::int64_t PlaceList::Added(sql::RowId row, std::uint64_t identity) {
    added_[row.value] = identity;
    found_ = -1;
    places_.insert(Begin(seen_), {row, identity});
    Unload();
    return seen_++;
}

// Its place may be another row's soon.
void PlaceList::Deleted(std::int64_t index) {
    Place& place = At(index);
    added_.erase(place.row.value);
    place.row = {};
    Unload();
}

}  // namespace qmtrain::dao
