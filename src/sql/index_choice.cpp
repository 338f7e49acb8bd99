#include "sql/index_choice.h"

#include <algorithm>
#include <cmath>

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;

constexpr double kRangeShare = 0.3;

bool IsUniqueColumn(const Table& table, int column) {
    return std::ranges::any_of(table.Indexes(), [column](const Index& index) {
        return index.unique && index.columns.size() == 1 && index.columns[0].column == column;
    });
}

bool CoversUniqueIndex(const Table& table, const std::vector<const Comparison*>& equalities) {
    const auto covered = [&](const IndexColumn& key) {
        return std::ranges::any_of(equalities, [&](const Comparison* equality) {
            const auto* column = dynamic_cast<const SlotExpression*>(equality->subject.expression);
            return column != nullptr && column->GetColumn() == key.column;
        });
    };
    return std::ranges::any_of(table.Indexes(), [&](const Index& index) {
        return index.unique && std::ranges::all_of(index.columns, covered);
    });
}

bool IsWholeNumber(Value::Type type) {
    return type == Value::Type::Byte || type == Value::Type::Integer || type == Value::Type::Long;
}

// Tries one index after the other and keeps the best.
class Chooser {
public:
    Chooser(TableSource& source, const std::vector<Conjunct*>& conjuncts, SourceSet available,
            const std::vector<SortKey>& order)
        : source_(source),
          table_(*source.GetTable()),
          conjuncts_(conjuncts),
          order_(order),
          rows_(static_cast<double>(table_.EstimatedRows())) {
        for (const Conjunct* conjunct : conjuncts) {
            for (const Comparison& comparison : conjunct->comparisons) {
                const bool usable = Contains(available, comparison.other.sources);
                if (usable && AsColumnOf(comparison.subject.expression, source) != nullptr) {
                    usable_.push_back(&comparison);
                }
            }
        }
    }

    IndexChoice Run() {
        best_.rows = rows_;
        for (std::size_t i = 0; i < table_.Indexes().size(); ++i) Try(static_cast<int>(i));
        best_.access.exact = best_.access.index >= 0 && std::ranges::all_of(conjuncts_, [&](const Conjunct* conjunct) {
                                 return FollowsFromAccess(*conjunct);
                             });
        return best_;
    }

private:
    void Try(int number) {
        const Index& index = table_.Indexes()[static_cast<std::size_t>(number)];
        IndexChoice choice;
        choice.access.index = number;
        std::vector<const Comparison*> equalities;
        for (const IndexColumn& key : index.columns) {
            const Comparison* equality = Find(key.column, BinaryOperator::Equal, BinaryOperator::Equal);
            if (equality == nullptr) break;
            equalities.push_back(equality);
            choice.access.equal.push_back(equality->other.expression);
        }
        choice.rows = equalities.empty() ? rows_ : ExpectedMatches(source_, equalities);
        if (equalities.size() < index.columns.size()) AddRange(index.columns[equalities.size()].column, choice);
        SetOrder(index, equalities.size(), choice);

        const bool narrows =
            !equalities.empty() || choice.access.low.value != nullptr || choice.access.high.value != nullptr;
        // An index without entries for Nulls does not have every row.
        if (!narrows && (!choice.ordered || index.ignore_nulls)) return;
        const bool first = best_.access.index < 0;
        const bool better = choice.rows < best_.rows || (choice.rows == best_.rows && choice.ordered && !best_.ordered);
        if (better || (first && narrows)) best_ = std::move(choice);
    }

    // Only for whole numbers is every key of the index the value itself, and compares as it does.
    bool FollowsFromAccess(const Conjunct& conjunct) const {
        const Index& index = table_.Indexes()[static_cast<std::size_t>(best_.access.index)];
        for (std::size_t i = 0; i < best_.access.equal.size(); ++i) {
            const int key = index.columns[i].column;
            const Expression* value = best_.access.equal[i];
            const Value::Type type = ValueTypeOf(table_.Columns()[static_cast<std::size_t>(key)].type);
            if (!IsWholeNumber(type) || !IsWholeNumber(value->Type())) continue;
            for (const Comparison& comparison : conjunct.comparisons) {
                const SlotExpression* subject = AsColumnOf(comparison.subject.expression, source_);
                const bool same = comparison.op == BinaryOperator::Equal && comparison.other.expression == value;
                if (same && subject != nullptr && subject->GetColumn() == key) return true;
            }
        }
        return false;
    }

