// Record sets that are made from another one, and reopening one.
#include "core/error.h"
#include "dao/jet_recordset.h"
#include "jet/database.h"

namespace qmtrain::dao {

std::u16string JetRecordset::Filter() {
    RequireType({RecordsetType::Dynaset, RecordsetType::Snapshot, RecordsetType::ForwardOnly}, u"Filter");
    return filter_;
}

void JetRecordset::Filter(std::u16string_view condition) {
    RequireType({RecordsetType::Dynaset, RecordsetType::Snapshot, RecordsetType::ForwardOnly}, u"Filter");
    filter_ = condition;
}

std::u16string JetRecordset::Sort() {
    RequireType({RecordsetType::Dynaset, RecordsetType::Snapshot}, u"Sort");
    return sort_;
}

void JetRecordset::Sort(std::u16string_view columns) {
    RequireType({RecordsetType::Dynaset, RecordsetType::Snapshot}, u"Sort");
    sort_ = columns;
}

std::shared_ptr<Recordset> JetRecordset::OpenRecordset(RecordsetType type, std::int32_t options) {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}, u"OpenRecordset");
    if (type == RecordsetType::Table) Raise(ErrorNumber::InvalidOperation);
    const bool is_table = opening_.type == RecordsetType::Table;
    if ((options & kForwardOnly) != 0 && (type == RecordsetType::Default || type == RecordsetType::Snapshot))
        type = RecordsetType::ForwardOnly;
    if (type == RecordsetType::Default) type = is_table ? RecordsetType::Dynaset : opening_.type;
    RowSource narrowed = source_;
    if (!filter_.empty() || !sort_.empty())
        narrowed.statement = std::make_shared<const sql::Statement>(sql::Narrowed(*source_.statement, filter_, sort_));
    return std::make_shared<JetRecordset>(std::move(narrowed), Opening{type, options, opening_.name});
}

std::shared_ptr<Recordset> JetRecordset::Clone() {
    RequireType({RecordsetType::Table, RecordsetType::Dynaset, RecordsetType::Snapshot}, u"Clone");
    return std::shared_ptr<Recordset>(new JetRecordset(*this, rows_->Clone()));
}

bool JetRecordset::Restartable() {
    RequireOpen();
    return opening_.type != RecordsetType::Table;
}

void JetRecordset::Requery() {
    RequireType({RecordsetType::Dynaset, RecordsetType::Snapshot, RecordsetType::ForwardOnly}, u"Requery");
    auto rows = MakeRows();
    RequireSameColumns(rows->GetQuery(), rows_->GetQuery());
    edit_.reset();
    rows_ = std::move(rows);
    edit_.emplace(source_, *rows_);
}

}  // namespace qmtrain::dao
