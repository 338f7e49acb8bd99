// Page 0: version, sort order, code page, page key, password. And the cipher that masks it and encodes pages.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

// XORs the RC4 key stream of a four-byte key over the bytes, from its start; doing it twice restores them.
void ApplyCipher(std::uint32_t key, std::span<std::uint8_t> bytes);

struct Header {
    const FileFormat* format = nullptr;
    std::uint16_t sort_order = 0;  // language id: 0x0409 General, 0x0804 Chinese (PRC)
    std::uint16_t sort_version = 0;
    std::uint16_t code_page = 0;
    std::uint32_t page_key = 0;          // 0: pages are not encoded
    std::uint32_t user_key = 0;          // masks the user ids in system tables; Jet 4 only
    std::vector<std::uint8_t> password;  // as it is kept; empty: none
    bool pointers_as_expected = true;    // to the maps and system tables; else the file is not to be written
};

// Reads page 0 (at least its first 512 bytes). Raises UnknownFormat when it is no Jet 3 or Jet 4 database.
Header ReadHeader(std::span<const std::uint8_t> page, const std::u16string& file_name);

// Whether the database opens with this password: letters of both cases differ. One without a password opens with any.
bool IsPassword(const Header& header, std::u16string_view password);

struct NewHeader {
    Version version = Version::Jet4;
    std::uint16_t sort_order = 0x0409;
    std::uint16_t code_page = 1252;
    Date created;  // Jet 4
    std::uint32_t page_key = 0;
    std::u16string_view password = {};
};

// Fills page 0 of a new database. Raises PasswordInvalid for a password that cannot be kept.
void WriteHeader(const NewHeader& header, std::span<std::uint8_t> page, const std::u16string& file_name);

// Puts another password on page 0, none when it is empty. Raises PasswordInvalid for one that cannot be kept.
void WritePassword(std::u16string_view password, std::span<std::uint8_t> page, const std::u16string& file_name);

}  // namespace qmtrain::jet
