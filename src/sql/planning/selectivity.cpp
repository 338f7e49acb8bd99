#include "sql/planning/selectivity.h"

#include <algorithm>
#include <cmath>

namespace qmtrain::sql {
namespace {

bool IsUniqueColumn(const Table& table, std::size_t column) {
    return std::ranges::any_of(table.Indexes(), [column](const Index& index) {
        return index.unique && index.columns.size() == 1 && index.columns[0].column == column;
    });
}

bool CoversUniqueIndex(const Table& table, const std::vector<const Comparison*>& equalities) {
    const auto covered = [&](const IndexColumn& key) {
        return std::ranges::any_of(equalities, [&](const Comparison* equality) {
            const SlotExpression* column = equality->subject.expression->AsColumn();
            return column != nullptr && column->GetColumn() == key.column;
        });
    };
    return std::ranges::any_of(table.Indexes(), [&](const Index& index) {
        return index.unique && std::ranges::all_of(index.columns, covered);
    });
}

}  // namespace

double Selectivity(const Conjunct& conjunct) {
    if (!conjunct.alternatives.empty()) return 0.3;
    if (conjunct.membership.list != nullptr) return 0.2;
    if (conjunct.comparisons.empty()) return 0.5;
    if (conjunct.is_range) return kTwoEnds;
    const ast::BinaryOperator op = conjunct.comparisons[0].op;
    return op == ast::BinaryOperator::Equal ? 0.1 : op == ast::BinaryOperator::NotEqual ? 0.9 : kOneEnd;
}

double ExpectedMatches(TableSource& source, const std::vector<const Comparison*>& equalities) {
    Table& table = *source.GetTable();
    if (CoversUniqueIndex(table, equalities)) return 1;
    double rows = static_cast<double>(table.EstimatedRows());
    for (const Comparison* equality : equalities) {
        const SlotExpression* other = equality->other.expression->AsColumn();
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

}  // namespace qmtrain::sql
