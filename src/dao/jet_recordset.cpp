#include "dao/jet_recordset.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "dao/column_types.h"
#include "dao/recordset_table.h"
#include "jet/database.h"

namespace qmtrain::dao {
namespace {

// A block has no more rows, and about no more bytes of texts.
constexpr std::int64_t kMaxBlockRows = 256;
constexpr std::int64_t kBlockGrowth = 4;

// Where the next rows are found at once, so many come with the first one: a scope costs as much as reading some ten.
constexpr std::int64_t kFirstCheapRows = 8;
constexpr std::int64_t kCheapBlockGrowth = 32;
constexpr std::size_t kMaxBlockBytes = std::size_t{256} << 10;

// Rows that are only counted are looked for in one scope.
constexpr std::int64_t kKeysInScope = 4096;

Bytes ToBookmark(std::int64_t position) {
    Bytes bookmark(sizeof position);
    std::memcpy(bookmark.data(), &position, sizeof position);
    return bookmark;
}

// A scope in which a row is changed: the file is kept for writing unless the row is elsewhere.
class ChangeScope {
public:
    ChangeScope(jet::Database& storage, bool elsewhere) {
        if (elsewhere)
            reading_.emplace(storage);
        else
            writing_.emplace(storage);
    }
    void Commit() {
        if (writing_) writing_->Commit();
    }

private:
    std::optional<jet::Database::Reading> reading_;
    std::optional<jet::Database::Writing> writing_;
};

}  // namespace

// Field

const std::u16string& JetField::Name() const {
    recordset_.RequireOpen();
    return recordset_.query_->Columns()[static_cast<std::size_t>(position_)].name;
}

FieldType JetField::Type() const {
    recordset_.RequireOpen();
    return FieldTypeOf(recordset_.query_->Columns()[static_cast<std::size_t>(position_)].type);
}

int JetField::Size() const {
    recordset_.RequireOpen();
    const sql::OutputColumn& column = recordset_.query_->Columns()[static_cast<std::size_t>(position_)];
    return FieldSizeOf(column.type, column.size);
}

const Value& JetField::Value() const {
    return recordset_.Get(position_);
}
void JetField::Value(const qmtrain::Value& value) {
    recordset_.Set(position_, value);
}

std::int32_t JetField::FieldSize() const {
    const qmtrain::Value& value = Value();
    if (value.IsText()) return static_cast<std::int32_t>(value.Text().size());
    if (value.GetType() == qmtrain::Value::Type::Binary) return static_cast<std::int32_t>(value.Binary().size());
    return value.IsNull() || value.IsEmpty() ? 0 : Size();
}

qmtrain::Value JetField::GetChunk(std::int32_t offset, std::int32_t count) const {
    if (offset < 0 || count < 0) Raise(ErrorNumber::InvalidProcedureCall);
    const qmtrain::Value& value = Value();
    const auto from = static_cast<std::size_t>(offset);
    if (value.IsText()) {
        const std::u16string_view text = value.Text();
        return from >= text.size() ? qmtrain::Value(u"")
                                   : qmtrain::Value(text.substr(from, static_cast<std::size_t>(count)));
    }
    if (value.GetType() != qmtrain::Value::Type::Binary) return Null{};
    const Bytes& bytes = value.Binary();
    const std::size_t begin = std::min(from, bytes.size());
    const std::size_t end = std::min(begin + static_cast<std::size_t>(count), bytes.size());
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.begin() + static_cast<std::ptrdiff_t>(end));
}

// The first chunk of an edit replaces what was there.
void JetField::AppendChunk(const qmtrain::Value& chunk) {
    if (recordset_.editing_ == JetRecordset::Editing::Nothing) Raise(ErrorNumber::UpdateWithoutEdit);
    const bool first = !recordset_.changed_[static_cast<std::size_t>(position_)];
    const qmtrain::Value& before = recordset_.edited_[static_cast<std::size_t>(position_)];
    if (first || before.GetType() != chunk.GetType()) {
        Value(chunk);
    } else if (chunk.IsText()) {
        Value(before.Text() + chunk.Text());
    } else {
        Bytes joined = before.Binary();
        joined.insert(joined.end(), chunk.Binary().begin(), chunk.Binary().end());
        Value(std::move(joined));
    }
}

// Opening and moving

