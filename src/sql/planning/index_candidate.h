// The access paths that a table's indexes offer.
#pragma once

#include <vector>

#include "sql/planning/conditions.h"
#include "sql/running/access_path.h"

namespace qmtrain::sql {

// One access path by one index.
struct IndexCandidate {
    IndexAccess access;
    std::vector<const Comparison*> answered;      // completely, by the access
    std::vector<const Conjunct*> answered_lists;  // the same
    std::vector<const Comparison*> equalities;
    double rows = 0;
    bool narrows = false;
};

class IndexCandidates {
public:
    // `available`: the sources whose rows are there when the table is looked up.
    IndexCandidates(TableSource& source, SourceSet available, double all_rows)
        : source_(source), table_(*source.GetTable()), available_(available), all_rows_(all_rows) {}

    // The path by that index, with the conditions that it can use.
    IndexCandidate Make(std::size_t number, const Conjuncts& conjuncts) const;

private:
    bool IsUsable(const Operand& other) const { return Contains(available_, other.sources); }
    bool IsColumn(const Operand& subject, std::size_t column) const;
    const Comparison* Find(const Conjuncts& conjuncts, std::size_t column, ast::BinaryOperator op,
                           ast::BinaryOperator other_op) const;
    const Conjunct* FindList(const Conjuncts& conjuncts, std::size_t column) const;
    const Conjunct* FindPattern(const Conjuncts& conjuncts, std::size_t column) const;
    void AddEnds(std::size_t number, std::size_t place, const Conjuncts& conjuncts, IndexCandidate& candidate) const;
    double Estimate(const IndexCandidate& candidate) const;
    double MatchesOfKey(std::size_t index, std::size_t columns, const std::vector<const Comparison*>& equalities) const;

    TableSource& source_;
    Table& table_;
    SourceSet available_;
    double all_rows_;
};

}  // namespace qmtrain::sql
