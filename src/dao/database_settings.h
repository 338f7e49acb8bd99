// The texts and numbers by which DAO says what a database is to be like.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "jet/compact.h"
#include "jet/table_spec.h"

namespace qmtrain::dao {

// Options of CreateDatabase and CompactDatabase.
inline constexpr std::int32_t kEncrypt = 2;
inline constexpr std::int32_t kDecrypt = 4;
inline constexpr std::int32_t kVersion30 = 32;  // Jet 3
inline constexpr std::int32_t kVersion40 = 64;  // Jet 4

// Locales; ";pwd=" and a password may follow.
inline constexpr std::u16string_view kGeneralLocale = u";LANGID=0x0409;CP=1252;COUNTRY=0";
inline constexpr std::u16string_view kChineseLocale = u";LANGID=0x0804;CP=936;COUNTRY=0";

// Raises InvalidProcedureCall for a locale that cannot be read, OperationNotSupported for another version.
jet::CompactSettings SettingsOf(std::u16string_view locale, std::int32_t options);

// The same for a new database: Jet 4 in General order where nothing else is said.
jet::NewDatabase NewDatabaseOf(std::u16string_view locale, std::int32_t options);

// The password in ";PWD=word", empty when there is none.
std::u16string PasswordIn(std::u16string_view connect);

}  // namespace qmtrain::dao
