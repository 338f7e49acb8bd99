// Checks a whole database for damage.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmtrain::jet {

class Database;

struct CheckReport {
    std::vector<std::u16string> defects;

    // Findings that healthy files of other programs have too: outdated row counts, pages without an owner, free space
    // maps that leave pages out.
    std::vector<std::u16string> notes;

    std::int64_t tables = 0;
    std::int64_t rows = 0;
    std::int64_t long_values = 0;
    std::int64_t index_entries = 0;
    std::int64_t entries_not_compared = 0;  // in a text order whose keys cannot be computed
};

// Walks catalogue, definitions, page maps, rows, long values and indexes. Damage is reported, never thrown.
CheckReport CheckDatabase(Database& database);

}  // namespace qmtrain::jet
