// How tables, indexes and relationships are described to make them, and what the catalogue says of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/column.h"
#include "core/date.h"
#include "jet/table_definition.h"

namespace qmtrain::jet {

struct NewDatabase {
    std::uint16_t sort_order = 0x0409;
    std::uint16_t code_page = 0;  // 0: the usual one of the sort order
    Version version = Version::Jet4;
    std::u16string password = {};  // empty: none
    bool encoded = false;          // its pages are no plain text
};

struct IndexColumnSpec {
    std::u16string column;
    bool ascending = true;
};

struct IndexSpec {
    std::u16string name = {};
    std::vector<IndexColumnSpec> columns = {};
    bool unique = false;
    bool primary = false;
    bool required = false;
    bool ignore_nulls = false;
};

struct TableSpec {
    std::u16string name = {};
    std::vector<Column> columns = {};
    std::vector<IndexSpec> indexes = {};
    ValidationRule validation = {};
};

struct Relationship {
    std::u16string name;
    std::u16string table;  // the referencing (many) side
    std::vector<std::u16string> columns;
    std::u16string referenced_table;
    std::vector<std::u16string> referenced_columns;
    bool enforced = true;
    bool cascade_update = false;
    bool cascade_delete = false;
};

// A part of a saved query: a clause of its statement, or one item of a clause.
struct QueryPart {
    std::uint8_t attribute = 0;  // which clause
    std::u16string name1 = {};
    std::u16string name2 = {};
    std::u16string expression = {};
    std::optional<std::int16_t> flag = {};
};

// A row of the catalogue.
struct CatalogObject {
    static constexpr std::int16_t kTable = 1;
    static constexpr std::int16_t kLinkedOdbc = 4;
    static constexpr std::int16_t kQuery = 5;
    static constexpr std::int16_t kLinkedTable = 6;
    static constexpr std::int16_t kRelationship = 8;
    static constexpr std::int32_t kLinkFlag = 0x200000;
    static constexpr std::int32_t kOdbcLinkFlag = 0x100000;
    static constexpr std::int32_t kSavedPasswordFlag = 0x20000000;  // in the connection string of an ODBC link

    std::int32_t id = 0;
    std::int32_t parent = 0;
    std::u16string name;
    std::int16_t type = 0;
    std::int32_t flags = 0;
    std::u16string database;  // linked tables
    std::u16string connect;
    std::u16string foreign_name;
    Bytes remote_columns;  // of an ODBC link: type (2 bytes), size (2) and scale (2) of each column, as ODBC has them
    RowPointer row;

    // Of its definition, where it is a table or has a definition like one.
    PageNumber Page() const { return static_cast<PageNumber>(id); }
    bool IsSystem() const { return (static_cast<std::uint32_t>(flags) & 0x80000002U) != 0; }
    bool IsLink() const { return type == kLinkedTable || type == kLinkedOdbc; }
    bool IsUserTable() const { return (type == kTable || IsLink()) && !IsSystem(); }
};

}  // namespace qmtrain::jet
