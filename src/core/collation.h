// The "General" text order of Jet 4 databases (General Legacy, language 0x0409).
//
// Index keys and every comparison of texts in queries come from here, so that an index and a sort agree. Letters
// compare without regard to case and width, accents decide after all base letters, hyphen and apostrophe last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qmtrain::collation {

// How many units of a text take part in an index key.
inline constexpr std::size_t kKeyUnits = 255;

// Appends the key of `text` without a leading flag byte; the end marker is included. Two keys compare as byte strings.
void AppendKey(std::u16string_view text, std::vector<std::uint8_t>& key);

// Appends the common prefix of the keys of all texts that begin with `text`, without regard to letter case.
void AppendPrefix(std::u16string_view text, std::vector<std::uint8_t>& key);

// Negative, zero or positive. Trailing blanks do not count. Not limited to kKeyUnits.
int Compare(std::u16string_view a, std::u16string_view b);

// The same for a text whose characters are all below U+0100, a byte each.
int Compare(std::string_view a, std::u16string_view b);

}  // namespace qmtrain::collation
