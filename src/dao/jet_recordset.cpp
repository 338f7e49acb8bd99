#include "dao/jet_recordset.h"

#include <algorithm>
#include <utility>

#include "core/error.h"
#include "core/text.h"
#include "dao/list_navigator.h"
#include "dao/table_defs.h"
#include "dao/table_navigator.h"
#include "jet/database.h"

namespace qmtrain::dao {
namespace {

void CheckOptions(const Opening& opening) {
    switch (opening.type) {
        case RecordsetType::Table:
        case RecordsetType::Dynaset:
        case RecordsetType::Snapshot:
        case RecordsetType::ForwardOnly: break;
        default:
            Raise(ErrorNumber::InvalidArgument,
                  {u"记录集类型 " + ToText(static_cast<std::int64_t>(opening.type)) + u"。"});
    }
    constexpr std::int32_t kRefused = kDenyWrite | kDenyRead | kInconsistent | kSqlPassThrough;
    constexpr std::int32_t kKnown =
        kRefused | kReadOnly | kAppendOnly | kConsistent | kFailOnError | kForwardOnly | kSeeChanges;
    const bool append_fits = opening.type == RecordsetType::Dynaset || (opening.options & kAppendOnly) == 0;
    if ((opening.options & ~kKnown) != 0 || !append_fits)
        Raise(ErrorNumber::InvalidArgument, {u"记录集选项 " + ToText(opening.options) + u"。"});
    if ((opening.options & kRefused) != 0)
        Raise(ErrorNumber::OperationNotSupported, {u"记录集选项 " + ToText(opening.options) + u"。"});
}

}  // namespace

// Opening

JetRecordset::JetRecordset(RowSource source, Opening opening)
    : source_(std::move(source)), opening_(std::move(opening)) {
    CheckOptions(opening_);
    rows_ = MakeRows();
    edit_.emplace(source_, *rows_);
    MakeFields();
}

JetRecordset::JetRecordset(const JetRecordset& other, std::unique_ptr<Navigator> rows)
    : source_(other.source_), opening_(other.opening_), rows_(std::move(rows)), lock_edits_(other.lock_edits_) {
    edit_.emplace(source_, *rows_);
    MakeFields();
}

std::unique_ptr<Navigator> JetRecordset::MakeRows() const {
    const auto list = [&](RowList::Keep keep) {
        const bool empty = (opening_.options & kAppendOnly) != 0;
        return std::make_unique<ListNavigator>(RowList::Open(source_, keep, empty));
    };
    switch (opening_.type) {
        case RecordsetType::Table: return std::make_unique<TableNavigator>(source_);
        case RecordsetType::Snapshot: return list(RowList::Keep::Rows);
        case RecordsetType::ForwardOnly: return list(RowList::Keep::Window);
        default: return list(RowList::Keep::Places);
    }
}

void JetRecordset::MakeFields() {
    const std::size_t width = rows_->GetQuery().Columns().size();
    fields_.reserve(width);
    for (std::size_t i = 0; i < width; ++i) fields_.push_back(std::make_unique<JetField>(*this, i));
}

void JetRecordset::RequireOpen() const {
    if (!rows_ || !source_.database->IsOpen()) Raise(ErrorNumber::ObjectInvalid);
}

void JetRecordset::RequireType(std::initializer_list<RecordsetType> types, std::u16string_view member) const {
    RequireOpen();
    if (std::ranges::find(types, opening_.type) == types.end()) Raise(ErrorNumber::OperationNotSupported, {member});
}

void JetRecordset::RequireNotForwardOnly() const {
    RequireOpen();
    if (opening_.type == RecordsetType::ForwardOnly) Raise(ErrorNumber::InvalidOperation);
}

RecordsetType JetRecordset::Type() {
    RequireOpen();
    return opening_.type;
}

std::u16string JetRecordset::Name() {
    RequireOpen();
    return opening_.name;
}

void JetRecordset::Close() {
    RequireOpen();
    edit_.reset();
    rows_.reset();
}

// Moving

void JetRecordset::MoveFirst() {
    RequireNotForwardOnly();
    Moving().MoveFirst();
}

void JetRecordset::MoveLast() {
    RequireNotForwardOnly();
    Moving().MoveLast();
}

void JetRecordset::MovePrevious() {
    RequireNotForwardOnly();
    Moving().MovePrevious();
}

void JetRecordset::Move(std::int32_t rows, const Bytes& start) {
    if (rows < 0 || !start.empty()) RequireNotForwardOnly();
    if (!start.empty()) Moving().GoTo(start);
    Moving().Move(rows);
}

ListNavigator& JetRecordset::ListRows(std::u16string_view member) {
    RequireType({RecordsetType::Dynaset, RecordsetType::Snapshot}, member);
    return static_cast<ListNavigator&>(*rows_);
}

std::int32_t JetRecordset::AbsolutePosition() {
    return static_cast<std::int32_t>(ListRows(u"AbsolutePosition").Position());
}

void JetRecordset::AbsolutePosition(std::int32_t position) {
    ListNavigator& rows = ListRows(u"AbsolutePosition");
    if (position < 0 || position >= rows.All()) Raise(ErrorNumber::InvalidArgument, {u"AbsolutePosition"});
    edit_->Cancel();
    rows.GoTo(std::int64_t{position});
}

float JetRecordset::PercentPosition() {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}, u"PercentPosition");
    return rows_->Percent();
}