JetRecordset::JetRecordset(std::shared_ptr<JetDatabase> database, sql::Statement statement)
    : database_(std::move(database)), statement_(std::make_unique<sql::Statement>(std::move(statement))) {
    const Work work = database_->Begin(&spent_);
    const jet::Database::Reading reading(Storage());
    query_ = OpenQuery();
    updatable_ = query_->Updatable();
    has_images_ = query_->HasImages();
    const std::size_t width = query_->Columns().size();
    fields_.reserve(width);
    is_long_.resize(width);
    asked_for_.resize(width);
    left_out_.resize(width);
    current_.resize(width);
    read_from_.resize(width);
    for (std::size_t i = 0; i < width; ++i) {
        fields_.push_back(std::make_unique<JetField>(*this, static_cast<int>(i)));
        const sql::ColumnType type = query_->Columns()[i].type;
        is_long_[i] = updatable_ && (type == sql::ColumnType::Memo || type == sql::ColumnType::LongBinary);
        if (!has_images_ || is_long_[i]) packed_.push_back(static_cast<int>(i));
    }
    keys_.reserve(kFirstCheapRows);
    Reach(0);
}

JetRecordset::~JetRecordset() = default;

void JetRecordset::EndQuery::operator()(sql::Query* query) const {
    const auto lock = session->Lock();
    delete query;
}

std::unique_ptr<sql::Query, JetRecordset::EndQuery> JetRecordset::OpenQuery() const {
    return {sql::Open(database_->Tables(), *statement_).release(), EndQuery{Storage().SharedSession()}};
}

void JetRecordset::RequireOpen() const {
    if (!query_ || !database_->IsOpen()) Raise(ErrorNumber::ObjectInvalid);
}

jet::Database& JetRecordset::Storage() const {
    return database_->Storage();
}

std::uint64_t JetRecordset::ChangeStamp() const {
    return database_->KnownChanges();
}

bool JetRecordset::IsRemote() const {
    return query_->Tables()[0]->IsRemote();
}

bool JetRecordset::Updatable() {
    RequireOpen();
    return updatable_ && (IsRemote() || Storage().ReadOnlyReason().empty());
}

