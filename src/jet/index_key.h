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
    Jet3Ascii,    // other code pages of Jet 3: perhaps as its General for ASCII, which each file has to show
    Unknown,
};
TextOrder TextOrderOf(const StoredColumn& column, const Header& header);

// Whether the key of this value can be computed.
bool HasKey(const StoredColumn& column, const Value& value, const Header& header);

// Whether all texts that compare equal to the value have its key. In Jet 3 the thorn is a letter of its own, while it
// compares as "th", and a zero character counts.
bool HasKeyOfEquals(const StoredColumn& column, const Value& value, const Header& header);

// Appends the part of one column. Requires: HasKey.
void AppendKeyPart(const StoredColumn& column, bool ascending, const Value& value, const Header& header, Bytes& key);

// Appends the beginning that the parts of all texts share that begin with `text`, letters of both cases being one.
// Requires: a text order of which the weights are known.
void AppendTextPrefix(bool ascending, std::u16string_view text, const Header& header, Bytes& key);

// Whether the part of a value can be read back as that value, and how many bytes it has after its flag.
bool HasReadableKey(ColumnType type);
std::size_t KeySize(ColumnType type);

bool IsNullPart(std::uint8_t flag, bool ascending);

// Requires: HasReadableKey, and KeySize bytes at `bytes`.
void DecodeKeyPart(ColumnType type, bool ascending, const std::uint8_t* bytes, Value& value);

}  // namespace qmtrain::jet
