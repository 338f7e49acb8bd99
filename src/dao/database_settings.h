// The texts and numbers by which DAO says what a database is to be like.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dao/types.h"
#include "jet/compact.h"
#include "jet/table_spec.h"

namespace qmtrain::dao {

// Raises InvalidProcedureCall for a locale that cannot be read, OperationNotSupported for another version.
jet::CompactSettings SettingsOf(std::u16string_view locale, std::int32_t options);

// The same for a new database: Jet 4 in General order where nothing else is said.
jet::NewDatabase NewDatabaseOf(std::u16string_view locale, std::int32_t options);

// The password in ";PWD=word", empty when there is none.
std::u16string PasswordIn(std::u16string_view connect);

}  // namespace qmtrain::dao