    void AddRange(int column, IndexChoice& choice) const {
        // False and True are too few for a range to be worth while.
        if (table_.Columns()[static_cast<std::size_t>(column)].type == ColumnType::Boolean) return;
        const auto add = [&](BinaryOperator strict, BinaryOperator inclusive, RangeEnd& end) {
            const Comparison* comparison = Find(column, strict, inclusive);
            if (comparison == nullptr) return;
            end.value = comparison->other.expression;
            choice.rows = std::max(1.0, choice.rows * kRangeShare);
        };
        add(BinaryOperator::Greater, BinaryOperator::GreaterEqual, choice.access.low);
        add(BinaryOperator::Less, BinaryOperator::LessEqual, choice.access.high);
    }

    const Comparison* Find(int column, BinaryOperator op, BinaryOperator other_op) const {
        for (const Comparison* comparison : usable_) {
            const SlotExpression* subject = AsColumnOf(comparison->subject.expression, source_);
            const bool fits = comparison->op == op || comparison->op == other_op;
            if (fits && subject->GetColumn() == column) return comparison;
        }
        return nullptr;
    }

    // Columns that are fixed to one value do not count in an order.
    void SetOrder(const Index& index, std::size_t fixed, IndexChoice& choice) const {
        std::size_t place = fixed;
        bool forwards = true;
        bool backwards = true;
        for (const SortKey& key : order_) {
            const SlotExpression* column = AsColumnOf(key.expression, source_);
            if (column == nullptr) return;
            if (IsFixed(index, fixed, column->GetColumn())) continue;
            if (place >= index.columns.size() || index.columns[place].column != column->GetColumn()) return;
            const bool same = index.columns[place].descending == key.descending;
            forwards = forwards && same;
            backwards = backwards && !same;
            ++place;
        }
        if (order_.empty() || !(forwards || backwards)) return;
        // What is not narrowed down must at least be there as a whole.
        if (fixed == 0 && !table_.CanSeek(choice.access.index, {})) return;
        choice.ordered = true;
        choice.access.backwards = !forwards;
    }

    static bool IsFixed(const Index& index, std::size_t fixed, int column) {
        const auto end = index.columns.begin() + static_cast<std::ptrdiff_t>(fixed);
        return std::any_of(index.columns.begin(), end,
                           [column](const IndexColumn& key) { return key.column == column; });
    }

    TableSource& source_;
    Table& table_;
    const std::vector<Conjunct*>& conjuncts_;
    const std::vector<SortKey>& order_;
    double rows_;
    std::vector<const Comparison*> usable_;
    IndexChoice best_;
};

}  // namespace

const SlotExpression* AsColumnOf(const Expression* expression, const Source& source) {
    const auto* column = dynamic_cast<const SlotExpression*>(expression);
    return column != nullptr && &column->GetSource() == &source ? column : nullptr;
}

double ExpectedMatches(TableSource& source, const std::vector<const Comparison*>& equalities) {
    Table& table = *source.GetTable();
    if (CoversUniqueIndex(table, equalities)) return 1;
    double rows = static_cast<double>(table.EstimatedRows());
    for (const Comparison* equality : equalities) {
        const auto* other = dynamic_cast<const SlotExpression*>(equality->other.expression);
        const auto* other_source = other != nullptr ? dynamic_cast<TableSource*>(&other->GetSource()) : nullptr;
        // The other side's key says how many different values there can be.
        if (other_source != nullptr && IsUniqueColumn(*other_source->GetTable(), other->GetColumn())) {
            rows /= std::max(1.0, static_cast<double>(other_source->GetTable()->EstimatedRows()));
        } else {
            rows = std::sqrt(rows);
        }
    }
    return std::max(1.0, rows);
}

IndexChoice ChooseIndex(TableSource& source, const std::vector<Conjunct*>& conjuncts, SourceSet available,
                        const std::vector<SortKey>& order) {
    return Chooser(source, conjuncts, available, order).Run();
}

}  // namespace qmtrain::sql
