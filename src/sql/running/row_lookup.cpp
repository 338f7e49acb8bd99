#include "sql/running/row_lookup.h"

#include "sql/values.h"

namespace qmtrain::sql {

bool RowLookup::Find() {
    bool found = true;
    values_.clear();
    for (const ExpressionPtr& key : keys_) {
        values_.push_back(key->Evaluate());
        found = found && !values_.back().IsNull();
    }
    if (found && source_.GetTable()->CanSeek(index_, values_)) {
        Cursor& cursor = source_.GetCursor();
        cursor.Range(index_, {KeyRange::Kind::Equal, KeyBound{values_, true}, std::nullopt});
        found = cursor.Next();
        if (found) source_.OnRow();
    } else if (found) {
        found = FindByScan();
    }
    if (!found) source_.SetNull();
    return found || outer_;
}

// For texts whose place in the index is not known.
bool RowLookup::FindByScan() {
    const std::vector<IndexColumn>& parts = source_.GetTable()->IndexAt(index_).columns;
    Cursor& cursor = source_.GetCursor();
    Value value;
    for (cursor.Scan(); cursor.Next();) {
        bool equal = true;
        for (std::size_t i = 0; equal && i < parts.size(); ++i) {
            cursor.Read(parts[i].column, value);
            equal = !value.IsNull() && CompareValues(value, values_[i]) == 0;
        }
        if (!equal) continue;
        source_.OnRow();
        return true;
    }
    return false;
}

}  // namespace qmtrain::sql
