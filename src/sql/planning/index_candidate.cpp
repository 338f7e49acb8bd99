#include "sql/planning/index_candidate.h"

#include <algorithm>
#include <cmath>

#include "sql/planning/selectivity.h"
#include "sql/running/table_access.h"

namespace qmtrain::sql {
namespace {

using ast::BinaryOperator;

constexpr double kPrefixShare = 0.05;
constexpr double kWorthALook = 200;  // rows from which on an estimate is checked in the index

bool IsLiteral(const Expression* expression) {
    return expression == nullptr || dynamic_cast<const LiteralExpression*>(expression) != nullptr;
}

// Whether every key of the column is the value itself, and compares as it does.
bool HasExactKeys(const Table& table, std::size_t index, std::size_t place) {
    const IndexColumn& key = table.IndexAt(index).columns[place];
    switch (table.ColumnAt(key.column).type) {
        case ColumnType::Byte:
        case ColumnType::Integer:
        case ColumnType::Long:
        case ColumnType::Single:
        case ColumnType::Double:
        case ColumnType::Date: return true;
        case ColumnType::Text: return table.InOrder(index, place + 1);
        default: return false;
    }
}

// Whether a range of the column's values is a range of its keys.
bool HasRanges(const Table& table, std::size_t index, std::size_t place) {
    const IndexColumn& key = table.IndexAt(index).columns[place];
    switch (table.ColumnAt(key.column).type) {
        case ColumnType::Boolean:  // too few values to be worth while
        case ColumnType::Guid:
        case ColumnType::LongBinary:
        case ColumnType::Memo: return false;
        default: return table.InOrder(index, place + 1);
    }
}

}  // namespace

IndexCandidate IndexCandidates::Make(std::size_t number, const Conjuncts& conjuncts) const {
    const Index& index = table_.IndexAt(number);
    IndexCandidate candidate;
    candidate.access.index = number;
    std::size_t place = 0;
    for (; place < index.columns.size(); ++place) {
        const std::size_t column = index.columns[place].column;
        const Comparison* equality = Find(conjuncts, column, BinaryOperator::Equal, BinaryOperator::Equal);
        if (equality != nullptr) {
            candidate.access.equal.push_back(equality->other.expression);
            candidate.equalities.push_back(equality);
            if (HasExactKeys(table_, number, place)) candidate.answered.push_back(equality);
            continue;
        }
        const Conjunct* list = candidate.access.list == nullptr ? FindList(conjuncts, column) : nullptr;
        if (list == nullptr) break;
        candidate.access.list = list->membership.list;
        candidate.access.list_at = place;
        candidate.access.equal.push_back(nullptr);
        if (HasExactKeys(table_, number, place)) candidate.answered_lists.push_back(list);
    }
    candidate.narrows = place > 0;
    if (place < index.columns.size()) AddEnds(number, place, conjuncts, candidate);
    candidate.rows = Estimate(candidate);
    return candidate;
}

bool IndexCandidates::IsColumn(const Operand& subject, std::size_t column) const {
    const SlotExpression* slot = AsColumnOf(subject.expression, source_);
    return slot != nullptr && slot->GetColumn() == column;
}

const Comparison* IndexCandidates::Find(const Conjuncts& conjuncts, std::size_t column, BinaryOperator op,
                                        BinaryOperator other_op) const {
    for (const Conjunct* conjunct : conjuncts) {
        for (const Comparison& comparison : conjunct->comparisons) {
            const bool fits = comparison.op == op || comparison.op == other_op;
            if (fits && IsUsable(comparison.other) && IsColumn(comparison.subject, column)) return &comparison;
        }
    }
    return nullptr;
}

const Conjunct* IndexCandidates::FindList(const Conjuncts& conjuncts, std::size_t column) const {
    for (const Conjunct* conjunct : conjuncts) {
        const Membership& membership = conjunct->membership;
        if (membership.list == nullptr || !Contains(available_, membership.sources)) continue;
        if (IsColumn(membership.subject, column)) return conjunct;
    }
    return nullptr;
}

const Conjunct* IndexCandidates::FindPattern(const Conjuncts& conjuncts, std::size_t column) const {
    for (const Conjunct* conjunct : conjuncts) {
        if (conjunct->liked.expression == nullptr || !IsUsable(conjunct->pattern)) continue;
        if (IsColumn(conjunct->liked, column)) return conjunct;
    }
    return nullptr;
}

void IndexCandidates::AddEnds(std::size_t number, std::size_t place, const Conjuncts& conjuncts,
                              IndexCandidate& candidate) const {
    const std::size_t column = table_.IndexAt(number).columns[place].column;
    IndexAccess& access = candidate.access;
    const Comparison* low = Find(conjuncts, column, BinaryOperator::Greater, BinaryOperator::GreaterEqual);
    const Comparison* high = Find(conjuncts, column, BinaryOperator::Less, BinaryOperator::LessEqual);
    if ((low != nullptr || high != nullptr) && HasRanges(table_, number, place)) {
        const bool exact = HasExactKeys(table_, number, place);
        const auto add = [&](const Comparison* comparison, BinaryOperator inclusive, RangeEnd& end) {
            if (comparison == nullptr) return;
            end.value = comparison->other.expression;
            end.inclusive = comparison->op == inclusive;
            if (exact) candidate.answered.push_back(comparison);
        };
        add(low, BinaryOperator::GreaterEqual, access.low);
        add(high, BinaryOperator::LessEqual, access.high);
    }
    const bool ended = access.low.value != nullptr || access.high.value != nullptr;
    const bool is_text = table_.ColumnAt(column).type == ColumnType::Text;
    const Conjunct* like = !ended && is_text ? FindPattern(conjuncts, column) : nullptr;
    if (like != nullptr && table_.HasPrefixes(number, place)) access.pattern = like->pattern.expression;
    candidate.narrows = candidate.narrows || ended || access.pattern != nullptr;
}

double IndexCandidates::Estimate(const IndexCandidate& candidate) const {
    const IndexAccess& access = candidate.access;
    if (!candidate.narrows) return all_rows_;
    const Index& index = table_.IndexAt(access.index);
    double rows = all_rows_;
    if (!access.equal.empty()) {
        const bool unique = index.unique && access.equal.size() == index.columns.size();
        rows = unique ? 1 : MatchesOfKey(access.index, access.equal.size(), candidate.equalities);
        if (access.list != nullptr) rows *= access.list->ExpectedSize();
    }
    const bool two = access.low.value != nullptr && access.high.value != nullptr;
    const bool one = access.low.value != nullptr || access.high.value != nullptr;
    if (one) rows *= two ? kTwoEnds : kOneEnd;
    if (access.pattern != nullptr) rows *= kPrefixShare;
    rows = std::clamp(rows, 1.0, all_rows_);
    const bool literal = access.list == nullptr && std::ranges::all_of(access.equal, IsLiteral) &&
                         IsLiteral(access.low.value) && IsLiteral(access.high.value) && IsLiteral(access.pattern);
    if (rows < kWorthALook || !literal) return rows;
    return std::max(1.0, TableAccess::CountInIndex(source_, access).value_or(rows));
}

// The definition says how many keys there are; a part of a key has fewer.
double IndexCandidates::MatchesOfKey(std::size_t index, std::size_t columns,
                                     const std::vector<const Comparison*>& equalities) const {
    const double keys = table_.DistinctKeys(index);
    if (keys < 1) return ExpectedMatches(source_, equalities);
    const auto all = static_cast<double>(table_.IndexAt(index).columns.size());
    return std::max(1.0, all_rows_ / std::pow(std::min(keys, all_rows_), static_cast<double>(columns) / all));
}

}  // namespace qmtrain::sql
