// What a Jet file says about its tables beyond what statements need.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "dao/definitions.h"
#include "sql/storage.h"

namespace qmtrain::jet {
class Database;
struct CatalogObject;
}  // namespace qmtrain::jet

namespace qmtrain::dao {

// All of this needs a scope.

// The properties of a table or query, and of its columns. There are none where the object is not in this file.
class Details {
public:
    Details(jet::Database& database, std::u16string_view name);

    // Of a column, or of the object itself where `owner` is empty; empty when there is none.
    std::u16string Text(std::u16string_view owner, std::u16string_view property) const;

    // The language of a column's texts.
    int CollatingOrder(std::u16string_view column) const;

private:
    struct Impl;
    std::shared_ptr<const Impl> impl_;
};

inline Details DetailsOf(jet::Database& database, std::u16string_view name) {
    return {database, name};
}

struct ObjectDates {
    Date created;
    Date updated;
};
ObjectDates DatesOf(jet::Database& database, const jet::CatalogObject& object);

// Raises ObjectNotFound.
ObjectDates DatesOf(jet::Database& database, std::u16string_view name);

FieldDef FieldDefOf(const sql::Column& column, const Details& details);

// All tables of the file, and links; those are not opened.
std::vector<TableDef> ReadTableDefs(jet::Database& database, sql::Catalog& catalog);

std::vector<RelationDef> ReadRelations(jet::Database& database);

}  // namespace qmtrain::dao
