#include "sql/running/distinct_access.h"

namespace qmtrain::sql {

bool DistinctAccess::Next() {
    KeyRange range;
    if (last_) {
        KeyBound after_last{{*last_}, false};
        range.low = std::move(after_last);
    }
    Cursor& cursor = source_.GetCursor();
    cursor.Range(index_, range);
    if (!cursor.Next()) return false;
    source_.OnRow();
    last_.emplace();
    cursor.Read(source_.GetTable()->IndexAt(index_).columns[0].column, *last_);
    return true;
}

void DistinctAccess::Explain(Explanation& out) const {
    const Table& table = *source_.GetTable();
    out.Add(u"different keys of " + table.Name() + u" by index " + table.IndexAt(index_).name, *this);
}

}  // namespace qmtrain::sql