void JetRecordset::PercentPosition(float percent) {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}, u"PercentPosition");
    if (!(percent >= 0 && percent <= 100)) Raise(ErrorNumber::InvalidArgument, {u"PercentPosition"});
    Moving().Percent(percent);
}

bool JetRecordset::Bookmarkable() {
    RequireOpen();
    return opening_.type != RecordsetType::ForwardOnly;
}

Bytes JetRecordset::Bookmark() {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}, u"Bookmark");
    return rows_->Bookmark();
}

void JetRecordset::Bookmark(const Bytes& bookmark) {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}, u"Bookmark");
    Moving().GoTo(bookmark);
}

std::vector<std::vector<Value>> JetRecordset::GetRows(std::int32_t rows) {
    if (rows < 0) Raise(ErrorNumber::InvalidArgument, {u"GetRows"});
    Moving();
    if (Eof() || Bof()) Raise(ErrorNumber::NoCurrentRecord);
    std::vector<std::vector<Value>> taken;
    for (; rows > 0 && !Eof(); --rows, MoveNext()) {
        std::vector<Value>& row = taken.emplace_back();
        for (const auto& field : fields_) row.push_back(field->Value());
    }
    return taken;
}

// Fields

const std::vector<std::unique_ptr<Field>>& JetRecordset::Fields() {
    RequireOpen();
    return fields_;
}

Field& JetRecordset::Fields(std::u16string_view name) {
    const std::vector<sql::OutputColumn>& columns = Rows().GetQuery().Columns();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (EqualNames(columns[i].name, name)) return *fields_[i];
    }
    Raise(ErrorNumber::FieldNotFound, {name});
}

Field& JetRecordset::Fields(int position) {
    RequireOpen();
    if (position < 0 || static_cast<std::size_t>(position) >= fields_.size()) {
        Raise(ErrorNumber::FieldNotFound, {ToText(position)});
    }
    return *fields_[position];
}

const sql::OutputColumn& JetRecordset::Output(std::size_t position) const {
    return Rows().GetQuery().Columns()[position];
}

// The table that a column comes from; null for a computed one.
const sql::Table* JetRecordset::TableOf(const sql::OutputColumn& output) const {
    return output.column == kNoPosition ? nullptr : rows_->GetQuery().Tables()[output.table].get();
}

const Value& JetRecordset::Get(std::size_t position) {
    RequireOpen();
    return edit_->IsActive() ? edit_->Get(position) : rows_->Get(position);
}

Value JetRecordset::Original(std::size_t position) {
    RequireOpen();
    return edit_->IsActive() ? edit_->Original(position) : rows_->Get(position);
}

