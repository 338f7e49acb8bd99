// What a file says about a table: columns, indexes, and where its pages are listed.
//
// A definition is a byte string over one or more pages:
//   header | statistics per real index | column blocks | column names | real indexes | logical indexes | their names |
//   per long value column: u16 number, u32 owned map, u32 free space map | FF FF
// A real index is one tree; a logical index is a name and a role for it, and several may share one tree.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/column.h"
#include "jet/file_format.h"
#include "jet/pager.h"
#include "jet/usage_map.h"

namespace qmtrain::jet {

// Bytes of a value of fixed length; 0 for types whose length varies.
std::size_t FixedSize(ColumnType type);
// The byte by which a file names a type, in the definitions of its columns and in its properties, and back. Nothing for
// a byte that names no type of ours.
std::uint8_t StoredType(ColumnType type);
std::optional<ColumnType> TypeOfStored(std::uint8_t byte);

// The byte of raw bytes in tables of Access's own. Files of Jet 3 have no such columns.
inline constexpr std::uint8_t kInternalType = 17;

// A column as its table's definition has it.
struct StoredColumn {
    static constexpr std::uint8_t kFixed = 0x01;
    static constexpr std::uint8_t kAlways = 0x02;
    static constexpr std::uint8_t kAutonumber = 0x04;
    static constexpr std::uint8_t kSystem = 0x10;
    static constexpr std::uint8_t kMasked = 0x20;
    static constexpr std::uint8_t kCompressed = 0x01;  // in extended_flags

    std::u16string name;
    ColumnType type = ColumnType::Text;
    std::optional<std::uint8_t> foreign_type;  // the byte of a type that is not ours: its values are taken for Binary
    std::uint8_t flags = kAlways;
    std::uint8_t extended_flags = 0;
    std::uint16_t number = 0;
    std::uint16_t variable_index = 0;
    std::uint16_t ordinal = 0;
    std::uint16_t fixed_offset = 0;
    std::uint16_t length = 0;      // bytes; text of Jet 4: two per character
    std::uint16_t fixed_size = 0;  // bytes in the fixed area, of fixed columns
    std::uint8_t precision = 0;    // Decimal
    std::uint8_t scale = 0;        // Decimal
    std::uint16_t sort_order = 0;
    std::uint16_t sort_version = 0;
    std::uint16_t code_page = 0;  // Jet 3
    RowPointer owned_map;         // long values
    RowPointer free_map;          // long values; may be missing

    // From the object's properties.
    bool required = false;
    bool allow_zero_length = true;
    std::u16string default_expression;
    ValidationRule validation;

    bool IsFixed() const { return (flags & kFixed) != 0; }
    bool IsAutonumber() const { return (flags & kAutonumber) != 0 && type == ColumnType::Long; }
};

// Sets `fixed_size` from type and length.
void SetFixedSize(StoredColumn& column);

struct KeyColumn {
    std::uint16_t number = 0;
    bool ascending = true;
    bool operator==(const KeyColumn&) const = default;
};

struct RealIndex {
    static constexpr std::uint8_t kUnique = 0x01;
    static constexpr std::uint8_t kIgnoreNulls = 0x02;
    static constexpr std::uint8_t kRequired = 0x08;

    std::vector<KeyColumn> columns;
    RowPointer map;
    PageNumber root = 0;
    std::uint8_t flags = 0;             // FileFormat::index_flags among them
    std::uint32_t counted_entries = 0;  // both are hints for planning, and often wrong
    std::uint32_t distinct_keys = 0;

    bool IsUnique() const { return (flags & kUnique) != 0; }
    bool IgnoresNulls() const { return (flags & kIgnoreNulls) != 0; }
    bool IsRequired() const { return (flags & kRequired) != 0; }
};

enum class IndexRole : std::uint8_t { Ordinary = 0, Primary = 1, Foreign = 2 };

struct LogicalIndex {
    // Which end of a relationship the table is.
    enum class Side : std::uint8_t { None = 0, Referenced = 1, Referencing = 2 };

    std::u16string name;
    std::uint32_t number = 0;
    std::uint32_t real = 0;
    Side side = Side::None;
    std::uint32_t other_number = 0xFFFFFFFF;  // of the logical index in the other table
    PageNumber other_table = 0;
    std::uint8_t update_action = 4;  // 4 without relationship; else bit 0 = cascade
    std::uint8_t delete_action = 4;  // the same; bit 1 = set to Null
    IndexRole role = IndexRole::Ordinary;

    bool CascadesUpdates() const { return side != Side::None && (update_action & 1) != 0; }
    bool CascadesDeletes() const { return side != Side::None && (delete_action & 1) != 0; }
    bool NullsOnDelete() const { return side != Side::None && (delete_action & 2) != 0; }
};

struct TableDefinition {
    static constexpr std::uint8_t kSystemTable = 0x53;
    static constexpr std::uint8_t kUserTable = 0x4E;

    PageNumber page = 0;
    std::vector<PageNumber> pages;  // all pages of the definition, `page` first
    std::uint32_t rows = 0;         // may be wrong after a crash of another program
    std::uint32_t autonumber = 0;
    std::uint8_t type = kUserTable;
    std::uint16_t max_columns = 0;       // highest number ever used + 1
    std::uint16_t variable_columns = 0;  // deleted ones included
    RowPointer owned_map;
    RowPointer free_map;
    std::vector<StoredColumn> columns;  // by number
    std::vector<RealIndex> real_indexes;
    std::vector<LogicalIndex> logical_indexes;
    ValidationRule validation;  // from the object's properties

    // Positions; kNoPosition when there is none.
    std::size_t FindColumn(std::u16string_view name) const;

    // Whether an index tells all rows apart.
    bool HasKey() const;
    std::size_t ColumnByNumber(std::uint16_t number) const;
    std::size_t FindLogicalIndex(std::u16string_view name) const;
    std::size_t LogicalByNumber(std::uint32_t number) const;
};

// Raises FileDamaged when the definition does not hold together.
TableDefinition ReadDefinition(Pager& pager, PageNumber page);

// Writes the definition to `definition.pages`, taking further pages or freeing some as it needs. Raises InvalidName
// when the code page of a Jet 3 file lacks a name's character.
void WriteDefinition(Pager& pager, PageAllocator& allocator, TableDefinition& definition);

// Raises OperationNotSupported when files of that version have no columns of the type.
void RequireColumnType(Version version, ColumnType type, std::u16string_view column);

// The number of rows, which changes in place: read it from the definition's first page, not from `rows`.
std::uint32_t StoredRowCount(const Page& definition, const FileFormat& format);

}  // namespace qmtrain::jet