bool JetRecordset::Reach(std::int64_t index) {
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
void JetRecordset::DropDeletedAhead() {
    if (!updatable_ || seen_ >= Fetched()) return;
    const jet::Database::Reading reading(Storage());
    if (block_change_ == ChangeStamp()) return;
    const auto gone =
        std::remove_if(keys_.begin() + seen_, keys_.end(), [&](sql::RowId row) { return !Reader().MoveTo(row); });
    if (gone != keys_.end()) found_ = -1;
    keys_.erase(gone, keys_.end());
}

void JetRecordset::ReachAll() {
    const Work work = database_->Begin(&spent_);
    DropDeletedAhead();
    while (!complete_) {
        const jet::Database::Reading reading(Storage());
        for (std::int64_t rows = 0; rows < kKeysInScope && NextKey(); ++rows) {
        }
    }
    seen_ = Fetched();
}

void JetRecordset::GoTo(std::int64_t index) {
    editing_ = Editing::Nothing;
    loaded_ = false;
    if (index < 0) {
        position_ = -1;
    } else {
        position_ = Reach(index) ? index : Count();
    }
}

// The block

// Rows that are kept are in the block for ever.
bool JetRecordset::InBlock(std::int64_t index) const {
    if (!updatable_) return index < Fetched();
    const bool inside = index >= block_first_ && index < block_first_ + BlockRows();
    return inside && block_change_ == ChangeStamp();
}

// Finds one more row; its values can be read from the query. A search that was called off in its middle is over.
bool JetRecordset::NextKey() {
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

bool JetRecordset::FindKey() {
    while (!complete_ && query_->Next()) {
        if (!updatable_) {
            Pack(*query_, kept_);
            if (kept_.Size() % kMaxBlockRows == 0) Work::Hold(kept_.Bytes());
            return true;
        }
        if (!added_.empty() && added_.contains(query_->Row().value)) continue;
        found_ = Fetched();
        keys_.push_back(query_->Row());
        found_change_ = ChangeStamp();
        return true;
    }
    complete_ = true;
    return false;
}

void JetRecordset::Pack(sql::Query& query, RowBuffer& rows) const {
    static const qmtrain::Value kLater;
    if (has_images_ && packed_.empty()) return rows.AddBytes(query.Image());
    rows.Begin();
    if (has_images_) rows.AppendBytes(query.Image());
    for (const int column : packed_) {
        rows.Append(left_out_[static_cast<std::size_t>(column)] ? kLater : query.Get(column));
    }
    rows.End();
}

sql::Query& JetRecordset::Reader() {
    if (!reader_) reader_ = OpenQuery();
    return *reader_;
}

void JetRecordset::FillBlock(std::int64_t index) {
    const std::int64_t end = updatable_ ? block_first_ + BlockRows() : Fetched();
    const bool goes_on = index > 0 && index == end && InBlock(end - 1);
    for (std::size_t i = 0; goes_on && i < is_long_.size(); ++i) left_out_[i] = is_long_[i] && !asked_for_[i];
    const std::int64_t growth = query_->NextIsCheap() ? kCheapBlockGrowth : kBlockGrowth;
    block_size_ = goes_on ? std::min(block_size_ * growth, kMaxBlockRows) : 1;
    block_first_ = index;
    loaded_ = false;
    block_.Clear();
    failure_ = nullptr;
    const Work work = database_->Begin(&spent_);
    const jet::Database::Reading reading(Storage());
    block_change_ = ChangeStamp();
    while (Fetched() < index && NextKey()) {
    }
    if (Fetched() < index) return;
    std::int64_t at = index;
    try {
        const std::size_t before = kept_.Bytes();
        while (at < index + block_size_ && block_.Bytes() + kept_.Bytes() - before < kMaxBlockBytes) {
            if (!FillRow(at)) return;
            ++at;
            if (!goes_on && at == Fetched() && !complete_ && !HasLong() && query_->NextIsCheap()) {
                block_size_ = kFirstCheapRows;
            }
        }
        // Whoever reads the last row asks next whether there is another one.
        if (at == Fetched() && !complete_ && query_->NextIsCheap()) NextKey();
    } catch (const AutomationError&) {
        // A row that cannot be read is a matter of those who come to it.
        if (at == index && Fetched() <= index) throw;
        (Fetched() > at && updatable_ ? failure_ : search_failure_) = std::current_exception();
    }
}

// False when there is no such row, or no longer.
bool JetRecordset::FillRow(std::int64_t index) {
    while (index < Fetched()) {
        if (!updatable_) return true;
        // The row that was found last is still at hand if nothing has changed since.
        if (found_ == index && found_change_ == block_change_) {
            Pack(*query_, block_);
            return true;
        }
        if (Reader().MoveTo(keys_[static_cast<std::size_t>(index)])) {
            Pack(*reader_, block_);
            return true;
        }
        if (index < seen_) return false;
        found_ = -1;
        keys_.erase(keys_.begin() + index);  // deleted before it was reached
    }
    if (!NextKey()) return false;
    if (updatable_) Pack(*query_, block_);
    return true;
}

bool JetRecordset::Eof() {
    RequireOpen();
    return !Reach(0) || position_ >= Count();
}

bool JetRecordset::Bof() {
    RequireOpen();
    return !Reach(0) || position_ < 0;
}

void JetRecordset::MoveFirst() {
    RequireOpen();
    if (!Reach(0)) Raise(ErrorNumber::NoCurrentRecord);
    GoTo(0);
}

void JetRecordset::MoveLast() {
    RequireOpen();
    ReachAll();
    if (Count() == 0) Raise(ErrorNumber::NoCurrentRecord);
    GoTo(Count() - 1);
}

void JetRecordset::MoveNext() {
    if (Eof()) Raise(ErrorNumber::NoCurrentRecord);
    GoTo(position_ + 1);
}

void JetRecordset::MovePrevious() {
    if (Bof()) Raise(ErrorNumber::NoCurrentRecord);
    GoTo(position_ - 1);
}

void JetRecordset::Move(std::int32_t rows) {
    if ((rows > 0 && Eof()) || (rows < 0 && Bof())) Raise(ErrorNumber::NoCurrentRecord);
    if (rows != 0) GoTo(std::max<std::int64_t>(position_ + rows, -1));
}

std::int32_t JetRecordset::RecordCount() {
    RequireOpen();
    return static_cast<std::int32_t>(Count());
}

std::int32_t JetRecordset::TrueRecordCount() {
    RequireOpen();
    ReachAll();
    return static_cast<std::int32_t>(Count());
}

// Reading

const std::vector<std::unique_ptr<Field>>& JetRecordset::Fields() {
    RequireOpen();
    return fields_;
}

Field& JetRecordset::Fields(std::u16string_view name) {
    RequireOpen();
    const std::vector<sql::OutputColumn>& columns = query_->Columns();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (EqualNames(columns[i].name, name)) return *fields_[i];
    }
    Raise(ErrorNumber::FieldNotFound, {name});
}

Field& JetRecordset::Fields(int position) {
    RequireOpen();
    if (position < 0 || static_cast<std::size_t>(position) >= fields_.size()) {
        Raise(ErrorNumber::FieldNotFound, {ToText(std::int64_t{position})});
    }
    return *fields_[static_cast<std::size_t>(position)];
}

void JetRecordset::ReadRow(std::int64_t index, std::vector<Value>& values) {
    values.resize(fields_.size());
    if (!updatable_) {
        kept_.Get(static_cast<std::size_t>(index), values);
        return;
    }
    const jet::Database::Reading reading(Storage());
    if (!Reader().MoveTo(keys_[static_cast<std::size_t>(index)])) Raise(ErrorNumber::RecordDeleted);
    for (std::size_t i = 0; i < values.size(); ++i) reader_->Read(static_cast<int>(i), values[i]);
}

void JetRecordset::LoadCurrent() {
    if (loaded_) return;
    if (Eof() || Bof()) Raise(ErrorNumber::NoCurrentRecord);
    if (!InBlock(position_)) FillBlock(position_);
    if (!updatable_) {
        kept_.Get(static_cast<std::size_t>(position_), current_);
    } else if (BlockRows() > 0) {
        const std::uint8_t* at = block_.At(static_cast<std::size_t>(position_ - block_first_));
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
    loaded_ = true;
}

void JetRecordset::LoadLong(std::size_t position, Value& value) {
    const jet::Database::Reading reading(Storage());
    if (!Reader().MoveTo(keys_[static_cast<std::size_t>(position_)])) Raise(ErrorNumber::RecordDeleted);
    reader_->Read(static_cast<int>(position), value);
}

const Value& JetRecordset::Get(int position) {
    RequireOpen();
    const auto place = static_cast<std::size_t>(position);
    if (editing_ != Editing::Nothing) return edited_[place];
    LoadCurrent();
    Value& value = current_[place];
    if (has_images_ && !is_long_[place]) {
        if (read_from_[place] == image_number_) return value;
        query_->ReadImage(position, value);
        read_from_[place] = image_number_;
        return value;
    }
    asked_for_[place] = true;
    if (left_out_[place] && value.IsEmpty()) LoadLong(place, value);
    return value;
}

// Editing

void JetRecordset::Set(int position, const Value& value) {
    RequireOpen();
    if (!Updatable()) Raise(ErrorNumber::ReadOnly, {Storage().FileName(), u"该记录集是只读的。"});
    if (editing_ == Editing::Nothing) Raise(ErrorNumber::UpdateWithoutEdit);
    const sql::OutputColumn& output = query_->Columns()[static_cast<std::size_t>(position)];
    if (output.column < 0) Raise(ErrorNumber::ReadOnly, {output.name, u"它是计算出来的。"});
    const sql::Column& column = query_->Tables()[0]->Columns()[static_cast<std::size_t>(output.column)];
    edited_[static_cast<std::size_t>(position)] = sql::ConvertToColumn(value, column);
    changed_[static_cast<std::size_t>(position)] = true;
}

void JetRecordset::AddNew() {
    RequireOpen();
    if (!Updatable()) Raise(ErrorNumber::ReadOnly, {Storage().FileName(), u"该记录集是只读的。"});
    editing_ = Editing::Adding;
    edited_.assign(fields_.size(), Null{});
    changed_.assign(fields_.size(), false);
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        const sql::OutputColumn& output = query_->Columns()[i];
        if (output.column < 0) continue;
        const Value value = sql::DefaultValue(query_->Tables()[0]->Columns()[static_cast<std::size_t>(output.column)]);
        if (!value.IsEmpty()) edited_[i] = value;
    }
}

void JetRecordset::Edit() {
    RequireOpen();
    if (!Updatable()) Raise(ErrorNumber::ReadOnly, {Storage().FileName(), u"该记录集是只读的。"});
    LoadCurrent();
    ReadRow(position_, edited_);  // what others have changed meanwhile counts
    changed_.assign(fields_.size(), false);
    editing_ = Editing::Changing;
}

// A failing Update leaves the edit open, so that it can be corrected or given up.
void JetRecordset::Update() {
    RequireOpen();
    if (editing_ == Editing::Nothing) Raise(ErrorNumber::UpdateWithoutEdit);
    sql::Table& table = *query_->Tables()[0];
    const Work work = database_->Begin();
    ChangeScope writing(Storage(), IsRemote());
    if (editing_ == Editing::Changing) {
        std::vector<sql::Assignment> changes;
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            if (changed_[i]) changes.push_back({query_->Columns()[i].column, edited_[i]});
        }
        table.Update(keys_[static_cast<std::size_t>(position_)], changes);
        writing.Commit();
        last_modified_ = position_;
    } else {
        std::vector<Value> row;
        for (const sql::Column& column : table.Columns()) row.push_back(sql::DefaultValue(column));
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            if (changed_[i]) row[static_cast<std::size_t>(query_->Columns()[i].column)] = edited_[i];
        }
        const sql::RowId added = table.Insert(row);
        writing.Commit();
        // It belongs to the record set from now on, at its end as far as that has been seen.
        const bool at_end = position_ >= Count();
        added_.insert(added.value);
        found_ = -1;
        keys_.insert(keys_.begin() + seen_, added);
        last_modified_ = seen_++;
        if (at_end) position_ = Count();
    }
    editing_ = Editing::Nothing;
    loaded_ = false;
}

