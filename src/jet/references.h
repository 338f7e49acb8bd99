// Referential integrity: what a change of one table asks of, and does to, the tables related to it.
//
// Rows are given by column position; only the columns of the table's indexes need to be filled.
#pragma once

#include <cstddef>
#include <vector>

#include "core/value.h"

namespace qmtrain::jet {

class Table;

// Whether two indexes can be the sides of a relationship: as many columns, and of the same types.
bool SidesFit(const Table& table, std::size_t real, const Table& other, std::size_t other_real);

// The rows that a new or changed row refers to must exist. `old_row` empty: an insertion. Raises RelatedRecordRequired.
void CheckReferencedRows(const Table& table, const std::vector<Value>& new_row, const std::vector<Value>* old_row);

// No row may refer to one that is deleted (`new_row` empty) or gets another key, unless the relationship cascades.
// Raises RelatedRecordsExist.
void CheckReferencingRows(const Table& table, const std::vector<Value>& old_row, const std::vector<Value>* new_row);

// Deletes, or sets to Null, what referred to a deleted row.
void CascadeDelete(const Table& table, const std::vector<Value>& row);

// Takes a changed key over into the rows that refer to it.
void CascadeUpdate(const Table& table, const std::vector<Value>& old_row, const std::vector<Value>& new_row);

}  // namespace qmtrain::jet
