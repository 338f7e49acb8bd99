#include "dao/table_navigator.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/error.h"
#include "core/text.h"
#include "jet/database.h"
#include "sql/values.h"

namespace qmtrain::dao {
namespace {

// A row of a table, and its identity.
struct TableBookmark {
    std::uint64_t identity;
    std::uint32_t row;
};
constexpr std::size_t kBookmarkSize = sizeof(std::uint64_t) + sizeof(std::uint32_t);

bool IsLong(const sql::Column& column) {
    return IsLongValue(column.type);
}

}  // namespace

TableNavigator::TableNavigator(RowSource source, bool on_first)
    : source_(std::move(source)),
      query_([this] {
          const jet::Database::Reading reading(Storage());
          return source_.Open();
      }()),
      identities_(GetTable()) {
    const jet::Database::Reading reading(Storage());
    cursor_ = GetTable().OpenCursor();
    reader_ = GetTable().OpenCursor();
    values_.resize(GetTable().Columns().size());
    order_ = OwnChoice();
    if (!on_first) return;
    if (All() > 0)
        GoToEnd(false);
    else
        where_ = Where::After;
}

// Cursors refer to pages that other threads may be using.
TableNavigator::~TableNavigator() {
    const auto lock = query_.get_deleter().session->Lock();
    cursor_.reset();
    reader_.reset();
}

// The primary key's index, else any other that has an entry for each row.
std::size_t TableNavigator::OwnChoice() const {
    std::size_t found = kNoPosition;
    const std::vector<sql::Index>& indexes = GetTable().Indexes();
    for (std::size_t i = 0; i < indexes.size(); ++i) {
        if (!indexes[i].ignore_nulls && (found == kNoPosition || indexes[i].primary)) found = i;
    }
    return found;
}

std::u16string TableNavigator::Index() const {
    return chosen_ ? CurrentIndex().name : std::u16string();
}

void TableNavigator::Index(std::u16string_view name) {
    const std::vector<sql::Index>& indexes = GetTable().Indexes();
    const auto found =
        std::ranges::find_if(indexes, [&](const sql::Index& index) { return EqualNames(index.name, name); });
    if (!name.empty() && found == indexes.end()) Raise(ErrorNumber::IndexNotFound, {name});
    chosen_ = !name.empty();
    order_ = chosen_ ? found - indexes.begin() : OwnChoice();
    positioned_ = false;
    if (All() > 0) GoToEnd(false);
}

// Moving

bool TableNavigator::Eof() {
    return where_ == Where::After || (where_ == Where::Before && All() == 0);
}

bool TableNavigator::Bof() {
    return where_ == Where::Before || (where_ == Where::After && All() == 0);
}

std::int64_t TableNavigator::All() {
    const jet::Database::Reading reading(Storage());
    return GetTable().RowCount();
}

void TableNavigator::GoToEnd(bool last) {
    const jet::Database::Reading reading(Storage());
    const Where before = std::exchange(where_, last ? Where::After : Where::Before);
    positioned_ = false;
    Step(last);
    if (where_ == Where::On) return;
    where_ = before;
    Raise(ErrorNumber::NoCurrentRecord);
}

void TableNavigator::Step(bool backwards) {
    const Where end = backwards ? Where::Before : Where::After;
    if (where_ == end) Raise(ErrorNumber::NoCurrentRecord);
    const Work work = source_.database->Begin();
    const jet::Database::Reading reading(Storage());
    if (!(order_ != kNoPosition ? StepInIndex(backwards) : StepInPlaces(backwards))) {
        where_ = end;
        positioned_ = false;
    }
}

bool TableNavigator::StepInIndex(bool backwards) {
    bool on_next = false;
    if (!positioned_ || backwards_ != backwards) {
        backwards_ = backwards;
        positioned_ = true;
        if (where_ == Where::On)
            on_next = FindPlace(backwards);
        else
            cursor_->Range(order_, {}, backwards);
    }
    if (!on_next && !cursor_->Next()) return false;
    StandOnCursor();
    return true;
}

// Brings the cursor to the current row. True when that is no longer there, and the cursor has come to the next one.
bool TableNavigator::FindPlace(bool backwards) {
    const bool can_seek = GetTable().CanSeek(order_, key_);
    sql::KeyRange range;
    if (can_seek) (backwards ? range.high : range.low) = sql::KeyBound{key_, true};
    cursor_->Range(order_, range, backwards);
    while (cursor_->Next()) {
        if (cursor_->Row() == row_) return false;
        if (!can_seek) continue;
        // Entries of one key stand in the order of their rows.
        Value value;
        bool same_key = true;
        for (std::size_t i = 0; same_key && i < key_.size(); ++i) {
            cursor_->Read(CurrentIndex().columns[i].column, value);
            same_key =
                value.IsNull() == key_[i].IsNull() && (value.IsNull() || sql::CompareValues(value, key_[i]) == 0);
        }
        const bool passed = backwards ? cursor_->Row() < row_ : cursor_->Row() > row_;
        if (!same_key || passed) return true;
    }
    return false;
}

bool TableNavigator::StepInPlaces(bool backwards) {
    if (!has_places_ || places_change_ != source_.ChangeStamp()) {
        places_.clear();
        for (cursor_->Scan(); cursor_->Next();) places_.push_back(cursor_->Row());
        std::ranges::sort(places_);
        places_change_ = source_.ChangeStamp();
        has_places_ = true;
    }
    auto next = places_.end();
    if (backwards) {
        auto at = where_ == Where::On ? std::ranges::lower_bound(places_, row_) : places_.end();
        if (at == places_.begin()) return false;
        next = --at;
    } else {
        next = where_ == Where::On ? std::ranges::upper_bound(places_, row_) : places_.begin();
    }
    if (next == places_.end()) return false;
    StandOn(*next);
    return true;
}

void TableNavigator::Move(std::int64_t rows) {
    if (rows == 0) return;
    const bool backwards = rows < 0;
    Step(backwards);
    const jet::Database::Reading reading(Storage());
    for (rows += backwards ? 1 : -1; rows != 0 && where_ == Where::On; rows += backwards ? 1 : -1) Step(backwards);
}

void TableNavigator::StandOn(sql::RowId row) {
    if (!reader_->MoveTo(row)) Raise(ErrorNumber::RecordDeleted);
    row_ = row;
    where_ = Where::On;
    identity_ = identities_.Of(*reader_);
    deleted_ = false;
    loaded_ = false;
    key_.clear();
    if (order_ == kNoPosition) return;
    for (const sql::IndexColumn& part : CurrentIndex().columns) reader_->Read(part.column, key_.emplace_back());
}

void TableNavigator::StandOnCursor() {
    StandOn(cursor_->Row());
}

// Bookmarks

Bytes TableNavigator::Bookmark() {
    RequireRow();
    const TableBookmark bookmark{identity_, row_.value};
    Bytes bytes(kBookmarkSize);
    std::memcpy(bytes.data(), &bookmark, kBookmarkSize);
    return bytes;
}

void TableNavigator::GoTo(const Bytes& bytes) {
    if (bytes.size() != kBookmarkSize) Raise(ErrorNumber::InvalidBookmark);
    TableBookmark bookmark{};
    std::memcpy(&bookmark, bytes.data(), kBookmarkSize);
    const jet::Database::Reading reading(Storage());
    const sql::RowId row{bookmark.row};
    const bool known = row.value != 0 && reader_->MoveTo(row);
    if (!known || (identities_.IsByKey() && identities_.Of(*reader_) != bookmark.identity))
        Raise(ErrorNumber::RecordDeleted);
    StandOn(row);
    positioned_ = false;
}

float TableNavigator::Percent() {
    RequireRow();
    const jet::Database::Reading reading(Storage());
    std::int64_t before = 0;
    if (order_ != kNoPosition)
        for (cursor_->Range(order_, {}, false); cursor_->Next() && cursor_->Row() != row_;) ++before;
    else
        for (cursor_->Scan(); cursor_->Next();) before += cursor_->Row() < row_ ? 1 : 0;
    positioned_ = false;
    return static_cast<float>(before) * 100.0F / static_cast<float>(std::max<std::int64_t>(All(), 1));
}

void TableNavigator::Percent(float percent) {
    const std::int64_t count = All();
    const auto index = static_cast<std::int64_t>(static_cast<double>(percent) / 100.0 * static_cast<double>(count));
    GoToEnd(false);
    Move(std::min(index, count - 1));
}

// Reading

void TableNavigator::RequireRow() {
    if (where_ != Where::On) Raise(ErrorNumber::NoCurrentRecord);
}

// Whether the current row is still there; the reader stands on it then.
bool TableNavigator::IsSameRow() {
    return !deleted_ && reader_->MoveTo(row_) && (!identities_.IsByKey() || identities_.Of(*reader_) == identity_);
}

const Value& TableNavigator::Get(std::size_t column) {
    RequireRow();
    const std::vector<sql::Column>& columns = GetTable().Columns();
    if (loaded_ && !(IsLong(columns[column]) && values_[column].IsEmpty())) return values_[column];
    const jet::Database::Reading reading(Storage());
    if (!IsSameRow()) Raise(ErrorNumber::RecordDeleted);
    if (loaded_) {
        reader_->Read(column, values_[column]);
        return values_[column];
    }
    identity_ = identities_.Of(*reader_);
    for (std::size_t i = 0; i < values_.size(); ++i) {
        if (IsLong(columns[i]) && i != column)
            values_[i] = Value();
        else
            reader_->Read(i, values_[i]);
    }
    loaded_ = true;
    return values_[column];
}

void TableNavigator::ReadAll(std::vector<Value>& values) {
    RequireRow();
    const jet::Database::Reading reading(Storage());
    if (!IsSameRow()) Raise(ErrorNumber::RecordDeleted);
    values.resize(values_.size());
    for (std::size_t i = 0; i < values.size(); ++i) reader_->Read(i, values[i]);
    loaded_ = false;
}

// Changes

sql::RowId TableNavigator::Recognise() {
    RequireRow();
    if (!IsSameRow()) Raise(ErrorNumber::RecordDeleted);
    const std::uint64_t identity = identities_.Of(*reader_);
    if (std::exchange(identity_, identity) == identity) return row_;
    loaded_ = false;
    Raise(ErrorNumber::RecordChanged);
}

std::uint64_t TableNavigator::IdentityOf(sql::RowId row) {
    return reader_->MoveTo(row) ? identities_.Of(*reader_) : 0;
}

// It may stand elsewhere in the index now.
void TableNavigator::Changed(std::uint64_t identity) {
    identity_ = identity;
    loaded_ = false;
    positioned_ = false;
    const jet::Database::Reading reading(Storage());
    if (IsSameRow()) StandOn(row_);
}

Bytes TableNavigator::Added(sql::RowId row, std::uint64_t identity) {
    const TableBookmark bookmark{identity, row.value};
    Bytes bytes(kBookmarkSize);
    std::memcpy(bytes.data(), &bookmark, kBookmarkSize);
    return bytes;
}

// Its place in the order is kept, for the next move.
void TableNavigator::Deleted() {
    deleted_ = true;
    loaded_ = false;
    positioned_ = false;
}

std::unique_ptr<Navigator> TableNavigator::Clone() {
    auto clone = std::make_unique<TableNavigator>(source_, false);
    clone->chosen_ = chosen_;
    clone->order_ = order_;
    return clone;
}

// Seeking

bool TableNavigator::Seek(std::u16string_view comparison, std::span<const Value> keys) {
    if (!chosen_) Raise(ErrorNumber::NoCurrentIndex);
    const std::vector<sql::IndexColumn>& parts = CurrentIndex().columns;
    const bool equal = comparison == u"=";
    const bool backwards = comparison == u"<" || comparison == u"<=";
    const bool inclusive = comparison == u">=" || comparison == u"<=";
    if (!equal && !backwards && !inclusive && comparison != u">") Raise(ErrorNumber::InvalidArgument, {comparison});
    if (keys.empty() || keys.size() > parts.size()) Raise(ErrorNumber::InvalidArgument, {u"键值个数与索引不符。"});
    sql::KeyBound bound{{}, equal || inclusive};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const sql::Column& column = GetTable().Columns()[parts[i].column];
        bound.values.push_back(sql::ConvertToColumn(keys[i].IsEmpty() ? Value(Null{}) : keys[i], column));
    }
    const Work work = source_.database->Begin();
    const jet::Database::Reading reading(Storage());
    positioned_ = false;
    if (!GetTable().CanSeek(order_, bound.values)) {
        if (!equal) Raise(ErrorNumber::TextOrderUnsupported, {GetTable().Name(), CurrentIndex().name, u"Seek"});
        return MatchesBySearch(bound.values);
    }
    sql::KeyRange range;
    if (equal) range.kind = sql::KeyRange::Kind::Equal;
    (backwards ? range.high : range.low) = std::move(bound);
    cursor_->Range(order_, range, backwards);
    if (!cursor_->Next()) return false;
    StandOnCursor();
    return true;
}

// Through the whole index, for texts whose place in it is not known.
bool TableNavigator::MatchesBySearch(std::span<const Value> keys) {
    Value value;
    for (cursor_->Range(order_, {}, false); cursor_->Next();) {
        bool equal = true;
        for (std::size_t i = 0; equal && i < keys.size(); ++i) {
            cursor_->Read(CurrentIndex().columns[i].column, value);
            equal = !value.IsNull() && !keys[i].IsNull() && sql::CompareValues(value, keys[i]) == 0;
        }
        if (!equal) continue;
        StandOnCursor();
        return true;
    }
    return false;
}

}  // namespace qmtrain::dao
