// Index keys: byte strings that sort as the values do.
//
// A key is the parts of its columns one after the other. Part = flag byte, and the value's bytes unless it is Null; in
// descending columns the bytes are inverted. No key is the beginning of another key of its index.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "jet/table_definition.h"

namespace qmtrain::jet {

inline constexpr std::uint16_t kGeneralOrder = 0x0409;
inline constexpr std::uint16_t kChineseOrder = 0x0804;

// How far the text order of a column is known.
enum class TextOrder : std::uint8_t {
    General,      // all of Unicode
    Jet3General,  // code page 1252
    AsciiOnly,    // Chinese (PRC): as General for ASCII; Han characters have other weights
    Unknown,
};
TextOrder TextOrderOf(const Column& column, const Header& header);

// Whether the key of this value can be computed.
bool HasKey(const Column& column, const Value& value, const Header& header);

// Appends the part of one column. Requires: HasKey.
void AppendKeyPart(const Column& column, bool ascending, const Value& value, const Header& header, Bytes& key);

}  // namespace qmtrain::jet
