// The constants of the two file versions: Jet 3 (Access 97) and Jet 4. No other file tests the version to find an
// offset.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>

namespace qmtrain::jet {

using PageNumber = std::uint32_t;

enum class Version : std::uint8_t { Jet3 = 0, Jet4 = 1 };

// Byte 0 of a page.
enum class PageType : std::uint8_t {
    Unwritten = 0,
    Data = 1,
    Definition = 2,
    IndexNode = 3,
    IndexLeaf = 4,
    UsageMap = 5,
    FreedDefinition = 8,
    FreedData = 9,
};

struct FileFormat {
    Version version;
    std::uint32_t page_size;

    std::size_t masked_bytes;     // of page 0, from 0x18
    std::size_t password_bytes;   // at 0x42
    std::size_t commit_counters;  // offset on page 0

    std::size_t data_slot_count;  // offset of the number of slots
    std::size_t data_slots;       // offset of the slot table
    std::size_t max_row;

    std::size_t row_number_size;  // bytes of the column count, of V and of offsets in a row
    std::size_t text_unit;        // bytes of a character in the length of a text column
    std::size_t max_binary;       // bytes of a binary column
    std::size_t long_value_inline;
    std::size_t long_value_single;
    std::size_t long_value_chunk;  // data in one row of a chain

    std::size_t map_row;  // bytes of an inline map row when made

    // Table definition: header, then blocks.
    std::size_t definition_header;
    std::size_t definition_rows;
    std::size_t definition_autonumber;
    std::size_t definition_type;
    std::size_t definition_max_columns;  // then variable columns, columns: u16 each
    std::size_t definition_indexes;      // logical, real: u32 each
    std::size_t definition_owned_map;    // then free space map
    std::size_t statistics_block;
    std::size_t column_block;
    std::size_t real_index_block;
    std::size_t logical_index_block;

    // Index page.
    std::size_t index_previous;  // then next, tail: u32 each
    std::size_t index_prefix;
    std::size_t index_prefix_size;
    std::size_t index_mask;
    std::size_t index_mask_bytes;
    std::size_t index_entries;
    std::uint8_t index_flags;  // that every index has

    char property_magic[4];
    std::uint64_t max_file_size;

    std::size_t FreeOnEmptyDataPage() const { return page_size - data_slots; }
    std::size_t IndexCapacity() const { return page_size - index_entries; }
    std::uint32_t PagesPerMapPage() const { return (page_size - 4) * 8; }
    std::size_t MaxIndexPrefix() const { return index_prefix_size == 1 ? 0xFF : 0xFFFF; }

    // The most key bytes of an entry, which must fit on a node page, followed by a row and a child.
    std::size_t MaxKey() const { return IndexCapacity() - 8; }
};

inline constexpr FileFormat kJet3{
    .version = Version::Jet3,
    .page_size = 2048,
    .masked_bytes = 126,
    .password_bytes = 20,
    .commit_counters = 0x600,
    .data_slot_count = 8,
    .data_slots = 10,
    .max_row = 2012,
    .row_number_size = 1,
    .text_unit = 1,
    .max_binary = 255,
    .long_value_inline = 32,
    .long_value_single = 2032,
    .long_value_chunk = 2032,
    .map_row = 133,
    .definition_header = 43,
    .definition_rows = 12,
    .definition_autonumber = 16,
    .definition_type = 20,
    .definition_max_columns = 21,
    .definition_indexes = 27,
    .definition_owned_map = 35,
    .statistics_block = 8,
    .column_block = 18,
    .real_index_block = 39,
    .logical_index_block = 20,
    .index_previous = 8,
    .index_prefix = 20,
    .index_prefix_size = 1,
    .index_mask = 22,
    .index_mask_bytes = 226,
    .index_entries = 0xF8,
    .index_flags = 0,
    .property_magic = {'K', 'K', 'D', 0},
    .max_file_size = 1ULL << 30,
};

inline constexpr FileFormat kJet4{
    .version = Version::Jet4,
    .page_size = 4096,
    .masked_bytes = 128,
    .password_bytes = 40,
    .commit_counters = 0xE00,
    .data_slot_count = 12,
    .data_slots = 14,
    .max_row = 4060,
    .row_number_size = 2,
    .text_unit = 2,
    .max_binary = 510,
    .long_value_inline = 64,
    .long_value_single = 4076,
    .long_value_chunk = 4072,
    .map_row = 69,
    .definition_header = 63,
    .definition_rows = 16,
    .definition_autonumber = 20,
    .definition_type = 40,
    .definition_max_columns = 41,
    .definition_indexes = 47,
    .definition_owned_map = 55,
    .statistics_block = 12,
    .column_block = 25,
    .real_index_block = 52,
    .logical_index_block = 28,
    .index_previous = 12,
    .index_prefix = 24,
    .index_prefix_size = 2,
    .index_mask = 27,
    .index_mask_bytes = 453,
    .index_entries = 0x1E0,
    .index_flags = 0x80,
    .property_magic = {'M', 'R', '2', 0},
    .max_file_size = 1ULL << 31,
};

// Pages with a fixed place.
inline constexpr PageNumber kGlobalMapPage = 1;
inline constexpr PageNumber kObjectsPage = 2;
inline constexpr PageNumber kAcesPage = 3;
inline constexpr PageNumber kQueriesPage = 4;
inline constexpr PageNumber kRelationshipsPage = 5;

inline constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  // "LVAL"
inline constexpr std::uint32_t kDefinitionMagic = 1625;
inline constexpr std::uint32_t kIndexMagic = 1923;
inline constexpr std::size_t kMaxSlots = 255;  // a slot number is one byte
inline constexpr std::size_t kMaxColumns = 255;
inline constexpr std::size_t kMaxIndexes = 32;
inline constexpr std::size_t kMaxKeyColumns = 10;
inline constexpr std::size_t kMaxNameLength = 64;
inline constexpr int kMaxTextSize = 255;  // characters

// A slot on a data page: where a row, a long value or a usage map stands.
struct RowPointer {
    PageNumber page = 0;
    std::uint8_t slot = 0;

    auto operator<=>(const RowPointer&) const = default;
    explicit operator bool() const { return page != 0; }

    static RowPointer FromStored(std::uint32_t value) { return {value >> 8, static_cast<std::uint8_t>(value)}; }
    std::uint32_t ToStored() const { return page << 8 | slot; }
};

inline const FileFormat& FormatOf(Version version) {
    return version == Version::Jet3 ? kJet3 : kJet4;
}

}  // namespace qmtrain::jet