void JetRecordset::CancelUpdate() {
    RequireOpen();
    if (editing_ == Editing::Nothing) Raise(ErrorNumber::UpdateWithoutEdit);
    editing_ = Editing::Nothing;
}

// The deleted row stays current until the record set moves, but can no longer be read.
void JetRecordset::Delete() {
    RequireOpen();
    if (!Updatable()) Raise(ErrorNumber::ReadOnly, {Storage().FileName(), u"该记录集是只读的。"});
    if (Eof() || Bof()) Raise(ErrorNumber::NoCurrentRecord);
    editing_ = Editing::Nothing;
    const Work work = database_->Begin();
    ChangeScope writing(Storage(), IsRemote());
    query_->Tables()[0]->Delete(keys_[static_cast<std::size_t>(position_)]);
    writing.Commit();
    loaded_ = false;
}

Bytes JetRecordset::Bookmark() {
    if (Eof() || Bof()) Raise(ErrorNumber::NoCurrentRecord);
    return ToBookmark(position_);
}

void JetRecordset::Bookmark(const Bytes& bookmark) {
    RequireOpen();
    std::int64_t position = -1;
    if (bookmark.size() == sizeof position) std::memcpy(&position, bookmark.data(), sizeof position);
    if (position < 0 || position >= Count()) Raise(ErrorNumber::InvalidBookmark);
    GoTo(position);
}

Bytes JetRecordset::LastModified() {
    RequireOpen();
    if (last_modified_ < 0) Raise(ErrorNumber::NoCurrentRecord);
    return ToBookmark(last_modified_);
}

// Finding

void JetRecordset::FindFirst(std::u16string_view criteria) {
    Find(criteria, 0);
}
void JetRecordset::FindNext(std::u16string_view criteria) {
    Find(criteria, position_ + 1);
}

void JetRecordset::Find(std::u16string_view criteria, std::int64_t from) {
    RequireOpen();
    const sql::Statement condition = sql::Parse(u"SELECT * FROM [Rows] WHERE " + std::u16string(criteria));
    const Work work = database_->Begin(&spent_);
    const jet::Database::Reading reading(Storage());
    const auto rows = CatalogOfRows(*this, std::max<std::int64_t>(from, 0));
    const auto matches = sql::Open(*rows, condition);
    no_match_ = !matches->Next();
    if (!no_match_) GoTo(static_cast<std::int64_t>(matches->Row().value) - 1);
}

void JetRecordset::Close() {
    RequireOpen();
    reader_.reset();
    query_.reset();
}

}  // namespace qmtrain::dao
