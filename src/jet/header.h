// Page 0: version, sort order, code page, page key. And the cipher that masks it and encodes pages.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "core/date.h"
#include "jet/format.h"

namespace qmtrain::jet {

// XORs the RC4 key stream of a four-byte key over the bytes, from its start; doing it twice restores them.
void ApplyCipher(std::uint32_t key, std::span<std::uint8_t> bytes);

struct Header {
    const Format* format = nullptr;
    std::uint16_t sort_order = 0;  // language id: 0x0409 General, 0x0804 Chinese (PRC)
    std::uint16_t code_page = 0;
    std::uint32_t page_key = 0;  // 0: pages are not encoded
    std::uint32_t user_key = 0;  // masks the user ids in system tables; Jet 4 only
    bool has_password = false;
    bool pointers_as_expected = true;  // to the maps and system tables; else the file is not to be written
};

// Reads page 0 (at least its first 512 bytes). Raises UnknownFormat when it is no Jet 3 or Jet 4 database.
Header ReadHeader(std::span<const std::uint8_t> page, const std::u16string& file_name);

struct NewHeader {
    std::uint16_t sort_order = 0x0409;
    std::uint16_t code_page = 1252;
    Date created;
};

// Fills page 0 of a new Jet 4 database.
void WriteHeader(const NewHeader& header, std::span<std::uint8_t> page);

}  // namespace qmtrain::jet
