// The members of record sets that look for a row.
#include "core/error.h"
#include "dao/jet_recordset.h"
#include "dao/list_navigator.h"
#include "dao/recordset_table.h"
#include "dao/table_navigator.h"
#include "jet/database.h"

namespace qmtrain::dao {

void JetRecordset::FindFirst(std::u16string_view criteria) {
    Find(ListRows(u"FindFirst"), criteria, 0, false);
}

void JetRecordset::FindLast(std::u16string_view criteria) {
    ListNavigator& rows = ListRows(u"FindLast");
    Find(rows, criteria, rows.All() - 1, true);
}

void JetRecordset::FindNext(std::u16string_view criteria) {
    ListNavigator& rows = ListRows(u"FindNext");
    Find(rows, criteria, rows.Following(), false);
}

void JetRecordset::FindPrevious(std::u16string_view criteria) {
    ListNavigator& rows = ListRows(u"FindPrevious");
    Find(rows, criteria, rows.Preceding(), true);
}

void JetRecordset::Find(ListNavigator& rows, std::u16string_view criteria, std::int64_t from, bool backwards) {
    static const sql::Statement all = sql::Parse(u"SELECT * FROM [Rows]");
    if (criteria.empty()) Raise(ErrorNumber::SyntaxInExpression, {criteria});
    const sql::Statement condition = sql::Narrowed(all, criteria, {});
    const Work work = source_.database->Begin();
    const jet::Database::Reading reading(Storage());
    const auto catalog = CatalogOfRows(*rows.List(), from, backwards);
    const auto matches = sql::Open(*catalog, condition);
    no_match_ = !matches->Next();
    if (no_match_) return;
    edit_->Cancel();
    rows.GoTo(static_cast<std::int64_t>(matches->Row().value) - 1);
}

std::u16string JetRecordset::Index() {
    RequireType({RecordsetType::Table}, u"Index");
    return rows_->Table()->Index();
}

void JetRecordset::Index(std::u16string_view name) {
    RequireType({RecordsetType::Table}, u"Index");
    edit_->Cancel();
    rows_->Table()->Index(name);
}

void JetRecordset::Seek(std::u16string_view comparison, std::span<const Value> keys) {
    RequireType({RecordsetType::Table}, u"Seek");
    no_match_ = !rows_->Table()->Seek(comparison, keys);
    if (!no_match_) edit_->Cancel();
}

}  // namespace qmtrain::dao
