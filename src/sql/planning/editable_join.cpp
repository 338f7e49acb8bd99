#include "sql/planning/editable_join.h"

#include <algorithm>
#include <optional>

namespace qmtrain::sql {
namespace {

// Two columns of different tables that are equal in every row of the join.
struct Equality {
    const SlotExpression* a = nullptr;
    const SlotExpression* b = nullptr;
};

class Finder {
public:
    Finder(std::span<TableSource* const> sources, const JoinNode& root, const std::vector<Conjunct>& where)
        : sources_(sources) {
        Take(where);
        Walk(root, false);
    }

    EditableJoin Run() {
        for (std::size_t table = 0; table < sources_.size(); ++table) {
            if (Contains(nullable_, SourceSet{1} << table)) continue;
            std::vector<RowLookup> lookups;
            if (ReachAll(table, lookups)) return {table, std::move(lookups)};
        }
        return {};
    }

private:
    void Walk(const JoinNode& node, bool nullable) {
        if (nullable) nullable_ |= node.sources;
        Take(node.on);
        for (std::size_t i = 0; i < node.children.size(); ++i) {
            Walk(*node.children[i], nullable || (node.kind == JoinNode::Kind::Left && i > 0));
        }
    }

    void Take(const std::vector<Conjunct>& conjuncts) {
        for (const Conjunct& conjunct : conjuncts) {
            if (conjunct.is_range || conjunct.comparisons.empty()) continue;
            const Comparison& comparison = conjunct.comparisons.front();
            if (comparison.op != ast::BinaryOperator::Equal) continue;
            const SlotExpression* a = comparison.subject.expression->AsColumn();
            const SlotExpression* b = comparison.other.expression->AsColumn();
            if (a != nullptr && b != nullptr && &a->GetSource() != &b->GetSource()) equalities_.push_back({a, b});
        }
    }

    bool ReachAll(std::size_t from, std::vector<RowLookup>& lookups) const {
        std::vector<bool> reached(sources_.size());
        reached[from] = true;
        bool goes_on = true;
        while (goes_on) {
            goes_on = false;
            for (std::size_t table = 0; table < sources_.size(); ++table) {
                if (reached[table]) continue;
                if (auto lookup = LookupOf(table, reached)) {
                    lookups.push_back(std::move(*lookup));
                    reached[table] = goes_on = true;
                }
            }
        }
        return std::ranges::all_of(reached, [](bool is_reached) { return is_reached; });
    }

    // By a unique index all of whose columns equal columns of tables that have been reached.
    std::optional<RowLookup> LookupOf(std::size_t table, const std::vector<bool>& reached) const {
        TableSource& source = *sources_[table];
        const std::vector<Index>& indexes = source.GetTable()->Indexes();
        for (std::size_t i = 0; i < indexes.size(); ++i) {
            if (!indexes[i].unique) continue;
            std::vector<ExpressionPtr> keys;
            for (const IndexColumn& part : indexes[i].columns) {
                const SlotExpression* equal = EqualTo(source, part.column, reached);
                if (equal == nullptr) break;
                keys.push_back(std::make_unique<SlotExpression>(equal->GetSource(), equal->GetColumn()));
            }
            if (keys.size() != indexes[i].columns.size()) continue;
            const bool outer = Contains(nullable_, SourceSet{1} << table);
            return RowLookup(source, i, std::move(keys), outer);
        }
        return std::nullopt;
    }

    const SlotExpression* EqualTo(const TableSource& source, std::size_t column,
                                  const std::vector<bool>& reached) const {
        const auto fits = [&](const SlotExpression* own, const SlotExpression* other) {
            return &own->GetSource() == &source && own->GetColumn() == column && IsReached(*other, reached) &&
                   own->Type() == other->Type() && own->GetDataType().scale == other->GetDataType().scale;
        };
        for (const Equality& equality : equalities_) {
            if (fits(equality.a, equality.b)) return equality.b;
            if (fits(equality.b, equality.a)) return equality.a;
        }
        return nullptr;
    }

    bool IsReached(const SlotExpression& column, const std::vector<bool>& reached) const {
        const auto found = std::ranges::find(sources_, &column.GetSource());
        return found != sources_.end() && reached[found - sources_.begin()];
    }

    std::span<TableSource* const> sources_;
    std::vector<Equality> equalities_;
    SourceSet nullable_ = 0;  // may be missing in a row
};

}  // namespace

EditableJoin FindEditableJoin(std::span<TableSource* const> sources, const JoinNode& root,
                              const std::vector<Conjunct>& where) {
    return Finder(sources, root, where).Run();
}

}  // namespace qmtrain::sql
