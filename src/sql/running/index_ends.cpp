#include "sql/running/index_ends.h"

#include <algorithm>
#include <utility>

#include "sql/running/access_path.h"

namespace qmtrain::sql {

bool CanReadEnds(const Table& table, const Source& source, const std::vector<Aggregate>& aggregates) {
    return std::ranges::all_of(aggregates, [&](const Aggregate& aggregate) {
        if (aggregate.Kind() == AggregateKind::CountRows) return true;
        if (aggregate.Kind() != AggregateKind::Min && aggregate.Kind() != AggregateKind::Max) return false;
        const SlotExpression* column = AsColumnOf(aggregate.Argument(), source);
        return column != nullptr && IndexOrderedBy(table, column->GetColumn()) != kNoPosition;
    });
}

void IndexEnds::Open() {
    output_.Clear();
    Value* row = output_.Rows().Add();
    for (const Aggregate& aggregate : aggregates_) {
        Value& value = *row++;
        if (aggregate.Kind() == AggregateKind::CountRows)
            value = static_cast<std::int32_t>(source_.GetTable()->RowCount());
        else
            ReadEnd(aggregate, value);
    }
    done_ = false;
}

// Nulls count for nothing. Of several texts that are the same but for their case, the first row's is taken.
void IndexEnds::ReadEnd(const Aggregate& aggregate, Value& value) {
    const Table& table = *source_.GetTable();
    const std::size_t column = static_cast<const SlotExpression*>(aggregate.Argument())->GetColumn();
    const std::size_t number = IndexOrderedBy(table, column);
    const IndexColumn& key = table.IndexAt(number).columns[0];
    KeyRange not_null;
    const KeyBound null{{Value(Null{})}, false};
    (key.descending ? not_null.high : not_null.low) = null;
    const bool backwards = (aggregate.Kind() == AggregateKind::Max) != key.descending;
    Cursor& cursor = source_.GetCursor();
    cursor.Range(number, not_null, backwards);
    value = Null{};
    if (!cursor.Next()) return;
    cursor.Read(column, value);
    if (!backwards || !value.IsText()) return;
    cursor.Range(number, {KeyRange::Kind::Equal, KeyBound{{value}, true}, {}});
    if (cursor.Next()) cursor.Read(column, value);
}

bool IndexEnds::Next() {
    if (std::exchange(done_, true)) return false;
    output_.Restore(1);
    return true;
}

void IndexEnds::Explain(Explanation& out) const {
    out.Add(u"row count and ends of the indexes of " + source_.GetTable()->Name(), *this);
}

}  // namespace qmtrain::sql