void JetRecordset::Set(std::size_t position, const Value& value) {
    RequireUpdatable();
    edit_->Set(position, value);
}

bool JetRecordset::CanSet(std::size_t position) {
    return Updatable() && edit_->CanSet(position);
}

// Editing

bool JetRecordset::Updatable() {
    if (!Rows().Updatable() || (opening_.options & kReadOnly) != 0) return false;
    RowList* const list = rows_->List();
    return (list != nullptr && list->Places()->IsRemote()) || Storage().ReadOnlyReason().empty();
}

void JetRecordset::RequireUpdatable() {
    if (!Updatable()) Raise(ErrorNumber::ReadOnly, {Storage().FileName(), u"该记录集是只读的。"});
}

void JetRecordset::AddNew() {
    RequireUpdatable();
    edit_->Add();
}

void JetRecordset::Edit() {
    RequireUpdatable();
    edit_->Cancel();
    edit_->Change();
}

void JetRecordset::Update() {
    RequireOpen();
    edit_->Update();
}

void JetRecordset::CancelUpdate() {
    RequireOpen();
    if (!edit_->IsActive()) Raise(ErrorNumber::UpdateWithoutEdit);
    edit_->Cancel();
}

void JetRecordset::Delete() {
    RequireUpdatable();
    edit_->Delete();
}

dao::EditMode JetRecordset::EditMode() {
    RequireOpen();
    return edit_->Mode();
}

Bytes JetRecordset::LastModified() {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset}, u"LastModified");
    return edit_->LastModified();
}

bool JetRecordset::LockEdits() {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}, u"LockEdits");
    return lock_edits_;
}

void JetRecordset::LockEdits(bool pessimistic) {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}, u"LockEdits");
    lock_edits_ = pessimistic;
}

bool JetRecordset::Transactions() {
    RequireOpen();
    return opening_.type == RecordsetType::Table || opening_.type == RecordsetType::Dynaset;
}

// About the table

Date JetRecordset::DateCreated() {
    RequireType({RecordsetType::Table}, u"DateCreated");
    const jet::Database::Reading reading(Storage());
    return DatesOf(Storage(), rows_->GetQuery().Tables()[0]->Name()).created;
}

Date JetRecordset::LastUpdated() {
    RequireType({RecordsetType::Table}, u"LastUpdated");
    const jet::Database::Reading reading(Storage());
    return DatesOf(Storage(), rows_->GetQuery().Tables()[0]->Name()).updated;
}

std::u16string JetRecordset::ValidationRule() {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset}, u"ValidationRule");
    const jet::Database::Reading reading(Storage());
    return DetailsOf(Storage(), opening_.name).Text({}, u"ValidationRule");
}

std::u16string JetRecordset::ValidationText() {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset}, u"ValidationText");
    const jet::Database::Reading reading(Storage());
    return DetailsOf(Storage(), opening_.name).Text({}, u"ValidationText");
}

// The cache that others have

std::int32_t JetRecordset::CacheSize() {
    RequireType({RecordsetType::Dynaset}, u"CacheSize");
    return cache_size_;
}

void JetRecordset::CacheSize(std::int32_t rows) {
    RequireType({RecordsetType::Dynaset}, u"CacheSize");
    constexpr std::int32_t kLeast = 5;
    constexpr std::int32_t kMost = 1200;
    if (rows != 0 && (rows < kLeast || rows > kMost)) Raise(ErrorNumber::InvalidArgument, {u"CacheSize"});
    cache_size_ = rows;
}

Bytes JetRecordset::CacheStart() {
    RequireType({RecordsetType::Dynaset}, u"CacheStart");
    return cache_start_;
}

void JetRecordset::CacheStart(const Bytes& bookmark) {
    RequireType({RecordsetType::Dynaset}, u"CacheStart");
    cache_start_ = bookmark;
}

void JetRecordset::FillCache() {
    RequireType({RecordsetType::Dynaset}, u"FillCache");
}

}  // namespace qmtrain::dao
