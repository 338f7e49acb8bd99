// Columns of Jet tables in the form in which the SQL room wants them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jet/table.h"
#include "jet/table_spec.h"
#include "sql/storage.h"

namespace qmtrain::dao {

// Which columns and indexes of a Jet table stand where in SQL: columns in the order in which they are shown.
struct Layout {
    explicit Layout(const jet::Table& table);
    std::uint16_t Ordinal(std::size_t position) const { return ordinals[position]; }

    std::vector<sql::Column> columns;
    std::vector<std::size_t> positions;  // in the Jet definition, by SQL position
    std::vector<std::uint16_t> ordinals;
    std::vector<sql::Index> indexes;  // by real index
};

// An index of a table with these columns, as Jet is asked for it.
jet::IndexSpec ToSpec(const sql::Index& index, const std::vector<sql::Column>& columns);

}  // namespace qmtrain::dao
