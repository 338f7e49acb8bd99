// Referential integrity: what a change of one table asks of the tables related to it, and what has to follow there.
//
// Rows are given by column position; only the columns of the table's indexes need to be filled.
#pragma once

#include <cstddef>
#include <vector>

#include "core/value.h"
#include "jet/stored_table.h"

namespace qmtrain::jet {

// Whether two indexes can be the sides of a relationship: as many columns, of the same types, and decimals with as many
// digits after the point, of which keys know nothing.
bool SidesFit(const StoredTable& table, std::size_t real, const StoredTable& other, std::size_t other_real);

// The rows that a new or changed row refers to must exist. `old_row` empty: an insertion. Raises RelatedRecordRequired.
void CheckReferencedRows(const StoredTable& table, StoredTables& tables, const std::vector<Value>& new_row,
                         const std::vector<Value>* old_row);

// No row may refer to one that is deleted (`new_row` empty) or gets another key, unless the relationship cascades.
// Raises RelatedRecordsExist.
void CheckReferencingRows(const StoredTable& table, StoredTables& tables, const std::vector<Value>& old_row,
                          const std::vector<Value>* new_row);

// Rows of a related table that a change cascades to.
struct Cascade {
    PageNumber table = 0;
    std::vector<RowPointer> rows;
    std::vector<ColumnChange> changes;  // none: the rows are deleted
};

// Rows that referred to a deleted row are deleted with it, or set to Null.
std::vector<Cascade> CascadesOfDelete(const StoredTable& table, StoredTables& tables, const std::vector<Value>& row);

// Rows that referred to a row get its changed key.
std::vector<Cascade> CascadesOfUpdate(const StoredTable& table, StoredTables& tables, const std::vector<Value>& old_row,
                                      const std::vector<Value>& new_row);

}  // namespace qmtrain::jet
