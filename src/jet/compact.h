// Copying a database into a new file, without what the old one no longer uses.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "jet/pager.h"

namespace qmtrain::jet {

// What the new file has; what is not given is as in the old one.
struct CompactSettings {
    std::optional<std::uint16_t> sort_order = {};
    std::uint16_t code_page = 0;  // 0: that of the old file, or the usual one of another sort order
    std::optional<Version> version = {};
    std::optional<std::u16string> password = {};
    std::optional<bool> encoded = {};
};

// Makes `target` from `source`: all objects with their rows in the order in which they are stored. Tables in which
// Access keeps forms and the like do not go from Jet 4 to Jet 3. The source is only read; the target appears when it is
// whole. `options.password` is the source's. Raises DatabaseExists, PasswordInvalid, FileDamaged, TextOrderUnsupported,
// and what the other version refuses: DataTypeConversion, InvalidName, FieldTooLarge, RecordTooLarge …
void Compact(const std::filesystem::path& source, const std::filesystem::path& target, const CompactSettings& settings,
             const PagerOptions& options = {});

}  // namespace qmtrain::jet
