// What fields, indexes, tables and relations are like.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/date.h"
#include "dao/types.h"

namespace qmtrain::dao {

struct FieldDef {
    std::u16string name;
    FieldType type = FieldType::Text;
    int size = 0;                 // bytes of a number, characters of a text, 0 for memo and OLE
    std::int32_t attributes = 0;  // kFixedField …
    bool required = false;
    bool allow_zero_length = true;
    std::u16string default_value;    // an expression
    std::u16string validation_rule;  // a condition that its values must meet, in which it need not be named
    std::u16string validation_text;  // the message for values that do not
    int ordinal = 0;
    int collating_order = 0;  // of texts: the language's number
    int precision = 0;        // of decimals
    int scale = 0;
    std::u16string source_table;  // where a record set's field comes from; empty when it is computed
    std::u16string source_field;

    bool IsAutonumber() const { return (attributes & kAutoIncrField) != 0; }
};

struct IndexDef {
    struct Part {
        std::u16string name;
        bool descending = false;
    };
    std::u16string name;
    std::vector<Part> fields;
    bool primary = false;
    bool unique = false;
    bool required = false;
    bool ignore_nulls = false;
    bool foreign = false;  // made by a relation
    std::int32_t distinct_count = 0;
};

struct TableDef {
    std::u16string name;
    bool system = false;
    bool linked = false;
    std::u16string connect;       // of a linked table
    std::u16string source_table;  // the same
    bool save_password = false;   // of a new link: keep the one in `connect`
    Date created;
    Date updated;
    std::u16string validation_rule;
    std::u16string validation_text;
    std::vector<FieldDef> fields;  // neither these nor indexes for a linked table: to list it opens no other file
    std::vector<IndexDef> indexes;
};

// The table is the side that is referred to, as DAO has it.
struct RelationDef {
    static constexpr std::int32_t kUnique = 1;  // one to one
    static constexpr std::int32_t kDontEnforce = 2;
    static constexpr std::int32_t kUpdateCascade = 256;
    static constexpr std::int32_t kDeleteCascade = 4096;

    struct Part {
        std::u16string name;
        std::u16string foreign_name;
    };
    std::u16string name;
    std::u16string table;
    std::u16string foreign_table;
    std::int32_t attributes = 0;
    std::vector<Part> fields;
};

}  // namespace qmtrain::dao
